#pragma once

#include <algorithm>
#include <functional>
#include <sstream>
#include <vector>

#include "frame/ErrorList.h"
#include "input/Reader.h"
#include "regress/Fitter.h"

namespace kestrane {

/// A least squares problem given by a function: values of all variables in, residuals out. Records
/// how it was called.
class FitterProblem : public Fitter {
public:
    using Values = std::vector<double>;
    using Residuals = std::function<Values(const Values&)>;

    explicit FitterProblem(Residuals residuals) : residuals_(std::move(residuals)) {}

    void evaluate(Reader&, ErrorList& list, EvaluationMode mode) override {
        Values values;
        for (std::size_t i = 0; i < variable_count(); ++i) values.push_back(variable_value(i));
        modes.push_back(mode);
        tried.push_back(values);
        if (before) before(list, modes.size());
        for (const double r : residuals_(values)) addResidual(r, weight);
    }

    /// Runs the fit; the reader that goes with it reads nothing.
    void run() { fit(reader_, errors); }
    void once(EvaluationMode mode) { evaluateNow(reader_, errors, mode); }
    Reader& reader() { return reader_; }
    int count(EvaluationMode mode) const {
        return static_cast<int>(std::count(modes.begin(), modes.end(), mode));
    }

    ErrorList errors;
    double weight = 1.0;
    std::function<void(ErrorList&, std::size_t)> before;  ///< gets the number of the evaluation
    std::vector<EvaluationMode> modes;
    std::vector<Values> tried;

private:
    Residuals residuals_;
    std::stringbuf no_text_;
    InFile no_input_{no_text_};
    ErrorCounts counts_;
    Writer writer_{counts_, nullptr, nullptr};
    Reader reader_{writer_, no_input_};
};

}  // namespace kestrane
