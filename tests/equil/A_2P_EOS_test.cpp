#include "equil/A_2P_EOS.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <complex>
#include <limits>
#include <map>
#include <numeric>

#include "equil/EosFluids.h"

namespace kestrane {
namespace {

using testing_eos::make_component;
using testing_eos::make_composition;
using testing_eos::make_fluid;
using testing_eos::Phase;
using testing_eos::working_equations;

constexpr double GAS_CONSTANT = 8314.472;  // J/(kmol K)
const std::array<std::size_t, 4> SIZES{1, 2, 6, 20};

// The equations in their textbook form, with a, b and V in physical units: an account of the same
// physics that shares nothing with the code under test. Universal constants from the closed
// solution of the critical conditions, to 15 digits.
struct Textbook {
    bool peng_robinson;
    std::vector<double> a, b, c;  // J m3/kmol2, m3/kmol, m3/kmol
    std::vector<double> k;        // row by row
    double T;

    Textbook(const std::string& name, const Charzation& charz, double temperature)
        : peng_robinson(name.starts_with("Peng")), k(charz.bips), T(temperature) {
        const double omega_a = peng_robinson ? 0.457235528921382 : 0.427480233540341;
        const double omega_b = peng_robinson ? 0.0777960739038885 : 0.0866403499649577;
        for (const Compnent& comp : charz.comps) {
            const double RTc = GAS_CONSTANT * comp.tc;
            a.push_back(omega_a * comp.a_mod * RTc * RTc / comp.pc * alpha(name, comp));
            b.push_back(omega_b * comp.b_mod * RTc / comp.pc);
            c.push_back(comp.vol_shift * b.back());
        }
        if (k.empty()) k.assign(a.size() * a.size(), 0.0);
    }

    double alpha(const std::string& name, const Compnent& comp) const {
        const double Tr = T / comp.tc, w = comp.acentric;
        if (name == "Redlich-Kwong") return 1.0 / std::sqrt(Tr);
        double m = 0.37464 + 1.54226 * w - 0.26992 * w * w;
        if (name == "Soave-Redlich-Kwong") m = 0.480 + 1.574 * w - 0.176 * w * w;
        if (name == "Peng-Robinson (1979)" && w > 0.49)
            m = 0.379642 + 1.48503 * w - 0.164423 * w * w + 0.016666 * w * w * w;
        return std::pow(1.0 + m * (1.0 - std::sqrt(Tr)), 2.0);
    }

    template <class N>
    N attraction(const std::vector<N>& n) const {
        N sum = 0.0;
        for (std::size_t i = 0; i < n.size(); ++i)
            for (std::size_t j = 0; j < n.size(); ++j)
                sum += n[i] * n[j] * std::sqrt(a[i] * a[j]) * (1.0 - k[i * n.size() + j]);
        return sum;
    }
    template <class N>
    static N dot(const std::vector<N>& n, const std::vector<double>& v) {
        N sum = 0.0;
        for (std::size_t i = 0; i < n.size(); ++i) sum += n[i] * v[i];
        return sum;
    }

    // Residual Helmholtz energy over R T of amounts n in the (translated) volume V. The ideal part
    // of the step from V to V + C belongs to it.
    template <class N>
    N residual_helmholtz(const std::vector<N>& n, double V) const {
        const N B = dot(n, b), D = attraction(n), v = V + dot(n, c);
        const N moles = std::accumulate(n.begin(), n.end(), N(0.0));
        const N repulsion = -moles * std::log((v - B) / v) - moles * std::log(v / V);
        const double root2 = std::sqrt(2.0);
        if (!peng_robinson) return repulsion - D / (GAS_CONSTANT * T * B) * std::log(1.0 + B / v);
        return repulsion - D / (2.0 * root2 * GAS_CONSTANT * T * B) *
                               std::log((v + (1.0 + root2) * B) / (v + (1.0 - root2) * B));
    }

    double pressure(const std::vector<double>& n, double V) const {
        const double B = dot(n, b), D = attraction(n), v = V + dot(n, c);
        const double moles = std::accumulate(n.begin(), n.end(), 0.0);
        const double attractive =
            peng_robinson ? D / (v * v + 2.0 * B * v - B * B) : D / (v * (v + B));
        return moles * GAS_CONSTANT * T / (v - B) - attractive;
    }

