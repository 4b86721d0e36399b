// Two-phase split: an iteration on ln K that is guarded by the Gibbs energy and moves between
// successive substitution, its accelerations, Newton steps and steps along the tie-line.

#include <algorithm>
#include <cmath>

#include "equil/ArrayMath.h"
#include "equil/EOSolver.h"
#include "equil/Lanes.h"
#include "equil/PackedLDL.h"
#include "equil/RachfordRice.h"

namespace kestrane {

namespace {

constexpr int ROUND_LIMIT = 200;
constexpr int TIE_LINE_ENTRIES = 3;         ///< times the tie-line mode may be entered
constexpr int SUBSTITUTIONS_PER_CYCLE = 5;  ///< the last of them is an acceleration
constexpr double NEWTON_RESIDUAL = 0.05;    ///< no derivatives are taken above it
constexpr double NEWTON_REACH = 5.0;        ///< largest relative change of an extreme ln K
constexpr double GUARD_FLOOR = 0.1 * E96;   ///< below it the sum constraint has no digits left
constexpr double LARGEST_ACCELERATION = 1e6;
constexpr double LARGEST_EXCESS = 1e9;  ///< of a step over the residual: 31 halvings
constexpr double ENERGY_SLACK = 0.001;  ///< relative rise of the Gibbs energy let pass

enum SplitMode : int { SUBSTITUTION = 0, TIE_LINE = 1, NEWTON = 2 };

double largest_magnitude(std::span<const double> values) {
    double largest = 0.0;
    for (double value : values)
        if (!(std::abs(value) <= largest)) largest = std::abs(value);  // lets a NaN through
    return largest;
}

double sum(std::span<const double> values) {
    double total = 0.0;
    for (double value : values) total += value;
    return total;
}

/// out = M d for a packed symmetric matrix.
void multiply(std::span<const double> M, std::span<const double> d, std::span<double> out) {
    const double* row = M.data();
    const double* const from = d.data();
    double* const __restrict to = out.data();
    for (std::size_t i = 0; i < d.size(); ++i) {
        const double d_i = from[i];
        double total = row[i] * d_i;
        for (std::size_t j = 0; j < i; ++j) {
            total += row[j] * from[j];
            to[j] += row[j] * d_i;
        }
        to[i] = total;
        row += i + 1;
    }
}

/// M = weight M + other_weight other.
[[gnu::target_clones("avx2", "default")]] void add_weighted(double* M, double weight,
                                                            const double* other,
                                                            double other_weight, std::size_t size) {
    if (size < LANES) {
        for (std::size_t m = 0; m < size; ++m) M[m] = other_weight * other[m] + weight * M[m];
        return;
    }
    // The last block may overlap the one before it, so it is calculated first.
    const std::size_t last = size - LANES;
    const Lanes last_block = other_weight * *lanes(other + last) + weight * *lanes(M + last);
    for (std::size_t m = 0; m < last; m += LANES)
        *lanes(M + m) = other_weight * *lanes(other + m) + weight * *lanes(M + m);
    *lanes(M + last) = last_block;
}

/// What tangent distances are made of: ln of the phase nearer the feed over the feed, and sign ln K
/// that leads from it to the other.
struct DistanceTerms {
    const double* ln_near;
    const double* ln_phi_feed;
    const double* ln_K;
    double sign;
};

[[gnu::target_clones("avx2", "default")]] void sum_distances(const DistanceTerms& terms,
                                                             const PhaseState& near,
                                                             const PhaseState& far, std::size_t n,
                                                             double& G_near, double& G_far) {
    const DistanceTerms f = terms;
    const double *x_near = near.comps, *x_far = far.comps;
    const double *phi_near = near.ln_phi, *phi_far = far.ln_phi;
    Lanes sum_near = {}, sum_far = {};
    std::size_t i = 0;
    for (; i + LANES <= n; i += LANES) {
        const Lanes t = *lanes(f.ln_near + i) - *lanes(f.ln_phi_feed + i);
        sum_near += *lanes(x_near + i) * (t + *lanes(phi_near + i));
        sum_far += *lanes(x_far + i) * (t + f.sign * *lanes(f.ln_K + i) + *lanes(phi_far + i));
    }
    G_near = sum_of(&sum_near);
    G_far = sum_of(&sum_far);
    for (; i < n; ++i) {
        const double t = f.ln_near[i] - f.ln_phi_feed[i];
        G_near += x_near[i] * (t + phi_near[i]);
        G_far += x_far[i] * (t + f.sign * f.ln_K[i] + phi_far[i]);
    }
}

}  // namespace

/// What the rounds of a split share. All arrays are n long, the matrices packed.
struct EOSolver::SplitState {
    SplitState(WorkStack& stack, std::size_t n);

