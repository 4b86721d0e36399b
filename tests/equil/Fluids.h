#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "equil/Cubics.h"
#include "equil/PVTCell.h"
#include "equil/Tank.h"
#include "equil/reference/TextbookCubic.h"
#include "fluid/Charzation.h"
#include "frame/ErrorList.h"

/// Fluids for tests of equilibrium, as plain data and as characterizations and cells of the
/// program.
namespace kestrane::fluids {

using textbook::Component;
using textbook::Fluid;

inline double from_rankine(double T) {
    return T / 1.8;
}
inline double from_fahrenheit(double T) {
    return (T + 459.67) / 1.8;
}
inline double from_psia(double P) {
    return P * 6894.757293168361;
}

inline void normalize(std::vector<double>& z) {
    double sum = 0.0;
    for (double amount : z) sum += amount;
    for (double& amount : z) amount /= sum;
}

/// Symmetric matrix from (i, j, k) triples.
struct Pair {
    std::size_t i, j;
    double k;
};
inline std::vector<std::vector<double>> pairs(std::size_t n, const std::vector<Pair>& given) {
    std::vector<std::vector<double>> kij(n, std::vector<double>(n, 0.0));
    for (const Pair& pair : given) kij[pair.i][pair.j] = kij[pair.j][pair.i] = pair.k;
    return kij;
}

/// Components given as Tc in degrees Rankine and Pc in psia.
inline Component field_units(std::string name, double mw, double Tc, double Pc, double omega,
                             double shift = 0.0) {
    return {std::move(name), mw, from_rankine(Tc), from_psia(Pc), omega, shift};
}

/// Six-component oil of the fifth SPE comparative project (Killough and Kossack, SPE 16000, 1987).
/// Published bubble point at 160 F: 2302.3 psia.
inline Fluid comparative_project_oil() {
    Fluid fluid;
    fluid.name = "comparative-project oil";
    fluid.components = {
        field_units("C1", 16.04, 343.0, 667.8, 0.013),
        field_units("C3", 44.10, 665.7, 616.3, 0.1524),
        field_units("C6", 86.18, 913.4, 436.9, 0.3007),
        field_units("C10", 142.29, 1111.8, 304.0, 0.4885),
        field_units("C15", 206.0, 1270.0, 200.0, 0.65),
        field_units("C20", 282.0, 1380.0, 162.0, 0.85),
    };
    fluid.kij = pairs(6, {{0, 4, 0.05}, {0, 5, 0.05}, {1, 4, 0.005}, {1, 5, 0.005}});
    fluid.z = {0.5, 0.03, 0.07, 0.2, 0.15, 0.05};
    return fluid;
}

/// Fifteen-component gas condensate of Whitson and Brule, Phase Behavior (2000), Appendix C.
/// Published dew point at 186 F: between 3530 and 3540 psia.
inline Fluid gas_condensate() {
    Fluid fluid;
    fluid.name = "gas condensate";
    fluid.components = {
        field_units("N2", 28.02, 227.3, 493.0, 0.045, -0.1927),
        field_units("CO2", 44.01, 547.6, 1070.6, 0.231, -0.0817),
        field_units("C1", 16.04, 343.0, 667.8, 0.0115, -0.1595),
        field_units("C2", 30.07, 549.8, 707.8, 0.0908, -0.1134),
        field_units("C3", 44.09, 665.7, 616.3, 0.1454, -0.0863),
        field_units("iC4", 58.12, 734.7, 529.1, 0.1756, -0.0844),
        field_units("nC4", 58.12, 765.3, 550.7, 0.1928, -0.0675),
        field_units("iC5", 72.15, 828.8, 490.4, 0.2273, -0.0608),
        field_units("nC5", 72.15, 845.4, 488.6, 0.251, -0.039),
        field_units("C6", 86.17, 913.4, 436.9, 0.2957, -0.008),
        field_units("F1", 98.5485, 1004.31, 441.379, 0.284244, 0.0328624),
        field_units("F2", 135.843, 1135.07, 362.716, 0.385637, 0.0556179),
        field_units("F3", 206.649, 1309.59, 266.905, 0.572236, 0.107793),
        field_units("F4", 319.826, 1490.23, 191.142, 0.826978, 0.154469),
        field_units("F5", 500.0, 1670.47, 140.354, 1.11854, 0.1596),
    };
    const double n2[] = {0,    0,    0.025, 0.01, 0.09, 0.095, 0.095, 0.1,
                         0.11, 0.11, 0.11,  0.11, 0.11, 0.11,  0.11};
    const double co2[] = {0,     0,     0.105, 0.13,  0.125, 0.12,  0.115, 0.115,
                          0.115, 0.115, 0.115, 0.115, 0.115, 0.115, 0.115};
    fluid.kij = pairs(15, {{2, 10, 0.0306741},
                           {2, 11, 0.0425198},
                           {2, 12, 0.0597269},
                           {2, 13, 0.0786389},
                           {2, 14, 0.097848}});
    for (std::size_t i = 2; i < 15; ++i) {
        fluid.kij[0][i] = fluid.kij[i][0] = n2[i];
        fluid.kij[1][i] = fluid.kij[i][1] = co2[i];
    }
    fluid.z = {0.0013, 0.0018, 0.6192,    0.1408,    0.0835,    0.0097,     0.034,      0.0084,
               0.0148, 0.0179, 0.0242273, 0.0289212, 0.0128519, 0.00236714, 0.000132213};
    normalize(fluid.z);
    return fluid;
}

/// Volatile oil: the published analysis of an oil with 28.5 % C7+ of weight 233.5 (bubble point
/// 313 bar at 120 C), its C7+ as three fractions with properties in the range of such cuts.
inline Fluid volatile_oil() {
    Fluid fluid;
    fluid.name = "volatile oil";
    fluid.components = {
        {"N2", 28.014, 126.2, 33.9e5, 0.04, -0.19},  {"CO2", 44.01, 304.2, 73.8e5, 0.225, -0.08},
        {"C1", 16.043, 190.6, 46.0e5, 0.011, -0.15}, {"C2", 30.07, 305.4, 48.8e5, 0.099, -0.10},
        {"C3", 44.097, 369.8, 42.5e5, 0.153, -0.08}, {"C4", 58.123, 425.2, 38.0e5, 0.199, -0.06},
        {"C5", 72.15, 469.6, 33.7e5, 0.251, -0.04},  {"C6", 86.177, 507.4, 30.1e5, 0.296, 0.0},
        {"H1", 118.0, 575.0, 28.0e5, 0.36, 0.03},    {"H2", 215.0, 715.0, 18.5e5, 0.62, 0.08},
        {"H3", 430.0, 860.0, 11.5e5, 1.05, 0.12},
    };
    fluid.kij = pairs(11, {{0, 2, 0.025},
                           {0, 8, 0.11},
                           {0, 9, 0.11},
                           {0, 10, 0.11},
                           {1, 2, 0.105},
                           {1, 8, 0.115},
                           {1, 9, 0.115},
                           {1, 10, 0.115},
                           {2, 8, 0.03},
                           {2, 9, 0.05},
                           {2, 10, 0.07}});
    fluid.z = {0.378, 1.201, 53.528, 7.256, 3.897, 2.336, 1.534, 1.375, 13.0, 10.495, 5.0};
    normalize(fluid.z);
    return fluid;
}

/// Oil and injected gas of a CO2 flood: components and interaction parameters of Ahmadi and Johns
/// (SPE 116823, 2008), 85 % gas. Rich in CO2, with liquid-liquid states when cold.
inline Fluid co2_rich() {
    Fluid fluid;
    fluid.name = "CO2-rich fluid";
    auto component = [](std::string name, double mw, double Tc, double Pc, double omega) {
        return Component{std::move(name), mw, from_fahrenheit(Tc), from_psia(Pc), omega};
    };
    fluid.components = {
        component("C1", 16.043, -116.63, 667.8, 0.0104),
        component("C4", 58.12, 305.65, 550.7, 0.201),
        component("C10", 142.29, 652.1, 305.7, 0.49),
        component("CO2", 44.01, 87.9, 1071.0, 0.225),
    };
    fluid.kij = pairs(
        4,
        {{0, 1, 0.027}, {0, 2, 0.042}, {0, 3, 0.1}, {1, 2, 0.008}, {1, 3, 0.1257}, {2, 3, 0.0942}});
    fluid.z = {0.2, 0.0225, 0.0975, 0.68};
    return fluid;
}

/// A rich gas with its critical point within reservoir conditions; Soave's equation, so that both
/// families of equations are met.
inline Fluid near_critical() {
    Fluid fluid;
    fluid.name = "near-critical fluid";
    fluid.equation = textbook::Equation::SoaveRedlichKwong;
    fluid.components = {
        {"C1", 16.043, 190.6, 46.0e5, 0.011},  {"C2", 30.07, 305.4, 48.8e5, 0.099},
        {"C3", 44.097, 369.8, 42.5e5, 0.153},  {"nC4", 58.123, 425.2, 38.0e5, 0.199},
        {"nC6", 86.177, 507.4, 30.1e5, 0.296}, {"C10", 142.285, 617.6, 21.1e5, 0.49},
    };
    fluid.kij = pairs(6, {{0, 4, 0.02}, {0, 5, 0.04}});
    fluid.z = {0.60, 0.10, 0.08, 0.07, 0.07, 0.08};
    return fluid;
}

/// Methane, butane, decane of Whitson and Brule, Phase Behavior (2000), Appendix B, problem 18.
inline Fluid c1_c4_c10() {
    Fluid fluid;
    fluid.name = "C1-C4-C10";
    fluid.components = {
        field_units("C1", 16.04, 343.0, 667.8, 0.0115, -0.1595),
        field_units("C4", 58.12, 765.3, 550.7, 0.1928, -0.0675),
        field_units("C10", 142.29, 1111.8, 304.0, 0.4902, 0.0655),
    };
    fluid.z = {0.5, 0.42, 0.08};
    return fluid;
}

/// Methane, CO2 and a heavy pseudo-component that form a vapor and two liquids at 260 K, 50 bar.
inline Fluid three_phase() {
    Fluid fluid;
    fluid.name = "three-phase fluid";
    fluid.components = {
        {"C1", 16.043, 190.564, 45.992e5, 0.01142},
        {"CO2", 44.01, 304.1282, 73.773e5, 0.22394},
        {"heavy", 400.0, 768.0, 10.7e5, 0.8805},
    };
    fluid.kij = pairs(3, {{0, 1, 0.1}, {1, 2, 0.2}});
    fluid.z = {0.2, 0.4, 0.4};
    return fluid;
}

/// Oil of a reservoir with a gas cap, at 175 m and 284 bar, 93 C (K.S. Pedersen and others,
/// SPE-175085-MS, 2015; as transcribed in res1.m of github smithh2710/thesis-). The published
/// parameters go with the 1976 form of the equation; its contact was measured at 140 m.
inline Fluid gas_cap_oil() {
    Fluid fluid;
    fluid.name = "gas-cap oil";
    fluid.equation = textbook::Equation::PengRobinson1976;
    // Tc in C, Pc in bar, volume shift in cm3/mol: V = V_EOS - shift.
    const auto cut = [](std::string name, double mw, double Tc, double Pc, double omega,
                        double shift) {
        const double b = 0.0777960739038884598 * 83.14472 * (Tc + 273.15) / Pc;  // cm3/mol
        return Component{std::move(name), mw, Tc + 273.15, Pc * 1e5, omega, shift / b};
    };
    fluid.components = {
        cut("N2", 28.0, -147.0, 33.94, 0.04, -4.23),
        cut("CO2", 44.0, 31.1, 73.76, 0.225, -1.91),
        cut("C1", 16.0, -82.5, 46.0, 0.008, -5.2),
        cut("C2", 30.1, 32.2, 48.84, 0.098, -5.79),
        cut("C3", 44.1, 96.6, 42.46, 0.152, -6.35),
        cut("iC4", 58.1, 134.9, 36.48, 0.176, -7.18),
        cut("nC4", 58.1, 152.1, 38.0, 0.193, -6.49),
        cut("iC5", 72.2, 187.2, 33.84, 0.227, -6.2),
        cut("nC5", 72.2, 196.4, 33.74, 0.251, -5.12),
        cut("C6", 86.2, 234.2, 29.69, 0.296, 1.42),
        cut("C7", 96.0, 269.9, 29.6, 0.338, 8.45),
        cut("C8", 107.0, 290.9, 27.86, 0.374, 9.2),
        cut("C9", 121.0, 315.3, 25.83, 0.42, 10.32),
        cut("C10-C11", 140.1, 345.9, 23.76, 0.483, 11.12),
        cut("C12-C13", 167.6, 385.0, 21.58, 0.57, 10.48),
        cut("C14-C16", 204.7, 432.7, 19.59, 0.685, 6.57),
        cut("C17-C18", 243.6, 476.8, 18.24, 0.795, -1.3),
        cut("C19-C21", 275.3, 511.1, 17.54, 0.881, -9.89),
        cut("C22-C24", 317.0, 553.3, 16.84, 0.984, -23.43),
        cut("C25-C29", 370.4, 604.9, 16.23, 1.098, -43.3),
        cut("C30-C37", 456.8, 683.3, 15.62, 1.229, -79.96),
        cut("C38-C80", 640.9, 847.8, 14.72, 1.159, -151.44),
    };
    const double n2[] = {0, -0.017, 0.0311, 0.0515, 0.0852, 0.1033, 0.08, 0.0922, 0.1};
    fluid.kij = pairs(22, {});
    for (std::size_t i = 1; i < 22; ++i) {
        fluid.kij[0][i] = fluid.kij[i][0] = i < 9 ? n2[i] : 0.08;
        if (i > 1) fluid.kij[1][i] = fluid.kij[i][1] = i < 10 ? 0.12 : 0.08;
    }
    fluid.z = {0.42, 0.69, 50.04, 7.85, 6.77, 1.04, 3.2,  1.16, 1.55, 1.88, 3.5,
               3.75, 2.28, 3.26,  2.59, 2.93, 1.46, 1.65, 1.17, 1.24, 0.96, 0.63};
    normalize(fluid.z);
    return fluid;
}

/// Normal paraffins C1, C2, ... with smooth constants (critical constants after the carbon number),
/// as many as wanted; amounts fall off with the carbon number.
inline Fluid paraffins(std::size_t n) {
    Fluid fluid;
    fluid.name = std::to_string(n) + " paraffins";
    for (std::size_t i = 0; i < n; ++i) {
        const double c = static_cast<double>(i + 1);
        std::string label = "P";
        label += std::to_string(i + 1);
        fluid.components.push_back({label, 14.027 * c + 2.016,
                                    1050.0 * (1.0 - 0.82 * std::exp(-0.083 * (c - 1.0))),
                                    46.0e5 * std::exp(-0.075 * (c - 1.0)) + 0.8e5,
                                    0.011 + 0.0475 * (c - 1.0) - 0.00025 * (c - 1.0) * (c - 1.0)});
        fluid.z.push_back(i == 0 ? 5.0 : std::exp(-0.09 * c));
    }
    normalize(fluid.z);
    return fluid;
}

/// Equation of state for a characterization of the fluid.
inline PtrTo<const EOS> equation_of(const Fluid& fluid) {
    if (fluid.equation == textbook::Equation::SoaveRedlichKwong) return make_dyn<SRK_EOS>();
    if (fluid.equation == textbook::Equation::PengRobinson1976) return make_dyn<PR77_EOS>();
    return make_dyn<PR79_EOS>();
}

/// The fluid as a characterization that is ready for use.
inline Charzation characterization(const Fluid& fluid) {
    Charzation charz(fluid.name);
    charz.chosen_eos = equation_of(fluid);
    for (const Component& given : fluid.components) {
        Compnent component;
        component.name = UserWord(given.name);
        component.mw = given.mw;
        component.tc = given.Tc;
        component.pc = given.Pc;
        component.acentric = given.omega;
        component.vol_shift = given.shift;
        component.a_mod = component.b_mod = 1.0;
        component.omega_a = charz.eos().parameter("a");
        component.omega_b = charz.eos().parameter("b");
        charz.add_component(component);
    }
    const std::size_t n = fluid.n();
    if (!fluid.kij.empty())
        for (std::size_t i = 0; i < n; ++i)
            for (std::size_t j = 0; j < i; ++j)
                charz.set_bip(fluid.kij[i][j], static_cast<int>(i), static_cast<int>(j));
    ErrorList errors;
    charz.prepare_eos(errors);
    return charz;
}

/// A cell with tanks, an error list and a characterization of its own.
struct TestCell {
    explicit TestCell(const Fluid& given)
        : fluid(given),
          charz(characterization(given)),
          errors(make_dyn<ErrorList>()),
          cell(make_dyn<Tank>("feed"), make_dyn<Tank>("liquid"), make_dyn<Tank>("vapor"),
               make_dyn<Tank>("X"), make_dyn<Tank>("Y"), errors) {
        cell.set_charz(&charz);
        set_feed(fluid.z);
    }
    TestCell(const TestCell&) = delete;

    void set_feed(const std::vector<double>& z) {
        cell.feed->rebind(&charz);
        cell.feed->assign_moles(z, 1.0);
    }
    /// Forgets the K-values of earlier flashes.
    void forget() {
        cell.ln_k.assign(charz.size(), 0.0);
        cell.k.assign(charz.size(), 1.0);
        cell.x_state.fraction = cell.y_state.fraction = 1.0;
        cell.phase_count = 0;
    }
    void flash(double T, double P) {
        errors->Clear();
        cell.temperature.value = T;
        cell.pressure.value = P;
        cell.flash();
    }
    /// The policies that STAB& sets.
    void always_test() {
        cell.init_policy = INIT_STABILITY;
        cell.test1 = cell.test2 = TEST_ALWAYS;
    }

    Fluid fluid;
    Charzation charz;
    PtrTo<ErrorList> errors;
    PVTCell cell;
};

}  // namespace kestrane::fluids
