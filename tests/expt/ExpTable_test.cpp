#include "expt/ExpTable.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <sstream>

#include "expt/ExptScript.h"
#include "frame/Errors.h"

using namespace kestrane;
using namespace kestrane::testing;

namespace {

using D = ExptData;

/// The cells of the first column that answers to the key.
const std::vector<double>& cells(const ExpTable& table, const std::string& key) {
    return dynamic_cast<const DataColumn<double>&>(table.ColumnAt(table.ColumnIndexOf(key))).cells;
}

void expect_near(const std::vector<double>& values, const std::vector<double>& expected) {
    ASSERT_EQ(values.size(), expected.size());
    // Rounding of a percentage near 100 and of a unit's conversion.
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_NEAR(values[i], expected[i], 1e-11 * std::max(1.0, std::abs(expected[i]))) << i;
}

void expect_statistics(const ColumnStatistics& found, double weight, double bias, double rms,
                       int count) {
    EXPECT_NEAR(found.weight, weight, 1e-15);
    EXPECT_NEAR(found.bias, bias, 1e-11 * std::max(1.0, std::abs(bias)));
    EXPECT_NEAR(found.rms, rms, 1e-11 * std::max(1.0, rms));
    EXPECT_EQ(found.count, count);
}

/// Relative volumes measured at three pressures, and liquid viscosities at two of them.
constexpr const char* EXPANSION =
    "STG  TEMP F  PRES psia  RV    LVIS cp\n"
    "1    160     3000       0.95  0.5\n"
    "2    160     2000       1.00\n"
    "3    160     1000       1.40  0.8\n"
    "END\n";

/// Off by -1, 0 and 3% of the greatest volume, and by 5 and -2.5% of the greatest viscosity.
void calculate_expansion(TableScript& at) {
    const double volumes[] = {0.936, 1.0, 1.442};
    const double viscosities[] = {0.54e-3, 0.6e-3, 0.78e-3};  // Pa s
    for (int row = 1; row <= 3; ++row) {
        at.calculate(row, &D::relative_volume_2, volumes[row - 1]);
        at.calculate(row, &D::liquid_viscosity, viscosities[row - 1]);
    }
}

}  // namespace

TEST(ExpTable, ReadsMeasuredValuesInBaseUnits) {
    TableScript at(EXPANSION);
    EXPECT_EQ(at.result, 1);
    EXPECT_EQ(at.table.rowCount, 3);
    expect_near(cells(at.table, "RV"), {0.95, 1.0, 1.4});
    EXPECT_EQ(cells(at.table, "LVIS")[1], UNSET);
    D data;
    at.table.TakeRow(2, data);
    EXPECT_EQ(data.stage, 3);
    EXPECT_NEAR(data.temperature, (160.0 + 459.67) / 1.8, 1e-10);
    EXPECT_NEAR(data.liquid_viscosity, 0.8e-3, 1e-18);
    EXPECT_EQ(data.gas_viscosity, UNSET);
}

TEST(ExpTable, AStoredRowIsCalculatedAndWhatIsSetIsAlsoRead) {
    TableScript at(EXPANSION);
    D data;
    data.stage = 7;
    data.temperature = 300.0;
    data.relative_volume_2 = 5.0;
    at.table.PutRow(1, data);
    expect_near(cells(at.table, "RV"), {0.95, 1.0, 1.4, UNSET, 5.0});
    EXPECT_EQ(cells(at.table, "TEMP")[1], 300.0);
    EXPECT_EQ(cells(at.table, "TEMP")[4], 300.0);
    EXPECT_EQ(cells(at.table, "PRES")[1], UNSET);
    at.table.TakeRow(1, data);
    EXPECT_EQ(data.stage, 7);
    EXPECT_EQ(data.relative_volume_2, 1.0);
}

TEST(ExpTable, ARowBeyondTheTableIsAFaultOfTheProgram) {
    TableScript at(EXPANSION);
    EXPECT_THROW(at.table.PutRow(3, D{}), LogicError);
    EXPECT_THROW(at.table.PutRow(-1, D{}), LogicError);
    EXPECT_THROW(at.table.InsertRow(-1, D{}), LogicError);
    EXPECT_THROW(at.table.InsertBlankRow(-1), LogicError);
    at.table.DeleteRow(3);
    at.table.DeleteRow(-1);
    EXPECT_EQ(at.table.rowCount, 3);
}

