#include "lab/NumberText.h"

#include <cmath>

#include "frame/NumberFormat.h"

namespace kestrane {

std::string fixed_text(double value, int decimals) {
    std::string text;
    append_fixed(text, value, decimals);
    return text;
}

std::string general_text(double value, int digits) {
    std::string text;
    append_general(text, value, digits);
    return text;
}

std::string amount_text(double value) {
    // A split keeps absent components at a floor near 1e-154 so that their logarithms exist.
    constexpr double ABSENT = 1e-100;
    if (std::abs(value) < ABSENT) value = 0.0;
    const double size = std::abs(value);
    if (value == 0.0 || (size >= 1e-4 && size < 1e3)) return fixed_text(value, 6);
    constexpr int DIGITS = 9;
    if (size >= 1e3 && size < 1e8)
        return fixed_text(value, DIGITS - 1 - static_cast<int>(std::log10(size)));
    std::string text;
    append_scientific(text, value, 3);
    return text;
}

std::string value_text(const ValueWithUnit& value, UnitKind kind) {
    const Units& unit = value.unit ? *value.unit : unit_set(kind).default_unit();
    const double shown = value.value == UNSET ? 0.0 : unit.print(value.value);
    std::string text = general_text(shown);
    if (!unit.name().empty()) text += " " + unit.name();
    return text;
}

}  // namespace kestrane
