#include <benchmark/benchmark.h>

#include "equil/Fluids.h"

namespace kestrane {
namespace {

using fluids::TestCell;

void begin(TestCell& test) {
    test.set_feed(test.fluid.z);
    test.forget();
    test.cell.temperature.value = 366.15;
    test.cell.pressure.value = 284e5;
    test.cell.depth.value = 175.0;
}

/// An oil of 22 components in gravity, by a height in m (to 80 m it stays oil, at 175 m it is gas).
void column_bench(benchmark::State& state) {
    TestCell test(fluids::gas_cap_oil());
    double evaluations = 0.0;
    for (auto step : state) {
        begin(test);
        benchmark::DoNotOptimize(
            test.cell.segregate(static_cast<double>(state.range(0)), 1.0, false, INIT_STABILITY));
        evaluations += test.cell.eos_evaluations;
    }
    state.counters["ln_phi"] = benchmark::Counter(evaluations, benchmark::Counter::kAvgIterations);
}
BENCHMARK(column_bench)->Arg(-100)->Arg(20)->Arg(175)->Unit(benchmark::kMicrosecond);

/// Its gas-oil contact, at a damping factor in percent.
void contact_bench(benchmark::State& state) {
    TestCell test(fluids::gas_cap_oil());
    double depth = 0.0;
    for (auto step : state) {
        begin(test);
        benchmark::DoNotOptimize(
            test.cell.gas_oil_contact(0.01 * static_cast<double>(state.range(0)), depth));
    }
}
BENCHMARK(contact_bench)->Arg(100)->Arg(50)->Arg(0)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrane
