#pragma once

#include <cstddef>
#include <span>

namespace kestrane {

/// Smallest pivots met by ldl_factor: signed, and in magnitude. The largest double for n = 0.
struct PivotRange {
    double smallest;
    double smallest_abs;
};

/// Factors a symmetric matrix in place into L D L^T, without pivoting.
///   a  in/out  n(n+1)/2  packed lower triangle; then L below and reciprocal pivots on the diagonal
/// A pivot of exactly 0 stays 0, and so does one too small for its reciprocal to be a double; a
/// pivot that is not a number counts as 0. Never fails. n^3/6 multiplications.
/// Golub & Van Loan, Matrix Computations, 3rd ed., 4.1 (no pivoting).
PivotRange ldl_factor(std::span<double> a, std::size_t n);

/// Solves L D L^T x = b for a matrix factored by ldl_factor.
///   a  in      n(n+1)/2  packed lower triangle, reciprocal pivots
///   b  in/out  n         right side, then x
/// Never fails; a zero pivot contributes zero.
void ldl_solve(std::span<const double> a, std::span<double> b);

/// Solves for three right sides at once, each with the result that ldl_solve has.
///   b      in/out  n   each
///   work   -       4n
void ldl_solve(std::span<const double> a, std::span<double> b0, std::span<double> b1,
               std::span<double> b2, std::span<double> work);

}  // namespace kestrane
