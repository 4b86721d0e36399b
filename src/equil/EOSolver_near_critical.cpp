// Saturation pressures next to a critical point, where the incipient phase is all but the feed.
//
// There stationary points of the tangent plane distance D cannot be followed: their distance from
// the trivial one goes to zero, D with its fourth power. But D itself is smooth. In the variables
// alpha = 2 sqrt(W) (Michelsen, Fluid Phase Equilib. 9 (1982) 1) its Hessian at the feed has one
// eigenvalue a near zero, with eigenvector e; the others are near one. Along the curve through the
// feed on which D is least in all directions but e,
//
//     D(s) = a s^2/2 + b s^3/6 + c s^4/24 + d s^5/120 + ...
//
// The feed is saturated where D and dD/ds vanish at an s other than 0: b + c s/2 + 3 d s^2/20 = 0
// and a = c s^2/12 + d s^3/30. At the critical point a and b are 0. Where the phases are far enough
// apart for rounding to let it, Newton's method goes on from there.

#include <algorithm>
#include <cmath>

#include "equil/EOSolver.h"
#include "equil/PackedLDL.h"

namespace kestrane {

namespace {

constexpr int EIGEN_ROUNDS = 12;
constexpr int PRESSURE_ROUNDS = 15;
constexpr int POLISH_ROUNDS = 4;
constexpr double FIRST_STEP = 1e-4;         ///< of ln P
constexpr double LARGEST_STEP = 0.05;       ///< of ln P, in a round
constexpr double FARTHEST = 0.2;            ///< of ln P, from the start
constexpr double CLOSE = 1e-10;             ///< of ln P
constexpr double DIFFERENCE = 0.005;        ///< ln K over which derivatives along e are taken
constexpr double LARGEST_DIFFERENCE = 0.2;  ///< of any ln K, traces included
constexpr double LARGEST_SPREAD = 1.0;      ///< of ln K, for a series in it to be of use

double dot(std::span<const double> p, std::span<const double> q) {
    double sum = 0.0;
    for (std::size_t i = 0; i < p.size(); ++i) sum += p[i] * q[i];
    return sum;
}

/// p += factor q.
void add(std::span<double> p, double factor, std::span<const double> q) {
    for (std::size_t i = 0; i < p.size(); ++i) p[i] += factor * q[i];
}

}  // namespace

/// The tangent plane distance around the feed; arrays are in the variables alpha.
struct EOSolver::CriticalState {
    CriticalState(WorkStack& work, std::size_t n)
        : root_z(work.take(n)),
          e(work.take(n)),
          bend(work.take(n)),
          alpha(work.take(n)),
          g(work.take(n)),
          B(work.take(n * (n + 1) / 2)),
          factors(work.take(n * (n + 1) / 2)) {}
    std::span<double> root_z;   ///< n: sqrt(z)
    std::span<double> e;        ///< n: direction in which the feed becomes unstable, of length 1
    std::span<double> bend;     ///< n: of the curve, which is e s - bend s^2/2
    std::span<double> alpha;    ///< n: trial less feed
    std::span<double> g;        ///< n: gradient there
    std::span<double> B;        ///< packed: Hessian at the feed
    std::span<double> factors;  ///< of B + e e^T, which is far from singular
    double a = 0.0, b = 0.0, c = 0.0, d = 0.0;
    double ln_P = 0.0;
    double slope = 0.0;  ///< of the excess in ln P

