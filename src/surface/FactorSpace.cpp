#include "surface/FactorSpace.h"

#include <algorithm>
#include <cmath>

namespace kestrane {

const double smallestLog = std::log(smallestFactor);
const double largestLog = std::log(largestFactor);

double to_space(double value, Rule rule) {
    switch (rule) {
        case RULE_INVERSE:
            return 1.0 / std::max(value, smallestFactor);
        case RULE_LOGARITHMIC:
            return std::log(std::clamp(value, smallestFactor, largestFactor));
        default:
            return value;
    }
}

double from_space(double value, Rule rule) {
    switch (rule) {
        case RULE_INVERSE:
            return 1.0 / std::max(value, smallestFactor);
        case RULE_LOGARITHMIC:
            return std::exp(std::clamp(value, smallestLog, largestLog));
        default:
            return value;
    }
}

namespace {

/// A factor with its complement, each known to full precision, and the complement's logarithm.
struct Pair {
    double factor;
    double rest;
};

Pair pair_of(double x, Rule space) {
    if (space == RULE_INVERSE) {
        const double inverse = std::max(x, 1.0);
        return {1.0 / inverse, std::isfinite(inverse) ? (inverse - 1.0) / inverse : 1.0};
    }
    if (space == RULE_LOGARITHMIC) {
        const double log = std::clamp(x, smallestLog, -smallestFactor);
        return {std::exp(log), -std::expm1(log)};
    }
    return {x, 1.0 - x};
}

}  // namespace

double complement(double x, Rule space, Rule result) {
    const Pair pair = pair_of(x, space);
    switch (result) {
        case RULE_INVERSE:
            return 1.0 / std::max(pair.rest, smallestFactor);
        case RULE_LOGARITHMIC:
            return pair.factor <= 0.5 ? std::log1p(-pair.factor)
                                      : std::log(std::max(pair.rest, smallestFactor));
        default:
            return pair.rest;
    }
}

const char* rule_word(Rule rule) {
    switch (rule) {
        case RULE_INVERSE:
            return "Inversely";
        case RULE_LOGARITHMIC:
            return "Logarithmically";
        default:
            return "Linearly";
    }
}

}  // namespace kestrane
