// Fugacity coefficients of the two-parameter equations and their derivatives.
//
// With q = ln((z + p1)/(z + p2))/(p2 - p1) the residual Helmholtz energy over R T is
// -ln(1 - b/V) + A q per mole. ln phi is counted without the volume's own b_i P, which is the same
// in all phases at one pressure.

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

#include "equil/A_2P_EOS.h"
#include "equil/Lanes.h"

namespace kestrane {

namespace {

struct DerivativeFactors {
    double e0, e1, e2, e4, q_s, w_b, t;
};

/// d ln phi_i / d n_j, which is bilinear in s and b but for the term of a_ij. Rows are filled by
/// whole blocks: what a block writes behind its row, the next rows overwrite. Only the last row's
/// last block is moved back. `s`, `b` and `aij` have room for a block behind their end; n >= 4.
[[gnu::target_clones("avx2", "default")]] void fill_derivatives(const DerivativeFactors& factors,
                                                                std::size_t n, const double* s,
                                                                const double* b, const double* aij,
                                                                double* out) {
    const DerivativeFactors f = factors;
    double* const last_block = out + packed(n, 0) - LANES;
    for (std::size_t i = 0; i < n; ++i) {
        const double p_i = f.e1 * s[i] + f.e0 + f.e2 * b[i];
        const double q_i = f.q_s * s[i] + f.e1 + f.e4 * b[i];
        const double w_i = f.e4 * s[i] + f.e2 + f.w_b * b[i];
        for (std::size_t j = 0;; j += LANES) {
            if (out + j > last_block) j = static_cast<std::size_t>(last_block - out);
            *lanes(out + j) =
                f.t * *lanes(aij + j) + q_i * *lanes(s + j) + p_i + w_i * *lanes(b + j);
            if (j + LANES > i) break;
        }
        aij += i + 1;
        out += i + 1;
    }
}

void fill_small_derivatives(const DerivativeFactors& f, std::size_t n, const double* s,
                            const double* b, const double* aij, double* out) {
    for (std::size_t i = 0; i < n; ++i) {
        const double p_i = f.e1 * s[i] + f.e0 + f.e2 * b[i];
        const double q_i = f.q_s * s[i] + f.e1 + f.e4 * b[i];
        const double w_i = f.e4 * s[i] + f.e2 + f.w_b * b[i];
        for (std::size_t j = 0; j <= i; ++j) *out++ = f.t * *aij++ + q_i * s[j] + p_i + w_i * b[j];
    }
}

/// ln(zp1/zp2) and ln z, side by side.
struct Logarithms {
    double ratio = 0.0, z = 0.0;
};

[[gnu::always_inline]] inline Logarithms logarithms(double zp1, double zp2, double z) {
    // A root at the smallest pressures can be below the range of the function.
    if (!(z >= std::numeric_limits<double>::min())) return {std::log(zp1 / zp2), std::log(z)};
    const Lanes x = {zp1 / zp2, z, 1.0, 1.0};
    Lanes ln;
    log_lanes(&x, &ln);
    return {ln[0], ln[1]};
}

/// Keeps zp1, zp2 and L in the record.
[[gnu::target_clones("avx2", "default")]] void fill_ln_phi(A_2P_EOS::C_Parms& p, double p1,
                                                           double p2, double* out) {
    const A_2P_EOS::T_Parms& t = p.temperature();
    const double z = p.z_sel;
    p.zp1 = z + p1;
    p.zp2 = z + p2;
    const Logarithms ln = logarithms(p.zp1, p.zp2, z);
    const double width = p2 - p1;
    // Without pressure, or without covolume, the attraction's term vanishes.
    p.L = width > 0.0 ? p.P * ln.ratio / width : 0.0;
    const double two_L = 2.0 * p.L;
    const double b_factor = p.b > 0.0 ? (z - 1.0 - p.a * p.L) / p.b : 0.0;
    const double* const s = p.s.data();
    const double* const b = t.bi;
    const std::size_t n = t.n;
    if (n < LANES) {
        for (std::size_t i = 0; i < n; ++i) out[i] = two_L * s[i] - ln.z + b_factor * b[i];
        return;
    }
    for (std::size_t i = 0;; i = std::min(i + LANES, n - LANES)) {
        *lanes(out + i) = two_L * *lanes(s + i) - ln.z + b_factor * *lanes(b + i);
        if (i + LANES >= n) return;
    }
}

}  // namespace

void A_2P_EOS::ln_phi(EOS_C_Parms& phase, std::span<double> out) const {
    auto& p = static_cast<C_Parms&>(phase);
    assert(out.size() == p.temperature().n);
    fill_ln_phi(p, c1 * p.B, c2 * p.B, out.data());
}

void A_2P_EOS::root_energies(const EOS_C_Parms& phase, double& low, double& high) const {
    const auto& p = static_cast<const C_Parms&>(phase);
    const double p1 = c1 * p.B;
    const double p2 = c2 * p.B;
    const double width = p2 - p1;
    const auto energy = [&](double z) {
        const double attraction = width > 0.0 ? (p.A / width) * std::log((z + p1) / (z + p2)) : 0.0;
        return attraction - std::log(z) - p.A * z / ((z + p1) * (z + p2));
    };
    low = energy(p.z_low);
    high = p.z_high == p.z_low ? low : energy(p.z_high);
}

void A_2P_EOS::ln_phi_dlnp(const EOS_C_Parms& phase, std::span<double> out, bool subtract) const {
    const auto& p = static_cast<const C_Parms&>(phase);
    const T_Parms& t = p.temperature();
    assert(out.size() == t.n);
    const double E = p.z_sel * p.dzi_sel * p.P;
    const double u = c1 / p.zp1 + c2 / p.zp2;
    const double s_factor = -2.0 * E;
    const double constant = p.A * p.dzi_sel * (1.0 - p.B * u);
    const double b_factor = p.A * u * E;
    for (std::size_t i = 0; i < t.n; ++i) {
        const double v = s_factor * p.s[i] + constant + b_factor * t.bi[i];
        out[i] = subtract ? out[i] - v : v;
    }
}

void A_2P_EOS::ln_phi_dn(const EOS_C_Parms& phase, std::span<double> out) const {
    const auto& p = static_cast<const C_Parms&>(phase);
    const T_Parms& parms = p.temperature();
    const std::size_t n = parms.n;
    assert(out.size() == n * (n + 1) / 2);
    const double z = p.z_sel;
    const double D = p.dzi_sel;
    const double ib = p.b > 0.0 ? 1.0 / p.b : 0.0;
    const double r1 = 1.0 / p.zp1;
    const double r2 = 1.0 / p.zp2;
    const double G = p.A * D;
    const double t = 2.0 * p.L;
    const double e0 = -G * z * (r1 + r2);
    const double e1 = 2.0 * D * p.P;
    const double e2 = -G * (c1 * r1 + c2 * r2) * p.P;
    const double e3 = -2.0 * e1;
    const double e4 = (-t + (1.0 - 2.0 * z) * e1) * ib;
    const double e5 = 4.0 * G * z;
    const double q_s = e3 * z * r1 * r2 * p.P;
    const double w_b = ib * ib * (e5 + p.a * t + e0);
    const auto fill = n < LANES ? fill_small_derivatives : fill_derivatives;
    fill({e0, e1, e2, e4, q_s, w_b, t}, n, p.s.data(), parms.bi, parms.aij, out.data());
}

void A_2P_EOS::add_volume_term(const EOS_C_Parms& phase, std::span<double> array,
                               double factor) const {
    const auto& p = static_cast<const C_Parms&>(phase);
    const T_Parms& t = p.temperature();
    assert(array.size() == t.n);
    for (std::size_t i = 0; i < t.n; ++i) array[i] += (t.bi[i] - t.ci[i]) * factor * p.P;
}

}  // namespace kestrane
