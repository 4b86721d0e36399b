#include "expt/Depletion.h"

#include <cmath>

#include "expt/ExptRun.h"

namespace kestrane {
namespace {

constexpr double ROUND_OFF = 1e-10;
const std::string STAGES = "PRES BAR\n 400\n 300\n 200\n 150\n 100\n 60\n 30\n 10\n 2\nEND\n";

/// The retained fractions that a rule gives for amounts before the removal.
template <class Experiment>
Experiment ruled(double basis, double liquid, double gas) {
    Experiment e;
    e.basis_volume = e.basis_moles = e.basis_mass = basis;
    ExptData row;
    row.liquid_volume_1 = row.liquid_moles_1 = row.liquid_mass_1 = liquid;
    row.gas_volume_1 = row.gas_moles_1 = row.gas_mass_1 = gas;
    e.setRemoval(row);
    return e;
}

template <class E>
class GasDepletion : public testing::Test {};
using GasClasses = testing::Types<PVTzCVDG, PVTzCMDG, PVTzCWDG>;
TYPED_TEST_SUITE(GasDepletion, GasClasses);

// Both sides of each branch.
TYPED_TEST(GasDepletion, Rule) {
    const auto below = ruled<TypeParam>(1.0, 0.3, 0.6);
    EXPECT_EQ(below.liquid_retained, 1.0);
    EXPECT_EQ(below.gas_retained, 1.0);
    const auto at_it = ruled<TypeParam>(1.0, 0.25, 0.75);
    EXPECT_EQ(at_it.gas_retained, 1.0);
    const auto part = ruled<TypeParam>(1.0, 0.25, 3.0);
    EXPECT_EQ(part.liquid_retained, 1.0);
    EXPECT_DOUBLE_EQ(part.gas_retained, 0.25);
    const auto all = ruled<TypeParam>(1.0, 4.0, 1.0);
    EXPECT_DOUBLE_EQ(all.liquid_retained, 0.25);
    EXPECT_EQ(all.gas_retained, 0.0);
    EXPECT_EQ(all.gas_share, 1.0);
    EXPECT_EQ(all.liquid_share, 0.0);
}

template <class E>
class LiquidDepletion : public testing::Test {};
using LiquidClasses = testing::Types<PVTzCVDL, PVTzCMDL, PVTzCWDL>;
TYPED_TEST_SUITE(LiquidDepletion, LiquidClasses);

TYPED_TEST(LiquidDepletion, Rule) {
    const auto below = ruled<TypeParam>(1.0, 0.3, 0.6);
    EXPECT_EQ(below.liquid_retained, 1.0);
    EXPECT_EQ(below.gas_retained, 1.0);
    const auto part = ruled<TypeParam>(1.0, 3.0, 0.25);
    EXPECT_DOUBLE_EQ(part.liquid_retained, 0.25);
    EXPECT_EQ(part.gas_retained, 1.0);
    const auto all = ruled<TypeParam>(1.0, 1.0, 4.0);
    EXPECT_EQ(all.liquid_retained, 0.0);
    EXPECT_DOUBLE_EQ(all.gas_retained, 0.25);
    EXPECT_EQ(all.liquid_share, 1.0);
    EXPECT_EQ(all.gas_share, 0.0);
}

TEST(Depletion, LiberationRules) {
    const auto gas = ruled<PVTzDFLG>(1.0, 0.3, 5.0);
    EXPECT_EQ(gas.liquid_retained, 1.0);
    EXPECT_EQ(gas.gas_retained, 0.0);
    const auto liquid = ruled<PVTzDFLL>(1.0, 0.3, 5.0);
    EXPECT_EQ(liquid.liquid_retained, 0.0);
    EXPECT_EQ(liquid.gas_retained, 1.0);
}

// Whatever is above the basis goes, what is below stays whole.
template <class Run>
void expect_basis(const Run& run, double basis, double ExptData::*before, double ExptData::*after) {
    int at_basis = 0;
    ASSERT_EQ(run.rows().size(), 9u);
    for (const ExptData& r : run.rows()) {
        if (r.*before <= basis * (1.0 + 1e-13)) {
            EXPECT_EQ(r.*after, r.*before) << r.stage;
        } else {
            ++at_basis;
            EXPECT_NEAR(r.*after, basis, ROUND_OFF * basis) << r.stage;
        }
    }
    EXPECT_GE(at_basis, 5);
}

// From two phases at 40 bar straight to a thousandth of a bar: the oil left has vaporized whole. As
// the liquid it was it would not be removed, and fill 80,000 times the basis volume as such.
TEST(Depletion, AnOilThatVaporizesWholeIsGas) {
    ExptRun<PVTzDFLG> run(
        LIGHT_FLUID + "QMIX FEED C1 0.3 C3 0.3 N-C10 0.4\nTEMP 400 K\nPRES 0 BAR\n",
        "BUBP\nPRES BAR\n 40\n 0.001\nEND\n");
    ASSERT_EQ(run.rows().size(), 2u) << run.problems();
    EXPECT_GT(run.rows()[0].liquid_mole_fraction_1, 0.5);
    const ExptData& last = run.rows()[1];
    EXPECT_EQ(last.gas_mole_fraction_1, 1.0);
    EXPECT_EQ(last.liquid_volume_1, 0.0);
    EXPECT_NEAR(last.gas_z_factor, 1.0, 1e-3);
    EXPECT_EQ(last.moles_2, 0.0);
}

// Butanes and pentane at room temperature boil at 2.2 bar and are all gas at 1 bar: the saturation
// pressure, a bubble point, lies above, with the whole two-phase region between. The name comes
// from there, or from the first stage below that region.
TEST(Depletion, AGasBelowItsTwoPhaseRegionIsGas) {
    const std::string butanes =
        "CHAR Light\nNAME  MW  TC(K)  PC(bar)  AF\nI-C4\nN-C4\nI-C5\nEND\nEND\n"
        "QMIX FEED I-C4 0.47 N-C4 0.20 I-C5 0.33\nTEMP 293 K\n";
    for (const char* start : {"PRES 1 BAR\n", "PRES 5 BAR\n"}) {
        ExptRun<PVTzEXPA> run(butanes + start, "PRES BAR\n 1\n 0.8\nEND\n");
        ASSERT_EQ(run.rows().size(), 2u) << run.problems();
        for (const ExptData& row : run.rows()) {
            EXPECT_EQ(row.gas_mole_fraction_1, 1.0) << start;
            EXPECT_EQ(row.liquid_volume_1, 0.0);
            EXPECT_GT(row.gas_z_factor, 0.95);
        }
    }
}

// Two phases at 168 bar, then cooled to one at 165 bar: a liquid, though its Z is 0.78.
TEST(Depletion, AColdOilBelowAPressureOfTwoPhasesStaysOil) {
    ExptRun<PVTzEXPA> run(
        LIGHT_FLUID + "QMIX FEED C1 0.5 C3 0.1 N-C10 0.4\nTEMP 400 K\nPRES 168 BAR\n",
        aligned({"TEMP K|PRES BAR", "400|168", "300|165"}));
    ASSERT_EQ(run.rows().size(), 2u) << run.problems();
    EXPECT_GT(run.rows()[0].gas_mole_fraction_1, 0.0);
    EXPECT_LT(run.rows()[0].gas_mole_fraction_1, 0.5);
    EXPECT_EQ(run.rows()[1].liquid_mole_fraction_1, 1.0);
}

TEST(Depletion, EndsAtTheBasisVolume) {
    for (const std::string& fluid : {OIL, CONDENSATE}) {
        const ExptRun<PVTzCVDG> gas(fluid, STAGES);
        expect_basis(gas, gas.experiment.basis_volume, &ExptData::volume_1, &ExptData::volume_2);
        const ExptRun<PVTzCVDL> liquid(fluid, STAGES);
        expect_basis(liquid, liquid.experiment.basis_volume, &ExptData::volume_1,
                     &ExptData::volume_2);
    }
}

// Moles and mass exceed the basis only by what is injected.
TEST(Depletion, EndsAtTheBasisMolesOrMass) {
    const std::string stages =
        "BASIS 1 MOL\n" + aligned({"PRES BAR|MINJ MOL", "200|0.1", "150|0.2", "100|0.5", "80|0.9",
                                   "60|1.5", "50|2", "40|2.5", "30|3", "20|4"});
    for (const std::string& fluid : {OIL, CONDENSATE}) {
        const std::string injected = fluid + "QMIX INJ C1 1\n";
        const ExptRun<PVTzCMDG> moles(injected, stages);
        expect_basis(moles, moles.experiment.basis_moles, &ExptData::moles_1, &ExptData::moles_2);
        const ExptRun<PVTzCMDL> liquid_moles(injected, stages);
        expect_basis(liquid_moles, liquid_moles.experiment.basis_moles, &ExptData::moles_1,
                     &ExptData::moles_2);
        const ExptRun<PVTzCWDG> mass(injected, stages);
        expect_basis(mass, mass.experiment.basis_mass, &ExptData::mass_1, &ExptData::mass_2);
        const ExptRun<PVTzCWDL> liquid_mass(injected, stages);
        expect_basis(liquid_mass, liquid_mass.experiment.basis_mass, &ExptData::mass_1,
                     &ExptData::mass_2);
    }
}

// Without injection there is never more than the basis.
TEST(Depletion, ConstantMolesRemovesNothingWithoutInjection) {
    const ExptRun<PVTzCMDG> run(OIL, STAGES);
    for (const ExptData& r : run.rows()) EXPECT_EQ(r.removed_moles, 0.0);
}

// The product of the stages' retained fractions is the cumulative one.
TEST(Depletion, LiberationMultipliesUp) {
    const ExptRun<PVTzDFLG> run(OIL, STAGES);
    double moles = 1.0, mass = 1.0, gas_moles = 0.0;
    ASSERT_EQ(run.rows().size(), 9u);
    for (const ExptData& r : run.rows()) {
        moles *= r.liquid_mole_fraction_1;
        mass *= r.liquid_mass_fraction_1;
        gas_moles += r.gas_moles_1;
        EXPECT_NEAR(r.relative_moles_2, moles, ROUND_OFF) << r.stage;
        EXPECT_NEAR(r.relative_mass_2, mass, ROUND_OFF) << r.stage;
        EXPECT_NEAR(r.removed_relative_moles, 1.0 - moles, ROUND_OFF) << r.stage;
        EXPECT_NEAR(r.removed_moles, gas_moles, ROUND_OFF * run.experiment.basis_moles);
        if (gas_moles > 0.0) {
            EXPECT_NEAR(r.cum_gor_2 * r.liquid_volume_2 / gas_moles, 1.0, ROUND_OFF);
            EXPECT_NEAR(r.cum_gor_2 * r.cum_ogr_2, 1.0, ROUND_OFF);
        }
        EXPECT_EQ(r.gas_moles_2, 0.0);
    }
    EXPECT_LT(moles, 0.7);
    EXPECT_GT(moles, 0.1);
}

// The gas that goes at a stage is what the gas-oil ratio of the stage says.
TEST(Depletion, StageRatioTimesLiquidIsTheGasTakenOut) {
    const ExptRun<PVTzDFLG> run(OIL, STAGES);
    double removed = 0.0;
    for (const ExptData& r : run.rows()) {
        EXPECT_NEAR(r.gor_1 * r.liquid_volume_1, r.removed_moles - removed,
                    ROUND_OFF * run.experiment.basis_moles);
        removed = r.removed_moles;
    }
}

// Where nothing is removed nothing changes, to the last digit.
TEST(Depletion, BeforeIsAfterWhereNothingIsRemoved) {
    const ExptRun<PVTzEXPA> run(OIL, STAGES);
    for (const ExptData& r : run.rows()) {
        EXPECT_EQ(r.volume_1, r.volume_2);
        EXPECT_EQ(r.z_factor_1, r.z_factor_2);
        EXPECT_EQ(r.mw_1, r.mw_2);
        EXPECT_EQ(r.density_1, r.density_2);
        EXPECT_EQ(r.gor_1, r.gor_2);
        EXPECT_EQ(r.gas_volume_fraction_1, r.gas_volume_fraction_2);
        EXPECT_EQ(r.z_1, r.z_2);
        EXPECT_EQ(r.removed_moles, 0.0);
        EXPECT_EQ(r.removed_mass, 0.0);
    }
}

// All gas of a dry gas goes at once; the empty cell keeps its composition and the stages go on.
TEST(Depletion, AnEmptiedCellKeepsItsComposition) {
    ExptRun<PVTzDFLG> run(LIGHT_FLUID + "QMIX FEED C1 0.9 C3 0.1\nTEMP 400 K\nPRES 100 BAR\n",
                          "PRES BAR\n 50\n 20\n 5\nEND\n");
    ASSERT_EQ(run.rows().size(), 3u) << run.problems();
    EXPECT_EQ(run.problems(), "");
    for (const ExptData& r : run.rows()) {
        EXPECT_EQ(r.moles_2, 0.0);
        EXPECT_NEAR(r.removed_relative_moles, 1.0, ROUND_OFF);
        EXPECT_NEAR(r.z_1[0], 0.9, ROUND_OFF);
        EXPECT_NEAR(r.z_2[0], 0.9, ROUND_OFF);
        EXPECT_EQ(r.z_factor_2, UNDEFINED);
        EXPECT_EQ(r.density_2, UNDEFINED);
        EXPECT_EQ(r.cum_gor_2, UNDEFINED);
    }
    EXPECT_EQ(run.rows()[1].moles_1, 0.0);
}

// A rich liquid volume above the basis is taken out too; its moles are no gas.
TEST(Depletion, CumulativeRatioCountsGasAlone) {
    // The basis is a small part of what injection makes.
    const ExptRun<PVTzCVDG> run(OIL + "QMIX INJ N-C10 1\n",
                                aligned({"PRES BAR|RMI", "100|0", "100|1", "100|2"}));
    double gas = 0.0;
    ASSERT_EQ(run.rows().size(), 3u);
    for (const ExptData& r : run.rows()) {
        gas += r.gas_moles_1 - r.gas_moles_2;
        EXPECT_NEAR(r.cum_gor_2 * r.liquid_volume_2, gas + r.gas_moles_2,
                    ROUND_OFF * run.experiment.basis_moles);
    }
    EXPECT_LT(run.rows()[2].liquid_moles_2, run.rows()[2].liquid_moles_1);
    EXPECT_GT(run.rows()[2].removed_moles, gas * 1.01);
}

}  // namespace
}  // namespace kestrane
