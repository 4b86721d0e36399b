#include "equil/PackedLDL.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

#include "equil/EOS.h"

namespace kestrane {

namespace {

double dot(const double* a, const double* b, std::size_t count) {
    double sum = 0.0;
    for (std::size_t k = 0; k < count; ++k) sum += a[k] * b[k];
    return sum;
}

/// Turns row i, whose elements left of the diagonal still carry their pivots (u_ij = L_ij D_j),
/// into a row of L. Returns the pivot of the row.
double finish_row(double* row, std::size_t i, const double* packed_matrix) {
    double pivot = row[i];
    for (std::size_t j = 0; j < i; ++j) {
        const double u = row[j];
        row[j] = u * packed_matrix[packed(j, j)];
        pivot -= u * row[j];
    }
    return pivot;
}

/// 1/pivot, or 0 where that is no number to work with: such a row then contributes nothing.
double reciprocal(double pivot) {
    const double inverse = 1.0 / pivot;
    return std::isfinite(inverse) ? inverse : 0.0;
}

}  // namespace

PivotRange ldl_factor(std::span<double> a, std::size_t n) {
    assert(a.size() >= n * (n + 1) / 2);
    PivotRange range{std::numeric_limits<double>::max(), std::numeric_limits<double>::max()};
    for (std::size_t i = 0; i < n; ++i) {
        double* row = &a[packed(i, 0)];
        for (std::size_t j = 1; j < i; ++j) row[j] -= dot(row, &a[packed(j, 0)], j);
        double pivot = finish_row(row, i, a.data());
        // A matrix with an undefined element has no usable pivot; comparisons would pass over it.
        if (std::isnan(pivot)) pivot = 0.0;
        range.smallest = std::min(range.smallest, pivot);
        range.smallest_abs = std::min(range.smallest_abs, std::abs(pivot));
        row[i] = reciprocal(pivot);
    }
    return range;
}

void ldl_solve(std::span<const double> a, std::span<double> b) {
    const std::size_t n = b.size();
    assert(a.size() >= n * (n + 1) / 2);
    for (std::size_t i = 1; i < n; ++i) b[i] -= dot(&a[packed(i, 0)], b.data(), i);
    for (std::size_t i = 0; i < n; ++i) b[i] *= a[packed(i, i)];
    for (std::size_t i = n; i-- > 1;) {
        const double* row = &a[packed(i, 0)];
        const double known = b[i];
        for (std::size_t j = 0; j < i; ++j) b[j] -= row[j] * known;
    }
}

}  // namespace kestrane
