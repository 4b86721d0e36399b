#include "regress/Svd.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

namespace kestrane {

namespace {

/// The matrices of a decomposition under way, with the bidiagonal that stands between them: `w` is
/// its diagonal, `e[i]` the element above w[i] (e[0] = 0).
struct Factors {
    double* a;
    double* v;
    double* w;
    double* e;
    std::size_t rows;
    std::size_t cols;

    double* column(std::size_t j) const { return a + j * rows; }
    double& at(std::size_t i, std::size_t j) const { return a[i + j * rows]; }
    double& v_at(std::size_t i, std::size_t j) const { return v[i + j * cols]; }
};

/// A plane rotation.
struct Rotation {
    double c;
    double s;
};

/// Columns x and y of `length` become c x + s y and c y - s x.
void rotate(double* x, double* y, std::size_t length, Rotation by) {
    for (std::size_t i = 0; i < length; ++i) {
        const double xi = x[i], yi = y[i];
        x[i] = by.c * xi + by.s * yi;
        y[i] = by.c * yi - by.s * xi;
    }
}

double dot(const double* x, const double* y, std::size_t begin, std::size_t end) {
    double sum = 0.0;
    for (std::size_t i = begin; i < end; ++i) sum += x[i] * y[i];
    return sum;
}

void add_scaled(double* y, double factor, const double* x, std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) y[i] += factor * x[i];
}

/// The power of two that brings the largest element to 0.5..1, so that squares neither overflow nor
/// vanish; 0 for a zero matrix, not finite if an element is not.
double scale_of(std::span<const double> a) {
    double largest = 0.0;
    for (const double x : a) {
        if (!std::isfinite(x)) return std::numeric_limits<double>::infinity();
        largest = std::max(largest, std::abs(x));
    }
    if (largest == 0.0) return 0.0;
    int exponent = 0;
    std::frexp(largest, &exponent);
    return std::ldexp(1.0, std::min(exponent, std::numeric_limits<double>::max_exponent - 1));
}

/// Householder reflection of column i from the diagonal down; the columns behind it follow.
void reflect_column(const Factors& f, std::size_t i) {
    double* u = f.column(i);
    const double squares = dot(u, u, i, f.rows);
    f.w[i] = 0.0;
    if (squares == 0.0) return;
    const double diagonal = u[i];
    f.w[i] = -std::copysign(std::sqrt(squares), diagonal);
    const double h = diagonal * f.w[i] - squares;
    u[i] = diagonal - f.w[i];
    for (std::size_t j = i + 1; j < f.cols; ++j)
        add_scaled(f.column(j), dot(u, f.column(j), i, f.rows) / h, u, i, f.rows);
}

/// Householder reflection of row i behind the superdiagonal; the rows below follow.
void reflect_row(const Factors& f, std::size_t i) {
    const std::size_t next = i + 1;
    if (next >= f.cols) return;
    double squares = 0.0;
    for (std::size_t k = next; k < f.cols; ++k) squares += f.at(i, k) * f.at(i, k);
    f.e[next] = 0.0;
    if (squares == 0.0) return;
    const double first = f.at(i, next);
    const double g = -std::copysign(std::sqrt(squares), first);
    const double h = first * g - squares;
    f.at(i, next) = first - g;
    for (std::size_t j = next; j < f.rows; ++j) {
        double sum = 0.0;
        for (std::size_t k = next; k < f.cols; ++k) sum += f.at(j, k) * f.at(i, k);
        for (std::size_t k = next; k < f.cols; ++k) f.at(j, k) += sum / h * f.at(i, k);
    }
    f.e[next] = g;
}

void bidiagonalize(const Factors& f) {
    f.e[0] = 0.0;
    for (std::size_t i = 0; i < f.cols; ++i) {
        reflect_column(f, i);
        reflect_row(f, i);
    }
}

/// V from the row reflections, which stand above the superdiagonal.
void accumulate_right(const Factors& f) {
    for (std::size_t i = f.cols; i-- > 0;) {
        const std::size_t next = i + 1;
        for (std::size_t j = next; j < f.cols; ++j) f.v_at(i, j) = f.v_at(j, i) = 0.0;
        f.v_at(i, i) = 1.0;
        if (next >= f.cols || f.e[next] == 0.0) continue;
        double* u = f.v + i * f.cols;
        for (std::size_t j = next; j < f.cols; ++j) u[j] = f.at(i, j) / f.at(i, next) / f.e[next];
        for (std::size_t j = next; j < f.cols; ++j) {
            double* column = f.v + j * f.cols;
            double sum = 0.0;
            for (std::size_t k = next; k < f.cols; ++k) sum += f.at(i, k) * column[k];
            add_scaled(column, sum, u, next, f.cols);
        }
        std::fill(u + next, u + f.cols, 0.0);
    }
}

/// U from the column reflections, which stand on and below the diagonal.
void accumulate_left(const Factors& f) {
    for (std::size_t i = f.cols; i-- > 0;) {
        double* u = f.column(i);
        for (std::size_t j = i + 1; j < f.cols; ++j) f.at(i, j) = 0.0;
        if (f.w[i] == 0.0) {
            std::fill(u + i, u + f.rows, 0.0);
        } else {
            for (std::size_t j = i + 1; j < f.cols; ++j) {
                double* column = f.column(j);
                const double factor = dot(u, column, i + 1, f.rows) / u[i] / f.w[i];
                add_scaled(column, factor, u, i, f.rows);
            }
            for (std::size_t k = i; k < f.rows; ++k) u[k] /= f.w[i];
        }
        u[i] += 1.0;
    }
}

/// Where the part of the bidiagonal that ends at k and does not fall apart begins. A zero on the
/// diagonal just above it lets the superdiagonal element there be rotated away.
std::size_t split_point(const Factors& f, std::size_t k, double negligible) {
    std::size_t begin = k;
    while (begin > 0 && !(std::abs(f.e[begin]) <= negligible)) {
        if (!(std::abs(f.w[begin - 1]) <= negligible)) {
            --begin;
            continue;
        }
        double* zero = f.column(begin - 1);
        Rotation by{0.0, 1.0};
        for (std::size_t i = begin; i <= k; ++i) {
            const double outside = by.s * f.e[i];
            f.e[i] *= by.c;
            if (std::abs(outside) <= negligible) break;
            const double length = std::hypot(outside, f.w[i]);
            by = {f.w[i] / length, -outside / length};
            f.w[i] = length;
            rotate(zero, f.column(i), f.rows, by);
        }
        break;
    }
    return begin;
}

/// First element of the shifted product's column; the shift is the eigenvalue of the last 2 by 2
/// minor that is nearer to its last element.
double first_element(const Factors& f, std::size_t begin, std::size_t k) {
    const double x = f.w[begin], y = f.w[k - 1], z = f.w[k];
    const double g = f.e[k - 1], h = f.e[k];
    const double ratio = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0 * h * y);
    const double shifted = ratio + std::copysign(std::hypot(ratio, 1.0), ratio);
    return ((x - z) * (x + z) + h * (y / shifted - h)) / x;
}

