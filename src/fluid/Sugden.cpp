#include "fluid/Sugden.h"

#include <cmath>

#include "equil/Tank.h"

namespace kestrane {

namespace {

/// Parachor per mole of phase and Z: with P/(R T) the parachor density.
double parachor_per_Z(const Tank& phase, double Z) {
    double sum = 0.0;
    for (std::size_t i = 0; i < phase.moles().size(); ++i)
        sum += phase.charz()->comps[i].parachor * phase.moles()[i];
    return sum / (Z * phase.total_moles());
}

/// True if the tank holds a fluid.
bool holds_fluid(const Tank& phase) {
    return phase.charz() && phase.total_moles() != 0.0;
}

}  // namespace

PropertyValue Sugden::tension(const Tank& phase_a, const Tank& phase_b, double T, double P,
                              double Z_a, double Z_b) const {
    PropertyValue result{UNSET, UnitKind::InterfacialTension};
    if (!holds_fluid(phase_a) || !holds_fluid(phase_b)) return result;
    if (!(T > 0.0) || !(P > 0.0) || !(Z_a > 0.0) || !(Z_b > 0.0)) return result;
    const double difference = parachor_per_Z(phase_a, Z_a) - parachor_per_Z(phase_b, Z_b);
    const double density = difference * (P / (GAS_CONSTANT * T));  // kmol/m3 times parachor
    const double root = unit_of(UnitKind::MolarDensity, "mol/cm3").print(density);
    const double tension = (root * root) * (root * root);  // dyn/cm
    if (!std::isfinite(tension)) return result;
    result.value = unit_of(UnitKind::InterfacialTension, "dyn/cm").to_base(tension);
    return result;
}

}  // namespace kestrane