TEST(ExpTable, InsertsAndErasesBothHalves) {
    TableScript at(EXPANSION);
    calculate_expansion(at);
    at.table.InsertBlankRow(1);
    EXPECT_EQ(at.table.rowCount, 4);
    expect_near(cells(at.table, "RV"), {0.95, UNSET, 1.0, 1.4, 0.936, UNSET, 1.0, 1.442});
    D data;
    data.temperature = 350.0;
    data.relative_volume_2 = 9.0;
    at.table.InsertRow(0, data);
    EXPECT_EQ(at.table.rowCount, 5);
    expect_near(cells(at.table, "RV"),
                {UNSET, 0.95, UNSET, 1.0, 1.4, 9.0, 0.936, UNSET, 1.0, 1.442});
    EXPECT_EQ(cells(at.table, "TEMP")[0], 350.0);
    EXPECT_EQ(cells(at.table, "TEMP")[5], 350.0);
    at.table.DeleteRow(0);
    at.table.DeleteRow(1);
    expect_near(cells(at.table, "RV"), {0.95, 1.0, 1.4, 0.936, 1.0, 1.442});
    EXPECT_EQ(cells(at.table, "TEMP").size(), 6u);
}

TEST(ExpTable, InsertsIntoATableThatIsOnlyRead) {
    TableScript at(EXPANSION);
    D data;
    data.relative_volume_2 = 2.0;
    at.table.InsertRow(3, data);
    expect_near(cells(at.table, "RV"), {0.95, 1.0, 1.4, UNSET, UNSET, UNSET, UNSET, 2.0});
    at.table.DeleteRow(0);
    expect_near(cells(at.table, "RV"), {1.0, 1.4, UNSET, UNSET, UNSET, 2.0});
}

TEST(ExpTable, ACopyForEachEvaluationUsesTheSameMemory) {
    TableScript at(EXPANSION);
    at.table.ColumnAt(3).weight = 2.0;
    ExpTable work = at.table;
    work.PutRow(2, D{});
    const double* place = cells(work, "RV").data();
    work = at.table;
    EXPECT_EQ(cells(work, "RV").data(), place);
    expect_near(cells(work, "RV"), {0.95, 1.0, 1.4});
    EXPECT_EQ(work.ColumnAt(3).weight, 2.0);
    work.InsertBlankRow(0);
    work = at.table;
    EXPECT_EQ(work.rowCount, 3);
    // Other columns are taken over as well.
    TableScript other("PRES bar SATP bar FEED\n10       20       OIL\nEND\n");
    work = other.table;
    EXPECT_EQ(work.columns.size(), 3u);
    work.PutRow(0, other.record(1));
    work = other.table;
    expect_near(cells(work, "SATP"), {20e5});
    EXPECT_NE(&cells(work, "SATP"), &cells(other.table, "SATP"));
}

TEST(ExpTable, TheLeftmostOfTwoColumnsOnAFieldStands) {
    TableScript at(
        "PRES bar PSAT bar SATP1 bar GOR sm3/m3 GOR1 sm3/m3 M2 kmol M kmol T C TEMP F\n"
        "10       20       30        40         50          60      70     80  90\n"
        "END\n");
    ASSERT_EQ(at.table.rowCount, 1);
    D columns;
    at.table.ReadRowBackward(columns);
    EXPECT_EQ(columns.pressure, 0.0);
    EXPECT_EQ(columns.sat_pressure_1, 1.0);
    EXPECT_EQ(columns.gor_1, 3.0);
    EXPECT_EQ(columns.moles_2, 5.0);
    EXPECT_EQ(columns.temperature, 7.0);
    EXPECT_EQ(columns.gor_2, UNSET);
}

TEST(ExpTable, ErrorsArePercentOfTheGreatestMeasuredValue) {
    TableScript at(EXPANSION);
    calculate_expansion(at);
    expect_near(residuals_of(at.table), {-1.0, 0.0, 3.0, 5.0, -2.5});
    ASSERT_EQ(at.table.statistics().size(), 2u);
    expect_statistics(at.table.statistics()[0], 1.0, 2.0 / 3.0, std::sqrt(10.0 / 3.0), 3);
    expect_statistics(at.table.statistics()[1], 1.0, 1.25, std::sqrt(31.25 / 2.0), 2);
}

