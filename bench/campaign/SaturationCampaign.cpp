// Saturation pressures of drawn fluids, judged by fugacities of the textbook's equation, by
// searches below the tangent plane on both sides, and by scans of flashes under all stability
// tests.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>

#include "Campaign.h"
#include "equil/Saturation.h"

namespace kestrane::campaign {

namespace {

using fluids::TestCell;

constexpr std::uint64_t TEMPERATURES_PER_FLUID = 10;
constexpr double FUGACITY = 1e-10;
constexpr double SCAN_FACTOR = 1.3;
constexpr double LOWEST = 1.0;  // Pa; below it the textbook's Cardano formula loses liquid roots

/// A region so narrow, of a fluid that is all but pure, has no inside that a flash could tell; nor
/// has one at an azeotrope, where phases are alike (of ln K) and flashes take them for one.
constexpr double NARROW = 1e-7;
constexpr double NARROW_AZEOTROPE = 1e-4;
constexpr double ALIKE = 5e-3;

/// One pressure asked for; the other boundary of the region, if it is known, tells its width.
class SaturationCase {
public:
    SaturationCase(Subject& subject, double T, int sense, const Options& options)
        : subject_(subject), T_(T), sense_(sense), options_(options) {
        other_ = saturate(subject.plain, T, -sense, UNSET).value_or(0.0);
    }

    void run(Tally& tally, double start, std::uint64_t number) {
        TestCell& test = subject_.plain;
        const std::optional<double> found = saturate(test, T_, sense_, start);
        const std::size_t mode = sense_ > 0 ? 0 : 1;
        const std::size_t distance = distance_class(found ? subject_.distance(T_, *found) : -1.0);
        tally.count(mode, distance, test.cell.eos_evaluations, number, found.has_value());
        const bool unproved = says(test, "convergence failed") || says(test, "out of bounds");
        const bool above_limit = says(test, "upper search limit");
        if (unproved) tally.fail(UNCONVERGED, mode, distance, number);
        Failure failure = FAILURE_COUNT;
        if (above_limit)
            failure = is_two_phase(P_HIGH_LIMIT) ? FAILURE_COUNT : FALSELY_ABOVE_LIMIT;
        else if (found)
            failure = failure_of(*found, unproved);
        else
            failure = two_phases_anywhere() ? FALSELY_NOT_FOUND : FAILURE_COUNT;
        if (failure != FAILURE_COUNT)
            tally.fail(unproved ? WARNED : failure, mode, distance, number);
        if (options_.verbose)
            std::printf("  sense %d from %.9g: %s %.17g Pa%s%s%s\n", sense_, start,
                        found ? "found" : "not found", found.value_or(0.0),
                        unproved ? ", unproved" : "", above_limit ? ", above limit" : "",
                        failure == FAILURE_COUNT ? "" : "  <== FAILURE");
    }

private:
    Failure failure_of(double P, bool unproved) {
        if (!unproved && P > LOWEST && !(fugacity_difference() <= FUGACITY)) return NO_EQUILIBRIUM;
        if (P > LOWEST && !two_phases_inside(P)) return NOT_INSIDE;
        if (P > LOWEST && below_plane(outward(P, 1.001))) return UNSTABLE_OUTSIDE;
        return two_phases_beyond(P) ? UNSTABLE_OUTSIDE : FAILURE_COUNT;
    }

    double fugacity_difference() {
        const PVTCell& cell = subject_.plain.cell;
        const std::span<const double> x = cell.eq_liquid->moles(), y = cell.eq_vapor->moles();
        const textbook::Mixture<long double> mixture(subject_.plain.fluid, T_);
        const auto phase = [&](std::span<const double> w) {
            return mixture.phase(cell.pressure.value, std::vector<long double>(w.begin(), w.end()));
        };
        const auto X = phase(x), Y = phase(y);
        long double worst = 0.0;
        for (std::size_t i = 0; i < x.size(); ++i)
            worst = std::max(worst, std::fabs(X.ln_phi[i] - Y.ln_phi[i] +
                                              std::log(static_cast<long double>(x[i])) -
                                              std::log(static_cast<long double>(y[i]))));
        return static_cast<double>(worst);
    }

    double outward(double P, double factor) const { return sense_ > 0 ? P * factor : P / factor; }
    bool is_two_phase(double P) { return flash(subject_.tested, {T_, P}); }
    bool below_plane(double P) {
        subject_.tested.cell.temperature.value = T_;
        subject_.tested.cell.pressure.value = P;
        return fluids::depth_below(subject_.tested, subject_.tested.fluid.z, options_.effort) <
               -options_.effort.significant;
    }
    /// The region may be narrower than a step inside, and shallow next to its boundary.
    bool two_phases_inside(double P) {
        const auto [low, high] = std::ranges::minmax(subject_.plain.cell.ln_k);
        const double narrow = high - low < ALIKE ? NARROW_AZEOTROPE : NARROW;
        if (std::abs(P - other_) <= narrow * P) return true;
        for (const double step : {1e-3, 1e-2, 1e-4, 1e-5, 1e-6, 1e-7})
            if (is_two_phase(outward(P, 1.0 / (1.0 + step)))) return true;
        return false;
    }
    bool two_phases_beyond(double P) {
        const double last = sense_ > 0 ? P_HIGH_LIMIT : 1e-4 * P;
        for (P = outward(P, 1.0003); sense_ > 0 ? P <= last : P >= last;
             P = outward(P, SCAN_FACTOR))
            if (is_two_phase(P)) return true;
        return false;
    }
    bool two_phases_anywhere() {
        for (double P = 1e2; P < P_HIGH_LIMIT; P *= 1.1)
            if (is_two_phase(P)) return true;
        for (const double P : {1e6, 3e6, 1e7, 2e7, 3e7, 5e7})
            if (below_plane(P)) return true;
        return false;
    }

    Subject& subject_;
    double T_;
    int sense_;
    const Options& options_;
    double other_ = 0.0;  ///< Pa, 0 if unknown
};

double draw_temperature(const Subject& subject, Draw& draw) {
    const bool has_critical = subject.Tc > 200.0 && subject.Tc < 800.0;
    const double share = subject.kind == FluidKind::NearCritical ? 0.5 : 0.15;
    if (draw.chance(share) && has_critical)
        return subject.Tc * (1.0 + draw.sign() * draw.log_uniform(1e-5, 0.1));
    return draw.uniform(255.0, 480.0);
}

}  // namespace

Tally saturation_campaign(const Options& options) {
    Tally tally("saturation pressures", {"upper", "lower"});
    Subjects subjects(options, TEMPERATURES_PER_FLUID);
    for_each_case(options, [&](std::uint64_t number) {
        Subject& subject = subjects.of(number);
        Draw draw(options.seed, 3, number);
        const double T = draw_temperature(subject, draw);
        const double start = draw.chance(0.5) ? UNSET : draw.log_uniform(1e4, 1e9);
        if (options.verbose)
            std::printf("case %llu, %zu components, T %.17g K, Tc %.9g K, Pc %.9g Pa\n",
                        static_cast<unsigned long long>(number), subject.plain.fluid.n(), T,
                        subject.Tc, subject.Pc);
        for (const int sense : {1, -1})
            SaturationCase(subject, T, sense, options).run(tally, start, number);
        if (options.verbose) std::cout << std::flush << source_of(subject.plain.fluid);
    });
    return tally;
}

}  // namespace kestrane::campaign
