#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "equil/Tank.h"
#include "fluid/GammaState.h"
#include "fluid/Lump.h"
#include "frame/Errors.h"

namespace kestrane {
namespace {

struct NamedCut {
    std::string name;
    double mw;
    double lower_mw = 0.0;
};

Charzation fluid(const std::string& name, const std::vector<NamedCut>& cuts) {
    Charzation charz(name);
    for (const NamedCut& cut : cuts) {
        Compnent component;
        component.name = UserWord(cut.name);
        component.mw = cut.mw;
        component.lower_mw = cut.lower_mw;
        charz.add_component(component);
    }
    return charz;
}

/// C7+ of a textbook gas condensate, 6.85 mol% of mean 143: shape 1, minimum 90 (C.H. Whitson and
/// M.R. Brule, Phase Behavior, SPE Monograph 20, 2000, Appendix C).
struct TankGamma : testing::Test {
    TankGamma() {
        reset();
        gamma_state().split_from = "C7+";
        gamma_state().split_to = "F1";
        gamma_state().current = {1.0, 1.0, 90.0, 1.0};
    }
    ~TankGamma() override { reset(); }
    static void reset() {
        gamma_state() = GammaState{};
        conserved_basis() = Conserved::Moles;
    }

    Charzation coarse =
        fluid("coarse", {{"C7+", 143.0}, {"C1", 16.04}, {"C6", 86.17}, {"CO2", 44.01}});
    Charzation fine = fluid("fine", {{"C1", 16.04},
                                     {"C6", 86.17},
                                     {"F1", 104.0, 90.0},
                                     {"F2", 150.0, 120.0},
                                     {"F3", 255.0, 200.0}});

