// Columns of drawn fluids in gravity. Whatever contacts lie between, ln f_i + M_i g h/(R T) is the
// same at every height (Gibbs), and the stable fluid of these potentials is unique: stations are
// judged by that relation and by a search below their tangent plane, both of the textbook's
// equation, and pressures by the densities between.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <sstream>

#include "Campaign.h"
#include "ExperimentRun.h"
#include "StageJudge.h"
#include "equil/GravityCheck.h"
#include "expt/PVTzGSEG.h"

namespace kestrane::campaign {

namespace {

using fluids::Station;
using fluids::TestCell;

constexpr std::uint64_t COLUMNS_PER_FLUID = 4;
constexpr double POTENTIAL = 1e-8;  ///< in ln f, less what its rounding is at extreme amounts
constexpr double GRADIENT = 1e-6;   ///< of the pressure difference by density
constexpr double RETURN = 1e-6;     ///< in ln P and mole fractions, where a column comes back
constexpr double CONTACT_FUGACITY = 1e-7;
constexpr double REACH = 3000.0;  ///< m, of the search for contacts

enum Mode : std::size_t { WALKED, CONTACT, EXPERIMENT };

/// A fluid at the reference, and the heights to go to (m, upward).
struct Plan {
    double T = 0.0, P = 0.0;  ///< K, Pa
    std::vector<double> heights;
};

Plan draw_plan(Subject& subject, Draw& draw) {
    Plan plan;
    const bool has_critical = subject.Tc > 200.0 && subject.Tc < 800.0;
    const double share = subject.kind == FluidKind::NearCritical ? 0.6 : 0.25;
    plan.T = draw.uniform(270.0, 450.0);
    if (draw.chance(share) && has_critical)
        plan.T = subject.Tc * (1.0 + draw.sign() * draw.log_uniform(1e-4, 0.1));
    const double saturation = saturate(subject.plain, plan.T, +1, UNSET).value_or(200e5);
    plan.P = saturation * (1.0 + draw.log_uniform(1e-4, 2.0));
    if (draw.chance(0.2)) plan.P = saturation * draw.uniform(0.3, 1.0);
    const auto count = 2 + draw.below(4);
    const double sign = draw.sign();
    for (std::size_t i = 0; i < count; ++i)
        plan.heights.push_back(sign * draw.log_uniform(1.0, REACH));
    std::ranges::sort(plan.heights, [](double a, double b) { return std::abs(a) < std::abs(b); });
    return plan;
}

Station station_of(const CellRecord& record) {
    return {record.feed, record.T, record.P};
}

/// One column.
class ColumnCase {
public:
    ColumnCase(Subject& subject, const Plan& plan, const Options& options, Tally& tally,
               std::uint64_t number)
        : subject_(subject),
          plan_(plan),
          options_(options),
          tally_(tally),
          number_(number),
          judge_(subject.plain.fluid, options.effort),
          test_(subject.plain.fluid) {}

    void run() {
        reference_ = at_reference();
        walk();
        contact();
        experiment();
    }

private:
    const fluids::Fluid& fluid() const { return test_.fluid; }

    /// The fluid at the reference; where it is two, the phase that goes on in the walk's direction.
    Station at_reference() {
        test_.set_feed(fluid().z);
        flash(test_, {plan_.T, plan_.P});
        const CellRecord record(test_.cell);
        if (!record.two_phase()) return station_of(record);
        return {plan_.heights.front() > 0.0 ? record.y : record.x, plan_.T, plan_.P};
    }

    void begin() {
        test_.set_feed(fluid().z);
        flash(test_, {plan_.T, plan_.P});
        test_.cell.depth.value = 0.0;
        test_.errors->Clear();
    }
    bool move(double height, bool stop) {
        test_.errors->Clear();
        return test_.cell.segregate(height, 1.0, stop, test_.cell.init_policy);
    }

    void count(Mode mode, const CellRecord& record, Failure failure, double height) {
        const std::size_t distance = distance_class(subject_.distance(record.T, record.P));
        tally_.count(mode, distance, 0, number_, record.two_phase());
        const bool warned = record.warned();
        if (warned) tally_.fail(UNCONVERGED, mode, distance, number_);
        if (failure != FAILURE_COUNT)
            tally_.fail(warned ? WARNED : failure, mode, distance, number_);
        if (!options_.verbose) return;
        std::printf("  mode %zu, height %.9g: P %.17g, phases %d, V %.6g%s%s\n", mode, height,
                    record.P, record.phase_count, record.y_state.fraction,
                    failure == FAILURE_COUNT ? "" : "  <== FAILURE ",
                    failure == FAILURE_COUNT ? "" : Tally::name(failure));
        std::printf("    potential %.3g, density %.6g\n",
                    potential_error(reference_, station_of(record), height),
                    judge_.density_of(record.feed, record.T, record.P));
        for (const std::string& message : record.messages) std::printf("    %s\n", message.c_str());
    }

