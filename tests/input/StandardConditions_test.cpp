#include <gtest/gtest.h>

#include <string>

#include "input/Keyword.h"
#include "input/Script.h"
#include "input/Units.h"

namespace kestrane {
namespace {

using testing::Script;

/// Runs a script of global keywords as a laboratory does: all of it is read first, then each pass
/// prepares all commands and executes them in order.
struct Session : Key_User {
    explicit Session(const std::string& text) : script(text) {
        SetDeferred(true);
        ReadAll(script.reader);
    }
    ~Session() override {
        set_standard_conditions({}, {});
        set_gauge_zero({ATMOSPHERE, &unit_of(UnitKind::AbsolutePressure, "atm")});
    }
    void rerun() {
        for (const auto& command : commands) command->Rerun(script.reader);
    }
    void execute(std::size_t index) { commands.at(index)->Execute(script.reader); }
    void pass() {
        rerun();
        for (std::size_t i = 0; i < commands.size(); ++i) execute(i);
    }
    std::size_t count(const std::string& text) const {
        const std::string all = script.printed();
        std::size_t n = 0;
        for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1))
            ++n;
        return n;
    }
    Script script;
};

double factor(UnitKind kind, const char* name) {
    return unit_of(kind, name).factor;
}
double psig(double value) {
    return unit_of(UnitKind::Pressure, "psig").to_base(value);
}
double psia(double value) {
    return unit_of(UnitKind::Pressure, "psia").to_base(value);
}

// One ulp of the conversion there and back, relative to the pressures of the tests.
constexpr double PRESSURE_ROUNDING = 1e-10;  // Pa

TEST(StandardConditions, StartAtSixtyFahrenheitAndOneAtmosphere) {
    const StandardConditions& now = standard_conditions();
    EXPECT_EQ(now.temperature.value, (60.0 + 459.67) / 1.8);
    EXPECT_EQ(now.temperature.unit->name(), "F");
    EXPECT_EQ(now.pressure.value, 101325.0);
    EXPECT_EQ(now.pressure.unit->name(), "atm");
    EXPECT_EQ(now.standardMolarVolume, 23.690444193546618);
    EXPECT_EQ(now.standardMolarDensity, 1.0 / 23.690444193546618);
    EXPECT_EQ(gauge_zero().value, 101325.0);
    EXPECT_EQ(gauge_zero().unit->name(), "atm");
}

TEST(StandardConditions, StpMovesTheStandardCubicMetresAndNoCubicFeet) {
    const double scf = factor(UnitKind::Mole, "scf");
    const double gor = factor(UnitKind::GasOilRatio, "scf/bbl");
    Session session("STP 15 C 100 kPa\n");
    const double volume = 288.15 * 8314.472 / 1e5;
    EXPECT_DOUBLE_EQ(standard_conditions().standardMolarVolume, volume);
    EXPECT_DOUBLE_EQ(standard_conditions().standardMolarDensity, 1.0 / volume);
    EXPECT_DOUBLE_EQ(factor(UnitKind::Mole, "sm3"), volume);
    EXPECT_DOUBLE_EQ(factor(UnitKind::GasOilRatio, "sm3/m3"), volume);
    EXPECT_DOUBLE_EQ(factor(UnitKind::GasOilRatio, "sm3/cm3"), volume * 1e-6);
    EXPECT_DOUBLE_EQ(factor(UnitKind::GasOilRatio, "sm3/dm3"), volume * 1e-3);
    EXPECT_DOUBLE_EQ(factor(UnitKind::GasOilRatio, "sm3/l"), volume * 1e-3);
    EXPECT_DOUBLE_EQ(factor(UnitKind::OilGasRatio, "m3/sm3"), 1.0 / volume);
    EXPECT_DOUBLE_EQ(factor(UnitKind::OilGasRatio, "cm3/sm3"), 1e6 / volume);
    EXPECT_DOUBLE_EQ(factor(UnitKind::OilGasRatio, "dm3/sm3"), 1e3 / volume);
    EXPECT_DOUBLE_EQ(factor(UnitKind::OilGasRatio, "l/sm3"), 1e3 / volume);
    EXPECT_EQ(factor(UnitKind::Mole, "scf"), scf);
    EXPECT_EQ(factor(UnitKind::GasOilRatio, "scf/bbl"), gor);
}

