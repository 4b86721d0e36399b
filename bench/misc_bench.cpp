#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <string>

#include "input/Reader.h"
#include "lab/EOSLab.h"
#include "misc/MiscFluids.h"

namespace kestrane {
namespace {

using fluids::Fluid;

/// An oil of n paraffins and carbon dioxide, heavier ones in smaller amounts.
std::string paraffin_flood(std::size_t n, int cells) {
    Fluid fluid = fluids::paraffins(n - 1);
    fluid.components.push_back({"CO2", 44.01, 304.2, 73.8e5, 0.225});
    fluid.kij.assign(n, std::vector<double>(n, 0.0));
    for (std::size_t i = 0; i + 1 < n; ++i) fluid.kij[i][n - 1] = fluid.kij[n - 1][i] = 0.1;
    std::vector<double> oil(n, 0.0), gas(n, 0.0);
    for (std::size_t i = 0; i + 1 < n; ++i) oil[i] = fluid.z[i];
    gas[n - 1] = 1.0;
    return fluids::gas_drive(fluid, 350.0, oil, gas) + "PRES 80 bar\nMMP GAS CELLS " +
           std::to_string(cells) + "\nEND\n";
}

std::string published_flood(int cells) {
    return fluids::gas_drive(fluids::gas_drive_fluid(), fluids::GAS_DRIVE_T, {0.2, 0.15, 0.65, 0.0},
                             {0.2, 0.0, 0.0, 0.8}) +
           "PRES 500 psia\nMMP GAS CELLS " + std::to_string(cells) + "\nEND\n";
}

/// A whole search: two chains and the row of cells at every pressure tried.
void mmp_bench(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    const int cells = static_cast<int>(state.range(1));
    const std::string script = n == 4 ? published_flood(cells) : paraffin_flood(n, cells);
    double pressure = 0.0;
    for (auto step : state) {
        const LabRun run(script);
        pressure = run.lab.cell().pressure.value;
    }
    state.counters["MMP, bar"] = pressure / 1e5;
}
BENCHMARK(mmp_bench)
    ->Name("mmp")
    ->Args({4, 100})
    ->Args({4, 200})
    ->Args({12, 100})
    ->Args({12, 200})
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrane
