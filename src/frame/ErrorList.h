#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "frame/PtrTo.h"

namespace kestrane {

class Writer;

/// Levels of an ErrorList.
enum Severity : int { NO_PROBLEM = 0, WARNING = 1, ERROR = 2, FATAL_ERROR = 3 };

/// One message with the number of times it was added.
struct ErrorMsg {
    std::string text;  ///< without a final full stop; lines joined by '\n'
    int count = 1;
};

/// Forms the verdict line of a report from the thing judged (may be empty) and its severity.
using HeadlineFunction = std::string (*)(std::string_view what, int severity);

/// "Uncertain results from {X}." and its kin.
std::string ResultHeadline(std::string_view what, int severity);
/// "Input valid for {X}." or "Input not valid for {X}.".
std::string ValidityHeadline(std::string_view what, int severity);

/// Collects the complaints of one calculation and reports them once, as one block.
class ErrorList {
public:
    ErrorList();

    /// Adds a message, or raises the count of an equal text; the list's severity becomes the
    /// maximum of its own and the one given.
    void Add(std::string_view text, int severity);
    /// Adds a WARNING if the warnings switch is on.
    void Warn(std::string_view text);
    /// Adds an ERROR if the errors switch is on.
    void Fail(std::string_view text);

    /// Prints the list as one block: the verdict headline, `detail` if not empty, the entries.
    /// Empties the list. May throw FatalError when a limit is reached.
    void Report(Writer& writer, std::string_view what, std::string_view detail,
                HeadlineFunction headline);

    /// Empties the list and turns both switches on.
    void Clear();

    bool empty() const { return entries.empty(); }
    /// True while a calculation may go on.
    bool usable() const { return severity < FATAL_ERROR; }

    std::vector<DynPtr<ErrorMsg>> entries;  ///< in order of arrival
    int severity = NO_PROBLEM;
    int error_count = 0;      ///< added at ERROR or above, repeats included
    bool warnings_on = true;  ///< searches turn this off while they try states
    bool errors_on = true;
};

}  // namespace kestrane
