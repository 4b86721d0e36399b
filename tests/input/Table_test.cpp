#include "input/Table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "frame/Errors.h"
#include "input/Script.h"

namespace kestrane {
namespace {

using testing::Script;

struct Sample : Row {
    UserWord name;
    Quote full;
    std::string zone;
    double mw = UNSET;
    double tc = UNSET;  // K
    double pc = UNSET;  // Pa
    double share = UNSET;
    int stage = UNSET_INT;
    std::vector<double> z;
};

/// Heads of every type and kind, as a laboratory's tables have them.
struct Heads {
    TableHead<UserWord> name{&Sample::name, {"Component"}, {"COMP&", "NAME&"}, nullptr, 1};
    TableHead<double> mw{&Sample::mw, {"Molecular Weight", "Mol Wt", "MW"}, {"MW&"}, nullptr, 0,
                         {3, -1, 6}};
    TableHead<double> tc{&Sample::tc,
                         {"Critical Temperature", "Crit Temp", "Tc"},
                         {"TC", "TCR&"},
                         &unit_set(UnitKind::AbsoluteTemperature)};
    TableHead<double> pc{&Sample::pc,
                         {"Critical Pressure", "Crit Pres", "Pc"},
                         {"PC", "PCR&"},
                         &unit_set(UnitKind::Pressure),
                         0,
                         {5, 8, 6}};
    TableHead<double> share{
        &Sample::share, {"Mole Fraction", "Frac"}, {"FRAC&"}, &unit_set(UnitKind::Fraction)};
    TableHead<int> stage{&Sample::stage, {"Stage", "Stg"}, {"STG", "STAG&"}, nullptr, 2};
    TableHead<Quote> full{&Sample::full, {"Full Name", "Full"}, {"FULL&"}};
    TableHead<std::string> zone{&Sample::zone, {"Fluid Zone", "Zone"}, {"ZONE"}};
    VecTableHead<double, std::vector<double>> z1{&Sample::z, 1, {"Second z"}, {"Z1"}};
    HeadDictionary all;

