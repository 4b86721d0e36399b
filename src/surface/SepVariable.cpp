#include <cmath>

#include "frame/Errors.h"
#include "surface/Sep.h"

namespace kestrane {

namespace {

/// Sum of the amounts that are meant.
double sum_of(const SepAmount& amount, const Tank& feed, std::span<const double> amounts,
              double total) {
    if (amount.component >= 0) return amounts[static_cast<std::size_t>(amount.component)];
    if (!amount.lump) return total;
    if (!feed.charz() || !amount.lump->fits(*feed.charz())) throw BadLump{};
    double sum = 0.0;
    for (std::size_t i = 0; i < amounts.size(); ++i) sum += amount.lump->fractions[i] * amounts[i];
    return sum;
}

/// A component that is absent still has its molecular weight; any other nothing has none.
double molecular_weight(const SepAmount& amount, const Tank& feed) {
    const double moles = sum_of(amount, feed, feed.moles(), feed.total_moles());
    const double mass = sum_of(amount, feed, feed.masses(), feed.total_mass());
    if (moles != 0.0) return mass / moles;
    if (amount.component < 0) return 0.0;
    return feed.charz()->comps[static_cast<std::size_t>(amount.component)].mw;
}

double value_of(const SepAmount& amount, const Tank& feed) {
    switch (amount.kind) {
        case AmountKind::Moles:
            return sum_of(amount, feed, feed.moles(), feed.total_moles());
        case AmountKind::Mass:
            return sum_of(amount, feed, feed.masses(), feed.total_mass());
        case AmountKind::MolecularWeight:
            return molecular_weight(amount, feed);
        default:
            return 1.0;
    }
}

std::string named(std::string text, const SepAmount& amount) {
    return amount.name.empty() ? text : text + " " + amount.name;
}

}  // namespace

std::string variable_name(const SepVariable& variable) {
    static constexpr const char* NUMERATORS[] = {"", "Moles", "Mass", "MW"};
    static constexpr const char* DENOMINATORS[] = {"", " Mole", " Mass", " MW"};
    std::string text =
        named(NUMERATORS[static_cast<int>(variable.numerator.kind)], variable.numerator);
    if (variable.denominator.kind == AmountKind::None) return text;
    return text + " per" +
           named(DENOMINATORS[static_cast<int>(variable.denominator.kind)], variable.denominator);
}

double variable_value(const SepVariable& variable, const Tank& feed) {
    const double numerator = value_of(variable.numerator, feed);
    if (variable.denominator.kind == AmountKind::None) return numerator;
    const double denominator = value_of(variable.denominator, feed);
    if (denominator != 0.0) return numerator / denominator;
    return numerator == 0.0 ? 1.0 : std::copysign(largestFactor, numerator);
}

}  // namespace kestrane