    // ln phi of the translated equation: dF/dn_i at constant T and V, by a complex step, less ln Z.
    std::vector<double> ln_phi(const std::vector<double>& x, double P, double Z) const {
        const double V = Z * GAS_CONSTANT * T / P;
        constexpr double STEP = 1e-40;
        std::vector<double> out;
        for (std::size_t i = 0; i < x.size(); ++i) {
            std::vector<std::complex<double>> n(x.begin(), x.end());
            n[i] += std::complex<double>(0.0, STEP);
            out.push_back(residual_helmholtz(n, V).imag() / STEP - std::log(Z));
        }
        return out;
    }
};

// Calls `check` at every state of a grid, once for each root that exists there.
template <class Check>
void for_each_state(Check check) {
    for (const auto& eos : working_equations()) {
        for (const std::size_t n : SIZES) {
            const Charzation charz = make_fluid(n);
            for (const double T : {260.0, 330.0, 420.0}) {
                for (const double P : {1e5, 1.2e6, 4e6, 2.5e7}) {
                    for (const int hint : {-1, 1}) {
                        Phase phase(*eos, charz, T, make_composition(n));
                        if (phase.solve(P, hint) * hint < 0 && std::abs(phase.root) == 1) continue;
                        SCOPED_TRACE(eos->name() + " n " + std::to_string(n) + " T " +
                                     std::to_string(T) + " P " + std::to_string(P) + " root " +
                                     std::to_string(phase.root));
                        check(*eos, charz, phase, T, P, hint);
                    }
                }
            }
        }
    }
}

TEST(A_2P_EOS, StatesOfTheGridHaveBothKindsOfRoots) {
    std::map<int, int> count;
    for_each_state([&](const A_2P_EOS&, const Charzation&, Phase& phase, double, double, int) {
        ++count[phase.root];
    });
    for (const int root : {-2, -1, 1, 2}) EXPECT_GT(count[root], 5) << root;
}

TEST(A_2P_EOS, RootsSatisfyThePressureEquation) {
    for_each_state(
        [](const A_2P_EOS& eos, const Charzation& charz, Phase& phase, double T, double P, int) {
            const Textbook book(eos.name(), charz, T);
            const double V = eos.z_factor(*phase.record) * GAS_CONSTANT * T / P;
            // A liquid's pressure is the difference of two large terms; their size sets the
            // rounding.
            const double v = V + Textbook::dot(phase.x, book.c);
            const double scale = GAS_CONSTANT * T / (v - Textbook::dot(phase.x, book.b));
            EXPECT_NEAR(book.pressure(phase.x, V), P,
                        1e-12 * scale * v / (v - Textbook::dot(phase.x, book.b)));
        });
}

// The tolerance leaves some hundred roundings: the test's own constants carry 15 digits and its
// liquid volume loses three.
TEST(A_2P_EOS, LnPhiIsTheDerivativeOfTheHelmholtzEnergy) {
    for_each_state(
        [](const A_2P_EOS& eos, const Charzation& charz, Phase& phase, double T, double P, int) {
            std::vector<double> ours = phase.ln_phi();
            eos.add_volume_term(*phase.record, ours, 1.0);
            const Textbook book(eos.name(), charz, T);
            const std::vector<double> theirs = book.ln_phi(phase.x, P, eos.z_factor(*phase.record));
            for (std::size_t i = 0; i < ours.size(); ++i)
                EXPECT_NEAR(ours[i], theirs[i], 1e-11 * (1.0 + std::fabs(theirs[i]))) << i;
        });
}

// Five points, step h = 1e-3 in ln P: truncation h^4 and rounding 1e-15/h both stay near 1e-11.
TEST(A_2P_EOS, PressureDerivativeAgreesWithDifferences) {
    for_each_state(
        [](const A_2P_EOS& eos, const Charzation&, Phase& phase, double, double P, int hint) {
            constexpr double h = 1e-3;
            const auto at = [&](double shift) {
                phase.solve(P * std::exp(shift), hint);
                return phase.ln_phi();
            };
            const auto m2 = at(-2 * h), m1 = at(-h), p1 = at(h), p2 = at(2 * h);
            at(0.0);
            std::vector<double> v(phase.x.size());
            eos.ln_phi_dlnp(*phase.record, v, false);
            for (std::size_t i = 0; i < v.size(); ++i) {
                const double difference = (m2[i] - 8 * m1[i] + 8 * p1[i] - p2[i]) / (12 * h);
                EXPECT_NEAR(v[i], difference, 1e-8 * (0.1 + std::fabs(difference))) << i;
            }
            std::vector<double> rest(v.size(), 7.0);
            eos.ln_phi_dlnp(*phase.record, rest, true);
            for (std::size_t i = 0; i < v.size(); ++i) EXPECT_EQ(rest[i], 7.0 - v[i]);
        });
}

// Each column against differences of an amount that is added to one mole, which checks both
// triangles of the matrix and so its symmetry.
TEST(A_2P_EOS, CompositionDerivativeAgreesWithDifferences) {
    for_each_state(
        [](const A_2P_EOS& eos, const Charzation&, Phase& phase, double, double P, int hint) {
            const std::size_t n = phase.x.size();
            phase.ln_phi();
            std::vector<double> matrix(n * (n + 1) / 2);
            eos.ln_phi_dn(*phase.record, matrix);
            constexpr double h = 2e-4;
            const std::vector<double> x = phase.x;
            for (std::size_t j = 0; j < n; ++j) {
                const auto at = [&](double added) {
                    std::vector<double> changed = x;
                    changed[j] += added;
                    for (double& value : changed) value /= 1.0 + added;
                    eos.set_composition(*phase.record, changed);
                    phase.solve(P, hint);
                    return phase.ln_phi();
                };
                const auto m2 = at(-2 * h), m1 = at(-h), p1 = at(h), p2 = at(2 * h);
                for (std::size_t i = 0; i < n; ++i) {
                    const double difference = (m2[i] - 8 * m1[i] + 8 * p1[i] - p2[i]) / (12 * h);
                    const double ours = matrix[packed(std::max(i, j), std::min(i, j))];
                    EXPECT_NEAR(ours, difference, 1e-7 * (0.1 + std::fabs(difference)))
                        << i << "," << j;
                }
            }
        });
}

TEST(A_2P_EOS, GibbsDuhemSumsVanish) {
    for_each_state([](const A_2P_EOS& eos, const Charzation&, Phase& phase, double, double, int) {
        const std::size_t n = phase.x.size();
        phase.ln_phi();
        std::vector<double> matrix(n * (n + 1) / 2), v(n);
        eos.ln_phi_dn(*phase.record, matrix);
        eos.ln_phi_dlnp(*phase.record, v, false);
        double largest = 0.0;
        for (const double value : matrix) largest = std::max(largest, std::fabs(value));
        for (std::size_t j = 0; j < n; ++j) {
            double sum = 0.0;
            for (std::size_t i = 0; i < n; ++i)
                sum += phase.x[i] * matrix[packed(std::max(i, j), std::min(i, j))];
            EXPECT_NEAR(sum, 0.0, 1e-12 * (1.0 + largest));
        }
        // The mean of d ln phi/d ln P is Z - 1, here without the volume's B.
        const double mean = std::inner_product(v.begin(), v.end(), phase.x.begin(), 0.0);
        EXPECT_NEAR(mean, phase.state().z_sel - 1.0, 1e-11);
    });
}

TEST(A_2P_EOS, RootEnergyIsTheMeanOfLnPhi) {
    for_each_state([](const A_2P_EOS& eos, const Charzation&, Phase& phase, double, double, int) {
        const std::vector<double> ln_phi = phase.ln_phi();
        const double mean = std::inner_product(ln_phi.begin(), ln_phi.end(), phase.x.begin(), 0.0);
        double low, high;
        eos.root_energies(*phase.record, low, high);
        EXPECT_NEAR(mean, phase.root < 0 ? low : high, 1e-11 * (1.0 + std::fabs(mean)));
    });
}

TEST(A_2P_EOS, WithoutHintTheRootOfLowerEnergyIsTaken) {
    int both = 0;
    for_each_state(
        [&](const A_2P_EOS& eos, const Charzation&, Phase& phase, double, double P, int) {
            if (std::abs(phase.root) < 2) return;
            double low, high, z_low, z_high;
            eos.root_energies(*phase.record, low, high);
            eos.raw_roots(*phase.record, z_low, z_high);
            EXPECT_LT(z_low, z_high);
            EXPECT_EQ(phase.solve(P, 0), low < high ? -2 : 2);
            EXPECT_EQ(phase.root_class, phase.root);
            EXPECT_EQ(phase.state().z_sel, low < high ? z_low : z_high);
            EXPECT_EQ(eos.root_code(*phase.record), phase.root);
            // A hint overrules the energies.
            EXPECT_EQ(phase.solve(P, low < high ? 1 : -1), low < high ? 2 : -2);
            EXPECT_EQ(eos.root_code(*phase.record), phase.root);
            ++both;
        });
    EXPECT_GT(both, 20);
}

TEST(A_2P_EOS, ZFactorsDifferFromRootsByTheTranslation) {
    for_each_state([](const A_2P_EOS& eos, const Charzation& charz, Phase& phase, double T,
                      double P, int) {
        const Textbook book(eos.name(), charz, T);
        const double expected = (Textbook::dot(phase.x, book.b) - Textbook::dot(phase.x, book.c)) *
                                P / (GAS_CONSTANT * T);
        EXPECT_NEAR(eos.translation(*phase.record), expected, 1e-14 * (1.0 + std::fabs(expected)));
        double low, high, z_low, z_high;
        eos.z_factors(*phase.record, low, high);
        eos.raw_roots(*phase.record, z_low, z_high);
        EXPECT_NEAR(low - z_low, expected, 1e-13);
        EXPECT_NEAR(high - z_high, expected, 1e-13);
    });
}

TEST(A_2P_EOS, NoPressureIsAnIdealGas) {
    for (const auto& eos : working_equations()) {
        const Charzation charz = make_fluid(6);
        Phase phase(*eos, charz, 300.0, make_composition(6));
        for (const double P : {0.0, -1e5, std::numeric_limits<double>::quiet_NaN()}) {
            EXPECT_EQ(phase.solve(P), 1);
            EXPECT_EQ(phase.root_class, 1);
            if (P == 0.0) {
                EXPECT_EQ(eos->z_factor(*phase.record), 1.0);
                for (const double value : phase.ln_phi()) EXPECT_EQ(value, 0.0);
                std::vector<double> v(6), matrix(21);
                eos->ln_phi_dlnp(*phase.record, v, false);
                eos->ln_phi_dn(*phase.record, matrix);
                for (const double value : v) EXPECT_EQ(value, 0.0);
                for (const double value : matrix) EXPECT_EQ(value, 0.0);
                double low, high;
                eos->root_energies(*phase.record, low, high);
                EXPECT_EQ(low, 0.0);
                EXPECT_EQ(high, 0.0);
            }
        }
    }
}

TEST(A_2P_EOS, LowPressureFollowsTheSecondVirialCoefficient) {
    for (const auto& eos : working_equations()) {
        const Charzation charz = make_fluid(2);
        Phase phase(*eos, charz, 400.0, make_composition(2));
        phase.solve(1.0);
        const auto& state = phase.state();
        // ln phi_i = P (2 sum_j B_ij x_j - B_mix)/(R T) with B_ij = (b_i + b_j)/2 - a_ij/(R T); the
        // terms in b leave b_i P, which ln_phi does not count.
        const std::vector<double> ln_phi = phase.ln_phi();
        for (std::size_t i = 0; i < 2; ++i) {
            const double second_virial = state.a - 2.0 * state.s[i];
            // 1 - z, about 1e-6, keeps ten digits; the next order in P is 1e-6 of the first.
            EXPECT_NEAR(ln_phi[i], second_virial, 1e-5 * std::fabs(second_virial));
        }
    }
}

TEST(A_2P_EOS, NetRepulsionPutsTheRootAboveOne) {
    Charzation charz = make_fluid(2);
    charz.bips = {0.0, 8.0, 8.0, 0.0};
    for (const auto& eos : working_equations()) {
        Phase phase(*eos, charz, 300.0, {0.5, 0.5});
        ASSERT_LT(phase.state().a, 0.0);
        for (const double P : {1e3, 1e6, 1e8, 1e11}) {
            const int root = phase.solve(P);
            EXPECT_EQ(std::abs(root), 1);
            EXPECT_GE(phase.state().z_sel, 1.0);
            const Textbook book(eos->name(), charz, 300.0);
            const double Z = eos->z_factor(*phase.record);
            EXPECT_NEAR(book.pressure(phase.x, Z * GAS_CONSTANT * 300.0 / P), P, 1e-9 * P);
            std::vector<double> ours = phase.ln_phi();
            eos->add_volume_term(*phase.record, ours, 1.0);
            const std::vector<double> theirs = book.ln_phi(phase.x, P, Z);
            for (std::size_t i = 0; i < 2; ++i)
                EXPECT_NEAR(ours[i], theirs[i], 1e-10 * (1.0 + std::fabs(theirs[i])));
        }
        EXPECT_TRUE(phase.errors.empty());
    }
}

TEST(A_2P_EOS, TheLargerZOverBIsLighter) {
    SRK_EOS eos;
    const Charzation charz = make_fluid(6);
    Phase light(eos, charz, 330.0, {0.95, 0.03, 0.02, 0.0, 0.0, 0.0});
    Phase heavy(eos, charz, 330.0, {0.05, 0.03, 0.02, 0.1, 0.3, 0.5});
    light.solve(5e6);
    heavy.solve(5e6);
    EXPECT_TRUE(eos.is_lighter(*heavy.record, *light.record));
    EXPECT_FALSE(eos.is_lighter(*light.record, *heavy.record));
    EXPECT_TRUE(eos.is_lighter(*light.record, *light.record));
}

TEST(A_2P_EOS, PseudoCriticalTemperatureDividesTheIsotherms) {
    for (const auto& eos : working_equations()) {
        Charzation charz("pure");
        charz.comps.push_back(make_component("C1", 16.043, 190.564, 4.599e6, 0.0115));
        EXPECT_TRUE(eos->below_pseudo_critical(*Phase(*eos, charz, 190.56, {1.0}).record));
        EXPECT_FALSE(eos->below_pseudo_critical(*Phase(*eos, charz, 190.57, {1.0}).record));
    }
}

TEST(A_2P_EOS, IdenticalTwinsChangeNothing) {
    for (const auto& eos : working_equations()) {
        Charzation charz = make_fluid(2);
        Phase phase(*eos, charz, 330.0, {0.4, 0.6});
        charz.comps.push_back(charz.comps[1]);
        const double k = charz.bips[1];
        charz.bips = {0, k, k, k, 0, 0, k, 0, 0};
        Phase twins(*eos, charz, 330.0, {0.4, 0.25, 0.35});
        phase.solve(5e6);
        twins.solve(5e6);
        const auto one = phase.ln_phi(), three = twins.ln_phi();
        EXPECT_NEAR(one[0], three[0], 1e-13);
        EXPECT_NEAR(one[1], three[1], 1e-13);
        EXPECT_EQ(three[1], three[2]);
    }
}

TEST(A_2P_EOS, AZeroTableIsNoTable) {
    for (const auto& eos : working_equations()) {
        Charzation charz = make_fluid(6);
        charz.bips.clear();
        Phase without(*eos, charz, 330.0, make_composition(6));
        charz.bips.assign(36, 0.0);
        Phase with(*eos, charz, 330.0, make_composition(6));
        charz.bips.assign(36, UNSET);  // as before completion
        Phase unset(*eos, charz, 330.0, make_composition(6));
        without.solve(5e6);
        with.solve(5e6);
        unset.solve(5e6);
        EXPECT_EQ(without.ln_phi(), with.ln_phi());
        EXPECT_EQ(without.ln_phi(), unset.ln_phi());
    }
}

TEST(A_2P_EOS, AnotherTemperatureRecordReplacesTheFirst) {
    PR79_EOS eos;
    const Charzation charz = make_fluid(6);
    Phase phase(eos, charz, 300.0, make_composition(6));
    Phase other(eos, charz, 350.0, make_composition(6));
    other.solve(3e6);
    eos.set_T_Parms(*phase.record, other.t_parms);
    eos.set_composition(*phase.record, phase.x);
    phase.solve(3e6);
    EXPECT_EQ(phase.ln_phi(), other.ln_phi());
    EXPECT_EQ(phase.record->t_parms, other.t_parms);
    EXPECT_FALSE(eos.make_C_Parms({}, nullptr));
}

TEST(A_2P_EOS, AnEmptyFluidIsHarmless) {
    PR79_EOS eos;
    const Charzation charz("empty");
    Phase phase(eos, charz, 300.0, {});
    EXPECT_EQ(phase.solve(1e5), 1);
    EXPECT_TRUE(phase.ln_phi().empty());
    EXPECT_EQ(eos.vapor_pressure(*phase.record), 0.0);
}

}  // namespace
}  // namespace kestrane
