// What a regression repeats: all commands of a script on a laboratory built anew, with and without
// printing.

#include <benchmark/benchmark.h>

#include "ScriptRun.h"

namespace kestrane {
namespace {

void evaluate(benchmark::State& state, const std::string& script, EvaluationMode mode) {
    ScriptRun run(script);
    run.lab.runScript(run.reader);
    if (run.counts.errors + run.counts.warnings > 0) state.SkipWithError("the script is not sound");
    for (auto _ : state) {
        run.lab.evaluate(run.reader, run.lab.errors(), mode);
        state.PauseTiming();
        run.output.str({});
        state.ResumeTiming();
    }
    state.counters["evaluations/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void silent_evaluation(benchmark::State& state) {
    evaluate(state, example("reservoir-oil.dat"), EvaluationMode::Jacobian);
}
BENCHMARK(silent_evaluation);

void printed_evaluation(benchmark::State& state) {
    evaluate(state, example("reservoir-oil.dat"), EvaluationMode::Final);
}
BENCHMARK(printed_evaluation);

/// A condensate of 12 components, on which five variables act.
std::string condensate() {
    return "VAR tc 1.02 0.9 1.1\nVAR pc 0.97 0.9 1.1\nVAR kij 0.04 0 0.1\nVAR shift 0.02 -0.1 0.1\n"
           "VAR p0 1.05 0.8 1.2\n"
           "CHAR Gas\n"
           "NAME    MW    SG     TC(K)   PC(bar)   AF     VTRAN\n"
           "N2\nCO2\nC1\nC2\nC3\nI-C4\nN-C4\nI-C5\nN-C5\nN-C6\n"
           "F1      110   0.75   570     28        0.32   0.0\n"
           "F2      190   0.82   690     19        0.55   0.05\n"
           "BIPS    N2     CO2    C1\n"
           "F1      0.08   0.10   0.02\n"
           "F2      0.10   0.10   0.04\n"
           "END\n"
           "MUL TC OF F1 TO F2 BY tc\nMUL PC OF F1 TO F2 BY pc\nREP BIP OF C1 WITH F2 BY kij\n"
           "INCR VTRAN OF F1 TO F2 BY shift\nEND\n"
           "MUL LBC P0 BY p0\n"
           "QMIX Gas 0.01 0.02 0.72 0.08 0.05 0.01 0.02 0.01 0.01 0.02 0.03 0.02\n";
}

/// A dew point, and a depletion in 45 flashes.
std::string condensate_study() {
    std::string script = condensate() + "QMIX FEED Gas\nSATP 380 K\n";
    for (int stage = 0; stage < 45; ++stage)
        script += "FLASH 380 K " + std::to_string(280 - 6 * stage) + " bar\n";
    return script;
}

/// One experiment of 15 stages on the condensate at its dew point. All calculated columns are
/// measured in every row: what was measured changes the fit, not the work of an evaluation.
std::string experiment(const std::string& keyword, int temperature, const std::string& heads,
                       const std::string& units, const std::string& measured) {
    std::string script = "QMIX FEED Gas\nTEMP " + std::to_string(temperature) + " K\nPRES 0 bar\n" +
                         keyword + "\nDEWP 280 bar\nPRES    " + heads + "\nbar     " + units + "\n";
    for (int stage = 0; stage < 15; ++stage)
        script += std::to_string(350 - 23 * stage) + "     " + measured + "\n";
    return script + "END\n";
}

/// Two expansions and a depletion: 45 stages, 153 measured values.
std::string three_experiments() {
    return condensate() +
           experiment("CCE", 380, "RV     LRV     GZ      GVIS", "                        cp",
                      "1.5    0.04    0.9     0.03") +
           experiment("CCE", 420, "RV     LRV     GZ", "", "1.6    0.03    0.95") +
           experiment("CVD", 380, "RMR    LRV     GZ", "", "0.4    0.05    0.9");
}

void silent_three_experiments(benchmark::State& state) {
    evaluate(state, three_experiments(), EvaluationMode::Jacobian);
}
BENCHMARK(silent_three_experiments);

void printed_three_experiments(benchmark::State& state) {
    evaluate(state, three_experiments(), EvaluationMode::Final);
}
BENCHMARK(printed_three_experiments);

void silent_condensate_study(benchmark::State& state) {
    evaluate(state, condensate_study(), EvaluationMode::Jacobian);
}
BENCHMARK(silent_condensate_study);

void printed_condensate_study(benchmark::State& state) {
    evaluate(state, condensate_study(), EvaluationMode::Final);
}
BENCHMARK(printed_condensate_study);

}  // namespace
}  // namespace kestrane
