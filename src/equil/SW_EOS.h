#pragma once

#include "equil/A_2P_EOS.h"

namespace kestrane {

/// Schmidt and Wenzel, Chem. Eng. Sci. 35 (1980) 1503. It can be chosen and checks components, but
/// computes nothing: its records are null, and every other operation is deliberately idle.
class SW_EOS final : public Cubic_EOS {
public:
    std::string name() const override { return "Schmidt-Wenzel"; }
    PtrTo<EOS_T_Parms> make_T_Parms(const Charzation&, double) const override { return {}; }
    PtrTo<EOS_C_Parms> make_C_Parms(PtrTo<const EOS_T_Parms>, ErrorList*) const override {
        return {};
    }
    void set_T_Parms(EOS_C_Parms&, PtrTo<const EOS_T_Parms>) const override {}
    void set_pressure(EOS_C_Parms&, double) const override {}
    void set_composition(EOS_C_Parms&, std::span<const double>) const override {}
    void solve_z(EOS_C_Parms&, int& root, int& root_class) const override { root = root_class = 0; }
    int select_root(EOS_C_Parms&, int) const override { return 0; }
    int root_code(const EOS_C_Parms&) const override { return 0; }
    double z_factor(const EOS_C_Parms&) const override { return 0.0; }
    void z_factors(const EOS_C_Parms&, double& low, double& high) const override { low = high = 0; }
    void raw_roots(const EOS_C_Parms&, double& low, double& high) const override { low = high = 0; }
    void root_energies(const EOS_C_Parms&, double& low, double& high) const override {
        low = high = 0;
    }
    void ln_phi(EOS_C_Parms&, std::span<double>) const override {}
    void ln_phi_dlnp(const EOS_C_Parms&, std::span<double>, bool) const override {}
    void ln_phi_dn(const EOS_C_Parms&, std::span<double>) const override {}
    void add_volume_term(const EOS_C_Parms&, std::span<double>, double) const override {}
    double translation(const EOS_C_Parms&) const override { return 0.0; }
    double vapor_pressure(EOS_C_Parms&) const override { return 0.0; }
    bool below_pseudo_critical(const EOS_C_Parms&) const override { return false; }
    bool is_lighter(const EOS_C_Parms&, const EOS_C_Parms&) const override { return false; }
    double parameter(const std::string&) const override { return UNSET; }
    void derive_pseudo_component(const Charzation&, Charzation&, double,
                                 std::span<const std::vector<double>>,
                                 std::span<const int>) const override {}
    bool newton_root(double, double, double, double, double, double, double&, double&,
                     ErrorList*) const override {
        return false;
    }
};

}  // namespace kestrane
