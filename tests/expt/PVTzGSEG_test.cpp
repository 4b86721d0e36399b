// Columns in gravity as experiments. Fugacities and densities are judged by the textbook's
// equation.

#include "expt/PVTzGSEG.h"

#include <cmath>
#include <iomanip>
#include <sstream>

#include "equil/GravityCheck.h"
#include "expt/ExptRun.h"
#include "expt/PVTzGSEG_run.h"
#include "input/Script.h"

namespace kestrane {
namespace {

using Column = ExptRun<PVTzGSEG>;

constexpr double BAR = 1e5;

/// The fluid as a characterization and a feed.
std::string script_of(const fluids::Fluid& fluid) {
    std::ostringstream text;
    text << std::setprecision(17) << std::left;
    const auto cell = [&text](const auto& value) { text << std::setw(26) << value; };
    text << "CHAR Column\nEOS PR77\n";
    for (const char* head : {"NAME", "MW", "TC(K)", "PC(Pa)", "AF", "VS"}) cell(head);
    for (const auto& c : fluid.components) {
        text << "\n";
        cell(c.name), cell(c.mw), cell(c.Tc), cell(c.Pc), cell(c.omega), cell(c.shift);
    }
    text << "\n";
    cell("BIPS");
    for (std::size_t j : {0u, 1u}) cell(fluid.components[j].name);
    for (std::size_t i = 1; i < fluid.n(); ++i) {
        text << "\n";
        cell(fluid.components[i].name);
        for (std::size_t j = 0; j < std::min<std::size_t>(i, 2); ++j) cell(fluid.kij[i][j]);
    }
    text << "\nEND\nEND\nQMIX FEED\n";
    for (std::size_t i = 0; i < fluid.n(); ++i)
        text << fluid.components[i].name << " " << fluid.z[i] << "\n";
    return text.str();
}

const fluids::Fluid& reservoir() {
    static const fluids::Fluid fluid = fluids::gas_cap_oil();
    return fluid;
}

/// The oil at 175 m of a reservoir with a gas cap.
const std::string& oil() {
    static const std::string text =
        script_of(reservoir()) + "DEPTH 175 m\nTEMP 366.15 K\nPRES 284 bar\n";
    return text;
}

/// The gas that stands over that oil at the top.
const std::string& gas() {
    static const std::string text = oil() + "ELEV TO 0 m\n";
    return text;
}

/// Overall mole fractions of all components.
const std::string Z_HEADS = [] {
    std::string heads;
    for (const auto& c : fluids::gas_cap_oil().components) heads += "|Z-" + c.name;
    return heads;
}();

fluids::Station station_of(const ExptData& row) {
    return {{row.z_1.begin(), row.z_1.end()}, row.temperature, row.pressure};
}

fluids::Station reference_station(const Column& run) {
    return fluids::station_of(run.setting.lab.cell());
}

/// The contact that GOC finds from the same fluid.
double contact_by_command(const std::string& fluid) {
    LabRun run(fluid + "GOC\n");
    EXPECT_FALSE(run.reports("No gas-oil contact")) << run.report();
    return run.lab.cell().depth.value;
}

/// The number behind the text; -1 without it.
double number_behind(const std::string& report, const std::string& text) {
    const std::size_t at = report.find(text);
    return at == std::string::npos ? -1.0 : std::stod(report.substr(at + text.size()));
}

const std::string CONTACT = "Calc. Gas-Oil Contact Depth = ";

const ExptData* row_at(const Column& run, double depth) {
    for (const ExptData& row : run.rows())
        if (row.depth == depth && row.stage != UNSET_INT) return &row;
    return nullptr;
}

TEST(PVTzGSEG, ReferenceDepthAloneIsAFlash) {
    const Column run(oil(), aligned({"DEPTH m|PRES BAR|LDEN KG/M3|ZONE", "175|284"}));
    ASSERT_EQ(run.rows().size(), 1u) << run.report();
    const ExptData& row = run.rows()[0];
    EXPECT_DOUBLE_EQ(row.pressure, 284 * BAR);
    EXPECT_EQ(row.temperature, 366.15);
    EXPECT_EQ(row.liquid_mole_fraction_1, 1.0);
    EXPECT_NEAR(row.liquid_density / textbook_density(reservoir(), station_of(row)), 1.0, 1e-9);
    EXPECT_EQ(row.zone, "  Oil  ");
    EXPECT_NE(run.report().find("Experiment 1: Gravitational Segregation\n"
                                "=======================================\n"),
              std::string::npos)
        << run.report();
    EXPECT_NE(run.report().find("Basis: 1 mol, 175 m deep, at 366.15 K and 284 bar\n"),
              std::string::npos);
    EXPECT_EQ(run.report().find("damping"), std::string::npos);
}

// Almost pure propane stands over an oil. Its own saturation pressure is a bubble point far above
// its pressure: below its two-phase region it is gas all the same, and the contact is seen.
TEST(PVTzGSEG, AGasBelowItsTwoPhaseRegionIsGas) {
    const std::string fluid =
        "CHAR Light\nNAME  MW  TC(K)  PC(bar)  AF\nC3\nN-C10\nEND\nEND\n"
        "QMIX FEED C3 0.4 N-C10 0.6\nDEPTH 100 m\nTEMP 300 K\n";
    LabRun saturation(fluid + "SATP 300 K\n");
    const double P = saturation.lab.cell().pressure.value + 20e3;  // two or three metres below
    const Column run(fluid + "PRES " + std::to_string(P) + " Pa\n",
                     "GOC\n" + aligned({"DEPTH m|PRES BAR|LDEN KG/M3|GDEN KG/M3|ZONE", "50", "90",
                                        "100", "110"}));
    ASSERT_GE(run.rows().size(), 4u) << run.report();
    for (const double depth : {50.0, 90.0, 100.0, 110.0}) {
        const ExptData* row = row_at(run, depth);
        ASSERT_TRUE(row);
        EXPECT_EQ(row->zone, depth < 95.0 ? "  Gas  " : "  Oil  ") << depth;
        EXPECT_EQ(row->gas_mole_fraction_1, depth < 95.0 ? 1.0 : 0.0);
    }
    const double contact = number_behind(run.report(), CONTACT);
    EXPECT_GT(contact, 95.0);
    EXPECT_LT(contact, 100.0);
}

TEST(PVTzGSEG, RowWithoutADepthIsAtTheReference) {
    const Column run(oil(), aligned({"STG|DEPTH m|SATP BAR", "1", "2|250"}));
    ASSERT_EQ(run.rows().size(), 2u) << run.report();
    EXPECT_EQ(run.rows()[0].depth, 175.0);
    EXPECT_DOUBLE_EQ(run.rows()[0].pressure, 284 * BAR);
    EXPECT_EQ(run.rows()[0].stage, 1);
}

TEST(PVTzGSEG, FirstOfTwoDepthsCounts) {
    const Column run(oil(), aligned({"DEPTH m|DEPTH ft|SATP BAR", "200|0", "|984.2519685"}));
    ASSERT_EQ(run.rows().size(), 2u) << run.report();
    EXPECT_EQ(run.rows()[0].depth, 200.0);
    EXPECT_NEAR(run.rows()[1].depth, 300.0, 1e-6);
}

TEST(PVTzGSEG, EmptyTable) {
    const Column run(oil(), "END\n");
    EXPECT_TRUE(run.rows().empty());
    EXPECT_NE(run.report().find("Basis: 1 mol, 175 m deep"), std::string::npos) << run.report();
    EXPECT_EQ(run.setting.lab.cell().depth.value, 175.0);
}

// Walked by depth, printed as given.
TEST(PVTzGSEG, RowsInAnyOrderFollowThePotential) {
    const Column run(oil(), aligned({("DEPTH m" + Z_HEADS).c_str(), "327", "0", "204", "150", "175",
                                     "204", "60"}));
    const fluids::Station start = reference_station(run);
    ASSERT_DOUBLE_EQ(start.P, 284 * BAR);
    int depths = 0;
    for (const ExptData& row : run.rows()) {
        if (row.stage == UNSET_INT) continue;
        ++depths;
        const bool up = row.depth < 175.0;
        const fluids::Station there = station_of(row);
        EXPECT_LE(fluids::gravity_error(reservoir(), up ? start : there, up ? there : start,
                                        std::abs(row.depth - 175.0)),
                  1e-10)
            << row.depth;
    }
    EXPECT_EQ(depths, 7);
    // Downward first, then up from the reference.
    std::vector<int> stages;
    for (const ExptData& row : run.rows())
        if (row.stage != UNSET_INT) stages.push_back(row.stage);
    EXPECT_EQ(stages, (std::vector<int>{5, 3, 6, 1, 4, 7, 2}));
    std::size_t at = 0;
    for (const char* line : {"\n    1   327.000", "\n    2     0.000", "\n    3   204.000",
                             "\n    4   150.000", "\n    5   175.000", "\n    6   204.000"}) {
        at = run.report().find(line, at);
        EXPECT_NE(at, std::string::npos) << line << run.report();
    }
}

// The pressure gradient is density times g: Simpson's rule over the textbook's densities.
TEST(PVTzGSEG, PressureIsHydrostatic) {
    for (const char* damp : {"DAMP 1\n", "DAMP 0.5\n", "DAMP 0\n"}) {
        const Column run(oil(), damp + aligned({("DEPTH m" + Z_HEADS).c_str(), "175", "187.5",
                                                "200", "212.5", "225"}));
        ASSERT_EQ(run.rows().size(), 5u) << run.report();
        const double weights[] = {1, 4, 2, 4, 1};
        double integral = 0.0;
        for (std::size_t i = 0; i < 5; ++i)
            integral += weights[i] * textbook_density(reservoir(), station_of(run.rows()[i]));
        integral *= 9.80665 * 12.5 / 3.0;
        const double change = run.rows()[4].pressure - run.rows()[0].pressure;
        EXPECT_NEAR(change / integral, 1.0, 1e-7) << damp;
    }
}

TEST(PVTzGSEG, WithoutDampingFactorTheCompositionIsKept) {
    const Column run(oil(), "DAMP 0\n" + aligned({("DEPTH m" + Z_HEADS).c_str(), "175", "300"}));
    ASSERT_EQ(run.rows().size(), 2u);
    for (std::size_t i = 0; i < reservoir().n(); ++i)
        EXPECT_NEAR(run.rows()[1].z_1[i] / run.rows()[0].z_1[i], 1.0, 1e-14);
    EXPECT_GT(run.rows()[1].pressure, run.rows()[0].pressure + 6 * BAR);
    EXPECT_NE(run.report().find("Compositional damping factor: 0\n"), std::string::npos)
        << run.report();
}

TEST(PVTzGSEG, ContactIsTheSameFromOilAndGasAndByCommand) {
    const std::string block = "GOC\n" + aligned({"DEPTH m|PRES BAR|ZONE", "0", "327"});
    Column from_oil(oil(), block);
    const Column from_gas(gas(), block);
    const double by_oil = number_behind(from_oil.report(), CONTACT);
    const double by_gas = number_behind(from_gas.report(), CONTACT);
    EXPECT_NEAR(by_oil, by_gas, 0.1) << from_gas.report();
    EXPECT_NEAR(by_oil, contact_by_command(oil()), 0.1);
    EXPECT_NEAR(by_gas, contact_by_command(gas()), 0.1);
    EXPECT_GT(by_oil, 0.0);
    EXPECT_LT(by_oil, 175.0);
    EXPECT_EQ(from_oil.problems(), "");
}

TEST(PVTzGSEG, DampedContactIsThatOfTheCommand) {
    for (const std::string damp : {"DAMP 0.8\n", "DAMP 0.5\n"}) {
        Column run(oil(),
                   "GOC\n" + damp + aligned({"DEPTH m|PRES BAR|ZONE", "-400", "-100", "175"}));
        LabRun command(oil() + "GOC " + damp);
        EXPECT_FALSE(command.reports("No gas-oil contact")) << damp;
        EXPECT_NEAR(number_behind(run.report(), CONTACT), command.lab.cell().depth.value, 0.1)
            << run.report();
        const ExptData* top = row_at(run, -400.0);
        ASSERT_TRUE(top) << run.report();
        EXPECT_GT(top->gas_mole_fraction_1, 0.5);
        EXPECT_EQ(run.problems(), "");
    }
}

TEST(PVTzGSEG, CellWithoutADepthIsAtZero) {
    const Column run(OIL + "PRES 300 bar\n", aligned({"DEPTH m|PRES BAR", "0", "10"}));
    ASSERT_EQ(run.rows().size(), 2u) << run.report();
    EXPECT_DOUBLE_EQ(run.rows()[0].pressure, 300 * BAR);
    EXPECT_NE(run.report().find("Basis: 1 mol, 0 m deep"), std::string::npos) << run.report();
}

// The gas over a contact and the oil under it are in equilibrium, and on the column's potential.
TEST(PVTzGSEG, ContactAddsItsTwoFluids) {
    const Column run(oil(), aligned({("DEPTH m|ZONE" + Z_HEADS).c_str(), "0", "175", "327"}));
    std::vector<const ExptData*> added;
    for (const ExptData& row : run.rows())
        if (row.stage == UNSET_INT) added.push_back(&row);
    ASSERT_EQ(added.size(), 2u) << run.report();
    EXPECT_EQ(added[0]->zone, "Gas-Oil");
    EXPECT_EQ(added[1]->zone, "Oil-Gas");
    EXPECT_EQ(added[0]->weight, 0.0);
    EXPECT_EQ(added[0]->gas_mole_fraction_1, 1.0);
    EXPECT_EQ(added[1]->liquid_mole_fraction_1, 1.0);
    const auto above = station_of(*added[0]), below = station_of(*added[1]);
    EXPECT_EQ(above.P, below.P);
    EXPECT_GT(above.x[2], below.x[2] + 0.1);
    EXPECT_LE(fluids::gravity_error(reservoir(), below, above, 0.0), 1e-6);
    EXPECT_LE(
        fluids::gravity_error(reservoir(), reference_station(run), below, 175.0 - added[1]->depth),
        1e-10);
    // Printed between the rows, from above.
    const std::string report = run.report();
    const std::size_t gas_row = report.find("Gas-Oil"), oil_row = report.find("Oil-Gas");
    EXPECT_LT(report.find("  Gas  "), gas_row) << report;
    EXPECT_LT(gas_row, oil_row);
    EXPECT_LT(oil_row, report.find("  Oil  "));
    // Without GOC no contact is told of.
    EXPECT_EQ(report.find("Contact Depth"), std::string::npos);
}

TEST(PVTzGSEG, BoundaryRowsFollowTheOrderOfTheTable) {
    const Column run(oil(), aligned({"DEPTH m|ZONE", "327", "175", "0"}));
    const std::string report = run.report();
    const std::size_t gas_row = report.find("Gas-Oil"), oil_row = report.find("Oil-Gas");
    ASSERT_NE(gas_row, std::string::npos) << report;
    EXPECT_LT(oil_row, gas_row);
    EXPECT_LT(report.rfind("  Oil  "), oil_row);
    EXPECT_LT(gas_row, report.find("  Gas  "));
}

TEST(PVTzGSEG, TwoPhaseReferenceIsTheContact) {
    const std::string fluid = OIL + "DEPTH 500 m\nPRES 60 bar\n";
    const Column run(fluid, "GOC\n" + aligned({"DEPTH m|PRES BAR|ZONE", "500", "400", "600"}));
    EXPECT_NEAR(number_behind(run.report(), CONTACT), 500.0, 1e-9) << run.report();
    const ExptData *at = row_at(run, 500.0), *up = row_at(run, 400.0), *down = row_at(run, 600.0);
    ASSERT_TRUE(at && up && down) << run.report();
    EXPECT_EQ(at->zone, at->gas_mole_fraction_1 > 0.5 ? "Gas+Oil" : "Oil+Gas");
    EXPECT_EQ(up->zone, "  Gas  ");
    EXPECT_EQ(down->zone, "  Oil  ");
    EXPECT_GT(up->z_1[0], at->z_1[0]);
    EXPECT_LT(down->z_1[0], at->z_1[0]);
    // The reference stands among the rows: nothing is added.
    EXPECT_EQ(run.report().find("Gas-Oil   "), std::string::npos);
}

TEST(PVTzGSEG, TwoPhaseReferenceBetweenRowsAddsItsPhases) {
    const Column run(OIL + "DEPTH 500 m\nPRES 60 bar\n", aligned({"DEPTH m|ZONE", "400", "600"}));
    const std::string report = run.report();
    const std::size_t gas_row = report.find("Gas-Oil"), oil_row = report.find("Oil-Gas");
    ASSERT_NE(gas_row, std::string::npos) << report;
    EXPECT_LT(gas_row, oil_row);
}

// Without a pressure the fluid is at saturation, which is a contact.
TEST(PVTzGSEG, ReferenceWithoutAPressureIsAtSaturation) {
    const Column run(OIL + "DEPTH 500 m\n", "GOC\n" + aligned({"DEPTH m|ZONE", "600", "500"}));
    LabRun saturation(OIL + "SATP\n");
    const ExptData* at = row_at(run, 500.0);
    ASSERT_TRUE(at) << run.report();
    EXPECT_NEAR(at->pressure / saturation.lab.cell().pressure.value, 1.0, 1e-9);
    EXPECT_EQ(at->zone, "Oil-Gas");
    EXPECT_NEAR(number_behind(run.report(), CONTACT), 500.0, 1e-9) << run.report();
}

TEST(PVTzGSEG, NoContactInASinglePhase) {
    const std::string rows = aligned({"DEPTH m|PRES BAR", "175", "250"});
    const Column measured(oil(), "GOC 140 m WT 2\n" + rows);
    EXPECT_NE(measured.report().find("Expt. Gas-Oil Contact Depth =  140.000 m,  Weight Factor = "
                                     "2.0000\n"),
              std::string::npos)
        << measured.report();
    EXPECT_NE(measured.report().find("Percent Error = -9999.0000"), std::string::npos);
    EXPECT_EQ(measured.setting.lab.sum_of_squared_weights(), 4.0);
    const Column unmeasured(oil(), "GOC\n" + rows);
    EXPECT_EQ(unmeasured.report().find("Contact Depth"), std::string::npos);
    EXPECT_EQ(unmeasured.setting.lab.sum_of_squared_weights(), 0.0);
}

TEST(PVTzGSEG, MeasuredContactIsAResidual) {
    const double depth = contact_by_command(oil());
    Column run(oil(), "GOC 140 m WGT 0.5\n" + aligned({"DEPTH m|PRES BAR", "0", "175"}));
    EXPECT_EQ(run.setting.lab.sum_of_squared_weights(), 0.25);
    EXPECT_NEAR(std::sqrt(run.setting.lab.sum_of_squares()), 0.5 * (140.0 - depth) / 1.4, 0.05);
    // And the same without a report.
    testing::Script none("");
    Writer silent(run.counts, nullptr, nullptr);
    const double sum = run.setting.lab.sum_of_squares();
    static_cast<PVTzEXPA&>(run.experiment).run(none.reader, run.setting.lab, silent);
    EXPECT_EQ(run.setting.lab.sum_of_squares(), 2.0 * sum);
}

// Depths counted from the measured contact.
TEST(PVTzGSEG, MeasuredContactAtZeroHasAScale) {
    const std::string fluid = script_of(reservoir()) + "DEPTH 35 m\nTEMP 366.15 K\nPRES 284 bar\n";
    const double depth = contact_by_command(fluid);
    const Column run(fluid, "GOC 0 m\n" + aligned({"DEPTH m|PRES BAR", "-140", "35"}));
    EXPECT_NEAR(std::sqrt(run.setting.lab.sum_of_squares()), 100.0 * std::abs(depth), 10.0);
}

TEST(PVTzGSEG, WordBehindTheContactIsHandedBack) {
    const Column run(oil(), "GOC ID \"a column\"\n" + aligned({"DEPTH m|PRES BAR", "175"}));
    EXPECT_TRUE(run.experiment.contact_wanted);
    EXPECT_EQ(run.experiment.measured_contact.value, UNSET);
    EXPECT_EQ(run.experiment.id, "a column");
    EXPECT_EQ(run.rows().size(), 1u) << run.report();
}

TEST(PVTzGSEG, MeasuredSaturationPressureIsAResidual) {
    LabRun saturation(oil() + "SATP\n");
    const double P = saturation.lab.cell().pressure.value;
    for (const char* start : {"", " GUESS 150 bar", " GUESS 900 bar"}) {
        const Column run(oil(), "BUBP 272 bar WT 3" + std::string(start) + "\n" +
                                    aligned({"DEPTH m|PRES BAR", "175"}));
        EXPECT_EQ(run.setting.lab.sum_of_squared_weights(), 9.0);
        EXPECT_NEAR(std::sqrt(run.setting.lab.sum_of_squares()),
                    3.0 * std::abs(P / BAR - 272.0) / 2.72, 1e-4);
        EXPECT_NE(run.report().find("Calc. Bubble Point Pressure ="), std::string::npos);
        EXPECT_DOUBLE_EQ(run.rows()[0].pressure, 284 * BAR);
    }
}

// A column of saturation pressures does not move the rows' pressures.
TEST(PVTzGSEG, SaturationPressuresFallAwayFromTheContact) {
    const Column run(oil(), aligned({"DEPTH m|SATP BAR|SATP2 BAR|SATT K", "175", "250", "327"}));
    ASSERT_EQ(run.rows().size(), 3u) << run.report();
    for (std::size_t i = 0; i < 3; ++i) {
        const ExptData& row = run.rows()[i];
        EXPECT_LT(row.sat_pressure_1, row.pressure);
        EXPECT_EQ(row.sat_pressure_1, row.sat_pressure_2);
        EXPECT_EQ(row.sat_temperature_1, 366.15);
        EXPECT_TRUE(i == 0 || row.sat_pressure_1 < run.rows()[i - 1].sat_pressure_1);
    }
}

TEST(PVTzGSEG, BasisIsTheAmountOfEveryRow) {
    const std::string rows = aligned({"DEPTH m|LV1 CM3|LDEN KG/M3", "175", "300"});
    const Column moles(oil(), "BASIS 2 mol\n" + rows), mass(oil(), "BASIS 3 g\n" + rows),
        volume(oil(), "BASIS 5 cm3\n" + rows);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_NEAR(moles.rows()[i].moles_1, 0.002, 1e-17);
        EXPECT_NEAR(mass.rows()[i].mass_1, 0.003, 1e-16);
        EXPECT_NEAR(volume.rows()[i].volume_1, 5e-6, 1e-18);
        EXPECT_EQ(volume.rows()[i].removed_moles, 0.0);
        EXPECT_EQ(volume.rows()[i].moles_2, volume.rows()[i].moles_1);
    }
    EXPECT_NE(volume.report().find("Basis: 5 cm3, 175 m deep"), std::string::npos)
        << volume.report();
}

TEST(PVTzGSEG, DampingByAVariable) {
    const std::string rows = aligned({("DEPTH m" + Z_HEADS).c_str(), "300"});
    const Column bound(oil(), "DAMP mixing\n" + rows, [](EOSLab& lab) {
        lab.addVariable("other", 1.0, 1.0, 1.0);
        lab.addVariable("mixing", 0.25, 0.25, 0.25);
    });
    const Column typed(oil(), "DAMP 0.25\n" + rows);
    ASSERT_EQ(bound.rows().size(), 1u) << bound.report();
    EXPECT_EQ(bound.rows()[0].z_1, typed.rows()[0].z_1);
    EXPECT_NE(bound.report().find("Compositional damping factor: 0.25 (variable 2, mixing)\n"),
              std::string::npos)
        << bound.report();
    EXPECT_NE(typed.report().find("Compositional damping factor: 0.25\n"), std::string::npos);
}

TEST(PVTzGSEG, VariableOutOfRangeIsLimited) {
    const std::string rows = aligned({"DEPTH m|PRES BAR", "300"});
    Column high(oil(), "DAMP d\n" + rows, [](EOSLab& lab) { lab.addVariable("d", 1.5, 1.5, 1.5); });
    EXPECT_EQ(high.problems(),
              "The requested damping factor (1.5) was changed to the upper limit of 1\n");
    Column low(oil(), "DAMP d\n" + rows,
               [](EOSLab& lab) { lab.addVariable("d", -0.5, -0.5, -0.5); });
    EXPECT_EQ(low.problems(),
              "The requested damping factor (-0.5) was changed to the lower limit of 0\n");
    EXPECT_NE(low.report().find("Compositional damping factor: 0 (variable 1, d)\n"),
              std::string::npos)
        << low.report();
}

TEST(PVTzGSEG, LiteralOutOfRangeIsTheReadersToWarnOf) {
    Column run(oil(), "DAMP 1.5\n" + aligned({"DEPTH m|PRES BAR", "300"}));
    EXPECT_EQ(run.counts.warnings, 1) << run.report();
    EXPECT_EQ(run.problems(), "");
    EXPECT_EQ(run.experiment.damping.value, 1.0);
}

TEST(PVTzGSEG, WordThatIsNoVariableIsHandedBack) {
    const Column run(oil(), "DAMP GOC\n" + aligned({"DEPTH m|PRES BAR", "175"}));
    EXPECT_TRUE(run.experiment.contact_wanted);
    EXPECT_EQ(run.rows().size(), 1u);
}

// A pass that breaks leaves its rows; the other pass is walked, and residuals are as many as ever.
TEST(PVTzGSEG, BrokenPassLeavesItsRowsMissing) {
    Column run(oil(), aligned({"DEPTH m|PRES BAR|SATP BAR", "100|284|272", "175|284|272",
                               "1e9|300|100", "2e9|300|100"}));
    EXPECT_EQ(run.rows().size(), 2u) << run.report();
    EXPECT_EQ(run.setting.lab.sum_of_squared_weights(), 8.0);
    EXPECT_GT(run.setting.lab.sum_of_squares(), 4.0 * 9999.0 * 9999.0 - 1.0);
    EXPECT_LT(run.setting.lab.sum_of_squares(), 4.0 * 9999.0 * 9999.0 + 4.0 * 1000.0);
    EXPECT_NE(run.problems().find("during segregation calculations"), std::string::npos);
    EXPECT_EQ(run.setting.lab.cell().depth.value, 175.0);
}

TEST(PVTzGSEG, NoReferenceWithoutAnyPressure) {
    Column run(LIGHT_FLUID + "QMIX FEED C1 1\nTEMP 400 K\n",
               "SATP 100 BAR\nGOC 50 M\n" + aligned({"DEPTH m|PRES BAR", "0|50", "10|60"}));
    EXPECT_TRUE(run.rows().empty());
    EXPECT_NE(run.problems().find("no basis"), std::string::npos) << run.problems();
    EXPECT_EQ(run.setting.lab.sum_of_squared_weights(), 4.0);
}

TEST(PVTzGSEG, CellAndPoliciesAreAsBefore) {
    Column run(oil() + "INIT2 PREVIOUS\nTEST1 SUSPECTED\nTEST2 SUSPECTED\n",
               "GOC 140 M\n" + aligned({"DEPTH m|SATP BAR", "0", "327"}));
    const PVTCell& cell = run.setting.lab.cell();
    EXPECT_EQ(cell.init_policy, 3);
    EXPECT_EQ(cell.test1, 1);
    EXPECT_EQ(cell.test2, 1);
    EXPECT_EQ(cell.third_phase_severity, WARNING);
    EXPECT_EQ(cell.depth.value, 175.0);
    EXPECT_DOUBLE_EQ(cell.pressure.value, 284 * BAR);
    for (std::size_t i = 0; i < reservoir().n(); ++i)
        EXPECT_NEAR(cell.feed->moles()[i], reservoir().z[i], 1e-15);
    // Once more from there gives the same.
    const std::vector<ExptData> first = run.rows();
    run.run();
    ASSERT_EQ(run.rows().size(), first.size());
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_NEAR(run.rows()[i].pressure / first[i].pressure, 1.0, 1e-10);
        EXPECT_NEAR(run.rows()[i].sat_pressure_1 / first[i].sat_pressure_1, 1.0, 1e-7);
    }
}

