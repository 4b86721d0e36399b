#pragma once

#include "Campaign.h"
#include "ExperimentRun.h"

namespace kestrane::campaign {

/// Judges states that a calculation left behind, as the flash campaign judges its flashes.
class StageJudge {
public:
    StageJudge(const fluids::Fluid& fluid, const fluids::SearchEffort& effort);

    /// What is wrong with the state by itself; FAILURE_COUNT if nothing is.
    Failure failure_of(const CellRecord& record);
    /// True if a single phase is named otherwise than it is beside the incipient phase at its own
    /// saturation pressure.
    bool is_misnamed(const CellRecord& record);
    /// True if two phases can exist at the state.
    bool is_unstable(const CellRecord& record, double P);

    /// Densities by the textbook's equation, kg/m3.
    double density_of(std::span<const double> x, double T, double P) const;
    /// Volume over covolume, by which the program tells the lighter of two phases.
    double looseness_of(std::span<const double> x, double T, double P) const;
    const fluids::Fluid& fluid() const { return judge_.fluid; }
    fluids::TestCell& cell() { return judge_; }

private:
    Failure failure_of_pair();
    std::optional<bool> is_gas_beside(double T, int sense, double P);

    fluids::TestCell judge_;
    fluids::SearchEffort effort_;
};

}  // namespace kestrane::campaign
