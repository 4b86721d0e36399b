#include "equil/RachfordRice.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

#include "equil/ArrayMath.h"
#include "equil/Lanes.h"
#include "equil/Numerics.h"

namespace kestrane {

namespace {

/// Mole fractions are kept above this, so that their logarithms exist.
constexpr double SMALLEST_FRACTION = 1000.0 * DOUBLE_MIN;

/// A largest ln K this close to 0 is 0: the window of V would be too wide for its square.
const double LN_K_ONE = 4.0 * TINY_AMOUNT;

struct Bracket {
    double lower = 0.0;
    double upper = 0.0;
    double middle() const { return lower + 0.5 * (upper - lower); }
    bool has_inside() const { return middle() > lower && middle() < upper; }
};

/// The search for the root. `u` and `w` are the distances of V from the asymptotes; the smaller is
/// the one worked with, the other is recomputed from it.
struct Search {
    double V_min = 0.0;  ///< left asymptote
    double L_min = 0.0;  ///< 1 - right asymptote
    double width = 0.0;  ///< between the asymptotes
    double u = 0.0, w = 0.0;
    Bracket u_bracket, w_bracket;
    double u_floor = 0.0, w_floor = 0.0;         ///< the root is never below these
    bool left = true;                            ///< working from the left asymptote
    bool left_base = false, right_base = false;  ///< base arrays are built
    double t = 0.0;                              ///< signed working distance: u or -w
    double limit = 0.0;                          ///< upper end of t's bracket, with t's sign
    double g = 0.0, h = 0.0;                     ///< value and derivative
    bool exhausted = false;                      ///< no further point between the bracket's ends
};

void find_extremes(RachfordRiceState& s) {
    const double* const ln_K = s.ln_K.data();
    const std::size_t n = s.ln_K.size();
    std::size_t i_min = 0, i_max = 0;
    double low = ln_K[0], high = ln_K[0], undefined_if_any_is = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        if (ln_K[i] < low) low = ln_K[i], i_min = i;
        if (ln_K[i] > high) high = ln_K[i], i_max = i;
        undefined_if_any_is += 0.0 * ln_K[i];
    }
    s.i_min = i_min;
    s.i_max = i_max;
    s.in_range = high < LN_MAX && low > LN_MIN && undefined_if_any_is == 0.0;
}

/// Moves ln K so that the K straddle 1, by a tenth of their spread. The companion moves along: the
/// point that an iteration came from, ln K - companion, stays where it is. False without one.
bool straddle_one(RachfordRiceState& s) {
    const double low = s.ln_K[s.i_min];
    const double high = s.ln_K[s.i_max];
    const bool all_below = high <= LN_K_ONE;
    const bool all_above = low >= -LN_K_ONE;
    if (!all_below && !all_above) return true;
    if (s.companion.empty()) return false;
    const double shift = all_below ? high + 0.1 * (low - high) : low + 0.1 * (high - low);
    for (double& ln_K : s.ln_K) ln_K -= shift;
    for (double& c : s.companion) c -= shift;
    return true;
}

Search start_search(const RachfordRiceState& s) {
    Search at;
    const double a_max = s.work_a[s.i_max];
    const double a_min = s.work_a[s.i_min];
    at.V_min = -1.0 / a_max;
    at.L_min = s.K[s.i_min] / a_min;
    at.width = -1.0 / a_min - at.V_min;
    at.u_bracket.upper = at.w_bracket.upper = at.width;
    // y of the lightest is K z/((K - 1) u) and x of the heaviest z/((1 - K) w); neither exceeds 1.
    at.u_floor = std::max(s.z[s.i_max], TINY_AMOUNT);
    at.w_floor = std::max(s.z[s.i_min], TINY_AMOUNT);
    at.u = s.V - at.V_min;
    at.w = s.L - at.L_min;
    if (!std::isfinite(at.u) || !std::isfinite(at.w)) at.u = at.w = 0.5 * at.width;
    return at;
}

/// base = (from - from_end)/max(a, 1)/(-a_end), n >= 4.
[[gnu::target_clones("avx2", "default")]] void divide_differences(const double* from,
                                                                  double from_end, const double* a,
                                                                  double a_end, double* base,
                                                                  std::size_t n) {
    const Lanes one = Lanes{} + 1.0;
    for (std::size_t i = 0;; i = std::min(i + LANES, n - LANES)) {
        const Lanes divisor = *lanes(a + i) > one ? *lanes(a + i) : one;
        *lanes(base + i) = (*lanes(from + i) - from_end) / divisor / -a_end;
        if (i + LANES >= n) return;
    }
}

/// Base arrays: 1 + a_i V is t a_i + base_i with t the distance from the asymptote. For a_i > 1
/// both are divided by a_i, or products of a large K and a large |V| would overflow.
void build_base(const RachfordRiceState& s, Search& at) {
    const std::size_t end = at.left ? s.i_max : s.i_min;
    const std::span<double> base = at.left ? s.work_b : s.work_c;
    // With a small K the difference of the K keeps digits that 1 has swallowed in K - 1.
    const std::span<double> from = !at.left && s.K[end] < 0.5 ? s.K : s.work_a;
    divide_differences(from.data(), from[end], s.work_a.data(), s.work_a[end], base.data(),
                       base.size());
    (at.left ? at.left_base : at.right_base) = true;
}

/// Brings the working distance into its bracket; the other follows.
void settle_distance(double& near, double& far, const Bracket& bracket, Search& at,
                     int& bisections) {
    near = std::max(near, at.left ? at.u_floor : at.w_floor);
    if (near <= bracket.lower || near > bracket.upper) {
        near = bracket.middle();
        at.exhausted = !bracket.has_inside();
        ++bisections;
    }
    far = at.width - near;
}

/// Chooses the nearer asymptote for the point about to be evaluated.
void choose_side(RachfordRiceState& s, Search& at) {
    const double previous = at.t;
    at.left = at.u < at.w;
    if (at.left) {
        settle_distance(at.u, at.w, at.u_bracket, at, s.bisections);
        at.t = at.u;
        at.limit = at.u_bracket.upper;
    } else {
        settle_distance(at.w, at.u, at.w_bracket, at, s.bisections);
        at.t = -at.w;
        at.limit = -at.w_bracket.upper;
    }
    // A step below the spacing of doubles comes back to the same point.
    if (at.t == previous) at.exhausted = true;
    if (!(at.left ? at.left_base : at.right_base)) build_base(s, at);
}

/// Sums over the terms of the equation, four by four.
struct TermSums {
    Lanes g = {}, h = {};

