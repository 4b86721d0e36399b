#include "input/Table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "frame/Errors.h"
#include "input/SampleTable.h"

namespace kestrane {
namespace {

using testing::heads;
using testing::print;
using testing::Reading;
using testing::Sample;
using testing::Script;

// ---------------------------------------------------------------- head line and units

TEST(TableRead, CellsBelongToTheHeadingAboveThem) {
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

TEST(TableRead, ACellThatEndsLeftOfTheNextHeadingsStartIsNotItsOwn) {
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

/// Tables drawn at random: a cell is any number that ends under its heading or right of it, before
/// the next one; others are blank.
TEST(TableRead, CellsDrawnUnderTheirHeadingsAreFoundThere) {
    std::mt19937 random(5);
    const char* const words[] = {"MW", "FRAC", "Z1", "TC"};
    for (int trial = 0; trial < 500; ++trial) {
        std::string head = "NAME";
        std::vector<std::size_t> starts;
        for (const char* word : words) {
            head.append(2 + random() % 8, ' ');
            starts.push_back(head.size());
            head += word;
        }
        std::string text = head + "\n" + std::string(starts.back(), ' ') + "K\n";
        std::vector<std::vector<double>> cells;
        for (int row = 0; row < 5; ++row) {
            std::string line = "C" + std::to_string(row);
            cells.emplace_back(std::size(words), UNSET);
            for (std::size_t i = 0; i < std::size(words); ++i) {
                const std::size_t end = i + 1 < starts.size() ? starts[i + 1] : starts[i] + 9;
                const std::size_t last = starts[i] + random() % (end - starts[i]);
                if (random() % 3 == 0 || last < line.size() + 1) continue;
                const std::size_t room = std::min<std::size_t>(last - line.size(), 4);
                const auto most = static_cast<unsigned>(std::pow(10.0, room));
                const std::string number = std::to_string(random() % most);
                line.append(last + 1 - number.size() - line.size(), ' ');
                line += number;
                cells.back()[i] = std::stod(number);
            }
            text += line + "\n";
        }
        const Reading in(text + "END\n");
        ASSERT_EQ(in.errors(), 0) << text << in.text();
        ASSERT_EQ(in.table.rowCount, 5) << text;
        for (int row = 0; row < 5; ++row) {
            const Sample sample = in.row(row);
            const std::vector<double> read{sample.mw, sample.share, sample.z[1], sample.tc};
            EXPECT_EQ(read, cells[static_cast<std::size_t>(row)]) << text << "row " << row;
        }
    }
}

TEST(TableRead, UnitsMayStandInTheHeadLineOrInAUnitLine) {
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

TEST(TableRead, AUnitLineMayFollowABlankLineAndMixWithHeadLineUnits) {
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

TEST(TableRead, MissingUnitsAreErrorsAndTheDefaultIsAssumed) {
    Reading in("NAME   TC      PC      FRAC\nC1     190     46      0.5\nEND\n");
    EXPECT_EQ(in.errors(), 2);
    EXPECT_TRUE(in.script.says(
        "######  ERROR: No units assigned to \"Critical Temperature\" column  ######\n"
        "Problem detected at line 1 of the standard input.\n"
        "To allow further input, units of \"K\" will be assumed.\n"))
        << in.text();
    EXPECT_TRUE(in.script.says("No units assigned to \"Critical Pressure\" column"));
    EXPECT_EQ(in.row(0).tc, 190.0);
    EXPECT_EQ(in.row(0).pc, 46 / 1e-5);
    EXPECT_EQ(in.row(0).share, 0.5);  // bare fractions are legal
}

TEST(TableRead, AFirstWordUnderAColumnWithoutUnitsIsADataRow) {
    // F, K and bar are units, but here they are names.
    Reading in("NAME  TC K\nF     300\nbar   310\nEND\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    ASSERT_EQ(in.table.rowCount, 2);
    EXPECT_EQ(in.row(0).name.text(), "F");
    EXPECT_EQ(in.row(1).tc, 310.0);
}

TEST(TableRead, LaterWordsOfAUnitLineMustBeUnits) {
    Reading in("STG  TC   PC   MW\n     K    mile kg\n1    190  46   16\nEND\n");
    EXPECT_TRUE(in.script.says("Keyword \"mile\" not recognized in current context")) << in.text();
    EXPECT_TRUE(in.script.says("at column 11 of line 2"));
    // The unitless column takes any word; PC gets its default, which its error has led to.
    EXPECT_EQ(in.errors(), 1);
    EXPECT_EQ(in.table.rowCount, 1);
}

TEST(TableRead, APlaceholderColumnIsReadOver) {
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

TEST(TableRead, APlaceholderMayStandFirst) {
    Reading in("~ID   NAME  MW\nx1    C1    16\nx2    C2    30\nEND\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    ASSERT_EQ(in.table.rowCount, 2);
    EXPECT_EQ(in.row(1).name.text(), "C2");
}

TEST(TableRead, AnUnknownHeadingIsAnErrorAndItsCellsAreReadOver) {
    Reading in("NAME  WAT   MW\nC1    5     16\nEND\n");
    EXPECT_EQ(in.errors(), 1);
    EXPECT_TRUE(in.script.says("Keyword \"WAT\" not recognized in current context"));
    EXPECT_TRUE(in.script.says("at column 7 of line 1"));
    EXPECT_EQ(in.row(0).mw, 16.0);
}

TEST(TableRead, OnlyAKeyColumnStartsATable) {
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

TEST(TableRead, TitlesAreNoKeywords) {
    Reading in("NAME  Molecular\nC1    16\nEND\n");
    EXPECT_EQ(in.errors(), 1) << in.text();
}

TEST(TableRead, HeadsMayBeSeparatedByCommas) {
    Reading in("NAME, MW,  TC(K)\nC1,   16,  190\nC2,,  ,  305\nEND\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    ASSERT_EQ(in.table.rowCount, 2);
    EXPECT_EQ(in.row(0).mw, 16.0);
    EXPECT_EQ(in.row(1).tc, 305.0);
}

// ---------------------------------------------------------------- rows and their end

TEST(TableRead, BlankAndCommentLinesDoNotEndATable) {
    Reading in("NAME  MW\nC1    16\n\n-- ethane\n   \nC2    30 ; remark\nC3    44 / rest\nEND\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    EXPECT_EQ(in.table.rowCount, 3);
    EXPECT_TRUE(in.table.closed);
}

TEST(TableRead, AKeywordEndsATableOfNumbersAndIsReadAgain) {
    Reading in("STG  MW\n1    16\n2    30\nFLASH 5\n");
    EXPECT_EQ(in.result, 1);
    EXPECT_EQ(in.table.rowCount, 2);
    EXPECT_FALSE(in.table.closed);
    EXPECT_EQ(in.errors(), 0);
    EXPECT_EQ(in.script.word(), "FLASH");
    EXPECT_EQ(in.script.number(), 5.0);
}

TEST(TableRead, AStopWordOrEofEndsATableOfNames) {
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

TEST(TableRead, EndOfInputEndsATable) {
    Reading in("NAME  MW\nC1    16");
    EXPECT_EQ(in.result, 1);
    EXPECT_EQ(in.row(0).mw, 16.0);
    EXPECT_LT(in.table.Read(in.script.reader), 0);
}

TEST(TableRead, ATokenLeftOfEveryHeadingIsNoRow) {
    Reading in("     NAME  MW\n     C1    16\nC2         30\n");
    EXPECT_EQ(in.table.rowCount, 1);
    EXPECT_EQ(in.errors(), 0);
    EXPECT_EQ(in.script.word(), "C2");
}

TEST(TableRead, ATokenRightOfAllColumnsIsAnErrorAndItsLineIsDropped) {
    Reading in("NAME  MW\nC1    16 17 18 19\nC2    30\nEND\n");
    EXPECT_EQ(in.errors(), 1) << in.text();
    EXPECT_TRUE(in.script.says("Keyword \"17\" not recognized in current context"));
    EXPECT_TRUE(in.script.says("at column 10 of line 2"));
    ASSERT_EQ(in.table.rowCount, 2);
    EXPECT_EQ(in.row(0).mw, 16.0);
    EXPECT_EQ(in.row(1).mw, 30.0);
}

TEST(TableRead, ASecondTokenUnderAHeadingIsAnErrorAndReadingGoesOn) {
    Reading in("NAME      MW\nN C4      58\nEND\n");
    EXPECT_EQ(in.errors(), 1);
    EXPECT_TRUE(in.script.says("Keyword \"C4\" not recognized"));
    EXPECT_EQ(in.row(0).mw, 58.0);
}

TEST(TableRead, AWordWhereANumberBelongsStopsTheRowAndIsReadAgain) {
    Reading in("NAME  MW   TC K\nC1    abc  190\n");
    EXPECT_EQ(in.table.rowCount, 1);  // under MW the word begins no other row either
    EXPECT_EQ(in.script.word(), "abc");
    Reading numbers("STG   MW   TC K\n1     abc  190\n");
    EXPECT_EQ(numbers.table.rowCount, 1);
    EXPECT_EQ(numbers.row(0).mw, UNSET);
    EXPECT_EQ(numbers.script.word(), "abc");
}

TEST(TableRead, RepeatsAndEmptyFieldsFillTheColumnsThatFollow) {
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

TEST(TableRead, CellsOfEveryTypeAreRead) {
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

TEST(TableRead, QuotedTextsMayBeginLikeACommentOrTheEndOfTheData) {
    Reading in(
        "STG  ZONE      MW    FULL\n"
        "1    \"/a/b\"    16    \"; no remark\"\n"
        "2              17    \"x\" / rest\n"
        "3    oil\t; remark\n"
        "4    gas       \"/5\"\n"
        "END\n");
    EXPECT_EQ(in.errors(), 1) << in.text();
    EXPECT_TRUE(in.script.says("Keyword \"/5\" not recognized"));
    ASSERT_EQ(in.table.rowCount, 4);
    EXPECT_EQ(in.row(0).zone, "/a/b");
    EXPECT_EQ(in.row(0).mw, 16.0);
    EXPECT_EQ(in.row(0).full.text, "; no remark");
    EXPECT_EQ(in.row(1).full.text, "x");
    EXPECT_EQ(in.row(2).zone, "oil");
    EXPECT_EQ(in.row(2).full.text, "");
}

TEST(TableRead, AnEmptyQuotedTextLeavesItsCellEmpty) {
    Reading in("STG  ZONE   FULL\n1    \"\"     gas\n2    ''\n3    oil    x\nEND\n");
    EXPECT_EQ(in.errors(), 0) << in.text();
    ASSERT_EQ(in.table.rowCount, 3);
    EXPECT_EQ(in.row(0).zone, "");
    EXPECT_EQ(in.row(0).full.text, "gas");
    EXPECT_EQ(in.row(2).zone, "oil");
}

TEST(TableRead, TabsAreExpandedColumns) {
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

TEST(TableRead, TheTabWidthDecidesTheAlignment) {
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

TEST(TableRead, ATableMayEndInTheFileThatIncludesIt) {
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

TEST(TableRead, WeightsArePlacedLikeUnits) {
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

TEST(TableRead, WeightsAreNoRowsUnlessAllowed) {
    Reading in("STG     MW\nWT      2.5\n");
    EXPECT_EQ(in.table.rowCount, 0);
    EXPECT_EQ(in.script.word(), "WT");
}

// ---------------------------------------------------------------- merging

TEST(TableRead, BlocksWithTheSameKeyJoin) {
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

TEST(TableRead, AFurtherHeadLineWithoutEndMerges) {
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

TEST(TableRead, AHeadLineAfterEndIsNotRead) {
    Reading in("NAME  MW\nC1    16\nEND\nNAME  TC(K)\n");
    EXPECT_TRUE(in.table.closed);
    EXPECT_EQ(in.table.columns.size(), 2U);
    EXPECT_EQ(in.script.word(), "NAME");
}

TEST(TableRead, ARowWhoseNameLooksLikeAHeadingIsARow) {
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

TEST(TableRead, AKeyAbsentFromTheFirstBlockIsAnIncompleteMerger) {
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

TEST(TableRead, NamesJoinByNineLettersAndNumbersByValue) {
    Reading in(
        "NAME         MW\nhexadecane1  226\nEND\nNAME         TC(K)\nHEXADECANE22 722\nEND\n");
    in.table.Read(in.script.reader);
    EXPECT_EQ(in.errors(), 0) << in.text();
    EXPECT_EQ(in.row(0).tc, 722.0);
    EXPECT_TRUE(UserWord("hexadecane1") == UserWord("HEXADECANE22"));
    EXPECT_FALSE(UserWord("hexadecan") == UserWord("hexadeca"));
}

TEST(TableRead, AllKeysMustAgree) {
    Reading in(
        "STG NAME MW\n1   C1   16\n1   C2   30\n2   C1   17\nEND\n"
        "STG NAME TC(K)\n2   C1   200\n1   C2   300\nEND\n");
    in.table.Read(in.script.reader);
    EXPECT_EQ(in.errors(), 0) << in.text();
    EXPECT_EQ(in.row(0).tc, UNSET);
    EXPECT_EQ(in.row(1).tc, 300.0);
    EXPECT_EQ(in.row(2).tc, 200.0);
}

TEST(TableRead, ABlankCellOfALaterBlockErasesNothing) {
    Reading in("NAME  MW\nC1    16\nEND\nNAME  MW  TC(K)\nC1        190\nEND\n");
    in.table.Read(in.script.reader);
    EXPECT_EQ(in.row(0).mw, 16.0);
    EXPECT_EQ(in.row(0).tc, 190.0);
}

TEST(TableRead, WithoutKeysRowsJoinInOrder) {
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

// ---------------------------------------------------------------- hostile input

TEST(TableRead, AnyBytesEndInAReportOrATable) {
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

TEST(TableRead, ALongLineOfWordsIsReadInReasonableTime) {
    std::string text = "NAME  MW\nC1    16";
    for (int i = 0; i < 200000; ++i) text += " x";
    Reading in(text + "\nEND\n");
    EXPECT_EQ(in.errors(), 1);
    EXPECT_TRUE(in.table.closed);
}

TEST(TableRead, ATableThatOutgrowsItsBoundsIsAnError) {
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