TEST(StandardConditions, StpTakesItsValuesInEitherOrderOrOneOfThem) {
    {
        Session session("STP 14.73 psia F 60\n");
        EXPECT_DOUBLE_EQ(standard_conditions().temperature.value, (60.0 + 459.67) / 1.8);
        EXPECT_DOUBLE_EQ(standard_conditions().pressure.value, psia(14.73));
    }
    {
        Session session("STP 1 bar\n");
        EXPECT_EQ(standard_conditions().temperature.unit->name(), "F");
        EXPECT_DOUBLE_EQ(standard_conditions().pressure.value, 1e5);
    }
    Session session("STP 0 C\n");
    EXPECT_EQ(standard_conditions().temperature.value, 273.15);
    EXPECT_EQ(standard_conditions().pressure.value, 101325.0);
    EXPECT_EQ(session.script.counts.errors, 0);
}

TEST(StandardConditions, ValuesNotAboveZeroMeanTheDefault) {
    Session session("STP -500 F 0 bar\n");
    EXPECT_EQ(standard_conditions().temperature.value, (60.0 + 459.67) / 1.8);
    EXPECT_EQ(standard_conditions().temperature.unit->name(), "F");
    EXPECT_EQ(standard_conditions().pressure.value, 101325.0);
    EXPECT_EQ(standard_conditions().pressure.unit->name(), "atm");
    EXPECT_EQ(standard_conditions().standardMolarVolume, 23.690444193546618);
}

TEST(StandardConditions, BareStpNumbersAreErrorsTemperatureFirst) {
    Session session("STP 300 2\n");
    EXPECT_EQ(session.script.counts.errors, 2);
    EXPECT_TRUE(session.script.says("No absolute temperature units specified"));
    EXPECT_TRUE(session.script.says("units of \"K\" will be assumed."));
    EXPECT_TRUE(session.script.says("No absolute pressure units specified"));
    EXPECT_TRUE(session.script.says("units of \"bar\" will be assumed."));
    EXPECT_EQ(standard_conditions().temperature.value, 300.0);
    EXPECT_DOUBLE_EQ(standard_conditions().pressure.value, 2e5);
}

TEST(StandardConditions, OnlyTheExecutionOfStpIsNoted) {
    Session session("STP 60 F 14.7 psia\n");
    const std::string note =
        "NOTE: Standard SI volumes now measured at 60 F and 14.7 psia  ======\n";
    EXPECT_EQ(session.count("Standard SI"), 0U);
    session.pass();
    EXPECT_EQ(session.count(note), 1U) << session.script.printed();
    session.pass();
    EXPECT_EQ(session.count(note), 2U);
}

TEST(StandardConditions, EachPassSeesTheSameSequence) {
    Session session("STP 0 C\nSTP 25 C\n");
    EXPECT_EQ(standard_conditions().temperature.value, 298.15);
    for (int pass = 0; pass < 2; ++pass) {
        session.rerun();
        EXPECT_EQ(standard_conditions().temperature.value, (60.0 + 459.67) / 1.8);
        session.execute(0);
        EXPECT_EQ(standard_conditions().temperature.value, 273.15);
        session.execute(1);
        EXPECT_EQ(standard_conditions().temperature.value, 298.15);
    }
}

