#include "expt/ExptHeads.h"

#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <set>
#include <sstream>

#include "expt/ExpectedHeads.h"
#include "fluid/Charzation.h"
#include "input/Script.h"

using namespace kestrane;
using namespace kestrane::testing;

namespace {

/// The two kinds of experiments start from their fixed heads in each test.
class ExptHeadsTest : public ::testing::Test {
protected:
    ExptHeadsTest() {
        ExptHeads::expansion().reset();
        ExptHeads::segregation().reset();
    }
    ~ExptHeadsTest() override {
        ExptHeads::expansion().reset();
        ExptHeads::segregation().reset();
    }
};

/// Whether the head's cell in a record is that field.
bool addresses(const AnyColHead& head, const ExpectedHead& expected) {
    ExptData data;
    const auto points = [&](auto field) {
        using T = std::remove_reference_t<decltype(data.*field)>;
        const auto* typed = dynamic_cast<const DataColHead<T>*>(&head);
        return typed && typed->CellPointer(data) == &(data.*field) &&
               typed->ConstCellPointer(data) == &(data.*field);
    };
    return std::visit(points, expected.field);
}

void expect_like(const AnyColHead& head, const ExpectedHead& expected) {
    std::vector<std::string> titles{expected.title};
    if (*expected.short_title) titles.push_back(expected.short_title);
    EXPECT_EQ(head.aliases, titles);
    EXPECT_EQ(head.keywords, expected.keys);
    EXPECT_EQ(head.priority, expected.tag);
    EXPECT_EQ(head.unitSet ? head.unitSet->name() : "", expected.units);
    EXPECT_EQ(head.figures.decimals, expected.figures.decimals);
    EXPECT_EQ(head.figures.maxDecimals, expected.figures.maxDecimals);
    EXPECT_EQ(head.figures.significantDigits, expected.figures.significantDigits);
    EXPECT_TRUE(addresses(head, expected));
}

/// What a script may write for a key: any tail in place of the wildcard, in any case.
std::vector<std::string> words_of(const std::string& key) {
    if (!key.ends_with('&')) return {key};
    const std::string stem = key.substr(0, key.size() - 1);
    return {stem, stem + "xyz"};
}

void expect_kind(const ExptHeads& heads, const std::vector<ExpectedHead>& expected) {
    ASSERT_EQ(heads.dictionary().heads().size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(expected[i].keys.front());
        const AnyColHead& head = *heads.dictionary().heads()[i];
        expect_like(head, expected[i]);
        for (const std::string& key : expected[i].keys) {
            for (const std::string& word : words_of(key)) {
                EXPECT_EQ(heads.find(word), &head) << word;
                std::string lower = word;
                for (char& letter : lower) letter = static_cast<char>(std::tolower(letter));
                EXPECT_EQ(heads.find(lower), &head) << lower;
            }
        }
    }
}

Charzation fluid_of(const std::vector<std::string>& components,
                    const std::vector<std::string>& lumps = {}) {
    Charzation charz;
    for (const std::string& name : components) {
        Compnent component;
        component.name = UserWord(name);
        charz.add_component(component);
    }
    for (const std::string& name : lumps)
        charz.add_lump({UserWord(name), std::vector<double>(components.size(), 1.0)});
    return charz;
}

/// The cell of a named column in a record of that many components and lumps.
const double* cell_of(const AnyColHead* head, const ExptData& data) {
    const auto* column = dynamic_cast<const ExptCompCol*>(head);
    return column ? column->ConstCellPointer(data) : nullptr;
}

struct NamedHead {
    const char* key;
    const char* title;
    const char* short_title;
    bool ratio;
    std::vector<double> ExptData::*entries;
};

// With the name C1 in the place of the question mark.
const std::vector<NamedHead> NAMED_HEADS{
    {"K-C1", "Equilibrium C1 K-Value", "C1 K-Value", false, &ExptData::k_values},
    {"Z-C1", "Overall C1 Mole Fraction", "C1 z", true, &ExptData::z_1},
    {"Z1-C1", "Overall C1 Mole Fraction, Before Removal", "C1 z 1", true, &ExptData::z_1},
    {"Z2-C1", "Overall C1 Mole Fraction, After Removal", "C1 z 2", true, &ExptData::z_2},
    {"X-C1", "Liquid C1 Mole Fraction", "C1 x", true, &ExptData::x},
    {"Y-C1", "Gas C1 Mole Fraction", "C1 y", true, &ExptData::y},
    {"ZWT-C1", "Overall C1 Mass Fraction", "C1 zwt", true, &ExptData::mass_z_1},
    {"ZWT1-C1", "Overall C1 Mass Fraction, Before Removal", "C1 zwt 1", true, &ExptData::mass_z_1},
    {"ZWT2-C1", "Overall C1 Mass Fraction, After Removal", "C1 zwt 2", true, &ExptData::mass_z_2},
    {"XWT-C1", "Liquid C1 Mass Fraction", "C1 xwt", true, &ExptData::mass_x},
    {"YWT-C1", "Gas C1 Mass Fraction", "C1 ywt", true, &ExptData::mass_y},
};

const std::vector<NamedHead> LUMP_HEADS{
    {"MW-C1", "Overall C1 MW", "C1 MW", false, &ExptData::lump_mw_1},
    {"MW1-C1", "Overall C1 MW, Before Removal", "C1 MW 1", false, &ExptData::lump_mw_1},
    {"MW2-C1", "Overall C1 MW, After Removal", "C1 MW 2", false, &ExptData::lump_mw_2},
    {"LMW-C1", "Liquid C1 MW", "Liq C1 MW", false, &ExptData::lump_mw_x},
    {"GMW-C1", "Gas C1 MW", "Gas C1 MW", false, &ExptData::lump_mw_y},
};

void expect_named(const ExptHeads& heads, const NamedHead& expected, std::size_t entry,
                  const ExptData& data) {
    SCOPED_TRACE(expected.key);
    const AnyColHead* head = heads.find(expected.key);
    ASSERT_TRUE(head);
    EXPECT_EQ(head->aliases, (std::vector<std::string>{expected.title, expected.short_title}));
    EXPECT_EQ(head->keywords, std::vector<std::string>{expected.key});
    EXPECT_EQ(head->priority, TAG_RESULT);
    EXPECT_EQ(head->unitSet, expected.ratio ? &unit_set(UnitKind::Fraction) : nullptr);
    EXPECT_EQ(cell_of(head, data), &(data.*expected.entries)[entry]);
}

}  // namespace