// Which root a fluid without a second phase has may depend on the way to it.
TEST(PVTzGSEG, NoBoundariesWithoutTwoPhaseCalculations) {
    const Column run(
        LIGHT_FLUID + "QMIX FEED C1 0.5 N-C10 0.5\nTEMP 350 K\nPRES 100 bar\n" + "INIT2 NEVER\n",
        "GOC\n" + aligned({"DEPTH m|PRES BAR|ZONE", "3", "-300"}));
    EXPECT_EQ(run.rows().size(), 2u) << run.report();
    EXPECT_EQ(run.report().find("Contact Depth"), std::string::npos);
}

// Undersaturated by 59 bar, the oil turns into gas through a critical point, within one phase.
TEST(PVTzGSEG, CriticalTransitionIsNoContact) {
    const std::string fluid = oil() + "PRES 330 bar\n";
    Column run(fluid, "GOC\n" + aligned({"DEPTH m|SATP BAR|ZONE", "-3000", "175", "1000"}));
    LabRun command(fluid + "GOC\n");
    EXPECT_TRUE(command.reports("No gas-oil contact could be found")) << command.report();
    EXPECT_EQ(run.report().find("Contact Depth"), std::string::npos) << run.report();
    std::vector<const ExptData*> added;
    for (const ExptData& row : run.rows())
        if (row.stage == UNSET_INT) added.push_back(&row);
    const ExptData *top = row_at(run, -3000.0), *bottom = row_at(run, 1000.0);
    ASSERT_TRUE(top && bottom) << run.report();
    EXPECT_EQ(bottom->zone, "  Oil  ");
    EXPECT_EQ(top->zone, "  Gas  ");
    ASSERT_EQ(added.size(), 1u) << run.report();
    EXPECT_LT(added[0]->sat_pressure_1, added[0]->pressure);
    EXPECT_EQ(run.problems(), "");
}

