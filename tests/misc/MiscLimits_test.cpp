// Miscibility at the limits of what a script may ask for, and what a row of cells costs.

#include <gtest/gtest.h>

#include "equil/AllocationCount.h"
#include "misc/MiscExpt.h"
#include "misc/MiscFluids.h"

namespace kestrane {
namespace {

using fluids::Fluid;
using fluids::GAS_DRIVE_T;

/// An experiment whose single tests can be called.
class Probe : public MiscExpt {
public:
    using MiscExpt::MiscExpt;
    bool ready() override { return find_fluid(input_.fluids.front(), injected_); }
    void run() override {
        prepare();
        prepare_fluid(injected_);
        gas_.assign(injected_.moles().begin(), injected_.moles().end());
    }
};

std::string published() {
    return fluids::gas_drive(fluids::gas_drive_fluid(), GAS_DRIVE_T, {0.2, 0.15, 0.65, 0.0},
                             {0.2, 0.0, 0.0, 0.8});
}

/// Allocations of one row of so many cells.
long allocations_of_row(LabRun& run, int cells) {
    std::stringbuf text;
    OutFile file(text);
    ErrorCounts counts;
    Writer writer(counts, nullptr, &file);
    Misc_Input input;
    input.fluids = {"GAS"};
    input.cells = cells;
    Probe probe(run.lab, writer, *run.lab.commands.back(), input);
    EXPECT_TRUE(probe.ready());
    probe.run();
    int mechanism = 0;
    const AllocationCount count;
    EXPECT_GT(probe.condensingVaporizingTest(nullptr, mechanism), 0.0);
    return count.made();
}

TEST(CellRow, StagesAllocateNothing) {
    LabRun run(published() + "PRES 1900 psia\n");
    allocations_of_row(run, 50);
    const long few = allocations_of_row(run, 50);
    EXPECT_EQ(allocations_of_row(run, 51), few);
    EXPECT_EQ(allocations_of_row(run, 120), few);
}

TEST(MiscLimits, InjectedFluidIsTheOil) {
    const LabRun run(published() +
                     "PRES 500 psia\nMMP FEED CELLS 10\nEND\nMCM FEED CELLS 10\nEND\n"
                     "MME FEED FEED CELLS 10\nEND\n");
    EXPECT_TRUE(run.reports("Predicted Mechanism = First-Contact Miscibility"));
    EXPECT_TRUE(run.reports("Minimum Miscibility Enrichment = "));
    EXPECT_EQ(run.counts.errors, 0);
}

TEST(MiscLimits, OneComponentInAll) {
    const LabRun run(
        "CHAR\nNAME  MW     TC(K)   PC(bar)  AF\nC3    44.1   369.8   42.5     0.153\nEND\n"
        "QMIX FEED C3 1\nTEMP 300 K\nPRES 5 bar\nMMP C3 CELLS 5\nEND\nMCM C3 CELLS 5\nEND\n"
        "MME C3 FEED CELLS 5\nEND\n");
    EXPECT_TRUE(run.reports("MMP Calculation 1"));
    EXPECT_TRUE(run.reports("MCM Calculation 1"));
    EXPECT_TRUE(run.reports("MME Calculation 1"));
    EXPECT_FALSE(run.stopped) << run.report();
}

TEST(MiscLimits, PureFluidsOfOneOil) {
    for (const char* gas : {"C1", "C4", "C10", "CO2"}) {
        const LabRun run(published() + "PRES 500 psia\nMMP " + gas + " CELLS 5\nEND\n");
        EXPECT_TRUE(run.reports("Predicted Mechanism = ")) << gas;
        EXPECT_EQ(run.counts.errors, 0) << gas;
    }
}

TEST(MiscLimits, ColdAndHot) {
    for (const char* T : {"150 K", "250 K", "304 K", "620 K", "2000 K"}) {
        const LabRun run(published() + "TEMP " + T + "\nPRES 50 bar\nMMP GAS CELLS 5\nEND\n");
        EXPECT_TRUE(run.reports("Predicted Mechanism = ")) << T << run.report();
        EXPECT_FALSE(run.stopped) << T;
    }
}

TEST(MiscLimits, FortyComponents) {
    Fluid fluid = fluids::paraffins(40);
    std::vector<double> gas(40, 0.0);
    gas[0] = 0.7;
    gas[1] = 0.3;
    const LabRun run(fluids::gas_drive(fluid, 380.0, fluid.z, gas) +
                     "PRES 150 bar\nMCM GAS CELLS 3\nEND\n");
    EXPECT_TRUE(run.reports("C/V Miscibility Test:"));
    EXPECT_EQ(run.counts.errors, 0);
}

TEST(MiscLimits, CellsBeyondTheirLimit) {
    const LabRun run(published() + "PRES 9000 psia\nMCM GAS CELLS 1000000000\nEND\n");
    EXPECT_GT(run.counts.errors + run.counts.warnings, 0);
}

}  // namespace
}  // namespace kestrane
