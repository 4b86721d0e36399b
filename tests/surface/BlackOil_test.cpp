#include <cmath>

#include "surface/SurfaceRun.h"

namespace kestrane {
namespace {

const std::string TRAIN =
    "SEP HP 80 F 300 psia\nEND\nSEP ST 60 F 14.7 psia\nEND\n"
    "PROC P\nSTAGE A\nSEP HP\nSTAGE B\nSEP ST\nEND\nEND\n";
const std::string WITH_PARACHORS =
    "CHAR Light\nNAME MW TC(K) PC(bar) AF PCHOR\nC1\nC3\nN-C10\nEND\nEND\n"
    "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\nTEMP 100 F\nPRES 2000 psia\n";
const std::string COLLECTED = WITH_PARACHORS + TRAIN +
                              "DEPTH 5000 ft\n"
                              "COLL C\nEQL\nEND\nFLASH 100 F 700 psia\nCOLL C\nEQL\nEQV\nEND\n";
const std::string TABLE = "BLACK \"first\"\nCOLL C\nPROC P\nPRES psia 3000 4000 3000\nEND\n";

constexpr std::size_t FIXED = 19;  // fields ahead of the compositions

Collector& collector(LabRun& run) {
    return **run.lab.collectors.find("C");
}

TEST(Collector, StoresUnderTheWordAndTheLine) {
    LabRun run(COLLECTED);
    ASSERT_FALSE(run.stopped) << run.report();
    const Collector& found = collector(run);
    ASSERT_EQ(found.fluids.size(), 3u);
    EXPECT_TRUE(found.fluids.contains("EQL_Line_00024")) << found.fluids.begin()->first;
    EXPECT_TRUE(found.fluids.contains("EQV_Line_00029"));
    EXPECT_EQ(found.characterization, run.lab.cell().charz);
}

// The canonical word, however it was typed.
TEST(Collector, WordsAreCanonical) {
    LabRun run(FED + "COLL C\nEqLiquid\nNFVapor\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_TRUE(collector(run).fluids.contains("EQL_Line_00012"));
    EXPECT_TRUE(collector(run).fluids.contains("NFV_Line_00013"));
}

TEST(Collector, PhasesThatAreStored) {
    LabRun two(FED + "FLASH 100 F 700 psia\nCOLL C\nEQL\nNFL\nEQV\nNFV\nEND\n");
    const PVTCell& cell = two.lab.cell();
    ASSERT_EQ(cell.phase_count, 2);
    for (const auto& [name, set] : collector(two).fluids) {
        const Tank& phase = name[2] == 'L' ? *cell.eq_liquid : *cell.eq_vapor;
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(set->fluid.moles()[i], phase.moles()[i], 1e-14) << name;
    }
    // One phase: the whole fluid, and the phases of the tie-line if there is one.
    LabRun one(FED + "FLASH 100 F 500 psia\nFLASH 100 F 2400 psia\nCOLL C\nEQL\nNFL\nNFV\nEND\n");
    const PVTCell& lab = one.lab.cell();
    ASSERT_LT(lab.phase_count, 2);
    for (const auto& [name, set] : collector(one).fluids) {
        const Tank& stored = name[0] == 'E' || lab.phase_count == 0 ? *lab.feed
                             : name[2] == 'L'                       ? *lab.nf_liquid
                                                                    : *lab.nf_vapor;
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(set->fluid.moles()[i], stored.moles()[i], 1e-14) << name;
    }
}

TEST(Collector, ResetAndEachPassEmptyIt) {
    LabRun run(FED + "COLL C\nEQL\nRESET\nEQV\nEND\n");
    EXPECT_EQ(collector(run).fluids.size(), 1u);
    run.evaluate(EvaluationMode::Final);
    EXPECT_EQ(collector(run).fluids.size(), 1u);
    run.evaluate(EvaluationMode::Jacobian);
    EXPECT_EQ(collector(run).fluids.begin()->first, "EQV_Line_00014");
}

const std::string SECOND =
    "CHAR Other\nNAME MW TC(K) PC(bar) AF\nC1\nC3\nEND\nEND\n"
    "MIX FEED C1 0.5 C3 0.5\n";

TEST(Collector, OneCharacterizationOnly) {
    LabRun run(FED + "COLL C\nEQL\nEND\n" + SECOND + "COLL C\nEQV\nEND\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_TRUE(run.reports("Input not valid for EQV collection")) << run.report();
    EXPECT_TRUE(
        run.reports("Illegal attempt to store a mixture of the \"Other\" (as opposed to "
                    "\"Light\") fluid characterization in collector \"C\"."));
    LabRun reset(FED + "COLL C\nEQL\nEND\n" + SECOND + "COLL C\nRESET\nEQV\nEND\n");
    EXPECT_FALSE(reset.stopped) << reset.report();
    LabRun none("COLL C\nEQL\nEND\n");
    EXPECT_TRUE(none.reports("No fluid characterization was ever defined")) << none.report();
}

// What reading cannot see is refused when it is stored.
TEST(Collector, AMixtureOfAnotherCharacterizationIsNotStored) {
    LabRun run(SECOND + FED + "COLL C\nEQL\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    Collector& found = collector(run);
    found.characterization = run.lab.find_charzation("Other");
    EXPECT_THROW(run.repeat_last(), LogicError);
    EXPECT_EQ(found.fluids.size(), 1u);
    EXPECT_TRUE(
        run.reports("Illegal attempt to store a mixture of the \"Light\" (as opposed to "
                    "\"Other\") fluid characterization in collector \"C\"."))
        << run.report();
    EXPECT_EQ(run.counts.errors, 1);
}

TEST(BlackOil, PressuresAreMerged) {
    EXPECT_EQ(merged_pressures({3e7, 1e7, 3e7}, 2e7, 1.5e7),
              (std::vector<double>{1e7, 1.5e7, 2e7, 3e7}));
    // A fluid stored where it saturates has one row there.
    EXPECT_EQ(merged_pressures({}, 2e7 * (1 + 1e-9), 2e7), std::vector<double>{2e7});
    EXPECT_EQ(merged_pressures({}, 2e7, UNSET), std::vector<double>{2e7});
}

TEST(BlackOil, PathOfTheFile) {
    File input, report;
    EXPECT_EQ(*black_oil_path(nullptr, nullptr, "kestrane").fullName, "kestrane.bot");
    EXPECT_EQ(*black_oil_path(&input, nullptr, "kestrane").fullName, "kestrane.bot");
    input.SetPath("in/FLUID.DAT");
    EXPECT_EQ(*black_oil_path(&input, &report, "k").fullName, "in/FLUID.BOT");
    report.SetPath("out/report.txt");
    EXPECT_EQ(*black_oil_path(&input, &report, "k").fullName, "out/FLUID.BOT");
    input.ChangeDirectory("deeper");
    EXPECT_EQ(*black_oil_path(&input, nullptr, "k").fullName, "in/FLUID.BOT");
}

double number(const std::string& text) {
    return std::strtod(text.c_str(), nullptr);
}

/// The whole file, line by line: tabs, units, and balances of the rows.
TEST(BlackOil, TheFileReadBack) {
    const ScratchDirectory scratch;
    LabRun run(COLLECTED + TABLE);
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_EQ(run.counts.warnings, 0) << run.report();
    const std::vector<std::string> lines = scratch.table_lines();
    ASSERT_GT(lines.size(), 15u);
    EXPECT_EQ(lines[0], "Black Oil Table: first");
    EXPECT_EQ(lines[1], "======================");
    EXPECT_EQ(lines[2], "Input File:\tstdin");
    EXPECT_EQ(lines[3], "Input Line:\t31");
    const std::vector<std::string> group{"Collector:\tC",
                                         "Process:\tP",
                                         "Res Characterization:\tLight",
                                         "Res Components:\t3",
                                         "Oil Characterization:\tLight",
                                         "Oil Components:\t3",
                                         "Gas Characterization:\tLight",
                                         "Gas Components:\t3",
                                         ""};
    for (std::size_t i = 0; i < group.size(); ++i) EXPECT_EQ(lines[4 + i], group[i]);
    EXPECT_EQ(lines[13],
              "Reservoir Fluid Properties\t\t\t\t\t\t\t\t\tOil Properties\t\t\t\t\t"
              "Gas Properties\t\t\t\t\tOil Mole Fractions\t\t\tGas Mole Fractions\t\t\t"
              "Reservoir Fluid Mole Fractions");
    EXPECT_EQ(lines[14],
              "Mixture\tPsat Type\tMW\tDepth (ft)\tTemperature (F)\tPressure (psia)\t"
              "Density (g/cm3)\tViscosity (cp)\tIFT (dyn/cm)\tMoles/Mole\tMW\tTemperature (F)\t"
              "Pressure (psia)\tDensity (g/cm3)\tMoles/Mole\tMW\tTemperature (F)\t"
              "Pressure (psia)\tDensity (g/cm3)\tC1\tC3\tN-C10\tC1\tC3\tN-C10\tC1\tC3\tN-C10");
    // The feed at 2000 psia, its oil and its gas at 700 psia: each at its own pressure, 3000 and
    // 4000 psia, and the first at its bubble point too.
    ASSERT_EQ(lines.size(), 15u + 10u);
    int tensions = 0;
    for (std::size_t row = 15; row < lines.size(); ++row) {
        const std::vector<std::string> cells = fields(lines[row]);
        ASSERT_EQ(cells.size(), FIXED + 9) << lines[row];
        EXPECT_EQ(cells[1], cells[0].substr(0, 3) == "EQV" ? "DP" : "BP");
        EXPECT_NEAR(number(cells[3]), 5000, 1e-2);
        EXPECT_NEAR(number(cells[4]), 100, 1e-3);
        // Moles of oil and gas, component by component, and masses.
        const double oil = number(cells[9]), gas = number(cells[14]);
        EXPECT_NEAR(oil + gas, 1.0, 1.1e-5) << lines[row];
        EXPECT_NEAR(oil * number(cells[10]) + gas * number(cells[15]), number(cells[2]),
                    2e-5 * number(cells[2]));
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(oil * number(cells[FIXED + i]) + gas * number(cells[FIXED + 3 + i]),
                        number(cells[FIXED + 6 + i]), 2e-5);
        // Oil from the stock tank; gas from two stages has no conditions.
        EXPECT_EQ(cells[11], "6.00000e+01");
        EXPECT_EQ(cells[12], "1.47000e+01");
        EXPECT_EQ(cells[16], "-999999");
        EXPECT_EQ(cells[17], "-999999");
        EXPECT_GT(number(cells[13]), number(cells[18]));
        EXPECT_GT(number(cells[7]), 0.0);
        // One row of each fluid is at its saturation pressure, where there is a second phase.
        const bool has_tension = cells[8] != "-999999";
        tensions += has_tension ? 1 : 0;
        EXPECT_TRUE(!has_tension || number(cells[8]) > 0.0) << cells[8];
    }
    EXPECT_EQ(tensions, 3);
}

TEST(BlackOil, UnitsOfTheLaboratoryWithoutOthers) {
    const ScratchDirectory scratch;
    LabRun run(LIGHT_FLUID + "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\nTEMP 310 K\nPRES 14 MPa\n" + TRAIN +
               "COLL C\nEQL\nEND\nBLACK\nCOLL C\nPROC P\nPRES 20\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const std::vector<std::string> lines = scratch.table_lines();
    EXPECT_EQ(lines[0], "Black Oil Table");
    EXPECT_NE(lines[14].find("\tDepth (m)\tTemperature (K)\tPressure (MPa)\t"), std::string::npos);
    const std::vector<std::string> last = fields(lines.back());
    EXPECT_EQ(last[3], "-999999");
    EXPECT_EQ(last[5], "2.00000e+01");
}

// No pressure at which a lean gas has two phases.
TEST(BlackOil, WithoutSaturationPressureOnlyItsOwn) {
    const ScratchDirectory scratch;
    LabRun run(LIGHT_FLUID + "MIX FEED C1 1\nTEMP 300 K\nPRES 14 MPa\n" + TRAIN +
               "COLL C\nEQV\nEND\nBLACK\nCOLL C\nPROC P\nPRES 20 MPa\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const std::vector<std::string> lines = scratch.table_lines();
    ASSERT_EQ(lines.size(), 16u);
    const std::vector<std::string> cells = fields(lines.back());
    EXPECT_EQ(cells[1], "N/A");
    EXPECT_EQ(cells[5], "1.40000e+01");
    EXPECT_EQ(cells[9], "0.00000e+00");  // no oil
    EXPECT_EQ(cells[10], "-999999");     // and nothing to say of it
    EXPECT_EQ(cells[14], "1.00000e+00");
}

TEST(BlackOil, ACollectorWithoutFluidsHasNoRows) {
    const ScratchDirectory scratch;
    LabRun run(FED + TRAIN + "COLL C\nEND\nBLACK\nCOLL C\nPROC P\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_EQ(scratch.table_lines().size(), 15u);
}

TEST(BlackOil, TwoTablesShareTheFile) {
    const ScratchDirectory scratch;
    LabRun run(COLLECTED + TABLE + "BLACK\nID second\nCOLL C\nPROC P\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_EQ(run.count("Now opening black oil table file"), 1) << run.report();
    int titles = 0;
    for (const std::string& line : scratch.table_lines())
        titles += line.starts_with("Black Oil Table") ? 1 : 0;
    EXPECT_EQ(titles, 2);
    EXPECT_TRUE(run.reports("Black Oil Table: second\n=======================\n"));
    EXPECT_TRUE(run.reports("Collector :  C\nProcess   :  P\n"));
}

TEST(BlackOil, OilOfSeveralStagesWarns) {
    const ScratchDirectory scratch;
    LabRun run(COLLECTED +
               "PROC Q\nSTAGE A\nSEP HP\nEND\nSTAGE B\nFEED A GAS\nSEP ST\nEND\n"
               "PROD OIL\nFEED A LIQ AND B LIQ\nEND\nEND\n"
               "BLACK\nCOLL C\nPROC Q\nEND\n");
    EXPECT_TRUE(run.reports("Uncertain results from black oil table generation")) << run.report();
    EXPECT_TRUE(run.reports("The oil product comes from multiple stages of process \"Q\"."));
    EXPECT_TRUE(run.reports("The assumption of additive volumes may not be entirely appropriate."));
}

TEST(BlackOil, Refusals) {
    LabRun none(FED + "BLACK\nEND\n");
    EXPECT_TRUE(none.reports("Input not valid for black oil table")) << none.report();
    EXPECT_TRUE(none.reports("No collector was specified."));
    EXPECT_TRUE(none.reports("No surface process was specified."));
    LabRun one(FED + "COLL C\nEND\nBLACK \"gas cap\"\nCOLL C\nEND\n");
    EXPECT_TRUE(one.reports("Input not valid for black oil table \"gas cap\"")) << one.report();
    EXPECT_FALSE(one.reports("No collector was specified."));
    LabRun bad(FED + "BLACK\nCOLL X\nPROC Y\nEND\n");
    EXPECT_TRUE(bad.reports("Bad collector name \"X\"")) << bad.report();
    EXPECT_TRUE(bad.reports("Bad process name \"Y\""));
    EXPECT_TRUE(bad.stopped);
}

TEST(BlackOil, AFileThatCannotBeOpenedIsSaidOnce) {
    const ScratchDirectory scratch;
    std::filesystem::create_directory(scratch.table());
    LabRun run(COLLECTED + TABLE + TABLE);
    EXPECT_FALSE(run.stopped) << run.report();
    EXPECT_EQ(
        run.count("Could not open black oil table file \"" + scratch.table().string() + "\"."), 1)
        << run.report();
    EXPECT_EQ(run.counts.warnings, 1);
}

TEST(BlackOil, AFileThatCannotBeWrittenIsSaid) {
    const ScratchDirectory scratch;
    std::filesystem::create_symlink("/dev/full", scratch.table());
    LabRun run(COLLECTED + TABLE + TABLE);
    EXPECT_EQ(run.count("Could not write all of the black oil tables to file \"" +
                        scratch.table().string() + "\"."),
              1)
        << run.report();
    EXPECT_TRUE(run.reports("The file is not complete."));
}

TEST(BlackOil, TheInputIsNeverOverwritten) {
    const ScratchDirectory scratch;
    std::ofstream(scratch.table()) << "a script\n";
    Program::state().primaryInput->SetPath(scratch.table().string());
    LabRun run(COLLECTED + TABLE);
    EXPECT_TRUE(run.reports("Could not open black oil table file")) << run.report();
    EXPECT_EQ(scratch.table_lines(), std::vector<std::string>{"a script"});
}

TEST(BlackOil, WrittenInTheFinalPassOnly) {
    const ScratchDirectory scratch;
    LabRun run(COLLECTED + TABLE);
    const std::size_t size = scratch.table_lines().size();
    run.evaluate(EvaluationMode::Jacobian);
    run.evaluate(EvaluationMode::First);
    EXPECT_EQ(scratch.table_lines().size(), size);
}

// Bubble and dew point of a pure component are one pressure: a row as oil and a row as gas.
TEST(BlackOil, WhereOilAndGasAreOneFluidThereAreTwoRows) {
    const ScratchDirectory scratch;
    // Both phases of the incoming stream go to the products as they come.
    LabRun run(LIGHT_FLUID +
               "MIX FEED C3 1\nTEMP 300 K\nPRES 20 bar\nPROC P\nEND\n"
               "COLL C\nEQL\nEND\nBLACK\nCOLL C\nPROC P\nPRES bar 5\nEND\nSATP 300 K\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const PVTCell& cell = run.lab.cell();
    ASSERT_EQ(cell.phase_count, 2);
    const std::vector<std::string> lines = scratch.table_lines();
    ASSERT_EQ(lines.size(), 15u + 4u);
    const auto row = [&](std::size_t i) { return fields(lines[15 + i]); };
    for (const std::size_t i : {1u, 2u})
        EXPECT_NEAR(number(row(i)[5]), cell.pressure.value * 1e-5, 1e-5 * number(row(i)[5]));
    const double liquid = cell.x_state.density * 1e-3, gas = cell.y_state.density * 1e-3;
    ASSERT_GT(liquid, 10 * gas);
    EXPECT_EQ(row(1)[1], "BP");
    EXPECT_NEAR(number(row(1)[6]), liquid, 1e-5 * liquid);
    EXPECT_EQ(row(1)[9], "1.00000e+00");
    EXPECT_NEAR(number(row(1)[13]), liquid, 1e-5 * liquid);
    EXPECT_EQ(row(1)[14], "0.00000e+00");
    EXPECT_EQ(row(2)[1], "DP");
    EXPECT_NEAR(number(row(2)[6]), gas, 1e-5 * gas);
    EXPECT_LT(number(row(2)[7]), 0.2 * number(row(1)[7]));
    EXPECT_EQ(row(2)[9], "0.00000e+00");
    EXPECT_EQ(row(2)[14], "1.00000e+00");
    EXPECT_NEAR(number(row(2)[18]), gas, 1e-5 * gas);
    // Beside it there is no doubt: gas below, oil above.
    EXPECT_EQ(row(0)[14], "1.00000e+00");
    EXPECT_EQ(row(3)[9], "1.00000e+00");
}

// Each group of compositions has the components of its own characterization, in their order.
TEST(BlackOil, ProductsOfOtherCharacterizations) {
    const ScratchDirectory scratch;
    LabRun run(FED +
               "SEP HP 90 F 300 psia\nEND\n"
               "CHAR Reverse\nNAME MW TC(K) PC(bar) AF\nN-C10\nC3\nC1\nEND\nEND\n"
               "SEP ST 60 F 14.7 psia\nEND\n"
               "PROC P\nSTAGE A\nSEP HP\nSTAGE B\nFEED A GAS\nSEP ST\nEND\n"
               "PROD OIL\nFEED A LIQ\nEND\nPROD GAS\nFEED B\nEND\nEND\n"
               "COLL C\nEQL\nEND\nBLACK\nCOLL C\nPROC P\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const std::vector<std::string> lines = scratch.table_lines();
    EXPECT_EQ(lines[6], "Res Characterization:\tReverse");
    EXPECT_EQ(lines[8], "Oil Characterization:\tLight");
    EXPECT_EQ(lines[10], "Gas Characterization:\tReverse");
    EXPECT_TRUE(lines[14].ends_with("\tC1\tC3\tN-C10\tN-C10\tC3\tC1\tN-C10\tC3\tC1")) << lines[14];
    ASSERT_EQ(lines.size(), 15u + 2u);
    const std::vector<std::string> cells = fields(lines.back());
    ASSERT_EQ(cells.size(), FIXED + 9);
    const double oil = number(cells[9]), gas = number(cells[14]);
    const double z[]{.2, .3, .5};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(number(cells[FIXED + 6 + i]), z[i], 1e-6);
        EXPECT_NEAR(oil * number(cells[FIXED + 2 - i]) + gas * number(cells[FIXED + 3 + i]), z[i],
                    2e-5);
    }
}

// Neither what was never given nor what has no value becomes a number.
TEST(BlackOil, FieldsWithoutValues) {
    BO_Entry entry;
    entry.name = "X";
    entry.viscosity = UNDEFINED;
    entry.mw = UNDEFINED;
    entry.pressure = 1e-30;
    const BlackOilUnits units{&unit_of(UnitKind::Distance, "ft"),
                              &unit_of(UnitKind::Temperature, "F"),
                              &unit_of(UnitKind::Pressure, "psia")};
    std::ostringstream stream;
    write_row(stream, entry, units);
    EXPECT_EQ(stream.str(),
              "X\tN/A\t-999999\t-999999\t-999999\t1.45038e-34\t-999999\t-999999"
              "\t-999999\t0.00000e+00\t-999999\t-999999\t-999999\t-999999"
              "\t0.00000e+00\t-999999\t-999999\t-999999\t-999999\n");
}

}  // namespace
}  // namespace kestrane
