#include "lab/LabRun.h"

namespace kestrane {
namespace {

struct Case {
    const char* script;
    int policy;
    const char* note;
};

TEST(PolicyCmds, ARunStartsWithPreviousKValuesAndSuspicion) {
    LabRun run("");
    EXPECT_EQ(run.lab.cell().init_policy, 3);
    EXPECT_EQ(run.lab.cell().test1, 1);
    EXPECT_EQ(run.lab.cell().test2, 1);
}

TEST(PolicyCmds, Init2Words) {
    const Case cases[]{
        {"INIT2", 4, "initialized with Newton updates"},
        {"INIT2 NO", 0, "Two-phase calculations will not be performed"},
        {"INIT2 NEVER", 0, "will not be performed"},
        {"INIT2 SKIP", 0, "will not be performed"},
        {"INIT2 off", 0, "will not be performed"},
        {"INIT2 STABILITY", 1, "initialized by stability tests"},
        {"INIT2 Wilson", 2, "initialized with Wilson K-Values"},
        {"INIT2 K-VALUES", 3, "initialized with previous K-Values"},
        {"INIT2 PREVIOUS", 3, "initialized with previous K-Values"},
        {"INIT2 DEFAULT", 4, "initialized with Newton updates"},
        {"INIT2 NEWTON", 4, "initialized with Newton updates"},
    };
    for (const Case& c : cases) {
        LabRun run(std::string(c.script) + "\n");
        EXPECT_EQ(run.lab.cell().init_policy, c.policy) << c.script;
        EXPECT_TRUE(run.reports(c.note)) << c.script << run.report();
        EXPECT_TRUE(run.reports("======  NOTE")) << c.script;
    }
}

TEST(PolicyCmds, Test1Words) {
    const Case cases[]{
        {"TEST1", 1, "tested for stability only if a second phase is suspected."},
        {"TEST1 MINIMUM", 0, "will not be tested for stability."},
        {"TEST1 SUSPECTED", 1, "only if a second phase is suspected."},
        {"TEST1 TRIVIAL", 2, "will always be tested for stability."},
        {"TEST1 CRITICAL", 2, "will always be tested for stability."},
        {"TEST1 ALWAYS", 3, "will always be tested for stability."},
        {"TEST1 MAX", 3, "will always be tested for stability."},
        {"TEST1 ON", 3, "will always be tested for stability."},
    };
    for (const Case& c : cases) {
        LabRun run(std::string(c.script) + "\n");
        EXPECT_EQ(run.lab.cell().test1, c.policy) << c.script;
        EXPECT_TRUE(run.reports(c.note)) << c.script << run.report();
    }
}

TEST(PolicyCmds, Test2Words) {
    const Case cases[]{
        {"TEST2", 1, "for stability only if a third phase is suspected."},
        {"TEST2 NONE", 0, "equilibria will not be tested for stability"},
        {"TEST2 DEFAULT", 1, "for stability only if a third phase is suspected."},
        {"TEST2 CRIT", 2, "for stability if a third phase becomes trivial or suspected."},
        {"TEST2 ALL", 3, "equilibria will always be tested for stability"},
    };
    for (const Case& c : cases) {
        LabRun run(std::string(c.script) + "\n");
        EXPECT_EQ(run.lab.cell().test2, c.policy) << c.script;
        EXPECT_TRUE(run.reports(c.note)) << c.script << run.report();
    }
}

TEST(PolicyCmds, AnUnknownWordIsReportedAtItsPlace) {
    for (const char* keyword : {"INIT2", "TEST1", "TEST2"}) {
        LabRun run(std::string(keyword) + " PERHAPS\n");
        EXPECT_TRUE(run.stopped);
        EXPECT_EQ(run.counts.errors, 1);
        EXPECT_TRUE(run.reports("Keyword \"PERHAPS\" not recognized in current context"));
        EXPECT_TRUE(run.reports("column 7 of line 1"));
    }
}

TEST(PolicyCmds, StabSetsAllThree) {
    for (const char* script : {"STAB\n", "STAB ON\n", "STAB YES\n"}) {
        LabRun on(script);
        EXPECT_EQ(on.lab.cell().init_policy, 1);
        EXPECT_EQ(on.lab.cell().test1, 3);
        EXPECT_EQ(on.lab.cell().test2, 3);
        EXPECT_TRUE(
            on.reports("Stability tests will initialize and check all phase-split calculations"));
    }
    LabRun off("STAB OFF\n");
    EXPECT_EQ(off.lab.cell().init_policy, 4);
    EXPECT_EQ(off.lab.cell().test1, 1);
    EXPECT_EQ(off.lab.cell().test2, 1);
    EXPECT_TRUE(off.reports(
        "Phase splits will be initialized (when possible) with Newton updates, while\n"
        "results will be tested for stability only if additional phases are suspected."));
}

}  // namespace
}  // namespace kestrane
