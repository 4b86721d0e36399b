#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "equil/EOSolver.h"
#include "equil/Fluids.h"
#include "equil/PackedLDL.h"
#include "equil/RachfordRice.h"

namespace kestrane {
namespace {

using fluids::TestCell;

/// Fluids of 6, 12 and 30 components; any other number gives paraffins.
fluids::Fluid fluid_of(std::size_t n) {
    return n == 6 ? fluids::comparative_project_oil() : fluids::paraffins(n);
}

void component_numbers(benchmark::internal::Benchmark* bench) {
    for (int n : {2, 6, 12, 30, 48}) bench->Arg(n);
}

void ldl_factor_bench(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    std::mt19937 random(1);
    std::uniform_real_distribution<double> uniform(0.0, 0.5);
    std::vector<double> matrix(n * (n + 1) / 2), factor, b(n, 1.0);
    for (double& element : matrix) element = uniform(random);
    for (std::size_t i = 0; i < n; ++i) matrix[packed(i, i)] += static_cast<double>(n);
    for (auto step : state) {
        factor = matrix;
        benchmark::DoNotOptimize(ldl_factor(factor, n));
    }
}
BENCHMARK(ldl_factor_bench)->Name("ldl_factor")->Apply(component_numbers);

void ldl_solve_bench(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    std::vector<double> factor(n * (n + 1) / 2, 0.01), b(n, 1.0);
    for (auto step : state) {
        b.assign(n, 1.0);
        ldl_solve(factor, b);
        benchmark::DoNotOptimize(b.data());
    }
}
BENCHMARK(ldl_solve_bench)->Name("ldl_solve")->Apply(component_numbers);

/// Wilson K-values at 250 K, 50 bar, from the middle of the two phases.
void rachford_rice_bench(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    const fluids::Fluid fluid = fluid_of(n);
    std::vector<double> ln_K(n), K(n), xi(n), x(n), y(n), a(n), b(n), c(n);
    for (std::size_t i = 0; i < n; ++i) {
        const auto& component = fluid.components[i];
        ln_K[i] = std::log(component.Pc / 50e5) +
                  5.37 * (1.0 + component.omega) * (1.0 - component.Tc / 250.0);
    }
    RachfordRiceState split;
    split.z = fluid.z;
    split.ln_K = ln_K;
    split.K = K;
    split.xi = xi;
    split.x = x;
    split.y = y;
    split.work_a = a;
    split.work_b = b;
    split.work_c = c;
    double evaluations = 0.0;
    for (auto step : state) {
        split.L = split.V = 0.5;
        evaluations += rachford_rice(split, 0.0, 0.0, true);
        benchmark::DoNotOptimize(split.V);
    }
    state.counters["evaluations"] =
        benchmark::Counter(evaluations, benchmark::Counter::kAvgIterations);
}
BENCHMARK(rachford_rice_bench)->Name("rachford_rice")->Apply(component_numbers);

/// A vapor-like and a liquid-like trial against the feed at 350 K, 150 bar.
void stability_bench(benchmark::State& state) {
    TestCell test(fluid_of(static_cast<std::size_t>(state.range(0))));
    test.cell.temperature.value = 350.0;
    test.cell.pressure.value = 150e5;
    if (!test.cell.prepare()) state.SkipWithError("no fluid");
    EOSolver solver(test.cell);
    if (!solver.set_conditions()) state.SkipWithError("no equation");
    const std::size_t n = test.charz.size();
    std::vector<double> w(n);
    solver.evaluate(solver.feed(), 0);
    for (auto step : state) {
        solver.wilson();
        for (int root : {1, -1}) {
            for (std::size_t i = 0; i < n; ++i) w[i] = root * solver.wilson_ln_k()[i];
            solver.trial().root = root;
            double g = 0.0;
            benchmark::DoNotOptimize(
                solver.test(solver.feed(), solver.feed(), {}, solver.trial(), w, g, false));
        }
    }
    state.counters["tests/s"] =
        benchmark::Counter(2.0, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(stability_bench)->Name("stability_test")->Arg(6)->Arg(12)->Arg(30);

enum class Start { Fresh, Previous, AllTests };

/// PT flashes over 250 to 500 K, 1 to 600 bar: 11 isotherms of 40 pressures.
void flash_grid(benchmark::State& state, Start start) {
    constexpr int TEMPERATURES = 11, PRESSURES = 40;
    TestCell test(fluid_of(static_cast<std::size_t>(state.range(0))));
    if (start == Start::AllTests) test.always_test();
    double evaluations = 0.0, two_phase = 0.0;
    for (auto step : state) {
        for (int i = 0; i < TEMPERATURES; ++i)
            for (int j = 0; j < PRESSURES; ++j) {
                if (start != Start::Previous) test.forget();
                test.flash(250.0 + 25.0 * i, 1e5 * std::pow(600.0, j / (PRESSURES - 1.0)));
                evaluations += test.cell.eos_evaluations;
                two_phase += test.cell.phase_count >= 2;
            }
    }
    constexpr double FLASHES = TEMPERATURES * PRESSURES;
    using benchmark::Counter;
    state.counters["flashes/s"] = Counter(FLASHES, Counter::kIsIterationInvariantRate);
    state.counters["ln_phi/flash"] = Counter(evaluations / FLASHES, Counter::kAvgIterations);
    state.counters["two_phase"] = Counter(two_phase / FLASHES, Counter::kAvgIterations);
}
BENCHMARK_CAPTURE(flash_grid, fresh, Start::Fresh)
    ->Arg(6)
    ->Arg(12)
    ->Arg(30)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(flash_grid, previous_K, Start::Previous)
    ->Arg(6)
    ->Arg(12)
    ->Arg(30)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(flash_grid, all_tests, Start::AllTests)
    ->Arg(6)
    ->Arg(12)
    ->Arg(30)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrane
