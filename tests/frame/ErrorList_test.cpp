#include "frame/ErrorList.h"

#include <gtest/gtest.h>

#include "TextFiles.h"
#include "frame/Errors.h"

namespace kestrane {
namespace {

TEST(ErrorList, StartsEmptyWithBothSwitchesOn) {
    const ErrorList list;
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(list.usable());
    EXPECT_EQ(list.severity, NO_PROBLEM);
    EXPECT_TRUE(list.warnings_on);
    EXPECT_TRUE(list.errors_on);
}

TEST(ErrorList, EqualTextsAreCountedAndOthersKeepTheirOrder) {
    ErrorList list;
    list.Add("B", WARNING);
    list.Add("A", WARNING);
    list.Add("B", WARNING);
    list.Add("B", WARNING);
    ASSERT_EQ(list.entries.size(), 2U);
    EXPECT_EQ(list.entries[0]->text, "B");
    EXPECT_EQ(list.entries[0]->count, 3);
    EXPECT_EQ(list.entries[1]->text, "A");
    EXPECT_EQ(list.entries[1]->count, 1);
}

TEST(ErrorList, CopiesCountOnTheirOwn) {
    ErrorList list;
    list.Add("Same", WARNING);
    ErrorList copy = list;
    copy.Add("Same", WARNING);
    EXPECT_EQ(copy.entries[0]->count, 2);
    EXPECT_EQ(list.entries[0]->count, 1);
}

TEST(ErrorList, ReportIsOneBlockWithVerdictDetailAndEntries) {
    TextFiles out;
    ErrorList list;
    list.Add("Once", WARNING);
    list.Add("Two times", WARNING);
    list.Add("Two times", WARNING);
    for (int i = 0; i < 3; ++i) list.Add("Thrice", WARNING);
    list.Report(out.writer, "flash", "Problem for keyword \"FLASH\".", ResultHeadline);
    EXPECT_EQ(out.report.text(),
              "\n"
              "######  WARNING: Uncertain results from flash  ######\n"
              "Problem for keyword \"FLASH\".\n"
              "Once.\n"
              "Two times (twice).\n"
              "Thrice (3 times).\n");
    EXPECT_EQ(out.counts.warnings, 1);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.severity, NO_PROBLEM);
}

TEST(ErrorList, HighestSeverityGovernsTheBlock) {
    TextFiles out;
    ErrorList list;
    list.Add("Same", ERROR);
    list.Add("Same", WARNING);
    list.Report(out.writer, "", "", ResultHeadline);
    EXPECT_EQ(out.console.text(), "\n######  ERROR: Doubtful results  ######\nSame (twice).\n");
    EXPECT_EQ(out.counts.errors, 1);
    EXPECT_EQ(out.counts.warnings, 0);
}

TEST(ErrorList, FatalReportEndsTheRunAndLeavesTheListEmpty) {
    TextFiles out;
    ErrorList list;
    list.warnings_on = false;
    list.Add("Bad", FATAL_ERROR);
    EXPECT_FALSE(list.usable());
    EXPECT_THROW(list.Report(out.writer, "flash", "", ResultHeadline), FatalError);
    EXPECT_EQ(out.report.text(), "\n######  FATAL ERROR: Unable to perform flash  ######\nBad.\n");
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(list.warnings_on);
    EXPECT_TRUE(list.usable());
}

TEST(ErrorList, OnlySeverityNoneOrNoEntryPrintsNothing) {
    TextFiles out;
    ErrorList list;
    list.severity = ERROR;
    list.Report(out.writer, "flash", "detail", ResultHeadline);
    EXPECT_EQ(list.severity, ERROR);
    list.Clear();
    list.Add("Harmless", NO_PROBLEM);
    list.Report(out.writer, "flash", "", ResultHeadline);
    out.writer.reportLevel = 0;
    list.Report(out.writer, "flash", "", ResultHeadline);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(out.report.text() + out.console.text(), "");
    EXPECT_EQ(out.counts.warnings + out.counts.errors, 0);
}

TEST(ErrorList, ReportLevelAboveTheSeverityKeepsTheList) {
    TextFiles out;
    ErrorList list;
    list.Add("W", WARNING);
    out.writer.reportLevel = 2;
    list.Report(out.writer, "flash", "", ResultHeadline);
    EXPECT_EQ(out.report.text(), "");
    EXPECT_EQ(out.counts.warnings, 0);
    EXPECT_FALSE(list.empty());
    list.Add("E", ERROR);
    list.Report(out.writer, "flash", "", ResultHeadline);
    EXPECT_EQ(out.report.text(), "\n######  ERROR: Doubtful results from flash  ######\nW.\nE.\n");
}

TEST(ErrorList, SwitchesSilenceWarnAndFail) {
    ErrorList list;
    list.warnings_on = false;
    list.Warn("w");
    EXPECT_TRUE(list.empty());
    list.Fail("e");
    EXPECT_EQ(list.severity, ERROR);
    list.Clear();
    list.errors_on = false;
    list.Fail("e");
    EXPECT_TRUE(list.empty());
    list.Warn("w");
    EXPECT_EQ(list.severity, WARNING);
    list.Clear();
    EXPECT_TRUE(list.errors_on);
}

TEST(ErrorList, ReachedLimitStillEmptiesTheList) {
    TextFiles out;
    out.counts.warningLimit = 1;
    ErrorList list;
    list.Add("W", WARNING);
    EXPECT_THROW(list.Report(out.writer, "flash", "", ResultHeadline), FatalError);
    EXPECT_TRUE(list.empty());
}

TEST(ErrorList, ResultHeadlines) {
    const char* const with[] = {"No surprises from X.", "Uncertain results from X.",
                                "Doubtful results from X.", "Unable to perform X.",
                                "Unexpected results from X."};
    const char* const without[] = {"No surprises.", "Uncertain results.", "Doubtful results.",
                                   "Unable to continue.", "Unexpected results."};
    for (int severity = 0; severity < 5; ++severity) {
        EXPECT_EQ(ResultHeadline("X", severity), with[severity]);
        EXPECT_EQ(ResultHeadline("", severity), without[severity]);
    }
    EXPECT_EQ(ResultHeadline("X", -1), "Unexpected results from X.");
}

TEST(ErrorList, ValidityHeadlines) {
    EXPECT_EQ(ValidityHeadline("X", 0), "Input valid for X.");
    EXPECT_EQ(ValidityHeadline("", 0), "Input valid.");
    for (const int severity : {1, 2, 3}) {
        EXPECT_EQ(ValidityHeadline("X", severity), "Input not valid for X.");
        EXPECT_EQ(ValidityHeadline("", severity), "Input not valid.");
    }
}

}  // namespace
}  // namespace kestrane
