// Vapor pressure of a pure component.

#include <algorithm>
#include <cmath>

#include "equil/A_2P_EOS.h"

namespace kestrane {

namespace {

constexpr int VAPOR_ROUNDS = 99;

/// Gibbs energy of the high root less that of the low one over R T, with the scale of its rounding.
struct Difference {
    double energy, scale;
};

Difference vapor_minus_liquid(const A_2P_EOS::C_Parms& p, double p1, double p2) {
    const double l = p.z_low, h = p.z_high;
    // The reverse order of A_2P_EOS::select_root's difference, so that it rises with pressure.
    const double ideal = std::log(h / l);
    const double attraction =
        (p.A / (p2 - p1)) * std::log((h + p1) * (l + p2) / ((h + p2) * (l + p1)));
    return {(h - l) - ideal + attraction, l + h + std::fabs(ideal) + std::fabs(attraction)};
}

}  // namespace

double A_2P_EOS::vapor_pressure(EOS_C_Parms& phase) const {
    auto& p = static_cast<C_Parms&>(phase);
    if (!(p.b > 0.0)) return 0.0;  // no covolume, no liquid
    const double p1 = c1 * p.b;
    const double p2 = c2 * p.b;
    const double d = y_crit * p.b;
    // Below P_low the product of p1 P and p2 P would leave the range of doubles.
    const double P_low = std::sqrt(2.505210450011216e-293) / std::min(p1, p2);
    const double P_high = 1.0 / d;
    double P = P_high - p.a / ((d + p1) * (d + p2));
    if (P < P_low) {
        p.z_low = 0.0;
        p.z_high = 1.0;
        P = P_low;
    } else {
        p.z_low = p.z_high = p.z_sel = P / P_high;
    }
    if (!vapor_roots(p, P)) return P;

    double lower = std::log(P_low), upper = std::log(P_high);
    double ln_P = std::log(P);
    for (int round = 0; round <= VAPOR_ROUNDS; ++round) {
        const Difference F = vapor_minus_liquid(p, c1 * p.B, c2 * p.B);
        if (std::fabs(F.energy) <= 4.0 * NUM_EPS * F.scale) return P;
        // d F/d ln P = z_high - z_low.
        double step = -F.energy / (p.z_high - p.z_low);
        const bool rising = F.energy < 0.0;
        double& near_bound = rising ? lower : upper;
        double& far_bound = rising ? upper : lower;
        near_bound = ln_P;
        if (rising ? ln_P + step >= upper : ln_P + step <= lower) step = 0.5 * (far_bound - ln_P);
        double trial = ln_P + step;
        P = std::exp(trial);
        while (!vapor_roots(p, P) && trial != ln_P) {
            far_bound = trial;
            step *= 0.5;
            trial = ln_P + step;
            P = std::exp(trial);
        }
        if (trial == ln_P) break;
        ln_P = trial;
    }
    if (p.errors) p.errors->Warn("Convergence failed in vapor pressure calculations");
    return P;
}

bool A_2P_EOS::vapor_roots(C_Parms& p, double P) const {
    int root = 1;
    int root_class = 0;
    A_2P_EOS::set_pressure(p, P);
    A_2P_EOS::solve_z(p, root, root_class);
    return std::abs(root) >= 2;
}

}  // namespace kestrane
