#include "misc/KeyTieLines.h"

#include <algorithm>
#include <cmath>

#include "fluid/Charzation.h"
#include "misc/ConstantKTieLines.h"

namespace kestrane {

namespace {

/// Share of a component in a fluid that has none of it. Tie-lines through such a fluid are limits
/// for a vanishing trace.
constexpr double TRACE = 1e-10;
/// ln K of equal components, kept apart where the search starts.
constexpr double APART = 1e-5;
/// Pressure at which the lines are looked for first, Pa, and its distance from the vapor pressures
/// of the heaviest and of the lightest component.
constexpr double FIRST_PRESSURE = 1e5;
constexpr double CLEARLY = 3.0;
/// Steps in ln P, and in the share of the equation of state.
constexpr double FIRST_STEP = 0.02, GREATEST_STEP = 0.25, LEAST_STEP = 1e-6;
constexpr double STEP_GROWTH = 1.6;
/// A solution farther than this (in a logarithm) from where it was expected is another one.
constexpr double EXPECTED = 0.5;
/// Lines as close to their end, in ln P, end on a straight line.
constexpr double AT_THE_END = 1e-3;
/// Lines lost as close to it have ended.
constexpr double NEAR_THE_END = 0.02;
/// Tie-lines that vanish are no longer than this at that distance; others fold back.
constexpr double SHORT = 0.01;
/// Tie-lines no longer than this are points.
constexpr double A_POINT = 1e-9;
/// Floors: of an amount in an estimate, of a step in the share of the equation of state.
constexpr double LEAST_AMOUNT = 1e-290, LEAST_SHARE = 1e-3;
/// Steps around a fold of the path in pressure.
constexpr std::size_t MOST_STATES = 1000;
/// Multiplications in all solutions of the equations, some seconds; and as many solutions as the
/// shortest path takes, below which it is not begun: from about 28 components on.
constexpr double MOST_WORK = 5e9;
constexpr double LEAST_SOLUTIONS = 150.0;
constexpr int MOST_FOLD_STEPS = 400;
constexpr double BEYOND_FOLD = 1e-4;

}  // namespace

KeyTieLines::KeyTieLines(Charzation& charz, double T, std::span<const double> gas,
                         std::span<const double> oil)
    : t_parms_(charz.t_parms(T)) {
    if (!t_parms_ || !set_up(charz, gas, oil) || !start()) end_ = End::Lost;
}

/// The components that count, their Wilson K-values and all work space.
bool KeyTieLines::set_up(Charzation& charz, std::span<const double> gas,
                         std::span<const double> oil) {
    eos_ = charz.shared_eos();
    all_ = gas.size();
    for (std::size_t i = 0; i < all_; ++i) {
        if (!(gas[i] > 0.0 || oil[i] > 0.0)) continue;
        const Compnent& c = charz.comps[i];
        ln_wilson_.push_back(c.ln_pc + 5.373 * (1.0 + c.acentric) * (1.0 - c.tc / t_parms_->T) +
                             APART * static_cast<double>(components_.size()));
        components_.push_back(i);
        gas_.push_back(std::max(gas[i], TRACE));
        oil_.push_back(std::max(oil[i], TRACE));
    }
    n_ = components_.size();
    if (n_ < 2) return false;
    lines_ = n_ - 1;
    liquid_ = eos_->make_C_Parms(t_parms_, &errors_);
    vapor_ = eos_->make_C_Parms(t_parms_, &errors_);
    if (!liquid_ || !vapor_) return false;
    const std::size_t size = line_start(lines_) - 2;
    const std::size_t width = 3 * n_ + 2;
    solutions_left_ = MOST_WORK / (2.0 * static_cast<double>(size * width * width));
    if (solutions_left_ < LEAST_SOLUTIONS) return false;
    matrix_.resize(size, width, width);
    for (std::vector<double>* v : {&residual_, &by_ln_P_, &reference_, &trial_.u}) v->resize(size);
    full_.assign(all_, 0.0);
    for (std::vector<double>* v : {&full_phi_, &full_dp_}) v->resize(all_);
    full_dn_.resize(packed(all_, 0));
    for (std::vector<double>* v : {&x_, &y_, &phi_x_, &phi_y_, &dp_x_, &dp_y_}) v->resize(n_);
    dn_x_.resize(n_ * n_);
    dn_y_.resize(n_ * n_);
    return true;
}

/// Where some components are clearly vapor and some clearly liquid.
double KeyTieLines::first_pressure() const {
    const auto [least, greatest] = std::ranges::minmax(ln_wilson_);
    const double low = least + std::log(CLEARLY), high = greatest - std::log(CLEARLY);
    const double ln_P = std::log(FIRST_PRESSURE);
    return low < high ? std::clamp(ln_P, low, high) : 0.5 * (least + greatest);
}

/// The lines at the first pressure, from constant K-values to those of the equation of state.
bool KeyTieLines::start() {
    const double ln_P = first_pressure();
    std::vector<double> ln_K = ln_wilson_;
    for (double& value : ln_K) value -= ln_P;
    const ConstantKTieLines lines(ln_K, gas_, oil_);
    if (!lines.valid()) return false;
    State state{ln_P, std::vector<double>(residual_.size())};
    std::vector<double>& u = state.u;
    lines.place(gas_, part(u, 0, 2).first<2>());
    lines.place(oil_, part(u, u.size() - 2, 2).first<2>());
    for (std::size_t line = 0; line < lines_; ++line) {
        const std::size_t at = line_start(line);
        lines.liquid(line, x_);
        for (std::size_t i = 0; i < n_; ++i) {
            u[at + i] = std::log(std::max(x_[i], LEAST_AMOUNT));
            u[at + n_ + i] = u[at + i] + ln_K[i];
        }
        if (line + 1 < lines_) lines.intersection(line, part(u, at + 2 * n_, 4).first<4>());
    }
    if (!leave_constant_k(state)) return false;
    path_.push_back(state);
    step_ = FIRST_STEP;
    return true;
}

/// From constant K-values to those of the equation of state.
bool KeyTieLines::leave_constant_k(State& state) {
    lambda_ = 0.0;
    for (double step = 1.0; lambda_ < 1.0;) {
        trial_ = state;
        const double before = lambda_;
        lambda_ = std::min(before + step, 1.0);
        if (newton(trial_)) {
            state = trial_;
            continue;
        }
        lambda_ = before;
        step *= 0.5;
        if (step < LEAST_SHARE) return false;
    }
    return true;
}

/// Length in the sense of immiscibility().
double KeyTieLines::squared_length(const std::vector<double>& u, std::size_t line) const {
    const std::size_t at = line_start(line);
    double sum = 0.0;
    for (std::size_t i = 0; i < n_; ++i)
        sum += std::abs(std::exp(u[at + n_ + i]) - std::exp(u[at + i]));
    return sum * sum;
}

KeyTieLines::Shortest KeyTieLines::shortest_of(const std::vector<double>& u) const {
    Shortest shortest{squared_length(u, 0), 0, lines_};
    for (std::size_t line = 1; line < lines_; ++line) {
        const double value = squared_length(u, line);
        if (value < shortest.immiscibility) shortest = {value, line, lines_};
    }
    return shortest;
}

/// Distance in ln P from the last state to where the squared length of the first line to vanish,
/// taken as straight, is zero.
double KeyTieLines::way_to_go(std::size_t& first_line) const {
    double way = UNDEFINED;
    if (path_.size() < 2) return way;
    const State &before = path_[path_.size() - 2], &last = path_.back();
    for (std::size_t line = 0; line < lines_; ++line) {
        const double value = squared_length(last.u, line);
        const double fall = squared_length(before.u, line) - value;
        if (!(fall > 0.0)) continue;
        const double to_zero = (last.ln_P - before.ln_P) * value / fall;
        if (to_zero < way) {
            way = to_zero;
            first_line = line;
        }
    }
    return way;
}

/// The last state moved on by h in ln P, along the last two.
void KeyTieLines::predict(double h) {
    const State& last = path_.back();
    trial_ = last;
    trial_.ln_P += h;
    if (path_.size() < 2) return;
    const State& before = path_[path_.size() - 2];
    const double share = h / (last.ln_P - before.ln_P);
    for (std::size_t i = 0; i < trial_.u.size(); ++i)
        trial_.u[i] += share * (last.u[i] - before.u[i]);
}

/// One state more, or the end of the path.
void KeyTieLines::step() {
    const double way = way_to_go(vanished_line_);
    const double ln_P = path_.back().ln_P;
    const bool ending =
        way < NEAR_THE_END && squared_length(path_.back().u, vanished_line_) < SHORT;
    if (ending) vanished_ln_P_ = ln_P + way;
    if (ending && way < AT_THE_END) {
        end_ = End::Vanished;
        return;
    }
    const double least = path_.size() > MOST_STATES ? GREATEST_STEP : LEAST_STEP;
    for (double h = std::min({step_, GREATEST_STEP, 0.5 * way}); h > least; h *= 0.5) {
        predict(h);
        if (!newton(trial_) || !is_expected()) continue;
        step_ = STEP_GROWTH * h;
        path_.push_back(trial_);
        return;
    }
    if (ending)
        end_ = End::Vanished;
    else if (path_.size() > MOST_STATES || !round_fold())
        end_ = End::Lost;
}

/// Where the path turns back in pressure it is followed by its length, until it rises again and
/// beyond the pressure of the turn. False if that does not happen.
bool KeyTieLines::round_fold() {
    if (path_.size() < 2) return false;
    State before = path_[path_.size() - 2], last = path_.back(), direction = last;
    double step = 0.0;
    for (int count = 0; count < MOST_FOLD_STEPS; ++count) {
        direction.ln_P = last.ln_P - before.ln_P;
        double norm = direction.ln_P * direction.ln_P;
        for (std::size_t i = 0; i < last.u.size(); ++i) {
            direction.u[i] = last.u[i] - before.u[i];
            norm += direction.u[i] * direction.u[i] / static_cast<double>(last.u.size());
        }
        norm = std::sqrt(norm);
        if (step == 0.0) step = norm;
        for (;; step *= 0.5) {
            if (step < LEAST_STEP * LEAST_STEP) return false;
            trial_ = last;
            trial_.ln_P += step / norm * direction.ln_P;
            for (std::size_t i = 0; i < last.u.size(); ++i)
                trial_.u[i] += step / norm * direction.u[i];
            if (newton(trial_, &direction) && is_expected()) break;
        }
        step *= STEP_GROWTH;
        std::swap(before, last);
        std::swap(last, trial_);
        if (before.ln_P > path_.back().ln_P + BEYOND_FOLD && last.ln_P > before.ln_P) {
            path_.push_back(before);
            path_.push_back(last);
            step_ = last.ln_P - before.ln_P;
            return true;
        }
    }
    return false;
}

/// True if the solution next to the last state belongs to it.
bool KeyTieLines::is_expected() const {
    for (std::size_t line = 0; line < lines_; ++line) {
        const std::size_t at = line_start(line);
        if (squared_length(trial_.u, line) < A_POINT) return false;
        for (std::size_t i = at; i < at + 2 * n_; ++i)
            if (std::abs(trial_.u[i] - reference_[i]) > EXPECTED) return false;
    }
    return true;
}

void KeyTieLines::extend_to(double ln_P) {
    while (end_ == End::None && path_.back().ln_P < ln_P) step();
}

std::optional<KeyTieLines::Shortest> KeyTieLines::at(double P) {
    const double ln_P = std::log(P);
    solved_ = false;
    if (path_.empty()) return std::nullopt;
    extend_to(ln_P);
    if (ln_P < path_.front().ln_P) return std::nullopt;
    if (ln_P > path_.back().ln_P) {
        if (end_ != End::Vanished) return std::nullopt;
        const double way = vanished_ln_P_ - path_.back().ln_P;
        const double left = std::max(vanished_ln_P_ - ln_P, 0.0);
        return Shortest{squared_length(path_.back().u, vanished_line_) * left / way, vanished_line_,
                        lines_};
    }
    const auto above = std::ranges::lower_bound(path_, ln_P, {}, &State::ln_P);
    if (above == path_.begin()) {
        trial_ = *above;
        solved_ = true;
        return shortest_of(trial_.u);
    }
    const State &low = *(above - 1), &high = *above;
    const double share = (ln_P - low.ln_P) / (high.ln_P - low.ln_P);
    // Across a fold the states below and above are not alike: then the nearer one starts.
    for (const double weight : {share, share < 0.5 ? 0.0 : 1.0, share < 0.5 ? 1.0 : 0.0}) {
        trial_.ln_P = ln_P;
        for (std::size_t i = 0; i < trial_.u.size(); ++i)
            trial_.u[i] = (1.0 - weight) * low.u[i] + weight * high.u[i];
        solved_ = newton(trial_) && is_expected();
        if (solved_) return shortest_of(trial_.u);
    }
    return std::nullopt;
}

std::vector<double> KeyTieLines::phase(std::size_t line, bool vapor) const {
    if (!solved_) return {};
    std::vector<double> fractions(all_, 0.0);
    const std::size_t at = line_start(line) + (vapor ? n_ : 0);
    for (std::size_t i = 0; i < n_; ++i) fractions[components_[i]] = std::exp(trial_.u[at + i]);
    return fractions;
}

std::optional<double> KeyTieLines::vanishing_pressure(double limit) {
    if (!path_.empty()) extend_to(std::log(limit));
    if (end_ != End::Vanished) return std::nullopt;
    return std::exp(vanished_ln_P_);
}

}  // namespace kestrane
