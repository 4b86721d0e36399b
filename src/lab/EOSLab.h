#pragma once

#include <string>
#include <vector>

#include "equil/PVTCell.h"
#include "fluid/Charz_User.h"
#include "input/Reader.h"
#include "lab/NamedTable.h"
#include "regress/Fitter.h"

namespace kestrane {

class Collector;
class Process;
class Sep;

/// Error of a calculated value in percent of `scale`, within -9999..9999: 9999 for an undefined
/// one, -9999 for one that was not calculated. All in base units.
double percent_error(double calculated, double measured, double scale);

/// The laboratory: the session object that owns the cell and everything the script names. Its
/// commands are stored while the script is read and executed afterwards, in script order. It is the
/// model of a regression too: one evaluation is one pass over the stored commands.
class EOSLab : public virtual EOS_User, public Charz_User, public Fitter {
public:
    EOSLab();

    const CmdKey* FindKey(const std::string& word) const override;
    PtrTo<const EOS> default_eos() const override;
    using Charz_User::current;
    /// The cell follows the current characterization.
    Charzation* current(Charzation* next) override;
    void forget_charzations() override;
    std::vector<double> base_fractions(const Charzation& base) const override;
    double base_temperature() const override;

    /// The whole run: reads the script into stored commands, fits the variables that are to be
    /// varied, and executes the commands for the report. A script with an error stops (FatalError)
    /// before anything is calculated.
    void runScript(Reader& reader);
    /// One pass over the stored commands on a laboratory built from nothing. Commands print in modes
    /// First and Final only; the table of variables in all but Jacobian. A fatal error in a silent
    /// pass, or three errors in a pass, leave a fatal entry in `errors`, which ends the fit.
    void evaluate(Reader& reader, ErrorList& errors, EvaluationMode mode) override;
    /// The table of variables on the report, if there are any.
    void reportVariables(const Writer& writer) const;
    virtual void resetLaboratory();

    /// One scalar of an experiment: a residual if `measured` was given (not UNSET), and if `writer`
    /// prints, the calculated value or both with weight and error.
    ///   scale  what the error is a percentage of, base units as the values
    void compareValue(Writer& writer, const std::string& expt_name, const std::string& calc_name,
                      const ValueWithUnit& measured, const ValueWithUnit& calculated, double scale,
                      double weight);

    PVTCell& cell() { return *cell_; }
    const PVTCell& cell() const { return *cell_; }
    ErrorList& errors() { return *errors_; }
    EvaluationMode mode() const { return mode_; }

    /// The mixture of that name, standard ones included, or null.
    PtrTo<Tank> find_mixture(const std::string& name);
    /// Stores a copy of `amounts` under the name; a mixture of that name is filled, not replaced,
    /// since the cell shares the standard ones.
    void store_mixture(const std::string& name, const Tank& amounts);

    NamedTable<DynPtr<Tank>> mixtures;
    NamedTable<ValueWithUnit> saved_temperatures;  ///< K
    NamedTable<ValueWithUnit> saved_pressures;     ///< Pa
    NamedTable<ValueWithUnit> saved_depths;        ///< m
    NamedTable<PtrTo<Sep>> separators;
    NamedTable<PtrTo<Process>> processes;
    NamedTable<PtrTo<Collector>> collectors;
    std::string title;                   ///< heads the sections that follow
    std::vector<std::string> subtitles;  ///< in order of arrival
    /// Runs of each calculation command in this evaluation, by its error label.
    NamedTable<int> run_counts;

private:
    void regress(Reader& reader);
    /// False if a fatal error ended a silent pass.
    bool run_pass(Reader& reader);
    void report_rms(Writer& writer) const;
    std::string variables_title() const;
    void rerun_all(Reader& reader);
    void execute_all(Reader& reader);

    DynPtr<ErrorList> errors_;
    DynPtr<PVTCell> cell_;
    EvaluationMode mode_ = EvaluationMode::First;
};

}  // namespace kestrane
