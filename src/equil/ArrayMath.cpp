#include "equil/ArrayMath.h"

#include <algorithm>
#include <cassert>

#include "equil/Lanes.h"

namespace kestrane {

namespace {

constexpr double LN2_HIGH = 6.93147180369123816490e-01;  // 21 trailing zero bits
constexpr double LN2_LOW = 1.90821492927058770002e-10;
constexpr double TWO_52 = 4503599627370496.0;

}  // namespace

// Added to a number, 1.5 2^52 leaves its integer part in the last bits.
const ExpConstants EXP = {
    1.4426950408889634,
    1.5 * TWO_52,
    LN2_HIGH,
    LN2_LOW,
    1.0,
    0.5,
    {1.0 / 6, 1.0 / 24, 1.0 / 120, 1.0 / 720, 1.0 / 5040, 1.0 / 40320, 1.0 / 362880, 1.0 / 3628800,
     1.0 / 39916800, 1.0 / 479001600, 1.0 / 6227020800}};

const LogConstants LOG = {
    LN2_HIGH,
    LN2_LOW,
    TWO_52 + 1023.0,
    1.0,
    2.0,
    0.5,
    {6.666666666666735130e-01, 2.857142874366239149e-01, 1.818357216161805012e-01,
     1.479819860511658591e-01},
    {3.999999999940941908e-01, 2.222219843214978396e-01, 1.531383769920937332e-01}};

namespace {

// These go through the arrays in whole blocks; where n is no multiple of four, the last block
// overlaps the one before it. n >= 4.

[[gnu::target_clones("avx2", "default")]] void exp_expm1_blocks(const double* x, double* exp,
                                                                double* expm1, std::size_t n) {
    for (std::size_t i = 0;; i = std::min(i + LANES, n - LANES)) {
        exp_lanes(lanes(x + i), lanes(exp + i), lanes(expm1 + i));
        if (i + LANES >= n) return;
    }
}

[[gnu::target_clones("avx2", "default")]] void exp_blocks(const double* x, double* out,
                                                          std::size_t n) {
    for (std::size_t i = 0;; i = std::min(i + LANES, n - LANES)) {
        Lanes expm1;
        exp_lanes(lanes(x + i), lanes(out + i), &expm1);
        if (i + LANES >= n) return;
    }
}

[[gnu::target_clones("avx2", "default")]] void log_blocks(const double* x, double* out,
                                                          std::size_t n) {
    for (std::size_t i = 0;; i = std::min(i + LANES, n - LANES)) {
        log_lanes(lanes(x + i), lanes(out + i));
        if (i + LANES >= n) return;
    }
}

/// Fewer than four elements, by way of a block of their own.
template <class Blocks>
void in_one_block(std::span<const double> x, std::span<double> out, const Blocks& blocks) {
    double in_block[LANES] = {1.0, 1.0, 1.0, 1.0}, out_block[LANES];
    std::ranges::copy(x, in_block);
    blocks(in_block, out_block);
    std::copy_n(out_block, x.size(), out.begin());
}

}  // namespace

void exp_of(std::span<const double> x, std::span<double> exp, std::span<double> expm1) {
    assert(exp.size() == x.size() && expm1.size() == x.size());
    if (x.size() >= LANES) {
        exp_expm1_blocks(x.data(), exp.data(), expm1.data(), x.size());
        return;
    }
    double expm1_block[LANES];
    in_one_block(x, exp, [&](const double* in, double* out) {
        exp_expm1_blocks(in, out, expm1_block, LANES);
    });
    std::copy_n(expm1_block, x.size(), expm1.begin());
}

void exp_of(std::span<const double> x, std::span<double> out) {
    assert(out.size() == x.size());
    if (x.size() >= LANES)
        exp_blocks(x.data(), out.data(), x.size());
    else
        in_one_block(x, out, [](const double* in, double* to) { exp_blocks(in, to, LANES); });
}

void log_of(std::span<const double> x, std::span<double> out) {
    assert(out.size() == x.size());
    if (x.size() >= LANES)
        log_blocks(x.data(), out.data(), x.size());
    else
        in_one_block(x, out, [](const double* in, double* to) { log_blocks(in, to, LANES); });
}

}  // namespace kestrane
