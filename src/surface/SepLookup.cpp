#include <algorithm>
#include <iterator>

#include "surface/Sep.h"

namespace kestrane {

/// Entries that agree in the coordinates looked up so far: they stand together, since the points
/// are in lexicographic order.
struct Sep::Rows {
    using Entry = std::map<ValArray<double>, SepRow>::const_iterator;
    Entry first, last;

    /// The entries of this range with that value of a coordinate.
    Rows with(std::size_t dimension, double value) const {
        const auto below = [&](const auto& entry) { return entry.first[dimension] < value; };
        const auto upto = [&](const auto& entry) { return entry.first[dimension] <= value; };
        return {std::partition_point(first, last, below), std::partition_point(first, last, upto)};
    }
    double lowest(std::size_t dimension) const { return first->first[dimension]; }
    double highest(std::size_t dimension) const { return std::prev(last)->first[dimension]; }
};

namespace {

/// Position of x between a and b, 0..1, where their difference may be beyond a double.
double position(double x, double a, double b) {
    return std::clamp((0.5 * x - 0.5 * a) / (0.5 * b - 0.5 * a), 0.0, 1.0);
}

}  // namespace

void Sep::Lookup(const ValArray<double>& point, std::size_t dimension, ValArray<double>& result) {
    if (points.empty()) {
        result.assign(tableWidth, smallestFactor);
        return;
    }
    if (scratch_.lower.size() < point.size()) scratch_.lower.resize(point.size());
    Rows rows{points.begin(), points.end()};
    for (std::size_t d = 0; d < dimension; ++d) rows = rows.with(d, point[d]);
    look_up(rows, point, dimension, result);
}

void Sep::look_up(const Rows& rows, const ValArray<double>& point, std::size_t dimension,
                  ValArray<double>& result) {
    if (dimension == point.size()) {
        result = rows.first->second.factors;
        return;
    }
    const double x = std::clamp(point[dimension], rows.lowest(dimension), rows.highest(dimension));
    const auto above_entry = std::partition_point(
        rows.first, rows.last, [&](const auto& entry) { return entry.first[dimension] < x; });
    const double above = above_entry->first[dimension];
    look_up(rows.with(dimension, above), point, dimension + 1, result);
    if (above == x) return;
    const double below = std::prev(above_entry)->first[dimension];
    ValArray<double>& lower = scratch_.lower[dimension];
    look_up(rows.with(dimension, below), point, dimension + 1, lower);
    const double t = position(x, below, above);
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = (1.0 - t) * lower[i] + t * result[i];
}

}  // namespace kestrane
