#include "fluid/LBC.h"

#include <cmath>

#include "equil/Tank.h"

namespace kestrane {

namespace {

// The correlation's viscosities are in cp with critical pressures in atm and temperatures in K.

/// (pc^4/tc)^(1/6): the reciprocal of the viscosity-reducing parameter but for sqrt(mw).
double pressure_scale(double pc, double tc) {
    return std::pow((pc * pc) * (pc * pc) / tc, 1.0 / 6.0);
}

/// Turns pressure_scale of internal units into that of the correlation's.
double pressure_factor() {
    static const double factor =
        pressure_scale(unit_of(UnitKind::AbsolutePressure, "atm").from_base(1.0),
                       unit_of(UnitKind::AbsoluteTemperature, "K").from_base(1.0));
    return factor;
}

/// Reduced viscosity of a dilute gas (Stiel and Thodos, nonpolar).
double dilute_gas(double Tr) {
    if (Tr > 1.5) return 0.0001778 * std::pow(4.58 * Tr - 1.67, 0.625);
    return 0.00034 * std::pow(Tr, 0.94);
}

double fourth_power(double x) {
    return (x * x) * (x * x);
}

bool has_viscosity(const Compnent& component) {
    return component.mw > 0.0 && component.tc > 0.0 && component.pc > 0.0 &&
           component.visc_vc > 0.0;
}

/// True if p1 + 2 p2 r + 3 p3 r^2 + 4 p4 r^3, the polynomial's slope, is negative for no r >= 0.
bool never_decreases(double p1, double p2, double p3, double p4) {
    const auto slope_at = [=](double r) {
        return (2.0 * p2 + (3.0 * p3 + 4.0 * p4 * r) * r) * r + p1;
    };
    if (p1 < 0.0 || p4 < 0.0) return false;
    if (p4 == 0.0) {
        if (p3 < 0.0 || (p3 == 0.0 && p2 < 0.0)) return false;
        return !(p3 > 0.0 && p2 < 0.0 && slope_at(-p2 / (3.0 * p3)) < 0.0);
    }
    if (p2 >= 0.0 && p3 >= 0.0) return true;
    // The slope is least at the larger root of its derivative, taken without cancellation.
    const double a = 24.0 * p4;
    const double b = 6.0 * p3;
    const double c = 4.0 * p2;
    const double d = b * b - a * c;
    if (!(d >= 0.0)) return true;
    const double s = std::sqrt(d);
    const double r = b < 0.0 ? -(b - s) / a : -c / (b + s);
    return !(slope_at(r) < 0.0);
}

}  // namespace

std::array<double, LBC_COUNT>& lbc_coefficients() {
    static std::array<double, LBC_COUNT> current = LBC_DEFAULTS;
    return current;
}

void LBC::bind(const Charzation& charz) {
    if (charz.serial() == charz_serial_) return;
    charz_serial_ = charz.serial();
    last_t_ = UNSET;
    dilute_.clear();
    root_mw_.assign(charz.size(), 0.0);
    scaled_mw_.assign(charz.size(), 0.0);
    for (std::size_t i = 0; i < charz.size(); ++i) {
        const Compnent& component = charz.comps[i];
        if (!has_viscosity(component)) continue;
        root_mw_[i] = std::sqrt(component.mw);
        scaled_mw_[i] = component.mw * pressure_scale(component.pc, component.tc);
    }
}

void LBC::set_temperature(const Charzation& charz, double T) {
    if (T == last_t_) return;
    last_t_ = T;
    dilute_.assign(charz.size(), 0.0);
    for (std::size_t i = 0; i < charz.size(); ++i) {
        const Compnent& component = charz.comps[i];
        if (has_viscosity(component)) dilute_[i] = dilute_gas(T / component.tc) * scaled_mw_[i];
    }
}

LBC::Averages LBC::average(const Tank& mixture) const {
    Averages mean;
    double dilute_sum = 0.0;
    for (std::size_t i = 0; i < mixture.moles().size(); ++i) {
        const double x = mixture.moles()[i] / mixture.total_moles();
        if (x == 0.0) continue;
        const Compnent& component = mixture.charz()->comps[i];
        if (!has_viscosity(component)) mean.usable = false;
        dilute_sum += x * dilute_[i];
        mean.root_mw += x * root_mw_[i];
        mean.tc += x * component.tc;
        mean.pc += x * component.pc;
        mean.vc += x * component.visc_vc;
    }
    mean.dilute = dilute_sum / mean.root_mw;
    return mean;
}

PropertyValue LBC::viscosity(const Tank& mixture, double T, double P, double Z) {
    PropertyValue result{UNSET, UnitKind::Viscosity};
    if (!(T > 0.0) || !(P >= 0.0) || !(Z > 0.0)) return result;
    const Charzation* charz = mixture.charz();
    if (!charz || charz->size() != mixture.moles().size() || mixture.total_moles() == 0.0 ||
        mixture.total_mass() == 0.0)
        return result;
    bind(*charz);
    set_temperature(*charz, T);
    const Averages mean = average(mixture);
    if (!mean.usable) return result;

    const std::array<double, LBC_COUNT>& p = lbc_coefficients();
    const double M = mixture.total_mass() / mixture.total_moles();
    const double r = mean.vc * P / (Z * GAS_CONSTANT * T);
    const double q = (((p[4] * r + p[3]) * r + p[2]) * r + p[1]) * r + p[0];
    const double residual =
        (fourth_power(q) - fourth_power(p[5])) * pressure_scale(mean.pc, mean.tc) * std::sqrt(M);
    const double cp = pressure_factor() * (mean.dilute + residual);
    if (std::isfinite(cp)) result.value = unit_of(UnitKind::Viscosity, "cp").to_base(cp);
    return result;
}

void LBC::check(ErrorList& errors) const {
    const std::array<double, LBC_COUNT>& p = lbc_coefficients();
    if (!never_decreases(p[1], p[2], p[3], p[4]))
        errors.Warn(
            "With its current parameters, the modified LBC viscosity correlation is not a\n"
            "monotonically increasing function of reduced density");
}

}  // namespace kestrane
