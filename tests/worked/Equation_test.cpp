// The worked example of an equation of state in doc/architecture.md: what the document shows stands
// here, and is compared with the textbook.

#include <cmath>
#include <vector>

#include "equil/EosFluids.h"

#include <gtest/gtest.h>

namespace kestrane {

/// Soave's equation with another m of the acentric factor: M.S. Graboski and T.E. Daubert, Ind.
/// Eng. Chem. Process Des. Dev. 17 (1978) 443.
class GD_EOS final : public A_RK_EOS {
public:
    std::string name() const override { return "Graboski-Daubert"; }
    void fill_T_Parms(EOS_T_Parms& record) const override {
        fill_soave(static_cast<T_Parms&>(record));
    }
    double m_of_omega(double omega) const override {
        return 0.48508 + (1.55171 - 0.15613 * omega) * omega;
    }
    double dm_domega(double omega) const override { return 1.55171 - 0.31226 * omega; }
    double omega_limit() const override { return 1.55171 / 0.31226; }  // where m is greatest
};

namespace {

using testing_eos::make_component;
using testing_eos::make_composition;
using testing_eos::make_fluid;
using testing_eos::Phase;

constexpr double R = 8314.472;

/// Butane at 350 K and 10 bar, all by the closed forms of the textbook: a and b of one component,
/// and ln phi = Z - 1 - ln(Z - B) - A/B ln(1 + B/Z) at the root that the record solved for. The
/// record keeps Z - B, and ln phi less the term b P/(R T), of which equilibria are free.
TEST(WorkedEquation, FugacityOfAPureComponentIsTheTextbooks) {
    const double T = 350.0, P = 10e5, Tc = 425.12, Pc = 37.96e5, omega = 0.2;
    Charzation charz("Pure");
    charz.comps.push_back(make_component("N-C4", 58.123, Tc, Pc, omega));
    const GD_EOS equation;
    Phase phase(equation, charz, T, {1.0});
    phase.solve(P);

    const double m = 0.48508 + 1.55171 * omega - 0.15613 * omega * omega;
    const double root_alpha = 1.0 + m * (1.0 - std::sqrt(T / Tc));
    const double d = std::cbrt(2.0) - 1.0;
    const double a = R * Tc * R * Tc / Pc / (9.0 * d) * root_alpha * root_alpha;
    const double b = d / 3.0 * R * Tc / Pc;
    const double A = a * P / (R * T * R * T), B = b * P / (R * T);
    const double Z = phase.state().z_sel + B;
    // The cubic's terms are near one: its residue is round-off of a few of them.
    EXPECT_NEAR(((Z - 1.0) * Z + A - B - B * B) * Z - A * B, 0.0, 1e-14);
    EXPECT_NEAR(phase.ln_phi()[0] + B, Z - 1.0 - std::log(Z - B) - A / B * std::log(1.0 + B / Z),
                1e-13);
}

/// At constant composition sum x_i ln phi_i moves with ln P as Z - 1, and less the covolumes' term
/// as Z - B - 1. The step of 1e-5 leaves an error of 1e-10 of truncation and of round-off each.
TEST(WorkedEquation, MixturesObeyGibbsAndDuhem) {
    const double T = 330.0, P = 60e5, step = 1e-5;
    const Charzation charz = make_fluid(5);
    const std::vector<double> x = make_composition(5);
    const GD_EOS equation;
    const auto mean = [&](double pressure, double* Z_less_B) {
        Phase phase(equation, charz, T, x);
        phase.solve(pressure, 1);
        if (Z_less_B) *Z_less_B = phase.state().z_sel;
        double sum = 0.0;
        const std::vector<double> ln_phi = phase.ln_phi();
        for (std::size_t i = 0; i < x.size(); ++i) sum += x[i] * ln_phi[i];
        return sum;
    };
    double Z_less_B = 0.0;
    mean(P, &Z_less_B);
    const double slope =
        (mean(P * (1.0 + step), nullptr) - mean(P * (1.0 - step), nullptr)) / (2.0 * step);
    EXPECT_NEAR(slope, Z_less_B - 1.0, 1e-8);
}

TEST(WorkedEquation, SlopeOfMIsItsDerivative) {
    const GD_EOS equation;
    for (const double omega : {-0.2, 0.0, 0.3, 1.1}) {
        // Of a parabola a central difference is exact but for round-off.
        const double slope = equation.m_of_omega(omega + 0.5) - equation.m_of_omega(omega - 0.5);
        EXPECT_NEAR(equation.dm_domega(omega), slope, 1e-14) << omega;
    }
    EXPECT_NEAR(equation.dm_domega(equation.omega_limit()), 0.0, 1e-14);
}

}  // namespace
}  // namespace kestrane
