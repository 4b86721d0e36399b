#include "StageJudge.h"

#include <cmath>

#include "equil/GravityCheck.h"

namespace kestrane::campaign {

namespace {

constexpr double FUGACITY = 1e-10, BALANCE = 1e-12, GIBBS = 1e-14, Z_ERROR = 1e-8;
/// Of a boundary, within which a state is on neither side of it.
constexpr double NEXT_TO = 1e-6;

}  // namespace

StageJudge::StageJudge(const fluids::Fluid& fluid, const fluids::SearchEffort& effort)
    : judge_(fluid), effort_(effort) {}

double StageJudge::density_of(std::span<const double> x, double T, double P) const {
    return fluids::textbook_density(judge_.fluid, {{x.begin(), x.end()}, T, P});
}

double StageJudge::looseness_of(std::span<const double> x, double T, double P) const {
    const textbook::Mixture<long double> mixture(judge_.fluid, T);
    const auto phase = mixture.phase(P, std::vector<long double>(x.begin(), x.end()));
    double b = 0.0;  // m3/kmol
    for (std::size_t i = 0; i < x.size(); ++i) b += x[i] * fluids::covolume(judge_.fluid, i);
    return static_cast<double>(phase.Z) * 8314.472 * T / (P * b);
}

Failure StageJudge::failure_of(const CellRecord& record) {
    record.show(judge_);
    if (record.two_phase()) return failure_of_pair();
    const auto own = fluids::reference_phase(judge_, record.feed, record.feed_state.z_factor);
    const textbook::Mixture<long double> mixture(judge_.fluid, record.T);
    const auto best =
        mixture.phase(record.P, std::vector<long double>(record.feed.begin(), record.feed.end()));
    const double Z = record.feed_state.z_factor + fluids::translation(judge_, record.feed);
    if (std::abs(static_cast<double>(own.Z) - Z) > Z_ERROR ||
        static_cast<double>(own.gibbs - best.gibbs) > 1e-12)
        return WRONG_ROOT;
    return fluids::depth_below(judge_, record.feed, effort_) < -effort_.significant
               ? ONE_PHASE_UNSTABLE
               : FAILURE_COUNT;
}

Failure StageJudge::failure_of_pair() {
    const fluids::EquilibriumErrors errors = fluids::equilibrium_errors(judge_);
    if (!(errors.z_factor <= Z_ERROR)) return WRONG_ROOT;
    if (!(errors.fugacity <= FUGACITY)) return NO_EQUILIBRIUM;
    if (!(errors.imbalance <= BALANCE) || !(std::abs(errors.fraction_sum) <= BALANCE) ||
        !errors.fractions_in_range)
        return NO_BALANCE;
    if (!(errors.gibbs_excess <= GIBBS)) return GIBBS_ABOVE_FEED;
    const PVTCell& cell = judge_.cell;
    const double T = cell.temperature.value, P = cell.pressure.value;
    if (looseness_of(cell.eq_liquid->moles(), T, P) >
        looseness_of(cell.eq_vapor->moles(), T, P) * (1.0 + 1e-9))
        return MISNAMED;
    if (cell.phase_count > 2) return FAILURE_COUNT;
    fluids::SearchEffort beside = effort_;
    beside.significant *= 100.0;
    return fluids::depth_below(judge_, cell.eq_liquid->moles(), beside) < -beside.significant
               ? BETTER_SPLIT
               : FAILURE_COUNT;
}

bool StageJudge::is_unstable(const CellRecord& record, double P) {
    record.show(judge_);
    judge_.cell.pressure.value = P;
    return fluids::depth_below(judge_, record.feed, effort_) < -effort_.significant;
}

/// What the judge's feed is beside the incipient phase of that boundary, if the pressure lies
/// beyond it.
std::optional<bool> StageJudge::is_gas_beside(double T, int sense, double P) {
    const std::optional<double> found = saturate(judge_, T, sense, UNSET);
    if (!found || says(judge_, "convergence failed") || says(judge_, "search limit"))
        return std::nullopt;
    if (sense * std::log(P / *found) < NEXT_TO) return std::nullopt;
    const PVTCell& cell = judge_.cell;
    const bool bubble = cell.x_state.fraction == 1.0;
    const Tank &own = bubble ? *cell.eq_liquid : *cell.eq_vapor,
               &incipient = bubble ? *cell.eq_vapor : *cell.eq_liquid;
    return looseness_of(own.moles(), T, *found) > looseness_of(incipient.moles(), T, *found);
}

bool StageJudge::is_misnamed(const CellRecord& record) {
    if (record.two_phase()) return false;
    for (const int sense : {1, -1}) {
        judge_.set_feed(record.feed);
        const std::optional<bool> gas = is_gas_beside(record.T, sense, record.P);
        if (gas) return *gas != record.gas();
    }
    return false;
}

}  // namespace kestrane::campaign
