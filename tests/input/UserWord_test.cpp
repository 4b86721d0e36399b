#include "input/UserWord.h"

#include <gtest/gtest.h>

namespace kestrane {
namespace {

TEST(UserWord, NineCharactersAreSignificant) {
    const UserWord eleven("Reservoir01");
    const UserWord twelve("RESERVOIR999");
    const UserWord nine("reservoir");
    const UserWord eight("reservoi");
    EXPECT_TRUE(eleven == twelve);
    EXPECT_TRUE(eleven == nine);
    EXPECT_TRUE(nine == twelve);
    EXPECT_FALSE(eight == nine);
    EXPECT_FALSE(eight == eleven);
    EXPECT_FALSE(UserWord("Reservo1r01") == eleven);
}

TEST(UserWord, KeepsTheTypedTextAndPrintsNineCharacters) {
    const UserWord word("Reservoir01");
    EXPECT_EQ(word.text(), "Reservoir01");
    EXPECT_EQ(word.shown(), "Reservoir");
    EXPECT_EQ(word.key(), "Reservoir&");
    EXPECT_EQ(UserWord("C7+").key(), "C7+");
    EXPECT_EQ(UserWord("ninechars").key(), "ninechars");
    EXPECT_TRUE(UserWord().empty());
    EXPECT_EQ(UserWord().key(), "");
}

TEST(UserWord, MatchesWordsBySignificantCharacters) {
    EXPECT_TRUE(UserWord("reservoir").matches("RESERVOIR2"));
    EXPECT_TRUE(UserWord("reservoir1").matches("RESERVOIR2"));
    EXPECT_TRUE(UserWord("Feed").matches("FEED"));
    EXPECT_FALSE(UserWord("Feed").matches("FEEDS"));
    EXPECT_FALSE(UserWord("Feed").matches(""));
}

TEST(Quote, ComparesExactly) {
    EXPECT_TRUE(Quote{"a b"} == Quote{"a b"});
    EXPECT_FALSE(Quote{"a b"} == Quote{"A b"});
}

}  // namespace
}  // namespace kestrane