    RachfordRiceState rr;
    std::span<double> step;       ///< s: last change of ln K
    std::span<double> r, r1, r2;  ///< residuals ln phiX - ln phiY - ln K, most recent first
    std::span<double> d;          ///< y - x
    std::span<double> e;          ///< 1/(xi y)
    std::span<double> p, q;       ///< d xi and K p
    std::span<double> P, Q;       ///< curvatures along the tie-line, at X and at Y
    std::span<double> H, MY;      ///< derivatives of X, later the Hessian; derivatives of Y
    std::span<double> work;       ///< 4n
    std::span<const double> ln_phi_feed;

    int round = 0;
    int mode = NEWTON;
    int halvings = 0;  ///< allowed for the step last taken
    int substitutions = 0;
    int tie_line_entries = TIE_LINE_ENTRIES;
    bool two_phase = false;  ///< a tie-line was evaluated
    bool positive = false, negative = false;
    bool multi_root = false;
    bool converged = false;

    double spread = 0.0;        ///< of ln K
    double rX = 0.0, rY = 0.0;  ///< spreads of ln(x/z) and ln(y/z)
    double GX = 0.0, GY = 0.0;  ///< tangent distances of the phases from the feed
    double G = 0.0, G_min = 0.0;
    double G_prev = BIG, G_min_prev = 0.0;
    double res = 0.0, tolerance = 0.0;
    double A = 0.0, B = 0.0;    ///< -sum r y and sum r x
    double S1 = 0.0, S2 = 0.0;  ///< P d and Q d
    double guard = GUARD_FLOOR;
    double alpha = 0.0, beta = 0.0;  ///< of the step's constraint
    SolverCounters counters{};

