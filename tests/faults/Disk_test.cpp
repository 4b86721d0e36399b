// Disks that are full and readers who go away, under any of the files that a run writes: the run
// ends, says which file is not whole, and leaves the others as they would be without the fault.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "frame/ChildRun.h"
#include "lab/Kestrane.h"

namespace kestrane {
namespace {

using Preparation = std::function<void()>;

const std::string FLUID =
    "CHAR Light\nNAME MW TC(K) PC(bar) AF PCHOR\nC1\nC3\nN-C10\nEND\nEND\n"
    "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\nTEMP 100 F\nPRES 2000 psia\n"
    "SEP HP 80 F 300 psia\nEND\nSEP ST 60 F 14.7 psia\nEND\n"
    "PROC P\nSTAGE A\nSEP HP\nSTAGE B\nSEP ST\nEND\nEND\n"
    "DEPTH 5000 ft\nCOLL C\nEQL\nEND\nFLASH 100 F 700 psia\nCOLL C\nEQL\nEQV\nEND\n";
const std::string TABLE = "BLACK\nCOLL C\nPROC P\nPRES psia 3000 4000 3000\nEND\n";
const std::string SCRIPT = FLUID + TABLE;

/// What a run of a script left behind.
struct DiskRun {
    ChildResult result;
    std::string report, table;
};

std::string without_time(const std::string& text) {
    static const std::regex time("(time so far|execution time): [0-9.]+ seconds");
    return std::regex_replace(text, time, "$1: T seconds");
}

/// A run with its report beside the script, or on standard output.
DiskRun run_script(const ChildRun& child, const std::string& script, bool report_file = true,
                   const Preparation& before = {}) {
    child.put("in.dat", script);
    DiskRun run;
    run.result = child.run(
        [&] {
            std::vector<std::string> texts{"kestrane", child.path("in.dat")};
            if (report_file) texts.push_back(child.path("out"));
            std::vector<char*> argv;
            for (std::string& text : texts) argv.push_back(text.data());
            Kestrane program;
            return program.Main(static_cast<int>(argv.size()), argv.data());
        },
        "", before);
    run.report = without_time(report_file ? child.get("out") : run.result.out);
    if (std::filesystem::is_regular_file(child.path("in.bot"))) run.table = child.get("in.bot");
    return run;
}

/// Writes beyond so many bytes of a file fail, as on a disk that has no more.
Preparation disk_of(rlim_t bytes) {
    return [bytes] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{bytes, bytes};
        setrlimit(RLIMIT_FSIZE, &limit);
    };
}

/// Puts what opens there in the place of a standard stream.
Preparation stream_at(int number, const char* path) {
    return [number, path] {
        const int opened = open(path, O_WRONLY);
        dup2(opened, number);
        close(opened);
    };
}

/// A pipe in the place of a standard stream that nobody reads.
Preparation closed_pipe_at(int number) {
    return [number] {
        int ends[2];
        if (pipe(ends) != 0) return;
        dup2(ends[1], number);
        close(ends[0]);
        close(ends[1]);
    };
}

/// Tables by their titles.
int tables_in(const std::string& text) {
    int count = 0;
    for (std::size_t at = text.find("Black Oil Table"); at != std::string::npos;
         at = text.find("Black Oil Table", at + 1))
        ++count;
    return count;
}

class Disk : public testing::Test {
protected:
    void SetUp() override {
        if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
        whole = run_script(child, SCRIPT);
        ASSERT_EQ(whole.result.status, 0) << whole.result.err;
        ASSERT_EQ(tables_in(whole.table), 1) << whole.report;
    }
    void forget() const {
        for (const char* name : {"out", "in.bot"}) std::filesystem::remove(child.path(name));
    }

    ChildRun child{"disk"};
    DiskRun whole;
};

TEST_F(Disk, ConsoleThatTakesNothingLeavesTheRestWhole) {
    for (const Preparation& before : {stream_at(2, "/dev/full"), closed_pipe_at(2)}) {
        forget();
        const DiskRun run = run_script(child, SCRIPT, true, before);
        EXPECT_EQ(run.result.status, 0);
        EXPECT_EQ(run.report, whole.report);
        EXPECT_EQ(run.table, whole.table);
    }
}

TEST_F(Disk, ReportThatTakesNothingIsToldAndTheTableWhole) {
    for (const Preparation& before : {stream_at(1, "/dev/full"), closed_pipe_at(1)}) {
        forget();
        const DiskRun run = run_script(child, SCRIPT, false, before);
        EXPECT_EQ(run.result.status, 0);
        EXPECT_NE(run.result.err.find("Could not write all of the report to standard output"),
                  std::string::npos)
            << run.result.err;
        EXPECT_EQ(run.table, whole.table);
    }
}

TEST_F(Disk, FullForAllFilesLeavesNoPartOfATable) {
    forget();
    const DiskRun run = run_script(child, SCRIPT, true, disk_of(200));
    EXPECT_EQ(run.result.status, 0);
    EXPECT_EQ(run.table, "");
    EXPECT_LE(run.report.size(), 200u);
}

TEST_F(Disk, TableOnAFullDiskIsTakenBackWhole) {
    // The first table fits and the second does not; the report is on no disk.
    const auto full = [room = whole.table.size() + whole.table.size() / 2] {
        stream_at(1, "/dev/null")();
        disk_of(room)();
    };
    forget();
    const DiskRun run = run_script(child, SCRIPT + TABLE + TABLE, false, full);
    EXPECT_EQ(run.result.status, 0);
    EXPECT_EQ(run.table, whole.table);
    const std::string told = "Could not write all of the black oil tables to file";
    EXPECT_NE(run.result.err.find(told), std::string::npos) << run.result.err;
    EXPECT_EQ(run.result.err.find(told), run.result.err.rfind(told));
    EXPECT_NE(run.result.err.find("The file is not complete."), std::string::npos);
}

TEST_F(Disk, TableWhoseReaderGoesAwayIsTold) {
    forget();
    const std::string name = child.path("in.bot");
    ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
    const DiskRun run = run_script(child, SCRIPT, true, [&] {
        // Reads nothing: goes as soon as the writer has come.
        std::thread([name] { close(open(name.c_str(), O_RDONLY)); }).detach();
    });
    EXPECT_EQ(run.result.status, 0);
    EXPECT_NE(run.report.find("Could not write all of the black oil tables to file"),
              std::string::npos)
        << run.report;
}

}  // namespace
}  // namespace kestrane
