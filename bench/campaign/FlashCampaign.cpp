// Flashes of drawn fluids at drawn states, each judged by equal fugacities, material balance, roots
// and Gibbs energies of the textbook's equation, and by a search for compositions below the tangent
// plane. The searches of one state serve all flashes of it.

#include <cmath>
#include <cstdio>
#include <iostream>

#include "Campaign.h"

namespace kestrane::campaign {

namespace {

using fluids::EquilibriumErrors;
using fluids::TestCell;

constexpr std::uint64_t STATES_PER_FLUID = 25;
constexpr double LEAST_PRESSURE = 1e3;  // Pa; nobody separates oil and gas at less
constexpr double FUGACITY = 1e-10, BALANCE = 1e-12, GIBBS = 1e-14;
/// Rounding of Z, amplified where two roots meet.
constexpr double Z_ERROR = 1e-8;

enum Mode : std::size_t { COLD, PREVIOUS, TESTED };

double anywhere(Draw& draw) {
    return draw.uniform(255.0, 480.0);
}

/// Near the boundary of the two-phase region, on both sides.
State near_boundary(Subject& subject, Draw& draw) {
    const double T = anywhere(draw);
    const int sense = draw.chance(0.7) ? 1 : -1;
    const double scale = draw.log_uniform(1e-7, 0.1), sign = draw.sign();
    double P = saturate(subject.plain, T, sense, UNSET).value_or(0.0);
    if (P < LEAST_PRESSURE) P = saturate(subject.plain, T, +1, UNSET).value_or(50e5);
    return {T, std::max(P, LEAST_PRESSURE) * (1.0 + sign * scale)};
}

State near_critical(const Subject& subject, Draw& draw) {
    const double dT = draw.sign() * draw.log_uniform(1e-6, 0.1);
    const double dP = draw.sign() * draw.log_uniform(1e-6, 0.1);
    return {subject.Tc * (1.0 + dT), subject.Pc * (1.0 + dP)};
}

State inside(Subject& subject, Draw& draw) {
    const double T = anywhere(draw), share = draw.uniform();
    const double high = saturate(subject.plain, T, +1, UNSET).value_or(300e5);
    const double low = saturate(subject.plain, T, -1, UNSET).value_or(1e5);
    return {T, std::max(high * std::pow(std::max(low / high, 1e-4), share), LEAST_PRESSURE)};
}

State draw_state(Subject& subject, Draw& draw) {
    const double choice = draw.uniform();
    const bool has_critical = subject.Tc > 200.0 && subject.Tc < 800.0;
    const double critical_share = subject.kind == FluidKind::NearCritical ? 0.6 : 0.15;
    if (choice < critical_share && has_critical) return near_critical(subject, draw);
    if (choice > 0.8) return near_boundary(subject, draw);
    if (choice > 0.65) return inside(subject, draw);
    return {anywhere(draw), draw.log_uniform(1e5, 1000e5)};
}

/// Faults of a two-phase result other than that a better one exists.
Failure pair_failure(const EquilibriumErrors& errors) {
    if (!(errors.z_factor <= Z_ERROR)) return WRONG_ROOT;
    if (!(errors.fugacity <= FUGACITY)) return NO_EQUILIBRIUM;
    if (!(errors.own_fugacity <= FUGACITY)) return WRONG_ROOT;
    if (!(errors.imbalance <= BALANCE) || !(std::abs(errors.fraction_sum) <= BALANCE) ||
        !errors.fractions_in_range)
        return NO_BALANCE;
    if (!(errors.gibbs_excess <= GIBBS)) return GIBBS_ABOVE_FEED;
    return FAILURE_COUNT;
}

/// Densities are positive and leave room for the covolume b of the phase.
bool density_in_bounds(const TestCell& test) {
    const PVTCell& cell = test.cell;
    const double omega_b = test.charz.eos().parameter("b");
    const auto fits = [&](const PhaseState& phase, std::span<const double> w) {
        double least_volume = 0.0, mass = 0.0;  // m3/kmol, kg/kmol
        for (std::size_t i = 0; i < w.size(); ++i) {
            const fluids::Component& c = test.fluid.components[i];
            const double b = omega_b * 8314.472 * c.Tc / c.Pc;
            least_volume += w[i] * b * (1.0 - c.shift);
            mass += w[i] * c.mw;
        }
        return phase.density > 0.0 && phase.density * least_volume <= mass * (1.0 + 1e-9);
    };
    if (cell.phase_count < 2) return fits(cell.feed_state, cell.feed_fractions);
    return fits(cell.x_state, cell.eq_liquid->moles()) &&
           fits(cell.y_state, cell.eq_vapor->moles());
}

bool one_phase_root_is_right(TestCell& test) {
    const textbook::Mixture<long double> mixture(test.fluid, test.cell.temperature.value);
    const std::vector<double>& z = test.cell.feed_fractions;
    const auto feed =
        mixture.phase(test.cell.pressure.value, std::vector<long double>(z.begin(), z.end()));
    const double Z = test.cell.feed_state.z_factor + fluids::translation(test, z);
    if (std::abs(static_cast<double>(feed.Z) - Z) <= Z_ERROR) return true;
    // Two roots of equal energy may be told apart by rounding alone.
    const auto own = fluids::reference_phase(test, z, test.cell.feed_state.z_factor);
    return static_cast<double>(std::fabs(own.gibbs - feed.gibbs)) <= 1e-12 &&
           std::abs(static_cast<double>(own.Z) - Z) <= Z_ERROR;
}

/// The flashes of one state, and what is known of it.
class FlashCase {
public:
    FlashCase(Subject& subject, State state, const Options& options, Tally& tally,
              std::uint64_t number)
        : subject_(subject), state_(state), options_(options), tally_(tally), number_(number) {
        distance_ = distance_class(subject.distance(state.T, state.P));
    }

