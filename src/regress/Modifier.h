#pragma once

#include <string>

#include "frame/PtrTo.h"
#include "input/Units.h"

namespace kestrane {

class Charz_User;
class Command;
class Fitter;
class Reader;
class Writer;

/// A change of a model parameter: replace, multiply, divide, increase or decrease it by a value.
/// The value is a number of the script or a variable of the regression, looked up each time. A
/// modifier holds no result: what it changes is built anew before it acts again.
class Modifier {
public:
    /// `owner` is the modifier's command and outlives it.
    ///   fitter  owner of the variables; null if there are none
    ///   verb    the verb's keyword; any other word means to replace
    Modifier(const Command& owner, const Fitter* fitter, const std::string& verb);
    /// With the owner's keyword as verb.
    Modifier(const Command& owner, const Fitter* fitter);
    virtual ~Modifier() = default;
    Modifier(const Modifier&) = delete;
    Modifier& operator=(const Modifier&) = delete;

    /// Makes the change. This base prints what is about to be done, where something prints; those
    /// derived call it first.
    virtual void apply(Writer& writer);
    /// Before a pass: what outlives passes goes back to its default.
    virtual void rerun() {}

    /// Warns (level 1), or reports at another level, why an operation was refused. Level 3 ends the
    /// run. Nothing happens below the writer's level of reporting.
    ///   problem  line that locates the problem
    ///   target   what would have been changed
    virtual void reportFailure(Writer& writer, const std::string& problem,
                               const std::string& target, int level) const;
    virtual void reportFailure(Writer& writer, const std::string& problem, int level) const;
    virtual void reportReason(Writer& writer, const std::string& reason, const std::string& problem,
                              const std::string& target, int level) const;
    virtual void reportReason(Writer& writer, const std::string& reason, const std::string& problem,
                              int level) const;

    /// Applies the verb to a parameter in base units; false, with the parameter as it was, if that
    /// has no result. A missing parameter (UNSET) is only changed by a replacement.
    bool operate(double& parameter) const;
    /// The number, or the variable's current value; in the operand's unit.
    double value() const;

    bool replaces() const;
    const std::string& target() const { return target_; }
    /// Unit of the value; null if it has none.
    const Units* unit() const { return unit_; }

protected:
    struct Verb;

    /// Reads the value: a number or a variable, behind an optional BY; then its unit if the verb
    /// adds or replaces and the parameter has units (`units` not null).
    void read_operand(Reader& reader, const UnitSet* units);
    /// Warns that `operate` refused to change the parameter, which is as it was.
    void report_refusal(Writer& writer, double parameter, const std::string& target) const;
    /// "Problem for keyword ..."
    std::string place() const;

    std::string target_;  ///< what is changed, as printed
    const Command& owner_;

private:
    void read_value(Reader& reader);
    void read_unit(Reader& reader, const UnitSet& units);
    double increment() const;

    const Fitter* fitter_;
    const Verb* verb_;
    std::string variable_name_;
    const Units* unit_ = nullptr;
    double literal_;
    int variable_ = -1;  ///< number of the variable, -1 for a literal
};

/// The variables that belong to the owner of a fluid, or null.
Fitter* fitter_of(Charz_User& user);
/// VAR name value [bound [bound]]: defines a variable while the script is read.
void read_variable(Reader& reader, Fitter* fitter);

}  // namespace kestrane
