#pragma once

// Fluids for the tests of the equations of state, and what a state of one phase needs.

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "equil/A_2P_EOS.h"
#include "equil/Cubics.h"
#include "fluid/Charzation.h"

namespace kestrane::testing_eos {

/// A component as an equation of state sees it: K, Pa, kg/kmol.
inline Compnent make_component(const std::string& name, double mw, double tc, double pc,
                               double acentric, double shift = 0.0, double a_mod = 1.0,
                               double b_mod = 1.0) {
    Compnent component;
    component.name = UserWord(name);
    component.mw = mw;
    component.tc = tc;
    component.pc = pc;
    component.acentric = acentric;
    component.vol_shift = shift;
    component.a_mod = a_mod;
    component.b_mod = b_mod;
    return component;
}

/// n components from methane-like to a heavy cut, all with modifiers and translations, and with
/// interaction parameters between all pairs.
inline Charzation make_fluid(std::size_t n) {
    Charzation charz("Test");
    for (std::size_t i = 0; i < n; ++i) {
        const double f = n > 1 ? static_cast<double>(i) / static_cast<double>(n - 1) : 0.3;
        charz.comps.push_back(make_component(
            std::string("X").append(std::to_string(i)), 16.0 + 300.0 * f, 190.0 + 580.0 * f,
            4.6e6 - 3.2e6 * f, 0.01 + 0.9 * f, -0.15 + 0.3 * f, 1.05 - 0.1 * f, 0.97 + 0.06 * f));
    }
    if (n < 2) return charz;
    charz.bips.assign(n * n, 0.0);
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            const double k = 0.002 + 0.08 * static_cast<double>(i - j) / static_cast<double>(n);
            charz.bips[i * n + j] = charz.bips[j * n + i] = k;
        }
    }
    return charz;
}

/// Uneven amounts that sum to one.
inline std::vector<double> make_composition(std::size_t n) {
    std::vector<double> x(n);
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        x[i] = 1.0 + 0.7 * std::sin(1.0 + 2.3 * static_cast<double>(i));
        sum += x[i];
    }
    for (double& value : x) value /= sum;
    return x;
}

/// The equations that compute.
inline std::vector<std::shared_ptr<const A_2P_EOS>> working_equations() {
    return {std::make_shared<RK_EOS>(), std::make_shared<SRK_EOS>(), std::make_shared<PR77_EOS>(),
            std::make_shared<PR79_EOS>()};
}

/// A phase record with what the calls on it give.
struct Phase {
    Phase(const EOS& equation, const Charzation& charz, double T, std::vector<double> composition)
        : eos(equation),
          x(std::move(composition)),
          t_parms(equation.make_T_Parms(charz, T)),
          record(equation.make_C_Parms(t_parms, &errors)) {
        eos.set_composition(*record, x);
    }
    /// Solves at P; returns the root code.
    int solve(double P, int hint = 0) {
        eos.set_pressure(*record, P);
        root = hint;
        eos.solve_z(*record, root, root_class);
        return root;
    }
    std::vector<double> ln_phi() {
        std::vector<double> out(x.size());
        eos.ln_phi(*record, out);
        return out;
    }
    const A_2P_EOS::C_Parms& state() const {
        return static_cast<const A_2P_EOS::C_Parms&>(*record);
    }

    const EOS& eos;
    ErrorList errors;
    std::vector<double> x;
    PtrTo<EOS_T_Parms> t_parms;
    PtrTo<EOS_C_Parms> record;
    int root = 0, root_class = 0;
};

}  // namespace kestrane::testing_eos