// ---- names of zones

struct Labels : PVTzGSEG {
    using PVTzGSEG::addBoundaryRows;
    using PVTzGSEG::Boundary;
    using PVTzGSEG::ColumnRun;
    using PVTzGSEG::labelPhases;
};

CellConditions state_of(int phases, double y) {
    CellConditions state;
    state.phase_count = phases;
    state.y_fraction = y;
    state.x_fraction = 1.0 - y;
    return state;
}

TEST(PVTzGSEG, ZonesOfStates) {
    const PVTzGSEG experiment;
    const auto zone = [&experiment](int phases, double y) {
        ExptData row;
        experiment.labelZone(state_of(phases, y), row);
        EXPECT_EQ(row.zone.size(), 7u);
        return row.zone;
    };
    EXPECT_EQ(zone(0, 0.0), "  Oil  ");
    EXPECT_EQ(zone(1, 0.5), "  Oil  ");
    EXPECT_EQ(zone(1, 1.0), "  Gas  ");
    EXPECT_EQ(zone(2, 1.0), "Gas-Oil");
    EXPECT_EQ(zone(2, 0.0), "Oil-Gas");
    EXPECT_EQ(zone(2, 0.5), "Oil+Gas");
    EXPECT_EQ(zone(2, 0.6), "Gas+Oil");
    EXPECT_EQ(zone(3, 0.6), "Gas+Oil");
}