TEST(ExpTable, StageAndColumnWeights) {
    TableScript at(
        "STG  RV    LVIS cp\n"
        "1    0.95  0.5\n"
        "WGT  0.5   \n"
        "2    1.00\n"
        "3    1.40  0.8\n");
    ASSERT_EQ(at.table.rowCount, 3);
    calculate_expansion(at);
    // Errors -1, 0, 3 with weights 2, 1, 0.5, times the column's 0.5; errors 5, -2.5.
    expect_near(residuals_of(at.table, {2.0, 1.0, 0.5}), {-1.0, 0.0, 0.75, 10.0, -1.25});
    const auto statistics = at.table.statistics();
    expect_statistics(statistics[0], 0.5, (-2.0 + 1.5) / 3.5, std::sqrt((4.0 + 2.25) / 5.25), 3);
    expect_statistics(statistics[1], 1.0, (10.0 - 1.25) / 2.5, std::sqrt((100.0 + 1.5625) / 4.25),
                      2);
}

TEST(ExpTable, ARowOfNoWeightCountsButMakesNoResidual) {
    TableScript at("STG RV\n1   10\n2   5\n3   4\nEND\n");
    at.calculate(1, &D::relative_volume_2, 12.0);
    at.calculate(2, &D::relative_volume_2, 4.5);
    at.calculate(3, &D::relative_volume_2, 4.5);
    // The greatest value of a row that counts is 5: errors 40, -10, 10.
    expect_near(residuals_of(at.table, {0.0, 1.0, 1.0}), {-10.0, 10.0});
    expect_statistics(at.table.statistics()[0], 1.0, 0.0, 10.0, 3);
    // With no weight at all nothing is left but the count.
    EXPECT_TRUE(residuals_of(at.table, {0.0, 0.0, 0.0}).empty());
    expect_statistics(at.table.statistics()[0], 1.0, 0.0, 0.0, 3);
}

TEST(ExpTable, WeightsThatCancelOutGiveNoBias) {
    TableScript at("STG RV\n1   10\n2   5\nEND\n");
    at.calculate(1, &D::relative_volume_2, 11.0);
    at.calculate(2, &D::relative_volume_2, 5.0);
    // Only the first row counts for the scale and as a residual.
    expect_near(residuals_of(at.table, {1.0, -1.0}), {10.0});
    expect_statistics(at.table.statistics()[0], 1.0, 0.0, std::sqrt(50.0), 2);
}

TEST(ExpTable, AColumnOfZerosIsComparedWithOne) {
    TableScript at("STG RV\n1   0\n2   0\nEND\n");
    at.calculate(1, &D::relative_volume_2, 0.25);
    at.calculate(2, &D::relative_volume_2, -0.5);
    expect_near(residuals_of(at.table), {25.0, -50.0});
    expect_statistics(at.table.statistics()[0], 1.0, -12.5, std::sqrt(1562.5), 2);
}

TEST(ExpTable, MissingAndUndefinedResultsKeepTheNumberOfResiduals) {
    TableScript at("STG RV\n1   2\n2   2\n3   2\n4   2\n5\nEND\n");
    // Nothing stored at all: the calculated half is beyond the columns' ends.
    expect_near(residuals_of(at.table), {-9999.0, -9999.0, -9999.0, -9999.0});
    at.calculate(1, &D::relative_volume_2, UNDEFINED);
    at.calculate(2, &D::relative_volume_2, 1e9);
    at.calculate(3, &D::relative_volume_2, -1e9);
    at.calculate(4, &D::relative_volume_2, std::nan(""));
    at.calculate(5, &D::relative_volume_2, 7.0);
    expect_near(residuals_of(at.table), {9999.0, 9999.0, -9999.0, -9999.0});
    EXPECT_EQ(at.table.statistics()[0].count, 4);
}