    Tank feed() {
        Tank tank("gas", &coarse);
        tank.assign_moles(std::vector<double>{0.0685, 0.9, 0.02, 0.0115}, 1.0);
        return tank;
    }
};

constexpr double SCALE = 143.0 - 90.0;

/// Fraction and mean MW of an exponential distribution above 90, in closed form.
double share(double from, double to) {
    return std::exp(-(from - 90.0) / SCALE) - std::exp(-(to - 90.0) / SCALE);
}
double mass_share(double from, double to) {
    const auto heavier = [](double x) { return std::exp(-(x - 90.0) / SCALE) * (x + SCALE); };
    return (heavier(from) - heavier(to)) / 143.0;
}
constexpr double TOP = 1e5;

TEST_F(TankGamma, SplitsByMoles) {
    Tank tank = feed();
    tank.convert(&fine);
    EXPECT_EQ(tank.charz(), &fine);
    EXPECT_DOUBLE_EQ(tank.moles()[0], 0.9);
    EXPECT_DOUBLE_EQ(tank.moles()[1], 0.02);
    EXPECT_NEAR(tank.moles()[2], 0.0685 * share(90.0, 120.0), 1e-15);
    EXPECT_NEAR(tank.moles()[3], 0.0685 * share(120.0, 200.0), 1e-15);
    EXPECT_NEAR(tank.moles()[4], 0.0685 * share(200.0, TOP), 1e-15);
    EXPECT_NEAR(tank.moles()[2] + tank.moles()[3] + tank.moles()[4], 0.0685, 0.0685e-13);
}

TEST_F(TankGamma, SplitsByMass) {
    conserved_basis() = Conserved::Mass;
    Tank tank = feed();
    const double mass = 0.0685 * 143.0;
    tank.convert(&fine);
    EXPECT_NEAR(tank.masses()[0], 0.9 * 16.04, 1e-14);
    EXPECT_NEAR(tank.masses()[2], mass * mass_share(90.0, 120.0), 1e-14);
    EXPECT_NEAR(tank.masses()[4], mass * mass_share(200.0, TOP), 1e-14);
    EXPECT_NEAR(tank.masses()[2] + tank.masses()[3] + tank.masses()[4], mass, mass * 1e-13);
    EXPECT_DOUBLE_EQ(tank.moles()[4], tank.masses()[4] / 255.0);
}

TEST_F(TankGamma, BoundariesAreFilledFromTheWeights) {
    Charzation blank = fluid("blank", {{"C1", 16.04}, {"C6", 86.17}, {"F1", 100.0}, {"F2", 140.0}});
    Tank tank = feed();
    tank.convert(&blank);
    EXPECT_NEAR(tank.moles()[2], 0.0685 * share(90.0, 120.0), 1e-15);
    EXPECT_NEAR(tank.moles()[3], 0.0685 * share(120.0, TOP), 1e-15);
}

TEST_F(TankGamma, RelativeParametersFollowTheMixture) {
    // Heavier components of the source count as part of the fraction; the mean is theirs.
    Charzation source = fluid("source", {{"C1", 16.04}, {"C7+", 120.0}, {"C20+", 300.0}});
    Tank tank("oil", &source);
    tank.assign_moles(std::vector<double>{0.5, 0.3, 0.2}, 1.0);
    gamma_state().current = {1.0, 1.0, 0.5, 1.0};
    tank.convert(&fine);
    const double mean = (0.3 * 120.0 + 0.2 * 300.0) / 0.5;
    const double bound = 0.5 * mean;
    // F1 begins below the bound.
    EXPECT_NEAR(tank.moles()[2], 0.5 * (1.0 - std::exp(-(120.0 - bound) / (mean - bound))), 1e-14);
    EXPECT_NEAR(tank.total_moles(), 1.0, 1e-13);
}

TEST_F(TankGamma, SplitAndSumAreEachOthersReverse) {
    Tank tank = feed();
    tank.convert(&fine);
    // Back: C7+ is the lump of what it was split into.
    coarse.add_lump({UserWord("C7+"), {0.0, 0.0, 1.0, 1.0, 1.0}});
    tank.convert(&coarse);
    EXPECT_NEAR(tank.moles()[0], 0.0685, 0.0685e-13);
    EXPECT_DOUBLE_EQ(tank.moles()[1], 0.9);
    EXPECT_EQ(tank.moles()[3], 0.0);  // CO2 found no place in the fine one
}

TEST_F(TankGamma, OnlyWhatIsLighterGoesByNameOrLump) {
    Charzation target = fluid("target", {{"GAS", 20.0}, {"C7+", 80.0}, {"F1", 104.0, 90.0}});
    target.add_lump({UserWord("GAS"), {1.0, 1.0, 0.5, 2.0}});
    Tank tank = feed();
    tank.convert(&target);
    EXPECT_DOUBLE_EQ(tank.moles()[0], 0.9 + 0.5 * 0.02 + 2.0 * 0.0115);
    EXPECT_EQ(tank.moles()[1], 0.0);  // its namesake was split
    EXPECT_NEAR(tank.moles()[2], 0.0685, 0.0685e-13);
}

TEST_F(TankGamma, LumpsOfAnotherSizeDoNotApply) {
    Charzation target = fluid("target", {{"GAS", 20.0}});
    target.add_lump({UserWord("GAS"), {1.0, 1.0}});
    Tank tank = feed();
    tank.convert(&target);
    EXPECT_EQ(tank.total_moles(), 0.0);
}

// Lumped in two steps: the second step's lump is of the first step's lumps, and a mixture of the
// finest fluid goes to the coarsest at once as it does by way of the one between.
TEST_F(TankGamma, ALumpOfLumpsReachesTheFluidBelowItsBase) {
    gamma_state() = GammaState{};
    Charzation middle = fluid("middle", {{"C1", 16.04}, {"LIGHT", 50.0}, {"CUTS", 150.0}});
    middle.add_lump({UserWord("CUTS"), {0.0, 0.0, 1.0, 1.0, 0.5}});
    middle.add_lump({UserWord("LIGHT"), {0.0, 1.0, 0.0, 0.0, 0.0}});
    Charzation top = fluid("top", {{"C1", 16.04}, {"HEAVY", 120.0}, {"LOOP", 1.0}, {"ODD", 1.0}});
    top.take_lumps(middle);
    const auto of_middle = [](const char* name, std::vector<double> factors) {
        return Lump{UserWord(name),
                    std::move(factors),
                    {UserWord("C1"), UserWord("LIGHT"), UserWord("CUTS")}};
    };
    top.add_lump(of_middle("HEAVY", {0.0, 1.0, 2.0}));
    // One that is a part of itself, and one of a component that the mixture does not know.
    top.add_lump({UserWord("LOOP"), {1.0, 1.0}, {UserWord("C1"), UserWord("LOOP")}});
    top.add_lump({UserWord("ODD"), {1.0, 1.0}, {UserWord("C1"), UserWord("ELSE")}});
    const std::vector<double> moles{0.5, 0.1, 0.2, 0.15, 0.05};
    for (const Conserved basis : {Conserved::Moles, Conserved::Mass}) {
        conserved_basis() = basis;
        Tank direct("oil", &fine), stepwise("oil", &fine);
        direct.assign_moles(moles, 1.0);
        stepwise.assign_moles(moles, 1.0);
        direct.convert(&top);
        stepwise.convert(&middle);
        stepwise.convert(&top);
        for (std::size_t i = 0; i < 2; ++i)
            EXPECT_NEAR(direct.moles()[i], stepwise.moles()[i], 1e-15);
        EXPECT_EQ(direct.moles()[2], 0.0);
        EXPECT_EQ(direct.moles()[3], 0.0);
        if (basis == Conserved::Moles) {
            EXPECT_NEAR(direct.moles()[1], 0.1 + 2.0 * (0.2 + 0.15 + 0.5 * 0.05), 1e-15);
        }
    }
}

TEST_F(TankGamma, WithoutBothNamesEverythingGoesByName) {
    gamma_state().split_from = "C10+";
    gamma_state().current = {1.0, 1.0, 1.0, 1.0};  // not looked at
    Tank tank = feed();
    tank.convert(&fine);
    EXPECT_DOUBLE_EQ(tank.moles()[0], 0.9);
    EXPECT_EQ(tank.moles()[2], 0.0);
}

std::string failure(Tank& tank, Charzation& target) {
    try {
        tank.convert(&target);
    } catch (const UnconvertedTank& reason) {
        return conversion_message("The feed stream", tank, &target, reason.reason);
    }
    return "converted";
}

TEST_F(TankGamma, InvalidParametersAreListed) {
    gamma_state().current = {1.0, 1.0, 1.0, 1.0};
    Tank tank = feed();
    EXPECT_EQ(failure(tank, fine),
              "The \"gas\" mixture could not be converted from its \"coarse\" characterization\n"
              "to the \"fine\" characterization because of invalid Gamma parameters\n"
              "shape = 1, average = 143, bound = 143, origin = 143");
    EXPECT_EQ(tank.charz(), &coarse);
    EXPECT_DOUBLE_EQ(tank.moles()[0], 0.0685);
}

TEST_F(TankGamma, AnEmptyFractionNeedsNoParameters) {
    gamma_state().current = {1.0, 1.0, 1.0, 1.0};
    Tank tank("dry", &coarse);
    tank.assign_moles(std::vector<double>{0.0, 1.0, 0.0, 0.0}, 1.0);
    EXPECT_EQ(failure(tank, fine), "converted");
    EXPECT_EQ(tank.total_moles(), 1.0);
}

TEST_F(TankGamma, CutsBeyondTheWholeDistributionAreNoTarget) {
    Charzation far = fluid("far", {{"C1", 16.04}, {"F1", 2e5, 1e5}});
    Tank tank = feed();
    EXPECT_NE(failure(tank, far).find("because of an empty Gamma distribution"), std::string::npos);
    EXPECT_DOUBLE_EQ(tank.moles()[0], 0.0685);
}

TEST_F(TankGamma, MassNeedsMolecularWeights) {
    conserved_basis() = Conserved::Mass;
    fine.comps[3].mw = 0.0;
    Tank tank = feed();
    EXPECT_NE(
        failure(tank, fine).find("because of the nonphysical molecular weight of component \"F2\""),
        std::string::npos);
    EXPECT_DOUBLE_EQ(tank.total_moles(), 1.0);
}

/// C7 to C30+ of an oil (published analysis, 33.82 mol% of C7+ with mean MW 211.52): merged into
/// one fraction and split again, what was conserved is conserved.
TEST_F(TankGamma, PublishedOilConservesItsBasis) {
    const std::vector<std::pair<double, double>> analysis{
        {0.0393, 91.9},  {0.0452, 105.2}, {0.0323, 121.0}, {0.023, 133.0},  {0.0203, 148.0},
        {0.0188, 163.0}, {0.0162, 177.0}, {0.0176, 190.0}, {0.0139, 204.0}, {0.0103, 217.0},
        {0.0122, 235.0}, {0.0085, 248.0}, {0.0097, 260.0}, {0.0032, 269.4}, {0.008, 282.5},
        {0.0053, 297.7}, {0.0044, 310.1}, {0.0034, 321.8}, {0.0048, 332.4}, {0.0039, 351.1},
        {0.0031, 370.8}, {0.003, 381.6},  {0.0024, 393.7}, {0.0294, 612.0}};
    std::vector<NamedCut> cuts{{"C1", 16.043}};
    double moles = 0.0, mass = 0.0;
    for (std::size_t k = 0; k < analysis.size(); ++k) {
        cuts.push_back({"C" + std::to_string(k + 7), analysis[k].second});
        moles += analysis[k].first;
        mass += analysis[k].first * analysis[k].second;
    }
    EXPECT_NEAR(moles, 0.3382, 1e-12);
    EXPECT_NEAR(mass / moles, 211.52, 0.005);  // as many digits as were published
    Charzation target = fluid("detailed", cuts);
    Charzation source = fluid("C7+", {{"C1", 16.043}, {"C7+", mass / moles}});
    gamma_state().split_to = "C7";
    gamma_state().current = {0.8, 1.0, 88.0, 1.0};
    for (const Conserved basis : {Conserved::Moles, Conserved::Mass}) {
        conserved_basis() = basis;
        Tank tank("oil", &source);
        tank.assign_moles(std::vector<double>{1.0 - moles, moles}, 1.0);
        tank.convert(&target);
        double n = 0.0, m = 0.0;
        for (std::size_t k = 1; k < target.size(); ++k) {
            EXPECT_GT(tank.moles()[k], 0.0);
            n += tank.moles()[k];
            m += tank.masses()[k];
        }
        if (basis == Conserved::Moles) {
            EXPECT_NEAR(n, moles, moles * 1e-13);
        } else {
            EXPECT_NEAR(m, mass, mass * 1e-13);
        }
    }
}

}  // namespace
}  // namespace kestrane
