#include "frame/Program.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <new>
#include <stdexcept>

#include "ChildRun.h"
#include "frame/Errors.h"

namespace {

// Memory left to a test that runs out of it, in bytes; below zero: as much as there is.
long memory_left = -1;

}  // namespace

// The whole test program allocates through these, so that a test can bound what it takes.
void* operator new(std::size_t size) {
    void* const block = std::malloc(size > 0 ? size : 1);
    if (!block) throw std::bad_alloc();
    if (memory_left >= 0) {
        const long taken = static_cast<long>(malloc_usable_size(block));
        if (taken > memory_left) {
            std::free(block);
            throw std::bad_alloc();
        }
        memory_left -= taken;
    }
    return block;
}
void operator delete(void* block) noexcept {
    if (memory_left >= 0 && block) memory_left += static_cast<long>(malloc_usable_size(block));
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void operator delete[](void* block) noexcept {
    operator delete(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    operator delete(block);
}

namespace kestrane {
namespace {

/// A program whose work is given.
class TestProgram : public Program {
public:
    using Work = std::function<void(Reader&, Writer&)>;
    explicit TestProgram(Work work = {}) : work_(std::move(work)) {}
    void Run(Reader& reader, Writer& writer) override {
        if (work_)
            work_(reader, writer);
        else
            Program::Run(reader, writer);
    }

private:
    Work work_;
};

/// The body of main: arguments after the program's name, and the work.
int run_main(const std::vector<std::string>& arguments, const TestProgram::Work& work = {}) {
    std::vector<std::string> texts{"program"};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& text : texts) argv.push_back(text.data());
    argv.push_back(nullptr);
    TestProgram program(work);
    return program.Main(static_cast<int>(texts.size()), argv.data());
}

std::string banner() {
    std::vector<std::string> lines;
    // Not a living instance: the destructor of one would print the end of a run.
    Program::state().instances++;
    {
        const TestProgram program;
        program.AppendBanner(lines);
    }
    Program::state().instances--;
    std::string text = "\n\n";
    for (const std::string& row : banner_box(lines)) text += row + "\n";
    return text;
}

/// The end lines, with "T" for the time that a run takes.
std::string end_lines(const std::string& verdict) {
    return verdict + "\n======  Total execution time: T seconds  ======\n\n";
}
const char* const NORMAL_END = "======  Execution terminating normally  ======\n";
const char* const FATAL_END =
    "######  Execution terminating due to a fatal error  ######\n"
    "Total abnormalities: 0 warnings, 1 error.\n";

/// `text` with "T" for its time, if that has two decimals.
std::string without_time(std::string text) {
    const std::string label = "Total execution time: ";
    const std::size_t begin = text.find(label);
    if (begin == std::string::npos) return text;
    const std::size_t first = begin + label.size();
    const std::size_t point = std::min(text.find('.', first), text.size());
    const std::size_t end = std::min(text.find_first_not_of("0123456789", point + 1), text.size());
    const bool whole_seconds = text.find_first_not_of("0123456789", first) == point;
    if (point > first && whole_seconds && end == point + 3) text.replace(first, end - first, "T");
    return text;
}

void expect_contains(const std::string& text, const std::string& part) {
    EXPECT_NE(text.find(part), std::string::npos) << text << "\ndoes not contain\n" << part;
}
void expect_lacks(const std::string& text, const std::string& part) {
    EXPECT_EQ(text.find(part), std::string::npos) << text << "\ncontains\n" << part;
}

TEST(Program, BannerBoxIsCentredAroundItsLongestLine) {
    // L = 4, W = 12, margin (80 - 12) / 2 = 34, inner width 10.
    const std::string margin(34, ' ');
    EXPECT_EQ(banner_box({"abcd", "", "abc"}),
              (std::vector<std::string>{margin + "************", margin + "*          *",
                                        margin + "*   abcd   *", margin + "*          *",
                                        margin + "*   abc    *", margin + "*          *",
                                        margin + "************"}));
}

TEST(Program, WideBannerBoxHasNoMargin) {
    EXPECT_EQ(banner_box({std::string(70, 'x')})[0], " " + std::string(78, '*'));
    // A width of 79 leaves (80 - 79) / 2 = 0.
    EXPECT_EQ(banner_box({std::string(71, 'x')})[0], std::string(79, '*'));
    EXPECT_EQ(banner_box({std::string(72, 'x')})[0], std::string(80, '*'));
    EXPECT_EQ(banner_box({std::string(200, 'x')})[2], "*   " + std::string(200, 'x') + "   *");
}

TEST(Program, EmptyBannerIsStillABox) {
    const std::string margin(36, ' ');
    EXPECT_EQ(banner_box({}), (std::vector<std::string>{margin + "********", margin + "*      *",
                                                        margin + "*      *", margin + "********"}));
}

TEST(Program, NoticeYearsEndWithTheYearOfTheBuild) {
    EXPECT_EQ(notice_years("Nov 21 2026"), "1995-2026");
    EXPECT_EQ(notice_years("Jan  1 1996"), "1995-1996");
    EXPECT_EQ(notice_years("Jan  1 1995"), "1995");
    EXPECT_EQ(notice_years("Jan  1 1980"), "1995");
    EXPECT_EQ(notice_years(""), "1995");
}

TEST(Program, BannerNamesProgramDescriptionVersionAndMaker) {
    Program::State& state = Program::state();
    const TestProgram outer;  // its end lines go to standard error when the test is over
    const auto lines = [&] {
        std::vector<std::string> result;
        outer.AppendBanner(result);
        return result;
    };
    std::vector<std::string> text = lines();
    ASSERT_GE(text.size(), 5U);
    EXPECT_EQ(text[0], "PROGRAM");
    EXPECT_EQ(text[1], "");
    EXPECT_EQ(text[2], "Version 1.0");
    EXPECT_EQ(text[3], "");
    EXPECT_EQ(text[4], "Orvane Software");
    EXPECT_LE(text.size(), 20U);
    expect_contains(text[text.size() - 2], notice_years(__DATE__));

    state.descriptionLines = {"", "First", "", "Second"};
    state.version = "";
    text = lines();
    EXPECT_EQ(text[1], "");
    EXPECT_EQ(text[2], "First");
    EXPECT_EQ(text[3], "Second");
    EXPECT_EQ(text[4], "");
    EXPECT_EQ(text[5], "Orvane Software");
    state.descriptionLines.clear();
    state.version = "1.0";
}

TEST(Program, CleanRunHasBannerNoteAndTwoEndLinesOnBothFiles) {
    const ChildRun child("clean");
    child.put("in.dat", "");
    const ChildResult result = child.run([&] {
        return run_main({child.path("in.dat"), child.path("out")});
    });
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    const std::string name = child.path("in.dat");
    const std::string note = "NOTE: Now reading file \"" + name + "\"";
    const bool joins = note.size() + 16 <= 80;
    const std::string block = joins ? "======  " + note + "  ======\n"
                                    : "======  NOTE  ======\nNow reading file \"" + name + "\".\n";
    const std::string expected = banner() + "\n\n" + block + "\n" + end_lines(NORMAL_END);
    EXPECT_EQ(without_time(child.get("out")), expected);
    EXPECT_EQ(without_time(result.err), expected);
}

TEST(Program, FurtherArgumentsAreIgnored) {
    const ChildRun child("further");
    child.put("in.dat", "");
    const ChildResult result = child.run([&] {
        return run_main({child.path("in.dat"), child.path("out"), "-x", "/no/such"});
    });
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(child.exists("out"));
}

TEST(Program, BaseRunReportsUnknownWordsAndStillReturnsZero) {
    const ChildRun child("unknown");
    child.put("in.dat", "FOO 1 2 3\nECHO ON\nEND\nBAR\n");
    const ChildResult result = child.run([&] {
        return run_main({child.path("in.dat"), child.path("out")});
    });
    EXPECT_EQ(result.status, 0);
    const std::string report = child.get("out");
    expect_contains(report, "Keyword \"FOO\" not recognized in current context");
    expect_contains(report, "Keyword \"BAR\" not recognized in current context");
    expect_contains(report, "00004:  BAR\n");
    expect_contains(report,
                    "######  Execution terminating normally, but with errors  ######\n"
                    "Total abnormalities: 0 warnings, 2 errors.\n");
}

TEST(Program, ScriptThatDoesNotOpenIsFatalAndLeavesNoReport) {
    const ChildRun child("missing");
    child.put("file", "");
    for (const std::string& name : {child.path("missing"), child.path(""), child.path("file/x")}) {
        const ChildResult result = child.run([&] { return run_main({name, child.path("out")}); });
        EXPECT_EQ(result.status, 1);
        expect_contains(result.err, "FATAL ERROR");
        expect_contains(result.err, "Could not open file \"" + name + "\"");
        EXPECT_EQ(without_time(result.err.substr(result.err.find("######  Execution"))),
                  end_lines(FATAL_END));
        EXPECT_EQ(result.out, "");
        EXPECT_FALSE(child.exists("out"));
    }
    EXPECT_EQ(child.run([&] { return run_main({""}); }).status, 1);
}

TEST(Program, ReportThatDoesNotOpenIsFatal) {
    const ChildRun child("unwritable");
    child.put("in.dat", "");
    for (const std::string& name : {child.path("no/out"), child.path(""), std::string()}) {
        const ChildResult result = child.run([&] {
            return run_main({child.path("in.dat"), name});
        });
        EXPECT_EQ(result.status, 1);
        expect_contains(result.err, "Could not open file \"" + name + "\"");
        EXPECT_EQ(result.out, "");
    }
}

TEST(Program, ReportNamedLikeTheScriptIsFatalAndLeavesTheScriptWhole) {
    const ChildRun child("same");
    child.put("in.dat", "END\n");
    std::filesystem::create_directory(child.path("sub"));
    std::filesystem::create_hard_link(child.path("in.dat"), child.path("hard"));
    std::filesystem::create_symlink(child.path("in.dat"), child.path("soft"));
    for (const char* const name : {"in.dat", "./in.dat", "sub/../in.dat", "hard", "soft"}) {
        const ChildResult result = child.run([&] {
            return run_main({child.path("in.dat"), child.path(name)});
        });
        EXPECT_EQ(result.status, 1) << name;
        expect_contains(result.err, "Could not open file \"");
        EXPECT_EQ(child.get("in.dat"), "END\n") << name;
    }
}

TEST(Program, WhatTheRunWritesCannotBeItsInput) {
    const ChildRun child("own_output");
    // The names of the child's streams, and of its report.
    for (const char* const name : {"stdout", "stderr", "report.out"}) {
        child.put("in.dat", "INCL " + std::string(name) + "\n");
        const ChildResult result = child.run([&] {
            return run_main({child.path("in.dat"), child.path("report.out")});
        });
        EXPECT_EQ(result.status, 1) << name;
        expect_contains(result.err, "Could not open file \"" + child.path(name) + "\"");
    }
    const ChildResult result = child.run([&] { return run_main({child.path("stdout")}); });
    EXPECT_EQ(result.status, 1);
    expect_contains(result.err, "Could not open file \"" + child.path("stdout") + "\"");
}

TEST(Program, ScriptFromStandardInputReportsOnStandardOutput) {
    const ChildRun child("streams");
    const ChildResult result = child.run([] { return run_main({}); }, "FOO\n");
    EXPECT_EQ(result.status, 0);
    for (const std::string& text : {result.out, result.err}) {
        EXPECT_TRUE(text.starts_with(banner()));
        expect_contains(text, "NOTE: Now reading standard input  ======\n");
        expect_contains(text, "Keyword \"FOO\" not recognized in current context");
        expect_contains(text, "Total abnormalities: 0 warnings, 1 error.\n");
        expect_lacks(text, "Enter the next line:");
        expect_lacks(text, "Hit \"Return\"");
    }
}

TEST(Program, StandardInputThatCannotBeReadIsAnError) {
    const ChildRun child("unreadable");
    const std::function<void()> causes[] = {
        [&] { dup2(open(child.path("").c_str(), O_RDONLY), STDIN_FILENO); },
        [&] { dup2(open("/dev/null", O_WRONLY), STDIN_FILENO); },
    };
    for (const auto& cause : causes) {
        const ChildResult result = child.run([] { return run_main({}); }, "", cause);
        for (const std::string& text : {result.out, result.err}) {
            expect_contains(text, "######  ERROR: Standard input stream corrupted  ######\n");
            expect_contains(text, "Total abnormalities: 0 warnings, 1 error.\n");
        }
    }
}

TEST(Program, NoArgumentsAtAllAreLikeNone) {
    const ChildRun child("argc0");
    const auto body = [] {
        char* const argv[] = {nullptr};
        TestProgram program;
        return program.Main(0, argv);
    };
    EXPECT_EQ(child.run(body).status, 0);
}

TEST(Program, FatalErrorOfTheRunPrintsNothingMoreThanItsCause) {
    const ChildRun child("fatal");
    const ChildResult result = child.run(
        [] { return run_main({}, [](Reader&, Writer& writer) { writer.Fatal({"Stop here."}); }); });
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(without_time(result.out.substr(result.out.find("######"))),
              "######  FATAL ERROR: Stop here  ######\n\n" + end_lines(FATAL_END));
}

TEST(Program, LimitEndsTheRunWithItsCause) {
    const ChildRun child("limit");
    const ChildResult result = child.run([] {
        return run_main({}, [](Reader&, Writer& writer) {
            writer.errorCounts().errorLimit = 2;
            for (;;) writer.Error({"Again."});
        });
    });
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(without_time(result.out.substr(result.out.find("######"))),
              "######  ERROR: Again  ######\n\n######  ERROR: Again  ######\n\n" +
                  end_lines("######  Execution terminating due to excessive errors  ######\n"
                            "Total abnormalities: 0 warnings, 2 errors.\n"));
}

const char* const MEMORY_BLOCK =
    "######  FATAL ERROR: Dynamic memory exhausted  ######\n"
    "Try to increase the memory available to the program.\n"
    "Otherwise, the problem size will have to be reduced.\n";

TEST(Program, OutOfMemoryIsReportedEvenInASilentPass) {
    const ChildRun child("memory");
    const ChildResult result = child.run([] {
        return run_main({}, [](Reader&, Writer& writer) {
            for (OutFile* file : writer.fileList) {
                file->minimumLevel = 1;
                file->printLevel = 0;
            }
            throw std::bad_alloc();
        });
    });
    EXPECT_EQ(result.status, 1);
    for (const std::string& text : {result.out, result.err})
        EXPECT_EQ(without_time(text.substr(text.find("######"))),
                  MEMORY_BLOCK + std::string("\n") + end_lines(FATAL_END));
}

// Volatile, or the allocation of blocks that nobody reads may be optimized away.
void* volatile last_block = nullptr;

/// Takes blocks of every size, and keeps them, until not one more byte is to be had.
void exhaust_memory() {
    memory_left = 100000;
    for (std::size_t size = 4096; size > 0; size /= 2) {
        try {
            for (;;) last_block = operator new(size);
        } catch (const std::bad_alloc&) {
        }
    }
}

TEST(Program, ReserveSufficesToReportThatMemoryIsExhausted) {
    const ChildRun child("exhausted");
    const ChildResult result = child.run([] {
        return run_main({}, [](Reader&, Writer&) {
            exhaust_memory();
            last_block = operator new(1);
        });
    });
    EXPECT_EQ(result.status, 1);
    for (const std::string& text : {result.out, result.err}) {
        ASSERT_NE(text.find("######"), std::string::npos) << text;
        EXPECT_EQ(without_time(text.substr(text.find("######"))),
                  MEMORY_BLOCK + std::string("\n") + end_lines(FATAL_END));
    }
}

TEST(Program, ReserveSufficesForTheEndLines) {
    const ChildRun child("shortage");
    const ChildResult result =
        child.run([] { return run_main({}, [](Reader&, Writer&) { exhaust_memory(); }); });
    EXPECT_EQ(result.status, 0);
    for (const std::string& text : {result.out, result.err}) {
        ASSERT_NE(text.find("======  Execution"), std::string::npos) << text;
        EXPECT_EQ(without_time(text.substr(text.find("======  Execution"))), end_lines(NORMAL_END));
    }
}

TEST(Program, OtherExceptionsAreReported) {
    const ChildRun child("unexpected");
    const std::vector<TestProgram::Work> works{
        [](Reader&, Writer&) { throw LogicError{}; },
        [](Reader&, Writer&) { throw std::runtime_error("inside"); },
        [](Reader&, Writer&) { throw 5; }};
    for (const auto& work : works) {
        const ChildResult result = child.run([&] { return run_main({}, work); });
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(without_time(result.out.substr(result.out.find("######"))),
                  "######  FATAL ERROR: Unexpected termination  ######\n"
                  "Execution terminated because of an unexpected exception.\n"
                  "Please report this problem to Orvane Software.\n\n" +
                      end_lines(FATAL_END));
    }
}

TEST(Program, WithoutFilesTheFirstLineGoesToStandardError) {
    const ChildRun child("nofiles");
    const ChildResult result = child.run([] {
        return run_main({}, [](Reader&, Writer&) {
            Program::state().consoleFile.reset();
            Program::state().reportFile.reset();
            throw LogicError{};
        });
    });
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.err.ends_with("\nUnexpected termination.\n")) << result.err;
}

TEST(Program, OnlyTheLastInstancePrintsTheEnd) {
    const ChildRun child("instances");
    const ChildResult result = child.run([] {
        TestProgram outer;
        { TestProgram inner; }
        return Program::state().consoleFile ? 0 : 1;
    });
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(without_time(result.err), "\n" + end_lines(NORMAL_END));
}

TEST(Program, ReportOnAFullDiskIsToldOnTheConsole) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
    const ChildRun child("full");
    child.put("in.dat", "");
    const ChildResult result = child.run([&] {
        return run_main({child.path("in.dat"), "/dev/full"});
    });
    EXPECT_EQ(result.status, 0);
    const std::string warning =
        "\n\n######  WARNING: Could not write all of the report to file \"/dev/full\"  ######\n"
        "The report is not complete.\n\n";
    EXPECT_TRUE(result.err.ends_with(warning)) << result.err;
}

TEST(Program, ReaderOfTheReportWhoGoesAwayIsToldOnTheConsole) {
    const ChildRun child("pipe");
    const auto broken_pipe = [] {
        int ends[2];
        if (pipe(ends) != 0) return;
        dup2(ends[1], 1);
        close(ends[0]);
        close(ends[1]);
    };
    const ChildResult result = child.run([] { return run_main({}); }, "", broken_pipe);
    EXPECT_EQ(result.status, 0);
    expect_contains(result.err, "Could not write all of the report to standard output");
}

TEST(Program, ClosedStandardStreamsAreNotTakenByTheFilesOpened) {
    const ChildRun child("closed");
    child.put("in.dat", "END\n");
    const auto close_all = [] {
        for (const int number : {0, 1, 2}) close(number);
    };
    const ChildResult result = child.run(
        [&] {
            return run_main({child.path("in.dat"), child.path("out")});
        },
        "", close_all);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(child.get("in.dat"), "END\n");
    const std::string report = child.get("out");
    EXPECT_EQ(report.find("Now reading"), report.rfind("Now reading")) << report;

    const ChildResult lost =
        child.run([&] { return run_main({child.path("in.dat")}); }, "", [] { close(1); });
    EXPECT_EQ(lost.status, 0);
    expect_contains(lost.err, "Could not write all of the report to standard output");
}

TEST(Program, TerminalWithoutDialogsReadsWhatIsTyped) {
    const ChildRun child("terminal");
    const ChildResult result = child.run_on_terminal([] { return run_main({}); }, "FOO\nEOF\n\n");
    EXPECT_EQ(result.status, 0);
    expect_contains(result.out, "Enter the next line:\n");
    expect_contains(result.out, "Keyword \"FOO\" not recognized in current context");
    const std::size_t end = result.out.find("Execution terminating");
    ASSERT_NE(end, std::string::npos);
    // The console is the only output.
    EXPECT_EQ(result.out.find("Execution terminating", end + 1), std::string::npos);
    expect_contains(result.out.substr(end), "======  Hit \"Return\" to exit  ======\n");
}

TEST(Program, TwoArgumentsMakeABatchRunEvenAtATerminal) {
    const ChildRun child("batch");
    child.put("in.dat", "");
    const ChildResult result = child.run_on_terminal(
        [&] {
            return run_main({child.path("in.dat"), child.path("out")});
        },
        "");
    EXPECT_EQ(result.status, 0);
    expect_contains(result.out, "Execution terminating normally");
    expect_lacks(result.out, "Hit \"Return\"");
}

TEST(Program, OneArgumentAtATerminalIsInteractive) {
    const ChildRun child("one");
    child.put("in.dat", "");
    const ChildResult result =
        child.run_on_terminal([&] { return run_main({child.path("in.dat")}); }, "\n");
    EXPECT_EQ(result.status, 0);
    expect_contains(result.out, "======  Hit \"Return\" to exit  ======\n");
}

TEST(Program, TimeStartsWhenTheFilesAreOpen) {
    const ChildRun child("clock");
    const ChildResult result = child.run([] {
        return run_main({}, [](Reader&, Writer&) {
            // As if the run had begun two and a half seconds ago.
            Program::state().clock.startTicks -= 2500;
            Program::state().clock.pauseTicks -= 2500;
        });
    });
    // A busy machine may take up to half a second more.
    expect_contains(result.out, "Total execution time: 2.");
}

}  // namespace
}  // namespace kestrane
