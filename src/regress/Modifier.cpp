#include "regress/Modifier.h"

#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "fluid/Charz_User.h"
#include "frame/ErrorList.h"
#include "frame/Errors.h"
#include "input/Keyword.h"
#include "input/Reader.h"
#include "lab/NumberText.h"
#include "regress/Fitter.h"

namespace kestrane {

namespace {

constexpr const char* RESULT_UNDEFINED = "The result would have been undefined.";
constexpr const char* INITIAL_UNDEFINED = "The initial value was undefined.";

enum class Operation { Replace, Multiply, Divide, Increase, Decrease };

}  // namespace

struct Modifier::Verb {
    const char* keyword;
    const char* verb;     ///< with the blank behind it
    const char* verbing;  ///< at the head of a line
    Operation operation;

    /// Multipliers have no unit.
    bool wants_unit() const {
        return operation != Operation::Multiply && operation != Operation::Divide;
    }
    static const Verb& of(const std::string& word);
};

const Modifier::Verb& Modifier::Verb::of(const std::string& word) {
    static constexpr std::array<Verb, 5> VERBS{
        {{"REP&", "replace ", "Replacing ", Operation::Replace},
         {"MUL&", "multiply ", "Multiplying ", Operation::Multiply},
         {"DIV&", "divide ", "Dividing ", Operation::Divide},
         {"INCR&", "increase ", "Increasing ", Operation::Increase},
         {"DECR&", "decrease ", "Decreasing ", Operation::Decrease}}};
    for (const Verb& verb : VERBS)
        if (KeyCompare(verb.keyword, word.c_str()) == 0) return verb;
    return VERBS.front();
}

Modifier::Modifier(const Command& owner, const Fitter* fitter, const std::string& verb)
    : owner_(owner),
      fitter_(fitter),
      verb_(&Verb::of(verb)),
      literal_(verb_->wants_unit() ? 0.0 : 1.0) {}

Modifier::Modifier(const Command& owner, const Fitter* fitter)
    : Modifier(owner, fitter, owner.word) {}

bool Modifier::replaces() const {
    return verb_->operation == Operation::Replace;
}

double Modifier::value() const {
    return variable_ < 0 ? literal_ : fitter_->variable_value(static_cast<std::size_t>(variable_));
}

std::string Modifier::place() const {
    return owner_.Location("Problem for ", ".");
}

void Modifier::apply(Writer& writer) {
    if (!writer.active()) return;
    std::string line = verb_->verbing + target_ + " by " + general_text(value());
    if (unit_ && !unit_->name().empty()) line += " " + unit_->name();
    if (variable_ >= 0)
        line += " (variable " + std::to_string(variable_ + 1) + ", " +
                fitter_->variable_name(static_cast<std::size_t>(variable_)) + ")";
    line += ".";
    writer.Block("UPDATE", {&line, 1}, std::numeric_limits<unsigned>::max(), '*');
}

/// The value as a difference: without the offset of its unit, so that ten degrees more are ten
/// degrees whatever the zero of the scale.
double Modifier::increment() const {
    return unit_ ? unit_->to_base(value()) - unit_->to_base(0.0) : value();
}

bool Modifier::operate(double& parameter) const {
    const double by = value();
    const bool missing = parameter == UNSET;
    double result = parameter;
    switch (verb_->operation) {
        case Operation::Replace:
            result = unit_ ? unit_->to_base(by) : by;
            break;
        case Operation::Multiply:
            if (missing) return by == 0.0;
            result = parameter * by;
            break;
        case Operation::Divide:
            if (missing || by == 0.0) return by == 1.0;
            result = parameter / by;
            break;
        case Operation::Increase:
            if (missing) return by == 0.0;
            result = parameter + increment();
            break;
        case Operation::Decrease:
            if (missing) return by == 0.0;
            result = parameter - increment();
            break;
    }
    if (!std::isfinite(result)) return false;
    parameter = result;
    return true;
}

void Modifier::reportFailure(Writer& writer, const std::string& problem, const std::string& target,
                             int level) const {
    if (level < writer.reportLevel) return;
    const bool undefined = !verb_->wants_unit() && value() == 0.0;
    reportReason(writer, undefined ? RESULT_UNDEFINED : INITIAL_UNDEFINED, problem, target, level);
}

void Modifier::report_refusal(Writer& writer, double parameter, const std::string& target) const {
    const bool overflow = parameter != UNSET && value() != 0.0;
    if (!overflow)
        reportFailure(writer, place(), target, WARNING);
    else if (writer.reportLevel <= WARNING)
        reportReason(writer, RESULT_UNDEFINED, place(), target, WARNING);
}

void Modifier::reportFailure(Writer& writer, const std::string& problem, int level) const {
    reportFailure(writer, problem, target_, level);
}

void Modifier::reportReason(Writer& writer, const std::string& reason, const std::string& problem,
                            const std::string& target, int level) const {
    std::string head =
        "Could not " + std::string(verb_->verb) + target + " by " + general_text(value());
    if (unit_ && !unit_->name().empty()) head += " " + unit_->name();
    std::vector<std::string> lines{head + "."};
    for (const std::string& line : {reason, problem})
        if (!line.empty()) lines.push_back(line);
    if (level >= FATAL_ERROR)
        writer.Fatal(lines);
    else if (level == ERROR)
        writer.Error(lines);
    else if (level == WARNING)
        writer.Warning(lines);
    else
        writer.Note(lines);
}

void Modifier::reportReason(Writer& writer, const std::string& reason, const std::string& problem,
                            int level) const {
    reportReason(writer, reason, problem, target_, level);
}

void Modifier::read_operand(Reader& reader, const UnitSet* units) {
    const LineLimitScope one_line(reader, 0);
    read_value(reader);
    if (units && verb_->wants_unit()) read_unit(reader, *units);
}

void Modifier::read_value(Reader& reader) {
    if (reader.NextDouble(literal_) > 0) return;
    std::string word;
    if (reader.NextWord(word) > 0 && KeyCompare(word, "BY") == 0) {
        if (reader.NextDouble(literal_) > 0) return;
        if (reader.NextWord(word) <= 0) word.clear();
    }
    variable_name_ = word;
    variable_ = fitter_ ? fitter_->findVariable(word) : -1;
    if (variable_ < 0 && !reader.lost(word) && !reader.line_in_error())
        reader.ErrorHere({"\"" + word + "\" not recognized as a variable."});
}

void Modifier::read_unit(Reader& reader, const UnitSet& units) {
    std::string word;
    const int found = reader.NextWord(word);
    if (found > 0) unit_ = units.find(word);
    if (unit_) return;
    if (found > 0 || (found == 0 && reader.flags() == 0)) reader.Unread();
    unit_ = &units.default_unit();
    if (unit_->name().empty() || reader.line_in_error()) return;
    const std::string by = variable_name_.empty() ? general_text(literal_) : variable_name_;
    std::vector<std::string> lines{"Cannot " + std::string(verb_->verb) + target_ + " by " + by +
                                   " without valid units."};
    reader.Locate(lines, 2);
    lines.push_back("To allow further input, units of \"" + unit_->name() + "\" will be assumed.");
    reader.Error(lines);
}

Fitter* fitter_of(Charz_User& user) {
    return dynamic_cast<Fitter*>(&user);
}

void read_variable(Reader& reader, Fitter* fitter) {
    const LineLimitScope one_line(reader, 0);
    std::string name;
    if (reader.NextWord(name) <= 0) {
        reader.ErrorHere({"A name was expected for a regression variable."});
        return;
    }
    std::vector<double> numbers(3, UNSET);
    reader.NextDoubles(numbers);
    std::erase(numbers, UNSET);
    if (numbers.empty() || !fitter) return;
    const double bound = numbers.size() > 1 ? numbers[1] : numbers[0];
    fitter->addVariable(name, numbers[0], bound, numbers.size() > 2 ? numbers[2] : bound);
}

}  // namespace kestrane
