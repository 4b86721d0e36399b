#include "FluidDraw.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <numeric>
#include <sstream>

#include "Draw.h"

namespace kestrane::campaign {

namespace {

using fluids::Component;
using fluids::Fluid;

/// What a component is, for amounts and interaction parameters.
enum Family { NITROGEN, CARBON_DIOXIDE, SULFIDE, METHANE, LIGHT_ENDS, CUTS };

struct Known {
    Family family;
    Component component;
};

// Critical constants after Reid, Prausnitz, Poling, The Properties of Gases and Liquids, 4th ed.
const Known KNOWN[] = {
    {NITROGEN, {"N2", 28.013, 126.2, 33.9e5, 0.039, -0.19}},
    {CARBON_DIOXIDE, {"CO2", 44.01, 304.1, 73.8e5, 0.239, -0.08}},
    {SULFIDE, {"H2S", 34.08, 373.2, 89.4e5, 0.081, -0.13}},
    {METHANE, {"C1", 16.043, 190.4, 46.0e5, 0.011, -0.15}},
    {LIGHT_ENDS, {"C2", 30.07, 305.4, 48.8e5, 0.099, -0.10}},
    {LIGHT_ENDS, {"C3", 44.094, 369.8, 42.5e5, 0.153, -0.08}},
    {LIGHT_ENDS, {"iC4", 58.124, 408.2, 36.5e5, 0.183, -0.08}},
    {LIGHT_ENDS, {"nC4", 58.124, 425.2, 38.0e5, 0.199, -0.06}},
    {LIGHT_ENDS, {"iC5", 72.151, 460.4, 33.9e5, 0.227, -0.06}},
    {LIGHT_ENDS, {"nC5", 72.151, 469.7, 33.7e5, 0.251, -0.04}},
    {LIGHT_ENDS, {"C6", 86.178, 507.5, 30.1e5, 0.299, -0.01}},
};
constexpr std::size_t KNOWN_COUNT = std::size(KNOWN);

/// A cut of a stock-tank oil between a paraffin and an aromatic of its weight.
Component cut_of(double weight, std::size_t number, Draw& draw) {
    const double ratio = weight / 96.0, aromatic = draw.uniform(-1.0, 1.0);
    return {"H" + std::to_string(number),
            weight,
            (548.0 + 215.0 * std::log(ratio)) * (1.0 + 0.03 * aromatic),
            30e5 * std::pow(ratio, -0.68) * (1.0 + 0.1 * aromatic),
            0.28 * std::pow(ratio, 0.85) * (1.0 - 0.1 * aromatic),
            0.02 + 0.12 * (1.0 - 96.0 / weight)};
}

/// Amounts of the families before normalization, by kind.
struct Recipe {
    double nitrogen, carbon_dioxide, sulfide, methane;  ///< largest amounts
    double light_ends;                                  ///< largest amount of ethane
    double cuts;                                        ///< largest amount of the cuts together
    double heaviest;                                    ///< kg/kmol, of the last cut
};

Recipe recipe_of(FluidKind kind) {
    switch (kind) {
        case FluidKind::Light:
            return {0.1, 0.05, 0.02, 1.0, 0.2, 0.03, 200.0};
        case FluidKind::Sour:
            return {0.05, 0.3, 0.6, 0.8, 0.15, 0.3, 350.0};
        case FluidKind::CarbonDioxide:
            return {0.05, 2.0, 0.05, 0.4, 0.1, 0.6, 500.0};
        case FluidKind::NearCritical:
            return {0.02, 0.05, 0.02, 0.6, 0.12, 0.2, 350.0};
        case FluidKind::Heavy:
            return {0.01, 0.05, 0.05, 0.4, 0.06, 1.0, 800.0};
        default:
            return {0.3, 0.5, 0.3, 1.0, 0.3, 0.6, 500.0};
    }
}

/// The components of a fluid in order of the list above, cuts last.
std::vector<Known> choose_components(std::size_t n, const Recipe& recipe, Draw& draw) {
    const std::size_t most_cuts = n > KNOWN_COUNT ? n : n - 1;
    std::size_t cuts = n > KNOWN_COUNT ? n - KNOWN_COUNT : draw.below(std::min(most_cuts, 4ul) + 1);
    if (n > 14 && draw.chance(0.5)) cuts += draw.below(5);
    std::vector<std::size_t> pool(KNOWN_COUNT);
    std::iota(pool.begin(), pool.end(), 0);
    while (pool.size() > n - cuts)
        pool.erase(pool.begin() + static_cast<std::ptrdiff_t>(draw.below(pool.size())));
    std::vector<Known> chosen;
    for (const std::size_t index : pool) chosen.push_back(KNOWN[index]);
    const double heaviest = draw.uniform(130.0, recipe.heaviest);
    for (std::size_t i = 0; i < cuts; ++i) {
        const double place =
            (static_cast<double>(i) + draw.uniform(0.3, 1.0)) / static_cast<double>(cuts);
        chosen.push_back({CUTS, cut_of(96.0 * std::pow(heaviest / 96.0, place), i + 1, draw)});
    }
    return chosen;
}

double amount_of(const Known& known, const Recipe& recipe, Draw& draw) {
    const double share = draw.uniform(0.02, 1.0);
    switch (known.family) {
        case NITROGEN:
            return recipe.nitrogen * share * share;
        case CARBON_DIOXIDE:
            return recipe.carbon_dioxide * share;
        case SULFIDE:
            return recipe.sulfide * share;
        case METHANE:
            return recipe.methane * draw.uniform(0.5, 1.0);
        case LIGHT_ENDS:
            return recipe.light_ends * share * 30.0 / known.component.mw;
        default:
            return recipe.cuts * share * std::exp(-known.component.mw / recipe.heaviest);
    }
}

/// Interaction parameter of two components as published tables and regressions have them.
double ordinary_bip(const Known& one, const Known& other) {
    const Known& a = one.family <= other.family ? one : other;
    const Known& b = one.family <= other.family ? other : one;
    const double size = std::log(std::max(1.0, b.component.mw / 16.0));
    switch (a.family) {
        case NITROGEN:
            if (b.family == CARBON_DIOXIDE) return -0.02;
            return b.family == SULFIDE ? 0.13 : b.family == METHANE ? 0.025 : 0.01 + 0.033 * size;
        case CARBON_DIOXIDE:
            return b.family == SULFIDE ? 0.12 : 0.115;
        case SULFIDE:
            return b.family == METHANE ? 0.08 : 0.05;
        case METHANE:
            return b.family == CUTS ? 0.028 * size - 0.02 : 0.0;
        case LIGHT_ENDS:
            return b.family == CUTS ? 0.003 * size : 0.0;
        default:
            return 0.0;
    }
}

std::vector<std::vector<double>> draw_bips(const std::vector<Known>& chosen, Draw& draw) {
    if (draw.chance(0.2)) return {};
    const bool regressed = draw.chance(0.5);
    std::vector<std::vector<double>> kij(chosen.size(), std::vector<double>(chosen.size(), 0.0));
    for (std::size_t i = 0; i < chosen.size(); ++i)
        for (std::size_t j = 0; j < i; ++j) {
            const double factor = regressed ? draw.uniform(0.7, 1.3) : 1.0;
            kij[i][j] = kij[j][i] = factor * ordinary_bip(chosen[i], chosen[j]);
        }
    return kij;
}

FluidKind draw_kind(unsigned kinds, Draw& draw) {
    std::vector<FluidKind> allowed;
    for (unsigned bit = 0; bit < FLUID_KINDS.size(); ++bit)
        if (kinds >> bit & 1u) allowed.push_back(static_cast<FluidKind>(bit));
    return allowed[draw.below(allowed.size())];
}

/// One to three amounts brought down to between 1e-12 and 1e-4 of the feed; one component stays.
void make_traces(std::vector<double>& z, Draw& draw) {
    const std::size_t count = 1 + draw.below(std::max<std::size_t>(1, z.size() - 1));
    for (std::size_t k = 0; k < std::min(count, z.size() - 1); ++k)
        z[draw.below(z.size() - 1) + 1] = draw.log_uniform(1e-12, 1e-4);
}

}  // namespace

DrawnFluid draw_fluid(std::uint64_t seed, std::uint64_t number, unsigned kinds) {
    Draw draw(seed, 1, number);
    DrawnFluid drawn;
    drawn.kind = draw_kind(kinds, draw);
    const Recipe recipe = recipe_of(drawn.kind);
    const double most = drawn.kind == FluidKind::Few ? 5.0 : 41.0;
    const auto n = static_cast<std::size_t>(draw.log_uniform(2.0, most));
    const std::vector<Known> chosen = choose_components(n, recipe, draw);
    Fluid& fluid = drawn.fluid;
    fluid.name = FLUID_KINDS[static_cast<std::size_t>(drawn.kind)];
    if (draw.chance(0.3)) fluid.equation = textbook::Equation::SoaveRedlichKwong;
    for (const Known& known : chosen) {
        fluid.components.push_back(known.component);
        fluid.z.push_back(drawn.kind == FluidKind::Few ? -std::log(1.0 - draw.uniform())
                                                       : amount_of(known, recipe, draw));
    }
    fluids::normalize(fluid.z);
    if (drawn.kind == FluidKind::Traces) make_traces(fluid.z, draw);
    fluids::normalize(fluid.z);
    fluid.kij = draw_bips(chosen, draw);
    return drawn;
}

std::string source_of(const Fluid& fluid) {
    std::ostringstream text;
    text << std::setprecision(17) << "    Fluid fluid;\n    fluid.name = \"" << fluid.name
         << "\";\n";
    if (fluid.equation == textbook::Equation::SoaveRedlichKwong)
        text << "    fluid.equation = textbook::Equation::SoaveRedlichKwong;\n";
    text << "    fluid.components = {\n";
    for (const Component& c : fluid.components)
        text << "        {\"" << c.name << "\", " << c.mw << ", " << c.Tc << ", " << c.Pc << ", "
             << c.omega << ", " << c.shift << "},\n";
    text << "    };\n    fluid.kij = {";
    for (const auto& row : fluid.kij) {
        text << "\n        {";
        for (std::size_t j = 0; j < row.size(); ++j) text << (j > 0 ? ", " : "") << row[j];
        text << "},";
    }
    text << "};\n    fluid.z = {";
    for (std::size_t i = 0; i < fluid.n(); ++i) text << (i > 0 ? ", " : "") << fluid.z[i];
    text << "};\n";
    return text.str();
}

}  // namespace kestrane::campaign
