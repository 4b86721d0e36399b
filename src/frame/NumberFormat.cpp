#include "frame/NumberFormat.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace kestrane {

namespace {

/// Of a sign, a point, an exponent, and the digits that the largest double has ahead of its point.
constexpr std::size_t LONGEST_WHOLE = 320;
constexpr std::size_t USUAL_ROOM = LONGEST_WHOLE + 80;

void append(std::string& text, double value, std::chars_format format, int precision) {
    const int digits = std::max(0, precision);
    std::array<char, USUAL_ROOM> usual;
    if (LONGEST_WHOLE + static_cast<std::size_t>(digits) <= usual.size()) {
        const auto end =
            std::to_chars(usual.data(), usual.data() + usual.size(), value, format, digits);
        text.append(usual.data(), end.ptr);
        return;
    }
    std::string room(LONGEST_WHOLE + static_cast<std::size_t>(digits), '\0');
    const auto end = std::to_chars(room.data(), room.data() + room.size(), value, format, digits);
    text.append(room.data(), end.ptr);
}

}  // namespace

void append_fixed(std::string& text, double value, int decimals) {
    append(text, value, std::chars_format::fixed, decimals);
}

void append_scientific(std::string& text, double value, int decimals) {
    append(text, value, std::chars_format::scientific, decimals);
}

void append_general(std::string& text, double value, int digits) {
    append(text, value, std::chars_format::general, digits);
}

/// By the rule of C (ISO/IEC 9899, 7.21.6.1, "g" with "#"): of P digits and the exponent X that the
/// scientific form has, P - 1 - X decimals if -4 <= X < P, else the scientific form.
void append_general_pointed(std::string& text, double value, int digits) {
    const int P = std::max(1, digits);
    std::string scientific;
    append_scientific(scientific, value, P - 1);
    const std::size_t mark = scientific.rfind('e');
    if (!std::isfinite(value) || mark == std::string::npos) {
        text += scientific;
        return;
    }
    const int X = std::atoi(scientific.c_str() + mark + 1);
    if (X >= -4 && X < P) {
        append_fixed(text, value, P - 1 - X);
        if (X == P - 1) text += '.';
        return;
    }
    if (P == 1) scientific.insert(mark, 1, '.');
    text += scientific;
}

void append_right(std::string& text, std::string_view cell, std::size_t width) {
    if (cell.size() < width) text.append(width - cell.size(), ' ');
    text += cell;
}

void append_left(std::string& text, std::string_view cell, std::size_t width) {
    text += cell;
    if (cell.size() < width) text.append(width - cell.size(), ' ');
}

}  // namespace kestrane
