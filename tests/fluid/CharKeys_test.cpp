#include <gtest/gtest.h>

#include <algorithm>

#include "equil/EOS.h"
#include "fluid/CharzScript.h"

namespace kestrane {
namespace {

using Mode = CharzScript::Mode;

constexpr const char* TABLE =
    "NAME     MW        TC(K)     PC(bar)   AF\n"
    "L1       16.0      190.0     46.0      0.01\n"
    "M5       72.0      470.0     33.0      0.25\n"
    "H9       200.0     700.0     15.0      0.6\n";

TEST(CharKeys, NameIsOneQuotedOrPlainWordOfTheLine) {
    EXPECT_EQ(CharzScript("CHAR Reservoir\nEND\n").charz().name, "Reservoir");
    EXPECT_EQ(CharzScript("CHARACTERIZATION 'North Sea'\nEND\n").charz().name, "North Sea");
    EXPECT_EQ(CharzScript("PROPERTIES\nEOS\nSRK\nEND\n").charz().name, "");
}

TEST(CharKeys, EmptyBlockStillAddsACharacterization) {
    CharzScript run("CHAR Empty\nEND\n");
    EXPECT_EQ(run.user.charzations().size(), 1u);
    EXPECT_EQ(run.charz().comp_count(), 0);
    EXPECT_TRUE(run.prints("Now defining fluid characterization \"Empty\""));
    EXPECT_TRUE(run.prints("EOS: Peng-Robinson (1979)\n"));
    EXPECT_FALSE(run.prints("Critical Properties:"));
    EXPECT_EQ(run.counts.errors, 0);
}

TEST(CharKeys, KeywordsMayStandBeforeAndBehindTheTable) {
    CharzScript run(std::string("CHAR Oil\nEOS SRK\n") + TABLE +
                    "BIPS      L1        M5        H9\n"
                    "H9        0.05\n"
                    "EOS RK\n"
                    "END\n");
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    EXPECT_EQ(run.charz().comp_count(), 3);
    EXPECT_EQ(run.charz().eos().name(), "Redlich-Kwong");
}

// The END of a table closes the block too: one END and two both work.
TEST(CharKeys, OneEndAndTwoBothClose) {
    for (const char* ends : {"END\n", "END\nEND\n", "END\nCORR\n", "END\nCORR\nEND\n"}) {
        CharzScript run(std::string("CHAR Oil\n") + TABLE + ends + "CHAR Next\nEND\n");
        EXPECT_EQ(run.counts.errors, 0) << run.report();
        EXPECT_EQ(run.user.charzations().size(), 2u);
        EXPECT_EQ(run.user.charzations()[0]->comp_count(), 3);
        EXPECT_EQ(run.charz().name, "Next");
    }
}

TEST(CharKeys, EndOfBipsClosesTheBlock) {
    for (const char* ends : {"END\n", "END\nEND\n"}) {
        CharzScript run(std::string("CHAR Oil\n") + TABLE +
                        "BINARY    L1        M5        H9\n"
                        "M5        0.01\n" +
                        ends + "ALIAS Other\n");
        EXPECT_EQ(run.counts.errors, 0) << run.report();
        EXPECT_TRUE(run.charz().answers_to("Other"));
    }
}

TEST(CharKeys, InputMayEndInsideTheBlock) {
    for (const std::string& text :
         {std::string("CHAR"), std::string("CHAR Oil"), std::string("CHAR Oil\nEOS"),
          std::string("CHAR Oil\n") + TABLE, std::string("CHAR Oil\n") + TABLE + "BIPS",
          std::string("CHAR Oil\n") + TABLE + "BIPS      L1\nM5        0.1"}) {
        CharzScript run(text);
        EXPECT_EQ(run.user.charzations().size(), 1u) << text;
    }
}

TEST(CharKeys, UnknownWordEndsABlockWithoutTable) {
    CharzScript run("CHAR Oil\nALIAS Other\n");
    EXPECT_EQ(run.counts.errors, 0);
    EXPECT_TRUE(run.charz().answers_to("Other"));
}

TEST(CharKeys, StrayWordBehindTheTableIsReportedAndGivenBack) {
    CharzScript run(std::string("CHAR Oil\n") + TABLE +
                    "BIPS      L1        M5        H9\n"
                    "M5        0.01\n"
                    "  ALIAS Other\n");
    EXPECT_EQ(run.counts.errors, 1);
    EXPECT_TRUE(run.prints("Illegal fluid characterization"));
    EXPECT_TRUE(run.prints("Keyword \"ALIAS\" not recognized in current context.\n"));
    EXPECT_TRUE(run.prints("column 3 of line 8")) << run.report();
    EXPECT_TRUE(run.charz().answers_to("Other"));
}

TEST(CharKeys, BaseNeedsAName) {
    CharzScript run(std::string("CHAR\nBASE\n") + TABLE + "END\n");
    EXPECT_EQ(run.counts.errors, 1);
    EXPECT_TRUE(run.prints("No base characterization was named"));
    EXPECT_TRUE(run.prints("column 1 of line 2")) << run.report();
    EXPECT_FALSE(run.fatal);
    EXPECT_FALSE(run.charz().basis);
}

TEST(CharKeys, ComponentsNeedNames) {
    CharzScript run(
        "CHAR Oil\n"
        "NAME     MW\n"
        "L1       16.0\n"
        "         72.0\n"
        "END\n",
        Mode::Deferred);
    EXPECT_EQ(run.counts.errors, 1) << run.report();
    EXPECT_TRUE(run.prints("Illegal fluid characterization"));
    EXPECT_TRUE(run.prints("Component 2 was not given a name.\n"));
}

TEST(CharKeys, ComponentsNeedDifferentNames) {
    CharzScript run(
        "CHAR Oil\n"
        "NAME                MW\n"
        "Methylcyclohexane   98.0\n"
        "L1                  16.0\n"
        "METHYLCYCLOPENTANE  84.0\n"
        "BIPS                L1        Methylcyc\n"
        "L1                            0.01\n"
        "END\n",
        Mode::Deferred);
    EXPECT_EQ(run.counts.errors, 1) << run.report();
    EXPECT_TRUE(run.prints("Illegal fluid characterization"));
    EXPECT_TRUE(
        run.prints("Two or more components were given the same name (\"METHYLCYCLOPENTANE\").\n"));
}

TEST(CharKeys, SecondTableAddsColumns) {
    CharzScript run(
        "CHAR Oil\n"
        "NAME     MW\n"
        "L1       16.0\n"
        "H9       200.0\n"
        "BIPS      L1        H9\n"
        "H9        0.05\n"
        "NAME     AF\n"
        "H9       0.6\n"
        "L1       0.01\n"
        "END\n");
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    EXPECT_EQ(run.charz().comp_count(), 2);
    EXPECT_EQ(run.component("H9").mw, 200.0);
    Compnent row;
    run.charz().table.TakeRow(1, row);
    EXPECT_EQ(row.acentric, 0.6);
    EXPECT_EQ(run.charz().bip(0, 1), 0.05);
}

TEST(CharKeys, BipTriangleAndFullRowsMayMix) {
    CharzScript run(std::string("CHAR Oil\n") + TABLE +
                    "BIPS      L1        M5        H9\n"
                    "H9        0.05      0.02\n"
                    "M5        0.01      0.9       0.03\n"
                    "L1        0.0       0.04\n"
                    "END\n");
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    const Charzation& charz = run.charz();
    EXPECT_EQ(charz.bip(0, 2), 0.05);
    EXPECT_EQ(charz.bip(1, 2), 0.03);  // the later row wins
    EXPECT_EQ(charz.bip(0, 1), 0.04);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(charz.bip(i, i), 0.0);
        for (std::size_t j = 0; j < i; ++j) EXPECT_EQ(charz.bip(i, j), charz.bip(j, i));
    }
}

TEST(CharKeys, BipHeadOfUnknownComponentIsAnError) {
    CharzScript run(std::string("CHAR Oil\n") + TABLE +
                        "BIPS      L1        XX        H9\n"
                        "H9        0.05      0.02\n"
                        "END\n",
                    Mode::Deferred);
    EXPECT_EQ(run.counts.errors, 1) << run.report();
    EXPECT_TRUE(run.prints("ERROR: Keyword \"XX\" not recognized in current context  #"));
    EXPECT_EQ(run.charz().bip(0, 2), 0.05);
    EXPECT_EQ(run.charz().bip(1, 2), UNSET);
}

TEST(CharKeys, BipTablesMayFollowEachOther) {
    CharzScript run(std::string("CHAR Oil\n") + TABLE +
                    "BIPS      L1\n"
                    "M5        0.01\n"
                    "BIPS      M5        L1\n"
                    "H9        0.02      0.05\n"
                    "M5                  0.04\n"
                    "END\n");
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    EXPECT_EQ(run.charz().bip(0, 1), 0.04);
    EXPECT_EQ(run.charz().bip(1, 2), 0.02);
    EXPECT_EQ(run.charz().bip(0, 2), 0.05);
}

TEST(CharKeys, BipRowWithoutAValueEndsTheTable) {
    CharzScript run(std::string("CHAR Oil\n") + TABLE +
                        "BIPS      L1        M5        H9\n"
                        "M5        0.01\n"
                        "L1\n"
                        "END\n",
                    Mode::Deferred);
    EXPECT_TRUE(run.prints("Keyword \"L1\" not recognized in current context."));
    EXPECT_TRUE(run.prints("line 8")) << run.report();
    EXPECT_GE(run.counts.errors, 1);
    EXPECT_EQ(run.charz().bip(0, 1), 0.01);
}

TEST(CharKeys, StagesRunInOrder) {
    CharzScript run(std::string("CHAR Oil\nCORRELATE\n") + TABLE + "END\nCORR\n", Mode::Deferred);
    EXPECT_FALSE(run.prints("Correlating"));
    run.run_pass();
    const std::string report = run.report();
    const auto banner = report.find("Now defining fluid characterization \"Oil\"");
    const auto update =
        report.find("Correlating unspecified component properties with MW, TB and SG.");
    const auto title = report.find("Fluid Characterization \"Oil\"");
    ASSERT_NE(title, std::string::npos);
    EXPECT_LT(banner, update);
    EXPECT_LT(update, title);
    EXPECT_EQ(run.times("UPDATE"), 2);
    EXPECT_EQ(run.counts.errors, 0);
}

// A boiling point above the critical temperature cannot go with a critical pressure above 1 atm.
TEST(CharKeys, DoubtsOfCompletionAreReportedWithTheirPlace) {
    CharzScript run(
        "  CHAR Oil\n"
        "NAME     MW        TB(K)     TC(K)     PC(bar)   AF\n"
        "X1       72.0      480.0     470.0     33.0\n"
        "END\n");
    EXPECT_FALSE(run.fatal);
    EXPECT_EQ(run.counts.errors, 1) << run.report();
    EXPECT_TRUE(run.prints("ERROR: Problem for characterization completion  #"));
    EXPECT_TRUE(run.prints("Problem for keyword \"CHAR\" (line 1, column 3, standard input).\n"));
    EXPECT_TRUE(
        run.prints("The boiling point of \"X1\" was inconsistent with its critical properties.\n"));
    EXPECT_EQ(run.component("X1").acentric, 0.0);
}

TEST(CharKeys, GlobalKeywordsWorkInsideTheBlock) {
    CharzScript run(
        "CHAR Oil\n"
        "DEF NOME X1\n"
        "NAME     MW\n"
        "?NOME?   16.0\n"
        "END\n");
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    EXPECT_EQ(run.component("X1").mw, 16.0);
}

// The report.

TEST(CharKeys, ReportIsLaidOut) {
    CharzScript run(std::string("CHAR 'My Oil'\n") + TABLE +
                    "BIPS      L1        M5        H9\n"
                    "M5        -0.01\n"
                    "H9        0.05      0.123456\n"
                    "END\n");
    const std::string report = run.report();
    EXPECT_NE(report.find("\n\n\n"
                          "Fluid Characterization \"My Oil\"\n"
                          "===============================\n"
                          "\n"
                          "EOS: Peng-Robinson (1979)\n"
                          "\n"
                          "Critical Properties:\n"
                          "\n"),
              std::string::npos)
        << report;
    EXPECT_NE(report.find("Binary Interaction Parameters:\n"
                          "\n"
                          "               L1        M5        H9   \n"
                          "           --------- --------- ---------\n"
                          "L1           0.0     -0.010000  0.050000\n"
                          "M5         -0.010000   0.0       0.12346\n"
                          "H9          0.050000   0.12346   0.0    \n"),
              std::string::npos)
        << report;
    EXPECT_FALSE(run.prints("Base Characterization"));
    // The table shows the heads and the values typed.
    EXPECT_TRUE(run.prints("Component"));
    EXPECT_TRUE(run.prints("46.0"));
}

TEST(CharKeys, ReportNamesTheBase) {
    CharzScript run(
        "CHAR A\nNAME     MW\nX1       16.0\nEND\n"
        "CHAR B\nBASE a\nNAME\nX1\nEND\n");
    EXPECT_TRUE(
        run.prints("Fluid Characterization \"B\"\n"
                   "==========================\n"
                   "\n"
                   "Base Characterization: \"a\"\n"
                   "\n"
                   "EOS: Peng-Robinson (1979)\n"))
        << run.report();
    EXPECT_FALSE(run.prints("Binary Interaction Parameters"));
}

TEST(CharKeys, ReportWithoutANameHasNoQuotes) {
    CharzScript run("CHAR\nEND\n");
    EXPECT_TRUE(run.prints("Now defining fluid characterization  ======"));
    EXPECT_TRUE(run.prints("\nFluid Characterization\n======================\n"));
}

}  // namespace
}  // namespace kestrane
