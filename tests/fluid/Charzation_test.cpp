#include "fluid/Charzation.h"

#include <gtest/gtest.h>

#include <cmath>

#include "equil/EOS.h"
#include "fluid/CharzScript.h"

namespace kestrane {
namespace {

Compnent pure(const std::string& name, double mw, double tc, double pc, double acentric) {
    Compnent component;
    component.name = UserWord(name);
    component.mw = mw;
    component.tc = tc;
    component.pc = pc;
    component.acentric = acentric;
    component.vol_shift = 0.0;
    return component;
}

/// Methane, propane and decane with the equation's own constants.
Charzation three_components() {
    Charzation charz("Three");
    charz.add_component(pure("C1", 16.043, 190.6, 4.6e6, 0.011));
    charz.add_component(pure("C3", 44.097, 369.8, 4.25e6, 0.152));
    charz.add_component(pure("C10", 142.285, 617.7, 2.11e6, 0.49));
    for (Compnent& component : charz.comps) component.set_eos_constants(charz.eos());
    return charz;
}

TEST(Charzation, BipsAreSymmetricWithZeroDiagonal) {
    Charzation charz = three_components();
    EXPECT_FALSE(charz.has_bips());
    charz.set_bip(0.05, 2, 0);
    charz.set_bip(0.7, 1, 1);
    charz.set_bip(UNSET, 2, 0);
    ASSERT_TRUE(charz.has_bips());
    EXPECT_EQ(charz.bip(0, 2), 0.05);
    EXPECT_EQ(charz.bip(2, 0), 0.05);
    EXPECT_EQ(charz.bip(1, 1), 0.0);
    EXPECT_EQ(charz.bip(1, 2), UNSET);
}

TEST(Charzation, SettingNoValueMakesNoMatrix) {
    Charzation charz = three_components();
    charz.set_bip(UNSET, 1, 0);
    EXPECT_FALSE(charz.has_bips());
}

TEST(Charzation, BipRowSkipsBlanks) {
    Charzation charz = three_components();
    charz.set_bip(0.3, 1, 0);
    const std::vector<double> row{UNSET, 0.9, 0.2};
    charz.set_bips_row(row, 1);
    EXPECT_EQ(charz.bip(0, 1), 0.3);
    EXPECT_EQ(charz.bip(1, 1), 0.0);
    EXPECT_EQ(charz.bip(2, 1), 0.2);
}

TEST(Charzation, BipOutOfRangeIsRefused) {
    Charzation charz = three_components();
    EXPECT_THROW(charz.set_bip(0.1, 3, 0), BadComponent);
    EXPECT_THROW(charz.set_bip(0.1, 0, -1), BadComponent);
    EXPECT_THROW(charz.set_bips_row(std::vector<double>(4, 0.1), 0), BadComponent);
}

TEST(Charzation, AddingAComponentKeepsBips) {
    Charzation charz = three_components();
    charz.set_bip(0.05, 2, 1);
    charz.add_component(pure("C20", 282.0, 766.0, 1.1e6, 0.9));
    EXPECT_EQ(charz.bip(1, 2), 0.05);
    EXPECT_EQ(charz.bip(3, 0), UNSET);
    EXPECT_EQ(charz.bip(3, 3), 0.0);
}

TEST(Charzation, ComponentNamesCountToNineCharacters) {
    Charzation charz("Long");
    charz.add_component(pure("Methylcyclohexane", 98.2, 572.0, 3.47e6, 0.235));
    charz.add_component(pure("C7", 100.2, 540.0, 2.7e6, 0.35));
    EXPECT_EQ(charz.find_component("METHYLCYCLOPENTANE"), 0);
    EXPECT_EQ(charz.find_component("methylcyc"), 0);
    EXPECT_EQ(charz.find_component("methylcy"), -1);
    EXPECT_EQ(charz.find_component("c7"), 1);
    EXPECT_EQ(charz.find_component("C7+"), -1);
}

TEST(Charzation, TwentyTemperaturesAreKept) {
    Charzation charz = three_components();
    const auto first = charz.t_parms(300.0);
    for (int i = 1; i < 20; ++i) charz.t_parms(300.0 + i);
    EXPECT_EQ(charz.t_cache.size(), 20u);
    // A repeat moves the entry forward and makes nothing new ...
    EXPECT_EQ(charz.t_parms(300.0).get(), first.get());
    EXPECT_EQ(charz.t_cache.front().T, 300.0);
    // ... so that the next temperature drops 301 K, the least recent one.
    charz.t_parms(400.0);
    EXPECT_EQ(charz.t_cache.size(), 20u);
    EXPECT_EQ(charz.t_cache.back().T, 302.0);
    EXPECT_EQ(charz.t_parms(300.0).get(), first.get());
    EXPECT_EQ(first->T, 300.0);
}

TEST(Charzation, CopyHasItsOwnSerialAndNoCache) {
    Charzation charz = three_components();
    charz.set_bip(0.05, 2, 0);
    charz.aliases.insert("Other");
    charz.basis = make_dyn<std::string>("Base");
    charz.t_parms(300.0);
    ErrorList errors;
    charz.prepare_eos(errors);
    const Charzation copy(charz);
    EXPECT_NE(copy.serial(), charz.serial());
    EXPECT_TRUE(copy.t_cache.empty());
    EXPECT_TRUE(copy.prepared);
    EXPECT_EQ(copy.bips, charz.bips);
    EXPECT_TRUE(copy.answers_to("OTHER"));
    EXPECT_EQ(*copy.basis, "Base");
    EXPECT_EQ(copy.comps[2].tc, 617.7);

    Charzation assigned;
    const unsigned long before = assigned.serial();
    assigned.t_parms(250.0);
    assigned = charz;
    EXPECT_NE(assigned.serial(), before);
    EXPECT_NE(assigned.serial(), charz.serial());
    EXPECT_TRUE(assigned.t_cache.empty());
    EXPECT_EQ(assigned.size(), 3u);
}

TEST(Charzation, PreparingSetsLnPcOnce) {
    Charzation charz = three_components();
    ErrorList errors;
    charz.prepare_eos(errors);
    EXPECT_TRUE(errors.empty());
    for (const Compnent& component : charz.comps)
        EXPECT_DOUBLE_EQ(std::exp(component.ln_pc), component.pc);
    charz.comps[0].mw = 0.0;
    charz.prepare_eos(errors);
    EXPECT_TRUE(errors.empty());
}

TEST(Charzation, PreparingReportsIllegalPropertiesAtEveryUse) {
    Charzation charz = three_components();
    charz.comps[1].mw = 0.0;
    for (int use = 0; use < 2; ++use) {
        ErrorList errors;
        charz.prepare_eos(errors);
        EXPECT_EQ(errors.severity, FATAL_ERROR);
        ASSERT_EQ(errors.entries.size(), 1u);
        EXPECT_EQ(errors.entries[0]->text,
                  "Component \"C3\" does not have a legal molecular weight");
    }
}

TEST(Charzation, PreparingNoComponentsIsAnError) {
    Charzation charz("Nothing");
    ErrorList errors;
    charz.prepare_eos(errors);
    EXPECT_EQ(errors.severity, FATAL_ERROR);
    ASSERT_EQ(errors.entries.size(), 1u);
    EXPECT_EQ(errors.entries[0]->text, "The fluid characterization contains no components");
}

TEST(Charzation, DefaultEquationIsPengRobinson1979) {
    const Charzation charz;
    EXPECT_EQ(charz.eos().name(), "Peng-Robinson (1979)");
}

// Completion.

TEST(Charzation, TypedPropertiesSurviveCompletion) {
    CharzScript run(
        "CHAR Oil\n"
        "NAME     MW        TC(K)     PC(bar)   AF\n"
        "HEAVY    206.0     705.0     13.8      0.65\n"
        "END\n");
    const Compnent& heavy = run.component("HEAVY");
    EXPECT_EQ(heavy.mw, 206.0);
    EXPECT_EQ(heavy.tc, 705.0);
    EXPECT_DOUBLE_EQ(heavy.pc, 13.8e5);
    EXPECT_EQ(heavy.acentric, 0.65);
    EXPECT_EQ(heavy.vol_shift, 0.0);  // no column
    EXPECT_EQ(heavy.omega_a, run.charz().eos().parameter("a"));
    EXPECT_EQ(run.counts.errors + run.counts.warnings, 0);
}

TEST(Charzation, PropertiesWithoutAColumnAreDropped) {
    CharzScript run(
        "CHAR Oil\n"
        "NAME     MW\n"
        "C3\n"
        "END\n");
    const Compnent& propane = run.component("C3");
    EXPECT_NEAR(propane.mw, 44.1, 0.05);  // from the library, which has two decimals or more
    EXPECT_EQ(propane.tc, 0.0);
    EXPECT_EQ(propane.pc, 0.0);
    EXPECT_EQ(propane.sg, 0.0);
    ErrorList errors;
    run.charz().prepare_eos(errors);
    EXPECT_EQ(errors.severity, FATAL_ERROR);
}

TEST(Charzation, LibraryFillsBlankCells) {
    CharzScript run(
        "CHAR Gas\n"
        "NAME     MW        TC(K)     PC(bar)   AF\n"
        "C1\n"
        "CO2                          70.0\n"
        "END\n");
    EXPECT_NEAR(run.component("C1").mw, 16.04, 0.01);
    EXPECT_NEAR(run.component("C1").tc, 190.6, 0.1);  // published, K
    EXPECT_NEAR(run.component("CO2").tc, 304.15, 0.1);
    EXPECT_DOUBLE_EQ(run.component("CO2").pc, 70.0e5);  // typed wins
    ErrorList errors;
    run.charz().prepare_eos(errors);
    EXPECT_TRUE(errors.empty());
    // The table shows the final numbers.
    Compnent row;
    run.charz().table.TakeRow(0, row);
    EXPECT_EQ(row.tc, run.component("C1").tc);
}

TEST(Charzation, ColumnRowHoldsColumnIndexes) {
    CharzScript run(
        "CHAR Gas\n"
        "NAME     TC(K)     MW        PC(bar)\n"
        "C1\n"
        "END\n");
    EXPECT_EQ(run.charz().column_row.tc, 1.0);
    EXPECT_EQ(run.charz().column_row.mw, 2.0);
    EXPECT_EQ(run.charz().column_row.pc, 3.0);
    EXPECT_EQ(run.charz().column_row.acentric, UNSET);
}

TEST(Charzation, UnsetBipsBecomeZeroAtCompletion) {
    CharzScript run(
        "CHAR Gas\n"
        "NAME     MW        TC(K)     PC(bar)   AF\n"
        "C1\n"
        "C3\n"
        "CO2\n"
        "BIPS      C1        C3        CO2\n"
        "CO2       0.1\n"
        "END\n");
    EXPECT_EQ(run.charz().bip(0, 2), 0.1);
    EXPECT_EQ(run.charz().bip(2, 0), 0.1);
    EXPECT_EQ(run.charz().bip(1, 2), 0.0);
    EXPECT_EQ(run.charz().bip(0, 1), 0.0);
    EXPECT_EQ(run.counts.errors, 0);
}

// Based characterizations.

constexpr const char* BASE =
    "CHAR Base\n"
    "EOS PR\n"
    "NAME     MW        TC(K)     PC(bar)   AF        VT        A\n"
    "L1       16.0      190.0     46.0      0.01      -0.1      0.46\n"
    "M5       72.0      470.0     33.0      0.25      -0.05     0.45\n"
    "H9       200.0     700.0     15.0      0.6       0.1       0.47\n"
    "BIPS      L1        M5        H9\n"
    "M5        0.01\n"
    "H9        0.05      0.02\n"
    "END\n";

TEST(Charzation, BasedTakesPropertiesAndBips) {
    CharzScript run(std::string(BASE) +
                    "CHAR Derived\n"
                    "BASE Base\n"
                    "NAME     MW\n"
                    "H9\n"
                    "L1\n"
                    "END\n");
    ASSERT_EQ(run.counts.errors, 0) << run.report();
    EXPECT_EQ(run.charz().name, "Derived");
    EXPECT_EQ(run.component("H9").mw, 200.0);
    EXPECT_EQ(run.component("H9").tc, 700.0);
    EXPECT_EQ(run.component("H9").vol_shift, 0.1);
    EXPECT_EQ(run.component("H9").omega_a, 0.47);
    EXPECT_EQ(run.component("L1").acentric, 0.01);
    EXPECT_EQ(run.charz().bip(1, 0), 0.05);
    EXPECT_EQ(run.charz().shared_eos().get(), run.user.find_charzation("Base")->shared_eos().get());
}

TEST(Charzation, BasedKeepsTypedValues) {
    CharzScript run(std::string(BASE) +
                    "CHAR Derived\n"
                    "BASE Base\n"
                    "NAME     TC(K)    MW\n"
                    "L1                16.5\n"
                    "H9       710.0\n"
                    "M5\n"
                    "BIPS      L1        H9\n"
                    "H9        0.08\n"
                    "END\n");
    ASSERT_EQ(run.counts.errors, 0) << run.report();
    EXPECT_EQ(run.component("L1").mw, 16.5);
    EXPECT_EQ(run.component("L1").tc, 190.0);
    EXPECT_EQ(run.component("H9").mw, 200.0);
    EXPECT_EQ(run.component("H9").tc, 710.0);
    EXPECT_EQ(run.charz().bip(0, 1), 0.08);
    EXPECT_EQ(run.charz().bip(0, 2), 0.01);
    EXPECT_EQ(run.charz().bip(1, 2), 0.02);
}

TEST(Charzation, BasedNewComponentStandsAlone) {
    CharzScript run(std::string(BASE) +
                    "CHAR Derived\n"
                    "BASE Base\n"
                    "NAME     MW        TC(K)\n"
                    "L1\n"
                    "CO2\n"
                    "M5\n"
                    "END\n");
    ASSERT_EQ(run.counts.errors, 0) << run.report();
    EXPECT_NEAR(run.component("CO2").tc, 304.15, 0.1);
    EXPECT_GT(run.component("CO2").pc, 0.0);  // the base's columns are there
    EXPECT_EQ(run.charz().bip(0, 2), 0.01);
    EXPECT_EQ(run.charz().bip(0, 1), 0.0);
    EXPECT_EQ(run.charz().bip(1, 2), 0.0);
}

TEST(Charzation, BaseUnderAnotherEquationLosesItsConstants) {
    CharzScript run(std::string(BASE) +
                    "CHAR Derived\n"
                    "BASE Base\n"
                    "EOS SRK\n"
                    "NAME     A\n"
                    "L1\n"
                    "M5       0.43\n"
                    "END\n");
    ASSERT_EQ(run.counts.errors, 0) << run.report();
    EXPECT_EQ(run.charz().eos().name(), "Soave-Redlich-Kwong");
    EXPECT_EQ(run.component("L1").omega_a, run.charz().eos().parameter("a"));
    EXPECT_EQ(run.component("L1").a_mod, 1.0);
    EXPECT_EQ(run.component("M5").omega_a, 0.43);
    EXPECT_NE(run.component("L1").vol_shift, -0.1);
    EXPECT_EQ(run.component("L1").acentric, 0.01);
}

TEST(Charzation, BaseIsTheNewestOfItsName) {
    CharzScript run(
        "CHAR A\n"
        "NAME     MW\n"
        "X1       10.0\n"
        "END\n"
        "CHAR A\n"
        "NAME     MW\n"
        "X1       20.0\n"
        "END\n"
        "CHAR B\n"
        "BASE a\n"
        "NAME\n"
        "X1\n"
        "END\n");
    EXPECT_EQ(run.component("X1").mw, 20.0) << run.report();
}

TEST(Charzation, BaseIsFoundByAlias) {
    CharzScript run(
        "CHAR A\n"
        "NAME     MW\n"
        "X1       10.0\n"
        "END\n"
        "ALIAS First\n"
        "CHAR B\n"
        "PARENT first\n"
        "NAME\n"
        "X1\n"
        "END\n");
    EXPECT_EQ(run.component("X1").mw, 10.0) << run.report();
}

TEST(Charzation, UndefinedBaseIsFatal) {
    CharzScript run(
        "CHAR B\n"
        "BASE Nope\n"
        "NAME\n"
        "X1\n"
        "END\n");
    EXPECT_TRUE(run.fatal);
    EXPECT_TRUE(run.prints("FATAL ERROR: Problem for characterization initialization"));
    EXPECT_TRUE(run.prints("Problem for keyword \"CHAR\" (line 1, column 1, standard input).\n"));
    EXPECT_TRUE(run.prints("Undefined basis, \"Nope\", for characterization \"B\".\n"));
}

TEST(Charzation, BaseCannotBeItself) {
    CharzScript run(
        "CHAR B\n"
        "BASE B\n"
        "NAME\n"
        "X1\n"
        "END\n");
    EXPECT_TRUE(run.fatal);
    EXPECT_TRUE(run.prints("Characterization \"B\" cannot be based on itself.\n"));
}

}  // namespace
}  // namespace kestrane
