#include "fluid/GammaSplit.h"

#include <algorithm>
#include <numeric>

#include "fluid/Charzation.h"
#include "fluid/Correlations.h"
#include "fluid/GammaDis.h"
#include "fluid/GammaState.h"

namespace kestrane {

namespace {

bool has_weight(const Compnent& component) {
    return component.mw > 0.0;
}

bool has_boundary(const Compnent& component) {
    return component.lower_mw > 0.0;
}

/// Components whose lower boundary is needed but not known: the next one behind each cut without a
/// molecular weight, and a first cut that has neither (its place among the components is unknown).
std::vector<std::string> missing_boundaries(const Charzation& charz, const CutOrder& order) {
    const auto cuts = order.cuts();
    const Compnent& first = charz.comps[cuts[0]];
    if (!has_weight(first) && !has_boundary(first)) return {first.name.shown()};
    std::vector<std::string> names;
    for (std::size_t k = 0; k + 1 < cuts.size(); ++k) {
        const Compnent& next = charz.comps[cuts[k + 1]];
        if (!has_weight(charz.comps[cuts[k]]) && !has_boundary(next))
            names.push_back(next.name.shown());
    }
    return names;
}

/// The distribution in force where no mean is known: nothing may be relative but the origin.
GammaDis absolute_distribution(ErrorList& errors) {
    const GammaValues& now = gamma_state().current;
    try {
        if (now[BOUND] <= 1.0 || now[AVERAGE] <= now[BOUND]) throw BadGamma{};
        GammaDis distribution;
        distribution.set(now[SHAPE], now[AVERAGE], now[BOUND], now[ORIGIN] * now[BOUND], errors);
        return distribution;
    } catch (const BadGamma&) {
        InvalidGamma problem;
        problem.parameters = list_gamma(now);
        throw problem;
    }
}

void take_weights(Charzation& charz, const CutOrder& order, ErrorList& errors) {
    const GammaDis distribution = absolute_distribution(errors);
    const std::vector<double> bounds = cut_boundaries(charz, order);
    std::vector<double> fractions(bounds.size()), mws(bounds.size());
    distribution.split(bounds, fractions, mws, errors);
    for (std::size_t k = 0; k < bounds.size(); ++k) {
        Compnent& component = charz.comps[order.cuts()[k]];
        if (has_weight(component)) continue;
        component.mw = mws[k];
        if (component.sg <= 0.0) sg_of_mw(component.mw, component.sg);
    }
}

/// The closing entry of a failure: which components stay without molecular weights, in lines of a
/// page's width.
std::string unable(const Charzation& charz, const CutOrder& order) {
    constexpr std::size_t WIDTH = 80;
    std::string text = "Unable to initialize MWs";
    if (!charz.name.empty()) text += " of characterization \"" + charz.name + "\"";
    text += ".";
    std::string line = "The Gamma distribution of";
    const char* joint = " ";
    for (const std::size_t i : order.cuts()) {
        if (has_weight(charz.comps[i])) continue;
        const std::string name = charz.comps[i].name.shown();
        line += joint[0];
        if (line.size() + name.size() + 2 > WIDTH) {
            text += "\n" + line;
            line = name;
        } else {
            line += (joint[1] ? " " : "") + name;
        }
        joint = ", ";
    }
    return text + "\n" + line + " could not be calculated";
}

}  // namespace

CutOrder order_cuts(const Charzation& charz, int first_component) {
    CutOrder order;
    order.index.resize(charz.size());
    std::iota(order.index.begin(), order.index.end(), std::size_t{0});
    // By insertion: the comparison is no strict weak order.
    for (std::size_t i = 1; i < order.index.size(); ++i) {
        const std::size_t moved = order.index[i];
        const Compnent& a = charz.comps[moved];
        std::size_t at = i;
        for (; at > 0; --at) {
            const Compnent& b = charz.comps[order.index[at - 1]];
            if (!lighter_cut(a.lower_mw, a.mw, b.lower_mw, b.mw)) break;
            order.index[at] = order.index[at - 1];
        }
        order.index[at] = moved;
    }
    const auto found = std::find(order.index.begin(), order.index.end(),
                                 static_cast<std::size_t>(first_component));
    order.first = static_cast<std::size_t>(found - order.index.begin());
    return order;
}

std::vector<double> cut_boundaries(const Charzation& charz, const CutOrder& order) {
    std::vector<double> bounds;
    for (std::size_t k = order.first; k < order.index.size(); ++k) {
        const Compnent& component = charz.comps[order.index[k]];
        if (has_boundary(component))
            bounds.push_back(component.lower_mw);
        else if (k == order.first || !has_weight(component))
            bounds.push_back(0.0);
        else
            bounds.push_back(0.5 * (component.mw + charz.comps[order.index[k - 1]].mw));
    }
    return bounds;
}

void fill_gamma_weights(Charzation& charz, ErrorList& errors) {
    const std::string& name = gamma_state().split_to;
    const int first = name.empty() ? -1 : charz.find_component(name);
    if (first < 0) return;
    const CutOrder order = order_cuts(charz, first);
    const auto cuts = order.cuts();
    if (std::all_of(cuts.begin(), cuts.end(),
                    [&charz](std::size_t i) { return has_weight(charz.comps[i]); }))
        return;
    const std::vector<std::string> unknown = missing_boundaries(charz, order);
    for (const std::string& component : unknown)
        errors.Add("The lower molecular weight of " + component + " was not specified",
                   FATAL_ERROR);
    try {
        if (unknown.empty()) {
            take_weights(charz, order, errors);
            return;
        }
    } catch (const InvalidGamma& problem) {
        errors.Add("The currently defined Gamma parameters were invalid\n" + problem.parameters,
                   FATAL_ERROR);
    }
    errors.Add(unable(charz, order), FATAL_ERROR);
}

GammaCuts split_plus_fraction(const Charzation& charz, const CutOrder& order, double mw) {
    const GammaValues values = absolute_gamma(gamma_state().current, mw);
    const std::vector<double> bounds = cut_boundaries(charz, order);
    GammaCuts cuts{std::vector<double>(bounds.size()), std::vector<double>(bounds.size())};
    try {
        ErrorList cautions;  // a conversion goes on with the last iterate
        GammaDis distribution;
        distribution.set(values[SHAPE], values[AVERAGE], values[BOUND], values[ORIGIN], cautions);
        distribution.split(bounds, cuts.fractions, cuts.mws, cautions);
    } catch (const BadGamma&) {
        InvalidGamma problem;
        problem.parameters = list_gamma(values);
        throw problem;
    }
    return cuts;
}

}  // namespace kestrane