TEST(GaugeZero, MovesAllGaugeUnitsWithTheirTolerance) {
    Session session("GAUGE 14.7 psia\n");
    EXPECT_NEAR(psig(0.0), psia(14.7), PRESSURE_ROUNDING);
    for (const char* name : {"barg", "Pag", "kPag", "MPag", "atmg", "psig", "kg/cm2g", "torrg"}) {
        const Units& unit = unit_of(UnitKind::Pressure, name);
        EXPECT_EQ(unit.offset, -psia(14.7) * unit.factor) << name;
        EXPECT_EQ(unit.tolerance, -unit.offset * 4.440892098500626e-16) << name;
        EXPECT_EQ(unit.print(psia(14.7)), 0.0) << name;
    }
    EXPECT_EQ(psia(0.0), 0.0);
}

TEST(GaugeZero, ALaterGaugeRestoresIt) {
    Session session("GAUGE 14.7 psia\nGAUGE 1 atm\n");
    EXPECT_EQ(psig(0.0), 101325.0);
    EXPECT_EQ(unit_of(UnitKind::Pressure, "atmg").offset, -1.0);
}

TEST(GaugeZero, ChangesAreNotedInTheOneUnitChosen) {
    Session session("GAUGE 14.7 psia\nGAUGE 1 bar\n");
    const std::string first =
        "NOTE: Zero gauge pressure reset from 14.6959 psia to 14.7 psia  ======\n";
    const std::string second =
        "NOTE: Zero gauge pressure reset from 1.01353 bar to 1 bar  ======\n";
    EXPECT_EQ(session.count(first), 1U) << session.script.printed();
    EXPECT_EQ(session.count(second), 1U);
    session.rerun();
    EXPECT_EQ(session.count("Zero gauge"), 2U);
    EXPECT_EQ(gauge_zero().value, 101325.0);
    EXPECT_EQ(psig(0.0), 101325.0);
    session.execute(0);
    session.execute(1);
    EXPECT_EQ(session.count(first), 2U);
    EXPECT_EQ(session.count(second), 2U);
    EXPECT_NEAR(psig(0.0), 1e5, PRESSURE_ROUNDING);
}

TEST(GaugeZero, TheSameValueAgainIsNotNoted) {
    Session session("GAUGE 1 atm\nGAUGE 101325 Pa\n");
    EXPECT_EQ(session.count("Zero gauge"), 0U);
    EXPECT_EQ(gauge_zero().unit->name(), "Pa");
}

TEST(GaugeZero, ABareNumberIsAnErrorAndMeansBar) {
    Session session("GAUGE 2\n");
    EXPECT_EQ(session.script.counts.errors, 1);
    EXPECT_TRUE(session.script.says("No absolute pressure units specified"));
    EXPECT_DOUBLE_EQ(gauge_zero().value, 2e5);
}

TEST(GaugeZero, GaugeUnitsAreNoUnitsOfItsValue) {
    Session session("GAUGE 2 psig\n");
    EXPECT_EQ(session.script.counts.errors, 1);  // no unit: the word that is none is shown with it
    EXPECT_TRUE(session.script.says("No absolute pressure units specified"));
    EXPECT_TRUE(session.script.says("Most recent line: \"GAUGE 2 psig\"."));
}

TEST(GaugeZero, NothingGivenSetsNothing) {
    for (const char* text : {"GAUGE\n", "GAUGE psia\n"}) {
        Session session(text);
        session.pass();
        EXPECT_EQ(gauge_zero().value, 101325.0) << text;
        EXPECT_EQ(session.count("Zero gauge"), 0U) << text;
        EXPECT_EQ(session.script.counts.errors, 0) << text;
    }
}

TEST(GaugeZero, SilentFilesGetNoNote) {
    Session session("GAUGE 2 bar\n");
    session.script.console.minimumLevel = session.script.report.minimumLevel = 1;
    session.script.console.printLevel = session.script.report.printLevel = 0;
    const std::size_t before = session.count("Zero gauge");
    session.pass();
    EXPECT_EQ(session.count("Zero gauge"), before);
    EXPECT_DOUBLE_EQ(gauge_zero().value, 2e5);
}

}  // namespace
}  // namespace kestrane