    void run(Draw& draw) {
        const State before{state_.T * (1.0 + draw.uniform(-0.03, 0.03)),
                           state_.P * draw.log_uniform(0.6, 1.6)};
        flash(subject_.tested, state_);
        flash(subject_.plain, state_);
        judge(TESTED, subject_.tested);
        judge(COLD, subject_.plain);
        flash(subject_.plain, before);
        subject_.plain.flash(state_.T, state_.P);
        judge(PREVIOUS, subject_.plain);
    }

private:
    void judge(Mode mode, TestCell& test) {
        const PVTCell& cell = test.cell;
        const bool two = cell.phase_count >= 2;
        tally_.count(mode, distance_, cell.eos_evaluations, number_, two);
        const bool warned = says(test, "convergence failed") || says(test, "out of bounds");
        if (warned) tally_.fail(UNCONVERGED, mode, distance_, number_);
        const Failure failure = failure_of(test);
        if (failure != FAILURE_COUNT)
            tally_.fail(warned ? WARNED : failure, mode, distance_, number_);
        if (options_.verbose) tell(mode, test, failure);
    }

    Failure failure_of(TestCell& test) {
        if (!density_in_bounds(test)) return DENSITY;
        if (test.cell.phase_count < 2) {
            if (!one_phase_root_is_right(test)) return WRONG_ROOT;
            return feed_is_unstable(test) ? ONE_PHASE_UNSTABLE : FAILURE_COUNT;
        }
        const EquilibriumErrors errors = fluids::equilibrium_errors(test);
        const Failure failure = pair_failure(errors);
        if (failure != FAILURE_COUNT) return failure;
        least_gibbs_ = std::min(least_gibbs_, errors.gibbs_excess);
        const double V = test.cell.y_state.fraction;
        if (test.cell.phase_count > 2) {
            announced_V_ = V;
            return FAILURE_COUNT;
        }
        if (!has_better_split(test)) return FAILURE_COUNT;
        return std::abs(V - announced_V_) <= 1e-8 ? THIRD_PHASE_UNTOLD : BETTER_SPLIT;
    }

    /// The search is made once a state. A sound split of another flash, of lower Gibbs energy than
    /// the feed, proves it without a search.
    bool feed_is_unstable(TestCell& test) {
        if (!feed_searched_ && !(least_gibbs_ < -options_.effort.significant))
            feed_depth_ = fluids::depth_below(test, test.cell.feed_fractions, options_.effort);
        feed_searched_ = true;
        return std::min(feed_depth_, least_gibbs_) < -options_.effort.significant;
    }

    /// Two results with one vapor fraction are the same split.
    bool has_better_split(TestCell& test) {
        fluids::SearchEffort beside = options_.effort;
        beside.significant *= 100.0;
        const double V = test.cell.y_state.fraction;
        if (!(std::abs(V - searched_V_) <= 1e-8))
            split_depth_ = fluids::depth_below(test, test.cell.eq_liquid->moles(), beside);
        searched_V_ = V;
        return split_depth_ < -beside.significant;
    }

    void tell(Mode mode, const TestCell& test, Failure failure) const {
        const PVTCell& cell = test.cell;
        std::printf("  mode %zu: phases %d, V %.15g, Zx %.12g, Zy %.12g, evaluations %d%s\n", mode,
                    cell.phase_count, cell.y_state.fraction, cell.x_state.z_factor,
                    cell.y_state.z_factor, cell.eos_evaluations,
                    failure == FAILURE_COUNT ? "" : "  <== FAILURE");
        std::printf("    depth below the feed %.3g, below the split %.3g\n", feed_depth_,
                    split_depth_);
        for (const auto& entry : test.errors->entries) std::printf("    %s\n", entry->text.c_str());
    }

    Subject& subject_;
    State state_;
    const Options& options_;
    Tally& tally_;
    std::uint64_t number_;
    std::size_t distance_ = 0;
    double least_gibbs_ = 0.0;  ///< G/RT of a sound split less the feed's
    bool feed_searched_ = false;
    double feed_depth_ = 0.0;
    double searched_V_ = -1.0;
    double announced_V_ = -1.0;  ///< of the split beside which a third phase was announced
    double split_depth_ = 0.0;
};

}  // namespace

Tally flash_campaign(const Options& options) {
    Tally tally("flashes", {"cold", "from previous K", "all tests"});
    Subjects subjects(options, STATES_PER_FLUID);
    for_each_case(options, [&](std::uint64_t number) {
        Subject& subject = subjects.of(number);
        Draw draw(options.seed, 2, number);
        const State state = draw_state(subject, draw);
        if (options.verbose)
            std::printf("case %llu, %zu components, T %.17g K, P %.17g Pa, Tc %.9g K, Pc %.9g Pa\n",
                        static_cast<unsigned long long>(number), subject.plain.fluid.n(), state.T,
                        state.P, subject.Tc, subject.Pc);
        FlashCase(subject, state, options, tally, number).run(draw);
        if (options.verbose) std::cout << std::flush << source_of(subject.plain.fluid);
    });
    return tally;
}

}  // namespace kestrane::campaign
