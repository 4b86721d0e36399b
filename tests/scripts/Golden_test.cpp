// Whole runs against the reports kept beside their scripts. To accept new reports after reading
// them, run the test program with KESTRANE_UPDATE_GOLDEN=1 in the environment.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <ostream>

#include "scripts/ProgramRun.h"

namespace kestrane {
namespace {

namespace fs = std::filesystem;

const fs::path SOURCE = KESTRANE_SOURCE_DIR;

struct Script {
    fs::path input;   ///< name.in or name.dat
    fs::path golden;  ///< name.out
};

void collect(const fs::path& directory, const std::string& extension, const fs::path& golden_dir,
             std::vector<Script>& scripts) {
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        if (entry.path().extension() != extension) continue;
        fs::path golden = golden_dir.empty() ? entry.path() : golden_dir / entry.path().filename();
        scripts.push_back({entry.path(), golden.replace_extension(".out")});
    }
}

/// What a test's listing shows of its script.
void PrintTo(const Script& script, std::ostream* stream) {
    *stream << script.input.filename().string();
}

/// Scripts of the tests lie beside their reports; reports of the examples lie in tests/scripts.
std::vector<Script> all_scripts() {
    std::vector<Script> scripts;
    collect(SOURCE / "tests" / "scripts", ".in", {}, scripts);
    collect(SOURCE / "examples", ".dat", SOURCE / "tests" / "scripts" / "examples", scripts);
    std::sort(scripts.begin(), scripts.end(),
              [](const Script& a, const Script& b) { return a.input < b.input; });
    return scripts;
}

std::string test_name(const testing::TestParamInfo<Script>& info) {
    const fs::path& input = info.param.input;
    std::string name = input.parent_path().filename().string() + "_" + input.stem().string();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

class Golden : public testing::TestWithParam<Script> {};

TEST_P(Golden, ReportIsAsKept) {
    const Script& script = GetParam();
    const ProgramRun run =
        run_program(script.input.parent_path(), {script.input.filename().string(), "REPORT"});
    const std::string report =
        without_times(run.report) + "[exit status " + std::to_string(run.exit_status) + "]\n";
    if (std::getenv("KESTRANE_UPDATE_GOLDEN")) {
        fs::create_directories(script.golden.parent_path());
        std::ofstream(script.golden, std::ios::binary) << report;
        GTEST_SKIP() << "report accepted: " << script.golden;
    }
    ASSERT_TRUE(fs::exists(script.golden)) << script.golden << " is missing";
    EXPECT_EQ(report, file_text(script.golden));
}

INSTANTIATE_TEST_SUITE_P(Scripts, Golden, testing::ValuesIn(all_scripts()), test_name);

}  // namespace
}  // namespace kestrane