/// Names that the labelling gives to zones from above, with contacts between some rows.
std::vector<std::string> named(const std::vector<const char*>& zones,
                               const std::vector<double>& contacts) {
    LabRun run(OIL);
    testing::Script script("");
    Labels experiment;
    std::string text = "DEPTH m                 ZONE\n";
    for (std::size_t i = 0; i < zones.size(); ++i) text += std::to_string(i) + "\n";
    testing::Script table(text + "END\n");
    experiment.table.heads = &experiment.key_table().dictionary();
    experiment.table.Read(table.reader);
    Labels::ColumnRun s(experiment, run.lab, script.reader);
    for (std::size_t i = 0; i < zones.size(); ++i) {
        ExptData row;
        row.depth = static_cast<double>(i);
        row.zone = zones[i];
        s.table.PutRow(static_cast<int>(i), row);
        s.depths.emplace(row.depth, static_cast<int>(i));
    }
    for (double depth : contacts) {
        s.boundaries.emplace_back();
        s.boundaries.back().depth = depth;
        s.boundaries.back().contact = true;
    }
    experiment.labelPhases(s);
    std::vector<std::string> names;
    for (int i = 0; i < s.table.rowCount; ++i) {
        ExptData row;
        s.table.TakeRow(i, row);
        names.push_back(row.zone);
    }
    return names;
}

