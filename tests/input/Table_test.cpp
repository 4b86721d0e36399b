#include "input/Table.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "frame/Errors.h"
#include "input/SampleTable.h"

namespace kestrane {
namespace {

using testing::heads;
using testing::print;
using testing::Sample;
using testing::Script;

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

TEST(HeadDictionary, AnOfferIsTakenWholeOrNotAtAll) {
    HeadDictionary dictionary;
    const TableHead<double> mw{&Sample::mw, {"MW"}, {"MW&"}};
    const TableHead<double> tc{&Sample::tc, {"Tc"}, {"TC", "MWX"}};
    const TableHead<double> pc{&Sample::pc, {"Pc"}, {"PC"}};
    EXPECT_TRUE(dictionary.offer(mw));
    EXPECT_FALSE(dictionary.offer(tc));
    EXPECT_TRUE(dictionary.offer(pc));
    EXPECT_EQ(dictionary.find("TC"), nullptr);
    EXPECT_EQ(dictionary.find("MWX"), &mw);
    EXPECT_EQ(dictionary.heads(), (std::vector<const AnyColHead*>{&mw, &pc}));
}

// ---------------------------------------------------------------- printing

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

}  // namespace
}  // namespace kestrane
