#pragma once

#include <cmath>
#include <vector>

#include "equil/Fluids.h"
#include "input/Units.h"

/// What holds in a column of fluid, by the textbook's equation.
namespace kestrane::fluids {

/// A fluid at one height: composition, temperature (K), pressure (Pa).
struct Station {
    std::vector<double> x;
    double T = 0.0, P = 0.0;
};

inline Station station_of(const PVTCell& cell) {
    const std::span<const double> moles = cell.feed->moles();
    return {{moles.begin(), moles.end()}, cell.temperature.value, cell.pressure.value};
}

/// Covolumes b_i (m3/kmol).
inline double covolume(const Fluid& fluid, std::size_t i) {
    const bool srk = fluid.equation == textbook::Equation::SoaveRedlichKwong;
    const double omega_b = srk ? (std::cbrt(2.0) - 1.0) / 3.0 : 0.0777960739038884598;
    return omega_b * 8314.472 * fluid.components[i].Tc / fluid.components[i].Pc;
}

/// ln f_i (f in Pa) with the volume translation V = V_EOS - sum x_i s_i b_i.
inline std::vector<long double> ln_fugacities(const Fluid& fluid, const Station& at) {
    const textbook::Mixture<long double> mixture(fluid, at.T);
    const auto phase = mixture.phase(at.P, std::vector<long double>(at.x.begin(), at.x.end()));
    std::vector<long double> ln_f(at.x.size());
    for (std::size_t i = 0; i < at.x.size(); ++i)
        ln_f[i] = std::log(static_cast<long double>(at.x[i])) + phase.ln_phi[i] +
                  std::log(static_cast<long double>(at.P)) -
                  static_cast<long double>(fluid.components[i].shift) * covolume(fluid, i) * at.P /
                      (8314.472L * at.T);
    return ln_f;
}

/// Mass density (kg/m3) with translated volumes.
inline double textbook_density(const Fluid& fluid, const Station& at) {
    const textbook::Mixture<long double> mixture(fluid, at.T);
    const auto phase = mixture.phase(at.P, std::vector<long double>(at.x.begin(), at.x.end()));
    double mass = 0.0;
    double volume = static_cast<double>(phase.Z) * 8314.472 * at.T / at.P;
    for (std::size_t i = 0; i < at.x.size(); ++i) {
        mass += at.x[i] * fluid.components[i].mw;
        volume -= at.x[i] * fluid.components[i].shift * covolume(fluid, i);
    }
    return mass / volume;
}

/// Largest departure from ln f_i(up) - ln f_i(down) = -M_i g height/(R T), the one over the other.
inline double gravity_error(const Fluid& fluid, const Station& down, const Station& up,
                            double height) {
    const auto low = ln_fugacities(fluid, down), high = ln_fugacities(fluid, up);
    double worst = 0.0;
    for (std::size_t i = 0; i < low.size(); ++i) {
        const long double weight =
            fluid.components[i].mw * 9.80665L * height / (8314.472L * down.T);
        worst = std::max(worst, std::abs(static_cast<double>(high[i] - low[i] + weight)));
    }
    return worst;
}

}  // namespace kestrane::fluids
