// Properties of a pseudo-component that keeps the mixture parameters of its constituents.

#include <cmath>
#include <limits>

#include "equil/A_2P_EOS.h"
#include "fluid/Charzation.h"

namespace kestrane {

namespace {

constexpr int SLOPE_ROUNDS = 300;
constexpr double LARGEST = std::numeric_limits<double>::max();

/// Mixture sums of one target over its constituents.
struct Blend {
    double a = 0.0, b = 0.0, c = 0.0;  ///< 1/Pa; a stays 0 for a target that is not derived
    double mw = 0.0, a_mod = 0.0, b_mod = 0.0;
    double slope = 0.0;     ///< d ln sqrt(a)/d ln T
    std::vector<double> s;  ///< sum_k a_jk w_k over the source components
};

bool has_critical(const Compnent& component) {
    return component.tc > 0.0 && component.pc > 0.0;
}

/// False if a constituent has no critical point, or weights do not fit the source.
bool blendable(const Charzation& source, std::span<const double> w) {
    if (w.empty() || w.size() > source.size()) return false;
    for (std::size_t j = 0; j < w.size(); ++j)
        if (w[j] > 0.0 && !has_critical(source.comps[j])) return false;
    return true;
}

/// Sum over the constituents of a_jk w_k.
double row_sum(const A_2P_EOS::T_Parms& parms, std::size_t j, std::span<const double> w) {
    const double* row = parms.rows + j * parms.stride;
    double sum = 0.0;
    for (std::size_t k = 0; k < w.size(); ++k)
        if (w[k] > 0.0) sum += row[k] * w[k];
    return sum;
}

Blend blend(const A_2P_EOS& eos, const A_2P_EOS::T_Parms& parms, std::span<const double> w) {
    const Charzation& source = *parms.charz;
    Blend mix;
    mix.s.resize(parms.n);
    for (std::size_t j = 0; j < parms.n; ++j) mix.s[j] = row_sum(parms, j, w);
    for (std::size_t j = 0; j < w.size(); ++j) {
        if (!(w[j] > 0.0)) continue;
        const Compnent& component = source.comps[j];
        mix.a_mod += (component.a_mod > 0.0 ? component.a_mod : 1.0) * w[j];
        mix.b_mod += (component.b_mod > 0.0 ? component.b_mod : 1.0) * w[j];
        mix.mw += component.mw * w[j];
        mix.a += w[j] * mix.s[j];
        mix.b += parms.bi[j] * w[j];
        mix.c += parms.ci[j] * w[j];
        double root, slope;
        eos.alpha_root(parms.T / component.tc, component.acentric, root, slope);
        if (root > 0.0) mix.slope += w[j] * mix.s[j] * (slope / root);
    }
    mix.slope /= mix.a;
    return mix;
}

/// A modifier that the target has, itself or by its omega, is kept; else it takes the blend's.
void settle_modifier(double& modifier, double& omega, double blended, double universal) {
    if (!(modifier > 0.0)) modifier = omega > 0.0 ? omega / universal : blended;
    omega = modifier * universal;
}

void fill(double& property, double value) {
    if (property == UNSET) property = value;
}

/// Fills what is unset of a target so that its a and b at T are the blend's.
void fill_target(const A_2P_EOS& eos, const Blend& mix, double T, Compnent& target) {
    settle_modifier(target.a_mod, target.omega_a, mix.a_mod, eos.omega_a);
    settle_modifier(target.b_mod, target.omega_b, mix.b_mod, eos.omega_b);
    const double x = std::sqrt(target.omega_b * mix.a / (target.omega_a * mix.b));
    double omega, scale;
    eos.omega_from_slope(x, mix.slope, omega, scale);
    if (scale != 0.0) scale = 1.0 / scale;
    fill(target.mw, mix.mw);
    fill(target.tc, scale * T);
    fill(target.pc, scale * target.omega_b / mix.b);
    // A given boiling point or gravity determines these instead, by the later fit.
    if (target.tb == UNSET) fill(target.acentric, omega);
    if (target.sg == UNSET) fill(target.vol_shift, mix.c / mix.b);
}

bool lacks_bip(const Charzation& charz, std::size_t i, std::size_t j) {
    return !charz.has_bips() || charz.bip(i, j) == UNSET;
}

/// Stores 1 - a_pair/sqrt(a_i a_j) for a pair that has no value of its own.
void store_bip(Charzation& charz, std::size_t i, std::size_t j, double a_pair, double a_i,
               double a_j) {
    const double k = 1.0 - a_pair / std::sqrt(a_i * a_j);
    if (!(std::fabs(k) > NUM_EPS) || !lacks_bip(charz, i, j)) return;
    charz.make_bips();
    charz.set_bip(k, static_cast<int>(i), static_cast<int>(j));
}

/// Interaction parameters of target t with the targets blended before it, and with those that are
/// source components themselves.
void fill_bips(const A_2P_EOS::T_Parms& parms, Charzation& target, std::size_t t,
               std::span<const Blend> blends, std::span<const std::vector<double>> weights,
               std::span<const int> index_map) {
    const Charzation& source = *parms.charz;
    const Blend& mix = blends[t];
    for (std::size_t u = 0; u < t; ++u) {
        if (!(blends[u].a > 0.0)) continue;
        double a_pair = 0.0;
        for (std::size_t j = 0; j < weights[u].size(); ++j)
            if (weights[u][j] > 0.0) a_pair += weights[u][j] * mix.s[j];
        store_bip(target, t, u, a_pair, mix.a, blends[u].a);
    }
    for (std::size_t u = 0; u < std::min(index_map.size(), target.size()); ++u) {
        if (index_map[u] < 0 || u == t) continue;
        const auto m = static_cast<std::size_t>(index_map[u]);
        if (m >= source.size() || !has_critical(source.comps[m])) continue;
        store_bip(target, t, u, mix.s[m], mix.a, parms.aij[packed(m, m)]);
    }
}

}  // namespace

double A_2P_EOS::omega_of_m(double M) const {
    double upper = omega_limit();
    if (upper < LARGEST && M >= m_of_omega(upper)) return upper;
    double lower = -LARGEST;
    double omega = 0.49;
    for (int round = 0; round < SLOPE_ROUNDS; ++round) {
        const double residual = m_of_omega(omega) - M;
        const double slope = dm_domega(omega);
        if (std::fabs(residual) <= std::fabs(slope * omega * NUM_EPS)) break;
        (residual > 0.0 ? upper : lower) = omega;
        omega -= residual / std::max(slope, NUM_EPS);
        if (omega > lower && omega < upper) continue;
        omega = 0.5 * lower + 0.5 * upper;
        if (upper - lower <= std::fabs(omega) * NUM_EPS) break;
    }
    return omega;
}

// Tr follows from the m that the acentric factor found has. Where no acentric factor has the m
// asked for (beyond the limit, or within the jump of the later Peng-Robinson form) alpha/Tr is kept
// all the same, and only its slope is not.
void A_2P_EOS::omega_from_slope(double x, double dlog, double& omega, double& scale) const {
    omega = omega_of_m(-2.0 * x * dlog);
    const double m = m_of_omega(omega);
    scale = (m + 1.0) * (m + x) > 0.0 ? std::pow((m + 1.0) / (m + x), 2.0) : 0.0;
}

void A_2P_EOS::derive_pseudo_component(const Charzation& source, Charzation& target, double T,
                                       std::span<const std::vector<double>> weights,
                                       std::span<const int> index_map) const {
    const PtrTo<EOS_T_Parms> record = make_T_Parms(source, T);
    const auto& parms = static_cast<const T_Parms&>(*record);
    const std::size_t count = std::min(weights.size(), target.size());
    std::vector<Blend> blends(count);
    for (std::size_t t = 0; t < count; ++t) {
        if (!blendable(source, weights[t])) continue;
        Blend mix = blend(*this, parms, weights[t]);
        if (!(mix.a > 0.0) || !(mix.b > 0.0)) continue;
        fill_target(*this, mix, T, target.comps[t]);
        blends[t] = std::move(mix);
        if (source.has_bips()) fill_bips(parms, target, t, blends, weights, index_map);
    }
}

}  // namespace kestrane
