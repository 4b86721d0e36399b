// Links between the documents lead somewhere, and what they quote from files of the tree stands
// there.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <sstream>

#include "scripts/ProgramRun.h"

namespace kestrane {
namespace {

namespace fs = std::filesystem;

const fs::path SOURCE = KESTRANE_SOURCE_DIR;

/// The anchor that a heading gets: lower case, blanks to hyphens, other punctuation dropped.
std::string anchor_of(const std::string& heading) {
    std::string anchor;
    for (const char c : heading) {
        if (std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_')
            anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        else if (c == ' ')
            anchor += '-';
    }
    return anchor;
}

std::set<std::string> anchors_of(const fs::path& document) {
    std::set<std::string> anchors;
    std::istringstream text(file_text(document));
    for (std::string line; std::getline(text, line);) {
        const std::size_t depth = line.find_first_not_of('#');
        if (depth != std::string::npos && depth > 0 && line[depth] == ' ')
            anchors.insert(anchor_of(line.substr(depth + 1)));
    }
    return anchors;
}

/// What stands in "](...)" outside code.
std::vector<std::string> links_of(const fs::path& document) {
    const std::string text = file_text(document);
    std::vector<std::string> links;
    for (std::size_t at = text.find("]("); at != std::string::npos; at = text.find("](", at + 1))
        links.push_back(text.substr(at + 2, text.find(')', at) - at - 2));
    return links;
}

std::vector<fs::path> documents() {
    std::vector<fs::path> all{SOURCE / "README.md", SOURCE / "CONTRIBUTING.md"};
    for (const auto& entry : fs::directory_iterator(SOURCE / "doc"))
        if (entry.path().extension() == ".md") all.push_back(entry.path());
    return all;
}

TEST(Documents, LinksLeadSomewhere) {
    std::size_t links = 0;
    for (const fs::path& document : documents()) {
        for (const std::string& link : links_of(document)) {
            if (link.find("://") != std::string::npos) continue;
            ++links;
            const std::string file = link.substr(0, link.find('#'));
            const fs::path target = file.empty() ? document : document.parent_path() / file;
            EXPECT_TRUE(fs::exists(target)) << document << ": " << link;
            const std::size_t hash = link.find('#');
            if (hash == std::string::npos) continue;
            EXPECT_TRUE(anchors_of(target).contains(link.substr(hash + 1)))
                << document << ": " << link;
        }
    }
    EXPECT_GT(links, 50u);
}

// ---- quotations: the block of code below a comment "<!-- from FILE -->"

constexpr const char* FROM = "<!-- from ";

/// Without blanks before and behind.
std::string trimmed(const std::string& line) {
    const std::size_t first = line.find_first_not_of(" \t\r");
    if (first == std::string::npos) return {};
    return line.substr(first, line.find_last_not_of(" \t\r") + 1 - first);
}

/// Lines that are not blank, trimmed.
std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        if (std::string content = trimmed(line); !content.empty())
            lines.push_back(std::move(content));
    return lines;
}

struct Quotation {
    std::string file;
    std::vector<std::string> lines;  ///< "..." stands for lines left out
};

/// Reads the block of code, fenced or indented by four, that begins next.
std::vector<std::string> code_block(std::istream& text) {
    std::string line, code;
    do
        if (!std::getline(text, line)) return {};
    while (trimmed(line).empty());
    const bool fenced = line.starts_with("```");
    if (!fenced) code = line + "\n";
    while (std::getline(text, line)) {
        if (fenced ? line.starts_with("```") : !line.starts_with("    ") && !trimmed(line).empty())
            break;
        code += line + "\n";
    }
    return lines_of(code);
}

std::vector<Quotation> quotations_of(const fs::path& document) {
    std::istringstream text(file_text(document));
    std::vector<Quotation> quotations;
    for (std::string line; std::getline(text, line);) {
        if (!line.starts_with(FROM)) continue;
        const std::size_t start = std::string(FROM).size();
        const std::string file = line.substr(start, line.find(" -->") - start);
        quotations.push_back({file, code_block(text)});
    }
    return quotations;
}

/// The first line of a quotation that is not where it should be in the file's lines; empty if all
/// stand there one below the other, but for what "..." leaves out.
std::string first_missing(const Quotation& quotation, const std::vector<std::string>& file) {
    auto place = file.begin();
    for (auto line = quotation.lines.begin(); line != quotation.lines.end();) {
        const auto end = std::find(line, quotation.lines.end(), "...");
        const auto found = std::search(place, file.end(), line, end);
        if (found == file.end() && line != end) {
            // The longest beginning that the file has tells where it differs.
            auto part = end;
            while (part != line && std::search(place, file.end(), line, part) == file.end()) --part;
            return *part;
        }
        place = found + (end - line);
        line = end == quotation.lines.end() ? end : end + 1;
    }
    return {};
}

TEST(Documents, QuotationsStandInTheirFiles) {
    std::size_t quotations = 0;
    for (const fs::path& document : documents()) {
        for (const Quotation& quotation : quotations_of(document)) {
            ++quotations;
            ASSERT_TRUE(fs::exists(SOURCE / quotation.file)) << document << ": " << quotation.file;
            EXPECT_FALSE(quotation.lines.empty()) << document << ": " << quotation.file;
            EXPECT_EQ(first_missing(quotation, lines_of(file_text(SOURCE / quotation.file))), "")
                << document << " quotes this from " << quotation.file << ", where it is not";
        }
    }
    EXPECT_GT(quotations, 15u);
}

TEST(Documents, AQuotationThatDiffersIsFound) {
    const std::vector<std::string> file{"a", "b", "c", "d"};
    EXPECT_EQ(first_missing({"", {"b", "c"}}, file), "");
    EXPECT_EQ(first_missing({"", {"a", "...", "d"}}, file), "");
    EXPECT_EQ(first_missing({"", {"b", "x"}}, file), "x");
    EXPECT_EQ(first_missing({"", {"a", "c"}}, file), "c");
    EXPECT_EQ(first_missing({"", {"c", "...", "b"}}, file), "b");
    EXPECT_EQ(first_missing({"", {"a", "...", "x"}}, file), "x");
}

}  // namespace
}  // namespace kestrane