    double& L() { return rr.L; }
    double& V() { return rr.V; }
    double VL() const { return rr.L * rr.V; }
    /// True if more of component i is in Y than in X.
    bool mostly_vapor(std::size_t i) const {
        return std::abs(rr.L * rr.x[i]) < std::abs(rr.V * rr.y[i]);
    }
};

EOSolver::SplitState::SplitState(WorkStack& stack, std::size_t n) {
    std::span<double>* const arrays[] = {
        &step, &r, &r1, &r2, &d, &e, &p, &q, &P, &Q, &rr.xi, &rr.work_a, &rr.work_b, &rr.work_c};
    constexpr std::size_t COUNT = std::size(arrays), ZEROED = 4, LANE_ARRAYS = 4;
    const std::size_t triangle = n * (n + 1) / 2;
    double* next = stack.take((COUNT + LANE_ARRAYS) * n + 2 * triangle).data();
    std::fill_n(next, ZEROED * n, 0.0);
    const auto carve = [&next](std::size_t count) {
        const std::span<double> array(next, count);
        next += count;
        return array;
    };
    for (std::span<double>* array : arrays) *array = carve(n);
    H = carve(triangle);
    MY = carve(triangle);
    work = carve(LANE_ARRAYS * n);
    rr.companion = step;
}

bool EOSolver::split(double& G) {
    const WorkStack::Frame frame(store_->work);
    SplitState s(store_->work, n_);
    split_begin(s);
    while (split_trial(s)) {
        split_residuals(s);
        if (!std::isfinite(s.res)) {
            errors_.Fail("K-Values went out of bounds during phase split calculations");
            s.two_phase = false;
            s.G = 0.0;
            break;
        }
        if (split_collapses(s)) split_collapse(s);
        if (s.converged || s.round >= ROUND_LIMIT) break;
        split_choose_step(s);
        split_limit(s);
        split_advance(s);
    }
    return split_end(s, G);
}

void EOSolver::split_begin(SplitState& s) {
    s.rr.z = z();
    s.rr.ln_K = ln_k();
    s.rr.K = k();
    s.rr.x = comps(x_);
    s.rr.y = comps(y_);
    s.rr.L = x_.fraction;
    s.rr.V = y_.fraction;
    s.ln_phi_feed = ln_phi(feed_);
    s.multi_root = std::abs(feed_.root) >= 2;
}

/// Evaluates the present ln K, halving the step until the result is acceptable. False if no
/// two-phase point is left.
bool EOSolver::split_trial(SplitState& s) {
    for (;;) {
        split_rachford_rice(s);
        if (s.two_phase) {
            evaluate(x_, 0);
            evaluate(y_, 0);
            if (std::abs(x_.root) >= 2 || std::abs(y_.root) >= 2) s.multi_root = true;
            split_tangent_distances(s);
        }
        const bool energy_falls =
            s.G - s.G_prev <=
            (E96 / ENERGY_SLACK + std::abs(s.G) + std::abs(s.G_prev)) * ENERGY_SLACK;
        if (s.halvings == 0 || (s.rr.in_range && (s.positive || s.G_prev >= -DOUBLE_MIN) &&
                                (s.G_min <= 0.0 || s.G_min_prev >= 0.0) && energy_falls))
            break;
        for (std::size_t i = 0; i < n_; ++i) {
            s.step[i] *= 0.5;
            s.rr.ln_K[i] -= s.step[i];
        }
        ++s.counters[COUNT_HALVINGS];
        s.substitutions = 0;
        --s.halvings;
    }
    s.G_min_prev = s.G_min;
    s.G_prev = s.positive ? s.G : BIG;
    if (!s.rr.in_range && !s.rr.trivial) {
        errors_.Fail("K-Values went out of bounds during phase split calculations");
        s.G = 0.0;
    }
    return s.two_phase;
}

/// Phase fractions and compositions from ln K; the class of the result.
void EOSolver::split_rachford_rice(SplitState& s) {
    RachfordRiceState& rr = s.rr;
    const int evaluations = rachford_rice(rr, 0.0, SPREAD_TRIVIAL, true);
    SolverStats& statistics = solver_statistics().rachford_rice;
    ++statistics.calls;
    statistics.count(COUNT_ROUNDS, std::abs(evaluations));
    statistics.count(COUNT_NEWTON, rr.hyperbola_steps);
    statistics.count(COUNT_LIMITED, rr.bisections);
    statistics.count(COUNT_FAILURES, evaluations < 0 ? 1 : 0);
    if (evaluations < 0)
        errors_.Warn("Rachford-Rice convergence failed during phase split calculations");
    s.spread = rr.ln_K[rr.i_max] - rr.ln_K[rr.i_min];
    s.two_phase = rr.in_range && !rr.trivial;
    s.positive = s.two_phase && s.VL() > 0.0;
    s.negative = s.two_phase && s.VL() < 0.0;
    if (!s.two_phase) {
        s.G = s.G_min = rr.in_range ? 0.0 : BIG;
        if (s.round == 0) test1_now = std::max<int>(test1_now, TEST_TRIVIAL);
    }
}

/// Tangent plane distances of both phases from the feed. The logarithm of the phase that is nearer
/// the feed is formed, and ln K added for the other: so neither loses digits near the feed.
void EOSolver::split_tangent_distances(SplitState& s) {
    const RachfordRiceState& rr = s.rr;
    const double dX = std::log(rr.xi[rr.i_min] / rr.xi[rr.i_max]);
    s.rX = std::abs(dX);
    s.rY = std::abs(s.spread - dX);
    const bool from_y = s.rY < s.rX;
    // The arrays of the Newton step are free here.
    const std::span<double> ratio = s.e, ln_ratio = s.p;
    for (std::size_t i = 0; i < n_; ++i) ratio[i] = from_y ? rr.xi[i] * rr.K[i] : rr.xi[i];
    log_of(ratio, ln_ratio);
    const PhaseState& near = from_y ? y_ : x_;
    const PhaseState& far = from_y ? x_ : y_;
    double G_near = 0.0, G_far = 0.0;
    sum_distances({ln_ratio.data(), s.ln_phi_feed.data(), rr.ln_K.data(), from_y ? -1.0 : 1.0},
                  near, far, n_, G_near, G_far);
    const double GX = from_y ? G_far : G_near;
    const double GY = from_y ? G_near : G_far;
    s.GX = std::abs(GX) > s.rX * E12 + E96 ? GX : 0.0;
    s.GY = std::abs(GY) > s.rY * E12 + E96 ? GY : 0.0;
    // The smallest double lets a split without any gain still count as below the single phase.
    s.G = s.positive ? rr.L * s.GX + rr.V * s.GY - DOUBLE_MIN : 0.0;
    s.G_min = std::min(s.GX, s.GY);
    if (s.rX <= 1.1 * SPREAD_TRIVIAL) s.GX = BIG;
    if (s.rY <= 1.1 * SPREAD_TRIVIAL) s.GY = BIG;
}

void EOSolver::split_residuals(SplitState& s) {
    std::swap(s.r2, s.r1);
    std::swap(s.r1, s.r);
    const double *phi_x = x_.ln_phi, *phi_y = y_.ln_phi, *ln_K = s.rr.ln_K.data();
    const double *x = x_.comps, *y = y_.comps;
    double* const r = s.r.data();
    double A = 0.0, B = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        r[i] = phi_x[i] - phi_y[i] - ln_K[i];
        A -= r[i] * y[i];
        B += r[i] * x[i];
    }
    s.A = A;
    s.B = B;
    s.res = largest_magnitude(s.r);
    s.tolerance = s.spread * E12 + E96;
    const double smaller = std::min(s.L(), s.V());
    s.converged = s.mode != TIE_LINE && s.res <= s.tolerance &&
                  (smaller > 0.0 || std::min(s.GX, s.GY) >= 0.0);
}

