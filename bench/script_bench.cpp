// Whole scripts: reading alone, and evaluations of a script once read.

#include <benchmark/benchmark.h>

#include "ScriptRun.h"

namespace kestrane {
namespace {

void whole_script(benchmark::State& state) {
    const std::string script = example("reservoir-oil.dat");
    for (auto _ : state) {
        ScriptRun run(script);
        run.lab.runScript(run.reader);
        benchmark::DoNotOptimize(run.output);
    }
    state.counters["scripts/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(whole_script);

}  // namespace
}  // namespace kestrane
