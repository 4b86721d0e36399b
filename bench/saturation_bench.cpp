#include <benchmark/benchmark.h>

#include "equil/Fluids.h"

namespace kestrane {
namespace {

using fluids::TestCell;

fluids::Fluid fluid_of(std::size_t n) {
    return n == 6 ? fluids::comparative_project_oil() : fluids::paraffins(n);
}

/// Saturation pressures from a cold start: no K-values, and a pressure that has nothing to do with
/// the result, or none. Twenty temperatures from 300 to 490 K.
void saturation_bench(benchmark::State& state, int sense, double start) {
    constexpr int TEMPERATURES = 20;
    TestCell test(fluid_of(static_cast<std::size_t>(state.range(0))));
    double evaluations = 0.0, found = 0.0;
    for (auto step : state) {
        for (int i = 0; i < TEMPERATURES; ++i) {
            test.forget();
            test.errors->Clear();
            test.cell.temperature.value = 300.0 + 10.0 * i;
            test.cell.pressure.value = start;
            found += test.cell.saturation(sense);
            evaluations += test.cell.eos_evaluations;
        }
    }
    using benchmark::Counter;
    state.counters["pressures/s"] = Counter(TEMPERATURES, Counter::kIsIterationInvariantRate);
    state.counters["ln_phi"] = Counter(evaluations / TEMPERATURES, Counter::kAvgIterations);
    state.counters["found"] = Counter(found, Counter::kAvgIterations);
}

void component_numbers(benchmark::internal::Benchmark* bench) {
    for (int n : {6, 12, 30}) bench->Arg(n);
    bench->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(saturation_bench, upper, +1, UNSET)->Apply(component_numbers);
BENCHMARK_CAPTURE(saturation_bench, upper_from_1_bar, +1, 1e5)->Apply(component_numbers);
BENCHMARK_CAPTURE(saturation_bench, upper_from_1000_bar, +1, 1e8)->Apply(component_numbers);
BENCHMARK_CAPTURE(saturation_bench, lower, -1, UNSET)->Apply(component_numbers);

}  // namespace
}  // namespace kestrane
