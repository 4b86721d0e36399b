// Every text that the program can say is met by a case, or it is known why not; and the document of
// messages tells what the program says, all of it and nothing else.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "scripts/MessageCases.h"
#include "scripts/MessageTexts.h"
#include "scripts/ProgramRun.h"

namespace kestrane {
namespace {

namespace fs = std::filesystem;

const fs::path SCRIPTS = fs::path(KESTRANE_SOURCE_DIR) / "tests" / "scripts";

/// What the cases print, and the messages of the scripts that hold nothing but errors.
std::string printed_messages() {
    std::string text;
    for (const MessageFile& file : read_message_files())
        for (const MessageCase& one : file.cases) text += one.printed;
    for (const auto& entry : fs::directory_iterator(SCRIPTS / "errors"))
        if (entry.path().extension() == ".out") text += messages_of(file_text(entry.path()));
    return text;
}

/// The kept reports without their messages: titles, tables, notes.
std::string report_texts() {
    std::string text;
    for (const auto& entry : fs::recursive_directory_iterator(SCRIPTS)) {
        if (entry.path().extension() != ".out") continue;
        bool message = false;
        std::istringstream report(file_text(entry.path()));
        for (std::string line; std::getline(report, line);) {
            if (line.starts_with("######  "))
                message = true;
            else if (line.empty())
                message = false;
            if (!message) text += line + "\n";
        }
    }
    return text;
}

/// Texts that no case meets, with the reason: "text | reason" in each line.
std::map<std::string, std::string> unmet_texts() {
    std::map<std::string, std::string> unmet;
    std::istringstream text(file_text(SCRIPTS / "messages" / "unmet.txt"));
    for (std::string line; std::getline(text, line);) {
        const std::size_t bar = line.find(" | ");
        if (!line.starts_with("#") && bar != std::string::npos)
            unmet[line.substr(0, bar)] = line.substr(bar + 3);
    }
    return unmet;
}

bool holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(MessageTexts, AreFoundInASource) {
    const auto texts = texts_of("#include \"a b\"\n// \"no text\"\nf(\"Two \\\"words\\\" \"\n"
                                "  \"joined.\", 'x', \"one\", \"a line\\nand another\", 1'000);\n",
                                "a.cpp");
    std::vector<std::string> found;
    for (const SourceText& text : texts) found.push_back(text.place + " " + text.text);
    EXPECT_EQ(found, (std::vector<std::string>{"a.cpp:3 Two \"words\" joined", "a.cpp:4 a line",
                                               "a.cpp:4 and another"}));
}

TEST(MessageTexts, AllAreMetByACase) {
    const std::string printed = printed_messages();
    const std::string reports = report_texts();
    const auto unmet = unmet_texts();
    std::set<std::string> idle;
    for (const auto& [text, reason] : unmet) idle.insert(text);
    std::size_t met = 0;
    for (const SourceText& source : source_texts()) {
        if (unmet.contains(source.text)) {
            idle.erase(source.text);
            EXPECT_FALSE(holds(printed, source.text)) << "met, after all: " << source.text;
        } else if (holds(printed, source.text)) {
            ++met;
        } else {
            EXPECT_TRUE(holds(reports, source.text))
                << source.place << " no case prints: " << source.text;
        }
    }
    EXPECT_TRUE(idle.empty()) << "no text of the sources: " << *idle.begin();
    EXPECT_GT(met, 200u);
}

/// A message of the document: its kind, and its text as a pattern for what is printed.
struct Described {
    std::string text;
    std::regex pattern;
};

std::string escaped(const std::string& text) {
    static const std::regex special(R"re([.^$|()\[\]{}*+?\\])re");
    return std::regex_replace(text, special, R"(\$&)");
}

/// Without the full stops of sentences, which depend on the place in a block.
std::string without_stops(const std::string& text) {
    static const std::regex stop(R"re(\.( |$))re");
    return std::regex_replace(text, stop, "$1");
}

std::regex pattern_of(const std::string& message) {
    std::string pattern;
    std::size_t at = 0;
    for (std::size_t dots; (dots = message.find("...", at)) != std::string::npos; at = dots + 3)
        pattern += escaped(without_stops(message.substr(at, dots - at))) + ".*";
    return std::regex(pattern + escaped(without_stops(message.substr(at))));
}

/// In the first cells of the tables " / " parts messages, and "..." stands for what varies.
std::vector<Described> described_messages() {
    std::vector<Described> all;
    std::istringstream text(file_text(fs::path(KESTRANE_SOURCE_DIR) / "doc" / "messages.md"));
    for (std::string line; std::getline(text, line);) {
        if (!line.starts_with("| ") || line.starts_with("| message ")) continue;
        std::string cell = line.substr(2, line.find(" | ") - 2) + " / ";
        for (std::size_t at; (at = cell.find(" / ")) != std::string::npos; cell.erase(0, at + 3)) {
            const std::string message = cell.substr(0, at);
            all.push_back({message, pattern_of(message)});
        }
    }
    return all;
}

/// The block as one line, without its kind and the lines that tell the place.
std::string statement(const MessageBlock& block) {
    static const std::regex place(
        R"re( at (column \d+ of )?line \d+ of the |^Most recent |keyword ".*" \(line \d+)re");
    static const std::regex kind("^(FATAL ERROR|ERROR|WARNING|NOTE)(: |$)");
    std::string text = std::regex_replace(block.headline, kind, "");
    for (const std::string& line : block.lines)
        if (!std::regex_search(line, place)) text += (text.empty() ? "" : " ") + line;
    return without_stops(text);
}

std::vector<std::string> statements() {
    std::vector<std::string> all;
    std::istringstream text(printed_messages());
    MessageBlock block;
    const auto finish = [&] {
        if (!block.headline.empty()) all.push_back(statement(block));
        block = {};
    };
    for (std::string line; std::getline(text, line);) {
        if (line.empty())
            finish();
        else if (block.headline.empty())
            block.headline = line;
        else
            block.lines.push_back(line);
    }
    finish();
    return all;
}

std::set<std::string> notes() {
    std::set<std::string> all;
    for (const auto& entry : fs::recursive_directory_iterator(SCRIPTS)) {
        if (entry.path().extension() != ".out") continue;
        for (const MessageBlock& block : blocks_of(file_text(entry.path())))
            if (block.headline.starts_with("NOTE")) all.insert(statement(block));
    }
    return all;
}

TEST(MessageDocument, TellsNothingThatIsNotSaid) {
    std::set<std::string> said = notes();
    for (const std::string& text : statements()) said.insert(text);
    const auto unmet = unmet_texts();
    for (const Described& message : described_messages()) {
        const auto matches = [&](const std::string& text) {
            return std::regex_search(text, message.pattern);
        };
        const bool known = std::ranges::any_of(said, matches) ||
                           std::ranges::any_of(unmet, [&](const auto& entry) {
                               return holds(message.text, entry.first);
                           });
        EXPECT_TRUE(known) << message.text;
    }
}

TEST(MessageDocument, TellsAllThatIsSaid) {
    const std::vector<Described> described = described_messages();
    for (const std::string& text : statements()) {
        const bool told = std::ranges::any_of(described, [&](const Described& message) {
            return std::regex_search(text, message.pattern);
        });
        EXPECT_TRUE(told) << text;
    }
    const std::string document =
        file_text(fs::path(KESTRANE_SOURCE_DIR) / "doc" / "messages.md");
    for (const auto& [text, reason] : unmet_texts()) {
        if (!reason.starts_with("no message")) {
            EXPECT_TRUE(holds(document, text)) << text;
        }
    }
}

}  // namespace
}  // namespace kestrane
