#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "expt/Depletion.h"
#include "lab/LabRun.h"

namespace kestrane {

/// An experiment whose stage records are kept.
template <class Experiment>
class Recorded : public Experiment {
public:
    void afterSaturations(EOSLab& lab, ExptData& row, const ExptData& positions) override {
        Experiment::afterSaturations(lab, row, positions);
        rows.push_back(row);
        feeds.push_back(*lab.cell().feed);
    }
    std::vector<ExptData> rows;
    std::vector<Tank> feeds;  ///< what each stage left
};

/// An experiment read from its block alone, run on the laboratory that a script leaves.
template <class Experiment>
class ExptRun {
public:
    /// `prepare` acts on the laboratory before the block is read.
    ExptRun(const std::string& fluid, const std::string& block, void (*prepare)(EOSLab&) = nullptr)
        : setting(fluid),
          input_(block),
          file_(input_),
          report_file_(report_),
          writer_(counts, nullptr, &report_file_),
          reader_(writer_, file_) {
        counts.errorLimit = counts.warningLimit = 100;
        EXPECT_FALSE(setting.stopped) << setting.report();
        if (prepare) prepare(setting.lab);
        experiment.parse(reader_, setting.lab, reader_);
        run();
    }
    void run() {
        experiment.rows.clear();
        experiment.feeds.clear();
        experiment.run(reader_, setting.lab, reader_);
        report_file_.flush();
    }
    std::string report() const { return report_.str(); }
    const std::vector<ExptData>& rows() const { return experiment.rows; }
    /// All messages that stand, one to a line.
    std::string problems() {
        std::string all;
        for (const auto& entry : setting.lab.errors().entries) all += entry->text + "\n";
        return all;
    }

    LabRun setting;
    Recorded<Experiment> experiment;
    ErrorCounts counts;

private:
    std::stringbuf input_, report_;
    InFile file_;
    OutFile report_file_;
    Writer writer_;
    Reader reader_;
};

/// A table of cells divided by "|", each under its heading.
inline std::string aligned(std::initializer_list<const char*> lines) {
    constexpr std::size_t WIDTH = 24;
    std::string text;
    for (std::string line : lines) {
        std::size_t at = 0;
        for (std::size_t bar = 0; (bar = line.find('|', at)) != std::string::npos; at = bar)
            line.replace(bar, 1, std::string(WIDTH - bar % WIDTH, ' '));
        text += line + "\n";
    }
    return text + "END\n";
}

/// Methane, propane and decane with both of them soluble in each other at 350 K.
inline const std::string OIL = LIGHT_FLUID + "QMIX FEED C1 0.5 C3 0.2 N-C10 0.3\nTEMP 350 K\n";
inline const std::string CONDENSATE =
    LIGHT_FLUID + "QMIX FEED C1 0.85 C3 0.10 N-C10 0.05\nTEMP 370 K\n";

}  // namespace kestrane
