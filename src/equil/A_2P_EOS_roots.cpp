// The cubic in z = P (V - b)/(R T) and the choice between its roots.

#include <algorithm>
#include <cmath>

#include "equil/A_2P_EOS.h"

namespace kestrane {

namespace {

constexpr int NEWTON_ROUNDS = 50;
/// A product p1 p2 that no fluid reaches, beyond which the terms of the cubic could overflow.
constexpr double VAST = 1e150;
/// Reciprocal of the spacing of doubles at 1: stands for 1/f' against the scale of f' where the
/// slope is not positive.
constexpr double STEEP = 4503599627370496.0;

/// z^3 + a2 z^2 + a1 z + a0.
struct Cubic {
    double a2, a1, a0;

    double value(double z) const { return ((a2 + z) * z + a1) * z + a0; }
    /// Sum of the terms' magnitudes: the scale of the value's rounding error.
    double scale(double z) const {
        const double m = std::fabs(z);
        return ((std::fabs(a2) + m) * m + std::fabs(a1)) * m + std::fabs(a0);
    }
    double reciprocal_slope(double z) const {
        const double slope = (3.0 * z + 2.0 * a2) * z + a1;
        if (slope > 0.0) return 1.0 / slope;
        const double m = std::fabs(z);
        return STEEP / ((3.0 * m + std::fabs(2.0 * a2)) * m + std::fabs(a1));
    }
    bool is_root(double z, double f) const { return std::fabs(f) <= NUM_EPS * scale(z); }
};

[[gnu::cold]] void warn(ErrorList* errors, const char* text) {
    if (errors) errors->Warn(text);
}

/// The bracket holds at most one root, and the cubic rises through it. The bracket is not narrowed
/// while Newton's method runs: between a stationary point and the root the curve bends one way, so
/// at most the first step overshoots, and the clamp catches it.
[[gnu::always_inline]] inline bool find_root(const Cubic& cubic, double lower, double upper,
                                             double guess, double& z, double& dz,
                                             ErrorList* errors) {
    if (upper < lower) return false;
    guess = std::clamp(guess, lower, upper);
    double f = cubic.value(guess);
    if (cubic.is_root(guess, f)) {
        z = guess;
        dz = cubic.reciprocal_slope(guess);
        return true;
    }
    (f > 0.0 ? upper : lower) = guess;
    if (!(lower < upper)) return false;

    double at = std::clamp(z, lower, upper);
    int round = at == guess ? 1 : 0;
    if (round == 0) f = cubic.value(at);
    bool done = round == 0 && cubic.is_root(at, f);
    double step_per_f = cubic.reciprocal_slope(at);
    for (; !done; ++round) {
        if (round > NEWTON_ROUNDS) {
            warn(errors, "Convergence failed in cubic equation solver");
            break;
        }
        at = std::clamp(at - step_per_f * f, lower, upper);
        f = cubic.value(at);
        step_per_f = cubic.reciprocal_slope(at);
        done = cubic.is_root(at, f);
    }
    z = at;
    dz = step_per_f;
    return true;
}

/// Bounds of any physical root. The cubic is not positive at the lower and not negative at the
/// upper one.
void root_bounds(double A, double p1, double p2, double& lower, double& upper) {
    const double Q = p1 * p2;
    if (A >= 0.0) {
        upper = 1.0;
        lower = Q / (Q + A);
        return;
    }
    // Net repulsion: z exceeds 1.
    lower = 1.0;
    upper = std::min(1.0 - A / std::min(p1, p2), 0.5 * (1.0 + std::sqrt(1.0 - 4.0 * A)));
    if (Q + A > 0.0) upper = std::min(upper, Q / (Q + A));
}

/// Stationary points of the cubic, without cancellation, from the root of the discriminant.
void stationary_points(const Cubic& cubic, double root_D, double& low, double& high) {
    if (cubic.a2 < 0.0) {
        const double w = root_D - cubic.a2;
        low = cubic.a1 / w;
        high = w / 3.0;
    } else {
        const double w = -(cubic.a2 + root_D);
        low = w / 3.0;
        high = cubic.a1 / w;
    }
    if (high < low) std::swap(low, high);
}

}  // namespace

bool A_2P_EOS::newton_root(double a2, double a1, double a0, double lower, double upper,
                           double guess, double& z, double& dz, ErrorList* errors) const {
    return find_root(Cubic{a2, a1, a0}, lower, upper, guess, z, dz, errors);
}

void A_2P_EOS::solve_z(EOS_C_Parms& phase, int& root, int& root_class) const {
    auto& p = static_cast<C_Parms&>(phase);
    p.A = p.a * p.P;
    p.B = p.b * p.P;
    p.C = p.c * p.P;
    const double p1 = c1 * p.B;
    const double p2 = c2 * p.B;
    const double S = p1 + p2;
    const double Q = p1 * p2;
    // Without pressure, covolume or attraction z is 1, and towards infinite pressure it goes to 1
    // as 1 - A/Q does. Written so that a NaN ends here as well.
    if (!(p.P > 0.0) || !(Q > 0.0) || !(Q <= VAST) || p.A == 0.0 || !std::isfinite(p.A)) {
        p.z_low = p.z_high = 1.0;
        p.dzi_low = p.dzi_high = 0.0;
    } else {
        solve_cubic(p, p1, p2);
    }
    root = A_2P_EOS::select_root(p, root);
    root_class = root;
    if (p.z_low == p.z_high) root_class = 3.0 * p.z_sel < 1.0 - S ? -1 : 1;
}

void A_2P_EOS::solve_cubic(C_Parms& p, double p1, double p2) {
    constexpr const char* FAILED = "Z-factor algorithm failed due to round-off errors";
    const double S = p1 + p2;
    const double Q = p1 * p2;
    const Cubic cubic{S - 1.0, p.A - S + Q, -Q};
    double lower, upper;
    root_bounds(p.A, p1, p2, lower, upper);
    const double D = cubic.a2 * cubic.a2 - 3.0 * cubic.a1;
    if (!(D > 0.0)) {
        if (!find_root(cubic, lower, upper, -cubic.a2 / 3.0, p.z_low, p.dzi_low, p.errors))
            warn(p.errors, FAILED);
        p.z_high = p.z_low;
        p.dzi_high = p.dzi_low;
        return;
    }
    double low, high;
    stationary_points(cubic, std::sqrt(D), low, high);
    const bool has_low = find_root(cubic, lower, low, low, p.z_low, p.dzi_low, p.errors);
    const bool has_high = find_root(cubic, high, upper, high, p.z_high, p.dzi_high, p.errors);
    if (has_low && !has_high) {
        p.z_high = p.z_low;
        p.dzi_high = p.dzi_low;
    } else if (has_high && !has_low) {
        p.z_low = p.z_high;
        p.dzi_low = p.dzi_high;
    } else if (!has_low) {
        warn(p.errors, FAILED);
    }
}

int A_2P_EOS::select_root(EOS_C_Parms& phase, int hint) const {
    auto& p = static_cast<C_Parms&>(phase);
    if (p.z_low == p.z_high) {
        p.z_sel = p.z_low;
        p.dzi_sel = p.dzi_low;
        return p.z_sel - y_crit * p.B < 0.0 ? -1 : 1;
    }
    bool take_low = hint < 0;
    if (hint == 0) {
        const double p1 = c1 * p.B;
        const double p2 = c2 * p.B;
        const double dG = (p.z_low - p.z_high) - std::log(p.z_low / p.z_high) +
                          (p.A / (p2 - p1)) * std::log((p.z_low + p1) * (p.z_high + p2) /
                                                       ((p.z_low + p2) * (p.z_high + p1)));
        take_low = dG < 0.0;
    }
    p.z_sel = take_low ? p.z_low : p.z_high;
    p.dzi_sel = take_low ? p.dzi_low : p.dzi_high;
    return take_low ? -2 : 2;
}

int A_2P_EOS::root_code(const EOS_C_Parms& phase) const {
    const auto& p = static_cast<const C_Parms&>(phase);
    const int side = 3.0 * p.z_sel < 1.0 - (c1 * p.B + c2 * p.B) ? -1 : 1;
    return p.z_low == p.z_high ? side : 2 * side;
}

double A_2P_EOS::z_factor(const EOS_C_Parms& phase) const {
    const auto& p = static_cast<const C_Parms&>(phase);
    return p.z_sel + p.B - p.C;
}

void A_2P_EOS::z_factors(const EOS_C_Parms& phase, double& low, double& high) const {
    const auto& p = static_cast<const C_Parms&>(phase);
    low = p.z_low + p.B - p.C;
    high = p.z_high + p.B - p.C;
}

void A_2P_EOS::raw_roots(const EOS_C_Parms& phase, double& low, double& high) const {
    const auto& p = static_cast<const C_Parms&>(phase);
    low = p.z_low;
    high = p.z_high;
}

double A_2P_EOS::translation(const EOS_C_Parms& phase) const {
    const auto& p = static_cast<const C_Parms&>(phase);
    return p.B - p.C;
}

bool A_2P_EOS::below_pseudo_critical(const EOS_C_Parms& phase) const {
    const auto& p = static_cast<const C_Parms&>(phase);
    return p.a * omega_b >= p.b * omega_a;
}

bool A_2P_EOS::is_lighter(const EOS_C_Parms& p, const EOS_C_Parms& q) const {
    const auto& first = static_cast<const C_Parms&>(p);
    const auto& second = static_cast<const C_Parms&>(q);
    return second.z_sel * first.B >= first.z_sel * second.B;
}

}  // namespace kestrane
