// What a regression repeats: all commands of a script on a laboratory built anew, with and without
// printing.

#include <benchmark/benchmark.h>

#include "ScriptRun.h"

namespace kestrane {
namespace {

void evaluate(benchmark::State& state, const std::string& script, EvaluationMode mode) {
    ScriptRun run(script);
    run.lab.runScript(run.reader);
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

/// A condensate with five variables: a dew point, and a depletion in 45 flashes.
std::string condensate_study() {
    std::string script =
        "VAR tc 1.02 0.9 1.1\nVAR pc 0.97 0.9 1.1\nVAR kij 0.04 0 0.1\nVAR shift 0.02 -0.1 0.1\n"
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
        "QMIX FEED N2 0.01 CO2 0.02 C1 0.72 C2 0.08 C3 0.05 I-C4 0.01 N-C4 0.02 I-C5 0.01 "
        "N-C5 0.01 N-C6 0.02 F1 0.03 F2 0.02\n"
        "SATP 380 K\n";
    for (int stage = 0; stage < 45; ++stage)
        script += "FLASH 380 K " + std::to_string(280 - 6 * stage) + " bar\n";
    return script;
}

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
