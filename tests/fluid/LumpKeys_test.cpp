#include "fluid/CharzScript.h"
#include "fluid/Lump.h"

namespace kestrane {
namespace {

const std::string FLUID =
    "CHAR Fluid\n"
    "NAME  MW\n"
    "C5\n"
    "C7\n"
    "C8\n"
    "END\n"
    "END\n";

std::vector<double> factors(CharzScript& script, const std::string& name) {
    const Lump* lump = script.charz().find_lump(name);
    return lump ? lump->fractions : std::vector<double>{};
}

using Factors = std::vector<double>;

TEST(LumpKeys, NumbersAloneGoByPosition) {
    CharzScript script(FLUID + "LUMP H 1 2 3\n");
    EXPECT_EQ(factors(script, "H"), (Factors{1, 2, 3}));
}

TEST(LumpKeys, AFactorStandsBeforeItsName) {
    CharzScript script(FLUID + "LUMP H C7 0.5 C8\nLUMP I 0.5 C7 C8 -2 C5\n");
    EXPECT_EQ(factors(script, "H"), (Factors{0, 1, 0.5}));
    EXPECT_EQ(factors(script, "I"), (Factors{-2, 0.5, 1}));
    EXPECT_EQ(script.counts.errors, 0);
}

TEST(LumpKeys, PositionGoesOnBehindTheLastComponent) {
    CharzScript script(FLUID + "LUMP H C5 2 3 C8\nLUMP I C7 4 5 C5 6 7\n");
    EXPECT_EQ(factors(script, "H"), (Factors{1, 2, 3}));  // "3 C8" is one item
    EXPECT_EQ(factors(script, "I"), (Factors{5, 1 + 6, 4 + 7}));
}

TEST(LumpKeys, ARepeatedComponentAddsToItsFactor) {
    CharzScript script(FLUID + "LUMP H C7 C7 0.25 C7\n");
    EXPECT_EQ(factors(script, "H"), (Factors{0, 2.25, 0}));
}

TEST(LumpKeys, ALumpOfLumpsScalesTheirFactors) {
    CharzScript script(FLUID + "LUMP H C7 0.5 C8\nLUMP I C5 4 H\nLUMP I I I\n");
    EXPECT_EQ(factors(script, "I"), (Factors{2, 8, 4}));
}

TEST(LumpKeys, ItemsGoOnOverLinesUpToAForeignWord) {
    CharzScript script(FLUID + "LUMP\n  H\n  0.5\n  C7\n\n  0.25 C8\nLUMP I C5 CHAR Next\nEND\n");
    ASSERT_EQ(script.user.charzations().size(), 2U) << script.report();
    const Charzation& fluid = *script.user.charzations()[0];
    EXPECT_EQ(fluid.find_lump("H")->fractions, (Factors{0, 0.5, 0.25}));
    EXPECT_EQ(fluid.find_lump("I")->fractions, (Factors{1, 0, 0}));
    EXPECT_EQ(script.charz().name, "Next");  // the word was put back
}

TEST(LumpKeys, AForeignWordBehindItsNumberIsPutBackToo) {
    CharzScript script(FLUID + "LUMP H C5 3 GRUMBLE\n");
    EXPECT_EQ(factors(script, "H"), (Factors{1, 3, 0}));
    EXPECT_TRUE(script.prints("Keyword \"GRUMBLE\" not recognized in current context"));
}

TEST(LumpKeys, RepeatedNumbersAndEmptyFields) {
    CharzScript script(FLUID + "LUMP H 3*0.5\nLUMP I 2 , , 3\nLUMP J 1 2 /\nLUMP K /\n");
    EXPECT_EQ(factors(script, "H"), (Factors{0.5, 0.5, 0.5}));
    EXPECT_EQ(factors(script, "I"), (Factors{2, 1, 3}));
    EXPECT_EQ(factors(script, "J"), (Factors{1, 2, 0}));
    EXPECT_EQ(factors(script, "K"), (Factors{0, 0, 0}));
    EXPECT_EQ(script.counts.errors, 0) << script.report();
}

TEST(LumpKeys, ZerosPastTheEndAreIgnoredOtherFactorsAreErrors) {
    CharzScript good(FLUID + "LUMP H 1 2 3 0 0\n");
    EXPECT_EQ(factors(good, "H"), (Factors{1, 2, 3}));
    EXPECT_EQ(good.counts.errors, 0);
    CharzScript bad(FLUID + "LUMP H 1 2 3 0 7\n");
    EXPECT_TRUE(bad.prints("Invalid component for lumped fraction \"H\""));
    EXPECT_TRUE(bad.prints("Problem for 5 at column "));
    EXPECT_TRUE(bad.prints("Undefined component 5 cannot be included in the lumping."));
    EXPECT_EQ(bad.counts.errors, 1);
    EXPECT_EQ(bad.charz().find_lump("H"), nullptr);
}

// Whether a name follows a factor shows on a later line, and the report is of the factor all the
// same.
TEST(LumpKeys, AFactorTooManyIsReportedWhereItStands) {
    CharzScript script(FLUID + "LUMP H 1 2 3\n 0 7\n\nLUMP I C5\n");
    EXPECT_TRUE(
        script.prints("Problem for 5 at column 4 of line 9 of the standard input.\n"
                      "Most recent line: \" 0 7\".\n"
                      "Most recent word: \"H\".\n"
                      "Undefined component 5 cannot be included in the lumping.\n"))
        << script.report();
    CharzScript end(FLUID + "LUMP H 1 2 3 4");
    EXPECT_TRUE(end.prints("Problem for 4 at column 14 of line 8")) << end.report();
}

TEST(LumpKeys, AnEndlessRowOfZerosEnds) {
    CharzScript script(FLUID + "LUMP H 1 2147483647*0\nLUMP I C5\n");
    EXPECT_EQ(factors(script, "H"), (Factors{1, 0, 0}));
    EXPECT_EQ(factors(script, "I"), (Factors{1, 0, 0}));
}

TEST(LumpKeys, NamesAreNeitherEmptyNorNumericalNorComponents) {
    CharzScript number(FLUID + "LUMP 12 C7 C8\nLUMP H C7\n");
    EXPECT_TRUE(number.prints("ERROR: Lumped fraction \"12\" cannot be defined  ######"));
    EXPECT_TRUE(number.prints("Problem detected at column 6 of line 8"));
    EXPECT_TRUE(number.prints("Lumped fraction names cannot appear empty or numerical."));
    EXPECT_EQ(number.counts.errors, 1);  // the items belong to it
    EXPECT_NE(number.charz().find_lump("H"), nullptr);

    CharzScript nothing(FLUID + "LUMP");
    EXPECT_TRUE(nothing.prints("ERROR: Lumped fraction \"\" cannot be defined  ######"));
    EXPECT_TRUE(nothing.prints("Lumped fraction names cannot appear empty or numerical."));

    CharzScript component(FLUID + "LUMP c7 C5 C8\nLUMP H C7\n");
    EXPECT_TRUE(component.prints("ERROR: Lumped fraction \"c7\" cannot be defined  ######"));
    EXPECT_TRUE(component.prints("Lumped fraction names cannot match component names."));
    EXPECT_EQ(component.counts.errors, 1);
    EXPECT_EQ(component.charz().lumps.size(), 1U);
}

TEST(LumpKeys, WithoutACharacterizationOnlyNumbersAreRead) {
    CharzScript script("LUMP H 0 0 C7\n");
    EXPECT_EQ(script.counts.errors, 1);
    EXPECT_TRUE(script.prints("Keyword \"C7\" not recognized in current context"));
    CharzScript factor("LUMP H 1\n");
    EXPECT_TRUE(factor.prints("Undefined component 1 cannot be included in the lumping."));
}

TEST(LumpKeys, ALumpOfTheBaseIsNoItem) {
    CharzScript script(FLUID +
                       "LUMP H C7 C8\nLUMP G C5 C7\n"
                       "CHAR Coarse\nBASE Fluid\nNAME\nC5\nH\nEND\nLUMP I C5 H G\n");
    EXPECT_TRUE(script.prints("Undefined component G cannot be included in the lumping."));
    EXPECT_EQ(script.counts.errors, 1);
}

TEST(LumpKeys, TheNoteListsComponentsWithTheirFactors) {
    CharzScript script(FLUID + "LUMP H C5 0.123456789 C7 -2 C8\nLUMP I 1.000000001 C7\n");
    EXPECT_TRUE(
        script.prints("======  NOTE: New lumped fraction definition  ======\n"
                      "Lump H = C5, C7 (0.12345679), C8 (-2)\n"));
    // A factor that prints as 1 is not printed.
    EXPECT_TRUE(script.prints("\nLump I = C7\n"));
}

TEST(LumpKeys, ANoteOfNothingEndsInASlash) {
    CharzScript script(FLUID + "LUMP H\nLUMP I 0 0 0\n");
    EXPECT_TRUE(script.prints("\nLump H /\n"));
    EXPECT_TRUE(script.prints("\nLump I /\n"));
}

TEST(LumpKeys, TheNoteBreaksBeforeColumn81) {
    // "Lump L =" and n terms " Cddddddd," of ten columns each: seven end in column 78.
    std::string table = "CHAR Long\nNAME          MW\n";
    std::string items;
    for (int i = 0; i < 16; ++i) {
        const std::string name = "C" + std::to_string(1000000 + i);
        table += name + "\n";
        items += " " + name;
    }
    CharzScript script(table + "END\nLUMP L" + items + "\n");
    std::vector<std::string> note;
    for (const std::string& text : script.report_lines())
        if (text.starts_with("Lump") || text.starts_with("         C10")) note.push_back(text);
    EXPECT_EQ(note, (std::vector<std::string>{
                        "Lump L = C1000000, C1000001, C1000002, C1000003, C1000004, C1000005, "
                        "C1000006,",
                        "         C1000007, C1000008, C1000009, C1000010, C1000011, C1000012, "
                        "C1000013,",
                        "         C1000014, C1000015"}));
    // With a name two letters longer the same line would be full to the last column.
    CharzScript full(table + "END\nLUMP LMN" + items + "\n");
    EXPECT_TRUE(
        full.prints("Lump LMN = C1000000, C1000001, C1000002, C1000003, C1000004, C1000005, "
                    "C1000006,\n           C1000007"));
    CharzScript over(table + "END\nLUMP LMNO" + items + "\n");
    EXPECT_TRUE(over.prints("C1000005,\n            C1000006, "));
}

TEST(LumpKeys, NamesAreKnownWhileReadingAndDefinedAgainInEachPass) {
    CharzScript script(FLUID + "LUMP H C7 C8\nLUMP I H 2 C5\n", CharzScript::Mode::Deferred);
    EXPECT_EQ(script.counts.errors, 0) << script.report();
    EXPECT_TRUE(script.user.knows_name("H"));
    EXPECT_TRUE(script.user.knows_name("c5"));
    EXPECT_FALSE(script.user.knows_name("J"));
    EXPECT_FALSE(script.prints("New lumped fraction definition"));
    for (int pass = 0; pass < 2; ++pass) {
        script.clear_report();
        script.run_pass();
        EXPECT_EQ(factors(script, "I"), (Factors{2, 1, 1}));
        EXPECT_EQ(script.charz().lumps.size(), 2U);
        EXPECT_EQ(script.times("New lumped fraction definition"), 2);
    }
}

TEST(LumpKeys, EarlierReportsStandWhenALumpIsRedefined) {
    CharzScript script(FLUID + "LUMP H C7\nLUMP G C5\nLUMP H C8\n", CharzScript::Mode::Deferred);
    script.run_pass();
    EXPECT_TRUE(script.prints("Lump H = C7\n"));
    EXPECT_TRUE(script.prints("Lump H = C8\n"));
    ASSERT_EQ(script.charz().lumps.size(), 2U);
    EXPECT_EQ(script.charz().lumps[0]->name.text(), "H");
    EXPECT_EQ(factors(script, "H"), (Factors{0, 0, 1}));
}

TEST(LumpKeys, AnyBytesEnd) {
    for (const char* tail : {"LUMP H 1e308 C7 1e308 C7", "LUMP H ,,,,,,,,", "LUMP \"H", "LUMP & C7",
                             "LUMP H & ", "LUMP ,", "LUMP H 99999999999*C7", "LUMP H \x01\xff"}) {
        CharzScript script(FLUID + tail);
        CharzScript unfinished(FLUID + tail + "\n");
    }
}

}  // namespace
}  // namespace kestrane
