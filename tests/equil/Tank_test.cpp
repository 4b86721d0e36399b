#include "equil/Tank.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "equil/AllocationCount.h"
#include "equil/Fluids.h"
#include "frame/Errors.h"

namespace kestrane {
namespace {

/// A characterization that holds nothing but names and molecular weights.
Charzation named(const std::string& name,
                 const std::vector<std::pair<std::string, double>>& components) {
    Charzation charz(name);
    for (const auto& [component_name, mw] : components) {
        Compnent component;
        component.name = UserWord(component_name);
        component.mw = mw;
        charz.add_component(component);
    }
    return charz;
}

struct TankTest : testing::Test {
    Charzation abc = named("ABC", {{"A", 10.0}, {"B", 20.0}, {"C", 40.0}});
    Charzation cad = named("CAD", {{"C", 44.0}, {"A", 10.0}, {"D", 5.0}});

    Tank tank(std::vector<double> moles, const std::string& name = "mix") {
        Tank made(name, &abc);
        made.assign_moles(moles, 1.0);
        return made;
    }
};

/// masses = moles MW and totals are sums.
void expect_consistent(const Tank& tank) {
    double moles = 0.0, mass = 0.0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(tank.n()); ++i) {
        EXPECT_DOUBLE_EQ(tank.masses()[i], tank.moles()[i] * tank.charz()->comps[i].mw);
        moles += tank.moles()[i];
        mass += tank.masses()[i];
    }
    EXPECT_DOUBLE_EQ(tank.total_moles(), moles);
    EXPECT_DOUBLE_EQ(tank.total_mass(), mass);
}

void expect_moles(const Tank& tank, const std::vector<double>& moles) {
    ASSERT_EQ(static_cast<std::size_t>(tank.n()), moles.size());
    for (std::size_t i = 0; i < moles.size(); ++i) EXPECT_DOUBLE_EQ(tank.moles()[i], moles[i]);
    expect_consistent(tank);
}

TEST_F(TankTest, BeginsEmpty) {
    const Tank none;
    EXPECT_EQ(none.n(), 0);
    EXPECT_EQ(none.charz(), nullptr);
    const Tank made("oil", &abc);
    EXPECT_EQ(made.name, "oil");
    expect_moles(made, {0.0, 0.0, 0.0});
}

TEST_F(TankTest, CopyTakesAllButTheName) {
    const Tank source = tank({1.0, 2.0, 3.0}, "source");
    Tank target("target", &cad);
    target.copy(source);
    EXPECT_EQ(target.name, "target");
    EXPECT_EQ(target.charz(), &abc);
    expect_moles(target, {1.0, 2.0, 3.0});
    target.copy(target);
    expect_moles(target, {1.0, 2.0, 3.0});
    target.copy(Tank());
    EXPECT_EQ(target.n(), 0);
    EXPECT_EQ(target.total_moles(), 0.0);
}

TEST_F(TankTest, RebindClearsAndKeepsTheBuffer) {
    Charzation two = named("two", {{"A", 10.0}, {"B", 20.0}});
    Tank feed = tank({1.0, 2.0, 3.0});
    const double* buffer = feed.moles().data();
    const AllocationCount count;
    feed.rebind(&cad);
    feed.rebind(&two);
    feed.rebind(&abc);
    feed.rebind(nullptr);
    feed.rebind(&abc);
    EXPECT_EQ(count.made(), 0);
    EXPECT_EQ(feed.moles().data(), buffer);
    expect_moles(feed, {0.0, 0.0, 0.0});
}

TEST_F(TankTest, ConvertingToTheSameCharacterizationDoesNotAllocate) {
    Tank feed = tank({1.0, 2.0, 1.0});
    const AllocationCount count;
    feed.convert(&abc);
    feed.clean_negative(1e-16);
    feed.normalize(1e-6);
    EXPECT_EQ(count.made(), 0);
    expect_moles(feed, {0.25, 0.5, 0.25});
}

TEST_F(TankTest, GrowsForALargerCharacterization) {
    Charzation four = named("four", {{"A", 1.0}, {"B", 2.0}, {"C", 3.0}, {"D", 4.0}});
    Tank feed = tank({1.0, 2.0, 3.0});
    feed.rebind(&four);
    expect_moles(feed, {0.0, 0.0, 0.0, 0.0});
    feed.set_mole(3, 2.0);
    expect_moles(feed, {0.0, 0.0, 0.0, 2.0});
}

TEST_F(TankTest, AssignScaled) {
    Tank made("made", &abc);
    made.assign_scaled(tank({1.0, 2.0, 3.0}), 0.5);
    expect_moles(made, {0.5, 1.0, 1.5});
    made.assign_scaled(made, 2.0);
    expect_moles(made, {1.0, 2.0, 3.0});
}

TEST_F(TankTest, AssignFromAnotherCharacterizationLeavesTheSourceIntact) {
    const Tank source = tank({1.0, 2.0, 3.0}, "source");
    Tank made("made", &cad);
    made.assign_scaled(source, 2.0);
    expect_moles(made, {6.0, 2.0, 0.0});
    EXPECT_EQ(made.charz(), &cad);
    EXPECT_EQ(source.charz(), &abc);
    expect_moles(source, {1.0, 2.0, 3.0});
}

TEST_F(TankTest, AssignAmountKeepsTheComposition) {
    Tank made("made", &abc);
    made.assign_amount(tank({1.0, 2.0, 1.0}), 10.0);
    expect_moles(made, {2.5, 5.0, 2.5});
    EXPECT_THROW(made.assign_amount(Tank("empty", &abc), 1.0), BadTank);
    expect_moles(made, {2.5, 5.0, 2.5});
}

TEST_F(TankTest, AssignMasses) {
    Tank made("made", &abc);
    made.assign_masses(std::vector<double>{10.0, 20.0, 80.0}, 0.5);
    expect_moles(made, {0.5, 0.5, 1.0});
    abc.comps[1].mw = 0.0;
    EXPECT_THROW(made.assign_masses(std::vector<double>{1.0, 1.0, 1.0}, 1.0), BadMW);
    EXPECT_EQ(made.moles()[0], 0.5);  // nothing was changed before the failure
}

TEST_F(TankTest, SetOneComponent) {
    Tank made = tank({1.0, 2.0, 3.0});
    made.set_mole(1, 5.0);
    expect_moles(made, {1.0, 5.0, 3.0});
    made.set_mass(2, 80.0);
    expect_moles(made, {1.0, 5.0, 2.0});
    for (int illegal : {-1, 3, std::numeric_limits<int>::min()}) {
        EXPECT_THROW(made.set_mole(illegal, 1.0), BadComponent);
        EXPECT_THROW(made.set_mass(illegal, 1.0), BadComponent);
        EXPECT_THROW(made.add_mole(illegal, 1.0), BadComponent);
        EXPECT_THROW(made.add_mass(illegal, 1.0), BadComponent);
    }
    abc.comps[0].mw = 0.0;
    EXPECT_THROW(made.set_mass(0, 1.0), BadMW);
    EXPECT_THROW(made.add_mass(0, 1.0), BadMW);
    abc.comps[0].mw = UNSET;
    EXPECT_THROW(made.set_mass(0, 1.0), BadMW);
}

TEST_F(TankTest, Add) {
    Tank made = tank({1.0, 2.0, 3.0});
    made.add_scaled(tank({1.0, 0.0, 1.0}), 2.0);
    expect_moles(made, {3.0, 2.0, 5.0});
    made.add_scaled(made, 1.0);
    expect_moles(made, {6.0, 4.0, 10.0});
    made.add_moles(std::vector<double>{1.0, 1.0, 1.0}, -1.0);
    expect_moles(made, {5.0, 3.0, 9.0});
    made.add_mole(0, 1.0);
    made.add_mass(1, 20.0);
    expect_moles(made, {6.0, 4.0, 9.0});
}

TEST_F(TankTest, AddAmountsOfAnotherComposition) {
    const Tank other = tank({1.0, 1.0, 0.0});
    Tank made("made", &abc);
    made.add_amount(other, 10.0);
    expect_moles(made, {5.0, 5.0, 0.0});
    made.add_mass_amount(other, 60.0);  // 30 kg in two moles
    expect_moles(made, {7.0, 7.0, 0.0});
    Tank converted("converted", &cad);
    converted.add_scaled(other, 3.0);
    expect_moles(converted, {0.0, 3.0, 0.0});
    const Tank empty("empty", &abc);
    EXPECT_THROW(made.add_amount(empty, 1.0), BadTank);
    EXPECT_THROW(made.add_mass_amount(empty, 1.0), BadTank);
}

TEST_F(TankTest, AddingNothingDoesNothing) {
    Tank made = tank({1.0, 2.0, 3.0});
    const Tank empty("empty", &abc);
    made.add_scaled(tank({1.0, 1.0, 1.0}), 0.0);
    made.add_amount(empty, 0.0);
    made.add_mass_amount(empty, 0.0);
    made.add_moles(std::vector<double>{1.0}, 0.0);
    made.add_mole(99, 0.0);
    made.add_mass(-1, 0.0);
    expect_moles(made, {1.0, 2.0, 3.0});
}

TEST_F(TankTest, CleanNegativeTellsOfSignificantAmountsOnly) {
    Tank tiny = tank({1.0, -1e-20, 0.0});
    EXPECT_FALSE(tiny.clean_negative(1.1102230246251565e-16));
    expect_moles(tiny, {1.0, 0.0, 0.0});
    Tank large = tank({1.0, -1e-3, 2.0});
    EXPECT_TRUE(large.clean_negative(1.1102230246251565e-16));
    expect_moles(large, {1.0, 0.0, 2.0});
    Tank all = tank({-1.0, -2.0, 0.0});
    EXPECT_TRUE(all.clean_negative(1.1102230246251565e-16));
    expect_moles(all, {0.0, 0.0, 0.0});
    Tank none = tank({1.0, 2.0, 3.0});
    EXPECT_FALSE(none.clean_negative(0.0));
}

TEST_F(TankTest, CleanNegativeJudgesMassByItself) {
    // 1e-16 mole of 1, but by mass 4e-16 of 10.
    Tank made = tank({1.0, 0.0, -1e-16});
    EXPECT_FALSE(made.clean_negative(5e-16));
    Tank again = tank({1.0, 0.0, -1e-16});
    EXPECT_TRUE(again.clean_negative(2e-16));
}

TEST_F(TankTest, NormalizeTakesFractionsAndPercentagesInSilence) {
    const double tolerance = 3 * 5e-7;
    for (const std::vector<double>& moles :
         {std::vector<double>{0.5, 0.3, 0.2}, {50.0, 30.0, 20.0}, {50.00014, 30.0, 20.0}}) {
        Tank made = tank(moles);
        EXPECT_FALSE(made.normalize(tolerance));
        EXPECT_EQ(made.total_moles(), 1.0);
        EXPECT_NEAR(made.moles()[0], 0.5, 1e-6);
        EXPECT_NEAR(made.total_mass(), 5.0 + 6.0 + 8.0, 1e-4);
    }
    for (double whole : {1.0, 100.0}) {  // mass fractions and percentages
        Tank made("made", &abc);
        made.assign_masses(std::vector<double>{0.2, 0.3, 0.5}, whole);
        EXPECT_FALSE(made.normalize(tolerance));
        EXPECT_EQ(made.total_moles(), 1.0);
    }
}

TEST_F(TankTest, NormalizeTellsOfOtherTotals) {
    const double tolerance = 3 * 5e-7;
    for (const std::vector<double>& moles :
         {std::vector<double>{3.0, 2.0, 1.0}, {50.00016, 30.0, 20.0}, {0.5, 0.3, 0.19}}) {
        Tank made = tank(moles);
        EXPECT_TRUE(made.normalize(tolerance));
        EXPECT_EQ(made.total_moles(), 1.0);
        double sum = 0.0;
        for (double amount : made.moles()) sum += amount;
        EXPECT_NEAR(sum, 1.0, 4e-16);
    }
}

TEST_F(TankTest, NormalizeRefusesAnEmptyTank) {
    Tank empty("empty", &abc);
    EXPECT_THROW(empty.normalize(1e-6), BadTank);
    Tank none;
    EXPECT_THROW(none.normalize(1e-6), BadTank);
}

TEST_F(TankTest, NormalizeAtTheEndsOfTheNumberRange) {
    Tank huge = tank({1.5e308, 0.5e308, 1.0e308});
    EXPECT_TRUE(huge.normalize(1e-6));
    expect_moles(huge, {0.5, 0.5 / 3.0, 1.0 / 3.0});
    Tank tiny = tank({2e-320, 2e-320, 0.0});
    EXPECT_TRUE(tiny.normalize(1e-6));
    EXPECT_EQ(tiny.moles()[0], 0.5);
    Tank infinite = tank({std::numeric_limits<double>::infinity(), 1.0, 1.0});
    EXPECT_THROW(infinite.normalize(1e-6), BadTank);
    Tank undefined = tank({std::numeric_limits<double>::quiet_NaN(), 1.0, 1.0});
    EXPECT_THROW(undefined.normalize(1e-6), BadTank);
}

TEST_F(TankTest, ConvertTakesMolesByName) {
    Tank made = tank({1.0, 2.0, 3.0});
    made.convert(&cad);
    EXPECT_EQ(made.charz(), &cad);
    expect_moles(made, {3.0, 1.0, 0.0});
}

TEST_F(TankTest, ConvertComparesNamesWithoutCaseToNineCharacters) {
    Charzation longer = named("longer", {{"c", 44.0}, {"HEPTANESPLUSONE", 100.0}});
    Charzation other = named("other", {{"heptanesplustwo", 100.0}, {"C", 40.0}});
    Tank made("made", &longer);
    made.assign_moles(std::vector<double>{1.0, 2.0}, 1.0);
    made.convert(&other);
    expect_moles(made, {2.0, 1.0});
}

TEST_F(TankTest, ConvertToTheSameOrToNone) {
    Tank made = tank({1.0, 2.0, 3.0});
    made.convert(&abc);
    expect_moles(made, {1.0, 2.0, 3.0});
    made.convert(nullptr);
    EXPECT_EQ(made.charz(), nullptr);
    EXPECT_EQ(made.n(), 0);
    made.convert(&abc);
    expect_moles(made, {0.0, 0.0, 0.0});
}

TEST_F(TankTest, ConvertAfterTheCharacterizationGrewDropsTheAmounts) {
    Tank made = tank({1.0, 2.0, 3.0});
    Compnent late;
    late.name = UserWord("L");
    late.mw = 50.0;
    abc.add_component(late);
    made.convert(&abc);
    expect_moles(made, {0.0, 0.0, 0.0, 0.0});
}

TEST_F(TankTest, MolesChangedAfterWritingInPlace) {
    Tank made = tank({1.0, 2.0, 3.0});
    made.moles()[1] = 7.0;
    made.moles_changed();
    expect_moles(made, {1.0, 7.0, 3.0});
}

TEST_F(TankTest, ConversionMessage) {
    const Tank named_tank = tank({1.0, 2.0, 3.0}, "OIL");
    EXPECT_EQ(conversion_message("The feed stream", named_tank, &cad, ""),
              "The \"OIL\" mixture could not be converted from its \"ABC\" characterization\n"
              "to the \"CAD\" characterization");
    EXPECT_EQ(conversion_message("The feed stream", named_tank, &cad, "invalid data"),
              "The \"OIL\" mixture could not be converted from its \"ABC\" characterization\n"
              "to the \"CAD\" characterization because of invalid data");
    abc.name.clear();
    const Tank unnamed = tank({1.0, 2.0, 3.0}, "");
    cad.name.clear();
    EXPECT_EQ(conversion_message("The feed stream", unnamed, &cad, ""),
              "The feed stream could not be converted from its characterization\n"
              "to the current characterization");
    EXPECT_EQ(conversion_message("The feed stream", Tank(), nullptr, ""),
              "The feed stream could not be converted from its characterization\n"
              "to the current characterization");
}

TEST_F(TankTest, CopyOfATankIsIndependent) {
    Tank first = tank({1.0, 2.0, 3.0});
    Tank second = first;
    second.set_mole(0, 9.0);
    expect_moles(first, {1.0, 2.0, 3.0});
    expect_moles(second, {9.0, 2.0, 3.0});
    EXPECT_EQ(second.name, "mix");
}

}  // namespace
}  // namespace kestrane
