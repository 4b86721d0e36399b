#include "regress/Fitter.h"

#include <algorithm>
#include <cmath>

#include "frame/ErrorList.h"
#include "frame/Errors.h"
#include "input/Keyword.h"

namespace kestrane {

namespace {

constexpr std::size_t USUAL_VARIABLES = 10;
constexpr std::size_t USUAL_RESIDUALS = 100;
constexpr int ERRORS_THAT_END = 3;

}  // namespace

Fitter::Fitter() {
    names_.reserve(USUAL_VARIABLES);
    for (auto* list : {&values_, &lower_, &upper_, &initial_}) list->reserve(USUAL_VARIABLES);
    active_.reserve(USUAL_VARIABLES);
    residuals_.reserve(USUAL_RESIDUALS);
}

void Fitter::addVariable(const std::string& name, double value, double bound1, double bound2) {
    const auto [lower, upper] = std::minmax({value, bound1, bound2});
    if (lower < upper) active_.push_back(static_cast<int>(names_.size()));
    names_.push_back(name);
    values_.push_back(value);
    lower_.push_back(lower);
    upper_.push_back(upper);
    initial_.push_back(value);
}

int Fitter::findVariable(const std::string& name) const {
    for (std::size_t number = names_.size(); number-- > 0;)
        if (KeyCompare(names_[number], name) == 0) return static_cast<int>(number);
    return -1;
}

void Fitter::addResidual(double error, double weight) {
    if (!(weight > 0.0)) return;
    const double residual = weight * error;
    residuals_.push_back(residual);
    sum_of_squares_ += residual * residual;
    sum_of_squared_weights_ += weight * weight;
}

void Fitter::evaluateNow(Reader& context, ErrorList& errors, EvaluationMode mode) {
    ++evaluation_count;
    row_count_ = 0;
    sum_of_squares_ = sum_of_squared_weights_ = 0.0;
    residuals_.clear();
    const std::size_t active = active_.size();
    if (mode != EvaluationMode::First && mode != EvaluationMode::Final) values_from_scaled();
    evaluate(context, errors, mode);
    if (active_.size() != active) throw LogicError{};
    residual_count_ = residuals_.size();
    if (!ended_by(errors)) {
        if (fixed_residuals_ > 0 && residual_count_ != fixed_residuals_) throw LogicError{};
        fixed_residuals_ = residual_count_;
    }
    row_count_ = std::max(residual_count_, active);
    residuals_.resize(row_count_, 0.0);
}

double Fitter::rms() const {
    return sum_of_squared_weights_ > 0.0 ? std::sqrt(sum_of_squares_ / sum_of_squared_weights_)
                                         : 0.0;
}

void Fitter::clear_variables() {
    names_.clear();
    for (auto* list : {&values_, &lower_, &upper_, &initial_}) list->clear();
    active_.clear();
}

bool Fitter::ended_by(const ErrorList& errors) {
    return !errors.usable() || errors.error_count >= ERRORS_THAT_END;
}

}  // namespace kestrane
