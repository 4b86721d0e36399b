#include "equil/A_2P_EOS.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

#include "equil/Lanes.h"
#include "fluid/Charzation.h"
#include "input/Keyword.h"

namespace kestrane {

// Components

void Cubic_EOS::check_component(const Compnent& component, ErrorList& errors) const {
    const auto require = [&](bool legal, const char* what) {
        if (legal) return;
        errors.Add("Component \"" + component.name.text() + "\" does not have a legal " + what,
                   FATAL_ERROR);
    };
    require(component.mw > 0.0, "molecular weight");
    require(component.tc > 0.0, "critical temperature");
    require(component.pc > 0.0, "critical pressure");
    require(component.vol_shift < 1.0, "volume translation parameter");
    require(component.a_mod > 0.0, "A-parameter modifier");
    require(component.b_mod > 0.0, "B-parameter modifier");
}

// Constants

namespace {

/// z/B at the critical point: with p = c1 c2 the critical isotherm gives the cubic's triple root.
double critical_y(double first, double second) {
    const double p = first * second;
    const double q = std::cbrt(p * std::max(first, second));
    return p / q + q;
}

double critical_a(double first, double second, double omega_b) {
    const double d = second - first;
    const double s = first + second;
    return (((d * d + first * second) * omega_b + s) * omega_b + 1.0) / 3.0;
}

}  // namespace

A_2P_EOS::A_2P_EOS(double first, double second)
    : c1(first),
      c2(second),
      y_crit(critical_y(first, second)),
      omega_b(1.0 / (3.0 * y_crit + (first + second))),
      omega_a(critical_a(first, second, omega_b)) {}

double A_2P_EOS::parameter(const std::string& which) const {
    if (KeyCompare(which.c_str(), "a") == 0) return omega_a;
    if (KeyCompare(which.c_str(), "b") == 0) return omega_b;
    return UNSET;
}

void A_2P_EOS::fill_T_Parms(EOS_T_Parms&) const {}
double A_2P_EOS::m_of_omega(double) const {
    return 1.0;
}
double A_2P_EOS::dm_domega(double) const {
    return 0.0;
}
double A_2P_EOS::omega_limit() const {
    return std::numeric_limits<double>::max();
}

void A_2P_EOS::alpha_root(double Tr, double omega, double& root, double& slope) const {
    const double m = m_of_omega(omega);
    const double t = m * std::sqrt(Tr);
    root = m + 1.0 - t;
    slope = -0.5 * t;
    if (!(root > 0.0)) root = slope = 0.0;
}

// Temperature records

A_2P_EOS::T_Parms::T_Parms(const Charzation& characterization, double temperature)
    : n(characterization.size()), stride((n + BLOCK - 1) / BLOCK * BLOCK) {
    charz = &characterization;
    T = temperature;
    inv_T = 1.0 / temperature;
    const std::size_t triangle = n * (n + 1) / 2;
    // Work by whole blocks reads up to a block behind the end of an array.
    store_.assign(triangle + 2 * n + n * stride + BLOCK, 0.0);
    aij = store_.data();
    bi = aij + triangle;
    ci = bi + n;
    rows = ci + n;
}

void A_2P_EOS::T_Parms::mirror() {
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j <= i; ++j)
            rows[i * stride + j] = rows[j * stride + i] = aij[packed(i, j)];
    }
}

PtrTo<EOS_T_Parms> A_2P_EOS::make_T_Parms(const Charzation& charz, double T) const {
    DynPtr<T_Parms> record(new T_Parms(charz, T));
    fill_T_Parms(*record);
    record->mirror();
    return record;
}

void A_2P_EOS::fill_covolumes(T_Parms& record) const {
    for (std::size_t i = 0; i < record.n; ++i) {
        const Compnent& component = record.charz->comps[i];
        const double tr_inv = component.tc * record.inv_T;
        record.bi[i] = omega_b * component.b_mod * tr_inv / component.pc;
    }
}

void A_2P_EOS::fill_soave(T_Parms& record) const {
    fill_covolumes(record);
    for (std::size_t i = 0; i < record.n; ++i) {
        const Compnent& component = record.charz->comps[i];
        const double tr_inv = component.tc * record.inv_T;
        // Far above Tc the straight line falls below zero; the attraction is gone there.
        const double root_alpha = std::max(
            0.0, 1.0 + m_of_omega(component.acentric) * (1.0 - std::sqrt(record.T / component.tc)));
        record.ci[i] =
            std::sqrt(omega_a * component.a_mod * (tr_inv / component.pc) * tr_inv) * root_alpha;
    }
    fill_pairs(record);
}