TEST_F(ExptHeadsTest, ExpansionKnows174HeadsInOrder) {
    EXPECT_EQ(ExptHeads::expansion().fixed_count(), 174u);
    expect_kind(ExptHeads::expansion(), expected_expansion());
}

TEST_F(ExptHeadsTest, SegregationKnows164HeadsInOrder) {
    EXPECT_EQ(ExptHeads::segregation().fixed_count(), 164u);
    expect_kind(ExptHeads::segregation(), expected_segregation());
}

TEST_F(ExptHeadsTest, EachKindLacksWhatTheOtherSets) {
    for (const char* key : {"DEPTH", "DPTH", "ZONE"})
        EXPECT_FALSE(ExptHeads::expansion().find(key)) << key;
    for (const char* key : {"MI", "MINJ/V", "WI", "RMI", "WI/W", "MR", "WR/V", "RWR"})
        EXPECT_FALSE(ExptHeads::segregation().find(key)) << key;
}

TEST_F(ExptHeadsTest, WordsThatNoColumnHas) {
    for (const char* word : {"SATPX", "SAT", "GOR3", "M3", "Q", "K-C1", "STGX", "END", "/", "1"})
        EXPECT_FALSE(ExptHeads::expansion().find(word)) << word;
}

TEST_F(ExptHeadsTest, EveryFieldHasAColumn) {
    // All numbers of a stage can be asked for: no field of the record is beyond the catalogue.
    std::set<const void*> fields;
    ExptData data;
    const ExptHeads* kinds[] = {&ExptHeads::expansion(), &ExptHeads::segregation()};
    for (const ExptHeads* kind : kinds)
        for (const AnyColHead* head : kind->dictionary().heads())
            if (const auto* number = dynamic_cast<const DataColHead<double>*>(head))
                fields.insert(number->CellPointer(data));
    const auto* first = &data.temperature;
    const auto* last = &data.depth;
    EXPECT_EQ(fields.size(), static_cast<std::size_t>(last - first + 1));
}

TEST(ExptData, ABlankRecordHoldsNothing) {
    const ExptData data(3, 2);
    for (const double* number = &data.temperature; number <= &data.depth; ++number)
        EXPECT_EQ(*number, UNSET);
    EXPECT_EQ(data.stage, UNSET_INT);
    for (const auto* entries : {&data.k_values, &data.z_1, &data.z_2, &data.x, &data.y,
                                &data.mass_z_1, &data.mass_z_2, &data.mass_x, &data.mass_y})
        EXPECT_EQ(*entries, std::vector<double>(5, UNSET));
    for (const auto* entries : {&data.lump_mw_1, &data.lump_mw_2, &data.lump_mw_x, &data.lump_mw_y})
        EXPECT_EQ(*entries, std::vector<double>(2, UNSET));
    for (const auto* name : {&data.zone, &data.feed_name_1, &data.feed_name_2, &data.eql_name,
                             &data.eqv_name, &data.nfl_name, &data.nfv_name})
        EXPECT_TRUE(name->empty());
}