    /// s of the incipient phase.
    double amplitude() const {
        double s = -2.0 * b / c;
        for (int round = 0; round < 3; ++round) s = -2.0 * b / c - 0.3 * d / c * s * s;
        return s;
    }
    /// Zero at saturation; has the sign of the curvature where that is well off it.
    double excess() const {
        const double s = amplitude();
        return a - (c / 12.0 + d * s / 30.0) * s * s;
    }
};

/// From the cell's pressure to a saturation pressure near by. True if there is one of that sense;
/// the pressure is then the cell's, and w its ln(incipient/feed).
bool EOSolver::saturation_near_critical(std::span<double> w, int sense) {
    const WorkStack::Frame frame(store_->work);
    CriticalState s(store_->work, n_);
    s.ln_P = std::log(cell_.pressure.value);
    critical_begin(s);
    if (!critical_pressure(s, sense)) return false;
    const double along = s.amplitude();
    for (std::size_t i = 0; i < n_; ++i) s.alpha[i] = along * (s.e[i] - 0.5 * along * s.bend[i]);
    const double spread = critical_ln_k(s, w);
    if (!(spread < LARGEST_SPREAD)) return false;
    // Of ln P: what the series leaves out, judged by its last term, and what rounding of the
    // tangent plane distance does.
    const double ratio = std::max(spread, std::abs(s.d * along / s.c));
    const double left_out = ratio * ratio * s.c * along * along / (12.0 * std::abs(s.slope));
    const double rounding = 2.0 * NUM_EPS / (std::abs(s.slope) * along * along);
    if (left_out > rounding && critical_newton(s, w, sense)) return true;
    if (left_out > 0.5 * P_LOW_LIMIT) return false;
    set_phase_pressures(std::exp(s.ln_P));
    evaluate(feed_, 0);
    for (int round = 0; round < POLISH_ROUNDS; ++round) {
        if (!critical_gradient(s)) return false;
        add(s.g, -dot(s.e, s.g), s.e);
        ldl_solve(s.factors, s.g);
        add(s.alpha, -1.0, s.g);
    }
    return critical_ln_k(s, w) < LARGEST_SPREAD;
}

/// ln(trial/feed); returns their spread.
double EOSolver::critical_ln_k(const CriticalState& s, std::span<double> w) const {
    for (std::size_t i = 0; i < n_; ++i) w[i] = 2.0 * std::log1p(0.5 * s.alpha[i] / s.root_z[i]);
    const auto [low, high] = std::ranges::minmax(w);
    return high - low;
}

/// Newton's method from the series. False if it does not converge close to where it began.
bool EOSolver::critical_newton(const CriticalState& s, std::span<double> w, int sense) {
    constexpr double NEAR = 0.5;  // of the spread, below which it has run to the feed itself
    constexpr double SLACK = 1e-3;
    const auto [low, high] = std::ranges::minmax(w);
    if (saturation_newton(trial_, w, sense, NEAR * (high - low)) != sense * SATURATION_FOUND)
        return false;
    return std::abs(std::log(cell_.pressure.value) - s.ln_P) < SLACK;
}

/// The pressure of a scan at which the feed is nearest to instability by itself, whether or not it
/// gets there; 0 if it is nowhere near.
double EOSolver::least_curvature_pressure() {
    constexpr double LOWEST = 1e4;  // Pa; gases below it are ideal
    constexpr double FACTOR = 1.25;
    constexpr double NEAR = 0.3;  // of the eigenvalue, which is 1 in an ideal mixture
    const WorkStack::Frame frame(store_->work);
    CriticalState s(store_->work, n_);
    critical_begin(s);
    double least = NEAR, found = 0.0;
    for (double P = LOWEST; P < P_HIGH_LIMIT; P *= FACTOR) {
        set_phase_pressures(P);
        evaluate(feed_, 0);
        if (!critical_direction(s) || s.a >= least) continue;
        least = s.a;
        found = P;
    }
    return found;
}

void EOSolver::critical_begin(CriticalState& s) {
    wilson();
    for (std::size_t i = 0; i < n_; ++i) {
        s.root_z[i] = std::sqrt(z()[i]);
        s.e[i] = s.root_z[i] * wilson_ln_k()[i];
    }
}

/// Secants in ln P to the pressure where the series has its double zero.
bool EOSolver::critical_pressure(CriticalState& s, int sense) {
    const double start = s.ln_P;
    if (!critical_expand(s)) return false;
    double before = s.excess();
    double step = before > 0.0 ? -sense * FIRST_STEP : sense * FIRST_STEP;
    for (int round = 0; round < PRESSURE_ROUNDS; ++round) {
        s.ln_P += step;
        if (std::abs(s.ln_P - start) > FARTHEST || !critical_expand(s)) return false;
        const double now = s.excess();
        if (std::abs(step) <= CLOSE || now == 0.0) return true;
        s.slope = (now - before) / step;
        // The curvature rises to where the feed is stable.
        if (!(sense * s.slope > 0.0)) return false;
        step = std::clamp(-now / s.slope, -LARGEST_STEP, LARGEST_STEP);
        before = now;
    }
    return false;
}

/// The series at the present pressure. False if it has no double zero there.
bool EOSolver::critical_expand(CriticalState& s) {
    set_phase_pressures(std::exp(s.ln_P));
    evaluate(feed_, 0);
    if (!critical_direction(s)) return false;
    // D bends with the fourth moment of ln K along e, which traces hardly count in.
    double moment = 0.0, largest = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        const double w = s.e[i] / s.root_z[i];
        moment += s.e[i] * s.e[i] * w * w;
        largest = std::max(largest, std::abs(w));
    }
    const double h = std::min(DIFFERENCE / std::sqrt(moment), LARGEST_DIFFERENCE / largest);
    return critical_curve(s, h) && critical_derivatives(s, h);
}