/// True if the two-phase point is no better than the feed.
bool EOSolver::split_collapses(const SplitState& s) const {
    const double smaller = std::min(s.rr.L, s.rr.V);
    if (s.G < 0.0 || smaller == 0.0) return false;
    return (s.converged && smaller > 0.0) ||
           (std::min(s.GX, s.GY) < 0.0 && (s.converged || smaller < 0.0));
}

/// Replaces the phase of greater tangent distance by the feed. The other goes on as a trial phase
/// against a fixed feed.
void EOSolver::split_collapse(SplitState& s) {
    RachfordRiceState& rr = s.rr;
    double preference = std::abs(rr.V) * s.GY - std::abs(rr.L) * s.GX;
    if (preference == 0.0) preference = rr.V - rr.L;
    const bool replace_y = preference > 0.0;
    const double kept = replace_y ? rr.V : rr.L;
    for (std::size_t i = 0; i < n_; ++i) {
        rr.K[i] = replace_y ? 1.0 / rr.xi[i] : rr.K[i] * rr.xi[i];
        if (!replace_y) rr.xi[i] = 1.0;
        (replace_y ? rr.y : rr.x)[i] = rr.z[i];
        rr.work_a[i] *= kept;  // K - 1, with all its digits
        rr.ln_K[i] = std::abs(rr.work_a[i]) < 0.5 ? std::log1p(rr.work_a[i]) : std::log(rr.K[i]);
    }
    evaluate(replace_y ? y_ : x_, 0);
    rr.slope *= kept * kept;
    // A phase on the far side of the feed has its K in the opposite order.
    if (kept < 0.0) std::swap(rr.i_min, rr.i_max);
    rr.L = replace_y ? 0.0 : 1.0;
    rr.V = 1.0 - rr.L;
    (replace_y ? s.GY : s.GX) = 0.0;
    s.spread = replace_y ? s.rX : s.rY;
    s.substitutions = 0;
    s.positive = s.negative = false;
    s.G = 0.0;
    s.G_prev = BIG;
    for (std::size_t i = 0; i < n_; ++i) s.r[i] = x_.ln_phi[i] - y_.ln_phi[i] - rr.ln_K[i];
    s.res = largest_magnitude(s.r);
    s.tolerance = s.spread * E12 + E96;
    s.G_min_prev = std::min(s.GX, s.GY);
    s.converged = s.res <= s.tolerance && s.G_min_prev >= 0.0;
    ++s.counters[COUNT_COLLAPSES];
}