    /// Largest departure of ln f from its change with height; amounts next to the least number that
    /// the program tells from none have no digits.
    double potential_error(const Station& from, const Station& to, double height) const {
        const auto low = fluids::ln_fugacities(fluid(), from);
        const auto high = fluids::ln_fugacities(fluid(), to);
        double worst = 0.0;
        for (std::size_t i = 0; i < low.size(); ++i) {
            if (from.x[i] < 1e-100 || to.x[i] < 1e-100) continue;
            const long double weight =
                fluid().components[i].mw * 9.80665L * height / (8314.472L * from.T);
            const double error = std::abs(static_cast<double>(high[i] - low[i] + weight));
            worst = std::max(worst, error);
        }
        return worst;
    }

    Failure failure_of(const CellRecord& record, double height) {
        if (!(potential_error(reference_, station_of(record), height) <= POTENTIAL))
            return UNEQUAL_POTENTIAL;
        if (!record.two_phase()) return judge_.failure_of(record);
        // A contact may lie at the very height, but no more than that.
        return judge_.is_unstable(record, record.P) ? ONE_PHASE_UNSTABLE : FAILURE_COUNT;
    }

    /// To each height from the one before, the gradient there, and the way back.
    void walk() {
        begin();
        double at = 0.0;
        bool followed = true;
        for (const double height : plan_.heights) {
            followed = move(height - at, false);
            const CellRecord record(test_.cell);
            Failure failure = failure_of(record, height);
            if (!followed) failure = test_.errors->empty() ? UNEQUAL_POTENTIAL : FAILURE_COUNT;
            count(WALKED, record, failure, height);
            if (!followed) return;
            if (failure == FAILURE_COUNT && !record.two_phase()) judge_gradient(record, height);
            at = height;
        }
        judge_return(at);
        judge_direct(at);
    }

    /// A little up and down, within the phase: Simpson's rule over the densities.
    void judge_gradient(const CellRecord& middle, double height) {
        constexpr double STEP = 0.1;  // m
        const CellConditions here = test_.cell.save();
        double P[2] = {0.0, 0.0}, density[2] = {0.0, 0.0};
        bool same = true;
        for (const int side : {0, 1}) {
            test_.cell.restore_and_flash(here, false);
            same = same && move(side == 0 ? STEP : -STEP, true) &&
                   std::abs(test_.cell.depth.value - here.depth.value) > 0.999 * STEP &&
                   test_.cell.phase_count < 2;
            const CellRecord end(test_.cell);
            P[side] = end.P;
            density[side] = judge_.density_of(end.feed, end.T, end.P);
        }
        test_.cell.restore_and_flash(here, false);
        test_.errors->Clear();
        if (!same) return;
        const double own = judge_.density_of(middle.feed, middle.T, middle.P);
        const double by_density =
            (density[0] + 4.0 * own + density[1]) / 6.0 * 9.80665 * 2.0 * STEP;
        if (std::abs((P[1] - P[0]) / by_density - 1.0) <= GRADIENT) return;
        if (options_.verbose)
            std::printf("    gradient off by %.3g\n", (P[1] - P[0]) / by_density - 1.0);
        count(WALKED, middle, PRESSURE_GRADIENT, height);
    }

    void judge_return(double height) {
        const CellRecord before(test_.cell);
        if (before.two_phase()) return;  // the feed is at a contact
        const bool back = move(-height, false);
        const CellRecord record(test_.cell);
        const bool single = std::ranges::equal(reference_.x, fluid().z);
        double worst = std::abs(std::log(record.P / reference_.P));
        for (std::size_t i = 0; i < record.feed.size(); ++i)
            worst = std::max(worst, std::abs(record.feed[i] - reference_.x[i]));
        const bool told = !back && !test_.errors->empty();
        const bool wrong = single && worst > RETURN && !told;
        count(WALKED, record, wrong ? NOT_REVERSIBLE : FAILURE_COUNT, 0.0);
    }

    /// The whole height at once ends where the steps do.
    void judge_direct(double height) {
        begin();
        if (!move(height, false)) return;
        const CellRecord record(test_.cell);
        count(WALKED, record, failure_of(record, height), height);
    }

