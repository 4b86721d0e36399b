#include "scripts/MessageCases.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "scripts/ProgramRun.h"

namespace kestrane {

namespace fs = std::filesystem;

namespace {

constexpr const char* CASE = "@@ case ";
constexpr const char* PRINTS = "@@ prints";

MessageFile read_message_file(const fs::path& path) {
    MessageFile file{path, {}, {}};
    std::string* target = &file.comment;
    std::istringstream text(file_text(path));
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with(CASE)) {
            file.cases.push_back({line.substr(std::string(CASE).size()), {}, {}});
            target = &file.cases.back().script;
        } else if (line == PRINTS) {
            target = &file.cases.back().printed;
        } else {
            *target += line + "\n";
        }
    }
    return file;
}

/// The text of a headline between its fill, empty if the line is none.
std::string headline_text(const std::string& line, char fill) {
    const std::string mark(6, fill);
    if (!line.starts_with(mark + "  ") || !line.ends_with("  " + mark) || line.size() < 17)
        return {};
    return line.substr(8, line.size() - 16);
}

bool has_fill(const std::string& line) {
    return !headline_text(line, '#').empty() || !headline_text(line, '=').empty();
}

}  // namespace

std::vector<MessageFile> read_message_files() {
    std::vector<MessageFile> files;
    const fs::path room = fs::path(KESTRANE_SOURCE_DIR) / "tests" / "scripts" / "messages";
    for (const auto& entry : fs::directory_iterator(room))
        if (entry.path().extension() == ".cases") files.push_back(read_message_file(entry.path()));
    std::sort(files.begin(), files.end(),
              [](const MessageFile& a, const MessageFile& b) { return a.path < b.path; });
    return files;
}

void write_message_file(const MessageFile& file) {
    std::ofstream out(file.path, std::ios::binary);
    out << file.comment;
    for (const MessageCase& one : file.cases)
        out << CASE << one.name << "\n" << one.script << PRINTS << "\n" << one.printed;
}

std::vector<MessageBlock> blocks_of(const std::string& report) {
    std::vector<MessageBlock> blocks;
    bool open = false;
    std::istringstream text(report);
    for (std::string line; std::getline(text, line);) {
        if (has_fill(line)) {
            const bool problem = line.front() == '#';
            blocks.push_back({headline_text(line, problem ? '#' : '='), {}, problem});
            open = true;
        } else if (line.empty()) {
            open = false;
        } else if (open) {
            blocks.back().lines.push_back(line);
        }
    }
    return blocks;
}

std::string messages_of(const std::string& report) {
    std::string text;
    for (const MessageBlock& block : blocks_of(report)) {
        if (!block.problem && !block.headline.starts_with("Execution terminating")) continue;
        text += "\n" + block.headline + "\n";
        for (const std::string& line : block.lines) text += line + "\n";
    }
    return text + "\n";
}

}  // namespace kestrane
