// Surface facilities: a separation, a train with its report's amounts, rows of a black oil table.

#include <benchmark/benchmark.h>

#include "lab/LabRun.h"
#include "surface/BlackOil.h"

namespace kestrane {
namespace {

const std::string SCRIPT = LIGHT_FLUID +
                           "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\nTEMP 100 F\nPRES 1500 psia\n"
                           "SEP HP 90 F 300 psia\nEND\nSEP ST 60 F 14.7 psia\nEND\n"
                           "SEP TABLE\nMOL C1 PER MOL .4\nINTERP LOG\nKVAL 6 2 .1\n"
                           "MOL C1 PER MOL .6\nKVAL 3 1 .01\nEND\n"
                           "PROC P\nSTAGE A\nSEP HP\nSTAGE B\nSEP ST\nEND\nEND\n"
                           "COLL C\nEQL\nEND\n";

void separation(benchmark::State& state, const char* name) {
    LabRun run(SCRIPT);
    Sep& sep = **run.lab.separators.find(name);
    Tank oil, gas;
    for (auto _ : state)
        benchmark::DoNotOptimize(sep.Separate(*run.lab.cell().feed, oil, gas, false));
}
BENCHMARK_CAPTURE(separation, flash, "HP");
BENCHMARK_CAPTURE(separation, k_values, "TABLE");

void process(benchmark::State& state) {
    LabRun run(SCRIPT);
    Process& train = **run.lab.processes.find("P");
    const PVTCell& cell = run.lab.cell();
    for (auto _ : state)
        train.Run(*cell.feed, cell.temperature, cell.pressure, state.range(0) != 0);
}
BENCHMARK(process)->ArgName("report")->Arg(0)->Arg(1);

void black_oil_row(benchmark::State& state) {
    LabRun run(SCRIPT);
    Collector& collector = **run.lab.collectors.find("C");
    BlackOil table(run.lab, collector, **run.lab.processes.find("P"));
    const auto& [name, set] = *collector.fluids.begin();
    for (auto _ : state) benchmark::DoNotOptimize(table.rows_of(name, *set, {}));
}
BENCHMARK(black_oil_row);

}  // namespace
}  // namespace kestrane
