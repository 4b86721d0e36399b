#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "frame/Errors.h"
#include "input/Reader.h"
#include "lab/EOSLab.h"

namespace kestrane {

/// A script run by a laboratory in memory; the report is text.
class LabRun {
public:
    explicit LabRun(const std::string& script)
        : input_(script),
          file_(input_),
          report_file_(report_),
          writer_(counts, nullptr, &report_file_),
          reader_(writer_, file_) {
        try {
            lab.runScript(reader_);
        } catch (const FatalError&) {
            stopped = true;
        }
        report_file_.flush();
    }

    /// One more evaluation; what it reported alone.
    std::string evaluate(EvaluationMode mode) {
        report_.str("");
        lab.evaluate(reader_, lab.errors(), mode);
        report_file_.flush();
        return report_.str();
    }

    /// Executes the last command of the script once more, on the laboratory as it stands.
    void repeat_last() {
        try {
            lab.commands.back()->Execute(reader_);
        } catch (...) {
            report_file_.flush();
            throw;
        }
        report_file_.flush();
    }

    std::string report() const { return report_.str(); }
    bool reports(const std::string& text) const { return report().find(text) != std::string::npos; }
    /// How many times the text stands in the report.
    int count(const std::string& text) const {
        int found = 0;
        const std::string all = report();
        for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1))
            ++found;
        return found;
    }

private:
    std::stringbuf input_;
    std::stringbuf report_;
    InFile file_;
    OutFile report_file_;

public:
    ErrorCounts counts;
    bool stopped = false;  ///< a limit or a fatal error ended the run

private:
    Writer writer_;
    Reader reader_;

public:
    EOSLab lab;
};

/// Three library components, ready for mixtures.
inline const std::string LIGHT_FLUID =
    "CHAR Light\n"
    "NAME  MW  TC(K)  PC(bar)  AF\n"
    "C1\n"
    "C3\n"
    "N-C10\n"
    "END\n"
    "END\n";

}  // namespace kestrane
