#pragma once

#include <string>

#include "lab/EOSLab.h"

namespace kestrane {

/// One section of the report: the heading of a calculation, and at its close the problems met.
/// Nothing is counted or formed while nothing prints.
class Section {
public:
    /// Counts the run, and heads the section with the laboratory's title and subtitles.
    ///   title    "Flash Calculation"
    ///   label    "flash calculation", in the verdict on problems
    Section(EOSLab& lab, Writer& writer, const std::string& title, const std::string& label);
    /// Heads a section that has a number of its own.
    Section(EOSLab& lab, Writer& writer, const std::string& title, const std::string& label,
            int number);
    /// The title with the number behind it.
    const std::string& heading() const { return heading_; }
    /// Reports the cell's problems, located at the command.
    void close(const Command& command);

private:
    /// Counts one more run of the calculation.
    static int next_number(EOSLab& lab, Writer& writer, const std::string& label);

    EOSLab& lab_;
    Writer& writer_;
    std::string heading_;
    std::string label_;
};

}  // namespace kestrane
