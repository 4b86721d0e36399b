// Constant composition expansions, constant volume depletions and differential liberations of drawn
// fluids, run as a script's experiments are. Each stage is judged as a flash by itself, and the
// stages together by what was put in, taken out and left.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iomanip>
#include <iostream>
#include <sstream>

#include "Campaign.h"
#include "ExperimentRun.h"
#include "StageJudge.h"
#include "equil/Saturation.h"
#include "expt/Depletion.h"

namespace kestrane::campaign {

namespace {

constexpr std::uint64_t EXPERIMENTS_PER_FLUID = 6;
constexpr double BALANCE = 1e-11;  ///< of the amounts that were in the cell at first
constexpr double VOLUME = 1e-9;    ///< relative, of what the textbook's equation gives
constexpr double SATURATION = 1e-3;

enum Mode : std::size_t { EXPANSION, VOLUME_DEPLETION, LIBERATION };

/// What one experiment is asked for.
struct Plan {
    Mode mode = EXPANSION;
    double T = 0.0;      ///< K
    double start = 0.0;  ///< Pa; UNSET to start from the saturation pressure
    std::vector<double> pressures;
    bool falling = true;  ///< each pressure is below the one before

    std::string block() const {
        std::ostringstream text;
        text << std::setprecision(17) << "STG  PRES Pa\n";
        if (start == UNSET) text << "0\n";
        for (std::size_t i = 0; i < pressures.size(); ++i)
            text << i + 1 << "    " << pressures[i] << "\n";
        text << "END\n";
        return text.str();
    }
};

Plan draw_plan(Subject& subject, Draw& draw) {
    Plan plan;
    plan.mode = static_cast<Mode>(draw.below(3));
    const bool has_critical = subject.Tc > 200.0 && subject.Tc < 800.0;
    const double share = subject.kind == FluidKind::NearCritical ? 0.6 : 0.25;
    plan.T = draw.uniform(255.0, 480.0);
    if (draw.chance(share) && has_critical)
        plan.T = subject.Tc * (1.0 + draw.sign() * draw.log_uniform(1e-5, 0.1));
    const std::optional<double> top = saturate(subject.plain, plan.T, +1, UNSET);
    const double saturation = top.value_or(200e5);
    const double choice = draw.uniform();
    plan.start = choice < 0.5   ? UNSET
                 : choice < 0.8 ? saturation * draw.uniform(1.0, 2.0)
                                : saturation * draw.uniform(0.2, 1.0);
    // Stages crowd at the top of the envelope, where branches meet.
    const double first = plan.start == UNSET ? saturation : plan.start;
    for (int crowded = static_cast<int>(draw.below(5)); crowded > 0; --crowded)
        plan.pressures.push_back(first * (1.0 - draw.log_uniform(1e-7, 1e-2)));
    const auto count = 3 + draw.below(10);
    const double last = draw.log_uniform(1e5, std::max(2e5, 0.5 * first));
    for (std::size_t i = 1; i <= count; ++i)
        plan.pressures.push_back(
            first * std::pow(last / first, (static_cast<double>(i) - draw.uniform(0.0, 0.9)) /
                                               static_cast<double>(count)));
    std::ranges::sort(plan.pressures, std::greater{});
    plan.falling = draw.chance(0.9);
    if (!plan.falling)
        for (double& P : plan.pressures)
            std::swap(P, plan.pressures[draw.below(plan.pressures.size())]);
    return plan;
}

/// One experiment, and what is wrong with it.
class DepletionCase {
public:
    DepletionCase(Subject& subject, const Plan& plan, const Options& options, Tally& tally,
                  std::uint64_t number)
        : subject_(subject),
          plan_(plan),
          options_(options),
          tally_(tally),
          number_(number),
          judge_(subject.plain.fluid, options.effort) {}

