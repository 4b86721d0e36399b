// Every message of the program: a bad script, and what is printed for it, to the word. To accept
// new texts after reading them, run with KESTRANE_UPDATE_GOLDEN=1 in the environment.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <ostream>
#include <regex>
#include <sstream>

#include "scripts/MessageCases.h"
#include "scripts/ProgramRun.h"

namespace kestrane {
namespace {

namespace fs = std::filesystem;

/// The files of a case in a directory of their own, beside the includes that all may use.
class CaseFiles {
public:
    explicit CaseFiles(const MessageCase& one)
        : directory(fs::path(testing::TempDir()) / ("messages-" + std::to_string(getpid()))) {
        fs::remove_all(directory);
        fs::create_directories(directory);
        const fs::path room = fs::path(KESTRANE_SOURCE_DIR) / "tests" / "scripts" / "messages";
        for (const auto& entry : fs::directory_iterator(room))
            if (entry.path().extension() == ".inc")
                fs::copy(entry.path(), directory / entry.path().filename());
        std::ofstream file(directory / "bad.dat", std::ios::binary);
        std::istringstream text(one.script);
        const std::string mark = "@@ file ";
        for (std::string line; std::getline(text, line);) {
            if (line.starts_with(mark)) {
                file.close();
                file.open(directory / line.substr(mark.size()), std::ios::binary);
            } else {
                file << line << "\n";
            }
        }
    }
    ~CaseFiles() {
        std::error_code ignored;
        fs::remove_all(directory, ignored);
    }
    CaseFiles(const CaseFiles&) = delete;
    CaseFiles& operator=(const CaseFiles&) = delete;

    /// A line of a file, from 1; empty behind the end.
    std::string line(const std::string& name, int number) const {
        std::istringstream text(file_text(directory / name));
        std::string line;
        for (int i = 0; i < number; ++i)
            if (!std::getline(text, line)) return {};
        return line;
    }

    fs::path directory;
};

/// The place that a line of a message names: the file, the line and, unless 0, the column.
struct Place {
    std::string file;
    int line = 0;
    int column = 0;
    std::string word;  ///< that should stand there, if one is named
};

bool find_place(const std::string& text, Place& place) {
    static const std::regex at(R"re( at (column (\d+) of )?line (\d+) of the file "([^"]*)"\.$)re");
    static const std::regex keyword(
        R"re(keyword "([^"]*)" \(line (\d+), column (\d+), file "([^"]*)"\))re");
    std::smatch match;
    if (std::regex_search(text, match, at)) {
        place = {match[4], std::stoi(match[3]), match[2].length() ? std::stoi(match[2]) : 0, {}};
        return true;
    }
    if (std::regex_search(text, match, keyword)) {
        place = {match[4], std::stoi(match[2]), std::stoi(match[3]), match[1]};
        return true;
    }
    return false;
}

/// The places that a block names exist, hold a word, and are those of the line that is shown.
void check_places(const MessageBlock& block, const CaseFiles& files) {
    const std::string shown_label = "Most recent line: \"";
    for (std::size_t i = 0; i < block.lines.size(); ++i) {
        Place place;
        if (!find_place(block.lines[i], place)) continue;
        const std::string line = files.line(place.file, place.line);
        const bool macros_or_tabs = line.find_first_of("?\t") != std::string::npos;
        if (place.column > 0 && !macros_or_tabs) {
            const auto at = static_cast<std::size_t>(place.column - 1);
            ASSERT_LT(at, line.size()) << block.lines[i];
            EXPECT_NE(line[at], ' ') << block.lines[i];
            EXPECT_TRUE(at == 0 || std::string(" \t\"'(=,:").find(line[at - 1]) != std::string::npos)
                << "not at the start of a word: " << block.lines[i];
            EXPECT_EQ(line.substr(at, place.word.size()), place.word) << block.lines[i];
        }
        if (i + 1 < block.lines.size() && block.lines[i + 1].starts_with(shown_label)) {
            EXPECT_EQ(block.lines[i + 1], shown_label + line + "\".") << block.lines[i];
        }
    }
}

/// How often each kind of block stands in the report, as the closing tally has it.
void check_tally(const std::vector<MessageBlock>& blocks) {
    int warnings = 0;
    int errors = 0;
    for (const MessageBlock& block : blocks) {
        warnings += block.headline.starts_with("WARNING");
        errors += block.headline.starts_with("ERROR") || block.headline.starts_with("FATAL ERROR");
    }
    const auto counted = [](int n, const std::string& what) {
        return std::to_string(n) + " " + what + (n == 1 ? "" : "s");
    };
    const std::string tally = "Total abnormalities: " + counted(warnings, "warning") + ", " +
                              counted(errors, "error") + ".";
    for (const MessageBlock& block : blocks) {
        if (!block.headline.starts_with("Execution terminating")) continue;
        const bool clean = warnings + errors == 0;
        EXPECT_EQ(block.lines, clean ? std::vector<std::string>{} : std::vector{tally});
    }
}

void check_case(MessageCase& one, bool update) {
    SCOPED_TRACE(one.name + "\n" + one.script);
    const CaseFiles files(one);
    const ProgramRun run = run_program(files.directory, {"bad.dat", "REPORT"});
    const std::string printed = messages_of(run.report);
    const std::vector<MessageBlock> blocks = blocks_of(run.report);
    ASSERT_FALSE(blocks.empty()) << run.console;
    for (const MessageBlock& block : blocks)
        if (block.problem) check_places(block, files);
    check_tally(blocks);
    EXPECT_EQ(messages_of(run.console), printed) << "console and report differ";
    const bool stopped = printed.find("Execution terminating normally") == std::string::npos;
    EXPECT_EQ(run.exit_status, stopped ? 1 : 0);
    if (update)
        one.printed = printed;
    else
        EXPECT_EQ(printed, one.printed);
}

class Messages : public testing::TestWithParam<MessageFile> {};

TEST_P(Messages, ArePrintedAsKept) {
    MessageFile file = GetParam();
    const bool update = std::getenv("KESTRANE_UPDATE_GOLDEN") != nullptr;
    for (MessageCase& one : file.cases) check_case(one, update);
    if (!update) return;
    write_message_file(file);
    GTEST_SKIP() << "messages accepted: " << file.path;
}

INSTANTIATE_TEST_SUITE_P(Rooms, Messages, testing::ValuesIn(read_message_files()),
                         [](const testing::TestParamInfo<MessageFile>& room) {
                             return room.param.path.stem().string();
                         });

}  // namespace

void PrintTo(const MessageFile& file, std::ostream* stream) {
    *stream << file.path.filename().string();
}

}  // namespace kestrane
