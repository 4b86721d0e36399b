#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <span>
#include <string>
#include <vector>

#include "equil/Fluids.h"
#include "equil/reference/TangentPlaneSearch.h"

/// Judges the result of a flash by equations that share nothing with the program.
namespace kestrane::fluids {

/// How hard the tangent plane is searched where the flash found one phase.
struct SearchEffort {
    int random_starts = 4;
    int iterations = 200;
    /// Distances below the tangent plane that count. Phases whose ln K spread over less than
    /// 0.005 are one phase by decision; the distance, of fourth order in the spread, is then
    /// below 1e-9.
    double significant = 1e-9;
};

/// Share of the volume translation in Z: P c/(R T).
inline double translation(const TestCell& test, std::span<const double> x) {
    const double omega_b = test.charz.eos().parameter("b");
    double c = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const Component& component = test.fluid.components[i];
        c += x[i] * component.shift * omega_b * component.Tc / component.Pc;
    }
    return c * test.cell.pressure.value / test.cell.temperature.value;
}

/// The phase of the given composition on the root whose Z the program reports.
inline textbook::Phase<long double> reference_phase(const TestCell& test, std::span<const double> x,
                                                    double Z) {
    const textbook::Mixture<long double> mixture(test.fluid, test.cell.temperature.value);
    const std::vector<long double> fractions(x.begin(), x.end());
    const double P = test.cell.pressure.value;
    const double wanted = Z + translation(test, x);
    auto low = mixture.phase(P, fractions, textbook::Root::Low);
    auto high = mixture.phase(P, fractions, textbook::Root::High);
    return std::abs(low.Z - wanted) <= std::abs(high.Z - wanted) ? low : high;
}

/// ln phi of a phase by the program's own equation, on the root of least Gibbs energy.
inline std::vector<double> own_ln_phi(TestCell& test, std::span<const double> x) {
    const EOS& eos = test.charz.eos();
    const auto phase = eos.make_C_Parms(test.charz.t_parms(test.cell.temperature.value), nullptr);
    eos.set_composition(*phase, x);
    eos.set_pressure(*phase, test.cell.pressure.value);
    int root = 0, root_class = 0;
    eos.solve_z(*phase, root, root_class);
    std::vector<double> ln_phi(x.size());
    eos.ln_phi(*phase, ln_phi);
    return ln_phi;
}

/// Equal fugacities, material balance, Z and Gibbs energy of a two-phase result.
inline void expect_equilibrium(TestCell& test) {
    const PVTCell& cell = test.cell;
    const std::span<const double> x = cell.eq_liquid->moles(), y = cell.eq_vapor->moles();
    const double L = cell.x_state.fraction, V = cell.y_state.fraction;
    const auto X = reference_phase(test, x, cell.x_state.z_factor);
    const auto Y = reference_phase(test, y, cell.y_state.z_factor);
    // Z of both programs come from the same cubic: rounding, amplified where two roots meet.
    EXPECT_NEAR(static_cast<double>(X.Z), cell.x_state.z_factor + translation(test, x), 1e-9);
    EXPECT_NEAR(static_cast<double>(Y.Z), cell.y_state.z_factor + translation(test, y), 1e-9);
    const std::vector<double> own_x = own_ln_phi(test, x), own_y = own_ln_phi(test, y);
    const std::vector<double>& z = cell.feed_fractions;
    long double worst = 0, worst_own = 0, imbalance = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const long double ln_ratio =
            std::log(static_cast<long double>(x[i])) - std::log(static_cast<long double>(y[i]));
        worst = std::max(worst, std::fabs(X.ln_phi[i] - Y.ln_phi[i] + ln_ratio));
        worst_own = std::max(worst_own, std::fabs(own_x[i] - own_y[i] + ln_ratio));
        imbalance = std::max<long double>(imbalance, std::abs(L * x[i] + V * y[i] - z[i]));
    }
    EXPECT_LE(worst, 1e-10);
    EXPECT_LE(worst_own, 1e-10);
    EXPECT_LE(imbalance, 1e-12);
    EXPECT_TRUE(L >= 0.0 && V >= 0.0) << L << ' ' << V;
    EXPECT_NEAR(L + V, 1.0, 1e-12);
    const textbook::Mixture<long double> mixture(test.fluid, cell.temperature.value);
    const auto feed =
        mixture.phase(cell.pressure.value, std::vector<long double>(z.begin(), z.end()));
    // Long doubles and fractions good to 1e-16: 1e-14 is rounding.
    EXPECT_LE(static_cast<double>(L * X.gibbs + V * Y.gibbs - feed.gibbs), 1e-14);
}

/// No composition lies below the tangent plane of the feed.
inline void expect_stable(TestCell& test, const SearchEffort& effort) {
    textbook::TangentPlaneSearch search(test.fluid, test.cell.temperature.value,
                                        test.cell.pressure.value);
    const auto below = search.run(test.cell.feed_fractions, effort.random_starts, effort.iterations,
                                  effort.significant);
    EXPECT_GE(below.distance, -effort.significant) << "one phase, but it is unstable";
}

/// Everything that must hold after a flash. `thorough` also searches below the tangent plane of a
/// two-phase result: nothing may lie there unless a third phase was announced.
inline void expect_sound(TestCell& test, const SearchEffort& effort, bool thorough) {
    const PVTCell& cell = test.cell;
    if (cell.phase_count < 3)
        for (const auto& message : test.errors->entries) ADD_FAILURE() << message->text;
    if (cell.phase_count < 2) {
        expect_stable(test, effort);
        return;
    }
    expect_equilibrium(test);
    if (!thorough || cell.phase_count > 2) return;
    textbook::TangentPlaneSearch search(test.fluid, cell.temperature.value, cell.pressure.value);
    const auto below = search.run(cell.eq_liquid->moles(), effort.random_starts, effort.iterations,
                                  100.0 * effort.significant);
    EXPECT_GE(below.distance, -100.0 * effort.significant) << "a better split exists";
}

}  // namespace kestrane::fluids
