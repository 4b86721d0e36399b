#include "equil/Cubics.h"

#include <cmath>

#include "fluid/Charzation.h"

namespace kestrane {

namespace {

/// The Peng-Robinson m of 1976; also that of 1978 for omega up to 0.49.
double pr_m(double omega) {
    return 0.37464 + (1.54226 - 0.26992 * omega) * omega;
}
double pr_dm(double omega) {
    return 1.54226 - 0.53984 * omega;
}

/// Largest acentric factor that the earlier m is used for by PR79_EOS.
constexpr double PR79_SWITCH = 0.49;

}  // namespace

A_RK_EOS::A_RK_EOS() : A_2P_EOS(1.0, 2.0) {}

void RK_EOS::fill_T_Parms(EOS_T_Parms& record) const {
    auto& parms = static_cast<T_Parms&>(record);
    fill_covolumes(parms);
    for (std::size_t i = 0; i < parms.n; ++i) {
        const Compnent& component = parms.charz->comps[i];
        const double tr_inv = component.tc * parms.inv_T;
        parms.ci[i] = std::sqrt(omega_a * component.a_mod * (tr_inv / component.pc) * tr_inv *
                                std::sqrt(tr_inv));
    }
    fill_pairs(parms);
}

void RK_EOS::alpha_root(double Tr, double, double& root, double& slope) const {
    root = 1.0 / std::sqrt(std::sqrt(Tr));
    slope = -0.25 * root;
}

void RK_EOS::omega_from_slope(double x, double, double& omega, double& scale) const {
    omega = 0.0;
    scale = x > 0.0 ? std::pow(x, -4.0 / 3.0) : 0.0;
}

void SRK_EOS::fill_T_Parms(EOS_T_Parms& record) const {
    fill_soave(static_cast<T_Parms&>(record));
}
double SRK_EOS::m_of_omega(double omega) const {
    return 0.48 + (1.574 - 0.176 * omega) * omega;
}
double SRK_EOS::dm_domega(double omega) const {
    return 1.574 - 0.352 * omega;
}
double SRK_EOS::omega_limit() const {
    return 1.574 / 0.352;
}

A_PR_EOS::A_PR_EOS() : A_2P_EOS(2.0 - std::sqrt(2.0), 2.0 + std::sqrt(2.0)) {}

void PR77_EOS::fill_T_Parms(EOS_T_Parms& record) const {
    fill_soave(static_cast<T_Parms&>(record));
}
double PR77_EOS::m_of_omega(double omega) const {
    return pr_m(omega);
}
double PR77_EOS::dm_domega(double omega) const {
    return pr_dm(omega);
}
double PR77_EOS::omega_limit() const {
    return 1.54226 / 0.53984;
}

void PR79_EOS::fill_T_Parms(EOS_T_Parms& record) const {
    fill_soave(static_cast<T_Parms&>(record));
}

double PR79_EOS::m_of_omega(double omega) const {
    if (omega <= PR79_SWITCH) return pr_m(omega);
    return 0.379642 + (1.48503 - (0.164423 - 0.016666 * omega) * omega) * omega;
}

double PR79_EOS::dm_domega(double omega) const {
    if (omega <= PR79_SWITCH) return pr_dm(omega);
    return 1.48503 - (0.328846 - 0.049998 * omega) * omega;
}

}  // namespace kestrane
