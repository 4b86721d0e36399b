// Experiments of a laboratory, silent as in a regression.

#include <benchmark/benchmark.h>

#include <string>

#include "ExperimentRun.h"
#include "Studies.h"
#include "expt/Depletion.h"

namespace kestrane {
namespace {

constexpr int STAGES = 15;

template <class Experiment>
void run_experiment(benchmark::State& state, const std::string& fluid, const std::string& block) {
    ExperimentRun<Experiment> experiment(fluid, block);
    for (auto _ : state) experiment.run();
}

void depletion_of_12(benchmark::State& state) {
    run_experiment<PVTzCVDG>(state, studies::library_paraffins(12, 0.7),
                             studies::stages("PRES bar  RMR  LRV  GZ", STAGES));
}
BENCHMARK(depletion_of_12)->Unit(benchmark::kMillisecond);

void liberation_of_30(benchmark::State& state) {
    run_experiment<PVTzDFLG>(state, studies::library_paraffins(30, 0.85),
                             studies::stages("PRES bar  LRV  LVIS cp  GVIS cp", STAGES));
}
BENCHMARK(liberation_of_30)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrane
