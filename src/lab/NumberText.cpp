#include "lab/NumberText.h"

#include <cmath>
#include <iomanip>
#include <sstream>

namespace kestrane {

std::string fixed_text(double value, int decimals) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

std::string general_text(double value, int digits) {
    std::ostringstream text;
    text << std::setprecision(digits) << value;
    return text.str();
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
    std::ostringstream text;
    text << std::scientific << std::setprecision(3) << value;
    return text.str();
}

std::string value_text(const ValueWithUnit& value, UnitKind kind) {
    const Units& unit = value.unit ? *value.unit : unit_set(kind).default_unit();
    const double shown = value.value == UNSET ? 0.0 : unit.print(value.value);
    std::string text = general_text(shown);
    if (!unit.name().empty()) text += " " + unit.name();
    return text;
}

}  // namespace kestrane