/// Newton where the residuals are small and the curvature is right, tie-line steps where it is
/// not, substitution otherwise.
void EOSolver::split_choose_step(SplitState& s) {
    const int previous = s.mode;
    if (s.mode != TIE_LINE) {
        if (s.substitutions == 0) s.mode = NEWTON;
        if (s.res > NEWTON_RESIDUAL) s.mode = SUBSTITUTION;
    }
    s.S1 = s.S2 = 0.0;
    if (s.mode != SUBSTITUTION) {
        split_derivatives(s);
        const bool stay =
            s.mode == TIE_LINE && std::max(std::abs(s.A), std::abs(s.B)) > s.tolerance;
        if (!stay) s.mode = split_newton_or_tie_line(s);
        if (s.mode == TIE_LINE) split_tie_line(s);
        if (s.mode == NEWTON) ++s.counters[COUNT_NEWTON];
        if (s.mode != SUBSTITUTION) s.substitutions = 0;
    }
    if (previous == TIE_LINE && s.mode != TIE_LINE) --s.tie_line_entries;
    if (s.mode == SUBSTITUTION) split_substitution(s);
}

/// Hessian of the Gibbs energy in the phase amounts, and curvatures along the tie-line.
void EOSolver::split_derivatives(SplitState& s) {
    const RachfordRiceState& rr = s.rr;
    eos_.ln_phi_dn(*x_.c_parms, s.H);
    eos_.ln_phi_dn(*y_.c_parms, s.MY);
    ++s.counters[COUNT_DERIVATIVES];
    for (std::size_t i = 0; i < n_; ++i) s.d[i] = rr.y[i] - rr.x[i];
    multiply(s.H, s.d, s.P);
    multiply(s.MY, s.d, s.Q);
    add_weighted(s.H.data(), rr.V, s.MY.data(), rr.L, s.H.size());
    for (std::size_t i = 0; i < n_; ++i) {
        const double a = rr.work_a[i];
        s.P[i] += a;
        s.Q[i] += a / rr.K[i];
        s.e[i] = 1.0 / (rr.xi[i] * rr.y[i]);
        s.H[packed(i, i)] += s.e[i];
        s.p[i] = s.d[i] * rr.xi[i];
        s.q[i] = rr.K[i] * s.p[i];
        s.S1 += s.P[i] * s.d[i];
        s.S2 += s.Q[i] * s.d[i];
    }
}

int EOSolver::split_newton_or_tie_line(SplitState& s) {
    if (!(s.S1 > 0.0 && s.S2 > 0.0) && s.tie_line_entries != 0) return TIE_LINE;
    const PivotRange pivots = ldl_factor(s.H, n_);
    if (s.tie_line_entries != 0 && pivots.smallest <= E6144 && std::min(s.B, s.A) < -GUARD_FLOOR)
        return TIE_LINE;
    if (pivots.smallest_abs <= E6144 || (pivots.smallest < 0.0 && !s.negative)) return SUBSTITUTION;
    return split_newton(s);
}