    [[gnu::always_inline]] void add(const Lanes* z, const Lanes* a, const Lanes* base, double t) {
        const Lanes one = Lanes{} + 1.0;
        const Lanes numerator = *a < one ? *a : one;
        const Lanes ar = numerator / (t * numerator + *base);
        const Lanes term = *z * ar;
        g += term;
        h -= term * ar;
    }
};

/// n >= 4.
[[gnu::target_clones("avx2", "default")]] void sum_terms(const double* z, const double* a,
                                                         const double* base, std::size_t n,
                                                         Search& at) {
    TermSums sums;
    const double t = at.t;
    std::size_t i = 0;
    for (; i + LANES <= n; i += LANES) sums.add(lanes(z + i), lanes(a + i), lanes(base + i), t);
    if (i < n) {
        const LaneBits z_tail = (LaneBits)*lanes(z + n - LANES) & *tail_mask(n - i);
        const Lanes z_left = (Lanes)z_tail;
        sums.add(&z_left, lanes(a + n - LANES), lanes(base + n - LANES), t);
    }
    at.g = sum_of(&sums.g);
    at.h = sum_of(&sums.h);
}

void evaluate(const RachfordRiceState& s, Search& at) {
    const double* base = (at.left ? s.work_b : s.work_c).data();
    sum_terms(s.z.data(), s.work_a.data(), base, s.z.size(), at);
}

/// Phase fractions of the point: the one nearer its asymptote first, the other as its complement.
void set_fractions(RachfordRiceState& s, const Search& at) {
    if (at.left) {
        s.V = at.V_min + at.u;
        s.L = 1.0 - s.V;
    } else {
        s.L = at.L_min + at.w;
        s.V = 1.0 - s.L;
    }
}

void narrow(Search& at) {
    if (at.g <= 0.0) {
        at.u_bracket.upper = at.u;
        at.w_bracket.lower = at.w;
    } else {
        at.u_bracket.lower = at.u;
        at.w_bracket.upper = at.w;
    }
}

/// The root of the hyperbola p + q/t through the point. One that overshoots the bracket, or has no
/// root on this side of the asymptote, is replaced by the bracket's end.
void next_point(RachfordRiceState& s, Search& at) {
    const double q = at.h * at.t * at.t;
    const double p = at.g + at.h * at.t;
    double distance = std::abs(at.limit);
    if (p * at.limit < q) {
        distance = std::abs(q / p);
        ++s.hyperbola_steps;
    } else {
        ++s.bisections;
    }
    if (at.left) {
        at.u = distance;
        at.w = at.width - at.u;
    } else {
        at.w = distance;
        at.u = at.width - at.w;
    }
}

/// x = xi z and y = K xi z, above 0.
[[gnu::always_inline]] inline void compose(const RachfordRiceState& s, std::size_t i,
                                           const Lanes* xi) {
    const Lanes smallest = Lanes{} + SMALLEST_FRACTION;
    const Lanes x = *xi * *lanes(s.z.data() + i);
    const Lanes y = x * *lanes(s.K.data() + i);
    *lanes(s.x.data() + i) = x < smallest ? smallest : x;
    *lanes(s.y.data() + i) = y < smallest ? smallest : y;
}

/// xi from the base array of the last evaluation, and the compositions. n >= 4.
[[gnu::target_clones("avx2", "default")]] void make_phases(const RachfordRiceState& state,
                                                           const double* base, double t) {
    const RachfordRiceState s = state;
    const Lanes one = Lanes{} + 1.0, smallest = Lanes{} + DOUBLE_MIN;
    const std::size_t n = s.z.size();
    for (std::size_t i = 0;; i = std::min(i + LANES, n - LANES)) {
        const Lanes a = *lanes(s.work_a.data() + i);
        const Lanes numerator = a < one ? a : one;
        const Lanes divisor = a > one ? a : one;
        const Lanes exact = 1.0 / (t * numerator + *lanes(base + i)) / divisor;
        const Lanes xi = exact < smallest ? smallest : exact;
        *lanes(s.xi.data() + i) = xi;
        compose(s, i, &xi);
        if (i + LANES >= n) return;
    }
}

/// A root at rounding distance from an end of the tie-line is put there if the end solves the
/// equation as well: the phase fraction is then exactly 0.
void snap_to_end(RachfordRiceState& s, double tolerance) {
    const bool to_liquid = s.V < s.L;
    if (!to_liquid && s.K[s.i_min] <= 0.0) return;
    double g = 0.0, slope = 0.0;
    for (std::size_t i = 0; i < s.z.size(); ++i) {
        const double a = to_liquid ? s.work_a[i] : s.work_a[i] / s.K[i];
        g += s.z[i] * a;
        slope += s.z[i] * a * a;
    }
    if (!(std::abs(g) <= tolerance)) return;
    s.V = to_liquid ? 0.0 : 1.0;
    s.L = 1.0 - s.V;
    s.slope = slope;
    for (std::size_t i = 0; i < s.z.size(); ++i) {
        s.xi[i] = to_liquid ? 1.0 : 1.0 / s.K[i];
        const double x = s.xi[i] * s.z[i];
        s.x[i] = std::max(x, SMALLEST_FRACTION);
        s.y[i] = std::max(s.K[i] * x, SMALLEST_FRACTION);
    }
}

/// True if g is below the rounding of its own sum. The sum of its terms' magnitudes is at most the
/// square root of -h times the sum of z, so that it need not be formed far from the root.
bool is_rounding(const RachfordRiceState& s, const Search& at) {
    constexpr double EPSILON = std::numeric_limits<double>::epsilon();
    constexpr double MARGIN = 1e4;  // for z that sum to more than 1
    if (!(at.g * at.g <= MARGIN * EPSILON * EPSILON * -at.h)) return false;
    const std::span<const double> base = at.left ? s.work_b : s.work_c;
    double scale = 0.0;
    for (std::size_t i = 0; i < s.z.size(); ++i) {
        const double numerator = std::min(s.work_a[i], 1.0);
        scale += std::abs(s.z[i] * (numerator / (at.t * numerator + base[i])));
    }
    return std::abs(at.g) <= EPSILON * scale;
}

bool converged(const RachfordRiceState& s, const Search& at, double tolerance) {
    return std::abs(at.g) * (std::abs(s.L) + std::abs(s.V)) <= tolerance || at.exhausted ||
           is_rounding(s, at);
}

/// n >= 4.
int solve(RachfordRiceState& s, double tolerance, double trivial_tolerance, bool snap) {
    tolerance = std::max(tolerance, NUM_EPS);
    if (trivial_tolerance <= 0.0) trivial_tolerance = std::cbrt(tolerance);
    s.hyperbola_steps = s.bisections = 0;
    find_extremes(s);
    s.trivial = s.ln_K[s.i_max] - s.ln_K[s.i_min] <= trivial_tolerance;
    if (!s.in_range || s.trivial) return 0;
    if (!straddle_one(s)) {
        s.trivial = true;
        return 0;
    }
    exp_of(s.ln_K, s.K, s.work_a);
    Search at = start_search(s);
    int evaluations = 0;
    for (bool done = false; !done;) {
        choose_side(s, at);
        evaluate(s, at);
        set_fractions(s, at);
        ++evaluations;
        done = converged(s, at, tolerance);
        if (!done && evaluations >= RACHFORD_RICE_LIMIT) {
            evaluations = -evaluations;
            done = true;
        }
        if (!done) {
            narrow(at);
            next_point(s, at);
        }
    }
    s.slope = -at.h;
    make_phases(s, (at.left ? s.work_b : s.work_c).data(), at.t);
    if (snap && s.V * s.L != 0.0 && std::abs(s.slope * s.V * s.L) <= 2.0 * tolerance)
        snap_to_end(s, tolerance);
    return evaluations;
}

/// A feed of less than four components, filled up with absent ones that are like the first.
struct Padded {
    explicit Padded(const RachfordRiceState& given) : state(given) {
        const std::size_t n = given.z.size();
        std::ranges::copy(given.z, z);
        std::fill_n(ln_K, LANES, given.ln_K[0]);
        std::ranges::copy(given.ln_K, ln_K);
        if (!given.companion.empty()) {
            std::fill_n(companion, LANES, 0.0);
            std::copy_n(given.companion.begin(), n, companion);
            state.companion = companion;
        }
        state.z = z;
        state.ln_K = ln_K;
        std::span<double>* const arrays[] = {&state.K,      &state.xi,     &state.x,     &state.y,
                                             &state.work_a, &state.work_b, &state.work_c};
        for (std::size_t k = 0; k < std::size(arrays); ++k) *arrays[k] = work[k];
    }
    /// Results into the arrays of the state given; `solved` if there is more than a shift of ln K.
    void give_back(RachfordRiceState& given, bool solved) {
        const auto take = [&](std::span<double> RachfordRiceState::*array, bool wanted) {
            if (wanted)
                std::copy_n((state.*array).begin(), (given.*array).size(), (given.*array).begin());
            state.*array = given.*array;
        };
        using State = RachfordRiceState;
        for (const auto array : {&State::ln_K, &State::companion}) take(array, true);
        for (const auto array : {&State::K, &State::xi, &State::x, &State::y, &State::work_a,
                                 &State::work_b, &State::work_c})
            take(array, solved);
        state.z = given.z;
        given = state;
    }

    RachfordRiceState state;
    double z[LANES] = {}, ln_K[LANES], companion[LANES], work[7][LANES] = {};
};

}  // namespace

int rachford_rice(RachfordRiceState& s, double tolerance, double trivial_tolerance, bool snap) {
    assert(!s.z.empty() && s.ln_K.size() == s.z.size() && s.K.size() == s.z.size());
    if (s.z.size() >= LANES) return solve(s, tolerance, trivial_tolerance, snap);
    Padded padded(s);
    const int evaluations = solve(padded.state, tolerance, trivial_tolerance, snap);
    padded.give_back(s, evaluations != 0);
    return evaluations;
}

}  // namespace kestrane
