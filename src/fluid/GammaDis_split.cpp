#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

#include "fluid/GammaDis.h"
#include "frame/Unset.h"

namespace kestrane {

namespace {

/// ln(tail / amount) that counts as met; one more Newton step then reaches round-off.
constexpr double AMOUNT_TOLERANCE = 1e-8;
/// Bracket of a boundary, kg/kmol, that need not be narrowed further; for narrow distributions a
/// fraction of their width.
constexpr double BRACKET_TOLERANCE = 1e-6;
constexpr double RELATIVE_BRACKET = 1e-8;
constexpr int MAX_BOUNDARY_ITERATIONS = 100;

/// Gauss-Legendre nodes and weights on -1..1, the positive half. Abramowitz & Stegun, table 25.4.
constexpr int HALF_NODES = 4;
constexpr double NODES[HALF_NODES] = {0.183434642495649805, 0.525532409916328986,
                                      0.796666477413626740, 0.960289856497536232};
constexpr double WEIGHTS[HALF_NODES] = {0.362683783378361983, 0.313706645877887287,
                                        0.222381034453374471, 0.101228536290376259};
// Where the eight nodes are exact to round-off: the remainder for exp(s t) on a unit interval is
// 1.7e-23 s^16, and the powers of 1 + t/y die as fast.
constexpr double NARROW_WIDTH = 0.25;  ///< of the distance from the origin
constexpr double NARROW_CHANGE = 2.0;  ///< of the logarithm of the density

}  // namespace

/// Share of what is beyond `from` that is still there a scaled distance d > 0 farther out.
double GammaDis::remaining(const Point& from, double d, const Beyond& there) const {
    return from.beyond.ratio / there.ratio * std::exp(alpha * std::log1p(d / from.y) - d);
}

GammaDis::Point GammaDis::point(double x, ErrorList& errors) const {
    if (x <= start_.x) return start_;
    // The distance from the start keeps digits that the one from the origin rounds off.
    const double distance = (x - start_.x) / beta;
    Point at{x, start_.y + distance, 0.0, 0.0, {}};
    at.beyond = beyond(at.y, errors);
    if (in_far_tail(start_.y)) {
        at.moles = remaining(start_, distance, at.beyond);
    } else {
        GammaIntegrals here;
        integrate(x, here, errors);
        at.moles = here[Q0] * inv_tail;
    }
    at.density = at.moles * at.beyond.ratio / (at.y * beta);
    return at;
}

/// Mass heavier than a molecular weight, kg per mole above the bound.
double GammaDis::heavier_mass(const Point& at) const {
    return at.moles * (at.x + beta * at.beyond.excess);
}

// Cuts -----------------------------------------------------------------------------------------

/// A cut over which the density hardly changes, by quadrature: differences of tails would lose the
/// digits that its ends have in common.
GammaDis::Cut GammaDis::narrow_cut(const Point& lower, double width) const {
    double amount = 0.0;
    double moment = 0.0;
    for (int i = 0; i < HALF_NODES; ++i) {
        for (const double node : {-NODES[i], NODES[i]}) {
            const double t = 0.5 * width * (1.0 + node);
            const double p = WEIGHTS[i] * std::exp((alpha - 1.0) * std::log1p(t / lower.y) - t);
            amount += p;
            moment += p * t;
        }
    }
    return {lower.density * beta * 0.5 * width * amount, lower.x + beta * moment / amount};
}

GammaDis::Cut GammaDis::open_cut(const Point& lower) const {
    if (lower.moles == 0.0) return {0.0, UNSET};
    return {lower.moles, lower.x + beta * lower.beyond.excess};
}

GammaDis::Cut GammaDis::cut(const Point& lower, const Point& upper, ErrorList& errors) const {
    if (!(upper.x > lower.x) || lower.moles == 0.0) return {0.0, UNSET};
    const double width = (upper.x - lower.x) / beta;
    const double change = width * (1.0 + std::abs(alpha - 1.0) / lower.y);
    if (width <= NARROW_WIDTH * lower.y && change <= NARROW_CHANGE) return narrow_cut(lower, width);
    if (in_far_tail(lower.y)) {
        const double rest = remaining(lower, width, upper.beyond);
        const double moment = lower.beyond.excess - rest * (width + upper.beyond.excess);
        return {lower.moles * (1.0 - rest), lower.x + beta * moment / (1.0 - rest)};
    }
    // Differences on the side where the integrals are smaller.
    GammaIntegrals from, to;
    integrate(lower.x, from, errors);
    integrate(upper.x, to, errors);
    const bool tails = to[Q0] < 0.5;
    const double d0 = tails ? from[Q0] - to[Q0] : to[P0] - from[P0];
    const double d1 = tails ? from[Q1] - to[Q1] : to[P1] - from[P1];
    if (!(d0 > 0.0)) return {0.0, UNSET};
    return {inv_tail * d0, alpha_beta * d1 / d0 + origin};
}

void GammaDis::split(std::span<const double> lower_bounds, std::span<double> fractions,
                     std::span<double> mws, ErrorList& errors) const {
    const std::size_t n = lower_bounds.size();
    assert(fractions.size() == n && mws.size() == n);
    if (n == 0) return;
    Point lower = point(lower_bounds[0], errors);
    for (std::size_t k = 0; k + 1 < n; ++k) {
        // Boundaries below the bound, or out of order, leave an empty cut.
        const Point upper = point(std::max(lower_bounds[k + 1], lower.x), errors);
        const Cut part = cut(lower, upper, errors);
        fractions[k] = part.moles;
        mws[k] = part.mw != UNSET ? part.mw : 0.5 * (lower_bounds[k] + lower_bounds[k + 1]);
        lower = upper;
    }
    const Cut last = open_cut(lower);
    fractions[n - 1] = last.moles;
    mws[n - 1] = last.mw != UNSET ? last.mw : lower.x;
}

// Boundaries of given amounts --------------------------------------------------------------------

/// A point beyond which less than `least` is left.
GammaDis::Point GammaDis::far_end(double least, bool by_mole, ErrorList& errors) const {
    double distance = -beta * std::log(std::numeric_limits<double>::min());
    Point end = point(start_.x + distance, errors);
    while ((by_mole ? end.moles : heavier_mass(end) / average) > least) {
        distance *= 2.0;
        end = point(start_.x + distance, errors);
    }
    return end;
}

/// The point beyond which `amount` is left, below `upper`: Newton's method for the logarithm of the
/// tail, inside a bracket.
GammaDis::Point GammaDis::boundary(double amount, bool by_mole, const Point& upper,
                                   ErrorList& errors) const {
    if (amount >= std::exp(-AMOUNT_TOLERANCE)) return start_;
    if (amount <= 0.0) return upper;
    double low = start_.x;
    double high = upper.x;
    double x = low - (average - low) * std::log(amount);  // an exponential distribution's
    if (!(x < high)) x = low + 0.5 * (high - low);
    for (int i = 0; i < MAX_BOUNDARY_ITERATIONS; ++i) {
        const Point at = point(x, errors);
        const double tail = by_mole ? at.moles : heavier_mass(at) / average;
        const double descent = by_mole ? at.density : x * at.density / average;
        const double miss = tail > 0.0 ? std::log(tail / amount) : -1.0;
        double next = x + (tail > 0.0 ? miss * tail / descent : high - low);
        if (tail > 0.0 && std::abs(miss) <= AMOUNT_TOLERANCE)
            return next > start_.x && next < upper.x ? point(next, errors) : at;
        (miss > 0.0 ? low : high) = x;
        if (high - low <= std::min(BRACKET_TOLERANCE, RELATIVE_BRACKET * beta)) return at;
        if (!(next > low && next < high)) next = low + 0.5 * (high - low);
        if (!(next > low && next < high)) return at;  // no number lies between
        x = next;
    }
    errors.Warn("MW boundary iterations failed to converge");
    return point(x, errors);
}

void GammaDis::match_amounts(std::span<const double> amounts, std::span<double> fractions,
                             std::span<double> bounds, std::span<double> mws, bool by_mole,
                             ErrorList& errors) const {
    const std::size_t n = amounts.size();
    assert(fractions.size() == n && bounds.size() == n && mws.size() == n);
    if (n == 0) return;
    double heavier = 0.0;  // cumulative amount from the heaviest cut on
    double least = 1.0;
    for (std::size_t k = n; k-- > 1;) {
        heavier += amounts[k];
        if (heavier > 0.0) least = std::min(least, heavier);
    }
    const Point end = far_end(least, by_mole, errors);
    Point upper = end;
    heavier = 0.0;
    for (std::size_t k = n; k-- > 0;) {
        heavier += amounts[k];
        const Point lower = k > 0 ? boundary(heavier, by_mole, upper, errors) : start_;
        const bool open = upper.x == end.x;
        const Cut part = open && lower.x < end.x ? open_cut(lower) : cut(lower, upper, errors);
        bounds[k] = k > 0 ? lower.x : bound;
        mws[k] = part.mw != UNSET ? part.mw : 0.5 * (lower.x + upper.x);
        fractions[k] = by_mole ? part.moles * mws[k] / average : part.moles;
        upper = lower;
    }
}

}  // namespace kestrane
