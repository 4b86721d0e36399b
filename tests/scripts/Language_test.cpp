// The reference of the language lists what the program knows, no more and no less, and its examples
// run. To make its tables anew after a change of the program's data: tools/make-reference-tables.

#include <cxxabi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <typeinfo>

#include "input/KeyCensus.h"
#include "scripts/ProgramRun.h"
#include "scripts/ReferenceTables.h"
#include "scripts/ReferenceText.h"
#include "scripts/ScriptWords.h"

namespace kestrane {
namespace {

namespace fs = std::filesystem;

const fs::path DOCUMENTS = fs::path(KESTRANE_SOURCE_DIR) / "doc";

// ---- contexts of the program

void remove_all(std::string& text, const std::string& part) {
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part))
        text.erase(at, part.size());
}

/// The key's type without namespaces and blanks: UserKey<UserCmd<Charz_User,LBC_Data>,...>.
std::string type_of(const CmdKey& key) {
    int status = 0;
    char* demangled = abi::__cxa_demangle(typeid(key).name(), nullptr, nullptr, &status);
    std::string text = demangled ? demangled : "";
    std::free(demangled);
    remove_all(text, "kestrane::");
    remove_all(text, "(anonymous namespace)::");
    remove_all(text, " ");
    return text;
}

/// What stands between the outermost angle brackets, up to the first comma among them.
std::string first_argument(const std::string& type) {
    const std::size_t begin = type.find('<') + 1;
    int depth = 0;
    for (std::size_t i = begin; i < type.size(); ++i) {
        if (type[i] == '<') ++depth;
        if (type[i] == '>') --depth;
        if (depth == 0 && type[i] == ',') return type.substr(begin, i - begin);
    }
    return {};
}

/// Classes that read words of their own, with the names that the reference gives them.
const std::map<std::string, std::string> CLASS_CONTEXTS{
    {"Key_User", "anywhere"},      {"EOS_User", "equation"},         {"Charz_User", "fluids"},
    {"EOSLab", "laboratory"},      {"Charzation", "block of CHAR&"}, {"PVTzExpt", "experiment"},
    {"PVTzEXPA", "expansion"},     {"PVTzGSEG", "segregation"},      {"Sep", "block of SEP&"},
    {"Process", "block of PROC&"}, {"Stage", "stage or product"},    {"SepStage", "stage"}};

/// Keys by what their commands are called: UserCmd for UserKey.
using Keys = std::map<std::string, const CmdKey*>;

Keys all_keys() {
    Keys keys;
    for (const CmdKey* key : registered_keys()) {
        std::string command = type_of(*key);
        command.replace(0, std::string("UserKey").size(), "UserCmd");
        keys[command] = key;
    }
    return keys;
}

/// The name of a context: the words that lead to it from the top of a script.
std::string context_name(const std::string& owner, const Keys& keys) {
    const auto known = CLASS_CONTEXTS.find(owner);
    if (known != CLASS_CONTEXTS.end()) return known->second;
    const auto command = keys.find(owner);
    if (command == keys.end()) return "class " + owner;
    const std::string parent = first_argument(owner);
    const std::string word = command->second->aliases.front();
    static const std::set<std::string> TOP{"EOSLab", "Charz_User", "EOS_User"};
    return TOP.contains(parent) ? word : context_name(parent, keys) + " " + word;
}

using WordLists = std::set<std::vector<std::string>>;

std::map<std::string, WordLists> words_of_program() {
    const Keys keys = all_keys();
    std::map<std::string, WordLists> contexts;
    for (const CmdKey* key : registered_keys())
        contexts[context_name(first_argument(type_of(*key)), keys)].insert(key->aliases);
    return contexts;
}

// ---- contexts of the reference

constexpr const char* WORDS = "<!-- words: ";
constexpr const char* WORDS_END = "<!-- end of words -->";

std::map<std::string, WordLists> words_of_reference() {
    std::istringstream text(reference_text("language.md"));
    std::map<std::string, WordLists> contexts;
    std::vector<std::string> current;
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with(WORDS)) current = listed_in_comment(line);
        if (line == WORDS_END) current.clear();
        if (!line.starts_with("| `")) continue;
        for (const std::string& context : current) contexts[context].insert(first_cell_words(line));
    }
    return contexts;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += " " + word;
    return text;
}

