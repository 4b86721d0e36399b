#include <gtest/gtest.h>

#include <random>
#include <string>

#include "frame/Errors.h"
#include "input/Keyword.h"
#include "input/Script.h"

// The keywords known in every context, met in scripts.

namespace kestrane {
namespace {

using testing::ScratchDirectory;
using testing::Script;

void read_all(Script& script) {
    Key_User user;
    user.ReadAll(script.reader);
}

TEST(GlobalKeys, AreFoundWhateverTheirCase) {
    const Key_User user;
    for (const std::string word : {"END", "end", "Eof", "INCL", "include", "INCLXYZ", "cd", "Echo",
                                   "TABS", "DEF", "DEFINE", "define"}) {
        EXPECT_NE(user.FindKey(word), nullptr) << word;
    }
    for (const std::string word : {"DE", "INC", "ENDS", "CDX", "TAB", "ECHOES", ""}) {
        EXPECT_EQ(user.FindKey(word), nullptr) << word;
    }
}

TEST(GlobalKeys, AliasesDoNotOverlap) {
    // A word that two aliases match would find either, as the tree happens to stand.
    const auto& entries = dictionary_of<Key_User>().entries();
    for (const auto& [alias, key] : entries) {
        for (const auto& [other, other_key] : entries) {
            if (key != other_key) {
                EXPECT_NE(KeyCompare(alias, other), 0) << alias << " " << other;
            }
        }
    }
}

TEST(GlobalKeys, EofEndsThePrimaryInput) {
    Script script("EOF SILLY\nSILLY");
    read_all(script);
    EXPECT_EQ(script.counts.errors, 0);
    EXPECT_EQ(script.word(), "<none>");
}

TEST(GlobalKeys, EofLeavesAnInclude) {
    const ScratchDirectory scratch;
    const std::string name = scratch.write("inner.dat", "eof\nSILLY");
    Script script("INCL '" + name + "'\nFOUND");
    read_all(script);
    EXPECT_TRUE(script.says("Now returning to standard input"));
    EXPECT_TRUE(script.says("Keyword \"FOUND\""));
    EXPECT_FALSE(script.says("Keyword \"SILLY\""));
}

TEST(GlobalKeys, IncludeDropsTheRestOfItsLine) {
    const ScratchDirectory scratch;
    const std::string name = scratch.write("inner.dat", "INSIDE");
    Script script("INCLUDE \"" + name + "\" SILLY\n");
    read_all(script);
    EXPECT_EQ(script.counts.errors, 1);
    EXPECT_TRUE(script.says("Keyword \"INSIDE\""));
}

TEST(GlobalKeys, AnIncludeThatCannotBeOpenedIsFatal) {
    Script script("\nINCL  nowhere/missing.dat");
    EXPECT_THROW(read_all(script), FatalError);
    EXPECT_TRUE(
        script.says("######  FATAL ERROR: Could not open file \"nowhere/missing.dat\"  "
                    "######\n"
                    "Problem detected at column 7 of line 2 of the standard input.\n"
                    "Most recent line: \"INCL  nowhere/missing.dat\".\n"
                    "Most recent word: \"INCL\".\n"))
        << script.printed();

    Script nameless("INCL\nx");
    EXPECT_THROW(read_all(nameless), FatalError);
    EXPECT_TRUE(nameless.says("Could not open file \"\""));
}

TEST(GlobalKeys, AnIncludeOfItselfEnds) {
    const ScratchDirectory scratch;
    const std::string name = scratch.write("self.dat", "INCL self.dat\n");
    Script script("INCL '" + name + "'");
    EXPECT_THROW(read_all(script), FatalError);
    EXPECT_EQ(script.counts.fatals, 1);
}

TEST(GlobalKeys, CdMovesTheCurrentFileAlone) {
    const ScratchDirectory scratch;
    scratch.write("sub/one.dat", "CD deeper INCL two.dat\nINCL 'two.dat'");
    scratch.write("sub/deeper/two.dat", "TWO");
    scratch.write("sub/three.dat", "THREE");
    Script script("CD '" + scratch.path() + "'\nCD sub\nINCL one.dat\nINCL three.dat\n");
    read_all(script);
    EXPECT_EQ(script.counts.fatals, 0);
    EXPECT_TRUE(script.says("Keyword \"TWO\""));
    EXPECT_TRUE(script.says("Keyword \"THREE\""));
}

TEST(GlobalKeys, EchoIsOnUnlessItsFlagSaysOff) {
    Script script("TABS 4\nECHO\nTABS 5\nECHO OFF\nTABS 6\nECHO YES\n");
    read_all(script);
    const std::string report = script.report_text.str();
    EXPECT_EQ(report.find("00001:"), std::string::npos);
    EXPECT_NE(report.find("00002:  ECHO\n00003:  TABS 5\n00004:  ECHO OFF\n00006:  ECHO YES\n"),
              std::string::npos)
        << report;
}

TEST(GlobalKeys, TabsSetTheTabWidth) {
    Script script("TABS 8\n\tA\nTABS 0\n\tB\nTABS ,\n\tC\nTABS 1e99\n\tD\n");
    read_all(script);
    EXPECT_TRUE(script.says("column 9 of line 2"));
    EXPECT_TRUE(script.says("column 2 of line 4"));
    EXPECT_TRUE(script.says("column 2 of line 6"));  // no number: nothing changes
    EXPECT_TRUE(script.says("The input value 1e+99 was replaced by 2147483647."));
    EXPECT_TRUE(script.says("column 2147483647 of line 8"));
}

TEST(GlobalKeys, DefineStoresTextForLaterLines) {
    Script script(
        "DEF X 5\nDEFINE y 'two words'\nDEF none\nDEF\nTABS ?X?\n\tA\n?Y?\n'?none?'\n?Z?\n");
    read_all(script);
    EXPECT_TRUE(script.says("Keyword \"A\""));
    EXPECT_TRUE(script.says("column 6 of line 6"));
    EXPECT_TRUE(script.says("Keyword \"two\""));
    EXPECT_FALSE(script.says("Keyword \"words\""));  // it belongs to the word before it
    EXPECT_TRUE(script.says("Keyword \"?Z?\""));
    EXPECT_EQ(script.counts.errors, 3);
}

TEST(GlobalKeys, TheErrorLimitStopsReadingAtOnce) {
    std::string text;
    for (int i = 0; i < 100; ++i) text += "SILLY\n";
    Script script(text);
    script.counts.errorLimit = 20;
    EXPECT_THROW(read_all(script), FatalError);
    EXPECT_EQ(script.counts.errors, 20);
}

TEST(GlobalKeys, RandomScriptsEndInAReport) {
    const ScratchDirectory scratch;
    scratch.write("a", "DEF A '?B? TABS'\n INCL b\nECHO\tON 'x");
    scratch.write("b", "3*4 /\nEOF\nINCL a");
    std::mt19937 random(7);
    const std::vector<std::string> likely{
        "INCL a\n", "INCL b\n", "ECHO ", "OFF\n", "DEF ",  "A ",   "B ",  "'?A?' ", "?A?", "TABS ",
        "1e9 ",     "END ",     "3* ",   ",",     "CD . ", "EOF ", "\n",  "\t",     "'",   "\"",
        "/",        ";",        "* ",    "--\n",  "\r",    "x",    "1.5", "&"};
    for (int round = 0; round < 300; ++round) {
        std::string text = "CD '" + scratch.path() + "'\n";
        for (auto n = random() % 60; n > 0; --n) {
            text += random() % 8 ? likely[random() % likely.size()]
                                 : std::string(random() % 5, static_cast<char>(random()));
        }
        Script script(text);
        script.counts.errorLimit = 20;
        try {
            read_all(script);
        } catch (const FatalError&) {
            EXPECT_TRUE(script.says("######")) << round;
        }
    }
}

}  // namespace
}  // namespace kestrane
