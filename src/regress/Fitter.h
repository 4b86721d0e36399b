#pragma once

#include <span>
#include <string>
#include <vector>

namespace kestrane {

class ErrorList;
class Reader;

/// Why all residuals are being evaluated.
enum class EvaluationMode : int { First = 0, Step = 1, Jacobian = 2, Reduction = 3, Final = 4 };

/// Nonlinear least squares by a bounded Gauss-Newton iteration on variables scaled to 0..1 between
/// their bounds. Knows nothing of fluids: a derived class evaluates the residuals.
class Fitter {
public:
    Fitter();
    virtual ~Fitter() = default;
    Fitter(const Fitter&) = delete;
    Fitter& operator=(const Fitter&) = delete;

    /// Evaluates all residuals at the current values, through addResidual.
    ///   context  handed through from fit
    ///   errors   three errors in it end the fit
    virtual void evaluate(Reader& context, ErrorList& errors, EvaluationMode mode) = 0;

    /// Defines a variable. The bounds are the smallest and the greatest of the three numbers; it is
    /// active, that is fitted, if they differ, else a constant with a name.
    void addVariable(const std::string& name, double value, double bound1, double bound2);
    /// Number of the latest variable of that name (compared as keywords are), or -1.
    int findVariable(const std::string& name) const;
    /// Takes weight times error as a residual. A weight not above 0 drops it.
    void addResidual(double error, double weight);

    /// Minimizes the sum of squares over the active variables: Gauss-Newton steps on a
    /// forward-difference Jacobian, each the minimum-norm solution; a step that leaves the box
    /// fixes a variable at its bound for the rest of the iteration, one that raises the sum is
    /// halved. The values stay at the last evaluation, which is never above the start of its
    /// iteration. Ends early when a fatal error or three errors stand in `errors`; failures to
    /// converge are warnings there.
    void fit(Reader& context, ErrorList& errors);
    /// One evaluation: the values from the scaled ones unless the mode is First or Final; the
    /// residuals padded with zeros to at least the number of active variables. LogicError if their
    /// count differs from that of an earlier evaluation of the fit, unless errors cut this one
    /// short.
    void evaluateNow(Reader& context, ErrorList& errors, EvaluationMode mode);

    std::size_t variable_count() const { return names_.size(); }
    std::size_t active_count() const { return active_.size(); }
    const std::string& variable_name(std::size_t number) const { return names_[number]; }
    double variable_value(std::size_t number) const { return values_[number]; }
    double initial_value(std::size_t number) const { return initial_[number]; }
    double lower_bound(std::size_t number) const { return lower_[number]; }
    double upper_bound(std::size_t number) const { return upper_[number]; }
    bool is_active(std::size_t number) const { return lower_[number] < upper_[number]; }

    /// Weighted residuals of the last evaluation.
    std::span<const double> residuals() const { return {residuals_.data(), residual_count_}; }
    /// Residuals so far of an evaluation under way.
    std::size_t pending_residuals() const { return residuals_.size(); }
    double sum_of_squares() const { return sum_of_squares_; }
    double sum_of_squared_weights() const { return sum_of_squared_weights_; }
    /// sqrt(sum of squares / sum of squared weights), or 0 without weights.
    double rms() const;

    /// True if what stands in the list ends a fit: a fatal error, or three errors.
    static bool ended_by(const ErrorList& errors);

    int iteration_limit = 25;
    int iteration_count = 0;
    int evaluation_count = 0;

protected:
    /// Drops all variables.
    void clear_variables();

private:
    struct Workspace;

    void scale_values();
    void values_from_scaled();
    bool iterate(Workspace& work, Reader& context, ErrorList& errors);
    bool find_jacobian(Workspace& work, Reader& context, ErrorList& errors);
    void take_step(Workspace& work);
    void solve(Workspace& work) const;
    void limit_step(Workspace& work);
    void fix_blocking(Workspace& work);
    void reduce_step(Workspace& work, Reader& context, ErrorList& errors);
    bool converged(const Workspace& work) const;

    std::vector<std::string> names_;  ///< in order of definition
    std::vector<double> residuals_;
    std::vector<double> values_;
    std::vector<double> lower_, upper_;
    std::vector<double> initial_;
    std::vector<int> active_;  ///< numbers of the variables that are varied
    double sum_of_squares_ = 0.0;
    double sum_of_squared_weights_ = 0.0;
    std::span<double> scaled_;         ///< 0..1, one per entry of active_, owned by a running fit
    std::size_t residual_count_ = 0;   ///< of the last evaluation
    std::size_t row_count_ = 0;        ///< the greater of residual_count_ and active
    std::size_t fixed_residuals_ = 0;  ///< the count that every evaluation of a fit must give
};

}  // namespace kestrane
