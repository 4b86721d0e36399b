// The lumped fractions of a characterization, and the components built of them.

#include <algorithm>
#include <cassert>
#include <cmath>

#include "equil/EOS.h"
#include "fluid/Charz_User.h"
#include "input/Units.h"

namespace kestrane {

namespace {

/// The positive and the negative part of a sum.
struct SumParts {
    double positive = 0.0, negative = 0.0;

    explicit SumParts(std::span<const double> terms) {
        for (const double term : terms) (term > 0.0 ? positive : negative) += term;
    }
    double sum() const { return positive + negative; }
    /// What the terms are divided by, so that those of the sum's own sign add up to 1.
    double divisor() const { return sum() > 0.0 ? positive : negative; }
};

/// Weights of the components in a lump with factors f, in a fluid of composition z. Where the
/// amounts of the lump cancel the factors alone decide; where these cancel too it has no weights.
std::vector<double> weights_in_fluid(std::span<const double> z, std::span<const double> f) {
    assert(z.size() == f.size());
    std::vector<double> weights(f.begin(), f.end());
    for (std::size_t k = 0; k < weights.size(); ++k) weights[k] *= z[k];
    SumParts parts(weights);
    if (parts.sum() == 0.0) {
        weights.assign(f.begin(), f.end());
        parts = SumParts(f);
    }
    if (parts.sum() == 0.0) return {};
    for (double& weight : weights) weight /= parts.divisor();
    return weights;
}

/// The base with the parameters of its components worked out for another equation. Multipliers of
/// the equation's constants stay; a translation belongs to the equation it was fitted with.
Charzation under_equation(const Charzation& base, const EOS& eos) {
    Charzation other(base);
    for (Compnent& component : other.comps) {
        component.omega_a = component.omega_b = UNSET;
        component.set_eos_constants(eos);
        component.vol_shift = 0.0;
    }
    return other;
}

/// Mean interaction parameter of a lump's constituents with base component b.
double mean_bip(const Charzation& base, std::span<const double> weights, std::size_t b) {
    double mean = 0.0;
    for (std::size_t c = 0; c < weights.size(); ++c)
        if (weights[c] > 0.0) mean += weights[c] * base.bip(c, b);
    return mean;
}

/// Stores a mean that is more than a rounding for a pair without a value of its own.
void fill_bip(Charzation& charz, std::size_t i, std::size_t j, double mean) {
    if (charz.has_bips() && charz.bip(i, j) != UNSET) return;
    if (std::abs(mean) > NUM_EPS) charz.set_bip(mean, static_cast<int>(i), static_cast<int>(j));
}

}  // namespace

bool Lump::fits(const Charzation& charz) const {
    if (fractions.size() != charz.size()) return false;
    if (components.empty()) return true;
    return std::equal(components.begin(), components.end(), charz.comps.begin(), charz.comps.end(),
                      [](const UserWord& name_of, const Compnent& component) {
                          return name_of == component.name;
                      });
}

const Lump* Charzation::find_lump(const std::string& word) const {
    const UserWord wanted(word);
    const auto at = std::find_if(lumps.begin(), lumps.end(),
                                 [&wanted](const auto& lump) { return lump->name == wanted; });
    return at == lumps.end() ? nullptr : at->get();
}

void Charzation::add_lump(const Lump& lump) {
    const auto at = std::find_if(lumps.begin(), lumps.end(),
                                 [&lump](const auto& known) { return known->name == lump.name; });
    PtrTo<const Lump> added = make_dyn<const Lump>(lump);
    if (at != lumps.end())
        *at = added;
    else
        lumps.push_back(added);
}

void Charzation::take_lumps(const Charzation& base) {
    for (const PtrTo<const Lump>& lump : base.lumps)
        if (!find_lump(lump->name.text())) add_lump(*lump);
}

std::vector<std::vector<double>> Charzation::lump_weights(const Charz_User& user,
                                                          const Charzation& base,
                                                          std::span<const int> map) const {
    std::vector<std::vector<double>> weights(size());
    std::vector<double> z;
    for (std::size_t i = 0; i < size(); ++i) {
        const Lump* lump = map[i] < 0 ? find_lump(comps[i].name.text()) : nullptr;
        if (!lump || !lump->fits(base)) continue;
        if (z.empty()) z = user.base_fractions(base);
        weights[i] = weights_in_fluid(z, lump->fractions);
    }
    return weights;
}

// What the equation of state derives keeps its mixture parameters and comes first; plain means
// fill what it left.
void Charzation::build_lumps(const Charz_User& user, const Charzation& base,
                             std::span<const int> map, bool same_eos) {
    const std::vector<std::vector<double>> weights = lump_weights(user, base, map);
    if (std::all_of(weights.begin(), weights.end(), [](const auto& w) { return w.empty(); }))
        return;
    double T = user.base_temperature();
    if (!(T > 0.0)) T = standard_conditions().temperature.value;

    if (same_eos) {
        eos().derive_pseudo_component(base, *this, T, weights, map);
    } else {
        std::vector<double> typed;
        for (const Compnent& component : comps) typed.push_back(component.vol_shift);
        eos().derive_pseudo_component(under_equation(base, eos()), *this, T, weights, map);
        for (std::size_t i = 0; i < size(); ++i) comps[i].vol_shift = typed[i];
    }
    for (std::size_t i = 0; i < size(); ++i)
        if (!weights[i].empty()) comps[i].mix_from(base, weights[i]);
    if (base.has_bips()) fill_lumped_bips(base, weights, map);
    show_lumped_acentric(weights);
}

void Charzation::fill_lumped_bips(const Charzation& base,
                                  std::span<const std::vector<double>> weights,
                                  std::span<const int> map) {
    for (std::size_t a = 0; a < size(); ++a) {
        if (weights[a].empty()) continue;
        std::vector<double> v(base.size());
        for (std::size_t b = 0; b < v.size(); ++b) v[b] = mean_bip(base, weights[a], b);
        for (std::size_t e = 0; e < a; ++e) {
            if (weights[e].empty()) continue;
            double mean = 0.0;
            for (std::size_t b = 0; b < v.size(); ++b)
                if (weights[e][b] > 0.0) mean += weights[e][b] * v[b];
            fill_bip(*this, a, e, mean);
        }
        for (std::size_t c = 0; c < size(); ++c)
            if (map[c] >= 0) fill_bip(*this, a, c, v[static_cast<std::size_t>(map[c])]);
    }
}

// Constituents that count as having the acentric factor 0, for want of a column, make a lump that
// has another if their critical temperatures differ. Without a column it would be lost with the
// lump's attraction; what had none before keeps its 0.
void Charzation::show_lumped_acentric(std::span<const std::vector<double>> weights) {
    const AnyColHead* const head = component_heads().find("AF");
    if (!head || table.ColumnIndex(*head) >= 0) return;
    bool needed = false;
    for (std::size_t i = 0; i < size(); ++i)
        if (!weights[i].empty() && comps[i].acentric != UNSET && comps[i].acentric != 0.0)
            needed = true;
    if (!needed) return;
    table.AddColumnOnce(*head, nullptr);
    for (Compnent& component : comps)
        if (component.acentric == UNSET) component.acentric = 0.0;
}

}  // namespace kestrane
