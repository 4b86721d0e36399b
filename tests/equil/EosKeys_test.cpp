#include <gtest/gtest.h>

#include "equil/EOS.h"
#include "equil/EOS_User.h"
#include "fluid/Charzation.h"
#include "input/Script.h"

namespace kestrane {
namespace {

using testing::Script;

class Chooser final : public EOS_User {};

std::string chosen(const EOS_User& user) {
    return user.chosen_eos ? user.chosen_eos->name() : "none";
}

/// Reads a script on a user that acts at once.
struct ReadScript {
    explicit ReadScript(const std::string& text) : script(text) { user.ReadAll(script.reader); }
    Script script;
    Chooser user;
};

TEST(EosKeys, EveryWordChoosesItsEquation) {
    const struct {
        const char* word;
        const char* name;
    } words[] = {{"RK", "Redlich-Kwong"},
                 {"REDLICH", "Redlich-Kwong"},
                 {"red", "Redlich-Kwong"},
                 {"SRK", "Soave-Redlich-Kwong"},
                 {"Soave", "Soave-Redlich-Kwong"},
                 {"ZJ", "Zudkevich-Joffe"},
                 {"ZUDKEVITCH", "Zudkevich-Joffe"},
                 {"PR77", "Peng-Robinson (1977)"},
                 {"PR", "Peng-Robinson (1979)"},
                 {"pr79", "Peng-Robinson (1979)"},
                 {"PENG-ROBINSON", "Peng-Robinson (1979)"},
                 {"SW", "Schmidt-Wenzel"},
                 {"SCHMIDT", "Schmidt-Wenzel"}};
    for (const auto& [word, name] : words) {
        EXPECT_EQ(chosen(ReadScript("EOS " + std::string(word)).user), name) << word;
        EXPECT_EQ(chosen(ReadScript("Equation " + std::string(word)).user), name) << word;
    }
}

TEST(EosKeys, AWordWithoutWildcardMustMatchWhole) {
    for (const char* word : {"PR7", "PR78", "RKX", "SRKS", "RE", "P", "SOV"}) {
        const ReadScript run("EOS " + std::string(word));
        EXPECT_EQ(chosen(run.user), "none") << word;
        EXPECT_TRUE(run.script.says("Keyword \"" + std::string(word) + "\" not recognized"));
    }
}

TEST(EosKeys, TheLastChoiceHolds) {
    EXPECT_EQ(chosen(ReadScript("EOS RK\nEOS SRK\n").user), "Soave-Redlich-Kwong");
}

TEST(EosKeys, AnUnknownEquationIsReportedAndChangesNothing) {
    const ReadScript run("EOS RK\nEOS BWR 3 4\nEOS\n");
    EXPECT_EQ(chosen(run.user), "Redlich-Kwong");
    EXPECT_TRUE(run.script.says("Keyword \"BWR\" not recognized in current context"));
    EXPECT_TRUE(run.script.says("column 5 of line 2"));
    EXPECT_FALSE(run.script.says("\"3\""));
}

TEST(EosKeys, TheChoiceMayStandOnTheNextLine) {
    const ReadScript run("EOS\n  PR77\nEOS RK");
    EXPECT_EQ(chosen(run.user), "Redlich-Kwong");
    EXPECT_EQ(chosen(ReadScript("EOS\n\n* comment\n  PR77\n").user), "Peng-Robinson (1977)");
}

TEST(EosKeys, NoChoiceIsReported) {
    for (const char* text : {"EOS", "EOS\nEND\n", "EOS /\nEND\n"}) {
        const ReadScript run(text);
        EXPECT_EQ(chosen(run.user), "none");
        EXPECT_TRUE(run.script.says("Keyword \"EOS\" was not followed by an equation of state"))
            << text << run.script.printed();
        EXPECT_TRUE(run.script.says("Problem for keyword \"EOS\" (line 1, column 1"))
            << text << run.script.printed();
    }
}

// The words behind the choice belong to whoever reads next; so does a word that was looked at on
// the next line.
TEST(EosKeys, LeavesWhatFollows) {
    Script script("EOS PR END\nNAME MW\n");
    Chooser user;
    std::string word;
    EXPECT_EQ(user.ReadBlock(script.reader, word, false), 0);
    EXPECT_EQ(chosen(user), "Peng-Robinson (1979)");
    EXPECT_EQ(script.word(), "NAME");

    Script bare("EOS\nNAME MW\n");
    EXPECT_EQ(user.ReadBlock(bare.reader, word, false), 0);
    EXPECT_EQ(bare.word(), "NAME");
    EXPECT_EQ(bare.word(), "MW");
}

TEST(EosKeys, AStoredChoiceIsMadeAnewInEachPass) {
    Script script("EOS SRK\n");
    Chooser user;
    user.SetDeferred(true);
    user.ReadAll(script.reader);
    ASSERT_EQ(user.commands.size(), 1U);
    EXPECT_EQ(chosen(user), "Soave-Redlich-Kwong");
    const PtrTo<const EOS> first = user.chosen_eos;
    for (int pass = 0; pass < 2; ++pass) {
        user.chosen_eos = nullptr;
        user.commands[0]->Rerun(script.reader);
        EXPECT_EQ(chosen(user), "none");
        user.commands[0]->Execute(script.reader);
        EXPECT_EQ(chosen(user), "Soave-Redlich-Kwong");
        EXPECT_FALSE(user.chosen_eos == first);
    }
}

// A characterization's equation is needed before the commands of its block are executed.
TEST(EosKeys, HoldsInACharacterizationAsSoonAsItIsRead) {
    for (const bool deferred : {false, true}) {
        Script script("EOS PR77\nEND\n");
        Charzation charz("Oil");
        charz.SetDeferred(deferred);
        std::string word;
        charz.ReadBlock(script.reader, word, false);
        EXPECT_EQ(charz.eos().name(), "Peng-Robinson (1977)");
        const Charzation copy(charz);
        EXPECT_EQ(copy.eos().name(), "Peng-Robinson (1977)");
    }
}

TEST(EosKeys, GlobalKeywordsAreFoundBehindTheOwn) {
    const Chooser user;
    EXPECT_NE(user.FindKey("EOS"), nullptr);
    EXPECT_NE(user.FindKey("INCLUDE"), nullptr);
    EXPECT_EQ(user.FindKey("PR79"), nullptr);  // a choice only behind EOS
}

}  // namespace
}  // namespace kestrane
