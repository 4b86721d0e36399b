#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "frame/Errors.h"
#include "input/Reader.h"
#include "lab/EOSLab.h"

namespace kestrane {

/// A script run by a laboratory in memory, with a console and a report of their own. The tests'
/// keywords (DriverKeys.cpp) are known to it.
class DriverRun {
public:
    explicit DriverRun(const std::string& script)
        : input_(script),
          file_(input_),
          console_file_(console_),
          report_file_(report_),
          writer_(counts, &console_file_, &report_file_),
          reader_(writer_, file_) {
        try {
            lab.runScript(reader_);
        } catch (const FatalError&) {
            stopped = true;
        }
        report_file_.flush();
        console_file_.flush();
    }
    std::string report() const { return report_.str(); }
    std::string console() const { return console_.str(); }
    bool reports(const std::string& text) const { return report().find(text) != std::string::npos; }
    bool shows(const std::string& text) const { return console().find(text) != std::string::npos; }
    int times(const std::string& text) const {
        int found = 0;
        const std::string all = report();
        for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1))
            ++found;
        return found;
    }
    void evaluate(EvaluationMode mode) { lab.evaluate(reader_, lab.errors(), mode); }
    Reader& reader() { return reader_; }

private:
    std::stringbuf input_, console_, report_;
    InFile file_;
    OutFile console_file_, report_file_;

public:
    ErrorCounts counts;
    bool stopped = false;

private:
    Writer writer_;
    Reader reader_;

public:
    EOSLab lab;
};

/// What the measuring keywords calculated in the last evaluation, in their order.
std::vector<double>& calculated_values();

}  // namespace kestrane
