// The bounded Gauss-Newton iteration. All of it happens in the unit box: a variable is 0 at its
// lower and 1 at its upper bound.

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "frame/ErrorList.h"
#include "regress/Fitter.h"
#include "regress/Svd.h"

namespace kestrane {

namespace {

constexpr double DIFFERENCE_STEP = 1e-5;
/// Singular values up to this share of the largest count as 0.
constexpr double RANK_TOLERANCE = 1e-6;
/// Largest change of a scaled variable that ends a fit, and the halving of a step.
constexpr double SMALL_CHANGE = 1e-4;
/// Share of the sum of squares whose gain no longer matters.
constexpr double SMALL_GAIN = 1e-4;
/// Sweeps over the variables of a downhill step; a few are enough where variables are not alike.
constexpr int DOWNHILL_SWEEPS = 100;

/// Place of a value between its bounds, 0 to 1; the bounds may be farther apart than the largest
/// number.
double place_between(double value, double lower, double upper) {
    const double range = upper - lower;
    const double place = std::isfinite(range)
                             ? (value - lower) / range
                             : (0.5 * value - 0.5 * lower) / (0.5 * upper - 0.5 * lower);
    return std::clamp(place, 0.0, 1.0);
}

}  // namespace

/// Arrays of one fit, and the state of its iteration under way. The active variables stand with the
/// `live` ones first; those behind are held at a bound.
struct Fitter::Workspace {
    explicit Workspace(std::size_t n)
        : block(n * (n + 6)),
          scaled(part(0, n)),
          start(part(1, n)),
          step(part(2, n)),
          gradient(part(3, n)),
          singular(part(4, n)),
          filtered(part(5, n)),
          v(block.data() + 6 * n, n * n) {}

    /// Makes room for a Jacobian of that many rows.
    void make_rows(std::size_t count) {
        rows = count;
        residuals.resize(rows);
        jacobian.resize(rows * start.size());
        factored.resize(jacobian.size());
        columns.resize(start.size());
    }

    std::span<double> part(std::size_t which, std::size_t n) {
        return {block.data() + which * n, n};
    }

    /// Sets the scaled values to the minimum of the linear model within the box, or nearer to the
    /// start: coordinate by coordinate, each sweep lowers the model, so that the way there begins
    /// downhill wherever it ends.
    void step_downhill();

    std::vector<double> block;
    std::span<double> scaled;    ///< the fitter's scaled values
    std::span<double> start;     ///< those that the iteration began with
    std::span<double> step;      ///< Gauss-Newton step, start less solution
    std::span<double> gradient;  ///< of the sum of squares
    std::span<double> singular;  ///< singular values of the live columns
    std::span<double> filtered;  ///< the same, 0 where there is no rank
    std::span<double> v;         ///< right factor
    std::size_t rows = 0;
    std::vector<double> residuals;  ///< at the start, less what fixed variables have changed
    std::vector<double> jacobian;   ///< by column
    std::vector<double> factored;   ///< live columns, then the left factor
    std::vector<double*> columns;   ///< of the Jacobian, in the order of the variables