TEST(ExpTable, NegativeValuesScaleByTheirMagnitude) {
    TableScript at("STG TEMP C SATT C\n1   20     -50\n2   20     -23.15\nEND\n");
    at.calculate(1, &D::sat_temperature_1, 223.15);
    at.calculate(2, &D::sat_temperature_1, 260.0);
    // Errors are of kelvins: 10 K of 250 K, not of -23.15 C.
    expect_near(residuals_of(at.table), {0.0, 4.0});
}

TEST(ExpTable, OnlyResultsAreCompared) {
    TableScript at(
        "STG TEMP C WGT FEED SATP bar GOR sm3/m3 LVIS cp\n"
        "1   20     1   OIL  100\nEND\n");
    at.calculate(1, &D::sat_pressure_1, 90e5);
    expect_near(residuals_of(at.table), {-10.0});
    ASSERT_EQ(at.table.statistics().size(), 3u);
    expect_statistics(at.table.statistics()[1], 1.0, 0.0, 0.0, 0);
    expect_statistics(at.table.statistics()[2], 1.0, 0.0, 0.0, 0);
}

TEST(ExpTable, FewerWeightsThanRowsAreAFaultOfTheProgram) {
    TableScript at(EXPANSION);
    Script script("");
    const std::vector<double> weights{1.0, 1.0};
    EXPECT_THROW(residuals_of(at.table, weights), LogicError);
}

TEST(ExpTable, AnotherReadingForgetsTheStatistics) {
    TableScript at(EXPANSION);
    residuals_of(at.table);
    EXPECT_FALSE(at.table.statistics().empty());
    at.table.Clear();
    EXPECT_TRUE(at.table.statistics().empty());
    EXPECT_EQ(at.table.allowWeights, 1);
}

TEST(ExpTable, PrintsCalculatedBesideMeasured) {
    TableScript at(EXPANSION);
    calculate_expansion(at);
    residuals_of(at.table);
    EXPECT_EQ(at.report(),
              "Stage   Temperature   Pressure   Relative Volume   Liquid Phase Viscosity|\n"
              "            (F)        (psia)                               (cp)         |\n"
              "                                    Calc    Expt         Calc     Expt   |\n"
              "-----   -----------   --------   ---------------   ----------------------|\n"
              "    1        160.00     3000.0    0.9360  0.9500      0.54000  0.50000   |\n"
              "    2        160.00     2000.0    1.0000  1.0000      0.60000            |\n"
              "    3        160.00     1000.0    1.4420  1.4000      0.78000  0.80000   |\n"
              "-----   -----------   --------   ---------------   ----------------------|\n"
              "RMS % Err:                             1.83                 3.95         |\n"
              "Ave % Bias:                            0.67                 1.25         |\n");
}

TEST(ExpTable, ATableWithNothingMeasuredHasNoSummary) {
    TableScript at("STG  PRES bar  SATP bar\n1    100\n2    50\nEND\n");
    at.calculate(1, &D::sat_pressure_1, 80e5);
    at.calculate(2, &D::sat_pressure_1, 81.5e5);
    EXPECT_TRUE(residuals_of(at.table).empty());
    EXPECT_EQ(at.report(),
              "Stage   Pressure   Saturation Pressure|\n"
              "          (bar)           (bar)       |\n"
              "                        Calc    Expt  |\n"
              "-----   --------   -------------------|\n"
              "    1     100.00      80.000          |\n"
              "    2      50.00      81.500          |\n"
              "-----   --------   -------------------|\n");
}

TEST(ExpTable, ColumnsStandByTagAndThenAsInTheScript) {
    TableScript at(
        "PRES bar GSG RV FEED SATP bar STG WGT T C\n"
        "100      0.7 2  OIL  90       4   0.5 25\nEND\n");
    ASSERT_EQ(at.table.rowCount, 1);
    at.calculate(1, &D::gas_gravity, 0.7);
    at.calculate(1, &D::relative_volume_2, 2.0);
    at.calculate(1, &D::sat_pressure_1, 90e5);
    const std::string report = at.report();
    EXPECT_EQ(report.substr(0, report.find('|')),
              "Stage   Pressure   Temperature   Feed Stream   Stage Weight   Saturation Pressure   "
              "Gas Specific Gravity   Relative Volume");
}

