// Words of the language that are no keywords of a dictionary, but stand behind keywords or name
// something of the program's own: policies, targets of modifiers, words of an experiment's
// saturation pressure, reserved mixtures. The reference lists them all, and an example or a table
// of options has each of them run.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "input/Keyword.h"
#include "scripts/ProgramRun.h"
#include "scripts/ReferenceText.h"
#include "scripts/ScriptWords.h"

namespace kestrane {
namespace {

namespace fs = std::filesystem;

const fs::path SOURCES = fs::path(KESTRANE_SOURCE_DIR) / "src";

/// Sources whose words stand in tables of their own: the library, columns, units.
const std::set<std::string> TABLES{"LibraryData.cpp", "ExptCatalogue.cpp", "ComponentHeads.cpp",
                                   "Units.cpp"};

/// Texts of the program that look like words of the language but are none.
const std::map<std::string, std::string> OTHER_TEXTS{
    {"BP", "a point's type in black oil tables"},
    {"DP", "a point's type in black oil tables"},
    {"N/A", "a point's type in black oil tables"},
    {"IMM", "a mechanism, printed"},
    {"VGD", "a mechanism, printed"},
    {"CGD", "a mechanism, printed"},
    {"C/V", "a mechanism, printed"},
    {"FCM", "a mechanism, printed"},
    {"MW", "part of a printed name"},
    {"EQL", "a phase's mixture, found or printed"},
    {"EQV", "a phase's mixture, found or printed"},
    {"NFL", "a phase's mixture, found or printed"},
    {"NFV", "a phase's mixture, found or printed"},
    {"N-C&", "names of normal paraffins: see the library's table"},
    {"Q&", "how QMIX and QIX are told from MIX"},
    {"REP", "the verb that CHUEH acts with"}};

/// The text without comments at line ends and without keys of dictionaries.
std::string without_keys(const std::string& text) {
    static const std::regex comments("//[^\n]*"), keys("\\w+_key\\{[^{}]*\\}");
    return std::regex_replace(std::regex_replace(text, comments, ""), keys, "");
}

/// Upper-case literals of the sources, but those that only look something up or print it.
std::set<std::string> words_of_sources() {
    static const std::regex literal("\"([A-Z][A-Z0-9/-]*&?)\"");
    static const std::regex no_word(
        "(Block|find_product|find_mixture|stream_column|\\.find|make_dyn<Tank>|unit_of)\\($|"
        "unit_of\\([^()]*,\\s*$|\\+\\s*$");
    std::set<std::string> words;
    for (const auto& entry : fs::recursive_directory_iterator(SOURCES)) {
        const fs::path& path = entry.path();
        if (!entry.is_regular_file() || TABLES.contains(path.filename().string())) continue;
        if (path.parent_path().filename() == "frame") continue;
        const std::string text = without_keys(file_text(path));
        for (std::sregex_iterator at(text.begin(), text.end(), literal), end; at != end; ++at) {
            constexpr std::ptrdiff_t REACH = 60;
            const std::ptrdiff_t start = std::max<std::ptrdiff_t>(0, at->position() - REACH);
            const std::string before(text.begin() + start, text.begin() + at->position());
            if (!std::regex_search(before, no_word)) words.insert((*at)[1]);
        }
    }
    for (const auto& [text, reason] : OTHER_TEXTS) words.erase(text);
    return words;
}

/// Words in backquotes in the first cells of the reference's tables, between two lines of it if
/// they are given.
std::set<std::string> words_of_tables(const std::string& begin = {}, const std::string& end = {}) {
    std::istringstream text(reference_text("language.md"));
    std::set<std::string> words;
    bool within = begin.empty();
    for (std::string line; std::getline(text, line);) {
        if (!begin.empty() && line == begin) within = true;
        if (!end.empty() && line == end) within = false;
        if (!within || !line.starts_with("| `")) continue;
        for (std::string& word : first_cell_words(line)) words.insert(std::move(word));
    }
    return words;
}

std::set<std::string> option_words() {
    return words_of_tables("<!-- option words -->", "<!-- end of option words -->");
}

TEST(OptionWords, ReferenceHasThemAll) {
    const auto listed = words_of_tables();
    const auto words = words_of_sources();
    ASSERT_GT(words.size(), 90u);
    for (const std::string& word : words)
        EXPECT_TRUE(listed.contains(word)) << "doc/language.md lacks `" << word
                                           << "`, a word of the program that no dictionary has";
}

TEST(OptionWords, ReferenceListsNothingElse) {
    const auto words = words_of_sources();
    const auto listed = option_words();
    ASSERT_GT(listed.size(), 80u);
    for (const std::string& word : listed)
        EXPECT_TRUE(words.contains(word)) << "no source has the option word " << word;
}

TEST(OptionWords, EachIsRun) {
    std::set<std::string> words;
    for (const std::string& script : examples_of("language.md")) add_words(script, words);
    for (const OptionScript& script : option_scripts()) add_words(script.text, words);
    for (const std::string& option : option_words()) {
        const Keyword word{option.c_str()};
        EXPECT_TRUE(std::any_of(words.begin(), words.end(),
                                [&](const std::string& typed) { return word.matches(typed); }))
            << "no example and no table of options has " << option;
    }
}

TEST(OptionWords, TablesOfOptionsRun) {
    std::size_t words = 0;
    for (const OptionScript& script : option_scripts()) {
        words += script.words;
        const ProgramRun run = run_program(fs::temp_directory_path(), {}, script.text);
        EXPECT_EQ(run.exit_status, 0) << script.text << run.output;
        EXPECT_EQ(run.output.find("ERROR"), std::string::npos) << script.text << run.output;
    }
    EXPECT_GT(words, 35u);
}

/// What the patterns run with a word that is no option must be an error, or they would prove
/// nothing.
TEST(OptionWords, PatternsTellWhatIsNoOption) {
    for (const OptionScript& script : option_scripts("XYZZY")) {
        const ProgramRun run = run_program(fs::temp_directory_path(), {}, script.text);
        EXPECT_NE(run.output.find("ERROR"), std::string::npos) << script.text << run.output;
    }
}

}  // namespace
}  // namespace kestrane
