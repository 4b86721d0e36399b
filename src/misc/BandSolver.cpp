#include "misc/BandSolver.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace kestrane {

void BandSolver::resize(std::size_t size, std::size_t below, std::size_t above) {
    size_ = size;
    below_ = below;
    above_ = above;
    width_ = 2 * below + above + 1;
    elements_.assign(size * width_, 0.0);
}

void BandSolver::set_zero() {
    std::ranges::fill(elements_, 0.0);
}

void BandSolver::add(std::size_t row, std::size_t column, double value) {
    assert(row < size_ && column < size_ && column + below_ >= row && column <= row + above_);
    at(row, column) += value;
}

std::size_t BandSolver::pivot_row(std::size_t column, std::size_t last_row) {
    std::size_t p = column;
    for (std::size_t i = column + 1; i <= last_row; ++i)
        if (std::abs(at(i, column)) > std::abs(at(p, column))) p = i;
    return p;
}

void BandSolver::swap_rows(std::size_t column, std::size_t p, std::size_t last_column) {
    for (std::size_t j = column; j <= last_column; ++j) std::swap(at(column, j), at(p, j));
}

void BandSolver::substitute_back(std::span<double> b) {
    for (std::size_t k = b.size(); k-- > 0;) {
        const std::size_t last_column = std::min(k + above_ + below_, size_ - 1);
        for (std::size_t j = k + 1; j <= last_column; ++j) b[k] -= at(k, j) * b[j];
        b[k] /= at(k, k);
    }
}

bool BandSolver::solve(std::span<double> b, std::span<double> c) {
    assert(b.size() == size_ && (c.empty() || c.size() == size_));
    for (std::size_t k = 0; k < size_; ++k) {
        const std::size_t last_row = std::min(k + below_, size_ - 1);
        const std::size_t last_column = std::min(k + above_ + below_, size_ - 1);
        const std::size_t p = pivot_row(k, last_row);
        if (!(std::abs(at(p, k)) > 0.0)) return false;
        if (p != k) {
            swap_rows(k, p, last_column);
            std::swap(b[k], b[p]);
            if (!c.empty()) std::swap(c[k], c[p]);
        }
        const double* const source = &at(k, k);
        for (std::size_t i = k + 1; i <= last_row; ++i) {
            double* const target = &at(i, k);
            const double factor = target[0] / source[0];
            if (factor == 0.0) continue;
            for (std::size_t j = 1; j <= last_column - k; ++j) target[j] -= factor * source[j];
            b[i] -= factor * b[k];
            if (!c.empty()) c[i] -= factor * c[k];
        }
    }
    substitute_back(b);
    substitute_back(c);
    const auto finite = [](double value) { return std::isfinite(value); };
    return std::ranges::all_of(b, finite) && std::ranges::all_of(c, finite);
}

}  // namespace kestrane
