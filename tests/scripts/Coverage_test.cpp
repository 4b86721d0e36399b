// Every keyword of the language occurs in some script of the tests or the examples.

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "input/UserCmd.h"
#include "lab/EOSLab.h"
#include "scripts/ProgramRun.h"
#include "scripts/ScriptWords.h"

namespace kestrane {
namespace {

namespace fs = std::filesystem;

std::set<std::string> words_of_all_scripts() {
    std::set<std::string> words;
    for (const char* place : {"tests/scripts", "examples"}) {
        for (const auto& entry :
             fs::recursive_directory_iterator(fs::path(KESTRANE_SOURCE_DIR) / place)) {
            if (entry.path().extension() != ".in" && entry.path().extension() != ".dat") continue;
            add_words(file_text(entry.path()), words);
        }
    }
    return words;
}

void expect_covered(const CmdDictionary& dictionary, const std::set<std::string>& words) {
    for (const auto& [alias, key] : dictionary.entries()) {
        const bool found = std::any_of(words.begin(), words.end(),
                                       [&](const std::string& word) { return key->matches(word); });
        EXPECT_TRUE(found) << "no script uses keyword " << alias;
    }
}

TEST(Coverage, EveryKeywordOccursInAScript) {
    const std::set<std::string> words = words_of_all_scripts();
    expect_covered(dictionary_of<Key_User>(), words);
    expect_covered(dictionary_of<EOS_User>(), words);
    expect_covered(dictionary_of<Charzation>(), words);
    expect_covered(dictionary_of<Charz_User>(), words);
    expect_covered(dictionary_of<EOSLab>(), words);
}

}  // namespace
}  // namespace kestrane
