#pragma once

#include <string>
#include <string_view>

namespace kestrane {

// Numbers as text, digit by digit as the streams and printf of the "C" locale write them, without a
// stream: one that is made for one number costs more than its digits. Precisions below 0 count as
// 0.

/// Behind `text`: fixed notation with that many decimals.
void append_fixed(std::string& text, double value, int decimals);
/// Behind `text`: one digit ahead of the point and that many behind it, with an exponent.
void append_scientific(std::string& text, double value, int decimals);
/// Behind `text`: that many significant digits, fixed or scientific, without trailing zeros.
void append_general(std::string& text, double value, int digits);
/// The same with its trailing zeros, and with a point in any case.
void append_general_pointed(std::string& text, double value, int digits);

/// Behind `text`: the cell, with blanks to the width on its left or on its right.
void append_right(std::string& text, std::string_view cell, std::size_t width);
void append_left(std::string& text, std::string_view cell, std::size_t width);

}  // namespace kestrane
