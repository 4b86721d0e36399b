#include <cmath>

#include "lab/LabRun.h"

namespace kestrane {
namespace {

TEST(TextCmds, ATitleStandsWhereItIsGivenAndHeadsSections) {
    LabRun run(
        LIGHT_FLUID +
        "MIX FEED C1 0.5 C3 0.5\nTITLE \"Well 4\"\nSUBT 'Second sample'\nFLASH 300 K 20 bar\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_TRUE(run.reports("Well 4\n======\n")) << run.report();
    EXPECT_EQ(run.count("Well 4\n"), 2);
    EXPECT_TRUE(run.reports("Well 4\nSecond sample\n\nFlash Calculation 1\n")) << run.report();
}

TEST(TextCmds, InsideATitleAnotherOneIsASubtitle) {
    LabRun run("TITLE A\nTITLE B\nSUBTITLE C\n");
    EXPECT_EQ(run.lab.title, "A");
    EXPECT_EQ(run.lab.subtitles, (std::vector<std::string>{"B", "C"}));
}

TEST(TextCmds, UnquotedTextEndsAtABlank) {
    LabRun run("TITLE One Two\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_TRUE(run.reports("Keyword \"Two\" not recognized in current context"));
}

TEST(TextCmds, NotesThatFollowEachOtherShareABox) {
    LabRun run("NOTE 'First line'\nCOMMENT 'The second'\n");
    EXPECT_TRUE(
        run.reports("**************\n"
                    "* First line *\n"
                    "* The second *\n"
                    "**************\n"))
        << run.report();
}

TEST(TextCmds, TimePrintsSeconds) {
    LabRun run("TIME\n");
    EXPECT_TRUE(run.reports("======  Execution time so far: ")) << run.report();
    EXPECT_TRUE(run.reports(" seconds  ======"));
}

TEST(TextCmds, KValuesFillTheCellAndMissingOnesAreOne) {
    LabRun run(LIGHT_FLUID + "K-VAL 2.5\n 0.5\nTEMP 300 K\n");
    ASSERT_FALSE(run.stopped) << run.report();
    ASSERT_EQ(run.lab.cell().ln_k.size(), 3u);
    EXPECT_DOUBLE_EQ(run.lab.cell().ln_k[0], std::log(2.5));
    EXPECT_DOUBLE_EQ(run.lab.cell().ln_k[1], std::log(0.5));
    EXPECT_EQ(run.lab.cell().ln_k[2], 0.0);
}

TEST(TextCmds, ANegativeKValueIsOutOfRangeNotACrash) {
    LabRun run(LIGHT_FLUID + "MIX FEED C1 0.5 C3 0.5\nKVAL -1 0.5 0.1\nFLASH 300 K 20 bar\n");
    EXPECT_TRUE(run.reports("at Temperature = 300 K, Pressure = 20 bar")) << run.report();
}

TEST(TextCmds, KValuesWithoutAFluidAreAnError) {
    LabRun run("KVAL 1 2 3\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_EQ(run.counts.errors, 1);
}

}  // namespace
}  // namespace kestrane