TEST(ExpTable, WhatIsSetTwiceStandsOnce) {
    TableScript at(
        "TEMP C PRES bar T K     PSAT bar SATP bar\n"
        "20     1        293.15  5        6\nEND\n");
    at.calculate(1, &D::sat_pressure_1, 5e5);
    EXPECT_EQ(at.report(),
              "Temperature   Pressure   Saturation Pressure   Saturation Pressure|\n"
              "    (C)         (bar)           (bar)                 (bar)       |\n"
              "                              Calc    Expt          Calc    Expt  |\n"
              "-----------   --------   -------------------   -------------------|\n"
              "     20.000     1.0000      5.0000  5.0000        5.0000  6.0000  |\n"
              "-----------   --------   -------------------   -------------------|\n");
}

TEST(ExpTable, EachColumnHasAUnitOfItsOwn) {
    TableScript at(
        "PRES bar SATP psia PSAT kPa  GOR scf/bbl Z\n"
        "100      1000      7000      500         0.9\nEND\n");
    at.calculate(1, &D::sat_pressure_1, 7e6);
    at.calculate(1, &D::gor_1, 500.0 * 0.028316846592 / 0.158987294928 / 23.690444193546618);
    // 7 MPa are 1015.264... psia: 1.526% more than 1000.
    const std::vector<double> errors = residuals_of(at.table);
    ASSERT_EQ(errors.size(), 4u);
    EXPECT_NEAR(errors[0], 1.5264161, 1e-6);
    EXPECT_NEAR(errors[1], 0.0, 1e-11);
    EXPECT_NEAR(errors[2], 0.0, 1e-6);
    const std::string report = at.report();
    EXPECT_NE(report.find("(psia)"), std::string::npos);
    EXPECT_NE(report.find("(kPa)"), std::string::npos);
    EXPECT_NE(report.find("(scf/bbl)"), std::string::npos);
    EXPECT_NE(report.find("1015.3  1000.0"), std::string::npos) << report;
    EXPECT_NE(report.find("7000.0  7000.0"), std::string::npos) << report;
}

TEST(ExpTable, UndefinedResultsShowAsAMarkAndMissingOnesAsBlanks) {
    TableScript at("STG  Z\n1    0.9\n2    0.8\n3    \n4  0.7\nEND\n");
    at.calculate(1, &D::z_factor_1, UNDEFINED);
    at.calculate(2, &D::z_factor_1, UNSET);
    at.calculate(4, &D::z_factor_1, 0.75);
    EXPECT_EQ(at.report(),
              "Stage   Overall Z-Factor|\n"
              "                        |\n"
              "           Calc     Expt|\n"
              "-----   ----------------|\n"
              "    1         -  0.90000|\n"
              "    2            0.80000|\n"
              "    3                   |\n"
              "    4   0.75000  0.70000|\n"
              "-----   ----------------|\n");
}

TEST(ExpTable, CellsAreAtLeastAsWideAsTheirTitles) {
    TableScript at("STG  VIS cp\n1\n2\nEND\n");
    at.table.InsertBlankRow(0);
    EXPECT_EQ(at.report(),
              "Stage    Viscosity|\n"
              "           (cp)   |\n"
              "        Calc  Expt|\n"
              "-----   ----------|\n"
              "                  |\n"
              "    1             |\n"
              "    2             |\n"
              "-----   ----------|\n");
}

TEST(ExpTable, WeightsOfColumnsStandInALineOfTheirOwn) {
    TableScript at(
        "STG  PRES bar  Z     GSG\n"
        "WGT            0.25\n"
        "1    100       0.8   0.7\n"
        "2    50        0.9\nEND\n");
    at.calculate(1, &D::z_factor_1, 0.818);
    at.calculate(2, &D::z_factor_1, 0.9);
    at.calculate(1, &D::gas_gravity, 0.7);
    residuals_of(at.table);
    EXPECT_EQ(at.report(),
              "Stage   Pressure   Overall Z-Factor   Gas Specific Gravity|\n"
              "          (bar)                                           |\n"
              "                      Calc     Expt        Calc     Expt  |\n"
              "-----   --------   ----------------   --------------------|\n"
              "    1     100.00   0.81800  0.80000     0.70000  0.70000  |\n"
              "    2      50.00   0.90000  0.90000                       |\n"
              "-----   --------   ----------------   --------------------|\n"
              "RMS % Err:               1.41                 0.00        |\n"
              "Ave % Bias:              1.00                 0.00        |\n"
              "Col Weight:             0.2500               1.0000       |\n");
}