TEST_F(ExptHeadsTest, EachComponentHasElevenColumns) {
    ExptHeads& heads = ExptHeads::expansion();
    heads.follow(fluid_of({"N2", "C1", "C7+"}));
    EXPECT_EQ(heads.dictionary().heads().size(), 174u + 3 * 11);
    EXPECT_EQ(heads.fixed_count(), 174u);
    const ExptData data(3, 0);
    for (const NamedHead& expected : NAMED_HEADS) expect_named(heads, expected, 1, data);
    for (const NamedHead& none : LUMP_HEADS) EXPECT_FALSE(heads.find(none.key)) << none.key;
    EXPECT_TRUE(heads.find("y-c7+"));
}

TEST_F(ExptHeadsTest, EachLumpHasSixteenColumnsBehindTheComponents) {
    ExptHeads& heads = ExptHeads::segregation();
    heads.follow(fluid_of({"A", "B"}, {"HEAVY", "C1"}));
    EXPECT_EQ(heads.dictionary().heads().size(), 164u + 2 * 11 + 2 * 16);
    const ExptData data(2, 2);
    for (const NamedHead& expected : NAMED_HEADS) expect_named(heads, expected, 2 + 1, data);
    for (const NamedHead& expected : LUMP_HEADS) expect_named(heads, expected, 1, data);
}

TEST_F(ExptHeadsTest, LongNamesCountToNineCharacters) {
    ExptHeads& heads = ExptHeads::expansion();
    heads.follow(fluid_of({"HEXADECANES"}));
    const AnyColHead* head = heads.find("X-HEXADECANE");
    ASSERT_TRUE(head);
    EXPECT_EQ(head->BestName(-1), "Liquid HEXADECAN Mole Fraction");
    EXPECT_EQ(head->keywords, std::vector<std::string>{"X-HEXADECAN&"});
    EXPECT_EQ(heads.find("x-hexadecan"), head);
    EXPECT_FALSE(heads.find("X-HEXADECA"));
}

TEST_F(ExptHeadsTest, AnotherFluidTakesTheKeysOver) {
    ExptHeads& heads = ExptHeads::expansion();
    heads.follow(fluid_of({"C1", "C2"}));
    const AnyColHead* methane = heads.find("Z-C1");
    const AnyColHead* ethane = heads.find("Z-C2");
    heads.follow(fluid_of({"C2", "C3"}));
    EXPECT_FALSE(heads.find("Z-C1"));
    const AnyColHead* other = heads.find("Z-C2");
    const ExptData data(2, 0);
    EXPECT_EQ(cell_of(other, data), &data.z_1[0]);
    // A column that was read with the former heads keeps them.
    EXPECT_EQ(cell_of(methane, data), &data.z_1[0]);
    EXPECT_EQ(methane->BestName(-1), "Overall C1 Mole Fraction");
    EXPECT_EQ(cell_of(ethane, data), &data.z_1[1]);
    // The first fluid again finds its own heads again, so that a column of its is recognized.
    heads.follow(fluid_of({"C1", "C2"}));
    EXPECT_EQ(heads.find("Z-C1"), methane);
    EXPECT_EQ(heads.find("Z-C2"), ethane);
}

TEST_F(ExptHeadsTest, ACopyOfTheFluidChangesNothing) {
    ExptHeads& heads = ExptHeads::expansion();
    const Charzation charz = fluid_of({"C1", "C2"});
    heads.follow(charz);
    const std::vector<const AnyColHead*> before = heads.dictionary().heads();
    const Charzation copy = charz;
    EXPECT_NE(copy.serial(), charz.serial());
    heads.follow(copy);
    EXPECT_EQ(heads.dictionary().heads(), before);
}

TEST_F(ExptHeadsTest, LumpsDefinedLaterAreAdded) {
    ExptHeads& heads = ExptHeads::expansion();
    Charzation charz = fluid_of({"A", "B"}, {"L1"});
    heads.follow(charz);
    const AnyColHead* first = heads.find("X-L1");
    EXPECT_FALSE(heads.find("X-L2"));
    charz.add_lump({UserWord("L2"), {0.0, 1.0}});
    heads.follow(charz);
    const ExptData data(2, 2);
    EXPECT_EQ(heads.find("X-L1"), first);
    EXPECT_EQ(cell_of(heads.find("X-L2"), data), &data.x[3]);
    EXPECT_EQ(cell_of(heads.find("GMW-L2"), data), &data.lump_mw_y[1]);
    // A new definition under an old name stays in its place.
    charz.add_lump({UserWord("L1"), {1.0, 0.0}});
    heads.follow(charz);
    EXPECT_EQ(heads.dictionary().heads().size(), 174u + 2 * 11 + 2 * 16);
}

