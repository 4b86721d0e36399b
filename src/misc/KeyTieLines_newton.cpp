// The equations of the key tie-lines and Newton's method.

#include <algorithm>
#include <cmath>

#include "misc/KeyTieLines.h"

namespace kestrane {

namespace {

/// Iterations, residual relative to the amounts, and longest step in a logarithm.
constexpr int MOST_ITERATIONS = 30;
constexpr double CONVERGED = 1e-10;
constexpr double LONGEST = 1.0;
constexpr double FAR_OFF = 1e12;

}  // namespace

/// The size of a meeting place counts for nothing: it is set to 1.
void KeyTieLines::scale_places(std::vector<double>& u) const {
    for (std::size_t line = 0; line + 1 < lines_; ++line) {
        const std::span<double> p = part(u, line_start(line) + 2 * n_, 4);
        double norm = 0.0;
        for (double value : p) norm += value * value;
        for (double& value : p) value /= std::sqrt(norm);
    }
}

/// Solves for a state from an estimate: at its pressure, or, if `direction` is not null, in the
/// plane through the estimate that is normal to that direction.
bool KeyTieLines::newton(State& state, const State* direction) {
    scale_places(state.u);
    reference_ = state.u;
    const double reference_ln_P = state.ln_P;
    for (int iteration = 0; iteration < MOST_ITERATIONS; ++iteration) {
        if (--solutions_left_ < 0.0) return false;
        equations(state);
        if (!(worst_ < FAR_OFF)) return false;
        if (worst_ < CONVERGED) return true;
        if (!matrix_.solve(residual_, direction ? std::span(by_ln_P_) : std::span<double>()))
            return false;
        double change = 0.0;
        if (direction) {
            const double size = static_cast<double>(state.u.size());
            double along = direction->ln_P * (state.ln_P - reference_ln_P), slope = direction->ln_P;
            for (std::size_t i = 0; i < state.u.size(); ++i) {
                const double t = direction->u[i] / size;
                along += t * (state.u[i] - reference_[i] - residual_[i]);
                slope -= t * by_ln_P_[i];
            }
            change = -along / slope;
            for (std::size_t i = 0; i < state.u.size(); ++i) residual_[i] += by_ln_P_[i] * change;
        }
        double longest = std::abs(change);
        for (std::size_t line = 0; line < lines_; ++line)
            for (double value : part(residual_, line_start(line), 2 * n_))
                longest = std::max(longest, std::abs(value));
        const double damping = longest > LONGEST ? LONGEST / longest : 1.0;
        for (std::size_t i = 0; i < state.u.size(); ++i) state.u[i] -= damping * residual_[i];
        state.ln_P += damping * change;
    }
    return false;
}

/// Residuals and their derivatives.
void KeyTieLines::equations(const State& state) {
    const std::vector<double>& u = state.u;
    ln_P_ = state.ln_P;
    for (EOS_C_Parms* phase : {liquid_.get(), vapor_.get()})
        eos_->set_pressure(*phase, std::exp(ln_P_));
    matrix_.set_zero();
    std::ranges::fill(by_ln_P_, 0.0);
    std::size_t row = 0;
    end_equations(u, 0, 0, gas_, row);
    row += n_;
    for (std::size_t line = 0; line < lines_; ++line) {
        line_equations(u, line, row);
        row += n_ + 2;
        if (line + 1 == lines_) break;
        meeting_equations(u, line, row);
        row += n_ + 1;
    }
    end_equations(u, lines_ - 1, u.size() - 2, oil_, row);
    worst_ = 0.0;
    for (double r : residual_)
        worst_ = std::isfinite(r) ? std::max(worst_, std::abs(r)) : UNDEFINED;
}

/// ln phi, d ln phi_i/d ln x_j at fixed other amounts, d ln phi_i/d ln P.
void KeyTieLines::fugacities(EOS_C_Parms& phase, std::span<const double> x, int hint,
                             std::span<double> ln_phi, std::span<double> dn, std::span<double> dp) {
    double sum = 0.0;
    for (double value : x) sum += value;
    for (std::size_t i = 0; i < n_; ++i) full_[components_[i]] = x[i] / sum;
    int root = hint, root_class = 0;
    eos_->set_composition(phase, full_);
    eos_->solve_z(phase, root, root_class);
    eos_->ln_phi(phase, full_phi_);
    eos_->ln_phi_dn(phase, full_dn_);
    eos_->ln_phi_dlnp(phase, full_dp_, false);
    for (std::size_t i = 0; i < n_; ++i) {
        const std::size_t a = components_[i];
        ln_phi[i] = full_phi_[a];
        dp[i] = full_dp_[a];
        for (std::size_t j = 0; j < n_; ++j) {
            const std::size_t b = components_[j];
            dn[i * n_ + j] = full_dn_[packed(std::max(a, b), std::min(a, b))] * x[j] / sum;
        }
    }
}

/// Equal fugacities in both phases, whose fractions sum to 1.
void KeyTieLines::line_equations(const std::vector<double>& u, std::size_t line, std::size_t row) {
    const std::size_t x_at = line_start(line), y_at = x_at + n_;
    double sum_x = 0.0, sum_y = 0.0;
    for (std::size_t i = 0; i < n_; ++i) {
        sum_x += x_[i] = std::exp(u[x_at + i]);
        sum_y += y_[i] = std::exp(u[y_at + i]);
    }
    fugacities(*liquid_, x_, -1, phi_x_, dn_x_, dp_x_);
    fugacities(*vapor_, y_, +1, phi_y_, dn_y_, dp_y_);
    for (std::size_t i = 0; i < n_; ++i) {
        residual_[row + i] = u[y_at + i] - u[x_at + i] + lambda_ * (phi_y_[i] - phi_x_[i]) -
                             (1.0 - lambda_) * (ln_wilson_[i] - ln_P_);
        by_ln_P_[row + i] = lambda_ * (dp_y_[i] - dp_x_[i]) + (1.0 - lambda_);
        matrix_.add(row + i, x_at + i, -1.0);
        matrix_.add(row + i, y_at + i, 1.0);
        for (std::size_t j = 0; j < n_; ++j) {
            matrix_.add(row + i, x_at + j, -lambda_ * dn_x_[i * n_ + j]);
            matrix_.add(row + i, y_at + j, lambda_ * dn_y_[i * n_ + j]);
        }
        matrix_.add(row + n_, x_at + i, x_[i]);
        matrix_.add(row + n_ + 1, y_at + i, y_[i]);
    }
    residual_[row + n_] = sum_x - 1.0;
    residual_[row + n_ + 1] = sum_y - 1.0;
}

/// a x + b y is the fluid, component by component relative to the amounts.
void KeyTieLines::end_equations(const std::vector<double>& u, std::size_t line, std::size_t place,
                                std::span<const double> fluid, std::size_t row) {
    const std::size_t at = line_start(line);
    for (std::size_t i = 0; i < n_; ++i) {
        const double x = std::exp(u[at + i]), y = std::exp(u[at + n_ + i]);
        const double scale = 1.0 / std::max({x, y, fluid[i]});
        residual_[row + i] = (u[place] * x + u[place + 1] * y - fluid[i]) * scale;
        matrix_.add(row + i, place, x * scale);
        matrix_.add(row + i, place + 1, y * scale);
        matrix_.add(row + i, at + i, u[place] * x * scale);
        matrix_.add(row + i, at + n_ + i, u[place + 1] * y * scale);
    }
}

/// a x + b y of one tie-line is a' x' + b' y' of the next. Only the direction of (a, b, a', b')
/// counts, so that the lines may be parallel and meet at infinity; its size is that of the
/// estimate.
void KeyTieLines::meeting_equations(const std::vector<double>& u, std::size_t line,
                                    std::size_t row) {
    const std::size_t place = line_start(line) + 2 * n_;
    const std::size_t at[] = {line_start(line), line_start(line) + n_, line_start(line + 1),
                              line_start(line + 1) + n_};
    for (std::size_t i = 0; i < n_; ++i) {
        double amount[4], greatest = 0.0;
        for (std::size_t j = 0; j < 4; ++j) {
            amount[j] = std::exp(u[at[j] + i]);
            greatest = std::max(greatest, amount[j]);
        }
        residual_[row + i] = 0.0;
        for (std::size_t j = 0; j < 4; ++j) {
            const double share = (j < 2 ? amount[j] : -amount[j]) / greatest;
            residual_[row + i] += u[place + j] * share;
            matrix_.add(row + i, place + j, share);
            matrix_.add(row + i, at[j] + i, u[place + j] * share);
        }
    }
    residual_[row + n_] = 0.0;
    for (std::size_t j = 0; j < 4; ++j) {
        residual_[row + n_] += reference_[place + j] * (u[place + j] - reference_[place + j]);
        matrix_.add(row + n_, place + j, reference_[place + j]);
    }
}

}  // namespace kestrane