TEST(ExpTable, ALongLabelMovesTheValuesIntoTheGap) {
    TableScript at("STG  Z    RV\n1    0.8  2\n2    0.9\nEND\n");
    at.calculate(1, &D::z_factor_1, 0.8);
    at.calculate(2, &D::z_factor_1, 0.81);
    at.calculate(1, &D::relative_volume_2, 2.0);
    residuals_of(at.table);
    // The label ends 3 columns into the first block; the gap behind the block loses them.
    EXPECT_EQ(at.report(),
              "Stage   Overall Z-Factor   Relative Volume|\n"
              "                                          |\n"
              "           Calc     Expt      Calc    Expt|\n"
              "-----   ----------------   ---------------|\n"
              "    1   0.80000  0.80000    2.0000  2.0000|\n"
              "    2   0.81000  0.90000                  |\n"
              "-----   ----------------   ---------------|\n"
              "RMS % Err:       7.07            0.00     |\n"
              "Ave % Bias:      -5.00           0.00     |\n");
}

TEST(ExpTable, ColumnsWithNothingMeasuredHaveNoStatistics) {
    TableScript at("STG  PRES bar  Z    RV\n1    10             2\nEND\n");
    at.calculate(1, &D::z_factor_1, 0.8);
    at.calculate(1, &D::relative_volume_2, 2.0);
    residuals_of(at.table);
    const std::string report = at.report();
    EXPECT_NE(report.find("\nRMS % Err:                                  0.00     |\n"),
              std::string::npos)
        << report;
}

TEST(ExpTable, GapsAndCentring) {
    TableScript at("STG  Z\n1    0.8\nEND\n");
    at.calculate(1, &D::z_factor_1, 0.8);
    // A gap of 0 with an inner gap of 0 becomes 1; the cells stand at least 1 apart.
    EXPECT_EQ(at.report(0, 0),
              "Stage Overall Z-Factor|\n"
              "                      |\n"
              "          Calc    Expt|\n"
              "----- ----------------|\n"
              "    1  0.80000 0.80000|\n"
              "----- ----------------|\n");
    EXPECT_EQ(at.report(0, -4), at.report(0, 0));
    EXPECT_EQ(at.report(-3, 2),
              "StageOverall Z-Factor|\n"
              "                     |\n"
              "        Calc     Expt|\n"
              "---------------------|\n"
              "    10.80000  0.80000|\n"
              "---------------------|\n");
    EXPECT_EQ(at.report(3, 1, 30),
              "   Stage   Overall Z-Factor|\n"
              "                           |\n"
              "              Calc     Expt|\n"
              "   -----   ----------------|\n"
              "       1   0.80000  0.80000|\n"
              "   -----   ----------------|\n");
    EXPECT_EQ(at.report(3, 1, 24), at.report(3, 1, 0));
}

TEST(ExpTable, PrintsNothingWithoutRowsColumnsOrWriters) {
    TableScript at("STG  Z\n1    0.8\nEND\n");
    at.table.Print({}, 3, 1, 0);
    std::stringbuf text;
    OutFile silent(text);
    silent.printLevel = silent.minimumLevel - 1;
    at.table.Print({&silent}, 3, 1, 0);
    EXPECT_EQ(text.str(), "");
    at.table.DeleteRow(0);
    EXPECT_EQ(at.report(), "");
    at.table.Clear();
    EXPECT_EQ(at.report(), "");
    EXPECT_EQ(ExpTable(nullptr).rowCount, 0);
    // Columns that are only read over are none.
    at.table.AddColumn(std::make_unique<AnyColumn>());
    at.table.rowCount = 1;
    EXPECT_EQ(at.report(), "");
}

TEST(ExpTable, PrintsRowsThatWereOnlyRead) {
    TableScript at("STG  Z\n1    0.8\n2    0.7\nEND\n");
    EXPECT_EQ(at.report(),
              "Stage   Overall Z-Factor|\n"
              "                        |\n"
              "           Calc     Expt|\n"
              "-----   ----------------|\n"
              "    1            0.80000|\n"
              "    2            0.70000|\n"
              "-----   ----------------|\n");
}

