#include "scripts/ReferenceText.h"

#include <sstream>

#include "scripts/ProgramRun.h"

namespace kestrane {

namespace {

/// A fluid, for options that need one.
constexpr const char* FLUID =
    "CHAR\nNAME MW TC(K) PC(bar) AF\nC1\nN-C4\nEND\nEND\n"
    "QMIX FEED C1 0.5 N-C4 0.5\nTEMP 300 K\nPRES 20 bar\n";

void replace_all(std::string& text, const std::string& part, const std::string& by) {
    for (std::size_t at = text.find(part); at != std::string::npos;
         at = text.find(part, at + by.size()))
        text.replace(at, part.size(), by);
}

std::string filled(std::string pattern, std::string word) {
    if (word.ends_with('&')) word.pop_back();
    replace_all(pattern, "@", word);
    replace_all(pattern, " // ", "\n");
    return pattern + "\n";
}

}  // namespace

std::string reference_text(const std::string& document) {
    return file_text(std::filesystem::path(KESTRANE_SOURCE_DIR) / "doc" / document);
}

std::vector<std::string> first_cell_words(const std::string& row) {
    const std::string cell = row.substr(0, row.find(" |", 1));
    std::vector<std::string> words;
    for (std::size_t at = cell.find('`'); at != std::string::npos; at = cell.find('`', at)) {
        const std::size_t end = cell.find('`', at + 1);
        words.push_back(cell.substr(at + 1, end - at - 1));
        at = end + 1;
    }
    return words;
}

std::vector<std::string> listed_in_comment(const std::string& comment) {
    const std::size_t start = comment.find(": ") + 2;
    std::istringstream text(comment.substr(start, comment.find(" -->") - start));
    std::vector<std::string> names;
    for (std::string name; std::getline(text >> std::ws, name, ';');) names.push_back(name);
    return names;
}

std::vector<std::string> examples_of(const std::string& document) {
    std::istringstream text(reference_text(document));
    std::vector<std::string> scripts;
    bool within = false;
    for (std::string line; std::getline(text, line);) {
        const bool begins = line == "```kestrane run";
        if (begins) scripts.emplace_back();
        if (within && line == "```") within = false;
        if (within) scripts.back() += line + "\n";
        within = within || begins;
    }
    return scripts;
}

std::vector<OptionScript> option_scripts(const std::string& word) {
    std::istringstream text(reference_text("language.md"));
    std::vector<OptionScript> scripts;
    std::vector<std::string> patterns;
    std::size_t first = 0;
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with("<!-- options: ")) {
            patterns = listed_in_comment(line);
            first = scripts.size();
            for (const std::string& pattern : patterns)
                scripts.push_back({FLUID + (word.empty() ? "" : filled(pattern, word)), 0});
        }
        if (line == "<!-- end of options -->") patterns.clear();
        if (line.starts_with("<!-- run: ") && word.empty())
            scripts.push_back({FLUID + filled(listed_in_comment(line).front(), ""), 0});
        if (patterns.empty() || !word.empty() || !line.starts_with("| `")) continue;
        for (const std::string& option : first_cell_words(line)) {
            for (std::size_t i = 0; i < patterns.size(); ++i) {
                scripts[first + i].text += filled(patterns[i], option);
                ++scripts[first + i].words;
            }
        }
    }
    return scripts;
}

}  // namespace kestrane
