#include "equil/AllocationCount.h"
#include "surface/SurfaceRun.h"

namespace kestrane {
namespace {

// A regression passes streams through a process many times: after the first no stage allocates.
TEST(Allocation, OfAProcessThatRunsAgain) {
    LabRun run(FED +
               "SEP HP 90 F 600 psia\nEND\n"
               "SEP LP 80 F 100 psia\nINTERP LOG\nMOL C1 PER MOL C3 .1\nMW 40\nKVAL 30 3 .1\n"
               "MW 90\nKVAL 20 2 .1\nMOL C1 PER MOL C3 3\nMW 40\nKVAL 25 3 .1\nEND\n"
               "SEP ST\nMOL C1 .001\nOIL .1 .7 .99\nMOL C1 .5\nOIL .05 .5 .98\nEND\n"
               "PROC P\nSTAGE A\nSEP HP\nSTAGE B\nSEP LP\nSTAGE C\nSEP ST\nEND\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    Process& process = **run.lab.processes.find("P");
    const PVTCell& cell = run.lab.cell();
    const auto pass = [&] {
        const AllocationCount count;
        process.Run(*cell.feed, cell.temperature, cell.pressure, false);
        return count.made();
    };
    pass();
    const Tank first = process.find_product("OIL")->tank();
    EXPECT_GT(first.total_moles(), 0.0);
    EXPECT_GT(process.find_product("GAS")->tank().total_moles(), 0.0);
    EXPECT_EQ(pass(), 0);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(process.find_product("OIL")->tank().moles()[i], first.moles()[i]);
}

}  // namespace
}  // namespace kestrane