TEST(PVTzGSEG, TarStandsBelowAContactOfOilAlone) {
    using Names = std::vector<std::string>;
    const char *G = "  Gas  ", *O = "  Oil  ", *T = "  Tar  ";
    EXPECT_EQ(named({G, G, O, O}, {1.5}), (Names{G, G, O, O}));
    // No contact: a transition within one phase.
    EXPECT_EQ(named({G, O, O}, {}), (Names{G, O, O}));
    // The oil over a contact of liquids is the lighter phase there.
    EXPECT_EQ(named({G, O, G, O}, {0.5, 2.5}), (Names{G, O, O, T}));
    EXPECT_EQ(named({O, O, O}, {1.5}), (Names{O, O, T}));
    EXPECT_EQ(named({O}, {}), (Names{O}));
    // Zones of two phases keep their names, and so do rows that were not reached.
    EXPECT_EQ(named({"Gas+Oil", "Gas-Oil", "Oil-Gas", O, ""}, {1.0}),
              (Names{"Gas+Oil", "Gas-Oil", "Oil-Gas", O, ""}));
    EXPECT_EQ(named({G, "Oil+Gas", O}, {1.0}), (Names{G, "Oil+Gas", O}));
    EXPECT_EQ(named({"Oil+Gas", O}, {0.0}), (Names{"Oil+Gas", O}));
}

}  // namespace
}  // namespace kestrane