TEST_F(ExptHeadsTest, AShorterRecordHasNoSuchCell) {
    ExptHeads& heads = ExptHeads::expansion();
    heads.follow(fluid_of({"A", "B", "C"}));
    ExptData small(2, 0);
    const AnyColHead* head = heads.find("Z-C");
    EXPECT_EQ(cell_of(head, small), nullptr);
    head->SetCell(small, 1.0);
    head->ClearCell(small);
    EXPECT_EQ(small.z_1, std::vector<double>(2, UNSET));
}

TEST_F(ExptHeadsTest, OnlyEqualNamesOfOneFluidCollide) {
    ExptHeads& heads = ExptHeads::expansion();
    Script script("");
    heads.follow(fluid_of({"TWIN", "OTHER"}), &script.writer);
    heads.follow(fluid_of({"OTHER", "TWIN"}), &script.writer);
    EXPECT_EQ(script.counts.warnings, 0u);
    const Charzation twins = fluid_of({"OTHER", "TWIN"}, {"twin"});
    heads.follow(twins, &script.writer);
    EXPECT_EQ(script.counts.warnings, 1u);
    EXPECT_TRUE(script.says("Duplicate keyword \"K-twin\" ignored"));
    EXPECT_TRUE(script.says("Duplicate keyword \"YWT-twin\" ignored."));
    EXPECT_FALSE(script.says("MW-twin"));
    // The component, which came first, answers; the lump has what only lumps have.
    const ExptData data(2, 1);
    EXPECT_EQ(cell_of(heads.find("X-TWIN"), data), &data.x[1]);
    EXPECT_EQ(cell_of(heads.find("MW-TWIN"), data), &data.lump_mw_1[0]);
    // Said once, however often the fluids take turns.
    heads.follow(fluid_of({"C1"}), &script.writer);
    heads.follow(twins, &script.writer);
    EXPECT_EQ(script.counts.warnings, 1u);
}

TEST_F(ExptHeadsTest, NamesThatMatchAnyTailAreNoFault) {
    ExptHeads& heads = ExptHeads::expansion();
    Script script("");
    heads.follow(fluid_of({"C1", "N2"}, {"C&", "&"}), &script.writer);
    const ExptData data(2, 2);
    EXPECT_EQ(cell_of(heads.find("X-C1"), data), &data.x[0]);
    EXPECT_EQ(cell_of(heads.find("MW-C1"), data), &data.lump_mw_1[0]);
    EXPECT_EQ(script.counts.warnings, 1u);
}

TEST_F(ExptHeadsTest, AResetForgetsTheNames) {
    ExptHeads& heads = ExptHeads::expansion();
    heads.follow(fluid_of({"C1"}));
    heads.reset();
    EXPECT_FALSE(heads.find("Z-C1"));
    EXPECT_EQ(heads.dictionary().heads().size(), 174u);
    heads.follow(fluid_of({"C1"}));
    EXPECT_TRUE(heads.find("Z-C1"));
}

TEST_F(ExptHeadsTest, TheDictionaryStaysWhereTablesLook) {
    ExptHeads& heads = ExptHeads::expansion();
    const HeadDictionary* place = &heads.dictionary();
    heads.follow(fluid_of({"C1"}));
    heads.follow(fluid_of({"C2"}));
    heads.reset();
    EXPECT_EQ(&heads.dictionary(), place);
}

TEST(ExptHeads, TheListForScriptWritersHasEveryKey) {
    std::ifstream file(KESTRANE_SOURCE_DIR "/doc/experiment-columns.md");
    ASSERT_TRUE(file);
    // Rows of the tables: keys | column | unit.
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with("| `")) continue;
        std::vector<std::string> cells;
        std::istringstream text(line.substr(2));
        for (std::string cell; std::getline(text, cell, '|');)
            cells.push_back(cell.substr(0, cell.find_last_not_of(' ') + 1));
        rows.push_back(cells);
    }
    const auto listed = [&](const std::vector<std::string>& keys, const std::string& title,
                            const std::string& unit) {
        std::string quoted;
        for (const std::string& key : keys) quoted += (quoted.empty() ? "`" : " `") + key + "`";
        for (const auto& row : rows)
            if (row[0] == quoted) return row[1].starts_with(" " + title) && row[2] == " " + unit;
        return false;
    };
    for (const auto& heads : {expected_expansion(), expected_segregation()})
        for (const ExpectedHead& head : heads)
            EXPECT_TRUE(listed(head.keys, head.title, *head.units ? head.units : "none"))
                << head.keys.front();
    for (const auto& heads : {NAMED_HEADS, LUMP_HEADS}) {
        for (const NamedHead& head : heads) {
            const auto nameless = [](std::string text) {
                return text.replace(text.find("C1"), 2, "?");
            };
            EXPECT_TRUE(listed({nameless(head.key)}, nameless(head.title),
                               head.ratio ? "fraction" : "none"))
                << head.key;
        }
    }
    EXPECT_EQ(rows.size(), 176u + 16u);
}