/// The rotation that brings (f, h) to (length, 0).
Rotation rotation_of(double f, double h, double length) {
    return length > 0.0 ? Rotation{f / length, h / length} : Rotation{1.0, 0.0};
}

/// One implicit-shift QR sweep over begin..k.
void sweep(const Factors& f, std::size_t begin, std::size_t k) {
    double chase = first_element(f, begin, k);
    double x = f.w[begin];
    Rotation by{1.0, 1.0};
    for (std::size_t j = begin; j < k; ++j) {
        const std::size_t i = j + 1;
        double g = by.c * f.e[i];
        double h = by.s * f.e[i];
        double y = f.w[i];
        f.e[j] = std::hypot(chase, h);
        by = rotation_of(chase, h, f.e[j]);
        chase = x * by.c + g * by.s;
        g = g * by.c - x * by.s;
        h = y * by.s;
        y *= by.c;
        rotate(f.v + j * f.cols, f.v + i * f.cols, f.cols, by);
        f.w[j] = std::hypot(chase, h);
        by = rotation_of(chase, h, f.w[j]);
        chase = by.c * g + by.s * y;
        x = by.c * y - by.s * g;
        rotate(f.column(j), f.column(i), f.rows, by);
    }
    f.e[begin] = 0.0;
    f.e[k] = chase;
    f.w[k] = x;
}

void make_positive(const Factors& f, std::size_t k) {
    if (!(f.w[k] < 0.0)) return;
    f.w[k] = -f.w[k];
    double* column = f.v + k * f.cols;
    for (std::size_t i = 0; i < f.cols; ++i) column[i] = -column[i];
}

/// Diagonalizes the bidiagonal from its end. False if a singular value did not settle.
bool diagonalize(const Factors& f, int limit) {
    double norm = 0.0;
    for (std::size_t i = 0; i < f.cols; ++i)
        norm = std::max(norm, std::abs(f.w[i]) + std::abs(f.e[i]));
    const double negligible = norm * std::numeric_limits<double>::epsilon();
    bool settled = true;
    for (std::size_t k = f.cols; k-- > 0;) {
        std::size_t begin = split_point(f, k, negligible);
        for (int sweeps = 0; begin != k && sweeps < limit; ++sweeps) {
            sweep(f, begin, k);
            begin = split_point(f, k, negligible);
        }
        settled = settled && begin == k;
        make_positive(f, k);
    }
    return settled;
}

}  // namespace

int svd_factor(std::span<double> a, std::size_t rows, std::size_t cols, std::span<double> w,
               std::span<double> v, std::span<double> work, int limit) {
    assert(rows >= cols && a.size() >= rows * cols && w.size() >= cols);
    assert(v.size() >= cols * cols && work.size() >= cols);
    if (cols == 0) return 0;
    const Factors f{a.data(), v.data(), w.data(), work.data(), rows, cols};
    const double scale = scale_of(a.first(rows * cols));
    if (!std::isfinite(scale)) {
        std::fill_n(w.begin(), cols, 0.0);
        for (std::size_t i = 0; i < cols * cols; ++i) v[i] = i % (cols + 1) == 0 ? 1.0 : 0.0;
        return 1;
    }
    if (scale > 0.0)
        for (std::size_t i = 0; i < rows * cols; ++i) a[i] /= scale;
    bidiagonalize(f);
    accumulate_right(f);
    accumulate_left(f);
    const bool settled = diagonalize(f, limit);
    for (std::size_t j = 0; j < cols; ++j) w[j] *= scale;
    return settled ? 0 : 1;
}

void svd_solve(std::span<const double> u, std::size_t rows, std::size_t cols,
               std::span<const double> w, std::span<const double> v, std::span<const double> b,
               std::span<double> x) {
    assert(u.size() >= rows * cols && w.size() >= cols && v.size() >= cols * cols);
    assert(b.size() >= rows && x.size() >= cols);
    std::fill_n(x.begin(), cols, 0.0);
    for (std::size_t k = 0; k < cols; ++k) {
        if (!(w[k] > 0.0)) continue;
        const double part = dot(u.data() + k * rows, b.data(), 0, rows) / w[k];
        add_scaled(x.data(), part, v.data() + k * cols, 0, cols);
    }
}

}  // namespace kestrane
