#pragma once

#include <cmath>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "equil/EOSolver.h"
#include "equil/Fluids.h"

namespace kestrane::fluids {

/// A solver built on a prepared cell, with the feed evaluated: for tests of its stages.
struct SolverBench : TestCell {
    SolverBench(const Fluid& given, double T, double P) : TestCell(given) {
        cell.temperature.value = T;
        cell.pressure.value = P;
        build();
    }
    void build() {
        cell.prepare();
        solver = std::make_unique<EOSolver>(cell);
        solver->solve_feed();
        solver->evaluate(solver->feed(), 0);
        solver->test1_now = cell.test1;
        solver->test2_now = cell.test2;
    }
    /// Sets the K-values that a split starts from.
    void start_at(std::span<const double> ln_k, double L = 1.0) {
        cell.ln_k.assign(ln_k.begin(), ln_k.end());
        solver->x().fraction = L;
        solver->y().fraction = 1.0 - L;
    }
    std::vector<double> wilson() {
        solver->wilson();
        return {solver->wilson_ln_k().begin(), solver->wilson_ln_k().end()};
    }
    std::span<const double> comps(const PhaseState& phase) const {
        return {phase.comps, charz.size()};
    }
    /// ln f_i - ln P of a phase by the textbook's equation, on its root of least Gibbs energy.
    std::vector<double> ln_fugacity(std::span<const double> x) const {
        const textbook::Mixture<double> mixture(fluid, cell.temperature.value);
        auto phase = mixture.phase(cell.pressure.value, x);
        for (std::size_t i = 0; i < x.size(); ++i) phase.ln_phi[i] += std::log(x[i]);
        return phase.ln_phi;
    }
    double gibbs(std::span<const double> x) const {
        const textbook::Mixture<double> mixture(fluid, cell.temperature.value);
        return mixture.phase(cell.pressure.value, x).gibbs;
    }

    std::unique_ptr<EOSolver> solver;
};

inline bool has_message(const ErrorList& errors, const std::string& text) {
    for (const auto& entry : errors.entries)
        if (entry->text == text) return true;
    return false;
}

}  // namespace kestrane::fluids
