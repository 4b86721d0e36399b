// What the smallest immiscibility of a row of cells comes to with infinitely many cells.

#include <algorithm>
#include <cmath>
#include <limits>

#include "misc/MiscExpt.h"

namespace kestrane {

namespace {

constexpr double NOT_MEANINGFUL = -1.0;
/// Greatest c of (a + b t)/(1 + c t): beyond, the form is a step at t = 0.
constexpr double STEEPEST = 1000.0;

/// (a + b t)/(1 + c t), t = 1/stage.
struct RationalForm {
    double a = 0.0, b = 0.0, c = 0.0;
};

/// Least squares of a + b t - c t v = v. The columns are centred, which removes a; what remains are
/// two equations. False if they are singular.
bool rational_fit(std::span<const double> t, std::span<const double> v, RationalForm& form) {
    const double count = static_cast<double>(t.size());
    double mean_t = 0.0, mean_v = 0.0, mean_tv = 0.0;
    for (std::size_t i = 0; i < t.size(); ++i) {
        mean_t += t[i] / count;
        mean_v += v[i] / count;
        mean_tv += t[i] * v[i] / count;
    }
    double tt = 0.0, tw = 0.0, ww = 0.0, tv = 0.0, wv = 0.0;
    for (std::size_t i = 0; i < t.size(); ++i) {
        const double dt = t[i] - mean_t, dv = v[i] - mean_v, dw = mean_tv - t[i] * v[i];
        tt += dt * dt;
        tw += dt * dw;
        ww += dw * dw;
        tv += dt * dv;
        wv += dw * dv;
    }
    const double determinant = tt * ww - tw * tw;
    constexpr double SINGULAR = 1e-12;
    if (!(determinant > SINGULAR * tt * ww)) return false;
    form.b = (tv * ww - wv * tw) / determinant;
    form.c = (tt * wv - tw * tv) / determinant;
    form.a = mean_v - form.b * mean_t + form.c * mean_tv;
    return form.b - form.a * form.c >= 0.0 && form.b >= 0.0 && form.c >= 0.0 && form.c <= STEEPEST;
}

/// The limit of the form, moved towards the value at t_s by as much as the form bends between.
double limit_of(const RationalForm& form, double t_s) {
    const double d = form.b * t_s, e = form.c * t_s, u = 1.0 + e;
    const double bend = (d - form.a * e) * 2.0 / (3.0 * u);
    return ((form.a + d - bend) * e / u + form.a) / u;
}

}  // namespace

StraightFit straight_fit(std::span<const double> t, std::span<const double> values) {
    const double count = static_cast<double>(t.size());
    double mean_t = 0.0, mean = 0.0;
    for (std::size_t i = 0; i < t.size(); ++i) {
        mean_t += t[i] / count;
        mean += values[i] / count;
    }
    StraightFit fit;
    double product = 0.0;
    for (std::size_t i = 0; i < t.size(); ++i) {
        fit.spread += (t[i] - mean_t) * (t[i] - mean_t);
        product += (t[i] - mean_t) * (values[i] - mean);
    }
    if (fit.spread > 0.0) fit.slope = product / fit.spread;
    fit.at_zero = mean - fit.slope * mean_t;
    return fit;
}

double extrapolated_immiscibility(std::span<const double> history, std::span<double> t_work) {
    const std::size_t stages = history.size();
    if (stages == 0) return NOT_MEANINGFUL;
    const std::size_t first = (stages - 1) / 2;
    const std::span<const double> v = history.subspan(first);
    const std::span<double> t = t_work.first(v.size());
    for (std::size_t i = 0; i < t.size(); ++i) t[i] = 1.0 / static_cast<double>(first + i + 1);
    const StraightFit line = straight_fit(t, v);
    constexpr double EPS = std::numeric_limits<double>::epsilon();
    if (!(line.spread > 4.0 * EPS * EPS)) return NOT_MEANINGFUL;
    RationalForm form;
    if (!rational_fit(t, v, form)) form = {line.at_zero, line.slope, 0.0};
    const double limit = limit_of(form, t.back());
    return limit < -history.back() ? NOT_MEANINGFUL : limit;
}

}  // namespace kestrane