/// Newton step in ln K. SUBSTITUTION if it reaches too far.
int EOSolver::split_newton(SplitState& s) {
    const RachfordRiceState& rr = s.rr;
    std::ranges::copy(s.r, s.step.begin());
    split_newton_constraint(s);
    for (std::size_t i = 0; i < n_; ++i) {
        const double correction = s.mostly_vapor(i) ? s.beta * s.p[i] : s.alpha * s.q[i];
        s.step[i] = (correction + s.step[i]) * s.e[i];
    }
    const auto reach = [&](std::size_t i) { return std::abs(s.step[i] / rr.ln_K[i]); };
    const bool near = reach(rr.i_min) <= NEWTON_REACH && reach(rr.i_max) <= NEWTON_REACH;
    return near ? NEWTON : SUBSTITUTION;
}

/// Solves with the factored Hessian and finds the multipliers that keep both compositions summing
/// to one; each component is eliminated through the phase that holds less of it.
void EOSolver::split_newton_constraint(SplitState& s) {
    std::size_t in_vapor = 0;
    for (std::size_t i = 0; i < n_; ++i) in_vapor += s.mostly_vapor(i) ? 1 : 0;
    ldl_solve(s.H, s.P, s.Q, s.step, s.work);
    double a = 1.0, b = -1.0;
    if (in_vapor < n_) {
        a = sum(s.P);
        for (std::size_t i = 0; i < n_; ++i) s.q[i] -= s.P[i];
    }
    if (in_vapor > 0) {
        b = sum(s.Q);
        for (std::size_t i = 0; i < n_; ++i) s.p[i] -= s.Q[i];
    }
    if (!s.negative) {
        a = std::abs(a);
        b = -std::abs(b);
    }
    const double sigma = sum(s.step);
    s.alpha = s.beta = 0.0;
    if (std::abs(sigma) <= s.guard) {
        s.guard *= 0.5;
        return;
    }
    if (std::abs(a) > s.guard) s.alpha = sigma / a;
    if (std::abs(b) > s.guard) s.beta = sigma / b;
    s.guard = GUARD_FLOOR;
}

/// Moves both phases along the tie-line: x - alpha d, y + beta d.
void EOSolver::split_tie_line(SplitState& s) {
    const RachfordRiceState& rr = s.rr;
    double matrix[] = {s.S1, s.A + s.B, s.S2};
    double right[] = {-s.A, -s.B};
    if (ldl_factor(matrix, 2).smallest > 0.0) {
        ldl_solve(matrix, right);
    } else {
        right[0] = s.S1 > 0.0 ? -s.A / s.S1 : 1.0;
        right[1] = s.S2 > 0.0 ? -s.B / s.S2 : 1.0;
    }
    const double alpha = std::clamp(right[0], -0.5, 2.0);
    const double beta = std::clamp(right[1], -0.5, 2.0);
    for (std::size_t i = 0; i < n_; ++i) {
        const double x = rr.x[i] - alpha * s.d[i];
        const double y = rr.y[i] + beta * s.d[i];
        if (!(x > 0.0 && y > 0.0)) {
            s.mode = SUBSTITUTION;
            return;
        }
        s.step[i] = std::log(y / x) - rr.ln_K[i];
    }
    ++s.counters[COUNT_TIE_LINE];
}

void EOSolver::split_substitution(SplitState& s) {
    if (++s.substitutions < SUBSTITUTIONS_PER_CYCLE) {
        std::ranges::copy(s.r, s.step.begin());
        ++s.counters[COUNT_SUBSTITUTION];
    } else {
        s.substitutions = 0;
        split_accelerate(s);
    }
}

