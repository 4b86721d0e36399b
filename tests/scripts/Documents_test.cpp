// Links between the documents lead somewhere.

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

}  // namespace
}  // namespace kestrane
