#include "input/Keyword.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/Errors.h"
#include "input/Heading.h"

namespace kestrane {
namespace {

TEST(KeyCompare, CaseDoesNotCount) {
    EXPECT_EQ(KeyCompare("Temp", "tEMP"), 0);
    EXPECT_EQ(KeyCompare("", ""), 0);
    EXPECT_EQ(KeyCompare("END", "ENDS"), -'S');
    EXPECT_EQ(KeyCompare("ENDS", "end"), 'S');
    EXPECT_EQ(KeyCompare("a", "B"), -1);
    EXPECT_EQ(KeyCompare("_", "a"), '_' - 'A');  // folded to upper case, so "_" comes behind
}

TEST(KeyCompare, AFinalAmpersandMatchesAnyTail) {
    for (const char* word : {"INCL", "incl", "Include", "INCLXYZ", "INCL&"}) {
        EXPECT_EQ(KeyCompare("INCL&", word), 0) << word;
        EXPECT_EQ(KeyCompare(word, "INCL&"), 0) << word;
    }
    EXPECT_LT(KeyCompare("INC", "INCL&"), 0);
    EXPECT_GT(KeyCompare("INCL&", "INC"), 0);
    EXPECT_EQ(KeyCompare("&", ""), 0);
    EXPECT_EQ(KeyCompare("&", "anything"), 0);
}

TEST(KeyCompare, AnAmpersandElsewhereIsACharacter) {
    EXPECT_EQ(KeyCompare("A&B", "A&B"), 0);
    EXPECT_LT(KeyCompare("A&B", "AXB"), 0);
    // Equal up to an ampersand that ends one of them.
    EXPECT_EQ(KeyCompare("A&", "A&B"), 0);
    EXPECT_EQ(KeyCompare("A&B", "A&"), 0);
    EXPECT_EQ(KeyCompare("A&B&", "A&BCD"), 0);
}

TEST(KeyCompare, BytesCompareUnsigned) {
    EXPECT_EQ(KeyCompare("\xff", "a"), 255 - 'A');
    EXPECT_EQ(KeyCompare("\xc3\xa9", "\xc3\x89"), 0xa9 - 0x89);  // only ASCII letters fold
}

TEST(KeyCompare, NullStringsComeLast) {
    const char* const none = nullptr;
    EXPECT_EQ(KeyCompare(none, none), 0);
    EXPECT_EQ(KeyCompare("x", none), 256);
    EXPECT_EQ(KeyCompare(none, "x"), -256);
}

TEST(Keyword, MatchesAnyAlias) {
    const Keyword keyword{"PROP&", "TABLE"};
    EXPECT_TRUE(keyword.matches("properties"));
    EXPECT_TRUE(keyword.matches("Table"));
    EXPECT_FALSE(keyword.matches("tables"));
    EXPECT_FALSE(keyword.matches("PRO"));
}

TEST(KeyDictionary, AWordFindsAtMostOneEntry) {
    CmdDictionary dictionary;
    const CmdKey props{"PROP&"};
    const CmdKey define{"DEF&"};
    const CmdKey depth{"DEPTH"};
    const CmdKey end{"END"};
    for (const CmdKey* key : {&props, &define, &depth, &end}) Register(dictionary, *key);
    EXPECT_EQ(dictionary.find("PROPERTIES"), &props);
    EXPECT_EQ(dictionary.find("define"), &define);
    EXPECT_EQ(dictionary.find("DEF"), &define);
    EXPECT_EQ(dictionary.find("DE"), nullptr);
    EXPECT_EQ(dictionary.find("DEG"), nullptr);
    EXPECT_EQ(dictionary.find("Depth"), &depth);
    EXPECT_EQ(dictionary.find("ENDS"), nullptr);
    EXPECT_EQ(dictionary.find(""), nullptr);
    EXPECT_EQ(dictionary.find("ZZZ"), nullptr);
}

TEST(KeyDictionary, LookupHoldsAmongManyWildcards) {
    // A word's place among aliases with tails, for every combination of two letters.
    CmdDictionary dictionary;
    std::vector<CmdKey> keys;
    keys.reserve(26u * 26u);
    for (char a = 'A'; a <= 'Z'; ++a) {
        for (char b = 'A'; b <= 'Z'; ++b) {
            keys.push_back(CmdKey(std::vector<std::string>{std::string{a, b, '&'}}));
            Register(dictionary, keys.back());
        }
    }
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const std::string stem = keys[i].aliases[0].substr(0, 2);
        EXPECT_EQ(dictionary.find(stem), &keys[i]);
        EXPECT_EQ(dictionary.find(stem + "zz&q"), &keys[i]);
        EXPECT_EQ(dictionary.find(stem.substr(0, 1)), nullptr);
    }
}

TEST(Register, ADuplicateAliasIsFatal) {
    CmdDictionary dictionary;
    const CmdKey first{"TEMP&", "TE&"};  // one keyword's own aliases may overlap
    const CmdKey second{"temperature"};
    Register(dictionary, first);
    ::testing::internal::CaptureStderr();
    EXPECT_THROW(Register(dictionary, second), FatalError);
    const std::string printed = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(printed.find("######  FATAL ERROR: Duplicate keyword \"temperature\"  ######"),
              std::string::npos)
        << printed;
    EXPECT_EQ(dictionary.find("TEMP"), &first);
}

TEST(Heading, BestNameIsTheFirstThatFits) {
    const Heading heading{"Temperature", "Temp", "T"};
    EXPECT_EQ(heading.BestName(20), "Temperature");
    EXPECT_EQ(heading.BestName(11), "Temperature");
    EXPECT_EQ(heading.BestName(10), "Temp");
    EXPECT_EQ(heading.BestName(3), "T");
    EXPECT_EQ(heading.BestName(0), "T");
    EXPECT_EQ(heading.BestName(-1), "Temperature");
    EXPECT_EQ(Heading{}.BestName(-1), "");
}

}  // namespace
}  // namespace kestrane