/// Extrapolates the residuals of the last substitutions, by two terms where they shrink evenly and
/// the step goes downhill, otherwise by one.
void EOSolver::split_accelerate(SplitState& s) {
    const RachfordRiceState& rr = s.rr;
    double a00 = 0.0, a01 = 0.0, a02 = 0.0, a11 = 0.0, a12 = 0.0, a22 = 0.0;
    double s0 = 0.0, s1 = 0.0, q00 = 0.0, q01 = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        const double r = s.r[i], r1 = s.r1[i], r2 = s.r2[i];
        const double w = rr.x[i] + rr.y[i];
        a00 += w * r * r, a01 += w * r * r1, a02 += w * r * r2;
        a11 += w * r1 * r1, a12 += w * r1 * r2, a22 += w * r2 * r2;
        const double v = rr.xi[i] * rr.y[i];
        s0 += v * r, s1 += v * r1, q00 += v * r * r, q01 += v * r * r1;
    }
    const double C1 = s.positive ? -s0 * s1 - s.VL() * rr.slope * q01 : 0.0;
    const double C2 = s.positive ? -s0 * s0 - s.VL() * rr.slope * q00 : -1.0;
    const double d = a11 - a01;
    const double f = a11 * a22 - a12 * a12;
    const double g = a01 * a12 - a02 * a11;
    const double c = (a22 - a12) * d - (a12 - a11) * (a12 - a02);
    if (a00 < a11 && f > E96 * a11 * a22 && std::abs(g) < f && f * C2 < g * C1 && c > 0.0) {
        for (std::size_t i = 0; i < n_; ++i) s.step[i] = (f * s.r[i] - g * s.r1[i]) / c;
        ++s.counters[COUNT_TWO_TERM];
        return;
    }
    double lambda = LARGEST_ACCELERATION;
    if (s.spread * 0.05 < s.res * lambda) lambda = std::max(1.0, s.spread * 0.05 / s.res);
    if (lambda * d <= a11) {
        ++s.counters[COUNT_ONE_TERM_CAPPED];
    } else {
        lambda = a11 / std::abs(d);
        ++s.counters[COUNT_ONE_TERM];
    }
    for (std::size_t i = 0; i < n_; ++i) s.step[i] = lambda * s.r[i];
}

/// Keeps the extreme K on their side of one.
void EOSolver::split_limit(SplitState& s) {
    const auto relative = [&s](std::size_t i) { return s.step[i] / s.rr.ln_K[i]; };
    const double rho = std::min(relative(s.rr.i_max), relative(s.rr.i_min));
    if (!(rho <= -1.0)) return;
    for (double& step : s.step) step *= -0.5 / rho;
    ++s.counters[COUNT_LIMITED];
    s.substitutions = 0;
}

void EOSolver::split_advance(SplitState& s) {
    const double largest = largest_magnitude(s.step);
    for (std::size_t i = 0; i < n_; ++i) s.rr.ln_K[i] += s.step[i];
    s.halvings = 1;
    const double reach = std::max(s.rr.ln_K[s.rr.i_max], -s.rr.ln_K[s.rr.i_min]);
    const double excess = std::min(largest / std::max(s.res, 0.01 * reach), LARGEST_EXCESS);
    if (excess > 1.5) s.halvings += static_cast<int>(std::lround(std::log2(excess + 0.5)));
    ++s.round;
}

bool EOSolver::split_end(SplitState& s, double& G) {
    SolverStatistics& statistics = solver_statistics();
    if (s.two_phase && !s.converged) {
        ++s.counters[COUNT_FAILURES];
        // Where no tie-line through the feed exists, the search for one outside the two-phase
        // region wanders. One phase is the answer then, and a stability test will judge it.
        if (s.negative && cell_.test1 > TEST_NEVER)
            s.two_phase = false;
        else
            errors_.Warn("K-value convergence failed during phase split calculations");
    }
    s.counters[COUNT_ROUNDS] = s.round;
    (!s.two_phase ? statistics.trivial_splits
     : s.negative ? statistics.negative_splits
                  : statistics.two_phase_splits)
        .add(s.counters);
    if (s.multi_root) raise_tests();
    G = s.G;
    if (!s.two_phase) return false;
    x_.fraction = s.rr.L;
    y_.fraction = s.rr.V;
    x_.z_factor = eos_.z_factor(*x_.c_parms);
    y_.z_factor = eos_.z_factor(*y_.c_parms);
    return true;
}

}  // namespace kestrane