TEST(ExpTable, PlaceholdersAreReadOver) {
    TableScript at("STG  ~  Z\n1    q  0.8\nEND\n");
    at.calculate(1, &D::z_factor_1, 0.8);
    residuals_of(at.table);
    EXPECT_EQ(at.table.statistics().size(), 1u);
    EXPECT_EQ(at.report().find('q'), std::string::npos);
}

TEST(ExpTable, OddLinesAreReportedWithTheirPlaceAndReadingGoesOn) {
    // A text where a number belongs ends the row and, as no row begins with it, the table.
    TableScript text("STG  Z\n1    0.8\n2    oops\nEND\n");
    EXPECT_EQ(text.table.rowCount, 2);
    EXPECT_EQ(cells(text.table, "Z")[1], UNSET);
    EXPECT_EQ(text.script.word(), "oops");
    // What stands right of the last column's number is an error, and the rows go on.
    TableScript longer("STG  Z\n1    0.8  5  6\n2    0.9\nEND\n");
    EXPECT_TRUE(longer.script.says("not recognized in current context"));
    EXPECT_TRUE(longer.script.says("line 2")) << longer.messages();
    expect_near(cells(longer.table, "Z"), {0.8, 0.9});
    // A word among the heads that is none is a column that is read over.
    TableScript unknown("STG  WHAT  Z\n1    3     0.8\nEND\n");
    EXPECT_TRUE(unknown.script.says("Keyword \"WHAT\" not recognized in current context"));
    expect_near(cells(unknown.table, "Z"), {0.8});
    // A unit that is missing is an error with a default.
    TableScript unit("STG  SATP  Z\n1    3     0.8\nEND\n");
    EXPECT_TRUE(unit.script.says("No units assigned to \"Saturation Pressure\" column"));
    expect_near(cells(unit.table, "SATP"), {3e5});
    // Results do not begin a table: the word is left to whoever reads on.
    TableScript no_start("SATP bar\n20\n");
    EXPECT_EQ(no_start.result, 0);
    EXPECT_EQ(no_start.script.word(), "SATP");
    EXPECT_EQ(TableScript("").result, -1);
}

TEST(ExpTable, UnitsMayStandInALineOfTheirOwn) {
    TableScript at(
        "STG  TEMP  PRES  SATP  GOR      LVIS\n"
        "     F     psia  psia  scf/bbl  cp\n"
        "1    160   3000  2620  768      0.5\n"
        "END\n");
    EXPECT_EQ(at.messages().find("No units"), std::string::npos);
    EXPECT_NEAR(cells(at.table, "PRES")[0], 3000.0 / 0.00014503773773020918, 1e-6);
    // 768 scf/bbl of gas at 60 F and 1 atm are 136.79 sm3/m3 over 23.69 m3/kmol.
    EXPECT_NEAR(cells(at.table, "GOR")[0],
                768.0 * 0.028316846592 / 0.158987294928 / 23.690444193546618, 1e-11);
}

TEST(ExpTable, FurtherBlocksJoinByWhatIsSet) {
    TableScript at(
        "PRES bar  Z\n100       0.8\n50        0.9\n"
        "PRES bar  GSG\n50        0.7\nEND\n");
    EXPECT_EQ(at.table.rowCount, 2);
    EXPECT_EQ(cells(at.table, "GSG"), (std::vector<double>{UNSET, 0.7}));
}

