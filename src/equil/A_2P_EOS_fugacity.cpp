// Fugacity coefficients of the two-parameter equations and their derivatives.
//
// With q = ln((z + p1)/(z + p2))/(p2 - p1) the residual Helmholtz energy over R T is
// -ln(1 - b/V) + A q per mole. ln phi is counted without the volume's own b_i P, which is the same
// in all phases at one pressure.

#include <cassert>
#include <cmath>

#include "equil/A_2P_EOS.h"

namespace kestrane {

namespace {

struct DerivativeFactors {
    double e0, e1, e2, e4, q_s, w_b, t;
};

/// d ln phi_i / d n_j, which is bilinear in s and b but for the term of a_ij.
[[gnu::target_clones("avx2", "default")]] void fill_derivatives(const DerivativeFactors& f,
                                                                std::size_t n, const double* s,
                                                                const double* b, const double* aij,
                                                                double* out) {
    for (std::size_t i = 0; i < n; ++i) {
        const double p_i = f.e1 * s[i] + f.e0 + f.e2 * b[i];
        const double q_i = f.q_s * s[i] + f.e1 + f.e4 * b[i];
        const double w_i = f.e4 * s[i] + f.e2 + f.w_b * b[i];
        for (std::size_t j = 0; j <= i; ++j) out[j] = f.t * aij[j] + q_i * s[j] + p_i + w_i * b[j];
        aij += i + 1;
        out += i + 1;
    }
}

}  // namespace

void A_2P_EOS::ln_phi(EOS_C_Parms& phase, std::span<double> out) const {
    auto& p = static_cast<C_Parms&>(phase);
    const T_Parms& t = p.temperature();
    assert(out.size() == t.n);
    const double p1 = c1 * p.B;
    const double p2 = c2 * p.B;
    const double z = p.z_sel;
    p.zp1 = z + p1;
    p.zp2 = z + p2;
    const double width = p2 - p1;
    // Without pressure, or without covolume, the attraction's term vanishes.
    p.L = width > 0.0 ? p.P * std::log(p.zp1 / p.zp2) / width : 0.0;
    const double two_L = 2.0 * p.L;
    const double ln_z = std::log(z);
    const double b_factor = p.b > 0.0 ? (z - 1.0 - p.a * p.L) / p.b : 0.0;
    for (std::size_t i = 0; i < t.n; ++i) out[i] = two_L * p.s[i] - ln_z + b_factor * t.bi[i];
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
    fill_derivatives({e0, e1, e2, e4, q_s, w_b, t}, n, p.s.data(), parms.bi, parms.aij, out.data());
}

void A_2P_EOS::add_volume_term(const EOS_C_Parms& phase, std::span<double> array,
                               double factor) const {
    const auto& p = static_cast<const C_Parms&>(phase);
    const T_Parms& t = p.temperature();
    assert(array.size() == t.n);
    for (std::size_t i = 0; i < t.n; ++i) array[i] += (t.bi[i] - t.ci[i]) * factor * p.P;
}

}  // namespace kestrane
