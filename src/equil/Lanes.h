#pragma once

// Arithmetic on four doubles at a time, for the inner loops over the components.
//
// A function that works with Lanes and is compiled with target_clones("avx2", "default") has one
// form of 256-bit and one of 128-bit instructions. The operations and their order are the same in
// both, and no multiplication is contracted with an addition, so that results are equal to the last
// bit on every processor. Lanes are not passed or returned by value, because the two forms would do
// so differently, nor by reference, because compilers take what a reference refers to to be aligned
// as a whole vector: by pointer. The functions here are inlined into both.

#include <cstddef>
#include <cstdint>

namespace kestrane {

/// Four doubles; in memory they may start at any double.
using Lanes [[gnu::vector_size(32), gnu::aligned(8), gnu::may_alias]] = double;
using LaneBits [[gnu::vector_size(32), gnu::aligned(8), gnu::may_alias]] = std::uint64_t;

inline constexpr std::size_t LANES = 4;

/// Four doubles in memory.
[[gnu::always_inline]] inline const Lanes* lanes(const double* p) {
    return reinterpret_cast<const Lanes*>(p);
}
[[gnu::always_inline]] inline Lanes* lanes(double* p) {
    return reinterpret_cast<Lanes*>(p);
}

[[gnu::always_inline]] inline double sum_of(const Lanes* lanes) {
    const Lanes v = *lanes;
    const auto halves = __builtin_shufflevector(v, v, 0, 1) + __builtin_shufflevector(v, v, 2, 3);
    return halves[0] + halves[1];
}

/// An array of n >= 4 elements ends with four that overlap the whole blocks before them. The mask
/// keeps those n % 4 (1 to 3) that no whole block has held.
[[gnu::always_inline]] inline const LaneBits* tail_mask(std::size_t remaining) {
    static constexpr std::uint64_t MASKS[2 * LANES] = {0, 0, 0, 0, ~0ull, ~0ull, ~0ull, ~0ull};
    return reinterpret_cast<const LaneBits*>(MASKS + remaining);
}

/// A constant in all lanes. Such constants are read from memory as operands, where the compiler
/// would spend an instruction on each to spread it from one double.
struct Fourfold {
    constexpr Fourfold(double x) : value{x, x, x, x} {}
    alignas(32) double value[LANES];
};
[[gnu::always_inline]] inline const Lanes* lanes(const Fourfold& constant) {
    return lanes(constant.value);
}

struct ExpConstants {
    Fourfold log2_e, shift, ln2_high, ln2_low, one, half;
    Fourfold reciprocal_factorial[11];  ///< from 3! to 13!
};
struct LogConstants {
    Fourfold ln2_high, ln2_low, exponent_offset, one, two, half;
    Fourfold odd[4], even[3];  ///< coefficients of s^2, s^6, .. and of s^4, s^8, ..
};
extern const ExpConstants EXP;
extern const LogConstants LOG;

/// exp(x) within one and exp(x) - 1 within two units of the last place, for -708 <= x <= 709; a NaN
/// stays one. x = k ln 2 + r with |r| <= ln(2)/2 leaves expm1(r) to its Taylor series; 2^k and
/// 2^k - 1 are exact where it matters. (J.-M. Muller, Elementary Functions, 3rd ed., 2016, ch. 11.)
[[gnu::always_inline]] inline void exp_lanes(const Lanes* from, Lanes* exp, Lanes* expm1) {
    const Lanes x = *from;
    const auto& c = EXP.reciprocal_factorial;
    const Lanes shifted = x * *lanes(EXP.log2_e) + *lanes(EXP.shift);
    const Lanes k = shifted - *lanes(EXP.shift);
    const Lanes r = (x - k * *lanes(EXP.ln2_high)) - k * *lanes(EXP.ln2_low);
    const Lanes r2 = r * r;
    const Lanes r4 = r2 * r2;
    const Lanes low = (r * *lanes(c[1]) + *lanes(c[0])) + r2 * (r * *lanes(c[3]) + *lanes(c[2]));
    const Lanes middle = (r * *lanes(c[5]) + *lanes(c[4])) + r2 * (r * *lanes(c[7]) + *lanes(c[6]));
    const Lanes high = (r * *lanes(c[9]) + *lanes(c[8])) + r2 * *lanes(c[10]);
    const Lanes p = r + (r2 * *lanes(EXP.half) + (r2 * r) * (low + r4 * (middle + r4 * high)));
    // The last bits of `shifted` are k; they become the exponent of 2^k.
    const LaneBits power_bits = ((LaneBits)shifted << 52) + (LaneBits)*lanes(EXP.one);
    const Lanes power = (Lanes)power_bits;
    const Lanes scaled = power * p;
    *exp = power + scaled;
    *expm1 = (power - *lanes(EXP.one)) + scaled;
}

/// ln x within one unit of the last place, for normal x > 0; anything else gives some number. After
/// the logarithm of fdlibm (Sun Microsystems, 1993): x = 2^k (1 + f), 1 + f between sqrt(1/2) and
/// sqrt(2), and a series in s = f/(2 + f).
[[gnu::always_inline]] inline void log_lanes(const Lanes* from, Lanes* ln) {
    const Lanes x = *from;
    constexpr std::uint64_t ONE = 0x3ff0000000000000, ROOT_HALF = 0x3fe6a09e667f3bcd;
    constexpr std::uint64_t TWO_52 = 0x4330000000000000;
    const LaneBits bits = (LaneBits)x;
    const LaneBits exponent = (bits + (ONE - ROOT_HALF)) >> 52;  // k + 1023
    const LaneBits counted = exponent | TWO_52;
    const Lanes k = (Lanes)counted - *lanes(LOG.exponent_offset);
    const LaneBits mantissa = bits - (exponent << 52) + ONE;
    const Lanes f = (Lanes)mantissa - *lanes(LOG.one);
    const Lanes s = f / (f + *lanes(LOG.two));
    const Lanes s2 = s * s;
    const Lanes s4 = s2 * s2;
    const auto& o = LOG.odd;
    const auto& e = LOG.even;
    const Lanes odd =
        s2 * (*lanes(o[0]) + s4 * (*lanes(o[1]) + s4 * (*lanes(o[2]) + s4 * *lanes(o[3]))));
    const Lanes even = s4 * (*lanes(e[0]) + s4 * (*lanes(e[1]) + s4 * *lanes(e[2])));
    const Lanes half_square = (f * f) * *lanes(LOG.half);
    const Lanes series = s * (half_square + (even + odd));
    *ln = k * *lanes(LOG.ln2_high) - ((half_square - (series + k * *lanes(LOG.ln2_low))) - f);
}

}  // namespace kestrane