void A_2P_EOS::fill_pairs(T_Parms& record) {
    const Charzation& charz = *record.charz;
    const double* root_a = record.ci;
    const bool has_bips = charz.has_bips();
    for (std::size_t i = 0; i < record.n; ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
            // A pair that has no value, before completion, counts as 0.
            const double k = has_bips && charz.bip(i, j) != UNSET ? charz.bip(i, j) : 0.0;
            record.aij[packed(i, j)] = (1.0 - k) * root_a[i] * root_a[j];
        }
    }
    for (std::size_t i = 0; i < record.n; ++i) {
        const double shift = charz.comps[i].vol_shift;
        record.ci[i] = shift == UNSET ? 0.0 : shift * record.bi[i];
    }
}

// Phase records

A_2P_EOS::C_Parms::C_Parms(PtrTo<const EOS_T_Parms> record, ErrorList* error_list) {
    errors = error_list;
    bind(std::move(record));
}

void A_2P_EOS::C_Parms::bind(PtrTo<const EOS_T_Parms> record) {
    t_parms.swap(record);
    // Roots warm-start the cubic within a calculation. A record taken up again starts cold, so
    // that the same calculation gives the same digits.
    z_low = z_high = z_sel = 1.0;
    dzi_low = dzi_high = dzi_sel = 0.0;
    if (!t_parms) return;
    charz = t_parms->charz;
    s.resize(temperature().stride, 0.0);
}

PtrTo<EOS_C_Parms> A_2P_EOS::make_C_Parms(PtrTo<const EOS_T_Parms> t_parms,
                                          ErrorList* errors) const {
    if (!t_parms) return {};
    return make_dyn<C_Parms>(std::move(t_parms), errors);
}

void A_2P_EOS::set_T_Parms(EOS_C_Parms& phase, PtrTo<const EOS_T_Parms> t_parms) const {
    static_cast<C_Parms&>(phase).bind(std::move(t_parms));
}

void A_2P_EOS::set_pressure(EOS_C_Parms& phase, double P) const {
    static_cast<C_Parms&>(phase).P = P;
}

namespace {

struct MixtureSums {
    double a = 0.0, b = 0.0, c = 0.0;
};

/// s = a x and the sums of x s, x b and x c. Each s_i is the sum over j = 0, 1, .. of a_ij x_j in
/// that order: because the matrix is symmetric, row j holds the a_ij of neighbouring i side by
/// side, so that a block of sums is carried along together in registers. `x` has room for LANES.
[[gnu::target_clones("avx2", "default")]] void mixture_sums(const A_2P_EOS::T_Parms& t,
                                                            const double* x, double* s,
                                                            MixtureSums& sums) {
    const std::size_t n = t.n, stride = t.stride;
    const double* const end = x + n;
    for (std::size_t i = 0; i < stride; i += A_2P_EOS::T_Parms::BLOCK) {
        Lanes low = {}, high = {};
        const double* row = t.rows + i;
        for (const double* x_j = x; x_j != end; ++x_j) {
            low += *lanes(row) * *x_j;
            high += *lanes(row + LANES) * *x_j;
            row += stride;
        }
        *lanes(s + i) = low;
        *lanes(s + i + LANES) = high;
    }
    const double* const b = t.bi;
    const double* const c = t.ci;
    Lanes sum_a = {}, sum_b = {}, sum_c = {};
    std::size_t i = 0;
    for (; i + LANES <= n; i += LANES) {
        sum_a += *lanes(x + i) * *lanes(s + i);
        sum_b += *lanes(x + i) * *lanes(b + i);
        sum_c += *lanes(x + i) * *lanes(c + i);
    }
    if (i < n) {
        const std::size_t tail = n < LANES ? 0 : n - LANES;
        const LaneBits bits = (LaneBits)*lanes(x + tail) & *tail_mask(n < LANES ? LANES : n - i);
        const Lanes x_tail = (Lanes)bits;
        sum_a += x_tail * *lanes(s + tail);
        sum_b += x_tail * *lanes(b + tail);
        sum_c += x_tail * *lanes(c + tail);
    }
    sums = {sum_of(&sum_a), sum_of(&sum_b), sum_of(&sum_c)};
}

}  // namespace

void A_2P_EOS::set_composition(EOS_C_Parms& phase, std::span<const double> x) const {
    auto& p = static_cast<C_Parms&>(phase);
    const T_Parms& t = p.temperature();
    assert(x.size() == t.n);
    MixtureSums sums;
    if (t.n < LANES) {
        double block[LANES] = {};
        std::ranges::copy(x, block);
        mixture_sums(t, block, p.s.data(), sums);
    } else {
        mixture_sums(t, x.data(), p.s.data(), sums);
    }
    p.a = sums.a;
    p.b = sums.b;
    p.c = sums.c;
}

}  // namespace kestrane