    Heads() {
        name.left_aligned = true;
        for (const AnyColHead* head : std::vector<const AnyColHead*>{&name, &mw, &tc, &pc, &share,
                                                                     &stage, &full, &zone, &z1})
            all.add(*head);
    }
};

const Heads& heads() {
    static const Heads all;
    return all;
}

/// A table read from a script.
struct Reading {
    explicit Reading(const std::string& text, const CmdDictionary* stop = nullptr)
        : script(text), table(&heads().all) {
        result = table.Read(script.reader, stop);
    }
    Sample row(int index) const {
        Sample sample;
        sample.z.assign(3, UNSET);
        table.TakeRow(index, sample);
        return sample;
    }
    int errors() const { return script.counts.errors; }
    std::string text() const { return script.printed(); }
    Script script;
    Table table;
    int result;
};

// ---------------------------------------------------------------- head line and units

TEST(Table, CellsBelongToTheHeadingAboveThem) {
    Reading in(
        "NAME   MW      TC(R)   PC(psia)\n"
        "C1     16.043  343     667.8\n"
        "C7+    215\n"
        "C2             549.8   707.8\n"
        "CO2                    1070.7\n"
        "END\n"
        "FLASH\n");
    ASSERT_EQ(in.result, 1);
    ASSERT_EQ(in.table.rowCount, 4);
    EXPECT_TRUE(in.table.closed);
    EXPECT_EQ(in.errors(), 0) << in.text();
    EXPECT_EQ(in.row(0).name.text(), "C1");
    EXPECT_EQ(in.row(0).mw, 16.043);
    EXPECT_EQ(in.row(0).tc, 343 / 1.8);
    EXPECT_EQ(in.row(0).pc, unit_of(UnitKind::Pressure, "psia").to_base(667.8));
    EXPECT_EQ(in.row(1).mw, 215.0);
    EXPECT_EQ(in.row(1).tc, UNSET);
    EXPECT_EQ(in.row(2).mw, UNSET);  // blank by its position
    EXPECT_EQ(in.row(2).tc, 549.8 / 1.8);
    EXPECT_EQ(in.row(3).tc, UNSET);
    EXPECT_GT(in.row(3).pc, 0.0);
    EXPECT_EQ(in.script.word(), "FLASH");
}

TEST(Table, ACellThatEndsLeftOfTheNextHeadingsStartIsNotItsOwn) {
    // "12345" ends one column left of TC's start, "123456" reaches it.
    Reading in(
        "NAME MW   TC K\n"
        "A   12345 300\n"
        "B   123456\n"
        "END\n");
    EXPECT_EQ(in.row(0).mw, 12345.0);
    EXPECT_EQ(in.row(0).tc, 300.0);
    EXPECT_EQ(in.row(1).mw, 123456.0);
    EXPECT_EQ(in.errors(), 0) << in.text();

    Reading reaching("NAME MW   TC K\nB    123456\nEND\n");
    EXPECT_EQ(reaching.row(0).mw, UNSET);
    EXPECT_EQ(reaching.row(0).tc, 123456.0);
}

TEST(Table, UnitsMayStandInTheHeadLineOrInAUnitLine) {
    Reading in(
        "NAME   TC      PC      FRAC  MW\n"
        "       F       bar     %\n"
        "C1     -116    46      25    16\n"
        "END\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    EXPECT_EQ(in.row(0).tc, unit_of(UnitKind::Temperature, "F").to_base(-116.0));
    EXPECT_EQ(in.row(0).pc, 46 / 1e-5);
    EXPECT_EQ(in.row(0).share, 0.25);
    EXPECT_EQ(in.table.ColumnAt(1).unit->name(), "F");
}

TEST(Table, AUnitLineMayFollowABlankLineAndMixWithHeadLineUnits) {
    Reading in(
        "NAME   TC K    PC\n"
        "\n"
        "               psia\n"
        "C1     190     667\n"
        "END\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    EXPECT_EQ(in.row(0).tc, 190.0);
    EXPECT_EQ(in.table.ColumnAt(2).unit->name(), "psia");
}

TEST(Table, MissingUnitsAreErrorsAndTheDefaultIsAssumed) {
    Reading in("NAME   TC      PC      FRAC\nC1     190     46      0.5\nEND\n");
    EXPECT_EQ(in.errors(), 2);
    EXPECT_TRUE(in.script.says(
        "######  ERROR: No units assigned to \"Critical Temperature\" column  ######\n"
        "Problem detected at line 2 of the standard input.\n"
        "To allow further input, units of \"K\" will be assumed.\n"))
        << in.text();
    EXPECT_TRUE(in.script.says("No units assigned to \"Critical Pressure\" column"));
    EXPECT_EQ(in.row(0).tc, 190.0);
    EXPECT_EQ(in.row(0).pc, 46 / 1e-5);
    EXPECT_EQ(in.row(0).share, 0.5);  // bare fractions are legal
}

TEST(Table, AFirstWordUnderAColumnWithoutUnitsIsADataRow) {
    // F, K and bar are units, but here they are names.
    Reading in("NAME  TC K\nF     300\nbar   310\nEND\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    ASSERT_EQ(in.table.rowCount, 2);
    EXPECT_EQ(in.row(0).name.text(), "F");
    EXPECT_EQ(in.row(1).tc, 310.0);
}

TEST(Table, LaterWordsOfAUnitLineMustBeUnits) {
    Reading in("STG  TC   PC   MW\n     K    mile kg\n1    190  46   16\nEND\n");
    EXPECT_TRUE(in.script.says("Keyword \"mile\" not recognized in current context")) << in.text();
    EXPECT_TRUE(in.script.says("at column 11 of line 2"));
    // The unitless column takes any word; PC has no unit and gets its default, with the error.
    EXPECT_EQ(in.errors(), 2);
    EXPECT_EQ(in.table.rowCount, 1);
}

TEST(Table, APlaceholderColumnIsReadOver) {
    for (const char* mark : {"~", "_x", "?no"}) {
        std::string head = "NAME  " + std::string(mark);
        head.resize(20, ' ');
        Reading in(head +
                   "MW\n"
                   "C1    remark here   16\n"
                   "C2    \"a b\"         30\n"
                   "C3                  44\n"
                   "C4    5             58\n"
                   "END\n");
        EXPECT_EQ(in.errors(), 0) << in.text();
        ASSERT_EQ(in.table.rowCount, 4);
        EXPECT_FALSE(in.table.ColumnAt(1).IsData());
        EXPECT_EQ(in.row(1).mw, 30.0);
        EXPECT_EQ(in.row(2).mw, 44.0);
        EXPECT_EQ(in.row(3).mw, 58.0);
    }
}

TEST(Table, APlaceholderMayStandFirst) {
    Reading in("~ID   NAME  MW\nx1    C1    16\nx2    C2    30\nEND\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    ASSERT_EQ(in.table.rowCount, 2);
    EXPECT_EQ(in.row(1).name.text(), "C2");
}

TEST(Table, AnUnknownHeadingIsAnErrorAndItsCellsAreReadOver) {
    Reading in("NAME  WAT   MW\nC1    5     16\nEND\n");
    EXPECT_EQ(in.errors(), 1);
    EXPECT_TRUE(in.script.says("Keyword \"WAT\" not recognized in current context"));
    EXPECT_TRUE(in.script.says("at column 7 of line 1"));
    EXPECT_EQ(in.row(0).mw, 16.0);
}

TEST(Table, OnlyAKeyColumnStartsATable) {
    for (const char* text : {"MW NAME\n", "FLASH\n", "CRITICAL\n", "16\n"}) {
        Reading in(text);
        EXPECT_EQ(in.result, 0) << text;
        EXPECT_TRUE(in.table.columns.empty()) << text;
        EXPECT_EQ(in.errors(), 0) << text;
        EXPECT_NE(in.script.word(), "<none>") << text;
    }
    EXPECT_LT(Reading("").result, 0);
    EXPECT_LT(Reading("\n \n").result, 0);
}

TEST(Table, TitlesAreNoKeywords) {
    Reading in("NAME  Molecular\nC1    16\nEND\n");
    EXPECT_EQ(in.errors(), 1) << in.text();
}

TEST(Table, HeadsMayBeSeparatedByCommas) {
    Reading in("NAME, MW,  TC(K)\nC1,   16,  190\nC2,,  ,  305\nEND\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    ASSERT_EQ(in.table.rowCount, 2);
    EXPECT_EQ(in.row(0).mw, 16.0);
    EXPECT_EQ(in.row(1).tc, 305.0);
}

// ---------------------------------------------------------------- rows and their end

TEST(Table, BlankAndCommentLinesDoNotEndATable) {
    Reading in("NAME  MW\nC1    16\n\n-- ethane\n   \nC2    30 ; remark\nC3    44 / rest\nEND\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    EXPECT_EQ(in.table.rowCount, 3);
    EXPECT_TRUE(in.table.closed);
}

TEST(Table, AKeywordEndsATableOfNumbersAndIsReadAgain) {
    Reading in("STG  MW\n1    16\n2    30\nFLASH 5\n");
    EXPECT_EQ(in.result, 1);
    EXPECT_EQ(in.table.rowCount, 2);
    EXPECT_FALSE(in.table.closed);
    EXPECT_EQ(in.errors(), 0);
    EXPECT_EQ(in.script.word(), "FLASH");
    EXPECT_EQ(in.script.number(), 5.0);
}

TEST(Table, AStopWordOrEofEndsATableOfNames) {
    CmdKey bips{"BIPS"};
    CmdDictionary stop;
    stop.add("BIPS", &bips);
    for (const char* last : {"BIPS", "bips", "EOF"}) {
        Reading in(std::string("NAME  MW\nC1    16\n") + last + " x\n", &stop);
        EXPECT_EQ(in.table.rowCount, 1) << last;
        EXPECT_FALSE(in.table.closed);
        EXPECT_EQ(in.script.word(), last);
    }
}

TEST(Table, EndOfInputEndsATable) {
    Reading in("NAME  MW\nC1    16");
    EXPECT_EQ(in.result, 1);
    EXPECT_EQ(in.row(0).mw, 16.0);
    EXPECT_LT(in.table.Read(in.script.reader), 0);
}

TEST(Table, ATokenLeftOfEveryHeadingIsNoRow) {
    Reading in("     NAME  MW\n     C1    16\nC2         30\n");
    EXPECT_EQ(in.table.rowCount, 1);
    EXPECT_EQ(in.errors(), 0);
    EXPECT_EQ(in.script.word(), "C2");
}

TEST(Table, ATokenRightOfAllColumnsIsAnErrorAndItsLineIsDropped) {
    Reading in("NAME  MW\nC1    16 17 18 19\nC2    30\nEND\n");
    EXPECT_EQ(in.errors(), 1) << in.text();
    EXPECT_TRUE(in.script.says("Keyword \"17\" not recognized in current context"));
    EXPECT_TRUE(in.script.says("at column 10 of line 2"));
    ASSERT_EQ(in.table.rowCount, 2);
    EXPECT_EQ(in.row(0).mw, 16.0);
    EXPECT_EQ(in.row(1).mw, 30.0);
}

TEST(Table, ASecondTokenUnderAHeadingIsAnErrorAndReadingGoesOn) {
    Reading in("NAME      MW\nN C4      58\nEND\n");
    EXPECT_EQ(in.errors(), 1);
    EXPECT_TRUE(in.script.says("Keyword \"C4\" not recognized"));
    EXPECT_EQ(in.row(0).mw, 58.0);
}

TEST(Table, AWordWhereANumberBelongsStopsTheRowAndIsReadAgain) {
    Reading in("NAME  MW   TC K\nC1    abc  190\n");
    EXPECT_EQ(in.table.rowCount, 1);  // under MW the word begins no other row either
    EXPECT_EQ(in.script.word(), "abc");
    Reading numbers("STG   MW   TC K\n1     abc  190\n");
    EXPECT_EQ(numbers.table.rowCount, 1);
    EXPECT_EQ(numbers.row(0).mw, UNSET);
    EXPECT_EQ(numbers.script.word(), "abc");
}

TEST(Table, RepeatsAndEmptyFieldsFillTheColumnsThatFollow) {
    Reading in(
        "STG   MW   TC K  PC bar\n"
        "1     2*5        7\n"
        "2     2*         8\n"
        "3     3*4\n"
        "4     4*4        1\n"
        "5     6\n"
        "END\n");
    EXPECT_EQ(in.errors(), 1) << in.text();  // a fourth value has no column
    ASSERT_EQ(in.table.rowCount, 5);
    EXPECT_EQ(in.row(0).mw, 5.0);
    EXPECT_EQ(in.row(0).tc, 5.0);
    EXPECT_EQ(in.row(0).pc, 7 / 1e-5);
    EXPECT_EQ(in.row(1).mw, UNSET);
    EXPECT_EQ(in.row(1).tc, UNSET);
    EXPECT_EQ(in.row(1).pc, 8 / 1e-5);
    EXPECT_EQ(in.row(2).pc, 4 / 1e-5);
    EXPECT_EQ(in.row(4).mw, 6.0);
}

TEST(Table, CellsOfEveryTypeAreRead) {
    Reading in(
        "STG  NAME         MW      FULL             ZONE    Z1\n"
        "1    Isopentane99 1.5D2   'i pentane, dry' oil     0.25\n"
        "2    x            -7      plain            \"gas cap\" 3\n"
        "3    y                    \"it \"\"is\"\"\"\n"
        "END\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    ASSERT_EQ(in.table.rowCount, 3);
    EXPECT_EQ(in.row(0).stage, 1);
    EXPECT_EQ(in.row(0).name.text(), "Isopentane99");
    EXPECT_EQ(in.row(0).name.shown(), "Isopentan");
    EXPECT_EQ(in.row(0).mw, 150.0);
    EXPECT_EQ(in.row(0).full.text, "i pentane, dry");
    EXPECT_EQ(in.row(0).zone, "oil");
    EXPECT_EQ(in.row(0).z[1], 0.25);
    EXPECT_EQ(in.row(1).full.text, "plain");
    EXPECT_EQ(in.row(1).zone, "gas cap");
    EXPECT_EQ(in.row(2).full.text, "it \"is\"");
    EXPECT_EQ(in.row(2).zone, "");
}

TEST(Table, AnEmptyQuotedTextLeavesItsCellEmpty) {
    Reading in("STG  ZONE   FULL\n1    \"\"     gas\n2    ''\n3    oil    x\nEND\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    ASSERT_EQ(in.table.rowCount, 3);
    EXPECT_EQ(in.row(0).zone, "");
    EXPECT_EQ(in.row(0).full.text, "gas");
    EXPECT_EQ(in.row(2).zone, "oil");
}

TEST(Table, TabsAreExpandedColumns) {
    Reading in("NAME\tFULL\tMW\nC1\tmethane gas\t16\nC2\t\t30\nC3\t\"pro pane\"\t44\nEND\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    ASSERT_EQ(in.table.rowCount, 3);
    EXPECT_EQ(in.table.ColumnAt(2).startColumn, 200);
    EXPECT_EQ(in.row(0).full.text, "methane gas");
    EXPECT_EQ(in.row(1).full.text, "");
    EXPECT_EQ(in.row(1).mw, 30.0);
    EXPECT_EQ(in.row(2).full.text, "pro pane");

    // An empty field before the tab of a text is passed over with it.
    Reading blank("NAME\tMW\tFULL\nC1\t\tmethane gas\nEND\n");
    EXPECT_EQ(blank.row(0).full.text, "methane gas");
    EXPECT_EQ(blank.row(0).mw, UNSET);
}

TEST(Table, TheTabWidthDecidesTheAlignment) {
    const std::string text = "NAME    MW      TC(K)\nC1\t\t190\nEND\n";
    Script script(text);
    script.reader.SetTabWidth(8);
    Table table(&heads().all);
    table.Read(script.reader);
    Sample sample;
    table.TakeRow(0, sample);
    EXPECT_EQ(sample.tc, 190.0);
    EXPECT_EQ(sample.mw, UNSET);
    script.reader.SetTabWidth(4);
    Script narrow(text);
    narrow.reader.SetTabWidth(4);
    table.Clear();
    table.Read(narrow.reader);
    Sample other;
    table.TakeRow(0, other);
    EXPECT_EQ(other.mw, 190.0);
}

TEST(Table, ATableMayEndInTheFileThatIncludesIt) {
    const testing::ScratchDirectory directory;
    const std::string name = directory.write("rows.inc", "NAME  MW\nC1    16\n");
    Script script("C2    30\nEND\nFLASH\n");
    script.reader.Push(name);
    Table table(&heads().all);
    EXPECT_EQ(table.Read(script.reader), 1);
    EXPECT_EQ(table.rowCount, 2);
    EXPECT_TRUE(table.closed);
    EXPECT_EQ(script.word(), "FLASH");
}

// ---------------------------------------------------------------- weights

TEST(Table, WeightsArePlacedLikeUnits) {
    for (std::string key : {"WT", "WGT", "Weights", "wght"}) {
        key.resize(8, ' ');
        Script script("STG     MW    TC K  PC bar\n" + key +
                      "2.5   bad   1*\n1       16    190   46\nEND\n");
        Table table(&heads().all);
        table.allowWeights = 1;
        EXPECT_EQ(table.Read(script.reader), 1);
        EXPECT_EQ(table.rowCount, 1) << script.printed();
        EXPECT_EQ(table.ColumnAt(0).weight, UNSET);
        EXPECT_EQ(table.ColumnAt(1).weight, 2.5);
        EXPECT_EQ(table.ColumnAt(2).weight, UNSET);
        EXPECT_EQ(table.ColumnAt(3).weight, UNSET);  // an empty field keeps it
        EXPECT_TRUE(script.says("Keyword \"bad\" not recognized")) << script.printed();
        EXPECT_EQ(script.counts.errors, 1);
    }
}

TEST(Table, WeightsAreNoRowsUnlessAllowed) {
    Reading in("STG     MW\nWT      2.5\n");
    EXPECT_EQ(in.table.rowCount, 0);
    EXPECT_EQ(in.script.word(), "WT");
}

// ---------------------------------------------------------------- merging

TEST(Table, BlocksWithTheSameKeyJoin) {
    Reading in("NAME  MW\nC1    16\nC2    30\nEND\nNAME  TC(K)\nC2    305\nC1    190\nEND\n");
    EXPECT_EQ(in.table.rowCount, 2);
    EXPECT_EQ(in.table.Read(in.script.reader), 1);
    EXPECT_EQ(in.errors(), 0) << in.text();
    ASSERT_EQ(in.table.rowCount, 2);
    EXPECT_EQ(in.table.columns.size(), 3U);
    EXPECT_EQ(in.row(0).mw, 16.0);
    EXPECT_EQ(in.row(0).tc, 190.0);
    EXPECT_EQ(in.row(1).tc, 305.0);
    EXPECT_LT(in.table.Read(in.script.reader), 0);
}

TEST(Table, AFurtherHeadLineWithoutEndMerges) {
    Reading in(
        "NAME  MW\nC1    16\nC2    30\nNAME  TC(K)\nC2    305\nNAME PC(bar)\nC1   46\nEND\nX\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    ASSERT_EQ(in.table.rowCount, 2);
    EXPECT_TRUE(in.table.closed);
    EXPECT_EQ(in.row(0).tc, UNSET);
    EXPECT_EQ(in.row(0).pc, 46 / 1e-5);
    EXPECT_EQ(in.row(1).tc, 305.0);
    EXPECT_EQ(in.script.word(), "X");

    Reading numbers("STG  MW\n1    16\nSTG  TC(K)\n1    190\nEND\n");
    EXPECT_EQ(numbers.errors(), 0) << numbers.text();
    ASSERT_EQ(numbers.table.rowCount, 1);
    EXPECT_EQ(numbers.row(0).mw, 16.0);
    EXPECT_EQ(numbers.row(0).tc, 190.0);
}

TEST(Table, AHeadLineAfterEndIsNotRead) {
    Reading in("NAME  MW\nC1    16\nEND\nNAME  TC(K)\n");
    EXPECT_TRUE(in.table.closed);
    EXPECT_EQ(in.table.columns.size(), 2U);
    EXPECT_EQ(in.script.word(), "NAME");
}

TEST(Table, ARowWhoseNameLooksLikeAHeadingIsARow) {
    Reading in("NAME   MW   TC(K)\nCOMP1  16   190\nCOMP2\nCOMP3       305\nEND\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    ASSERT_EQ(in.table.rowCount, 3);
    EXPECT_EQ(in.row(0).name.text(), "COMP1");
    EXPECT_EQ(in.row(0).mw, 16.0);
    EXPECT_EQ(in.row(0).tc, 190.0);
    EXPECT_EQ(in.row(1).name.text(), "COMP2");
    EXPECT_EQ(in.row(2).mw, UNSET);
    EXPECT_EQ(in.row(2).tc, 305.0);
}

TEST(Table, AKeyAbsentFromTheFirstBlockIsAnIncompleteMerger) {
    Reading in("NAME  MW\nC1    16\nEND\nNAME  TC(K)\nC1    190\nC9    600\nEND\n");
    EXPECT_EQ(in.table.Read(in.script.reader), 1);
    EXPECT_EQ(in.errors(), 1);
    EXPECT_TRUE(in.script.says("Table merger incomplete")) << in.text();
    EXPECT_TRUE(
        in.script.says("Row 2 of the most recent table had no corresponding\nrow in the previously "
                       "existing table.\n"));
    EXPECT_EQ(in.table.rowCount, 1);
    EXPECT_EQ(in.row(0).tc, 190.0);
}

TEST(Table, NamesJoinByNineLettersAndNumbersByValue) {
    Reading in(
        "NAME         MW\nhexadecane1  226\nEND\nNAME         TC(K)\nHEXADECANE22 722\nEND\n");
    in.table.Read(in.script.reader);
    EXPECT_EQ(in.errors(), 0) << in.text();
    EXPECT_EQ(in.row(0).tc, 722.0);
    EXPECT_TRUE(UserWord("hexadecane1") == UserWord("HEXADECANE22"));
    EXPECT_FALSE(UserWord("hexadecan") == UserWord("hexadeca"));
}

TEST(Table, AllKeysMustAgree) {
    Reading in(
        "STG NAME MW\n1   C1   16\n1   C2   30\n2   C1   17\nEND\n"
        "STG NAME TC(K)\n2   C1   200\n1   C2   300\nEND\n");
    in.table.Read(in.script.reader);
    EXPECT_EQ(in.errors(), 0) << in.text();
    EXPECT_EQ(in.row(0).tc, UNSET);
    EXPECT_EQ(in.row(1).tc, 300.0);
    EXPECT_EQ(in.row(2).tc, 200.0);
}

TEST(Table, ABlankCellOfALaterBlockErasesNothing) {
    Reading in("NAME  MW\nC1    16\nEND\nNAME  MW  TC(K)\nC1        190\nEND\n");
    in.table.Read(in.script.reader);
    EXPECT_EQ(in.row(0).mw, 16.0);
    EXPECT_EQ(in.row(0).tc, 190.0);
}

TEST(Table, WithoutKeysRowsJoinInOrder) {
    Script script("");
    Table here(&heads().all), there(&heads().all);
    Sample sample;
    here.AddColumnOf(heads().mw);
    there.AddColumnOf(heads().tc);
    for (const double value : {1.0, 2.0}) {
        sample.mw = value;
        sample.tc = 100.0 * value;
        here.AddRow(sample);
        there.AddRow(sample);
    }
    there.AddRow(sample);
    here.Merge(script.reader, there);
    EXPECT_EQ(script.counts.errors, 1);  // the third row has no partner
    Sample joined;
    here.TakeRow(1, joined);
    EXPECT_EQ(joined.mw, 2.0);
    EXPECT_EQ(joined.tc, 200.0);
}

// ---------------------------------------------------------------- rows and records

Table two_rows() {
    Table table(&heads().all);
    table.AddColumnOf(heads().name);
    table.AddColumnOf(heads().mw);
    table.AddColumnOf(heads().tc);
    Sample sample;
    sample.name = UserWord("C1");
    sample.mw = 16.0;
    sample.tc = 190.0;
    table.AddRow(sample);
    sample.name = UserWord("C2");
    sample.mw = UNSET;
    sample.tc = 305.0;
    table.AddRow(sample);
    return table;
}

TEST(Table, RecordsMoveInAndOut) {
    Table table = two_rows();
    Sample sample;
    sample.mw = 99.0;
    sample.pc = 5.0;
    table.TakeRow(1, sample);
    EXPECT_EQ(sample.name.text(), "C2");
    EXPECT_EQ(sample.mw, 99.0);  // a blank cell sets nothing
    EXPECT_EQ(sample.tc, 305.0);
    EXPECT_EQ(sample.pc, 5.0);  // no column
    table.ClearHeads(sample);
    EXPECT_EQ(sample.mw, UNSET);
    EXPECT_TRUE(sample.name.empty());
    EXPECT_EQ(sample.pc, 5.0);
    sample.mw = 30.0;
    table.PutRow(1, sample);
    Sample back;
    table.TakeRow(1, back);
    EXPECT_EQ(back.mw, 30.0);
    EXPECT_EQ(back.tc, UNSET);
    EXPECT_THROW(table.PutRow(2, sample), LogicError);
    EXPECT_THROW(table.PutRow(-1, sample), LogicError);
}

TEST(Table, RowsAreInsertedAndDeleted) {
    Table table = two_rows();
    table.InsertBlankRow(1);
    ASSERT_EQ(table.rowCount, 3);
    Sample sample;
    table.TakeRow(1, sample);
    EXPECT_TRUE(sample.name.empty());
    sample.name = UserWord("C0");
    table.InsertRow(0, sample);
    table.DeleteRow(2);
    table.DeleteRow(17);
    table.DeleteRow(-1);
    ASSERT_EQ(table.rowCount, 3);
    std::string names;
    for (int row = 0; row < table.rowCount; ++row) {
        table.TakeRow(row, sample);
        names += sample.name.text() + " ";
    }
    EXPECT_EQ(names, "C0 C1 C2 ");
}

TEST(Table, ARecordCanHoldThePositionsOfTheColumns) {
    Table table(&heads().all);
    table.AddColumn(heads().stage.MakeBlank());
    table.AddColumn(heads().mw.MakeBlank());
    table.AddColumn(heads().tc.MakeBlank());
    table.AddColumn(heads().mw.MakeBlank());
    Sample sample;
    table.ReadRowBackward(sample);
    EXPECT_EQ(sample.mw, 1.0);
    EXPECT_EQ(sample.tc, 2.0);
    EXPECT_EQ(sample.stage, 0);
    table.ReadRowForward(sample);
    EXPECT_EQ(sample.mw, 3.0);
    EXPECT_EQ(sample.pc, UNSET);
    EXPECT_EQ(table.ColumnIndex(heads().mw), 1);
    EXPECT_EQ(table.ColumnIndex(heads().mw, 2), 3);
    EXPECT_EQ(table.ColumnIndexOf("mwx"), 1);
    EXPECT_EQ(table.ColumnIndexOf("Tc", 3), -1);
    EXPECT_EQ(table.minPriority, 0);
    EXPECT_EQ(table.maxPriority, 2);
}

TEST(Table, CopiesAreDeepAndColumnsAreAddedOnce) {
    Table table = two_rows();
    Table copy = table;
    copy.DeleteRow(0);
    Sample sample;
    table.TakeRow(0, sample);
    EXPECT_EQ(sample.name.text(), "C1");
    EXPECT_EQ(copy.rowCount, 1);

    Table other(&heads().all);
    other.AddColumnOnce(heads().pc, &unit_of(UnitKind::Pressure, "psia"));
    other.AddColumnOf(heads().mw);
    table.CopyColumns(other);
    ASSERT_EQ(table.columns.size(), 4U);
    EXPECT_EQ(table.ColumnAt(3).unit->name(), "psia");
    EXPECT_EQ(table.ColumnAt(3).RowCount(), 2);
    table = table.columns.empty() ? other : table;  // assignment to itself
    EXPECT_EQ(table.rowCount, 2);
    table.Clear();
    EXPECT_EQ(table.rowCount, 0);
    EXPECT_EQ(table.maxPriority, std::numeric_limits<int>::lowest());
}

TEST(Table, AVectorsElementThatIsNotThereIsABlankCell) {
    Table table(&heads().all);
    table.AddColumnOf(heads().z1);
    Sample sample;
    sample.z = {7.0};
    table.AddRow(sample);
    sample.z = {7.0, 8.0};
    table.AddRow(sample);
    Sample back;
    back.z.assign(2, UNSET);
    table.TakeRow(0, back);
    EXPECT_EQ(back.z[1], UNSET);
    table.TakeRow(1, back);
    EXPECT_EQ(back.z[1], 8.0);
    Sample small;
    table.TakeRow(1, small);
    table.ClearHeads(small);
    EXPECT_TRUE(small.z.empty());
}

TEST(HeadDictionary, KeywordsOfDifferentHeadsMustNotCollide) {
    HeadDictionary dictionary;
    const TableHead<double> mw{&Sample::mw, {"MW"}, {"MW", "MW&"}};  // its own may overlap
    const TableHead<double> tc{&Sample::tc, {"Tc"}, {"MWX"}};
    dictionary.add(mw);
    EXPECT_THROW(dictionary.add(tc), LogicError);
    EXPECT_EQ(dictionary.find("mwxyz"), &mw);
}

// ---------------------------------------------------------------- printing

std::string print(Table& table, int gap = 2, int indent = 1, int width = 0) {
    std::stringbuf text;
    OutFile file(text);
    table.Print({&file}, gap, indent, width);
    return text.str();
}

TEST(Table, PrintsHeadingsARuleAndAlignedCells) {
    Table table = two_rows();
    EXPECT_EQ(print(table),
              " Component  Mol Wt  Tc (K)\n"
              " ---------  ------  ------\n"
              " C1         16.000  190.00\n"
              " C2                 305.00\n");
}

TEST(Table, PrintsCentredInThePage) {
    // The table is 26 wide: of 13 free blanks 7 go left.
    Table table = two_rows();
    const std::string text = print(table, 2, 1, 39);
    EXPECT_EQ(text.substr(0, 18), "        Component ");
    EXPECT_EQ(text.find("Component"), 8U);
    EXPECT_EQ(print(table, 2, 1, 26), print(table));
    EXPECT_EQ(print(table, 2, 1, 5), print(table));
}

TEST(Table, PrintsByFallingPriorityThenInColumnOrder) {
    Table table(&heads().all);
    table.AddColumnOf(heads().mw);
    table.AddColumnOf(heads().name);
    table.AddColumnOf(heads().stage);
    Sample sample;
    sample.mw = 16.0;
    sample.name = UserWord("C1");
    sample.stage = 1;
    table.AddRow(sample);
    EXPECT_EQ(print(table, 1, 0),
              "Stg Component Mol Wt\n"
              "--- --------- ------\n"
              "  1 C1        16.000\n");
}

TEST(Table, HidesRepeatedColumnsWhenAsked) {
    Table table = two_rows();
    table.AddColumn(table.ColumnAt(1).CopyOf());
    table.AddColumn(heads().tc.MakeColumn(&unit_of(UnitKind::Temperature, "F"), 0)).GrowTo(2);
    EXPECT_NE(print(table).find("Mol Wt", print(table).find("Mol Wt") + 1), std::string::npos);
    table.showAll = 0;
    EXPECT_EQ(print(table).find("Mol Wt", print(table).find("Mol Wt") + 1), std::string::npos);
    EXPECT_NE(print(table).find("Tc (F)"), std::string::npos);  // another unit stays
}

TEST(Table, PrintsInTheColumnsUnitAndCutsNamesToNineCharacters) {
    Table table(&heads().all);
    table.AddColumnOf(heads().name);
    table.AddColumnOnce(heads().tc, &unit_of(UnitKind::Temperature, "C"));
    Sample sample;
    sample.name = UserWord("Isopentane99");
    sample.tc = 273.15;
    table.AddRow(sample);
    EXPECT_EQ(print(table, 1, 0),
              "Component Tc (C)\n"
              "--------- ------\n"
              "Isopentan 0.0000\n");
}

TEST(Table, PrintsToActiveFilesOnlyAfterPendingBlankLines) {
    Table table = two_rows();
    std::stringbuf shown, silent;
    OutFile open(shown), closed(silent);
    closed.minimumLevel = 1;
    closed.printLevel = 0;
    open.pendingBlankLines = 2;
    table.Print({&open, &closed}, 2, 1, 0);
    EXPECT_EQ(shown.str(), "\n\n" + print(table));
    EXPECT_EQ(silent.str(), "");
    EXPECT_EQ(open.pendingBlankLines, 0);
    table.Print({}, 2, 1, 0);
    Table empty(&heads().all);
    EXPECT_EQ(print(empty), "");
    empty.AddColumn(std::make_unique<AnyColumn>());
    EXPECT_EQ(print(empty), "");
}

TEST(Table, UndefinedResultsShowAsADash) {
    Table table = two_rows();
    Sample sample;
    sample.mw = UNDEFINED;
    table.PutRow(1, sample);
    EXPECT_EQ(print(table),
              " Component  Mol Wt  Tc (K)\n"
              " ---------  ------  ------\n"
              " C1         16.000  190.00\n"
              "                 -        \n");
}

// ---------------------------------------------------------------- number formats

/// How a column with these figures prints its cells, joined by bars.
std::string formatted(PrintFigures figures, const std::vector<double>& cells,
                      const Units* unit = nullptr) {
    const TableHead<double> head{&Sample::mw, {"X"}, {"X"}, nullptr, 0, figures};
    Table table;
    auto column = head.MakeColumn(unit, 0);
    dynamic_cast<DataColumn<double>&>(*column).cells = cells;
    table.AddColumn(std::move(column));
    table.rowCount = static_cast<int>(cells.size());
    std::string text = print(table, 0, 0);
    text = text.substr(text.find('\n') + 1);
    text = text.substr(text.find('\n') + 1);
    for (char& c : text) c = c == '\n' ? '|' : c;
    return text;
}

TEST(PrintFigures, NegativeDecimalsAskForScientificForm) {
    EXPECT_EQ(formatted({-4, 7, 5}, {1234.5, -0.5}), " 1.234e+03|-5.000e-01|");
    EXPECT_EQ(formatted({-1, 7, 5}, {3.0}), "3.e+00|");
}

TEST(PrintFigures, AMaximumBelowTheDecimalsAsksForFixedForm) {
    EXPECT_EQ(formatted({3, -1, 6}, {16.043, 1e-9, 215.0}), " 16.043|  0.000|215.000|");
    EXPECT_EQ(formatted({5, 4, 6}, {1.5}), "1.50000|");
}

TEST(PrintFigures, DecimalsAreChosenForTheSmallestWithoutCrowdingTheLargest) {
    // Four digits for the smallest, five wanted for the largest.
    EXPECT_EQ(formatted({}, {14.7}), "14.700|");
    EXPECT_EQ(formatted({}, {14.7, 2302.3}), "  14.70|2302.30|");
    EXPECT_EQ(formatted({}, {0.5}), "0.50000|");
    EXPECT_EQ(formatted({}, {0.25, -100.0}), "   0.2500|-100.0000|");
    EXPECT_EQ(formatted({}, {12345.0}), "12345.|");
    EXPECT_EQ(formatted({}, {123456.0}), "123456.|");
}

TEST(PrintFigures, WithoutRoomForBothTheFormIsScientific) {
    EXPECT_EQ(formatted({}, {0.001, 5000.0}), "1.0000e-03|5.0000e+03|");
    EXPECT_EQ(formatted({}, {1e7}), "1.0000e+07|");
    EXPECT_EQ(formatted({}, {9999999.0}), "9999999.|");
}

TEST(PrintFigures, WhatRoundsUpToADigitMoreCountsAsHavingIt) {
    // 9999999.5 would print as eight digits; 9999999.4 as seven.
    EXPECT_EQ(formatted({}, {9999999.5}), "1.0000e+07|");
    EXPECT_EQ(formatted({}, {9999999.4}), "9999999.|");
    // 9.99951 rounds to 10.000 and so has its four digits with two decimals.
    EXPECT_EQ(formatted({4, 7, 4}, {9.99951}), "10.00|");
    EXPECT_EQ(formatted({4, 7, 4}, {9.9994}), "9.999|");
}

TEST(PrintFigures, AColumnOfZerosIsFixedWithItsDecimals) {
    EXPECT_EQ(formatted({}, {0.0, UNSET, 0.0}), "0.0000|      |0.0000|");
    EXPECT_EQ(formatted({5, 8, 6}, {0.0}), "0.00000|");
    EXPECT_EQ(formatted({}, {273.15}, &unit_of(UnitKind::Temperature, "C")), "0.0000|");
}

TEST(PrintFigures, MarksStayOutOfTheExtremes) {
    EXPECT_EQ(formatted({}, {UNSET, 14.7, UNDEFINED}), "      |14.700|     -|");
    EXPECT_EQ(formatted({}, {14.7, UNDEFINED}, &unit_of(UnitKind::Temperature, "R")),
              "26.460|     -|");
}

TEST(PrintFigures, WidthsHoldEveryCell) {
    // Three-digit exponents, both signs, and what is no finite number.
    EXPECT_EQ(formatted({-3, 0, 0}, {1e-120, -2.0, 5.0}), "1.00e-120|-2.00e+00| 5.00e+00|");
    EXPECT_EQ(formatted({1, 0, 0}, {1.0, -HUGE_VAL}), " 1.0|-inf|");
    std::mt19937 random(7);
    std::uniform_real_distribution<double> exponent(-12, 12), sign(-1, 1);
    for (int trial = 0; trial < 500; ++trial) {
        std::vector<double> cells(6);
        for (double& cell : cells)
            cell = std::copysign(std::pow(10.0, exponent(random)), sign(random));
        const std::string text = formatted({}, cells);
        const std::size_t width = text.find('|');
        for (std::size_t at = 0; at < text.size(); at += width + 1)
            EXPECT_EQ(text.find('|', at), at + width) << text;
    }
}

/// The stated digits hold for every column: within six decimals of the smallest magnitude at least
/// four digits show, and no magnitude has more than seven digits altogether.
TEST(PrintFigures, FixedFormsKeepTheirPromises) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> exponent(-4, 8), ratio(0, 4);
    for (int trial = 0; trial < 2000; ++trial) {
        const double smallest = std::pow(10.0, exponent(random));
        const double largest = smallest * std::pow(10.0, ratio(random));
        const std::string text = formatted({}, {smallest, largest});
        if (text.find('e') != std::string::npos) continue;
        const std::string small = text.substr(0, text.find('|'));
        const std::string large = text.substr(text.find('|') + 1);
        const auto digits = [](const std::string& number) {
            return std::count_if(
                number.begin() + static_cast<long>(number.find_first_of("123456789")), number.end(),
                [](char c) { return c >= '0' && c <= '9'; });
        };
        EXPECT_GE(digits(small), 4) << text;
        EXPECT_LE(digits(large), 7) << text;
    }
}

// ---------------------------------------------------------------- hostile input

TEST(Table, AnyBytesEndInAReportOrATable) {
    const std::string pieces[] = {
        "NAME", "MW",   "TC",  "(K)", "PC",    "\n",    "\n",  "\t", " ",    ",",    "/",   ";",
        "\"",   "'",    "2*5", "9*",  "1",     "C1",    "END", "~",  "WT",   "F",    "EOF", "STG",
        "inf",  "\xff", "=",   "?",   "COMP1", "1e999", "*",   "%",  "FULL", "ZONE", "\r"};
    std::mt19937 random(3);
    for (int trial = 0; trial < 3000; ++trial) {
        std::string text = trial % 2 ? "NAME MW TC K FULL\n" : "STG FULL MW\n";
        for (auto i = random() % 60; i > 0; --i) {
            text += pieces[random() % std::size(pieces)];
            if (random() % 3) text += ' ';
        }
        Script script(text);
        Table table(&heads().all);
        table.allowWeights = trial % 3 == 0;
        try {
            for (int i = 0; i < 50 && table.Read(script.reader) > 0; ++i) {
            }
            std::string word;
            for (int i = 0; i < 1000 && script.reader.NextWord(word) >= 0; ++i) {
            }
            EXPECT_LT(script.reader.NextWord(word), 0) << text;
        } catch (const FatalError&) {
        }
        for (const auto& column : table.columns) {
            if (column->IsData()) {
                EXPECT_EQ(column->RowCount(), table.rowCount) << text;
            }
        }
        print(table);
    }
}

TEST(Table, ALongLineOfWordsIsReadInReasonableTime) {
    std::string text = "NAME  MW\nC1    16";
    for (int i = 0; i < 200000; ++i) text += " x";
    Reading in(text + "\nEND\n");
    EXPECT_EQ(in.errors(), 1);
    EXPECT_TRUE(in.table.closed);
}

TEST(Table, ATableThatOutgrowsItsBoundsIsAnError) {
    std::string text = "NAME";
    for (int i = 0; i < 100000; ++i) text += " MW";
    text += '\n';
    for (int i = 0; i < 100000; ++i) text += "C\n";
    Reading in(text);
    EXPECT_EQ(in.errors(), 1);
    EXPECT_TRUE(in.script.says("ERROR: Table exceeds 2000000 cells"));
    EXPECT_EQ(in.table.rowCount, 19);
    EXPECT_EQ(in.script.word(), "C");
}

}  // namespace
}  // namespace kestrane
