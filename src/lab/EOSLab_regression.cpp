// The run of a script: read once, then evaluated as often as the regression asks, and once more for
// the report.

#include <algorithm>
#include <limits>

#include "frame/ErrorList.h"
#include "frame/Errors.h"
#include "input/Table.h"
#include "lab/EOSLab.h"
#include "lab/NumberText.h"

namespace kestrane {

namespace {

constexpr int READING_ERROR_LIMIT = 20;
constexpr int READING_WARNING_LIMIT = 50;
constexpr int NEW_ERRORS_PER_EVALUATION = 20;
/// As many in one evaluation end the regression.
constexpr int ERRORS_THAT_END_A_FIT = 3;
// An output file prints while its print level reaches its minimum level.
constexpr int CONSOLE_LEVEL = 1;
constexpr int REPORT_LEVEL = 3;

void set_levels(OutFile* file, int minimum, int print) {
    if (!file) return;
    file->minimumLevel = minimum;
    file->printLevel = print;
}

/// The levels under which commands run, and those under which the driver itself reports: Jacobian
/// columns leave nothing in the report.
void open_for_commands(Writer& writer, bool prints) {
    set_levels(writer.consoleFile, CONSOLE_LEVEL, prints ? CONSOLE_LEVEL : 0);
    set_levels(writer.reportFile, REPORT_LEVEL, prints ? REPORT_LEVEL : 0);
}
void open_for_driver(Writer& writer, EvaluationMode mode) {
    set_levels(writer.consoleFile, CONSOLE_LEVEL, CONSOLE_LEVEL);
    set_levels(writer.reportFile, REPORT_LEVEL,
               mode == EvaluationMode::Jacobian ? 0 : REPORT_LEVEL);
}

/// A note that the user sees at once, and the report never.
void note_on_console(const Writer& writer, const std::string& text) {
    Writer console(writer.errorCounts(), writer.consoleFile, nullptr);
    console.Note({text});
    console.Flush();
}

std::string counted(int count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string problem_headline(std::string_view what, int) {
    return "Problem for " + std::string(what) + ".";
}

/// One variable in the report.
struct RegVarData : Row {
    int number = UNSET_INT;             ///< from 1
    int regression_number = UNSET_INT;  ///< from 1, among those that are varied
    std::string name;
    double current = UNSET;
    double initial = UNSET;
    double lower = UNSET;
    double upper = UNSET;
};
template <class T>
using RegVarHead = TableHead<T>;

constexpr PrintFigures VARIABLE_FIGURES{5, 8, 6};

template <class T>
RegVarHead<T> variable_head(T RegVarData::*field, const char* title) {
    return RegVarHead<T>(field, {title}, {}, nullptr, 0, VARIABLE_FIGURES);
}

/// The table's columns: `varied` with those of a regression, `begun` with the initial values too.
void add_variable_columns(Table& table, bool varied, bool begun) {
    static const auto number = variable_head(&RegVarData::number, "Var Num");
    static const auto regression = variable_head(&RegVarData::regression_number, "Reg Var");
    static const auto name = [] {
        auto head = variable_head(&RegVarData::name, "Variable");
        head.left_aligned = true;
        return head;
    }();
    static const auto current = variable_head(&RegVarData::current, "Current");
    static const auto initial = variable_head(&RegVarData::initial, "Initial");
    static const auto lower = variable_head(&RegVarData::lower, "Lower Bound");
    static const auto upper = variable_head(&RegVarData::upper, "Upper Bound");
    table.AddColumnOf(number);
    if (varied) table.AddColumnOf(regression);
    table.AddColumnOf(name);
    table.AddColumnOf(current);
    if (!varied) return;
    if (begun) table.AddColumnOf(initial);
    table.AddColumnOf(lower);
    table.AddColumnOf(upper);
}

RegVarData variable_row(const Fitter& fitter, std::size_t number, int& active) {
    RegVarData row;
    row.number = static_cast<int>(number) + 1;
    row.name = fitter.variable_name(number);
    row.current = fitter.variable_value(number);
    if (!fitter.is_active(number)) return row;
    row.regression_number = ++active;
    row.initial = fitter.initial_value(number);
    row.lower = fitter.lower_bound(number);
    row.upper = fitter.upper_bound(number);
    return row;
}

}  // namespace

void EOSLab::runScript(Reader& reader) {
    ErrorCounts& counts = reader.errorCounts();
    counts.errorLimit = 1;
    counts.warningLimit = READING_WARNING_LIMIT;
    reader.CheckLimits();
    counts.errorLimit = READING_ERROR_LIMIT;
    ReadAll(reader);
    counts.errorLimit = 1;
    counts.warningLimit = std::numeric_limits<std::int32_t>::max();
    reader.CheckLimits();
    if (active_count() > 0) regress(reader);
    evaluateNow(reader, errors(), EvaluationMode::Final);
}

/// The fit has a list of problems of its own: the laboratory's is emptied by every evaluation. What
/// ended the fit does not end the run, so that the report shows the state reached.
void EOSLab::regress(Reader& reader) {
    note_on_console(reader, "Start of regression.");
    ErrorList problems;
    fit(reader, problems);
    problems.severity = std::min<int>(problems.severity, ERROR);
    problems.Report(reader, "regression", "", problem_headline);
    note_on_console(reader, "Regression finished after " +
                                counted(std::min(iteration_limit, iteration_count), "iteration") +
                                " (" + counted(evaluation_count, "evaluation") + ").");
}

void EOSLab::evaluate(Reader& reader, ErrorList& errors, EvaluationMode mode) {
    mode_ = mode;
    reader.CheckLimits();
    ErrorCounts& counts = reader.errorCounts();
    const ErrorCounts before = counts;
    counts.errorLimit = counts.errors + NEW_ERRORS_PER_EVALUATION;
    const bool finished = run_pass(reader);
    open_for_driver(reader, mode);
    if (finished)
        report_rms(reader);
    else
        errors.Add("An evaluation ended with a fatal error", FATAL_ERROR);
    if (counts.errors - before.errors >= ERRORS_THAT_END_A_FIT)
        errors.Add("Too many errors occurred in one evaluation", FATAL_ERROR);
}

bool EOSLab::run_pass(Reader& reader) {
    const bool prints = mode_ == EvaluationMode::First || mode_ == EvaluationMode::Final;
    ErrorCounts& counts = reader.errorCounts();
    const std::int32_t fatals = counts.fatals;
    try {
        open_for_commands(reader, prints);
        resetLaboratory();
        rerun_all(reader);
        open_for_driver(reader, mode_);
        reportVariables(reader);
        open_for_commands(reader, prints);
        execute_all(reader);
    } catch (const FatalError&) {
        // Values that a regression tries may lead to a state that cannot be calculated.
        if (prints || counts.errors >= counts.errorLimit || counts.warnings >= counts.warningLimit)
            throw;
        counts.fatals = fatals;
        return false;
    }
    return true;
}

void EOSLab::rerun_all(Reader& reader) {
    for (const auto& command : commands) command->Rerun(reader);
}

void EOSLab::execute_all(Reader& reader) {
    for (const auto& command : commands) command->Execute(reader);
}

void EOSLab::report_rms(Writer& writer) const {
    const auto count = static_cast<int>(pending_residuals());
    if (count == 0) return;
    note_on_console(writer, fixed_text(rms(), 4) + " % RMS average weighted error for " +
                                counted(count, "measurement") + ".");
}

std::string EOSLab::variables_title() const {
    if (active_count() == 0) return "Variable Definitions";
    if (mode_ == EvaluationMode::First) return "Initial Variable Definitions";
    if (mode_ == EvaluationMode::Final) return "Final Variable Definitions";
    return "Variable Definitions (for iteration " +
           std::to_string(std::min(iteration_limit, iteration_count)) + ", evaluation " +
           std::to_string(evaluation_count) + ")";
}

void EOSLab::reportVariables(const Writer& writer) const {
    if (variable_count() == 0) return;
    Writer report(writer.errorCounts(), nullptr, writer.reportFile);
    if (!report.active()) return;
    Table table;
    add_variable_columns(table, active_count() > 0, mode_ != EvaluationMode::First);
    int active = 0;
    for (std::size_t number = 0; number < variable_count(); ++number)
        table.AddRow(variable_row(*this, number, active));
    const std::string heading = variables_title();
    report.Newlines(1);
    report.Line(heading);
    report.Line(std::string(heading.size(), '='));
    table.Print(report.fileList, 2, 1, 0);
    report.Newlines(1);
}

}  // namespace kestrane
