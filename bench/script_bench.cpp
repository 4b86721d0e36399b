// Whole scripts: reading alone, and evaluations of a script once read.

#include <benchmark/benchmark.h>

#include <fstream>
#include <sstream>
#include <string>

#include "input/Reader.h"
#include "lab/EOSLab.h"

namespace kestrane {
namespace {

std::string example(const std::string& name) {
    std::ifstream file(std::string(KESTRANE_SOURCE_DIR) + "/examples/" + name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// A laboratory with its script and its report in memory.
struct Run {
    explicit Run(const std::string& script)
        : input(script),
          file(input),
          report(output),
          writer(counts, nullptr, &report),
          reader(writer, file) {}
    std::stringbuf input, output;
    InFile file;
    OutFile report;
    ErrorCounts counts;
    Writer writer;
    Reader reader;
    EOSLab lab;
};

void whole_script(benchmark::State& state) {
    const std::string script = example("reservoir-oil.dat");
    for (auto _ : state) {
        Run run(script);
        run.lab.runScript(run.reader);
        benchmark::DoNotOptimize(run.output);
    }
    state.counters["scripts/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(whole_script);

/// What a regression repeats: all commands on a laboratory built anew, without printing.
void silent_evaluation(benchmark::State& state) {
    Run run(example("reservoir-oil.dat"));
    run.lab.runScript(run.reader);
    for (auto _ : state) run.lab.evaluate(run.reader, run.lab.errors(), EvaluationMode::Jacobian);
    state.counters["evaluations/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(silent_evaluation);

}  // namespace
}  // namespace kestrane
