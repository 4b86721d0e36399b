#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "equil/Fluids.h"
#include "expt/PVTzExpt.h"
#include "input/Reader.h"
#include "lab/EOSLab.h"

namespace kestrane::campaign {

/// What a calculation left in a cell, as a judge sees it.
struct CellRecord {
    double T = 0.0, P = 0.0;  ///< K, Pa
    int phase_count = 0;
    PhaseState feed_state, x_state, y_state;  ///< without compositions
    std::vector<double> feed, x, y;           ///< mole fractions
    std::vector<std::string> messages;        ///< that came with it

    explicit CellRecord(const PVTCell& cell);
    bool two_phase() const { return phase_count >= 2; }
    bool gas() const { return y_state.fraction > 0.5; }
    bool says(const std::string& part) const;
    /// True if a warning took the answer back.
    bool warned() const { return says("convergence failed") || says("out of bounds"); }
    /// Puts the record into the cell that the judges look at.
    void show(fluids::TestCell& judge) const;
};

/// A stage of an experiment.
struct Stage {
    CellRecord cell;  ///< ahead of the removal
    ExptData row;
    std::vector<double> left;  ///< mole fractions after the removal
};

/// An experiment whose stages are recorded.
template <class Experiment>
class Watched : public Experiment {
public:
    void beforeRemoval(EOSLab& lab, ExptData& row, const ExptData& positions, bool both) override {
        Experiment::beforeRemoval(lab, row, positions, both);
        stages.push_back({CellRecord(lab.cell()), ExptData(), {}});
        std::vector<std::string>& messages = stages.back().cell.messages;
        messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(
                                                                std::min(told_, messages.size())));
        told_ += messages.size();
    }
    void afterRemoval(EOSLab& lab, ExptData& row, const ExptData& positions, bool both) override {
        Experiment::afterRemoval(lab, row, positions, both);
        const std::span<const double> left = lab.cell().feed->moles();
        stages.back().row = row;
        stages.back().left.assign(left.begin(), left.end());
    }
    std::vector<Stage> stages;

private:
    std::size_t told_ = 0;
};

/// A laboratory of one drawn fluid, and a block of input for an experiment in it.
class ExperimentLab {
public:
    ExperimentLab(const fluids::Fluid& fluid, double T, double P, const std::string& block);
    /// Reads the block and runs it.
    void run(PVTzExpt& experiment);
    const ErrorList& problems() { return lab.errors(); }

    EOSLab lab;

private:
    std::stringbuf input_, report_;
    InFile file_;
    OutFile report_file_;
    ErrorCounts counts_;
    Writer writer_;
    Reader reader_;
};

}  // namespace kestrane::campaign