    /// The contact that is asked for, against those met on the way up and down.
    void contact() {
        begin();
        double depth = 0.0;
        const bool found = test_.cell.gas_oil_contact(1.0, depth);
        const CellRecord record(test_.cell);
        const bool at_reference = depth == 0.0 && record.two_phase();
        Failure failure = FAILURE_COUNT;
        if (found && !at_reference) failure = failure_of_contact(record, -depth);
        if (!found && !says(test_, "gas-oil contact")) failure = WRONG_CONTACT;
        count(CONTACT, record, failure, -depth);
        if (!found && meets_contact()) tally_.fail(FALSELY_NOT_FOUND, CONTACT, 5, number_);
    }

    Failure failure_of_contact(const CellRecord& record, double height) {
        const PVTCell& cell = test_.cell;
        const std::span<const double> x = cell.nf_liquid->moles(), y = cell.nf_vapor->moles();
        const Station liquid{{x.begin(), x.end()}, record.T, record.P};
        const Station gas{{y.begin(), y.end()}, record.T, record.P};
        if (!(potential_error(liquid, gas, 0.0) <= CONTACT_FUGACITY)) return WRONG_CONTACT;
        if (!(potential_error(reference_, liquid, height) <= CONTACT_FUGACITY) ||
            !(potential_error(reference_, gas, height) <= CONTACT_FUGACITY))
            return UNEQUAL_POTENTIAL;
        if (judge_.density_of(liquid.x, record.T, record.P) <
            judge_.density_of(gas.x, record.T, record.P) * (1.0 - 1e-9))
            return MISNAMED;
        return is_below_plane(record, x) ? BETTER_SPLIT : FAILURE_COUNT;
    }
    bool is_below_plane(const CellRecord& record, std::span<const double> x) {
        fluids::SearchEffort beside = options_.effort;
        beside.significant *= 100.0;
        record.show(judge_.cell());
        return fluids::depth_below(judge_.cell(), x, beside) < -beside.significant;
    }

    /// True if a column that is followed meets a contact within reach.
    bool meets_contact() {
        for (const double height : {REACH, -REACH}) {
            begin();
            if (!move(height, true)) continue;
            const PVTCell& cell = test_.cell;
            if (cell.phase_count >= 2 && cell.x_state.fraction * cell.y_state.fraction == 0.0)
                return true;
        }
        return false;
    }

    /// The same depths as an experiment's rows.
    void experiment() {
        std::ostringstream block;
        block.precision(17);
        block << "STG  DEPTH m\n0    0\n";
        for (std::size_t i = 0; i < plan_.heights.size(); ++i)
            block << i + 1 << "    " << -plan_.heights[i] << "\n";
        block << "END\n";
        ExperimentLab setting(fluid(), plan_.T, plan_.P, block.str());
        Watched<PVTzGSEG> column;
        setting.run(column);
        for (const Stage& stage : column.stages) {
            const double height = -stage.row.depth;
            Failure failure = judge_row(stage, height);
            count(EXPERIMENT, stage.cell, failure, height);
        }
    }
    Failure judge_row(const Stage& stage, double height) {
        // At a contact each of the two phases has a row, and the reference may be of two.
        if (height == 0.0) return FAILURE_COUNT;
        const Failure failure = failure_of(stage.cell, height);
        if (failure != FAILURE_COUNT || stage.cell.two_phase()) return failure;
        return judge_.is_misnamed(stage.cell) ? MISNAMED : FAILURE_COUNT;
    }

    Subject& subject_;
    const Plan& plan_;
    const Options& options_;
    Tally& tally_;
    std::uint64_t number_;
    StageJudge judge_;
    TestCell test_;
    Station reference_;
};

}  // namespace

Tally column_campaign(const Options& options) {
    Tally tally("stations", {"walked", "contact", "experiment"});
    Subjects subjects(options, COLUMNS_PER_FLUID);
    for_each_case(options, [&](std::uint64_t number) {
        Subject& subject = subjects.of(number);
        Draw draw(options.seed, 5, number);
        const Plan plan = draw_plan(subject, draw);
        if (options.verbose)
            std::printf("case %llu, %zu components, T %.17g K, P %.17g Pa, Tc %.9g K, Pc %.9g Pa\n",
                        static_cast<unsigned long long>(number), subject.plain.fluid.n(), plan.T,
                        plan.P, subject.Tc, subject.Pc);
        ColumnCase(subject, plan, options, tally, number).run();
        if (options.verbose) std::cout << std::flush << source_of(subject.plain.fluid);
    });
    return tally;
}

}  // namespace kestrane::campaign
