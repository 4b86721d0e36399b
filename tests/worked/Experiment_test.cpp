// The worked example of an experiment in doc/architecture.md: what the document shows stands here
// and is run.

#include "expt/ExptRun.h"

namespace kestrane {

/// A depletion that leaves half of the gas at every stage.
class PVTzHALF : public PVTzEXPA {
public:
    std::string title() const override { return "Half Depletion"; }
    void setRemoval(const ExptData&) override {
        liquid_retained = 1.0;
        gas_retained = 0.5;
        liquid_share = 0.0;
        gas_share = 1.0;
    }
};

namespace {

TEST(WorkedExperiment, HalfOfTheGasLeavesEveryStage) {
    const ExptRun<PVTzHALF> run(OIL, "PRES BAR\n 100\n 60\n 20\nEND\n");
    ASSERT_EQ(run.rows().size(), 3u) << run.report();
    double removed = 0.0;
    for (const ExptData& row : run.rows()) {
        EXPECT_GT(row.gas_moles_1, 0.0) << row.stage;
        EXPECT_DOUBLE_EQ(row.gas_moles_2, 0.5 * row.gas_moles_1) << row.stage;
        EXPECT_DOUBLE_EQ(row.liquid_moles_2, row.liquid_moles_1) << row.stage;
        removed += row.gas_moles_1 - row.gas_moles_2;
        EXPECT_NEAR(row.removed_moles, removed, 1e-15) << row.stage;
    }
    EXPECT_NE(run.report().find("Half Depletion"), std::string::npos) << run.report();
}

}  // namespace
}  // namespace kestrane
