#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace kestrane {

/// Linear equations whose coefficients stand within `below` places under and `above` places over
/// the diagonal.
class BandSolver {
public:
    /// Sizes the matrix and sets it to zero. Allocates only if it has not been as large before.
    void resize(std::size_t size, std::size_t below, std::size_t above);
    void set_zero();
    /// Adds to element (row, column), which must lie within the band.
    void add(std::size_t row, std::size_t column, double value);
    /// Solves A x = b by elimination with row pivoting; A is spent.
    ///   b  in/out  size  right side, then x
    ///   c  in/out  size or nothing  a second right side
    /// False if a pivot is zero or not a number. size below (above + below) multiplications.
    /// Golub & Van Loan, Matrix Computations, 3rd ed., 4.3.
    bool solve(std::span<double> b, std::span<double> c = {});

private:
    /// Elements of a row from column row - below on, with room for what pivoting fills in.
    double& at(std::size_t row, std::size_t column) {
        return elements_[row * width_ + column + below_ - row];
    }
    void substitute_back(std::span<double> b);
    std::size_t pivot_row(std::size_t column, std::size_t last_row);
    void swap_rows(std::size_t column, std::size_t p, std::size_t last_column);

    std::size_t size_ = 0, below_ = 0, above_ = 0, width_ = 0;
    std::vector<double> elements_;  ///< size x width
};

}  // namespace kestrane