    void run() {
        if (plan_.mode == VOLUME_DEPLETION) return run_as<PVTzCVDG>();
        if (plan_.mode == LIBERATION) return run_as<PVTzDFLG>();
        run_as<PVTzEXPA>();
    }

private:
    template <class Experiment>
    void run_as() {
        ExperimentLab setting(subject_.plain.fluid, plan_.T, plan_.start, plan_.block());
        Watched<Experiment> experiment;
        setting.run(experiment);
        basis_volume_ = experiment.basis_volume;
        const std::vector<Stage>& stages = experiment.stages;
        judge(stages);
        const std::size_t wanted = plan_.pressures.size() + (plan_.start == UNSET);
        if (stages.size() < wanted) ended_early(setting, stages);
    }

    void judge(const std::vector<Stage>& stages) {
        const Stage* before = nullptr;
        for (const Stage& stage : stages) {
            const CellRecord& cell = stage.cell;
            const std::size_t distance = distance_class(subject_.distance(cell.T, cell.P));
            tally_.count(plan_.mode, distance, 0, number_, cell.two_phase());
            const bool warned = cell.warned();
            if (warned) tally_.fail(UNCONVERGED, plan_.mode, distance, number_);
            const Failure failure = failure_of(stage, before);
            if (failure != FAILURE_COUNT)
                tally_.fail(warned ? WARNED : failure, plan_.mode, distance, number_);
            if (options_.verbose) tell(stage, failure);
            before = &stage;
        }
    }

    /// An experiment that said why it ended is no wrong answer.
    void ended_early(ExperimentLab& setting, const std::vector<Stage>& stages) {
        const bool told = !setting.problems().empty();
        const Failure failure = !told                                    ? NO_BALANCE
                                : !stages.empty() || exists_saturation() ? FALSELY_NOT_FOUND
                                                                         : FAILURE_COUNT;
        if (failure != FAILURE_COUNT) tally_.fail(failure, plan_.mode, 5, number_);
        if (!options_.verbose) return;
        for (const auto& entry : setting.lab.errors().entries)
            std::printf("    %s\n", entry->text.c_str());
    }
    bool exists_saturation() {
        for (double P = 1e4; P < P_HIGH_LIMIT; P *= 1.2)
            if (flash(subject_.tested, {plan_.T, P})) return true;
        return false;
    }

    Failure failure_of(const Stage& stage, const Stage* before) {
        const Failure failure = judge_.failure_of(stage.cell);
        if (failure != FAILURE_COUNT) return failure;
        if (!amounts_balance(stage, before)) return STAGE_BALANCE;
        if (!volumes_agree(stage)) return STAGE_VOLUME;
        if (!before && plan_.start == UNSET && !is_saturation(stage.cell)) return NOT_INSIDE;
        if (plan_.falling && judge_.is_misnamed(stage.cell)) return MISNAMED;
        return FAILURE_COUNT;
    }

    /// Component by component: what the stage begins with is what the one before left, what it
    /// leaves is that less the phases taken out, and the removals add up.
    bool amounts_balance(const Stage& stage, const Stage* before) const {
        const ExptData& row = stage.row;
        const CellRecord& cell = stage.cell;
        const std::vector<double>& began = before ? before->left : subject_.plain.fluid.z;
        const double moles_before = before ? before->row.moles_2 : 1e-3;  // a basis of 1 mol
        const double scale = BALANCE * 1e-3;
        if (std::abs(row.moles_1 - moles_before) > scale) return false;
        const double gas = row.gas_moles_1 - row.gas_moles_2;
        const double liquid = row.liquid_moles_1 - row.liquid_moles_2;
        const double removed = before ? before->row.removed_moles : 0.0;
        if (std::abs(removed + gas + liquid - row.removed_moles) > scale) return false;
        if (std::abs(row.removed_moles + row.moles_2 - 1e-3) > scale) return false;
        double mass = 0.0;
        for (std::size_t i = 0; i < began.size(); ++i) {
            const double taken = gas * cell.y[i] + liquid * cell.x[i];
            if (std::abs(cell.feed[i] - began[i]) > BALANCE) return false;
            if (row.moles_2 > 0.0 &&
                std::abs(row.moles_1 * cell.feed[i] - taken - row.moles_2 * stage.left[i]) > scale)
                return false;
            mass += taken * subject_.plain.fluid.components[i].mw;
        }
        const double removed_mass = before ? before->row.removed_mass : 0.0;
        return std::abs(removed_mass + mass - row.removed_mass) <= scale * 1000.0;
    }