namespace {

/// A table of words that belong to tables, and of some that do not, in random places.
std::string odd_table(std::mt19937& random) {
    static const char* const words[] = {
        "STG",  "PRES",    "bar", "psia", "TEMP", "F",  "SATP", "GOR",   "RV",    "Z-C1",
        "FEED", "WGT",     "~",   "1",    "2",    "0",  "-3.5", "1e308", "2*",    "3*7",
        "/",    "\"A B\"", "OIL", "END",  ";",    "\t", "%",    "DEN1",  "kg/m3", "LVIS",
        "cp",   "1e-320",  "EOF", "&",    "\"",   "?",  "_x",   "STG",   "MI/V",  "scf/bbl"};
    const auto pick = [&](std::size_t count) { return static_cast<std::size_t>(random()) % count; };
    std::string text = "STG  PRES bar  SATP bar  RV   ";
    for (std::size_t lines = 2 + pick(6); lines > 0; --lines) {
        for (std::size_t count = pick(9); count > 0; --count)
            text += words[pick(std::size(words))] + std::string(1 + pick(5), ' ');
        text += '\n';
        if (pick(2) == 0)
            text += "1    100       90        2    " + std::string(pick(20), ' ') + "0.5\n";
    }
    return text;
}

/// Measured cells that make residuals.
std::size_t measured_cells(const ExpTable& table) {
    std::size_t count = 0;
    for (const auto& column : table.columns) {
        const auto* results = dynamic_cast<const DataColumn<double>*>(column.get());
        const bool weighs = column->weight == UNSET || column->weight > 0.0;
        if (!results || results->head->priority >= TAG_LABEL || !weighs) continue;
        for (int row = 0; row < table.rowCount; ++row)
            count += results->cells[static_cast<std::size_t>(row)] != UNSET;
    }
    return count;
}

/// The widths of the head lines, the rows and the two rules are one.
void expect_even(const std::string& report, int rows) {
    std::size_t width = std::string::npos;
    std::istringstream lines(report);
    std::string line;
    for (int i = 0; i < rows + 5 && std::getline(lines, line); ++i) {
        if (width == std::string::npos) width = line.size();
        EXPECT_EQ(line.size(), width) << report;
    }
}

}  // namespace

TEST(ExpTable, OddTablesAreReadComparedAndPrinted) {
    std::mt19937 random(20);
    int tables = 0;
    std::size_t residuals = 0;
    for (int trial = 0; trial < 2000; ++trial) {
        const std::string text = odd_table(random);
        SCOPED_TRACE(text);
        TableScript at(text);
        ExpTable& table = at.table;
        if (at.result <= 0) continue;
        ++tables;
        D data;
        data.gor_1 = 1e300;
        data.sat_pressure_1 = UNDEFINED;
        data.relative_volume_2 = std::numeric_limits<double>::infinity();
        for (int row = 0; row < table.rowCount; row += 2) table.PutRow(row, data);
        if (trial % 3 == 0) table.InsertBlankRow(trial % 4);
        if (trial % 5 == 0) table.DeleteRow(trial % 2);
        const std::size_t count = residuals_of(table).size();
        EXPECT_EQ(count, measured_cells(table));
        residuals += count;
        for (const ColumnStatistics& each : table.statistics()) {
            EXPECT_LE(std::abs(each.bias), 9999.0 * (1.0 + 1e-12));
            EXPECT_LE(each.rms, 9999.0 * (1.0 + 1e-12));
        }
        expect_even(at.report(), table.rowCount);
        const ExpTable copy = table;
        EXPECT_EQ(copy.rowCount, table.rowCount);
    }
    // The mixture is rich enough to say something.
    EXPECT_GT(tables, 1000);
    EXPECT_GT(residuals, 500u);
}

TEST(ExpTable, SegregationComparesTheConditionsOfItsDepths) {
    TableScript at(
        "DEPTH m  TEMP C  PRES bar  ZONE\n1000     80      200       OIL\n1100     \nEND\n",
        ExptHeads::segregation());
    at.calculate(1, &D::pressure, 210e5);
    at.calculate(1, &D::temperature, 353.15);
    at.calculate(2, &D::pressure, 220e5);
    expect_near(residuals_of(at.table), {0.0, 5.0});
    EXPECT_EQ(at.report(),
              " Depth    Fluid Zone     Temperature       Pressure   |\n"
              "  (m)                        (C)             (bar)    |\n"
              "                         Calc    Expt     Calc    Expt|\n"
              "-------   ----------   --------------   --------------|\n"
              "1000.00          OIL   80.000  80.000   210.00  200.00|\n"
              "1100.00                                 220.00        |\n"
              "-------   ----------   --------------   --------------|\n"
              "RMS % Err:                  0.00             5.00     |\n"
              "Ave % Bias:                 0.00             5.00     |\n");
}
