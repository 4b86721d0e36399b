#include "frame/Writer.h"

#include <gtest/gtest.h>

#include <limits>

#include "TextFiles.h"
#include "frame/Errors.h"

namespace kestrane {
namespace {

constexpr int NO_LIMIT = std::numeric_limits<int>::max();

TEST(Writer, HeadlineHasSixFillsOnEitherSideAndDropsOneFullStopInTheHead) {
    TextFiles out;
    const std::vector<std::string> body{"First.", "Second."};
    out.writer.Headline("The end..", body, '=');
    EXPECT_EQ(out.report.text(), "\n======  The end.  ======\nFirst.\nSecond.\n");
    EXPECT_EQ(out.console.text(), out.report.text());
    EXPECT_EQ(out.report.file.pendingBlankLines, 1);
}

TEST(Writer, BlankLinesRequestedTwiceDoNotAddUp) {
    TextFiles out;
    out.writer.Newlines(2);
    out.writer.Newlines(3);
    out.writer.Newlines(1);
    EXPECT_EQ(out.report.text(), "");
    out.writer.Line("a");
    out.writer.Line("b");
    EXPECT_EQ(out.report.take(), "\n\n\na\nb\n");
    out.writer.Newlines(1);
    out.writer.WritePending(2);
    out.writer.WritePending(0);
    EXPECT_EQ(out.report.take(), "\n\n");
}

TEST(Writer, ConsecutiveHeadlinesAreOneBlankLineApart) {
    TextFiles out;
    out.writer.Headline("A", {}, '=');
    out.writer.Headline("B", {}, '#');
    out.writer.Line("c");
    EXPECT_EQ(out.report.text(), "\n======  A  ======\n\n######  B  ######\n\nc\n");
}

TEST(Writer, PageBreakReplacesPendingBlankLines) {
    TextFiles out;
    out.writer.Newlines(4);
    out.report.file.pageBreakPending = 1;
    out.writer.Headline("A", {}, '=');
    EXPECT_EQ(out.report.text(), "\n\n\f\n\n======  A  ======\n");
    EXPECT_EQ(out.console.text(), "\n\n\n\n======  A  ======\n");
    EXPECT_EQ(out.report.file.pageBreakPending, 0);
}

TEST(Writer, FirstLineJoinsTheHeadUpToTheWidth) {
    // 6 + 2 + 4 ("NOTE") + 2 (": ") + 58 + 2 + 6 = 80
    TextFiles out;
    const std::string fits(58, 'x');
    out.writer.Note({fits + "."});
    EXPECT_EQ(out.report.take(), "\n======  NOTE: " + fits + "  ======\n");
    out.writer.Note({fits + "x."});
    EXPECT_EQ(out.report.take(), "\n======  NOTE  ======\n" + fits + "x.\n");
}

TEST(Writer, LongerTagsLeaveLessRoom) {
    TextFiles out;
    const std::string fits(80 - 18 - 11, 'x');
    EXPECT_THROW(out.writer.Fatal({fits}), FatalError);
    EXPECT_EQ(out.report.take(), "\n######  FATAL ERROR: " + fits + "  ######\n");
    EXPECT_THROW(out.writer.Fatal({fits + "x"}), FatalError);
    EXPECT_EQ(out.report.take(), "\n######  FATAL ERROR  ######\n" + fits + "x\n");
}

TEST(Writer, WidthOneMeansTheNarrowestFile) {
    TextFiles out;
    const std::vector<std::string> lines{std::string(300, 'x'), "body."};
    out.writer.Block("NOTE", lines, 1, '=');
    EXPECT_EQ(out.report.take(), "\n======  NOTE: " + lines[0] + "  ======\nbody.\n");
    out.console.file.lineWidth = 40;
    const std::vector<std::string> fits{std::string(18, 'x')};
    const std::vector<std::string> long_by_one{std::string(19, 'x')};
    out.writer.Block("NOTE", fits, 1, '=');
    EXPECT_EQ(out.report.take(), "\n======  NOTE: " + fits[0] + "  ======\n");
    out.writer.Block("NOTE", long_by_one, 1, '=');
    EXPECT_EQ(out.report.take(), "\n======  NOTE  ======\n" + long_by_one[0] + "\n");
    // A width above the narrowest file's is cut to it.
    out.writer.Block("NOTE", long_by_one, 80, '=');
    EXPECT_EQ(out.report.take(), "\n======  NOTE  ======\n" + long_by_one[0] + "\n");
}

TEST(Writer, UnlimitedWidthAlwaysJoins) {
    TextFiles out;
    const std::vector<std::string> lines{std::string(100000, 'x')};
    out.writer.Block("NOTE", lines, std::numeric_limits<unsigned>::max(), '=');
    EXPECT_EQ(out.report.text(), "\n======  NOTE: " + lines[0] + "  ======\n");
}

TEST(Writer, BlockWithoutLinesIsItsTag) {
    TextFiles out;
    out.writer.Note(Writer::Lines{});
    EXPECT_EQ(out.report.text(), "\n======  NOTE  ======\n");
}

TEST(Writer, InactiveFilesGetNothingAndForgetRequests) {
    TextFiles out;
    out.report.file.printLevel = 0;
    out.report.file.minimumLevel = 1;
    EXPECT_TRUE(out.writer.active());
    out.writer.Newlines(5);
    out.writer.Note({"Hello."});
    EXPECT_EQ(out.report.text(), "");
    EXPECT_EQ(out.report.file.pendingBlankLines, 0);
    EXPECT_EQ(out.console.text(), "\n\n\n\n\n======  NOTE: Hello  ======\n");
    out.console.file.printLevel = -1;
    EXPECT_FALSE(out.writer.active());
}

TEST(Writer, FileThatIsNotOpenIsInactive) {
    ErrorCounts counts;
    OutFile closed;
    EXPECT_FALSE(closed.active());
    Writer writer(counts, nullptr, &closed);
    writer.Note({"Lost."});
    EXPECT_FALSE(writer.active());
    EXPECT_EQ(closed.pendingBlankLines, 0);
}

TEST(Writer, FilesOnOneStreamArePrintedOnce) {
    ErrorCounts counts;
    std::stringbuf buffer;
    OutFile console(buffer);
    OutFile report(buffer);
    Writer writer(counts, &console, &report);
    EXPECT_EQ(writer.fileList.size(), 1U);
    EXPECT_EQ(writer.consoleList, OutFiles{&console});
    EXPECT_EQ(writer.reportList, OutFiles{&report});
    writer.Line("once");
    EXPECT_EQ(buffer.str(), "once\n");
}

TEST(Writer, EitherFileMayBeMissing) {
    ErrorCounts counts;
    TextFile only;
    Writer writer(counts, nullptr, &only.file);
    writer.Warning({"Hm."});
    EXPECT_EQ(only.text(), "\n######  WARNING: Hm  ######\n");
    Writer none(counts, nullptr, nullptr);
    none.Error({"Unseen."});
    EXPECT_EQ(counts.errors, 1);
    EXPECT_FALSE(none.active());
}

TEST(Writer, CopiesShareFilesAndCounts) {
    TextFiles out;
    Writer copy = out.writer;
    copy.Warning({"W."});
    EXPECT_EQ(out.counts.warnings, 1);
    EXPECT_EQ(out.report.text(), "\n######  WARNING: W  ######\n");
    EXPECT_EQ(&copy.errorCounts(), &out.counts);
}

TEST(Writer, EachSeverityCountsInItsOwnCounter) {
    TextFiles out;
    out.writer.Note({"n"});
    EXPECT_EQ(out.counts.warnings + out.counts.errors + out.counts.fatals, 0);
    out.writer.Warning({"w"});
    EXPECT_EQ(out.counts.warnings, 1);
    out.writer.Error({"e"});
    EXPECT_EQ(out.counts.errors, 1);
    EXPECT_THROW(out.writer.Fatal({"f"}), FatalError);
    EXPECT_EQ(out.counts.errors, 2);
    EXPECT_EQ(out.counts.fatals, 1);
    EXPECT_EQ(out.counts.warnings, 1);
    EXPECT_THROW(out.writer.CheckLimits(), FatalError);
}

TEST(Writer, LimitStopsAtTheEventThatReachesItAfterItsMessage) {
    TextFiles out;
    out.counts.errorLimit = 20;
    out.counts.warningLimit = 50;
    for (int i = 1; i < 20; ++i) EXPECT_NO_THROW(out.writer.Error({"e"}));
    for (int i = 1; i < 50; ++i) EXPECT_NO_THROW(out.writer.Warning({"w"}));
    EXPECT_NO_THROW(out.writer.CheckLimits());
    out.report.take();
    EXPECT_THROW(out.writer.Error({"last"}), FatalError);
    EXPECT_NE(out.report.take().find("ERROR: last"), std::string::npos);
    out.counts.errors = 0;
    EXPECT_THROW(out.writer.Warning({"fiftieth"}), FatalError);
    EXPECT_NE(out.report.take().find("WARNING: fiftieth"), std::string::npos);
    EXPECT_EQ(out.counts.warnings, 50);
}

TEST(Writer, ReportLevelSilencesWarningsThenErrorsNeverFatals) {
    TextFiles out;
    out.writer.reportLevel = 2;
    out.writer.Warning({"w"});
    EXPECT_EQ(out.report.text(), "");
    EXPECT_EQ(out.counts.warnings, 0);
    out.writer.Error({"e"});
    EXPECT_EQ(out.counts.errors, 1);
    out.report.take();
    out.writer.reportLevel = 3;
    out.writer.Error({"e"});
    EXPECT_EQ(out.report.text(), "");
    EXPECT_EQ(out.counts.errors, 1);
    EXPECT_THROW(out.writer.Fatal({"f"}), FatalError);
    EXPECT_EQ(out.report.text(), "\n######  FATAL ERROR: f  ######\n");
}

/// Silences both files as an evaluation pass does.
void silence(TextFiles& out) {
    out.console.file.minimumLevel = 1;
    out.report.file.minimumLevel = 3;
    out.console.file.printLevel = 0;
    out.report.file.printLevel = 0;
}

TEST(Writer, WarningsAndErrorsPrintInASilentPassAndRestoreItsLevels) {
    TextFiles out;
    silence(out);
    out.writer.Note({"unseen"});
    EXPECT_EQ(out.report.text() + out.console.text(), "");
    out.writer.Warning({"w"});
    EXPECT_EQ(out.report.text(), "\n######  WARNING: w  ######\n");
    EXPECT_EQ(out.console.text(), "\n######  WARNING: w  ######\n");
    out.writer.Error({"e"});
    EXPECT_EQ(out.report.file.minimumLevel, 3);
    EXPECT_EQ(out.console.file.minimumLevel, 1);
    EXPECT_FALSE(out.writer.active());
}

TEST(Writer, LevelsStayForcedAfterAThrowSoTheSummaryPrints) {
    TextFiles out;
    silence(out);
    out.counts.errorLimit = 1;
    EXPECT_THROW(out.writer.Error({"e"}), FatalError);
    EXPECT_EQ(out.report.file.minimumLevel, 0);
    EXPECT_TRUE(out.writer.active());
    silence(out);
    EXPECT_THROW(out.writer.Fatal({"f"}), FatalError);
    EXPECT_TRUE(out.writer.active());
}

TEST(Writer, CountersDoNotOverflow) {
    TextFiles out;
    out.counts.warnings = NO_LIMIT - 1;
    EXPECT_THROW(out.writer.Warning({"w"}), FatalError);
    EXPECT_THROW(out.writer.Warning({"w"}), FatalError);
    EXPECT_EQ(out.counts.warnings, NO_LIMIT);
}

/// The summary of a run with these totals.
std::string summary_of(const ErrorCounts& totals) {
    TextFiles out;
    out.counts = totals;
    out.writer.Summary();
    EXPECT_EQ(out.counts.errorLimit, NO_LIMIT);
    EXPECT_EQ(out.counts.warningLimit, NO_LIMIT);
    EXPECT_EQ(out.console.text(), out.report.text());
    return out.report.text();
}

TEST(Writer, SummaryOfACleanRunIsABareHeadline) {
    EXPECT_EQ(summary_of({}), "\n======  Execution terminating normally  ======\n");
}

TEST(Writer, SummaryNamesTheFirstCauseAndTheTotals) {
    EXPECT_EQ(summary_of({0, 0, 1, NO_LIMIT, NO_LIMIT}),
              "\n######  Execution terminating normally, but with warnings  ######\n"
              "Total abnormalities: 1 warning, 0 errors.\n");
    EXPECT_EQ(summary_of({0, 1, 2, NO_LIMIT, NO_LIMIT}),
              "\n######  Execution terminating normally, but with errors  ######\n"
              "Total abnormalities: 2 warnings, 1 error.\n");
    EXPECT_EQ(summary_of({0, 3, 50, 20, 50}),
              "\n######  Execution terminating due to excessive warnings  ######\n"
              "Total abnormalities: 50 warnings, 3 errors.\n");
    EXPECT_EQ(summary_of({0, 20, 50, 20, 50}),
              "\n######  Execution terminating due to excessive errors  ######\n"
              "Total abnormalities: 50 warnings, 20 errors.\n");
    EXPECT_EQ(summary_of({1, 1, 0, 1, 50}),
              "\n######  Execution terminating due to a fatal error  ######\n"
              "Total abnormalities: 0 warnings, 1 error.\n");
}

TEST(Writer, SummaryAfterAFatalErrorTalliesOneErrorAndNoWarning) {
    TextFiles out;
    EXPECT_THROW(out.writer.Fatal({"f"}), FatalError);
    out.report.take();
    out.writer.Summary();
    EXPECT_EQ(out.report.text(),
              "\n######  Execution terminating due to a fatal error  ######\n"
              "Total abnormalities: 0 warnings, 1 error.\n");
}

TEST(Writer, StreamFormatsDoNotLeakIntoBlocks) {
    TextFiles out;
    out.report.file.width(30);
    out.report.file.fill('?');
    out.writer.Note({"n"});
    EXPECT_EQ(out.report.text(), "\n======  NOTE: n  ======\n");
}

TEST(Writer, AnyBytesPassUnchanged) {
    TextFiles out;
    const std::string bytes("\x00\xff\x01z", 4);
    out.writer.Line(bytes);
    EXPECT_EQ(out.report.text(), bytes + "\n");
}

}  // namespace
}  // namespace kestrane
