#include "input/KeyCensus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace kestrane {
namespace {

bool listed(const CmdKey* key) {
    const auto keys = registered_keys();
    return std::count(keys.begin(), keys.end(), key) == 1;
}

TEST(KeyCensus, HoldsEveryGlobalKeywordOnce) {
    const auto& entries = dictionary_of<Key_User>().entries();
    ASSERT_FALSE(entries.empty());
    for (const auto& [alias, key] : entries) EXPECT_TRUE(listed(key)) << alias;
}

TEST(KeyCensus, GainsAKeyOnceHoweverManyAliasesItHas) {
    static const CmdKey key{"CENSUS&", "COUNT&", "TALLY"};
    const std::size_t before = registered_keys().size();
    EXPECT_FALSE(listed(&key));
    CmdDictionary dictionary;
    Register(dictionary, key);
    EXPECT_TRUE(listed(&key));
    EXPECT_EQ(registered_keys().size(), before + 1);
}

}  // namespace
}  // namespace kestrane
