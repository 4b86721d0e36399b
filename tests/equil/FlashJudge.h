#pragma once

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

#include "equil/Fluids.h"
#include "equil/reference/TangentPlaneSearch.h"

/// Measures of a flash result by equations that share nothing with the program; for tests, which
/// expect them to be small, and for campaigns, which count them.
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

/// How far a two-phase result is from an equilibrium.
struct EquilibriumErrors {
    double z_factor = 0.0;      ///< largest difference of Z from the textbook's
    double fugacity = 0.0;      ///< largest difference of ln f between the phases, textbook's
    double own_fugacity = 0.0;  ///< the same by the program's own ln phi
    double imbalance = 0.0;     ///< largest of L x + V y - z
    double fraction_sum = 0.0;  ///< L + V - 1
    double gibbs_excess = 0.0;  ///< G/RT over that of the feed, per mole; negative for two phases
    bool fractions_in_range = true;
};

inline EquilibriumErrors equilibrium_errors(TestCell& test) {
    const PVTCell& cell = test.cell;
    const std::span<const double> x = cell.eq_liquid->moles(), y = cell.eq_vapor->moles();
    const double L = cell.x_state.fraction, V = cell.y_state.fraction;
    const auto X = reference_phase(test, x, cell.x_state.z_factor);
    const auto Y = reference_phase(test, y, cell.y_state.z_factor);
    const auto z_error = [&](const auto& phase, std::span<const double> w, double Z) {
        return std::abs(static_cast<double>(phase.Z) - Z - translation(test, w));
    };
    EquilibriumErrors errors;
    errors.z_factor =
        std::max(z_error(X, x, cell.x_state.z_factor), z_error(Y, y, cell.y_state.z_factor));
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
    errors.fugacity = static_cast<double>(worst);
    errors.own_fugacity = static_cast<double>(worst_own);
    errors.imbalance = static_cast<double>(imbalance);
    errors.fraction_sum = L + V - 1.0;
    errors.fractions_in_range = L >= 0.0 && V >= 0.0;
    const textbook::Mixture<long double> mixture(test.fluid, cell.temperature.value);
    const auto feed =
        mixture.phase(cell.pressure.value, std::vector<long double>(z.begin(), z.end()));
    errors.gibbs_excess = static_cast<double>(L * X.gibbs + V * Y.gibbs - feed.gibbs);
    return errors;
}

/// Deepest distance found below the tangent plane of a phase at the cell's conditions; 0 if none.
inline double depth_below(const TestCell& test, std::span<const double> phase,
                          const SearchEffort& effort) {
    textbook::TangentPlaneSearch search(test.fluid, test.cell.temperature.value,
                                        test.cell.pressure.value);
    return search.run(phase, effort.random_starts, effort.iterations, effort.significant).distance;
}

}  // namespace kestrane::fluids
