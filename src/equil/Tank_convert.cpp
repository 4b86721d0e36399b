#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <optional>
#include <vector>

#include "equil/Tank.h"
#include "fluid/GammaSplit.h"
#include "fluid/GammaState.h"
#include "fluid/Lump.h"
#include "frame/Errors.h"

namespace kestrane {

namespace {

/// Amounts in the source, and what is conserved of them.
struct Source {
    const Charzation& charz;
    std::vector<double> moles;   ///< kmol, one for each component of `charz`
    std::vector<double> masses;  ///< kg
    bool by_mass;

    std::span<const double> amounts() const { return by_mass ? masses : moles; }
};

/// The values, cut or padded with 0 to that many: a characterization may have changed its size.
std::vector<double> sized(std::span<const double> values, std::size_t size) {
    std::vector<double> result(values.begin(), values.end());
    result.resize(size, 0.0);
    return result;
}

/// Whether a source component is carried over by its name; a plus fraction that is split is not.
using Carried = std::vector<bool>;

double lumped(const Lump& lump, std::span<const double> amounts, const Carried& carried) {
    double sum = 0.0;
    for (std::size_t j = 0; j < amounts.size(); ++j)
        if (carried[j]) sum += lump.fractions[j] * amounts[j];
    return sum;
}

/// Amounts of target components that have the name of a source component, or of a lump of them. A
/// lump of the target's base is a sum of lumps of the base's base where the source is that one.
class AmountsByName {
public:
    AmountsByName(const Source& source, const Carried& carried, const Charzation& target)
        : source_(source), carried_(carried), target_(target) {}

    /// 0 for a name that the source does not have.
    double operator()(const std::string& name) { return amount(name).value_or(0.0); }

private:
    std::optional<double> amount(const std::string& name) {
        const int known = source_.charz.find_component(name);
        if (known >= 0 && carried_[static_cast<std::size_t>(known)])
            return source_.amounts()[static_cast<std::size_t>(known)];
        const Lump* lump = target_.find_lump(name);
        if (lump && lump->fits(source_.charz)) return lumped(*lump, source_.amounts(), carried_);
        if (known >= 0) return 0.0;  // the part of a plus fraction that is split
        return lump ? composed(*lump) : std::nullopt;
    }

    /// Of a lump of other components, by their names. All of them must be known: factors of another
    /// characterization's components mean nothing by themselves.
    std::optional<double> composed(const Lump& lump) {
        const auto [place, is_new] = composed_.emplace(&lump, std::nullopt);
        if (!is_new || lump.components.size() != lump.fractions.size()) return place->second;
        double sum = 0.0;
        for (std::size_t j = 0; j < lump.fractions.size(); ++j) {
            if (lump.fractions[j] == 0.0) continue;
            const std::optional<double> part = amount(lump.components[j].text());
            if (!part) return std::nullopt;
            sum += lump.fractions[j] * *part;
        }
        return place->second = sum;
    }

    const Source& source_;
    const Carried& carried_;
    const Charzation& target_;
    /// Of lumps composed before; none while they are, so that no lump is a part of itself.
    std::map<const Lump*, std::optional<double>> composed_;
};

/// Divides what the plus fraction of the source holds among the target's cuts.
void split_plus(const Source& source, const CutOrder& from, const Charzation& target,
                const CutOrder& to, std::span<double> result) {
    double moles = 0.0;
    double mass = 0.0;
    for (const std::size_t j : from.cuts()) {
        moles += source.moles[j];
        mass += source.masses[j];
    }
    if (!(moles > 0.0)) return;
    GammaCuts cuts = split_plus_fraction(target, to, mass / moles);
    if (source.by_mass)
        for (std::size_t k = 0; k < cuts.fractions.size(); ++k) cuts.fractions[k] *= cuts.mws[k];
    const double whole = std::accumulate(cuts.fractions.begin(), cuts.fractions.end(), 0.0);
    if (!(whole > 0.0)) throw UnconvertedTank{"an empty Gamma distribution"};
    const double scale = (source.by_mass ? mass : moles) / whole;
    for (std::size_t k = 0; k < cuts.fractions.size(); ++k)
        result[to.cuts()[k]] = scale * cuts.fractions[k];
}

/// Masses can only be carried over between components that have molecular weights.
void require_weights(const Charzation& charz) {
    for (const Compnent& component : charz.comps)
        if (!(component.mw > 0.0))
            throw UnconvertedTank{"the nonphysical molecular weight of component \"" +
                                  component.name.shown() + "\""};
}

std::vector<double> converted(const Source& source, const Charzation& target) {
    if (source.by_mass) {
        require_weights(source.charz);
        require_weights(target);
    }
    std::vector<double> result(target.size(), 0.0);
    Carried carried(source.moles.size(), true);
    std::vector<bool> filled(target.size(), false);
    const GammaState& gamma = gamma_state();
    const int first_from =
        gamma.split_from.empty() ? -1 : source.charz.find_component(gamma.split_from);
    const int first_to = gamma.split_to.empty() ? -1 : target.find_component(gamma.split_to);
    if (first_from >= 0 && first_to >= 0) {
        const CutOrder from = order_cuts(source.charz, first_from);
        const CutOrder to = order_cuts(target, first_to);
        try {
            split_plus(source, from, target, to, result);
        } catch (const InvalidGamma& problem) {
            throw UnconvertedTank{"invalid Gamma parameters\n" + problem.parameters};
        }
        for (const std::size_t j : from.cuts()) carried[j] = false;
        for (const std::size_t k : to.cuts()) filled[k] = true;
    }
    AmountsByName amount(source, carried, target);
    for (std::size_t i = 0; i < target.size(); ++i)
        if (!filled[i]) result[i] = amount(target.comps[i].name.text());
    return result;
}

}  // namespace

void Tank::convert(Charzation* target) {
    // A characterization that grew under the tank leaves amounts that nobody can place.
    if (!charz_ || !target || (target == charz_ && target->size() != n_)) {
        rebind(target);
        return;
    }
    if (target == charz_) return;
    const bool by_mass = conserved_basis() == Conserved::Mass;
    const std::vector<double> amounts = converted(
        {*charz_, sized(moles(), charz_->size()), sized(masses(), charz_->size()), by_mass},
        *target);
    rebind(target);
    if (by_mass)
        assign_masses(amounts, 1.0);
    else
        assign_moles(amounts, 1.0);
}

}  // namespace kestrane
