#include "fluid/GammaDis.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>

#include "frame/Errors.h"

namespace kestrane {

namespace {

/// Ten roundings: what a continued fraction cannot settle below.
constexpr double FRACTION_TOLERANCE = 2.220446049250313e-15;
constexpr int MAX_TERMS = 10000;
/// Relative residual of the mean at which one more Newton step reaches round-off.
constexpr double BETA_TOLERANCE = 2.220446049250313e-13;
constexpr int MAX_BETA_ITERATIONS = 100;
/// Density at the origin of a shape below 1, where it is infinite.
constexpr double INFINITE_DENSITY = 4503599627370496.0;
/// Shapes from here on take the prefactor from Stirling's series, to 1e-16.
constexpr double STIRLING_SHAPE = 12.0;

const char* const NOT_CONVERGED = "Gamma function integration failed to converge";

/// ln Gamma(a) - (a ln a - a), less the term -ln(a/2 pi)/2: the tail of Stirling's series.
/// Abramowitz & Stegun, Handbook of Mathematical Functions, 6.1.41.
double stirling_remainder(double a) {
    const double s = 1.0 / (a * a);
    return (1.0 / 12.0 -
            s * (1.0 / 360.0 -
                 s * (1.0 / 1260.0 -
                      s * (1.0 / 1680.0 - s * (1.0 / 1188.0 - s * (691.0 / 360360.0)))))) /
           a;
}

}  // namespace

// Integrals of the whole distribution ----------------------------------------------------------

/// ln(y^alpha exp(-y) / Gamma(alpha)). For a large shape its terms cancel; written around the peak
/// at y = alpha they do not.
double GammaDis::log_prefactor(double y) const {
    if (alpha < STIRLING_SHAPE) return alpha * std::log(y) - y - ln_gamma_alpha;
    constexpr double TWO_PI = 6.283185307179586;
    const double u = (y - alpha) / alpha;
    const double log_ratio = std::abs(u) < 0.5 ? std::log1p(u) : std::log(y / alpha);
    return alpha * (log_ratio - u) + 0.5 * std::log(alpha / TWO_PI) - stirling_remainder(alpha);
}

/// Sum of y^k Gamma(alpha) / Gamma(alpha + 1 + k), k = 1, 2, ...: P1 over the prefactor.
/// Abramowitz & Stegun, 6.5.29. False if it did not converge.
bool GammaDis::series(double y, double& sum) const {
    double term = y / (alpha * (alpha + 1.0));
    sum = term;
    for (int i = 2; i <= MAX_TERMS; i += 2) {
        const double before = sum;
        term *= y / (i + alpha);
        sum += term;
        term *= y / (i + 1 + alpha);
        sum += term;
        if (sum == before) return true;
    }
    return false;
}

/// The c in  Q0 = prefactor / (y + 1 - alpha - c),
///
///     c = 1(1 - alpha)/(y + 3 - alpha - 2(2 - alpha)/(y + 5 - alpha - 3(3 - alpha)/...)),
///
/// the even part of Legendre's continued fraction. 1 - c is the mean of y' - y beyond y, which no
/// difference of large numbers enters. Modified Lentz form. False if it did not converge.
bool GammaDis::tail_fraction(double y, double& c) const {
    constexpr double TINY = 1e-290;
    c = TINY;
    double numerators = TINY;
    double denominators = 0.0;
    for (int j = 1; j <= MAX_TERMS; ++j) {
        const double a = j == 1 ? 1.0 - alpha : -j * (j - alpha);
        const double b = y + 2 * j + 1 - alpha;
        denominators = b + a * denominators;
        numerators = b + a / numerators;
        if (denominators == 0.0) denominators = TINY;
        if (numerators == 0.0) numerators = TINY;
        denominators = 1.0 / denominators;
        const double change = numerators * denominators;
        c *= change;
        if (std::abs(change - 1.0) <= FRACTION_TOLERANCE) return true;
    }
    return false;
}

double GammaDis::density_at_origin() const {
    if (alpha < 1.0) return INFINITE_DENSITY;
    return alpha > 1.0 ? 0.0 : 1.0 / beta;
}

void GammaDis::integrate(double x, GammaIntegrals& out, ErrorList& errors) const {
    const double d = x - origin;
    const double y = d / beta;
    if (d <= 0.0) {
        out[P0] = out[P1] = out[DP1] = 0.0;
        out[Q0] = out[Q1] = 1.0;
        out[DP0] = density_at_origin();
    } else if (alpha == 1.0) {
        out[Q0] = std::exp(-y);
        out[Q1] = (1.0 + y) * out[Q0];
        out[P0] = -std::expm1(-y);
        double sum = 0.0;
        out[P1] = !in_far_tail(y) && series(y, sum) ? y * out[Q0] * sum : 1.0 - out[Q1];
        out[DP0] = out[Q0] / beta;
        out[DP1] = y * out[DP0];
    } else {
        const double e = std::exp(log_prefactor(y));
        out[DP0] = e / d;
        out[DP1] = y / alpha * out[DP0];
        double sum = 0.0;
        const bool far = in_far_tail(y);
        if (!(far ? tail_fraction(y, sum) : series(y, sum))) errors.Warn(NOT_CONVERGED);
        if (far) {
            out[Q0] = e / (y + 1.0 - alpha - sum);
            out[Q1] = e / alpha + out[Q0];
            out[P0] = 1.0 - out[Q0];
            out[P1] = 1.0 - out[Q1];
        } else {
            out[P1] = e * sum;
            out[P0] = e / alpha + out[P1];
            out[Q0] = 1.0 - out[P0];
            out[Q1] = 1.0 - out[P1];
        }
    }
    out[DQ0] = -out[DP0];
    out[DQ1] = -out[DP1];
}

GammaDis::Beyond GammaDis::beyond(double y, ErrorList& errors) const {
    if (y <= 0.0) return {alpha - y, 0.0};
    if (alpha == 1.0) return {1.0, y};
    double sum = 0.0;
    if (in_far_tail(y)) {
        if (!tail_fraction(y, sum)) errors.Warn(NOT_CONVERGED);
        return {1.0 - sum, y + 1.0 - alpha - sum};
    }
    if (!series(y, sum)) errors.Warn(NOT_CONVERGED);
    const double e = std::exp(log_prefactor(y));
    const double ratio = e / (1.0 - e * (1.0 / alpha + sum));
    return {alpha + ratio - y, ratio};
}

// The distribution that has a given mean above its bound ----------------------------------------

void GammaDis::set(double shape, double mean, double lower_bound, double lowest,
                   ErrorList& errors) {
    if (!(shape > 0.0 && mean > 0.0 && mean > lowest && mean > lower_bound)) throw BadGamma{};
    if (!std::isfinite(shape) || !std::isfinite(mean - lower_bound) ||
        !std::isfinite(mean - lowest))
        throw BadGamma{};
    alpha = shape;
    average = mean;
    bound = lower_bound;
    origin = lowest;
    ln_gamma_alpha = std::lgamma(alpha);
    if (origin < bound)
        fit_beta(errors);
    else
        beta = (average - origin) / alpha;
    if (!(beta > 0.0) || !std::isfinite(beta)) throw BadGamma{};
    alpha_beta = alpha * beta;
    integrate(bound, at_bound, errors);
    if (at_bound[Q0] != 0.0) {
        inv_tail = 1.0 / at_bound[Q0];
        inv_mass_tail = 1.0 / (origin * at_bound[Q0] + alpha_beta * at_bound[Q1]);
    }
    const double lower_end = std::max(bound, origin);
    start_ = {lower_end, scaled(lower_end), 1.0, 0.0, {}};
    start_.beyond = beyond(start_.y, errors);
    start_.density = start_.y > 0.0 ? start_.beyond.ratio / (start_.y * beta) : density_at_origin();
}

/// Newton's method for the beta at which the mean above the bound is the average. That mean rises
/// with beta (the distributions are ordered by their likelihood ratio), so that the root is single
/// and a bracket keeps it. What must agree is the distance of the mean from the bound; it is asked
/// for directly, because far out in the tail the mean itself hardly differs from the bound.
void GammaDis::fit_beta(ErrorList& errors) {
    const double excess = average - bound;
    const double depth = bound - origin;
    beta = excess / alpha;
    if (alpha == 1.0) return;
    double low = 0.0;
    double high = std::numeric_limits<double>::infinity();
    for (int i = 0; i < MAX_BETA_ITERATIONS; ++i) {
        const double y = depth / beta;
        const double mean = beyond(y, errors).excess;
        const double f = mean * beta - excess;
        const double slope = mean * (alpha + 1.0 - mean) + (1.0 - mean) * y;
        const double step = std::clamp(-f / slope, -0.5 * beta, beta);
        if (std::abs(f) <= excess * BETA_TOLERANCE) {
            beta += step;
            return;
        }
        (f > 0.0 ? high : low) = beta;
        double next = beta + step;
        if (!(next > low && next < high))
            next = std::isfinite(high) ? low + 0.5 * (high - low) : 2.0 * beta;
        if (!(next > low && next < high)) return;  // no number lies between
        beta = next;
    }
    std::ostringstream text;
    text << "\"Beta\" parameter iterations failed to converge\nalpha = " << alpha
         << ", ZMW = " << origin << ", BMW = " << bound << ", AMW = " << average;
    errors.Warn(text.str());
}

}  // namespace kestrane