TEST(Language, ReferenceListsEveryKeywordWithItsAliases) {
    const auto program = words_of_program();
    auto reference = words_of_reference();
    ASSERT_GT(program.size(), 20u);
    for (const auto& [context, lists] : program) {
        ASSERT_FALSE(context.starts_with("class ")) << context << " needs a name";
        for (const auto& words : lists)
            EXPECT_TRUE(reference[context].contains(words))
                << "doc/language.md lacks, in \"" << context << "\":" << joined(words);
    }
}

TEST(Language, ReferenceListsNothingElse) {
    auto program = words_of_program();
    for (const auto& [context, lists] : words_of_reference())
        for (const auto& words : lists)
            EXPECT_TRUE(program[context].contains(words))
                << "the program lacks, in \"" << context << "\":" << joined(words);
}

// ---- examples

/// A directory with the files that examples name, removed afterwards.
class ExampleDirectory {
public:
    ExampleDirectory() {
        std::string pattern = (fs::temp_directory_path() / "examples-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary directory");
        path = pattern;
        fs::copy(fs::path(KESTRANE_SOURCE_DIR) / "examples", path / "examples");
    }
    ~ExampleDirectory() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    ExampleDirectory(const ExampleDirectory&) = delete;
    ExampleDirectory& operator=(const ExampleDirectory&) = delete;
    fs::path path;
};

TEST(Language, ExamplesRunWithoutError) {
    const ExampleDirectory directory;
    auto scripts = examples_of("language.md");
    ASSERT_GT(scripts.size(), 10u);
    for (const char* other : {"guide.md", "theory.md"})
        for (std::string& script : examples_of(other)) scripts.push_back(std::move(script));
    for (const std::string& script : scripts) {
        const ProgramRun run = run_program(directory.path, {}, script);
        EXPECT_EQ(run.exit_status, 0) << script << run.output;
        EXPECT_NE(run.output.find("Execution terminating normally"), std::string::npos)
            << script << run.output;
        for (const char* trouble : {"ERROR", "WARNING"})
            EXPECT_EQ(run.output.find(trouble), std::string::npos) << script << run.output;
    }
}

TEST(Language, NumbersOfTheTheoryAreThoseOfTheReport) {
    // Worked out apart from the program, and printed in the text beside the example.
    const std::string theory = file_text(DOCUMENTS / "theory.md");
    const auto scripts = examples_of("theory.md");
    ASSERT_EQ(scripts.size(), 1u);
    const ProgramRun run = run_program(fs::temp_directory_path(), {}, scripts.front());
    for (const char* number : {"0.83376", "77.141", "0.013698", "-0.302381"}) {
        EXPECT_NE(run.output.find(number), std::string::npos) << number << run.output;
        EXPECT_NE(theory.find(number), std::string::npos) << number;
    }
}

TEST(Language, EveryKeywordOccursInAnExample) {
    std::set<std::string> words;
    for (const std::string& script : examples_of("language.md")) add_words(script, words);
    for (const auto& [command, key] : all_keys()) {
        const bool found = std::any_of(words.begin(), words.end(),
                                       [&k = *key](const auto& word) { return k.matches(word); });
        EXPECT_TRUE(found) << "no example of" << joined(key->aliases);
    }
}

// ---- tables

TEST(Language, TablesAreThoseOfTheProgram) {
    int tables = 0;
    for (const char* name : {"tables.md", "experiment-columns.md"}) {
        const std::string kept = file_text(DOCUMENTS / name);
        const std::string current = with_current_tables(kept);
        for (std::size_t at = kept.find("<!-- table: "); at != std::string::npos;
             at = kept.find("<!-- table: ", at + 1))
            ++tables;
        if (std::getenv("KESTRANE_UPDATE_TABLES"))
            std::ofstream(DOCUMENTS / name, std::ios::binary) << current;
        else
            EXPECT_EQ(kept, current) << name << " is out of date: run tools/make-reference-tables";
    }
    EXPECT_GT(tables, 10);
}

TEST(Language, TablesNeverMissAnExperimentColumn) {
    const std::string text = file_text(DOCUMENTS / "experiment-columns.md");
    std::istringstream rows(reference_table("experiment columns STG NFV&"));
    int count = 0;
    for (std::string row; std::getline(rows, row);) {
        if (!row.starts_with("| `")) continue;
        ++count;
        EXPECT_NE(text.find(row + "\n"), std::string::npos) << row;
    }
    EXPECT_GT(count, 170);
}

}  // namespace
}  // namespace kestrane
