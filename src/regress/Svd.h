#pragma once

#include <cstddef>
#include <span>

namespace kestrane {

/// QR iterations that one singular value may take.
inline constexpr int SVD_ITERATIONS = 30;

/// Singular value decomposition A = U diag(w) V^T of a matrix not wider than tall. Matrices are
/// stored by column: row i of column j of A is a[i + j * rows].
///   a      in/out  rows * cols  A, then U with orthonormal columns
///   w      out     cols         singular values, not negative, in no order
///   v      out     cols * cols  V, orthogonal
///   work   out     cols         nothing of use
///   limit  iterations that one singular value may take
/// Returns 0, or nonzero if the limit was reached (the values found so far are good) or if A holds
/// a number that is not finite (then w = 0 and V is the unit matrix). A column of U that belongs to
/// a zero singular value may be any unit vector orthogonal to the others. Values below about 1e-16
/// max(w) have no digits. Costs about 4 rows cols^2 + 8 cols^3; allocates nothing. G.H. Golub and
/// C. Reinsch, Singular value decomposition and least squares solutions, Numerische Mathematik 14
/// (1970) 403-420.
int svd_factor(std::span<double> a, std::size_t rows, std::size_t cols, std::span<double> w,
               std::span<double> v, std::span<double> work, int limit = SVD_ITERATIONS);

/// Minimum-norm least squares solution of A x = b for a factored A. A singular value that is not
/// above 0 contributes nothing.
///   u  in   rows * cols   w  in  cols   v  in  cols * cols   b  in  rows   x  out  cols
void svd_solve(std::span<const double> u, std::size_t rows, std::size_t cols,
               std::span<const double> w, std::span<const double> v, std::span<const double> b,
               std::span<double> x);

}  // namespace kestrane
