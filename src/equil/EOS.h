#pragma once

#include <span>
#include <string>
#include <vector>

#include "frame/ErrorList.h"
#include "frame/PtrTo.h"
#include "frame/Unset.h"

namespace kestrane {

class Charzation;
struct Compnent;

/// Four and a half times the spacing of doubles at 1: the unit of the numerics' tolerances.
inline constexpr double NUM_EPS = 9.992007221626409e-16;

/// Index of element (i,j), j <= i, in a lower triangle packed row by row.
constexpr std::size_t packed(std::size_t i, std::size_t j) { return i * (i + 1) / 2 + j; }

/// Base of the parameter records.
class EOS_Parms {
public:
    virtual ~EOS_Parms() = default;
    const Charzation* charz = nullptr;  ///< not owned
};

/// What depends on temperature only.
class EOS_T_Parms : public EOS_Parms {
public:
    double T = 0.0;      ///< K
    double inv_T = 0.0;  ///< 1/K
};

/// One phase record: what depends on composition and pressure.
class EOS_C_Parms : public EOS_Parms {
public:
    ErrorList* errors = nullptr;           ///< of the calculation, not owned, may be null
    PtrTo<const EOS_T_Parms> t_parms;
};

/// An equation of state. It holds only the constants of the model, so one object serves any number
/// of phases. Operations on phase records are called in the order set_composition, set_pressure,
/// solve_z, ln_phi, derivatives.
///
/// The variable solved for is z = P (V - b)/(R T), not Z; Z itself is z + B - C with the volume
/// translation C.
///
/// Root codes: -1/+1 one root (liquid-like/vapor-like), -2/+2 the low/high one of two.
class EOS {
public:
    virtual ~EOS() = default;
    virtual std::string name() const = 0;
    /// Adds a FATAL ERROR for each illegal property of the component.
    virtual void check_component(const Compnent& component, ErrorList& errors) const = 0;
    virtual PtrTo<EOS_T_Parms> make_T_Parms(const Charzation& charz, double T) const = 0;
    virtual PtrTo<EOS_C_Parms> make_C_Parms(PtrTo<const EOS_T_Parms> t_parms,
                                            ErrorList* errors) const = 0;
    virtual void set_T_Parms(EOS_C_Parms& phase, PtrTo<const EOS_T_Parms> t_parms) const = 0;
    virtual void set_pressure(EOS_C_Parms& phase, double P) const = 0;  ///< Pa
    /// Amounts x (n, need not sum to 1).
    virtual void set_composition(EOS_C_Parms& phase, std::span<const double> x) const = 0;
    /// Solves the cubic. `root` in: hint (<0 low, >0 high, 0 least Gibbs energy); out: root code.
    /// `root_class` out: the root code, or the side of the pseudo-critical density for equal roots.
    virtual void solve_z(EOS_C_Parms& phase, int& root, int& root_class) const = 0;
    virtual int select_root(EOS_C_Parms& phase, int hint) const = 0;
    virtual int root_code(const EOS_C_Parms& phase) const = 0;
    virtual double z_factor(const EOS_C_Parms& phase) const = 0;
    virtual void z_factors(const EOS_C_Parms& phase, double& low, double& high) const = 0;
    virtual void raw_roots(const EOS_C_Parms& phase, double& low, double& high) const = 0;
    virtual void root_energies(const EOS_C_Parms& phase, double& low, double& high) const = 0;
    /// ln phi (n), without ln P and without volume translation.
    virtual void ln_phi(EOS_C_Parms& phase, std::span<double> out) const = 0;
    /// d ln phi_i / d ln P (n); subtracted from `out` if `subtract`. Needs ln_phi before.
    virtual void ln_phi_dlnp(const EOS_C_Parms& phase, std::span<double> out,
                             bool subtract) const = 0;
    /// d ln phi_i / d n_j at one mole in all (packed n(n+1)/2). Needs ln_phi before.
    virtual void ln_phi_dn(const EOS_C_Parms& phase, std::span<double> out) const = 0;
    /// array_i += (b_i - c_i) factor P.
    virtual void add_volume_term(const EOS_C_Parms& phase, std::span<double> array,
                                 double factor) const = 0;
    virtual double translation(const EOS_C_Parms& phase) const = 0;  ///< B - C
    /// Vapor pressure (Pa) of a phase record of one component; the record is left there.
    virtual double vapor_pressure(EOS_C_Parms& phase) const = 0;
    virtual bool below_pseudo_critical(const EOS_C_Parms& phase) const = 0;
    /// True if q has the larger z/B: q is the lighter phase.
    virtual bool is_lighter(const EOS_C_Parms& p, const EOS_C_Parms& q) const = 0;
    /// Universal constant "a" or "b" (any case); UNSET for other names.
    virtual double parameter(const std::string& name) const = 0;
    /// Sets the properties of lumped target components so that the equation's mixture a and b
    /// are kept at T. `weights[t]` (empty: none) are over source components; `index_map[t]` is the
    /// source component that target t is, or -1.
    virtual void derive_pseudo_component(const Charzation& source, Charzation& target, double T,
                                         std::span<const std::vector<double>> weights,
                                         std::span<const int> index_map) const = 0;
    /// Safeguarded Newton on z^3 + a2 z^2 + a1 z + a0. `z` in: warm start; out: root. `dz` out:
    /// reciprocal slope. False if the bounds hold no root.
    virtual bool newton_root(double a2, double a1, double a0, double lower, double upper,
                             double guess, double& z, double& dz, ErrorList* errors) const = 0;
};

}  // namespace kestrane
