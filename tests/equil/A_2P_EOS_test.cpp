#include "equil/A_2P_EOS.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <complex>
#include <limits>
#include <map>
#include <numeric>
#include <random>

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

// A walk through all magnitudes of A and B, against the same cubic in extended precision. The signs
// at its stationary points tell how many roots there are, except within the rounding of a double
// root.
TEST(A_2P_EOS, SolvesTheCubicAtAllMagnitudes) {
    std::mt19937_64 random(20261121);
    std::uniform_real_distribution<double> magnitude(-12.0, 3.0), ratio(-2.0, 2.0);
    for (const auto& eos : working_equations()) {
        const Charzation charz = make_fluid(1);
        Phase phase(*eos, charz, 300.0, {1.0});
        auto& state = static_cast<A_2P_EOS::C_Parms&>(*phase.record);
        int two_roots = 0;
        for (int trial = 0; trial < 50000; ++trial) {
            state.b = std::pow(10.0, magnitude(random));
            state.a = state.b * std::pow(10.0, ratio(random));
            if (trial % 7 == 0) state.a = -state.a;
            phase.solve(1.0);
            const long double p1 = eos->c1 * state.B, p2 = eos->c2 * state.B, A = state.A;
            const auto f = [&](long double z) { return (z - 1) * (z + p1) * (z + p2) + A * z; };
            for (const long double z : {state.z_low, state.z_high}) {
                ASSERT_GT(z, 0.0L);
                const long double scale = (z + 1) * (z + p1) * (z + p2) + std::fabs(A) * z;
                ASSERT_LE(std::fabs(f(z)), 1e-14L * scale) << state.A << " " << state.B;
            }
            if (A > 0) {
                ASSERT_LE(state.z_high, 1.0);
            } else {
                ASSERT_GE(state.z_low, 1.0);
            }
            const long double a2 = p1 + p2 - 1, a1 = A - p1 - p2 + p1 * p2;
            const long double D = a2 * a2 - 3 * a1;
            if (D <= 0) {
                ASSERT_EQ(state.z_low, state.z_high);
                continue;
            }
            const long double first = (-a2 - std::sqrt(D)) / 3, second = (-a2 + std::sqrt(D)) / 3;
            const auto sign = [&](long double z) {
                const long double margin =
                    1e-14L * ((std::fabs(a2) + std::fabs(z)) * z * z + std::fabs(a1 * z) + p1 * p2);
                return f(z) > margin ? 1 : f(z) < -margin ? -1 : 0;
            };
            if (first > 0 && sign(first) > 0 && sign(second) < 0) {
                ASSERT_LT(state.z_low, state.z_high) << state.A << " " << state.B;
                ++two_roots;
            } else if (first <= 0 || sign(first) < 0 || sign(second) > 0) {
                ASSERT_EQ(state.z_low, state.z_high) << state.A << " " << state.B;
            }
        }
        EXPECT_TRUE(phase.errors.empty());
        EXPECT_GT(two_roots, 1000);
    }
}

