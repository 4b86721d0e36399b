#include "equil/PackedLDL.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

#include "equil/EOS.h"
#include "equil/Lanes.h"

namespace kestrane {

namespace {

/// Columns are eliminated this many at a time: a row below them is then read and written once for
/// all of them, and its elements, being neighbours, are updated several by one instruction.
constexpr std::size_t PANEL = 4;
/// Columns updated together; their multipliers stay in the nearest cache.
constexpr std::size_t TILE = 64;

/// The columns being eliminated.
struct Panel {
    std::size_t first = 0, width = 0;
    double pivot[PANEL] = {};
    double inverse[PANEL] = {};       ///< reciprocal pivots as kept
    double upper[PANEL][PANEL] = {};  ///< D L^T within the panel
};

/// 1/pivot, or 0 where that is no number to work with: such a row then contributes nothing.
double reciprocal(double pivot) {
    const double inverse = 1.0 / pivot;
    return std::isfinite(inverse) ? inverse : 0.0;
}

/// Turns the first `count` elements of a row within the panel into elements of L.
void eliminate_row(const Panel& panel, double* row, std::size_t count) {
    for (std::size_t q = 0; q < count; ++q) {
        double u = row[q];
        for (std::size_t p = 0; p < q; ++p) u -= row[p] * panel.upper[p][q];
        row[q] = u * panel.inverse[q];
    }
}

/// Factors the diagonal block of the panel and notes its pivots.
void factor_block(double* a, Panel& panel, PivotRange& range) {
    for (std::size_t q = 0; q < panel.width; ++q) {
        const std::size_t i = panel.first + q;
        double* row = a + packed(i, panel.first);
        eliminate_row(panel, row, q);
        double pivot = row[q];
        for (std::size_t p = 0; p < q; ++p) {
            panel.upper[p][q] = row[p] * panel.pivot[p];
            pivot -= row[p] * panel.upper[p][q];
        }
        // A matrix with an undefined element has no usable pivot; comparisons would pass over it.
        if (std::isnan(pivot)) pivot = 0.0;
        range.smallest = std::min(range.smallest, pivot);
        range.smallest_abs = std::min(range.smallest_abs, std::abs(pivot));
        panel.pivot[q] = pivot;
        panel.inverse[q] = row[q] = reciprocal(pivot);
    }
}

/// Subtracts what a full panel contributes to the columns behind it, a tile of them at a time.
[[gnu::target_clones("avx2", "default")]] void update_trailing(double* a, std::size_t n,
                                                               const Panel& panel) {
    double u[PANEL][TILE];
    for (std::size_t start = panel.first + PANEL; start < n; start += TILE) {
        double* row = a + packed(start, 0);
        for (std::size_t i = start; i < n; ++i) {
            const double* l = row + panel.first;
            if (i < start + TILE)
                for (std::size_t q = 0; q < PANEL; ++q) u[q][i - start] = l[q] * panel.pivot[q];
            const double l0 = l[0], l1 = l[1], l2 = l[2], l3 = l[3];
            double* target = row + start;
            const std::size_t count = std::min(i + 1 - start, TILE);
            for (std::size_t j = 0; j < count; ++j)
                target[j] = target[j] - l0 * u[0][j] - l1 * u[1][j] - l2 * u[2][j] - l3 * u[3][j];
            row += i + 1;
        }
    }
}

}  // namespace

PivotRange ldl_factor(std::span<double> a, std::size_t n) {
    assert(a.size() >= n * (n + 1) / 2);
    PivotRange range{std::numeric_limits<double>::max(), std::numeric_limits<double>::max()};
    Panel panel;
    for (panel.first = 0; panel.first < n; panel.first += PANEL) {
        panel.width = std::min(PANEL, n - panel.first);
        factor_block(a.data(), panel, range);
        if (panel.first + PANEL >= n) break;
        double* row = a.data() + packed(panel.first + PANEL, 0);
        for (std::size_t i = panel.first + PANEL; i < n; ++i) {
            eliminate_row(panel, row + panel.first, PANEL);
            row += i + 1;
        }
        update_trailing(a.data(), n, panel);
    }
    return range;
}

namespace {

/// Right sides side by side, b[LANES i] .. b[LANES i + LANES - 1] their elements i.
[[gnu::target_clones("avx2", "default")]] void solve_lanes(const double* a, double* b,
                                                           std::size_t n) {
    const double* row = a + 1;
    for (std::size_t i = 1; i < n; ++i) {
        Lanes sum = {};
        for (std::size_t k = 0; k < i; ++k) sum += row[k] * *lanes(b + LANES * k);
        *lanes(b + LANES * i) -= sum;
        row += i + 1;
    }
    for (std::size_t i = 0; i < n; ++i) *lanes(b + LANES * i) *= a[packed(i, i)];
    for (std::size_t i = n; i-- > 1;) {
        row -= i + 1;
        const Lanes known = *lanes(b + LANES * i);
        for (std::size_t j = 0; j < i; ++j) *lanes(b + LANES * j) -= row[j] * known;
    }
}

}  // namespace

void ldl_solve(std::span<const double> a, std::span<double> b) {
    const std::size_t n = b.size();
    assert(a.size() >= n * (n + 1) / 2);
    double* const __restrict x = b.data();
    const double* row = a.data() + 1;
    for (std::size_t i = 1; i < n; ++i) {
        double sum = 0.0;
        for (std::size_t k = 0; k < i; ++k) sum += row[k] * x[k];
        x[i] -= sum;
        row += i + 1;
    }
    for (std::size_t i = 0; i < n; ++i) x[i] *= a[packed(i, i)];
    for (std::size_t i = n; i-- > 1;) {
        row -= i + 1;
        const double known = x[i];
        for (std::size_t j = 0; j < i; ++j) x[j] -= row[j] * known;
    }
}

void ldl_solve(std::span<const double> a, std::span<double> b0, std::span<double> b1,
               std::span<double> b2, std::span<double> work) {
    const std::size_t n = b0.size();
    assert(a.size() >= n * (n + 1) / 2 && b1.size() == n && b2.size() == n);
    assert(work.size() >= LANES * n);
    double* const b = work.data();
    for (std::size_t i = 0; i < n; ++i) {
        b[LANES * i] = b0[i];
        b[LANES * i + 1] = b1[i];
        b[LANES * i + 2] = b2[i];
        b[LANES * i + 3] = 0.0;
    }
    solve_lanes(a.data(), b, n);
    for (std::size_t i = 0; i < n; ++i) {
        b0[i] = b[LANES * i];
        b1[i] = b[LANES * i + 1];
        b2[i] = b[LANES * i + 2];
    }
}

}  // namespace kestrane
