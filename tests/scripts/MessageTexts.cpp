#include "scripts/MessageTexts.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <regex>
#include <sstream>

#include "scripts/ProgramRun.h"

namespace kestrane {

namespace fs = std::filesystem;

namespace {

/// Tables of names; none of them says anything. Neither do patterns of headings (with "?") and lines
/// of tables in files (with tabs).
constexpr std::array NAMES{"ExptCatalogue.cpp", "ComponentHeads.cpp", "LibraryData.cpp",
                           "SolverStats.h"};

std::size_t end_of(const std::string& source, const std::string& mark, std::size_t from) {
    const std::size_t at = source.find(mark, from);
    return at == std::string::npos ? source.size() : at + mark.size();
}

/// One past a literal in the given quotes that begins at `at`.
std::size_t end_of_literal(const std::string& source, std::size_t at) {
    const char quote = source[at];
    for (++at; at < source.size() && source[at] != quote; ++at)
        if (source[at] == '\\') ++at;
    return at + 1;
}

/// Where the next comment, directive or literal begins, and where it ends.
struct Token {
    std::size_t begin, end;
    bool text;
};

Token next_token(const std::string& source, std::size_t at) {
    for (; at < source.size(); ++at) {
        const char c = source[at];
        if (source.compare(at, 2, "//") == 0) return {at, end_of(source, "\n", at), false};
        if (source.compare(at, 2, "/*") == 0) return {at, end_of(source, "*/", at), false};
        if (c == '#' && (at == 0 || source[at - 1] == '\n'))
            return {at, end_of(source, "\n", at), false};
        const bool separator = c == '\'' && at > 0 && std::isdigit(source[at - 1]);
        if (c == '"' || (c == '\'' && !separator))
            return {at, end_of_literal(source, at), c == '"'};
    }
    return {source.size(), source.size(), false};
}

std::string unescaped(const std::string& literal) {
    std::string text;
    for (std::size_t i = 0; i < literal.size(); ++i) {
        if (literal[i] != '\\') {
            text += literal[i];
            continue;
        }
        const char c = literal[++i];
        text += c == 'n' ? '\n' : c == 't' ? '\t' : c;
    }
    return text;
}

std::string trimmed(const std::string& line) {
    const std::size_t first = line.find_first_not_of(' ');
    if (first == std::string::npos) return {};
    std::string text = line.substr(first, line.find_last_not_of(' ') - first + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

void add_lines(const std::string& literal, const std::string& place,
               std::vector<SourceText>& texts) {
    static const std::regex words("[A-Za-z]\\S* +\\S*[A-Za-z]");
    std::istringstream lines(unescaped(literal));
    for (std::string line; std::getline(lines, line);)
        if (std::regex_search(line, words) && line.find_first_of("?\t") == std::string::npos)
            texts.push_back({place, trimmed(line)});
}

}  // namespace

std::vector<SourceText> texts_of(const std::string& source, const std::string& name) {
    std::vector<SourceText> texts;
    std::string literal;
    std::size_t literal_end = 0;
    std::string place;
    const auto finish = [&] {
        add_lines(literal, place, texts);
        literal.clear();
    };
    for (Token token = next_token(source, 0); token.begin < source.size();
         token = next_token(source, token.end)) {
        if (!token.text) continue;
        const auto gap = source.begin() + static_cast<std::ptrdiff_t>(literal_end);
        const auto begin = source.begin() + static_cast<std::ptrdiff_t>(token.begin);
        // Literals with nothing between them are one.
        if (!std::all_of(gap, begin, [](unsigned char c) { return std::isspace(c); })) {
            finish();
            place = name + ":" + std::to_string(std::count(source.begin(), begin, '\n') + 1);
        }
        literal += source.substr(token.begin + 1, token.end - token.begin - 2);
        literal_end = token.end;
    }
    finish();
    return texts;
}

std::vector<SourceText> source_texts() {
    std::vector<SourceText> all;
    const fs::path sources = fs::path(KESTRANE_SOURCE_DIR) / "src";
    for (const auto& entry : fs::recursive_directory_iterator(sources)) {
        const std::string name = entry.path().filename().string();
        if (!entry.is_regular_file() || std::ranges::find(NAMES, name) != NAMES.end()) continue;
        for (SourceText& text :
             texts_of(file_text(entry.path()), fs::relative(entry.path(), sources).string()))
            all.push_back(std::move(text));
    }
    return all;
}

}  // namespace kestrane
