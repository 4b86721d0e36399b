#pragma once

namespace kestrane {

/// The spaces in which factors and coordinates of a separator's table are interpolated.
enum Rule : int { RULE_UNSET = 0, RULE_LINEAR = 1, RULE_INVERSE = 2, RULE_LOGARITHMIC = 3 };

/// Bounds of factors and of what is put into an inverse or a logarithmic space.
inline constexpr double smallestFactor = 1e-99;
inline constexpr double largestFactor = 1e99;
/// Their natural logarithms.
extern const double smallestLog;
extern const double largestLog;

/// A value in the space of a rule: as it is, 1/max(x, smallestFactor), or ln of x within the
/// bounds.
double to_space(double value, Rule rule);
/// The way back: as it is, 1/max(x, smallestFactor), or exp of x within smallestLog..largestLog.
double from_space(double value, Rule rule);

/// 1 - f in the space `result`, of a factor f given as `x` in the space `space`. Digits are kept at
/// both ends: a logarithm near 0 and an inverse near 1 give the small remainder, not its rounding.
/// What is below smallestFactor counts as smallestFactor in the inverse and logarithmic spaces.
double complement(double x, Rule space, Rule result);

/// "Linearly", "Inversely" or "Logarithmically".
const char* rule_word(Rule rule);

}  // namespace kestrane
