// Kernels of the equation of state, at 2 to 48 components.

#include <benchmark/benchmark.h>

#include <cmath>
#include <string>
#include <vector>

#include "equil/A_2P_EOS.h"
#include "equil/Cubics.h"
#include "fluid/Charzation.h"

namespace kestrane {
namespace {

/// Components from methane-like to a heavy cut, with interaction parameters.
Charzation bench_fluid(std::size_t n) {
    Charzation charz("Bench");
    for (std::size_t i = 0; i < n; ++i) {
        const double f = static_cast<double>(i) / static_cast<double>(n - 1);
        Compnent component;
        component.name = UserWord(std::string("X").append(std::to_string(i)));
        component.mw = 16.0 + 300.0 * f;
        component.tc = 190.0 + 580.0 * f;
        component.pc = 4.6e6 - 3.2e6 * f;
        component.acentric = 0.01 + 0.9 * f;
        component.vol_shift = 0.1 * f;
        component.a_mod = component.b_mod = 1.0;
        charz.comps.push_back(component);
    }
    charz.bips.assign(n * n, 0.0);
    for (std::size_t i = 1; i < n; ++i) charz.bips[i] = charz.bips[i * n] = 0.03;
    return charz;
}

struct BenchPhase {
    explicit BenchPhase(std::size_t n)
        : charz(bench_fluid(n)),
          x(n),
          ln_phi(n),
          dn(n * (n + 1) / 2),
          record(equation.make_C_Parms(equation.make_T_Parms(charz, 400.0), nullptr)) {
        for (std::size_t i = 0; i < n; ++i)
            x[i] = (1.0 + 0.7 * std::sin(2.3 * static_cast<double>(i))) / static_cast<double>(n);
        equation.set_composition(*record, x);
        evaluate(2e6);
    }
    void evaluate(double P) {
        int root = 0, root_class = 0;
        equation.set_pressure(*record, P);
        equation.solve_z(*record, root, root_class);
        equation.ln_phi(*record, ln_phi);
    }

    PR79_EOS model;
    const EOS& equation = model;
    Charzation charz;
    std::vector<double> x, ln_phi, dn;
    PtrTo<EOS_C_Parms> record;
};

void bm_set_composition(benchmark::State& state) {
    BenchPhase phase(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        phase.equation.set_composition(*phase.record, phase.x);
        benchmark::ClobberMemory();
    }
}

/// The pressure walks, as composition does between iterations: the last roots are near, not exact.
void bm_solve_z(benchmark::State& state) {
    BenchPhase phase(static_cast<std::size_t>(state.range(0)));
    const double base = static_cast<double>(state.range(1)) * 1e5;
    double shift = 0.0;
    for (auto _ : state) {
        int root = 0, root_class = 0;
        shift = shift > 0.01 ? 0.0 : shift + 0.0007;
        phase.equation.set_pressure(*phase.record, base * (1.0 + shift));
        phase.equation.solve_z(*phase.record, root, root_class);
        benchmark::DoNotOptimize(root);
    }
}

void bm_ln_phi(benchmark::State& state) {
    BenchPhase phase(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        phase.equation.ln_phi(*phase.record, phase.ln_phi);
        benchmark::ClobberMemory();
    }
}

void bm_ln_phi_dn(benchmark::State& state) {
    BenchPhase phase(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        phase.equation.ln_phi_dn(*phase.record, phase.dn);
        benchmark::ClobberMemory();
    }
}

/// What an iteration asks of one phase: composition, roots and ln phi.
void bm_evaluation(benchmark::State& state) {
    BenchPhase phase(static_cast<std::size_t>(state.range(0)));
    const double base = static_cast<double>(state.range(1)) * 1e5;
    double shift = 0.0;
    for (auto _ : state) {
        shift = shift > 0.01 ? 0.0 : shift + 0.0007;
        phase.equation.set_composition(*phase.record, phase.x);
        phase.evaluate(base * (1.0 + shift));
        benchmark::ClobberMemory();
    }
}

void bm_t_parms(benchmark::State& state) {
    BenchPhase phase(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(phase.equation.make_T_Parms(phase.charz, 400.0));
}

void bm_vapor_pressure(benchmark::State& state) {
    const PR79_EOS eos;
    Charzation charz = bench_fluid(2);
    charz.comps.resize(1);
    charz.bips.clear();
    PtrTo<EOS_C_Parms> record = eos.make_C_Parms(eos.make_T_Parms(charz, 150.0), nullptr);
    eos.set_composition(*record, std::vector<double>{1.0});
    for (auto _ : state) benchmark::DoNotOptimize(eos.vapor_pressure(*record));
}

const std::vector<int64_t> SIZES{2, 6, 12, 30, 48};

BENCHMARK(bm_set_composition)->ArgsProduct({SIZES});
// Bar: a gas with two roots and a liquid with one.
BENCHMARK(bm_solve_z)->ArgsProduct({{6}, {5, 150}});
BENCHMARK(bm_ln_phi)->ArgsProduct({SIZES});
BENCHMARK(bm_ln_phi_dn)->ArgsProduct({SIZES});
BENCHMARK(bm_evaluation)->ArgsProduct({SIZES, {5, 150}});
BENCHMARK(bm_t_parms)->ArgsProduct({SIZES});
BENCHMARK(bm_vapor_pressure);

}  // namespace
}  // namespace kestrane