TEST(A_2P_EOS, FindsTwoRootsExactlyBetweenTheSpinodals) {
    for (const auto& eos : working_equations()) {
        const Charzation charz = make_fluid(1);
        Phase phase(*eos, charz, 0.8 * charz.comps[0].tc, {1.0});
        const double a = phase.state().a, b = phase.state().b;
        // dP/dV of the isotherm in y = z/B changes sign at the spinodals.
        const auto P_of = [&](double y) {
            return 1.0 / (b * y) - a / (b * b * (y + eos->c1) * (y + eos->c2));
        };
        double P_min = 1e300, P_max = -1e300, y = 0.02;
        while (P_of(y * 1.0005) < P_of(y)) y *= 1.0005;
        P_min = std::max(0.0, P_of(y));
        while (P_of(y * 1.0005) > P_of(y)) y *= 1.0005;
        P_max = P_of(y);
        EXPECT_EQ(std::abs(phase.solve(P_max * 0.9999)), 2);
        EXPECT_EQ(phase.solve(P_max * 1.0001), -1);
        EXPECT_EQ(phase.root_class, -1);
        if (P_min > 0.0) {
            EXPECT_EQ(std::abs(phase.solve(P_min * 1.0001)), 2);
            EXPECT_EQ(phase.solve(P_min * 0.9999), 1);
            EXPECT_EQ(phase.root_class, 1);
        }
    }
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

TEST(A_2P_EOS, EqualRootsAreJudgedByTwoRules) {
    // A dense supercritical fluid: the root code asks on which side of the critical z/B the root
    // lies, the class where it lies against the inflection of the cubic at that pressure.
    PR79_EOS eos;
    const Charzation charz = make_fluid(1);
    Phase phase(eos, charz, 1.3 * charz.comps[0].tc, {1.0});
    bool differed = false;
    for (double P = 1e5; P < 1e9; P *= 1.05) {
        phase.solve(P, 0);
        const auto& state = phase.state();
        ASSERT_EQ(state.z_low, state.z_high);
        const int by_density = state.z_sel < eos.y_crit * state.B ? -1 : 1;
        const double S = (eos.c1 + eos.c2) * state.B;
        const int by_inflection = 3.0 * state.z_sel < 1.0 - S ? -1 : 1;
        EXPECT_EQ(phase.root, by_density);
        EXPECT_EQ(phase.root_class, by_inflection);
        EXPECT_EQ(eos.root_code(*phase.record), by_inflection);
        differed |= by_density != by_inflection;
    }
    EXPECT_TRUE(differed);
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

// newton_root

struct NewtonResult {
    bool found;
    double z, dz;
};

// (z - r0)(z - r1)(z - r2)
NewtonResult newton(std::array<double, 3> r, double lower, double upper, double guess, double warm,
                    ErrorList* errors = nullptr) {
    NewtonResult result{false, warm, -1.0};
    result.found = PR79_EOS().newton_root(
        -(r[0] + r[1] + r[2]), r[0] * r[1] + r[1] * r[2] + r[0] * r[2], -r[0] * r[1] * r[2], lower,
        upper, guess, result.z, result.dz, errors);
    return result;
}

TEST(NewtonRoot, FindsTheRootAndItsReciprocalSlope) {
    const NewtonResult low = newton({0.1, 0.4, 0.9}, 0.0, 0.2, 0.2, 0.5);
    EXPECT_TRUE(low.found);
    EXPECT_NEAR(low.z, 0.1, 1e-15);
    EXPECT_NEAR(low.dz, 1.0 / (0.3 * 0.8), 1e-12);
    const NewtonResult high = newton({0.1, 0.4, 0.9}, 0.7, 1.0, 0.7, 0.7);
    EXPECT_TRUE(high.found);
    EXPECT_NEAR(high.z, 0.9, 1e-15);
    EXPECT_NEAR(high.dz, 1.0 / (0.8 * 0.5), 1e-12);
}

TEST(NewtonRoot, FailsWithoutABracket) {
    EXPECT_FALSE(newton({0.1, 0.4, 0.9}, 0.2, 0.1, 0.15, 0.1).found);
    // Positive at the lower end, negative at the upper end: the guess closes the bracket.
    EXPECT_FALSE(newton({0.1, 0.4, 0.9}, 0.2, 0.25, 0.1, 0.1).found);
    EXPECT_FALSE(newton({0.1, 0.4, 0.9}, 0.5, 0.8, 0.8, 0.6).found);
}

TEST(NewtonRoot, TakesAGuessThatIsTheRoot) {
    const NewtonResult at_bound = newton({0.25, 0.5, 1.0}, 0.9, 1.0, 5.0, 0.3);
    EXPECT_TRUE(at_bound.found);
    EXPECT_EQ(at_bound.z, 1.0);
    EXPECT_NEAR(at_bound.dz, 1.0 / (0.75 * 0.5), 1e-14);
}

TEST(NewtonRoot, TakesAWarmStartThatIsTheRoot) {
    const NewtonResult warm = newton({0.25, 0.5, 1.0}, 0.8, 2.0, 0.8, 1.0);
    EXPECT_TRUE(warm.found);
    EXPECT_EQ(warm.z, 1.0);
}

TEST(NewtonRoot, ATripleRootHasNoFiniteSlope) {
    ErrorList errors;
    const NewtonResult triple = newton({0.5, 0.5, 0.5}, 0.0, 1.0, 0.5, 0.9, &errors);
    EXPECT_TRUE(triple.found);
    EXPECT_EQ(triple.z, 0.5);
    EXPECT_GT(triple.dz, 1e14);
    // From aside the steps shrink by a third only, but the cubic's rounding ends them.
    const NewtonResult aside = newton({0.5, 0.5, 0.5}, 0.0, 1.0, 0.9, 0.9, &errors);
    EXPECT_TRUE(aside.found);
    EXPECT_NEAR(aside.z, 0.5, 1e-4);
    EXPECT_TRUE(errors.empty());
}

TEST(NewtonRoot, WarnsAfterFiftyRounds) {
    // No real root in the bounds: z^3 + 1 on [-0.5, 3] starts above zero and runs into the bound.
    ErrorList errors;
    NewtonResult result{false, 1.0, 0.0};
    result.found =
        PR79_EOS().newton_root(0.0, 0.0, 1.0, -0.5, 3.0, 3.0, result.z, result.dz, &errors);
    EXPECT_TRUE(result.found);
    EXPECT_EQ(result.z, -0.5);
    ASSERT_EQ(errors.entries.size(), 1U);
    EXPECT_EQ(errors.entries[0]->text, "Convergence failed in cubic equation solver");
    EXPECT_EQ(errors.severity, WARNING);
    errors.Clear();
    errors.warnings_on = false;
    EXPECT_TRUE(
        PR79_EOS().newton_root(0.0, 0.0, 1.0, -0.5, 3.0, 3.0, result.z, result.dz, &errors));
    EXPECT_TRUE(errors.empty());
}

// derive_pseudo_component

Charzation blank_targets(std::size_t n) {
    Charzation target("lumped");
    for (std::size_t i = 0; i < n; ++i) {
        target.comps.emplace_back();
        target.comps.back().name = UserWord("L" + std::to_string(i));
    }
    return target;
}

// A binary of lumps against the full mixture at the temperature of the derivation: the same a, b
// and translation, so the same pressure at any volume.
TEST(PseudoComponent, KeepsAAndBOfTheMixture) {
    const std::vector<std::vector<double>> weights{{0.5, 0.3, 0.2, 0.0, 0.0, 0.0},
                                                   {0.0, 0.0, 0.0, 0.2, 0.5, 0.3}};
    const std::vector<int> no_map{-1, -1};
    for (const auto& eos : working_equations()) {
        SCOPED_TRACE(eos->name());
        const Charzation source = make_fluid(6);
        Charzation target = blank_targets(2);
        eos->derive_pseudo_component(source, target, 380.0, weights, no_map);
        for (const double share : {0.0, 0.35, 1.0}) {
            std::vector<double> x(6);
            for (std::size_t i = 0; i < 6; ++i)
                x[i] = share * weights[0][i] + (1.0 - share) * weights[1][i];
            const Phase full(*eos, source, 380.0, x);
            const Phase lumped(*eos, target, 380.0, {share, 1.0 - share});
            // sqrt(a_mix a_mix) (1 - k) loses nothing but roundings.
            EXPECT_NEAR(lumped.state().a / full.state().a, 1.0, 1e-13);
            EXPECT_NEAR(lumped.state().b / full.state().b, 1.0, 1e-13);
            EXPECT_NEAR(lumped.state().c / full.state().c, 1.0, 1e-12);
        }
        double mw = 0.0;
        for (std::size_t i = 0; i < 6; ++i) mw += weights[0][i] * source.comps[i].mw;
        EXPECT_NEAR(target.comps[0].mw, mw, 1e-12 * mw);
        EXPECT_GT(target.comps[0].tc, source.comps[0].tc);
        EXPECT_LT(target.comps[0].tc, source.comps[2].tc);
    }
}

TEST(PseudoComponent, ASingleConstituentComesBackAsItWas) {
    for (const auto& eos : working_equations()) {
        SCOPED_TRACE(eos->name());
        const Charzation source = make_fluid(6);
        Charzation target = blank_targets(1);
        const std::vector<std::vector<double>> weights{{0.0, 0.0, 1.0}};
        eos->derive_pseudo_component(source, target, 380.0, weights, std::vector<int>{-1});
        const Compnent& original = source.comps[2];
        const Compnent& derived = target.comps[0];
        EXPECT_NEAR(derived.tc, original.tc, 1e-10 * original.tc);
        EXPECT_NEAR(derived.pc, original.pc, 1e-10 * original.pc);
        EXPECT_NEAR(derived.a_mod, original.a_mod, 1e-14);
        EXPECT_NEAR(derived.b_mod, original.b_mod, 1e-14);
        EXPECT_NEAR(derived.omega_a, original.a_mod * eos->omega_a, 1e-14);
        EXPECT_NEAR(derived.vol_shift, original.vol_shift, 1e-14);
        if (eos->name() == "Redlich-Kwong")
            EXPECT_EQ(derived.acentric, 0.0);
        else
            EXPECT_NEAR(derived.acentric, original.acentric, 1e-11);
    }
}

TEST(PseudoComponent, KeepsWhatTheUserGave) {
    PR79_EOS eos;
    const Charzation source = make_fluid(6);
    const std::vector<std::vector<double>> weights{{0.5, 0.3, 0.2, 0.0, 0.0, 0.0}};
    Charzation target = blank_targets(1);
    Compnent& comp = target.comps[0];
    comp.mw = 30.0;
    comp.tc = 250.0;
    comp.tb = 150.0;
    comp.sg = 0.4;
    comp.omega_a = 1.1 * eos.omega_a;
    comp.b_mod = 0.9;
    eos.derive_pseudo_component(source, target, 380.0, weights, std::vector<int>{-1});
    EXPECT_EQ(comp.mw, 30.0);
    EXPECT_EQ(comp.tc, 250.0);
    EXPECT_NE(comp.pc, UNSET);
    EXPECT_EQ(comp.acentric, UNSET);   // left to the boiling point
    EXPECT_EQ(comp.vol_shift, UNSET);  // left to the gravity
    EXPECT_NEAR(comp.a_mod, 1.1, 1e-15);
    EXPECT_EQ(comp.b_mod, 0.9);
    EXPECT_EQ(comp.omega_b, 0.9 * eos.omega_b);
}

TEST(PseudoComponent, SetsInteractionWithMappedComponents) {
    PR79_EOS eos;
    const Charzation source = make_fluid(6);
    // The first target is the source's component 0, the second a lump of 3, 4 and 5.
    Charzation target = blank_targets(2);
    target.comps[0] = source.comps[0];
    const std::vector<std::vector<double>> weights{{}, {0.0, 0.0, 0.0, 0.2, 0.5, 0.3}};
    const std::vector<int> map{0, -1};
    eos.derive_pseudo_component(source, target, 380.0, weights, map);
    const Phase full(eos, source, 380.0, {0.4, 0.0, 0.0, 0.12, 0.3, 0.18});
    const Phase lumped(eos, target, 380.0, {0.4, 0.6});
    EXPECT_NEAR(lumped.state().a / full.state().a, 1.0, 1e-13);
    // A value that stands is kept.
    Charzation given = blank_targets(2);
    given.comps[0] = source.comps[0];
    given.bips = {0.0, 0.07, 0.07, 0.0};
    eos.derive_pseudo_component(source, given, 380.0, weights, map);
    EXPECT_EQ(given.bips[1], 0.07);
    // Without a table in the source none is made.
    Charzation plain = make_fluid(6);
    plain.bips.clear();
    Charzation none = blank_targets(2);
    none.comps[0] = plain.comps[0];
    eos.derive_pseudo_component(plain, none, 380.0, weights, map);
    EXPECT_TRUE(none.bips.empty());
}

TEST(PseudoComponent, AConstituentWithoutCriticalPointAbandonsTheTarget) {
    PR79_EOS eos;
    Charzation source = make_fluid(6);
    source.comps[1].pc = 0.0;
    Charzation target = blank_targets(2);
    const std::vector<std::vector<double>> weights{{0.5, 0.5, 0.0, 0.0, 0.0, 0.0},
                                                   {0.0, 0.0, 0.5, 0.5, 0.0, 0.0}};
    eos.derive_pseudo_component(source, target, 380.0, weights, std::vector<int>{-1, -1});
    EXPECT_EQ(target.comps[0].tc, UNSET);
    EXPECT_GT(target.comps[1].tc, 0.0);
}

// omega_from_slope

TEST(OmegaFromSlope, InvertsAlpha) {
    for (const auto& eos : working_equations()) {
        SCOPED_TRACE(eos->name());
        for (const double omega : {-0.3, 0.0, 0.2, 0.49, 0.4900001, 0.9, 2.0}) {
            for (const double Tr : {0.4, 0.7, 1.0, 1.8}) {
                double root, slope, found, scale;
                eos->alpha_root(Tr, omega, root, slope);
                if (!(root > 0.0)) continue;
                eos->omega_from_slope(root / std::sqrt(Tr), slope / root, found, scale);
                EXPECT_NEAR(found, eos->name() == "Redlich-Kwong" ? 0.0 : omega, 1e-13);
                EXPECT_NEAR(scale, Tr, 1e-12 * Tr);
            }
        }
    }
}

TEST(OmegaFromSlope, StopsAtTheLimit) {
    double omega, scale;
    const SRK_EOS srk;
    srk.omega_from_slope(1.0, -50.0, omega, scale);  // m would be 100
    EXPECT_EQ(omega, srk.omega_limit());
    EXPECT_NEAR(omega, 4.471590909090909, 1e-14);
    EXPECT_NEAR(PR77_EOS().omega_limit(), 2.856883521043272, 1e-14);
}

TEST(OmegaFromSlope, TheJumpOfTheLaterFormIsItsOwnAnswer) {
    // m of PR79 leaps at 0.49; a slope inside the leap has no solution but the leap's place.
    const PR79_EOS eos;
    const double below = eos.m_of_omega(0.49);
    const double above = eos.m_of_omega(std::nextafter(0.49, 1.0));
    ASSERT_LT(below, above);
    double omega, scale;
    eos.omega_from_slope(1.0, -0.25 * (below + above), omega, scale);
    EXPECT_NEAR(omega, 0.49, 1e-14);
}

TEST(OmegaFromSlope, EndsOnAnyInput) {
    const double inf = std::numeric_limits<double>::infinity();
    for (const auto& eos : working_equations()) {
        for (const double x : {0.0, -1.0, 1e-300, 1e300, inf, std::nan("")}) {
            for (const double dlog : {0.0, -1e300, 1e300, -inf, std::nan("")}) {
                double omega, scale;
                eos->omega_from_slope(x, dlog, omega, scale);
            }
        }
    }
    double omega, scale;
    RK_EOS().omega_from_slope(0.0, -0.25, omega, scale);
    EXPECT_EQ(scale, 0.0);
    SRK_EOS().omega_from_slope(-2.0, 0.25, omega, scale);  // M + 1 = 2, M + x = -1
    EXPECT_EQ(scale, 0.0);
}

}  // namespace
}  // namespace kestrane