    std::size_t live = 0;
    double before = 0.0;      ///< sum of squares at the start
    double fraction = 1.0;    ///< of the step that stays in the box
    int blocking = -1;        ///< variable that limited the fraction
    double max_change = 0.0;  ///< largest change of a scaled variable
    double predicted = 0.0;   ///< gain of the sum of squares along the gradient
    int failures = 0;         ///< decompositions that did not converge
};

void Fitter::Workspace::step_downhill() {
    const std::size_t n = start.size();
    const std::span<double> normal = v;  // the right factor has served
    for (std::size_t j = 0; j < n; ++j)
        for (std::size_t k = 0; k < n; ++k)
            normal[j * n + k] = std::inner_product(columns[j], columns[j] + rows, columns[k], 0.0);
    std::fill(step.begin(), step.end(), 0.0);
    for (int sweep = 0; sweep < DOWNHILL_SWEEPS; ++sweep) {
        for (std::size_t j = 0; j < n; ++j) {
            const double* row = normal.data() + j * n;
            if (!(row[j] > 0.0)) continue;
            const double slope =
                0.5 * gradient[j] - std::inner_product(row, row + n, step.begin(), 0.0);
            step[j] = std::clamp(step[j] + slope / row[j], start[j] - 1.0, start[j]);
        }
    }
    max_change = predicted = 0.0;
    for (std::size_t j = 0; j < n; ++j) {
        max_change = std::max(std::abs(step[j]), max_change);
        predicted += step[j] * gradient[j];
        scaled[j] = std::clamp(start[j] - step[j], 0.0, 1.0);
    }
}

void Fitter::scale_values() {
    for (std::size_t j = 0; j < scaled_.size(); ++j) {
        const auto number = static_cast<std::size_t>(active_[j]);
        scaled_[j] = place_between(values_[number], lower_[number], upper_[number]);
    }
}

void Fitter::values_from_scaled() {
    for (std::size_t j = 0; j < scaled_.size(); ++j) {
        const auto number = static_cast<std::size_t>(active_[j]);
        values_[number] = std::lerp(lower_[number], upper_[number], scaled_[j]);
    }
}

void Fitter::fit(Reader& context, ErrorList& errors) {
    Workspace work(active_.size());
    struct ScaledOwner {
        std::span<double>& of_fitter;
        ~ScaledOwner() { of_fitter = {}; }
    } const owner{scaled_};
    scaled_ = work.scaled;
    scale_values();
    iteration_count = evaluation_count = 0;
    residual_count_ = fixed_residuals_ = 0;
    evaluateNow(context, errors, EvaluationMode::First);
    if (active_.empty() || !(sum_of_squares_ > 0.0) || !std::isfinite(sum_of_squares_)) return;
    if (ended_by(errors)) return;
    work.make_rows(row_count_);
    iteration_count = 1;
    while (iteration_count <= iteration_limit && iterate(work, context, errors)) ++iteration_count;
    // Told at the end: an evaluation may begin with an empty list.
    for (int i = 0; i < work.failures; ++i)
        errors.Add("Convergence problems in singular value decomposition", WARNING);
    if (iteration_count > iteration_limit) errors.Add("Regression failed to converge", WARNING);
}

/// One iteration. False if it is the last.
bool Fitter::iterate(Workspace& work, Reader& context, ErrorList& errors) {
    work.before = sum_of_squares_;
    std::copy(scaled_.begin(), scaled_.end(), work.start.begin());
    std::copy_n(residuals_.begin(), work.rows, work.residuals.begin());
    if (!find_jacobian(work, context, errors)) return false;
    take_step(work);
    // Bounds may have turned the step uphill: a variable that a long step along a valley carries to
    // its bound need not be wanted there once the others are stopped.
    if (work.predicted < 0.0) work.step_downhill();
    evaluateNow(context, errors, EvaluationMode::Step);
    if (!ended_by(errors)) reduce_step(work, context, errors);
    return !ended_by(errors) && !converged(work);
}

/// One-sided differences, towards the inside of the box. False, with the variables back at the
/// start, if errors end the fit. A residual that cannot be calculated at a perturbed value tells
/// nothing about its slope, and gets none.
bool Fitter::find_jacobian(Workspace& work, Reader& context, ErrorList& errors) {
    for (std::size_t j = 0; j < scaled_.size(); ++j) {
        const double start = work.start[j];
        scaled_[j] = start + (start > 0.5 ? -DIFFERENCE_STEP : DIFFERENCE_STEP);
        evaluateNow(context, errors, EvaluationMode::Jacobian);
        const double per_step = 1.0 / (scaled_[j] - start);
        scaled_[j] = start;
        if (ended_by(errors)) {
            values_from_scaled();
            return false;
        }
        double* column = work.columns[j] = work.jacobian.data() + j * work.rows;
        double product = 0.0;
        for (std::size_t i = 0; i < work.rows; ++i) {
            const double slope = (residuals_[i] - work.residuals[i]) * per_step;
            column[i] = std::isfinite(slope) ? slope : 0.0;
            product += work.residuals[i] * column[i];
        }
        work.gradient[j] = 2.0 * product;
    }
    return true;
}

/// Sets the scaled values by a Gauss-Newton step. Whenever it runs into a bound, the variable that
/// stopped it is fixed there and the step of the others is found anew.
void Fitter::take_step(Workspace& work) {
    work.live = scaled_.size();
    work.max_change = work.predicted = 0.0;
    solve(work);
    limit_step(work);
    while (work.blocking >= 0 && work.live > 1) {
        fix_blocking(work);
        solve(work);
        limit_step(work);
    }
    for (std::size_t j = 0; j < work.live; ++j) {
        // A blocking variable that was not fixed is the only one left, and stands at its bound.
        const double change =
            work.blocking < 0 ? work.fraction * work.step[j] : work.start[j] - scaled_[j];
        work.max_change = std::max(std::abs(change), work.max_change);
        work.predicted += change * work.gradient[j];
        if (work.blocking < 0) scaled_[j] = std::clamp(work.start[j] - change, 0.0, 1.0);
    }
}

/// The minimum-norm step of the live variables.
void Fitter::solve(Workspace& work) const {
    const std::size_t m = work.live, rows = work.rows;
    for (std::size_t j = 0; j < m; ++j)
        std::copy_n(work.columns[j], rows, work.factored.data() + j * rows);
    if (svd_factor(work.factored, rows, m, work.singular, work.v, work.filtered) != 0)
        ++work.failures;
    const auto values = work.singular.first(m);
    const double least = RANK_TOLERANCE * *std::max_element(values.begin(), values.end());
    std::transform(values.begin(), values.end(), work.filtered.begin(),
                   [least](double value) { return value > least ? value : 0.0; });
    svd_solve(work.factored, rows, m, work.filtered, work.v, work.residuals, work.step);
    for (std::size_t j = 0; j < m; ++j)
        if (!std::isfinite(work.step[j])) work.step[j] = 0.0;
}

/// The largest fraction of the step, up to all of it, that stays in the box.
void Fitter::limit_step(Workspace& work) {
    work.fraction = 1.0;
    work.blocking = -1;
    for (std::size_t j = 0; j < work.live; ++j) {
        const double start = work.start[j], step = work.step[j];
        const double end = start - work.fraction * step;
        if (end >= 0.0 && end <= 1.0) continue;
        scaled_[j] = end > 1.0 ? 1.0 : 0.0;
        work.fraction = (start - scaled_[j]) / step;
        work.blocking = static_cast<int>(j);
    }
}

/// Holds the blocking variable at its bound for the rest of the iteration: it goes behind the live
/// ones, and the residuals follow it.
void Fitter::fix_blocking(Workspace& work) {
    const auto hit = static_cast<std::size_t>(work.blocking);
    const std::size_t last = --work.live;
    std::swap(active_[hit], active_[last]);
    std::swap(scaled_[hit], scaled_[last]);
    std::swap(work.start[hit], work.start[last]);
    std::swap(work.gradient[hit], work.gradient[last]);
    std::swap(work.columns[hit], work.columns[last]);
    const double change = work.start[last] - scaled_[last];
    const double* column = work.columns[last];
    for (std::size_t i = 0; i < work.rows; ++i) work.residuals[i] -= change * column[i];
    work.max_change = std::max(std::abs(change), work.max_change);
    work.predicted += change * work.gradient[last];
}

/// Halves a step that raised the sum of squares until it does not, or takes it back when it has
/// become small.
void Fitter::reduce_step(Workspace& work, Reader& context, ErrorList& errors) {
    while (!(sum_of_squares_ <= work.before) && work.max_change > 0.0 && !ended_by(errors)) {
        const double factor = work.max_change > SMALL_CHANGE ? 0.5 : 0.0;
        work.max_change = 0.0;
        for (std::size_t j = 0; j < scaled_.size(); ++j) {
            const double change = (scaled_[j] - work.start[j]) * factor;
            scaled_[j] = work.start[j] + change;
            work.max_change = std::max(std::abs(change), work.max_change);
        }
        evaluateNow(context, errors, EvaluationMode::Reduction);
    }
}

/// True if the fit has ended: nothing is left, the variables stand still, or a small gain has come
/// about as predicted.
bool Fitter::converged(const Workspace& work) const {
    if (sum_of_squares_ == 0.0 || !(work.max_change > SMALL_CHANGE)) return true;
    const double small = work.before * SMALL_GAIN;
    return work.predicted <= small &&
           std::abs(work.before - work.predicted - sum_of_squares_) <= small;
}

}  // namespace kestrane
