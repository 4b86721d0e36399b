#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "equil/Cubics.h"
#include "equil/SW_EOS.h"
#include "fluid/Charzation.h"
#include "fluid/Compnent.h"
#include "fluid/Library.h"

namespace kestrane {
namespace {

constexpr double R = 8314.472;
constexpr double ATM = 101325.0;
constexpr double WATER = 999.024;                     ///< kg/m3
constexpr double T_STANDARD = (60.0 + 459.67) / 1.8;  ///< K

struct Equations {
    RK_EOS rk;
    SRK_EOS srk;
    PR77_EOS pr77;
    PR79_EOS pr79;
    std::array<const A_2P_EOS*, 4> all() const { return {&rk, &srk, &pr77, &pr79}; }
};

/// a [Pa (m3/kmol)^2] and b [m3/kmol] of a pure substance, written out.
struct PureConstants {
    double a, b;
};

PureConstants constants(const A_2P_EOS& eos, const Compnent& c, double T) {
    double root_alpha = 0.0, slope = 0.0;
    eos.alpha_root(T / c.tc, c.acentric, root_alpha, slope);
    return {c.omega_a * R * R * c.tc * c.tc / c.pc * root_alpha * root_alpha,
            c.omega_b * R * c.tc / c.pc};
}

/// Pressure by the equation, P = RT/(V - b) - a/((V - b + c1 b)(V - b + c2 b)), at molar volume V
/// before translation.
double pressure(const A_2P_EOS& eos, const PureConstants& k, double T, double V) {
    const double w = V - k.b;
    return R * T / w - k.a / ((w + eos.c1 * k.b) * (w + eos.c2 * k.b));
}

/// Work of the equal-area rule, the integral of P - P_s from liquid to vapor volume, over RT: zero
/// at the vapor pressure. Closed form of the cubic's Helmholtz energy.
double maxwell(const A_2P_EOS& eos, const PureConstants& k, double T, double P, double v_liquid,
               double v_vapor) {
    const auto work = [&](double V) {
        const double w = V - k.b;
        const double d = (eos.c2 - eos.c1) * k.b;
        return R * T * std::log(w) - k.a / d * std::log((w + eos.c1 * k.b) / (w + eos.c2 * k.b)) -
               P * V;
    };
    return (work(v_vapor) - work(v_liquid)) / (R * T);
}

/// Volume at which the equation gives P, by bisection between a denser and a lighter volume.
double volume(const A_2P_EOS& eos, const PureConstants& k, double T, double P, double dense,
              double light) {
    for (int i = 0; i < 200; ++i) {
        const double middle = 0.5 * (dense + light);
        (pressure(eos, k, T, middle) > P ? dense : light) = middle;
    }
    return 0.5 * (dense + light);
}

/// Liquid volume at T and P (m3/kmol). The loop of the isotherm has its minimum beyond the liquid.
double liquid_volume(const A_2P_EOS& eos, const PureConstants& k, double T, double P) {
    double light = k.b * 1.0001;
    while (pressure(eos, k, T, light) > P) light = k.b + (light - k.b) * 1.01;
    return volume(eos, k, T, P, k.b, light);
}

double vapor_volume(const A_2P_EOS& eos, const PureConstants& k, double T, double P) {
    return volume(eos, k, T, P, 0.5 * R * T / P, 1.5 * R * T / P);
}

Compnent library_component(const std::string& name, const EOS& eos) {
    Compnent c;
    c.name = UserWord(name);
    c.set_eos_constants(eos);
    EXPECT_TRUE(apply_library(c));
    return c;
}

/// The equal-area rule at 1 atm and the component's boiling point, over RT.
double boiling_defect(const A_2P_EOS& eos, const Compnent& c) {
    const PureConstants k = constants(eos, c, c.tb);
    return maxwell(eos, k, c.tb, ATM, liquid_volume(eos, k, c.tb, ATM),
                   vapor_volume(eos, k, c.tb, ATM));
}

TEST(Compnent_fit, AcentricFactorMakesTheLiquidBoilAtOneAtmosphere) {
    const Equations equations;
    // The equation of Redlich and Kwong has no acentric factor to fit.
    for (const A_2P_EOS* eos : {static_cast<const A_2P_EOS*>(&equations.srk),
                                static_cast<const A_2P_EOS*>(&equations.pr77),
                                static_cast<const A_2P_EOS*>(&equations.pr79)}) {
        for (const char* name : {"N2", "C1", "C3", "H2O", "N-C10", "N-C24", "N-C40"}) {
            Compnent c = library_component(name, *eos);
            const double given_tb = c.tb;
            c.acentric = UNSET;
            ErrorList errors;
            c.fit_to_eos(*eos, errors);
            EXPECT_TRUE(errors.empty());
            EXPECT_EQ(c.tb, given_tb);
            // The defect is ln(p_vap / 1 atm) times the change of Z, near 1.
            EXPECT_NEAR(boiling_defect(*eos, c), 0.0, 1e-10) << eos->name() << ' ' << name;
        }
    }
}

TEST(Compnent_fit, BoilingPointFromAcentricFactor) {
    const Equations equations;
    for (const A_2P_EOS* eos : equations.all()) {
        for (const char* name : {"N2", "CO2", "C3", "H2O", "N-C10", "N-C20"}) {
            Compnent c = library_component(name, *eos);
            c.tb = 0.0;
            const double given = c.acentric;
            ErrorList errors;
            c.fit_to_eos(*eos, errors);
            EXPECT_TRUE(errors.empty());
            EXPECT_EQ(c.acentric, given);
            EXPECT_LT(c.tb, c.tc);
            EXPECT_NEAR(boiling_defect(*eos, c), 0.0, 1e-10) << eos->name() << ' ' << name;
        }
    }
}

TEST(Compnent_fit, RedlichKwongMovesTheBoilingPoint) {
    const RK_EOS eos;
    Compnent c = library_component("C3", eos);
    c.acentric = UNSET;
    ErrorList errors;
    c.fit_to_eos(eos, errors);
    EXPECT_EQ(c.acentric, 0.0);
    EXPECT_NE(c.tb, 231.02);
    EXPECT_NEAR(boiling_defect(eos, c), 0.0, 1e-10);
}

TEST(Compnent_fit, UnreachableBoilingPointKeepsTheBestAcentricFactor) {
    // m(omega) of PR77 has its maximum at 2.857, too low for the boiling points of long paraffins.
    const PR77_EOS eos;
    for (const char* name : {"N-C50", "N-C57", "N-C60", "N-C70"}) {
        Compnent c = library_component(name, eos);
        const double given_tb = c.tb;
        ErrorList errors;
        c.fit_to_eos(eos, errors);
        EXPECT_TRUE(errors.empty()) << name;
        EXPECT_NEAR(c.acentric, 2.857, 0.5) << name;
        EXPECT_NEAR(c.tb, given_tb, 12.0) << name;
        EXPECT_NEAR(boiling_defect(eos, c), 0.0, 1e-10) << name;
    }
}

TEST(Compnent_fit, InconsistentBoilingPoint) {
    const PR79_EOS eos;
    Compnent c = library_component("C3", eos);
    c.acentric = UNSET;
    c.tb = 400.0;  // above Tc at a pressure below Pc
    ErrorList errors;
    c.fit_to_eos(eos, errors);
    ASSERT_EQ(errors.entries.size(), 1u);
    EXPECT_EQ(errors.entries[0]->text,
              "The boiling point of \"C3\" was inconsistent with its critical properties");
    EXPECT_EQ(errors.severity, ERROR);
    EXPECT_EQ(c.acentric, 0.0);
    EXPECT_NEAR(boiling_defect(eos, c), 0.0, 1e-10);

    ErrorList silent;
    silent.errors_on = false;
    Compnent again = library_component("C3", eos);
    again.acentric = UNSET;
    again.tb = again.tc;  // at the critical point itself
    again.fit_to_eos(eos, silent);
    EXPECT_TRUE(silent.empty());
    EXPECT_EQ(again.acentric, 0.0);
    EXPECT_LT(again.tb, again.tc);
}

/// Density (kg/m3) of the translated liquid at T and P.
double density(const A_2P_EOS& eos, const Compnent& c, double T, double P) {
    const PureConstants k = constants(eos, c, T);
    return c.mw / (liquid_volume(eos, k, T, P) - c.vol_shift * k.b);
}

TEST(Compnent_fit, TranslationReproducesTheGravity) {
    const Equations equations;
    for (const A_2P_EOS* eos : equations.all()) {
        for (const double given : {UNSET, 1.0, 5.0, -9.0}) {  // none of them counts as given
            Compnent c = library_component("N-C10", *eos);
            c.sg = 0.73;
            c.ref_temp = c.ref_pres = UNSET;
            c.vol_shift = given;
            ErrorList errors;
            c.fit_to_eos(*eos, errors);
            EXPECT_LT(c.vol_shift, 1.0);
            EXPECT_EQ(c.sg, 0.73);
            EXPECT_NEAR(density(*eos, c, T_STANDARD, ATM), 0.73 * WATER, 1e-9 * WATER);
        }
    }
}

TEST(Compnent_fit, GravityFromTranslation) {
    const Equations equations;
    for (const A_2P_EOS* eos : equations.all()) {
        Compnent c = library_component("N-C10", *eos);
        c.sg = 0.0;
        c.vol_shift = -0.05;
        ErrorList errors;
        c.fit_to_eos(*eos, errors);
        EXPECT_EQ(c.vol_shift, -0.05);
        EXPECT_NEAR(c.sg * WATER, density(*eos, c, T_STANDARD, ATM), 1e-9 * WATER);
    }
}

TEST(Compnent_fit, BothGivenOrBothMissingChangesNothing) {
    const PR79_EOS eos;
    Compnent both = library_component("N-C10", eos);
    both.vol_shift = 0.02;
    const double sg = both.sg;
    ErrorList errors;
    both.fit_to_eos(eos, errors);
    EXPECT_EQ(both.sg, sg);
    EXPECT_EQ(both.vol_shift, 0.02);
    Compnent neither = library_component("N-C10", eos);
    neither.sg = UNSET;
    neither.fit_to_eos(eos, errors);
    EXPECT_EQ(neither.sg, UNSET);
    EXPECT_EQ(neither.vol_shift, UNSET);
    Compnent no_critical = library_component("N-C10", eos);
    no_critical.tc = 0.0;
    no_critical.tb = UNSET;
    no_critical.fit_to_eos(eos, errors);
    EXPECT_EQ(no_critical.tb, UNSET);
    EXPECT_TRUE(errors.empty());
}

/// What fits change, bit by bit.
std::array<double, 6> fitted(const Compnent& c) {
    return {c.acentric, c.tb, c.vol_shift, c.sg, c.ref_temp, c.ref_pres};
}

TEST(Compnent_fit, AFitMadeBeforeIsTheSameAgain) {
    const Equations equations;
    for (const A_2P_EOS* eos : equations.all()) {
        for (const char* name : {"C1", "CO2", "N-C10", "BENZENE"}) {
            Compnent first = library_component(name, *eos);
            Compnent again = first;
            ErrorList errors;
            first.fit_to_eos(*eos, errors);
            again.fit_to_eos(*eos, errors);
            EXPECT_EQ(fitted(first), fitted(again)) << eos->name() << ' ' << name;
        }
    }
}

TEST(Compnent_fit, TheSmallestChangeIsFittedAnew) {
    const PR79_EOS eos;
    Compnent before = library_component("N-C10", eos);
    before.acentric = UNSET;
    Compnent after = before;
    after.tc *= 1.0 + 1e-9;
    ErrorList errors;
    before.fit_to_eos(eos, errors);
    after.fit_to_eos(eos, errors);
    EXPECT_NE(before.acentric, after.acentric);
    EXPECT_NEAR(before.acentric, after.acentric, 1e-7);
    EXPECT_NEAR(boiling_defect(eos, after), 0.0, 1e-10);
}

TEST(Compnent_fit, EveryEquationHasFitsOfItsOwn) {
    const PR77_EOS one;
    const PR79_EOS other;
    Compnent a = library_component("N-C30", one);
    a.acentric = 0.9;  // beyond the border from which the two differ
    a.tb = 0.0;
    Compnent b = a;
    ErrorList errors;
    a.fit_to_eos(one, errors);
    b.fit_to_eos(other, errors);
    EXPECT_NE(a.tb, b.tb);
}

TEST(Compnent_fit, OtherStandardConditionsAreFittedAnew) {
    const PR79_EOS eos;
    Compnent cold = library_component("N-C10", eos);
    cold.sg = 0.0;
    cold.vol_shift = 0.01;
    Compnent warm = cold;
    ErrorList errors;
    cold.fit_to_eos(eos, errors);
    set_standard_conditions({300.0, nullptr}, {UNSET, nullptr});
    warm.fit_to_eos(eos, errors);
    set_standard_conditions({UNSET, nullptr}, {UNSET, nullptr});
    EXPECT_NEAR(cold.sg * WATER, density(eos, cold, T_STANDARD, ATM), 1e-9 * WATER);
    EXPECT_NEAR(warm.sg * WATER, density(eos, warm, 300.0, ATM), 1e-9 * WATER);
    EXPECT_NE(cold.sg, warm.sg);
}

TEST(Compnent_fit, AComplaintIsHeardEveryTime) {
    const PR79_EOS eos;
    ErrorList errors, deaf;
    deaf.errors_on = false;
    for (ErrorList* list : {&deaf, &errors, &errors}) {
        Compnent c = library_component("C3", eos);
        c.acentric = UNSET;
        c.tb = 410.0;
        c.fit_to_eos(eos, *list);
        EXPECT_EQ(c.acentric, 0.0);
    }
    ASSERT_EQ(errors.entries.size(), 1u);
    EXPECT_EQ(errors.entries[0]->count, 2);
}

TEST(Compnent_fit, LibraryGravityHoldsAtTheVaporPressure) {
    // The library's liquid volume is that of the boiling liquid: reference pressure 0 stands for
    // the vapor pressure. Afterwards the gravity is that at standard conditions.
    const Equations equations;
    for (const A_2P_EOS* eos : equations.all()) {
        Compnent c = library_component("N-C5", *eos);
        const double density_298 = c.mw / 0.11522;  // library liquid volume at 298.15 K
        ErrorList errors;
        c.fit_to_eos(*eos, errors);
        const PureConstants k = constants(*eos, c, 298.15);
        Charzation pure;
        pure.add_component(c);
        const PtrTo<EOS_C_Parms> record =
            eos->make_C_Parms(eos->make_T_Parms(pure, 298.15), nullptr);
        const double one = 1.0;
        eos->set_composition(*record, {&one, 1});
        const double P = eos->vapor_pressure(*record);
        EXPECT_NEAR(maxwell(*eos, k, 298.15, P, liquid_volume(*eos, k, 298.15, P),
                            vapor_volume(*eos, k, 298.15, P)),
                    0.0, 1e-10);
        EXPECT_NEAR(density(*eos, c, 298.15, P), density_298, 1e-9 * density_298) << eos->name();
        EXPECT_EQ(c.ref_temp, T_STANDARD);
        EXPECT_EQ(c.ref_pres, ATM);
        EXPECT_NEAR(c.sg * WATER, density(*eos, c, T_STANDARD, ATM), 1e-9 * WATER);
    }
}

TEST(Compnent_fit, GasAtStandardConditionsIsTakenAtItsVaporPressure) {
    const PR79_EOS eos;
    Compnent c = library_component("C3", eos);
    c.sg = 0.507;  // liquid propane at 60 F under its own pressure
    c.ref_temp = c.ref_pres = UNSET;
    ErrorList errors;
    c.fit_to_eos(eos, errors);
    Charzation pure;
    pure.add_component(c);
    const PtrTo<EOS_C_Parms> record = eos.make_C_Parms(eos.make_T_Parms(pure, T_STANDARD), nullptr);
    const double one = 1.0;
    eos.set_composition(*record, {&one, 1});
    const double P = eos.vapor_pressure(*record);
    EXPECT_GT(P, 5.0 * ATM);
    EXPECT_NEAR(density(eos, c, T_STANDARD, P), 0.507 * WATER, 1e-8 * WATER);
    EXPECT_NEAR(c.sg, 0.507, 1e-12);
}

TEST(Compnent_fit, TranslationStaysBelowTheCovolume) {
    const PR79_EOS eos;
    Compnent c = library_component("N-C10", eos);
    c.sg = 50.0;
    c.ref_temp = c.ref_pres = UNSET;
    ErrorList errors;
    c.fit_to_eos(eos, errors);
    EXPECT_EQ(c.vol_shift, 0.99999);
}

TEST(Compnent_fit, EquationsThatComputeNothingKeepWhatWasGiven) {
    const SW_EOS sw;
    const ZJRK_EOS zj;
    for (const EOS* eos : {static_cast<const EOS*>(&sw), static_cast<const EOS*>(&zj)}) {
        for (const LibraryEntry& entry : library_entries()) {
            Compnent c = library_component(entry.aliases[0], *eos);
            ErrorList errors;
            c.fit_to_eos(*eos, errors);
            EXPECT_EQ(c.tb, entry.tb) << entry.full_name;
            for (const double value : {c.acentric, c.vol_shift, c.sg, c.tb})
                EXPECT_TRUE(std::isfinite(value)) << entry.full_name;
            if (entry.acentric != UNSET) {
                EXPECT_EQ(c.acentric, entry.acentric);
            }
            if (entry.acentric == UNSET || entry.tb == UNSET) {
                ASSERT_EQ(errors.entries.size(), 1u);
                EXPECT_EQ(errors.entries[0]->text, "The boiling point of \"" +
                                                       std::string(entry.aliases[0]) +
                                                       "\" could not be found with certainty");
                EXPECT_EQ(errors.severity, WARNING);
            } else {
                EXPECT_TRUE(errors.empty());
            }
        }
    }
}

}  // namespace
}  // namespace kestrane