    /// Volumes by the textbook's densities; a depletion at constant volume comes back to it.
    bool volumes_agree(const Stage& stage) const {
        const ExptData& row = stage.row;
        const CellRecord& cell = stage.cell;
        const auto volume = [&](double moles, std::span<const double> x) {
            double mw = 0.0;
            for (std::size_t i = 0; i < x.size(); ++i)
                mw += x[i] * subject_.plain.fluid.components[i].mw;
            return moles > 0.0 ? moles * mw / judge_.density_of(x, cell.T, cell.P) : 0.0;
        };
        const double expected =
            cell.two_phase() ? volume(row.liquid_moles_1, cell.x) + volume(row.gas_moles_1, cell.y)
                             : volume(row.moles_1, cell.feed);
        if (std::abs(row.volume_1 - expected) > VOLUME * expected) return false;
        const bool removes = plan_.mode == VOLUME_DEPLETION && row.volume_1 > basis_volume_;
        return !removes || std::abs(row.volume_2 - basis_volume_) <= VOLUME * basis_volume_;
    }

    /// The first stage of an experiment without a pressure: stable above, two phases below.
    bool is_saturation(const CellRecord& cell) {
        if (judge_.is_unstable(cell, cell.P * (1.0 + SATURATION))) return false;
        for (const double step : {1e-3, 1e-2, 1e-4, 1e-5, 1e-6, 1e-7})
            if (flash(subject_.tested, {cell.T, cell.P / (1.0 + step)})) return true;
        // A region narrower than any step is none to look into.
        const double low = saturate(subject_.plain, cell.T, -1, UNSET).value_or(0.0);
        return std::abs(cell.P - low) <= 1e-7 * cell.P;
    }

    void tell(const Stage& stage, Failure failure) const {
        const CellRecord& cell = stage.cell;
        std::printf("  P %.17g: phases %d, V %.12g, moles %.12g, left %.12g%s\n", cell.P,
                    cell.phase_count, cell.y_state.fraction, stage.row.moles_1, stage.row.moles_2,
                    failure == FAILURE_COUNT ? "" : "  <== FAILURE");
        if (failure != FAILURE_COUNT) std::printf("    %s\n", Tally::name(failure));
        for (const std::string& message : cell.messages) std::printf("    %s\n", message.c_str());
    }

    Subject& subject_;
    const Plan& plan_;
    const Options& options_;
    Tally& tally_;
    std::uint64_t number_;
    StageJudge judge_;
    double basis_volume_ = 0.0;  ///< m3
};

}  // namespace

Tally depletion_campaign(const Options& options) {
    Tally tally("stages", {"expansion", "volume depletion", "liberation"});
    Subjects subjects(options, EXPERIMENTS_PER_FLUID);
    for_each_case(options, [&](std::uint64_t number) {
        Subject& subject = subjects.of(number);
        Draw draw(options.seed, 4, number);
        const Plan plan = draw_plan(subject, draw);
        if (options.verbose)
            std::printf("case %llu, %zu components, mode %zu, T %.17g K, Tc %.9g K, Pc %.9g Pa\n",
                        static_cast<unsigned long long>(number), subject.plain.fluid.n(),
                        static_cast<std::size_t>(plan.mode), plan.T, subject.Tc, subject.Pc);
        DepletionCase(subject, plan, options, tally, number).run();
        if (options.verbose)
            std::cout << std::flush << plan.block() << source_of(subject.plain.fluid);
    });
    return tally;
}

}  // namespace kestrane::campaign