/// The curve through the feed: where the gradient's other directions vanish to second order.
bool EOSolver::critical_curve(CriticalState& s, double h) {
    std::ranges::fill(s.bend, 0.0);
    for (const double step : {h, -h}) {
        for (std::size_t i = 0; i < n_; ++i) s.alpha[i] = step * s.e[i];
        if (!critical_gradient(s)) return false;
        add(s.bend, 1.0 / (h * h), s.g);
    }
    add(s.bend, -dot(s.e, s.bend), s.e);
    ldl_solve(s.factors, s.bend);
    return true;
}

/// Derivatives of D along the curve, from dD/ds at +-h and +-2h.
bool EOSolver::critical_derivatives(CriticalState& s, double h) {
    double odd[2] = {0.0, 0.0}, even[2] = {0.0, 0.0};
    for (const double step : {1.0, -1.0, 2.0, -2.0}) {
        const double at = step * h;
        for (std::size_t i = 0; i < n_; ++i) s.alpha[i] = at * (s.e[i] - 0.5 * at * s.bend[i]);
        if (!critical_gradient(s)) return false;
        const double half = 0.5 * (dot(s.g, s.e) - at * dot(s.g, s.bend));
        const std::size_t place = std::abs(step) > 1.0;
        odd[place] += step > 0.0 ? half : -half;
        even[place] += half;
    }
    const double h2 = h * h;
    s.b = (16.0 * even[0] - even[1]) / (6.0 * h2);
    // With the first derivative from the Hessian, which leaves out less.
    s.c = (32.0 * odd[0] - odd[1] - 30.0 * s.a * h) / (4.0 * h * h2);
    s.d = 2.0 * (even[1] - 4.0 * even[0]) / (h2 * h2);
    return s.c > 0.0 && std::isfinite(s.a) && std::isfinite(s.b) && std::isfinite(s.d);
}

/// Smallest eigenvalue of the Hessian at the feed and its vector, by inverse iteration.
bool EOSolver::critical_direction(CriticalState& s) {
    constexpr double SAME = 1e-9;  // the eigenvalue is exact to its square
    eos_.ln_phi_dn(*feed_.c_parms, s.B);
    for (std::size_t i = 0; i < n_; ++i) {
        for (std::size_t j = 0; j <= i; ++j) s.B[packed(i, j)] *= s.root_z[i] * s.root_z[j];
        s.B[packed(i, i)] += 1.0;
    }
    for (int round = 0; round < EIGEN_ROUNDS; ++round) {
        const double length = std::sqrt(dot(s.e, s.e));
        for (double& part : s.e) part /= length;
        // (B + e e^T)^-1 e is along B^-1 e, without its singularity.
        std::ranges::copy(s.B, s.factors.begin());
        for (std::size_t i = 0; i < n_; ++i)
            for (std::size_t j = 0; j <= i; ++j) s.factors[packed(i, j)] += s.e[i] * s.e[j];
        ldl_factor(s.factors, n_);
        std::ranges::copy(s.e, s.g.begin());
        ldl_solve(s.factors, s.g);
        const double along = dot(s.e, s.g);
        if (along == 0.0 || !std::isfinite(along)) return false;
        add(s.g, -along, s.e);
        const double turn = std::sqrt(dot(s.g, s.g)) / std::abs(along);
        if (turn <= SAME || round + 1 == EIGEN_ROUNDS) break;
        add(s.e, 1.0 / along, s.g);
    }
    s.a = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        s.a += s.B[packed(i, i)] * s.e[i] * s.e[i];
        for (std::size_t j = 0; j < i; ++j) s.a += 2.0 * s.B[packed(i, j)] * s.e[i] * s.e[j];
    }
    return true;
}

/// Gradient of the tangent plane distance at feed + alpha, amounts not normalized. False outside
/// the amounts, or where the trial is on another root of the cubic.
bool EOSolver::critical_gradient(CriticalState& s) {
    double total = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        const double ratio = 1.0 + 0.5 * s.alpha[i] / s.root_z[i];
        if (!(ratio > 0.0)) return false;
        trial_.comps[i] = z()[i] * ratio * ratio;
        total += trial_.comps[i];
    }
    for (double& t : comps(trial_)) t /= total;
    evaluate(trial_, 0);
    if (trial_.root * feed_.root <= -2) return false;
    for (std::size_t i = 0; i < n_; ++i) {
        const double half = 0.5 * s.alpha[i] / s.root_z[i];
        s.g[i] = s.root_z[i] * (1.0 + half) *
                 (2.0 * std::log1p(half) + trial_.ln_phi[i] - feed_.ln_phi[i]);
    }
    return true;
}

}  // namespace kestrane
