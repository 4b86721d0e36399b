// Scripts far larger than anyone's: time and memory grow as the script does, and limits are told.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>

#include "frame/ChildRun.h"
#include "lab/Kestrane.h"

namespace kestrane {
namespace {

const std::string FLUID = "CHAR Light\nNAME  MW  TC(K)  PC(bar)  AF\nC1\nC3\nN-C10\nEND\nEND\n";

/// One run of a script, and what it took.
struct SizeRun {
    ChildResult result;
    std::string report;
    double seconds = 0.0;
};

SizeRun run_script(const ChildRun& child, const std::string& script) {
    child.put("in.dat", script);
    SizeRun run;
    run.result = child.run([&child] {
        std::vector<std::string> texts{"kestrane", child.path("in.dat"), child.path("out")};
        std::vector<char*> argv;
        for (std::string& text : texts) argv.push_back(text.data());
        int status = 0;
        {
            Kestrane program;
            status = program.Main(static_cast<int>(argv.size()), argv.data());
        }
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        const auto seconds = [](const timeval& time) {
            return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
        };
        std::cout << seconds(usage.ru_utime) << std::flush;
        return status;
    });
    run.report = child.get("out");
    run.seconds = std::strtod(run.result.out.c_str(), nullptr);
    return run;
}

std::string times(int count, const std::string& text) {
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

std::string mixtures(int count) {
    std::string script = FLUID;
    for (int i = 0; i < count; ++i)
        script += "MIX M" + std::to_string(i) + " C1 0.5 C3 0.3 N-C10 0.2\n";
    return script;
}

/// Eight times the script takes no more than 24 times as long: with cost in proportion to n^1.5.
void expect_growth(const std::function<std::string(int)>& script_of, int small) {
    const ChildRun child("size");
    double least = 1e9, most = 1e9;
    for (int repeat = 0; repeat < 3; ++repeat) {
        const SizeRun one = run_script(child, script_of(small));
        ASSERT_EQ(one.result.status, 0) << one.result.err.substr(0, 2000);
        const SizeRun eight = run_script(child, script_of(8 * small));
        ASSERT_EQ(eight.result.status, 0) << eight.result.err.substr(0, 2000);
        least = std::min(least, one.seconds);
        most = std::min(most, eight.seconds);
    }
    EXPECT_LT(most, 24.0 * std::max(least, 0.004));
}

TEST(Size, LinesCostInProportion) {
    expect_growth([](int n) { return times(n, "TEMP 100 F\n-- nothing\n"); }, 3000);
}

TEST(Size, MixturesCostInProportion) {
    expect_growth(mixtures, 200);
}

TEST(Size, FlashesCostInProportion) {
    expect_growth(
        [](int n) {
            return FLUID + "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\n" +
                   times(n, "FLASH 100 F 500 psia\n");
        },
        50);
}

TEST(Size, ExperimentsCostInProportion) {
    expect_growth(
        [](int n) {
            return FLUID + "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\nTEMP 350 K\n" +
                   times(n, "CVD\nSTG  PRES bar\n1    120\n2    80\n3    40\nEND\n");
        },
        15);
}

TEST(Size, StagesCostInProportion) {
    expect_growth(
        [](int n) {
            std::string rows;
            for (int i = 0; i < n; ++i)
                rows += std::to_string(i + 1) + "    " + std::to_string(250 - 200 * i / n) + "\n";
            return FLUID + "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\nTEMP 350 K\nEXP\nSTG  PRES bar\n" +
                   rows + "END\n";
        },
        60);
}

TEST(Size, IncludesWithinIncludesEndAtALimit) {
    const ChildRun child("deep");
    for (int depth = 1; depth < 1000; ++depth)
        child.put("deep" + std::to_string(depth) + ".inc",
                  "INCLUDE deep" + std::to_string(depth + 1) + ".inc\n");
    child.put("deep1000.inc", "TEMP 100 F\n");
    const SizeRun run = run_script(child, "INCLUDE deep1.inc\n");
    EXPECT_EQ(run.result.status, 1);
    EXPECT_NE(run.result.err.find("deep201.inc"), std::string::npos) << run.result.err;
    EXPECT_NE(run.report.find("FATAL ERROR"), std::string::npos);
    EXPECT_NE(run.report.find("Files include files no more than 200 levels deep.\n"
                              "Problem detected at column 9 of line 1 of"),
              std::string::npos)
        << run.report.substr(run.report.find("FATAL"));
}

TEST(Size, AnIncludeOfItselfEndsAtTheLimit) {
    const ChildRun child("loop");
    child.put("self.inc", "TEMP 100 F\nINCLUDE self.inc\n");
    const SizeRun run = run_script(child, "INCLUDE self.inc\n");
    EXPECT_EQ(run.result.status, 1);
    EXPECT_NE(run.report.find("FATAL ERROR"), std::string::npos);
}

/// A word, a line or a block of millions of bytes, and how the run that reads it ends.
struct Huge {
    std::string line;
    int status;
};

TEST(Size, HugeWordsAndLinesEndInMessages) {
    const ChildRun child("wide");
    const Huge cases[] = {
        {std::string(2000000, 'X'), 1},              // one word that is no keyword
        {times(2000, "X 1 "), 1},                    // as many errors as words
        {"MIX FEED " + times(20000, "C1 0.5 "), 0},  // amounts that add up
        {std::string(1000000, '('), 0},              // nothing but blanks to the reader
        {std::string(1000000, '"'), 0},              // empty quotes
        {"CHAR " + times(2000, "C1\n"), 1},          // components without a heading
    };
    for (const Huge& huge : cases) {
        const SizeRun run = run_script(child, FLUID + huge.line + "\n");
        EXPECT_EQ(run.result.status, huge.status)
            << huge.line.substr(0, 20) << run.result.err.substr(0, 500);
        EXPECT_LT(run.seconds, 30.0);
        EXPECT_EQ(run.report.find("ERROR") != std::string::npos, huge.status == 1);
    }
}

}  // namespace
}  // namespace kestrane
