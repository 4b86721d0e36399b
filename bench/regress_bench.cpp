// What a regression repeats: all commands of a script on a laboratory built anew, with and without
// printing.

#include <benchmark/benchmark.h>

#include "ScriptRun.h"
#include "Studies.h"

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

/// Two expansions and a depletion of a condensate: 45 stages, 12 components, 153 measured values,
/// five variables.
void silent_three_experiments(benchmark::State& state) {
    evaluate(state, studies::experiments(3, studies::Variables::Fitted), EvaluationMode::Jacobian);
}
BENCHMARK(silent_three_experiments);

void printed_three_experiments(benchmark::State& state) {
    evaluate(state, studies::experiments(3, studies::Variables::Fitted), EvaluationMode::Final);
}
BENCHMARK(printed_three_experiments);

/// A dew point, and a depletion in 45 flashes.
void silent_condensate_study(benchmark::State& state) {
    evaluate(state, studies::condensate_study(studies::Variables::Fitted),
             EvaluationMode::Jacobian);
}
BENCHMARK(silent_condensate_study);

void printed_condensate_study(benchmark::State& state) {
    evaluate(state, studies::condensate_study(studies::Variables::Fitted), EvaluationMode::Final);
}
BENCHMARK(printed_condensate_study);

}  // namespace
}  // namespace kestrane
