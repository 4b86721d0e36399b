#include "lab/LabRun.h"

namespace kestrane {
namespace {

std::vector<double> moles_after(const std::string& script, const std::string& name) {
    LabRun run(LIGHT_FLUID + script);
    EXPECT_FALSE(run.stopped) << run.report();
    const PtrTo<Tank> tank = run.lab.find_mixture(name);
    EXPECT_TRUE(tank) << name;
    if (!tank) return {};
    return {tank->moles().begin(), tank->moles().end()};
}

using Moles = std::vector<double>;

TEST(MixCmd, NamesBeforeNumbers) {
    EXPECT_EQ(moles_after("MIX A C1 0.5 C3 0.3 N-C10 0.2", "A"), (Moles{0.5, 0.3, 0.2}));
}

TEST(MixCmd, NumbersBeforeNames) {
    EXPECT_EQ(moles_after("MIX A 0.5 C1 0.3 C3 0.2 N-C10", "A"), (Moles{0.5, 0.3, 0.2}));
}

TEST(MixCmd, AnAmountNotGivenIsOne) {
    EXPECT_EQ(moles_after("MIX A C1 C3 0.25", "A"), (Moles{1.0, 0.25, 0.0}));
}

TEST(MixCmd, NumbersAloneGoByPosition) {
    EXPECT_EQ(moles_after("MIX A 0.5 0.3 0.2", "A"), (Moles{0.5, 0.3, 0.2}));
}

TEST(MixCmd, APositionBehindTheLastComponentIsInvalid) {
    LabRun run(LIGHT_FLUID + "MIX A 0.5 0.3 0.2 0.1");
    EXPECT_TRUE(run.stopped);
    EXPECT_TRUE(run.reports("Invalid ingredient for mixture \"A\""));
    EXPECT_TRUE(run.reports("Undefined component 4 cannot be added to the final mixture."));
}

TEST(MixCmd, ContinuationLinesAreReadUntilAnUnknownWord) {
    EXPECT_EQ(moles_after("MIX A C1 0.5\n  C3 0.3\n  N-C10 0.2\nTEMP 20 C\n", "A"),
              (Moles{0.5, 0.3, 0.2}));
}

TEST(MixCmd, RepeatedIngredientsAddUp) {
    EXPECT_EQ(moles_after("MIX A C1 0.5 C1 0.25", "A"), (Moles{0.75, 0.0, 0.0}));
}

TEST(MixCmd, MassesAreDividedByMolecularWeight) {
    // Library molecular weights: methane 16.043, propane 44.097 kg/kmol.
    const Moles moles = moles_after("MIX A MASS C1 16.043 C3 88.194", "A");
    EXPECT_NEAR(moles[0], 1.0, 1e-15);
    EXPECT_NEAR(moles[1], 2.0, 1e-15);
}

TEST(MixCmd, ATypeHoldsFromItsItemOn) {
    const Moles moles = moles_after("MIX A C1 2 C3 MASS 44.097 N-C10 142.285", "A");
    EXPECT_DOUBLE_EQ(moles[0], 2.0);
    EXPECT_NEAR(moles[1], 1.0, 1e-15);
    EXPECT_NEAR(moles[2], 1.0, 1e-15);
}

// A list that begins with a type: each type stands before what it is for.
TEST(MixCmd, ATypeBehindACompleteItemBelongsToTheNextIfTypesComeFirst) {
    for (const char* list : {"MASS C1 16.043 MOLE C3 2 N-C10 3", "MASS 16.043 C1 MOLE 2 C3 3 N-C10",
                             "MASS C1 16.043 C3 MOLE 2 N-C10 3"}) {
        const Moles moles = moles_after(std::string("MIX A ") + list, "A");
        ASSERT_EQ(moles.size(), 3u);
        EXPECT_NEAR(moles[0], 1.0, 1e-15) << list;  // 16.043 kg/kmol is methane's molecular weight
        EXPECT_EQ(moles[1], 2.0) << list;
        EXPECT_EQ(moles[2], 3.0) << list;
    }
}

TEST(MixCmd, ATypeBehindItsItemHoldsForItIfNamesComeFirst) {
    const Moles moles = moles_after("MIX A C1 16.043 MASS C3 2 MOLE", "A");
    EXPECT_NEAR(moles[0], 1.0, 1e-15);
    EXPECT_EQ(moles[1], 2.0);
}

TEST(MixCmd, AComponentWithoutMolecularWeightHasNoMass) {
    LabRun run(
        "CHAR\n"
        "NAME  MW  TC(K)  PC(bar)  AF\n"
        "C1\n"
        "X     0   500    30       0.3\n"
        "END\nEND\n"
        "MIX A C1 1 MASS X 2\n");
    EXPECT_EQ(run.counts.errors, 1) << run.report();
    EXPECT_TRUE(run.reports("Could not add an ingredient to mixture \"A\""));
    EXPECT_TRUE(run.reports("Component \"X\" had a nonphysical molecular weight."));
}

TEST(MixCmd, TotalMolesBringTheMixtureToTheAmount) {
    EXPECT_EQ(moles_after("MIX A C1 3 C3 TMOLE 10", "A"), (Moles{3.0, 7.0, 0.0}));
}

TEST(MixCmd, TotalMassBringsTheMixtureToTheAmount) {
    const Moles moles = moles_after("MIX A C1 1 C3 TMASS 104.237", "A");
    EXPECT_DOUBLE_EQ(moles[0], 1.0);
    EXPECT_NEAR(moles[1], 2.0, 1e-14);  // 16.043 + 2 * 44.097 = 104.237
}

TEST(MixCmd, MixturesAddByMultiplesOfWhatIsStored) {
    EXPECT_EQ(moles_after("MIX A C1 2 C3 2\nMIX B A 0.5 C1 1", "B"), (Moles{2.0, 1.0, 0.0}));
}

TEST(MixCmd, MixturesAddByMolesOfTheirComposition) {
    EXPECT_EQ(moles_after("MIX A C1 2 C3 2\nMIX B A MOLE 1", "B"), (Moles{0.5, 0.5, 0.0}));
}

TEST(MixCmd, MixturesAddByMass) {
    // One mole each of C1 and C3 weigh 60.14 kg/kmol.
    const Moles moles = moles_after("MIX A C1 5 C3 5\nMIX B A MASS 60.14", "B");
    EXPECT_NEAR(moles[0], 1.0, 1e-14);
    EXPECT_NEAR(moles[1], 1.0, 1e-14);
}

TEST(MixCmd, MixturesAddUpToTotalMoles) {
    EXPECT_EQ(moles_after("MIX A C1 1 C3 1\nMIX B C1 2 A TMOLE 6", "B"), (Moles{4.0, 2.0, 0.0}));
}

TEST(MixCmd, AMixtureCanBeRedefinedFromItself) {
    EXPECT_EQ(moles_after("MIX A C1 1\nMIX A A 2 C3 1", "A"), (Moles{2.0, 1.0, 0.0}));
}

TEST(MixCmd, FeedFillsTheCell) {
    LabRun run(LIGHT_FLUID + "MIX FEED C1 0.5 C3 0.5");
    ASSERT_FALSE(run.stopped);
    EXPECT_EQ(run.lab.find_mixture("feed").get(), run.lab.cell().feed.get());
    EXPECT_DOUBLE_EQ(run.lab.cell().feed->moles()[0], 0.5);
}

TEST(MixCmd, EmptyOrNumericalNamesAreRefused) {
    for (const char* script : {"MIX\n", "MIX 12 C1 1\n", "MIX 1.5e3\n"}) {
        LabRun run(LIGHT_FLUID + script);
        EXPECT_TRUE(run.stopped) << script;
        EXPECT_TRUE(run.reports("Mixture names cannot appear empty or numerical.")) << script;
        EXPECT_TRUE(run.reports("cannot be defined")) << script;
        EXPECT_EQ(run.counts.errors, 1) << script << run.report();
    }
}

TEST(MixCmd, ReservedNamesAreRefusedByTheirStem) {
    for (const char* name : {"Eql", "EQLIBRIUM"}) {
        LabRun run(LIGHT_FLUID + "MIX " + name + " C1 1\n");
        EXPECT_TRUE(run.stopped);
        EXPECT_TRUE(run.reports("Mixture \"" + std::string(name) + "\" cannot be defined"));
        EXPECT_TRUE(
            run.reports("Names beginning with \"EQL\" are not allowed for user-defined mixtures."));
    }
    for (const char* stem : {"TANK", "MOLE", "MASS", "TMOLE", "TMASS", "EQV", "NFL", "NFV"}) {
        LabRun run(LIGHT_FLUID + "MIX " + stem + "X C1 1\n");
        EXPECT_TRUE(run.reports("Names beginning with \"" + std::string(stem) + "\" are not"))
            << stem;
    }
}

TEST(MixCmd, AnUnknownIngredientIsAnErrorAtItsPlace) {
    LabRun run(LIGHT_FLUID + "MIX A C1 0.5 Xenolith 0.5\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_EQ(run.counts.errors, 1);
    EXPECT_TRUE(run.reports("Invalid ingredient for mixture \"A\""));
    EXPECT_TRUE(run.reports("Problem for Xenolith at column 14 of line 8"));
    EXPECT_TRUE(run.reports("Undefined component Xenolith cannot be added to the final mixture."));
}

TEST(MixCmd, UnknownIngredientsTakeTheirNumbersWithThem) {
    for (const char* list : {"Xe 0.5 Rn 0.25 C1 1", "0.5 Xe 0.25 Rn 1 C1", "C1 1 Xe 0.5 Rn 0.25"}) {
        LabRun run(LIGHT_FLUID + "MIX A " + list + "\nTEMP 300 K\n");
        EXPECT_EQ(run.counts.errors, 2) << list << run.report();
        EXPECT_TRUE(run.reports("Problem for Xe at")) << list;
        EXPECT_TRUE(run.reports("Problem for Rn at")) << list;
    }
}

TEST(MixCmd, AVoidIngredientIsAnErrorWhenExecuted) {
    LabRun run(LIGHT_FLUID + "MIX A\nMIX B C1 1 A MOLE 1\n");
    EXPECT_EQ(run.counts.errors, 1) << run.report();
    EXPECT_TRUE(run.reports("Could not add an ingredient to mixture \"B\""));
    EXPECT_TRUE(run.reports("Ingredient \"A\" was void of total moles, total mass, or both."));
}

// 1e308 kmol of propane has more kg than a double holds.
TEST(MixCmd, AnAmountBeyondAllNumbersIsAnErrorAndNotAdded) {
    LabRun run(LIGHT_FLUID + "MIX A C1 2 C3 1E308 N-C10 1\nMIX B A 1E308 A MASS 1E308 A 1\n");
    EXPECT_EQ(run.counts.errors, 2) << run.report();
    EXPECT_TRUE(run.reports("The amount of ingredient \"C3\" exceeds the range of numbers."));
    EXPECT_TRUE(run.reports("The amount of ingredient \"A\" exceeds the range of numbers."));
    const PtrTo<Tank> a = run.lab.find_mixture("A");
    EXPECT_EQ(Moles(a->moles().begin(), a->moles().end()), (Moles{2.0, 0.0, 1.0}));
    EXPECT_EQ(run.report().find("nan"), std::string::npos);
}

// The masses cancel but for round-off, which no fraction can be taken of.
TEST(MixCmd, FractionsOfCancelledAmountsAreZero) {
    LabRun run(LIGHT_FLUID + "MIX A C1 1 MASS C3 -1 N-C10 1E-310\n");
    EXPECT_EQ(run.report().find("inf"), std::string::npos) << run.report();
    // The mass is left at 1e-310 kg, of which 1 kg is no number of shares.
    EXPECT_TRUE(run.reports("      -1.000000       0.000000\n")) << run.report();
}

TEST(MixCmd, PrintsATableUnlessQuiet) {
    const std::string title = "Mixture \"A\" Compositions\n========================\n";
    LabRun loud(LIGHT_FLUID + "MIXTURE A C1 1 C3 3\n");
    EXPECT_TRUE(loud.reports(title)) << loud.report();
    EXPECT_TRUE(
        loud.reports("Component         Moles       Mole Fracs        Mass        Mass Fracs\n"
                     "----------     ----------     ----------     ----------     ----------\n"
                     "C1               1.000000       0.250000      16.043000       0.108155\n"
                     "C3               3.000000       0.750000     132.291000       0.891845\n"
                     "Totals:          4.000000       1.000000     148.334000       1.000000\n"))
        << loud.report();
    for (const char* word : {"QMIX", "QIX"}) {
        LabRun quiet(LIGHT_FLUID + word + " A C1 1 C3 3\n");
        EXPECT_FALSE(quiet.reports(title));
        EXPECT_TRUE(quiet.lab.find_mixture("A"));
    }
}

}  // namespace
}  // namespace kestrane
