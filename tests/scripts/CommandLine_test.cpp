// The program as a user starts it: arguments, streams, exit status, and input of every kind.

#include <gtest/gtest.h>

#include <stdlib.h>

#include <fstream>

#include "scripts/ProgramRun.h"

namespace kestrane {
namespace {

namespace fs = std::filesystem;

const fs::path EXAMPLES = fs::path(KESTRANE_SOURCE_DIR) / "examples";

bool holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

class CommandLine : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "kestrane-cl-XXXXXX").string();
        ASSERT_TRUE(mkdtemp(pattern.data()));
        directory_ = pattern;
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(directory_, ignored);
    }
    void write(const std::string& name, const std::string& text) const {
        std::ofstream(directory_ / name, std::ios::binary) << text;
    }
    ProgramRun run(std::vector<std::string> arguments, const std::string& input = {}) const {
        return run_program(directory_, std::move(arguments), input);
    }

    fs::path directory_;
};

TEST_F(CommandLine, ScriptAndReport) {
    const ProgramRun result = run({(EXAMPLES / "reservoir-oil.dat").string(), "REPORT"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.output, "");
    EXPECT_TRUE(holds(result.report, "Flash Calculation 5"));
    EXPECT_TRUE(holds(result.report, "======  Execution terminating normally  ======"));
    EXPECT_TRUE(holds(result.report, "======  Total execution time: "));
    EXPECT_FALSE(holds(result.console, "Hit \"Return\""));
}

TEST_F(CommandLine, StandardStreams) {
    const ProgramRun result = run({}, "TITLE Streams\n");
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_TRUE(holds(result.output, "Now reading standard input"));
    EXPECT_TRUE(holds(result.output, "Streams\n======="));
    EXPECT_TRUE(holds(result.console, "Kestrane"));
}

TEST_F(CommandLine, ReportOnStandardOutput) {
    write("a.dat", "TITLE Alone\n");
    const ProgramRun result = run({"a.dat"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_TRUE(holds(result.output, "Now reading file \"a.dat\""));
}

TEST_F(CommandLine, FurtherArgumentsAreIgnored) {
    write("a.dat", "TITLE Alone\n");
    EXPECT_EQ(run({"a.dat", "REPORT", "more", "-x"}).exit_status, 0);
}

TEST_F(CommandLine, AMissingScriptIsFatal) {
    const ProgramRun result = run({"nowhere.dat", "REPORT"});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_TRUE(holds(result.console, "FATAL ERROR"));
    EXPECT_TRUE(holds(result.console, "Could not open file \"nowhere.dat\""));
    EXPECT_TRUE(holds(result.console, "Execution terminating due to a fatal error"));
    EXPECT_TRUE(holds(result.console, "Total abnormalities: 0 warnings, 1 error."));
    EXPECT_EQ(result.report, "");
}

TEST_F(CommandLine, ADirectoryIsNoScript) {
    const ProgramRun result = run({"."});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_TRUE(holds(result.console, "Could not open file \".\""));
}

TEST_F(CommandLine, AnUnwritableReportIsFatal) {
    write("a.dat", "TITLE Alone\n");
    const ProgramRun result = run({"a.dat", "nowhere/a.out"});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_TRUE(holds(result.console, "Could not open file \"nowhere/a.out\""));
}

TEST_F(CommandLine, ADirectoryIsNoReport) {
    write("a.dat", "TITLE Alone\n");
    const ProgramRun result = run({"a.dat", "."});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_TRUE(holds(result.console, "Could not open file \".\""));
    EXPECT_FALSE(holds(result.console, "Now reading"));
}

// Every argument is a file's name: there are no options, and a file may be called like one.
TEST_F(CommandLine, ThereAreNoOptions) {
    for (const char* argument : {"--help", "--version", "-h", "-", ""}) {
        const ProgramRun result = run({argument});
        EXPECT_EQ(result.exit_status, 1) << argument;
        EXPECT_TRUE(holds(result.console, "Version ")) << argument;
        EXPECT_TRUE(holds(result.console,
                          "FATAL ERROR: Could not open file \"" + std::string(argument) + "\""))
            << argument;
    }
    write("--help", "TITLE Alone\n");
    EXPECT_EQ(run({"--help"}).exit_status, 0);
}

TEST_F(CommandLine, AReportNamedLikeTheScriptLeavesTheScriptAlone) {
    write("a.dat", "TITLE Alone\n");
    for (const char* report : {"a.dat", "./a.dat"}) {
        const ProgramRun result = run({"a.dat", report});
        EXPECT_EQ(result.exit_status, 1) << report;
        EXPECT_TRUE(holds(result.console, "Could not open file")) << report;
    }
    EXPECT_EQ(file_text(directory_ / "a.dat"), "TITLE Alone\n");
}

TEST_F(CommandLine, AScriptWithErrorsStopsBeforeCalculating) {
    const ProgramRun result = run({}, "GRUMBLE\nTITLE Later\n");
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_TRUE(holds(result.output, "Keyword \"GRUMBLE\" not recognized in current context"));
    EXPECT_TRUE(holds(result.output, "Execution terminating due to excessive errors"));
    EXPECT_FALSE(holds(result.output, "Later\n====="));
}

TEST_F(CommandLine, AnIncludeOfItselfEndsWithAMessage) {
    write("loop.dat", "INCLUDE loop.dat\n");
    const ProgramRun result = run({"loop.dat", "REPORT"});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_TRUE(holds(result.report, "Could not open file \"loop.dat\""));
}

TEST_F(CommandLine, AMissingIncludeIsFatalAtItsPlace) {
    write("a.dat", "\n  INCL nowhere.dat\n");
    const ProgramRun result = run({"a.dat", "REPORT"});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_TRUE(holds(result.report, "Could not open file \"nowhere.dat\""));
    EXPECT_TRUE(holds(result.report, "of line 2 of the file \"a.dat\""));
}

TEST_F(CommandLine, IncludesAreFoundFromTheirIncluder) {
    fs::create_directory(directory_ / "sub");
    write("a.dat", "INCL sub/b.dat\nTITLE Main\n");
    write("sub/b.dat", "INCL c.dat\n");
    write("sub/c.dat", "TITLE Inner\n");
    const ProgramRun result = run({"a.dat", "REPORT"});
    EXPECT_EQ(result.exit_status, 0) << result.report;
    EXPECT_TRUE(holds(result.report, "Now including file \"sub/b.dat\""));
    EXPECT_TRUE(holds(result.report, "Now including file \"sub/c.dat\""));
    EXPECT_TRUE(holds(result.report, "Now returning to file \"a.dat\""));
}

TEST_F(CommandLine, BinaryBytesEndInAReport) {
    std::string bytes;
    unsigned state = 12345;
    for (int i = 0; i < 100000; ++i) {
        state = state * 1664525u + 1013904223u;
        bytes += static_cast<char>(state >> 24);
    }
    const ProgramRun result = run({}, bytes);
    EXPECT_TRUE(result.exit_status == 0 || result.exit_status == 1);
    EXPECT_TRUE(holds(result.output, "Execution terminating"));
}

TEST_F(CommandLine, ALineOfAMegabyte) {
    const ProgramRun word = run({}, std::string(1 << 20, 'A') + "\n");
    EXPECT_EQ(word.exit_status, 1);
    EXPECT_TRUE(holds(word.output, "not recognized in current context"));
    std::string numbers = "MIX A";
    while (numbers.size() < (1u << 20)) numbers += " 1";
    const ProgramRun list = run({}, numbers);
    EXPECT_EQ(list.exit_status, 1);
    EXPECT_TRUE(holds(list.output, "Invalid ingredient"));
}

TEST_F(CommandLine, AScriptWithoutAFinalNewline) {
    const ProgramRun result = run({}, "TITLE Short");
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_TRUE(holds(result.output, "Short\n====="));
}

TEST_F(CommandLine, AnEmptyScript) {
    const ProgramRun result = run({}, "");
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_TRUE(holds(result.output, "======  Execution terminating normally  ======"));
}

TEST_F(CommandLine, AllKindsOfLineEnds) {
    for (const char* script : {"TITLE A\nSUBT B\n", "TITLE A\rSUBT B\r", "TITLE A\r\nSUBT B\r\n"}) {
        const ProgramRun result = run({}, script);
        EXPECT_EQ(result.exit_status, 0);
        EXPECT_TRUE(holds(result.output, "A\n=\n"));
        EXPECT_TRUE(holds(result.output, "\nB\n"));
    }
}

}  // namespace
}  // namespace kestrane
