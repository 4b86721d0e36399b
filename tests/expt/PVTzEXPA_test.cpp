#include "expt/PVTzEXPA.h"

#include <cmath>

#include "equil/reference/TextbookCubic.h"
#include "expt/ExptRun.h"

namespace kestrane {
namespace {

constexpr double BAR = 1e5;
constexpr double ROUND_OFF = 1e-10;

/// The largest root of the textbook's cubic for a pure component, at K and Pa.
double textbook_z(const Compnent& c, double T, double P, bool vapor) {
    textbook::Fluid fluid;
    fluid.components = {{"one", c.mw, c.tc, c.pc, c.acentric}};
    fluid.z = {1.0};
    const textbook::Mixture<double> mixture(fluid, T);
    return mixture
        .phase(P, std::vector<double>{1.0}, vapor ? textbook::Root::High : textbook::Root::Low)
        .Z;
}

// One mole of methane: V = Z R T / P with the textbook's Z, at every stage.
TEST(PVTzEXPA, PureGasFollowsItsCubic) {
    ExptRun<PVTzEXPA> run(LIGHT_FLUID + "QMIX FEED C1 1\nTEMP 300 K\nPRES 200 BAR\n",
                          aligned({"TEMP K|PRES BAR", "300|200", "300|50", "400|10", "350|1"}));
    ASSERT_EQ(run.rows().size(), 4u) << run.problems();
    const Compnent& methane = run.setting.lab.current(nullptr)->comps[0];
    for (const ExptData& r : run.rows()) {
        const double Z = textbook_z(methane, r.temperature, r.pressure, true);
        const double volume = 0.001 * Z * 8314.472 * r.temperature / r.pressure;
        EXPECT_NEAR(r.z_factor_1 / Z, 1.0, 1e-9) << r.stage;
        EXPECT_NEAR(r.gas_volume_1 / volume, 1.0, 1e-9) << r.stage;
        EXPECT_NEAR(r.gas_density * volume, 0.001 * methane.mw, 1e-9 * methane.mw);
        EXPECT_NEAR(r.gas_gravity, methane.mw / 28.964, 1e-12);
        EXPECT_EQ(r.gas_mole_fraction_1, 1.0);
        EXPECT_EQ(r.liquid_volume_1, 0.0);
        EXPECT_EQ(r.gor_1, UNDEFINED);
        EXPECT_EQ(r.ogr_1, 0.0);
    }
}

// Decane at 320 K is a liquid above its vapor pressure and a gas below, with no stage of two phases
// between.
TEST(PVTzEXPA, PureFluidChangesItsPhaseWithoutATwoPhaseStage) {
    ExptRun<PVTzEXPA> run(LIGHT_FLUID + "QMIX FEED N-C10 1\nTEMP 400 K\nPRES 50 BAR\n",
                          "PRES BAR\n 50\n 1\n 0.01\nEND\n");
    ASSERT_EQ(run.rows().size(), 3u) << run.problems();
    const Compnent& decane = run.setting.lab.current(nullptr)->comps[2];
    for (const ExptData& r : run.rows()) {
        const bool vapor = r.stage == 3;
        EXPECT_EQ(r.gas_mole_fraction_1, vapor ? 1.0 : 0.0) << r.stage;
        EXPECT_NEAR(r.z_factor_1 / textbook_z(decane, 400.0, r.pressure, vapor), 1.0, 1e-8);
    }
    const ExptData& liquid = run.rows()[0];
    EXPECT_NEAR(liquid.liquid_api, 141.5 / (liquid.liquid_density / 999.024) - 131.5, 1e-9);
}

TEST(PVTzEXPA, BasisAtSaturationWithoutAPressure) {
    ExptRun<PVTzEXPA> run(OIL, "PRES BAR\n 50\nEND\n");
    LabRun saturation(OIL + "SATP\n");
    const double P = saturation.lab.cell().pressure.value;
    const double Z = saturation.lab.cell().feed_state.z_factor;
    EXPECT_NEAR(run.experiment.basis_volume, 0.001 * Z * 8314.472 * 350.0 / P,
                1e-8 * run.experiment.basis_volume);
    EXPECT_NE(run.report().find("Basis: 1 mol at 350 K and "), std::string::npos) << run.report();
}

// A pressure of 0 asks for the same.
TEST(PVTzEXPA, ZeroPressureAsksForSaturation) {
    ExptRun<PVTzEXPA> none(OIL, "PRES BAR\n 50\nEND\n");
    ExptRun<PVTzEXPA> zero(OIL + "PRES 0 BAR\n", "PRES BAR\n 50\nEND\n");
    EXPECT_NEAR(zero.experiment.basis_volume / none.experiment.basis_volume, 1.0, 1e-8);
}

// SATP among the sub-keywords is compared; the basis stays where the cell stands.
TEST(PVTzEXPA, MeasuredSaturationPressureIsAResidualAndNoBasis) {
    LabRun saturation(OIL + "SATP\n");
    const double P = saturation.lab.cell().pressure.value;
    ExptRun<PVTzEXPA> run(OIL + "PRES 300 BAR\n", "BUBP 100 BAR WT 2\nPRES BAR\n 50\nEND\n");
    const auto residuals = run.setting.lab.residuals();
    ASSERT_EQ(run.setting.lab.sum_of_squared_weights(), 4.0) << run.report();
    EXPECT_NEAR(std::sqrt(run.setting.lab.sum_of_squares()), 2.0 * (P / BAR - 100.0), 1e-4);
    EXPECT_NE(run.report().find("Expt. Bubble Point Pressure ="), std::string::npos);
    EXPECT_NE(run.report().find("Calc. Bubble Point Pressure ="), std::string::npos);
    EXPECT_NE(run.report().find("Basis: 1 mol at 350 K and 300 bar"), std::string::npos)
        << run.report();
    EXPECT_LE(residuals.size(), 1u);
}

TEST(PVTzEXPA, AMeasuredPressureOfZeroIsNone) {
    ExptRun<PVTzEXPA> run(OIL, "DEWP 0 BAR\nPRES BAR\n 50\nEND\n");
    EXPECT_EQ(run.setting.lab.sum_of_squared_weights(), 0.0);
    EXPECT_NE(run.report().find("Calc. Bubble Point Pressure = "), std::string::npos)
        << run.report();
    EXPECT_EQ(run.report().find("Expt. Dew"), std::string::npos);
}

// A dry gas has no saturation pressure: without another there is no basis, and no division by it.
TEST(PVTzEXPA, NoBasisWithoutAnyPressure) {
    ExptRun<PVTzEXPA> run(LIGHT_FLUID + "QMIX FEED C1 1\nTEMP 400 K\n",
                          "SATP 100 BAR\n" + aligned({"PRES BAR|RV", "50|1", "20|2.5"}));
    EXPECT_TRUE(run.rows().empty());
    EXPECT_NE(run.problems().find("no basis"), std::string::npos) << run.problems();
    // One for the saturation pressure, two for the volumes.
    EXPECT_EQ(run.setting.lab.sum_of_squared_weights(), 3.0);
}

TEST(PVTzEXPA, ExperimentThatEndsEarlyGivesAllResiduals) {
    // Nothing is there to inject at the second stage.
    ExptRun<PVTzEXPA> run(OIL + "PRES 100 BAR\n",
                          aligned({"PRES BAR|MI MOL|RV", "50|0|2", "40|1|3", "30|1|4"}));
    EXPECT_EQ(run.rows().size(), 1u);
    EXPECT_EQ(run.setting.lab.sum_of_squared_weights(), 3.0);
    EXPECT_GT(run.setting.lab.sum_of_squares(), 2 * 9999.0 * 9999.0 - 1);
    EXPECT_NE(run.problems().find("The injection stream was empty"), std::string::npos);
}

TEST(PVTzEXPA, NoInjectionNoCheck) {
    ExptRun<PVTzEXPA> run(OIL, aligned({"PRES BAR|MI MOL", "50|0", "40", "30|0"}));
    EXPECT_EQ(run.rows().size(), 3u);
    EXPECT_EQ(run.problems(), "");
}

// One amount by each of the six columns gives one fluid.
TEST(PVTzEXPA, InjectionBySixColumns) {
    const std::string fluid = OIL + "PRES 100 BAR\nQMIX INJ C1 0.7 C3 0.3\n";
    const ExptRun<PVTzEXPA> first(fluid, aligned({"PRES BAR|MI MOL", "100|0.4", "100|1.3"}));
    ASSERT_EQ(first.rows().size(), 2u);
    const struct {
        const char* head;
        double ExptData::*field;
        double unit;
    } columns[] = {{"MI/V SCF/BBL", &ExptData::inj_moles_per_volume,
                    unit_of(UnitKind::GasOilRatio, "scf/bbl").factor},
                   {"RMI", &ExptData::inj_relative_moles, 1.0},
                   {"WI KG", &ExptData::inj_mass, 1.0},
                   {"WI/V KG/M3", &ExptData::inj_mass_per_volume, 1.0},
                   {"RWI", &ExptData::inj_relative_mass, 1.0}};
    for (const auto& column : columns) {
        std::ostringstream rows[2];
        for (std::size_t i = 0; i < 2; ++i) {
            rows[i].precision(17);
            rows[i] << "100|" << first.rows()[i].*column.field * column.unit;
        }
        const std::string head = std::string("PRES BAR|") + column.head;
        const ExptRun<PVTzEXPA> run(
            fluid, aligned({head.c_str(), rows[0].str().c_str(), rows[1].str().c_str()}));
        ASSERT_EQ(run.rows().size(), 2u) << column.head << run.report();
        for (std::size_t i = 0; i < 2; ++i) {
            EXPECT_NEAR(run.rows()[i].moles_2 / first.rows()[i].moles_2, 1.0, ROUND_OFF)
                << column.head;
            EXPECT_NEAR(run.rows()[i].z_1[0], first.rows()[i].z_1[0], ROUND_OFF);
        }
    }
}

TEST(PVTzEXPA, LeftmostInjectionWithAValueCounts) {
    const ExptRun<PVTzEXPA> run(OIL + "PRES 100 BAR\nQMIX INJ C1 1\n",
                                aligned({"PRES BAR|RMI|MI MOL", "100|0.5|9", "100||2"}));
    ASSERT_EQ(run.rows().size(), 2u) << run.report();
    EXPECT_NEAR(run.rows()[0].inj_moles, 0.0005, 1e-15);
    EXPECT_NEAR(run.rows()[1].inj_moles, 0.002, 1e-15);
}

TEST(PVTzEXPA, LessInjectionTakesNothingOut) {
    const ExptRun<PVTzEXPA> run(OIL + "PRES 100 BAR\nQMIX INJ C1 1\n",
                                aligned({"PRES BAR|MI MOL", "100|1", "100|0.5"}));
    EXPECT_EQ(run.rows()[1].moles_1, run.rows()[0].moles_1);
    EXPECT_NEAR(run.rows()[1].inj_moles, 0.001, 1e-15);
}

TEST(PVTzEXPA, AStageInheritsWhatItDoesNotSet) {
    const ExptRun<PVTzEXPA> run(OIL, aligned({"TEMP K|PRES BAR", "350|90", "360", "|70"}));
    ASSERT_EQ(run.rows().size(), 3u);
    EXPECT_EQ(run.rows()[1].pressure, 90 * BAR);
    EXPECT_EQ(run.rows()[2].temperature, 360.0);
}

// A swelling test: every stage stands at its own saturation pressure.
TEST(PVTzEXPA, StageAtItsOwnSaturationPressure) {
    const ExptRun<PVTzEXPA> run(OIL + "QMIX INJ C1 1\n",
                                aligned({"RMI|SATP BAR|RV", "0||1", "0.3", "0.6"}));
    ASSERT_EQ(run.rows().size(), 3u);
    double last = 0.0;
    for (const ExptData& r : run.rows()) {
        EXPECT_EQ(r.pressure, r.sat_pressure_1);
        EXPECT_GT(r.pressure, last);
        last = r.pressure;
        EXPECT_EQ(r.gas_volume_1, 0.0);
    }
    EXPECT_NEAR(run.rows()[0].relative_volume_1, 1.0, 1e-7);
}

// With a pressure column the saturation pressure is measured data.
TEST(PVTzEXPA, PressureColumnSetsTheStage) {
    const ExptRun<PVTzEXPA> run(OIL, aligned({"PRES BAR|SATP BAR|SATP2 BAR", "50|100", "200|100"}));
    ASSERT_EQ(run.rows().size(), 2u);
    EXPECT_EQ(run.rows()[0].pressure, 50 * BAR);
    EXPECT_NEAR(run.rows()[0].sat_pressure_1 / run.rows()[1].sat_pressure_1, 1.0, 1e-7);
    // Nothing is removed: the same after as before.
    for (const ExptData& r : run.rows()) EXPECT_EQ(r.sat_pressure_2, r.sat_pressure_1);
    // The stage at 50 bar has two phases, whatever was calculated ahead of it.
    EXPECT_GT(run.rows()[0].gas_mole_fraction_1, 0.1);
    EXPECT_EQ(run.rows()[1].gas_mole_fraction_1, 0.0);
}

// Temperature columns print the temperature of the stage.
TEST(PVTzEXPA, SaturationTemperaturesAreThatOfTheStage) {
    const ExptRun<PVTzEXPA> run(OIL, aligned({"TEMP K|PRES BAR|SATT K|BUBT2 K", "355|50"}));
    EXPECT_EQ(run.rows()[0].sat_temperature_1, 355.0);
    EXPECT_EQ(run.rows()[0].bub_temperature_2, 355.0);
    EXPECT_GT(run.rows()[0].gas_mole_fraction_1, 0.1);
}

// What a removal leaves has another saturation pressure, and the cell does not notice its search.
TEST(PVTzEXPA, SaturationOfWhatIsLeft) {
    const std::string stages = " 80\n 40\n 10\nEND\n";
    const ExptRun<PVTzDFLG> plain(OIL, "PRES BAR\n" + stages);
    const ExptRun<PVTzDFLG> run(OIL, "PRES BAR  SATP2 BAR\n" + stages);
    ASSERT_EQ(run.rows().size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        // A liquid that has lost its gas is at its bubble point.
        EXPECT_NEAR(run.rows()[i].sat_pressure_2 / run.rows()[i].pressure, 1.0, 1e-6);
        EXPECT_EQ(run.rows()[i].liquid_volume_2, plain.rows()[i].liquid_volume_2);
    }
}

TEST(PVTzEXPA, AbsentColumnsAreNotCalculated) {
    const ExptRun<PVTzEXPA> plain(OIL, "PRES BAR\n 50\nEND\n");
    const ExptData& r = plain.rows()[0];
    EXPECT_EQ(r.liquid_viscosity, UNSET);
    EXPECT_EQ(r.gas_viscosity, UNSET);
    EXPECT_EQ(r.viscosity, UNSET);
    EXPECT_EQ(r.interfacial_tension, UNSET);
    EXPECT_EQ(r.sat_pressure_2, UNSET);
    const ExptRun<PVTzEXPA> full(OIL,
                                 aligned({"PRES BAR|VIS CP|LVIS CP|GVIS CP|IFT DYN/CM", "50"}));
    const ExptData& f = full.rows()[0];
    EXPECT_GT(f.liquid_viscosity, f.gas_viscosity);
    EXPECT_GT(f.gas_viscosity, 0.0);
    EXPECT_GT(f.viscosity, 0.0);
    EXPECT_NE(f.interfacial_tension, UNSET);
}

// A single phase keeps the name it had beside the other one.
TEST(PVTzEXPA, SinglePhaseKeepsItsIdentity) {
    const ExptRun<PVTzEXPA> oil(OIL, "PRES BAR\n 600\n 50\n 900\nEND\n");
    EXPECT_EQ(oil.rows()[0].liquid_mole_fraction_1, 1.0);
    EXPECT_EQ(oil.rows()[2].liquid_mole_fraction_1, 1.0);
    const ExptRun<PVTzEXPA> gas(CONDENSATE, "PRES BAR\n 600\n 50\n 900\nEND\n");
    EXPECT_EQ(gas.rows()[0].gas_mole_fraction_1, 1.0);
    EXPECT_EQ(gas.rows()[2].gas_mole_fraction_1, 1.0);
}

TEST(PVTzEXPA, LumpsAreSumsOfComponents) {
    const ExptRun<PVTzDFLG> run(
        LIGHT_FLUID + "LUMP C1-3 C1 C3\n" + "QMIX FEED C1 0.5 C3 0.2 N-C10 0.3\nTEMP 350 K\n",
        aligned({"PRES BAR|Z-C1-3|X-C1-3|K-C1-3|GMW-C1-3", "50"}));
    ASSERT_EQ(run.rows().size(), 1u);
    const ExptData& r = run.rows()[0];
    ASSERT_EQ(r.z_1.size(), 4u);
    EXPECT_NEAR(r.z_1[3], 0.7, 1e-12);
    EXPECT_NEAR(r.x[3], r.x[0] + r.x[1], 1e-14);
    EXPECT_NEAR(r.k_values[3], (r.y[0] + r.y[1]) / (r.x[0] + r.x[1]), 1e-12);
    EXPECT_NEAR(r.lump_mw_y[0], (16.043 * r.y[0] + 44.097 * r.y[1]) / (r.y[0] + r.y[1]), 0.01);
    EXPECT_EQ(r.z_2[3], UNSET);  // has no column
}

TEST(PVTzEXPA, NonphysicalStageIsLeftOut) {
    ExptRun<PVTzEXPA> run(OIL,
                          aligned({"TEMP K|PRES BAR", "350|100", "350|-5", "-1|50", "350|50"}));
    ASSERT_EQ(run.rows().size(), 2u);
    EXPECT_EQ(run.rows()[1].stage, 4);
    EXPECT_NE(run.problems().find("The stage 2 pressure (-5 bar) was nonphysical"),
              std::string::npos)
        << run.problems();
    EXPECT_NE(run.problems().find("The stage 3 temperature (-1 K) was nonphysical"),
              std::string::npos);
}

TEST(PVTzEXPA, PoliciesComeBack) {
    ExptRun<PVTzEXPA> run(OIL, "PRES BAR\n 50\nEND\n");
    EXPECT_EQ(run.setting.lab.cell().test1, TEST_SUSPECTED);
    ExptRun<PVTzEXPA> failed(LIGHT_FLUID + "TEMP 300 K\n", "PRES BAR\n 50\nEND\n");
    EXPECT_EQ(failed.setting.lab.cell().test1, TEST_SUSPECTED);
    EXPECT_NE(failed.problems().find("The feed stream was empty"), std::string::npos);
}

// What the cell is left with: the last stage, with the fluid that is still in it.
TEST(PVTzEXPA, TheCellStaysAtTheLastStage) {
    ExptRun<PVTzDFLG> run(OIL, aligned({"TEMP K|PRES BAR", "360|50", "340|20"}));
    const PVTCell& cell = run.setting.lab.cell();
    EXPECT_EQ(cell.temperature.value, 340.0);
    EXPECT_NEAR(cell.pressure.value, 20 * BAR, 1e-6);
    EXPECT_NEAR(cell.feed->moles()[0], run.rows()[1].x[0], 1e-12);
}

}  // namespace
}  // namespace kestrane
