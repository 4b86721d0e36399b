#include "fluid/Charz_User.h"

#include <gtest/gtest.h>

#include "equil/EOS.h"
#include "fluid/CharzScript.h"

namespace kestrane {
namespace {

using Mode = CharzScript::Mode;

constexpr const char* TWO =
    "CHAR A\n"
    "NAME     MW\n"
    "X1       10.0\n"
    "END\n"
    "CHAR B\n"
    "NAME     MW\n"
    "Y1       20.0\n"
    "END\n";

TEST(Charz_User, AddingStoresACopyAndMakesItCurrent) {
    ScriptedUser user;
    EXPECT_EQ(user.current(), nullptr);
    const Charzation charz("A");
    const Charzation& added = user.add_charzation(charz);
    EXPECT_NE(&added, &charz);
    EXPECT_EQ(user.current(), &added);
    EXPECT_EQ(added.name, "A");
    user.forget_charzations();
    EXPECT_EQ(user.current(), nullptr);
    EXPECT_TRUE(user.charzations().empty());
}

TEST(Charz_User, SearchTakesTheNewestFirst) {
    ScriptedUser user;
    user.add_charzation(Charzation("A"));
    const Charzation& second = user.add_charzation(Charzation("a"));
    user.add_charzation(Charzation("B"));
    EXPECT_EQ(user.find_charzation("A"), &second);
    EXPECT_EQ(user.find_charzation("C"), nullptr);
}

TEST(Charz_User, PlainUserHasNoMixture) {
    ScriptedUser user;
    Charzation base("A");
    base.add_component(Compnent{});
    base.add_component(Compnent{});
    EXPECT_EQ(user.base_fractions(base), std::vector<double>(2, 1.0));
    EXPECT_EQ(user.base_temperature(), 0.0);
    EXPECT_FALSE(user.knows_name("C1"));
    EXPECT_EQ(user.default_eos()->name(), "Peng-Robinson (1979)");
}

TEST(Charz_User, RestoreMakesAnEarlierOneCurrent) {
    CharzScript run(std::string(TWO) + "RESTORE a\n");
    EXPECT_EQ(run.charz().name, "A");
    EXPECT_TRUE(run.prints("NOTE: Now restoring characterization \"A\"")) << run.report();
    EXPECT_FALSE(run.prints("via alias"));
    EXPECT_TRUE(run.user.knows_name("X1"));
    EXPECT_FALSE(run.user.knows_name("Y1"));
}

TEST(Charz_User, RestoreOfTheCurrentOnePrintsNothing) {
    CharzScript run(std::string(TWO) + "CHREST B\n");
    EXPECT_EQ(run.charz().name, "B");
    EXPECT_FALSE(run.prints("Now restoring"));
}

TEST(Charz_User, RestoreViaAlias) {
    CharzScript run(
        "CHAR A\nEND\n"
        "CH-ALIAS First\n"
        "CHAR B\nEND\n"
        "CH_RESTORE FIRST\n");
    EXPECT_EQ(run.charz().name, "A");
    EXPECT_TRUE(run.prints("Characterization \"A\" now has the alias \"First\""));
    EXPECT_TRUE(run.prints("Now restoring characterization \"A\" via alias \"FIRST\""));
}

TEST(Charz_User, RestoreOfAnUnknownOneIsAnErrorWithItsPlace) {
    for (const Mode mode : {Mode::Live, Mode::Deferred}) {
        CharzScript run(std::string(TWO) + "RESTORE Nope\n", mode);
        EXPECT_EQ(run.counts.errors, 1);
        EXPECT_EQ(run.times("Cannot restore nonexistent characterization \"Nope\""), 1);
        EXPECT_TRUE(run.prints("Problem detected")) << run.report();
        EXPECT_TRUE(run.prints("line 9"));
        EXPECT_EQ(run.charz().name, "B");
    }
}

TEST(Charz_User, RestoreWithoutAWordIsAnError) {
    CharzScript run("CHAR\nEND\nCHAR B\nEND\nRESTORE\n");
    EXPECT_EQ(run.counts.errors, 1);
    EXPECT_TRUE(run.prints("Cannot restore nonexistent characterization \"\""));
    EXPECT_EQ(run.charz().name, "B");
}

TEST(Charz_User, AliasEqualToTheNameIsNotStored) {
    CharzScript run("CHAR A\nEND\nALIAS a\nALIAS A\n");
    EXPECT_TRUE(run.charz().aliases.empty());
    EXPECT_FALSE(run.prints("alias"));
    EXPECT_EQ(run.counts.errors, 0);
}

TEST(Charz_User, AliasWithoutACharacterizationIsAnError) {
    for (const Mode mode : {Mode::Live, Mode::Deferred}) {
        CharzScript run("ALIAS Any\n", mode);
        EXPECT_EQ(run.counts.errors, 1);
        EXPECT_TRUE(run.prints("No characterization exists for alias \"Any\"")) << run.report();
    }
}

TEST(Charz_User, NamesAreKnownWhileReadingAndNotedInThePass) {
    CharzScript run(std::string(TWO) + "ALIAS Second\nRESTORE A\nRESTORE Second\nRESTORE A\n",
                    Mode::Deferred);
    // Read: everything is registered, nothing is said.
    EXPECT_EQ(run.charz().name, "A");
    EXPECT_TRUE(run.user.knows_name("X1"));
    EXPECT_FALSE(run.prints("alias"));
    EXPECT_FALSE(run.prints("Now restoring"));
    EXPECT_FALSE(run.prints("Fluid Characterization"));
    for (int pass = 1; pass <= 2; ++pass) {
        run.run_pass();
        EXPECT_EQ(run.charz().name, "A");
        EXPECT_EQ(run.user.charzations().size(), 2u);
        EXPECT_EQ(run.times("now has the alias \"Second\""), pass) << run.report();
        EXPECT_EQ(run.times("Now restoring characterization \"A\""), 2 * pass);
        EXPECT_EQ(run.times("Now restoring characterization \"B\" via alias \"Second\""), pass);
        EXPECT_EQ(run.times("\nFluid Characterization \"B\"\n"), pass);
    }
    EXPECT_EQ(run.counts.errors, 0);
}

TEST(Charz_User, EveryPassWorksOnFreshCopies) {
    CharzScript run(TWO, Mode::Deferred);
    run.run_pass();
    const unsigned long first = run.charz().serial();
    const double mw = run.component("Y1").mw;
    run.run_pass();
    EXPECT_NE(run.charz().serial(), first);
    EXPECT_EQ(run.component("Y1").mw, mw);
}

TEST(Charz_User, ChoiceOfEquationIsTheDefaultOfWhatFollows) {
    CharzScript run("EOS RK\nCHAR A\nEND\nEOS SRK\nCHAR B\nEND\n");
    EXPECT_EQ(run.user.find_charzation("A")->eos().name(), "Redlich-Kwong");
    EXPECT_EQ(run.user.find_charzation("B")->eos().name(), "Soave-Redlich-Kwong");
}

}  // namespace
}  // namespace kestrane
