#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kestrane {

/// A bad script and the messages that it gets.
struct MessageCase {
    std::string name;
    std::string script;   ///< with the lines of its includes after "@@ file NAME"
    std::string printed;  ///< the blocks of messages and the closing verdict
};

/// The cases of one file, which begins with a comment. Each is "@@ case NAME", the script,
/// "@@ prints" and what is printed.
struct MessageFile {
    std::filesystem::path path;
    std::string comment;
    std::vector<MessageCase> cases;
};

std::vector<MessageFile> read_message_files();
void write_message_file(const MessageFile& file);

/// A block of a report: its headline without the fill, and the lines below it.
struct MessageBlock {
    std::string headline;
    std::vector<std::string> lines;
    bool problem = false;  ///< filled with '#'
};

/// The headed blocks of a report, in order.
std::vector<MessageBlock> blocks_of(const std::string& report);

/// The blocks of problems and the verdict that ends the run, as they are kept in a case.
std::string messages_of(const std::string& report);

}  // namespace kestrane
