#include "input/Units.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "frame/Errors.h"
#include "input/Script.h"

namespace kestrane {
namespace {

using testing::Script;

struct Expected {
    UnitKind kind;
    const char* name;
    double factor;
};

class UnitsFactor : public ::testing::TestWithParam<Expected> {};

// Published factors, each the double nearest to what the exact definitions give (NIST SP 811,
// appendix B: inch, pound, gallon, acre, atmosphere, torr), or a neighbour of it.
TEST_P(UnitsFactor, IsExact) {
    const Expected& expected = GetParam();
    EXPECT_EQ(unit_of(expected.kind, expected.name).factor, expected.factor) << expected.name;
}

constexpr Expected PUBLISHED[] = {
    {UnitKind::Fraction, "", 1.0},
    {UnitKind::Fraction, "%", 100.0},
    {UnitKind::Fraction, "ppm", 1e6},
    {UnitKind::Time, "s", 1.0},
    {UnitKind::Time, "min", 1.0 / 60.0},
    {UnitKind::Time, "h", 1.0 / 3600.0},
    {UnitKind::Time, "d", 1.0 / 86400.0},
    {UnitKind::Time, "wk", 1.0 / 604800.0},
    {UnitKind::Time, "mo", 3.8025705376834734e-07},
    {UnitKind::Time, "yr", 3.168808781402895e-08},
    {UnitKind::Time, "a", 3.168808781402895e-08},
    {UnitKind::Distance, "m", 1.0},
    {UnitKind::Distance, "cm", 100.0},
    {UnitKind::Distance, "mm", 1000.0},
    {UnitKind::Distance, "km", 0.001},
    {UnitKind::Distance, "in", 39.37007874015748},
    {UnitKind::Distance, "ft", 3.2808398950131235},
    {UnitKind::Distance, "yd", 1.0936132983377078},
    {UnitKind::Distance, "mi", 0.000621371192237334},
    {UnitKind::Area, "m2", 1.0},
    {UnitKind::Area, "ha", 0.0001},
    {UnitKind::Area, "acre", 0.0002471053814671654},
    {UnitKind::Volume, "m3", 1.0},
    {UnitKind::Volume, "mm3", 1e9},
    {UnitKind::Volume, "cm3", 1e6},
    {UnitKind::Volume, "ml", 1e6},
    {UnitKind::Volume, "dm3", 1000.0},
    {UnitKind::Volume, "l", 1000.0},
    {UnitKind::Volume, "dl", 10000.0},
    {UnitKind::Volume, "in3", 61023.74409473229},
    {UnitKind::Volume, "ft3", 35.31466672148859},
    {UnitKind::Volume, "yd3", 1.3079506193143924},
    {UnitKind::Volume, "Mcf", 0.03531466672148859},
    {UnitKind::Volume, "MMcf", 3.531466672148859e-05},
    {UnitKind::Volume, "gal", 264.17205235814845},
    {UnitKind::Volume, "bbl", 6.289810770432106},
    {UnitKind::Volume, "acre-in", 0.009728558325478953},
    {UnitKind::Volume, "acre-ft", 0.0008107131937899126},
    {UnitKind::Mass, "kg", 1.0},
    {UnitKind::Mass, "g", 1000.0},
    {UnitKind::Mass, "lbm", 2.2046226218487757},
    {UnitKind::Mass, "t", 0.001},
    {UnitKind::Mass, "ton", 0.001102311310924388},
    {UnitKind::Mole, "kmol", 1.0},
    {UnitKind::Mole, "mol", 1000.0},
    {UnitKind::Mole, "lbmol", 2.2046226218487757},
    {UnitKind::Mole, "sm3", 23.690444193546618},
    {UnitKind::Temperature, "K", 1.0},
    {UnitKind::Temperature, "C", 1.0},
    {UnitKind::Temperature, "F", 1.8},
    {UnitKind::Temperature, "R", 1.8},
    {UnitKind::Pressure, "Pa", 1.0},
    {UnitKind::Pressure, "kPa", 0.001},
    {UnitKind::Pressure, "MPa", 1e-06},
    {UnitKind::Pressure, "bar", 1e-05},
    {UnitKind::Pressure, "atm", 9.869232667160129e-06},
    {UnitKind::Pressure, "psia", 0.00014503773773020918},
    {UnitKind::Pressure, "kg/cm2", 1.0197162129779284e-05},
    {UnitKind::Pressure, "torr", 0.007500616827041698},
    {UnitKind::Pressure, "psig", 0.00014503773773020918},
    {UnitKind::Pressure, "torrg", 0.007500616827041698},
    {UnitKind::PressureGradient, "atm/ft", 3.008142116950407e-06},
    {UnitKind::PressureGradient, "psi/ft", 4.420750246016776e-05},
    {UnitKind::PressureGradient, "kg/cm2/m", 1.0197162129779284e-05},
    {UnitKind::Viscosity, "Pa-s", 1.0},
    {UnitKind::Viscosity, "mPa-s", 1000.0},
    {UnitKind::Viscosity, "cp", 1000.0},
    {UnitKind::Viscosity, "P", 10.0},
    {UnitKind::Viscosity, "psi-s", 0.00014503773773020918},
    {UnitKind::Viscosity, "lbm/ft-s", 0.6719689751395068},
    {UnitKind::Viscosity, "lbm/ft-h", 2419.0883105022244},
    {UnitKind::InterfacialTension, "N/m", 1.0},
    {UnitKind::InterfacialTension, "dyn/cm", 1000.0},
    {UnitKind::InterfacialTension, "mN/m", 1000.0},
};
INSTANTIATE_TEST_SUITE_P(Published, UnitsFactor, ::testing::ValuesIn(PUBLISHED));

/// Two factors that are the same number but for the rounding of a few operations.
void expect_close(double actual, double expected) {
    EXPECT_NEAR(actual, expected, 8 * std::numeric_limits<double>::epsilon() * std::abs(expected));
}

TEST(Units, AreasAreTheSquaresOfDistances) {
    for (const char* distance : {"m", "cm", "mm", "km", "ft", "in", "yd", "mi"}) {
        const double factor = unit_of(UnitKind::Distance, distance).factor;
        expect_close(unit_of(UnitKind::Area, std::string(distance) + "2").factor, factor * factor);
    }
}

TEST(Units, RatiosAreQuotientsOfTheirParts) {
    struct Quotients {
        UnitKind kind, over, under;
    };
    constexpr Quotients QUOTIENTS[] = {
        {UnitKind::Density, UnitKind::Mass, UnitKind::Volume},
        {UnitKind::SpecificVolume, UnitKind::Volume, UnitKind::Mass},
        {UnitKind::MolarDensity, UnitKind::Mole, UnitKind::Volume},
        {UnitKind::MolarVolume, UnitKind::Volume, UnitKind::Mole},
        {UnitKind::GasOilRatio, UnitKind::Mole, UnitKind::Volume},
        {UnitKind::OilGasRatio, UnitKind::Volume, UnitKind::Mole},
    };
    for (const Quotients& each : QUOTIENTS) {
        for (const Units* unit : unit_set(each.kind).units()) {
            const std::size_t slash = unit->name().find('/');
            const Units& over = unit_of(each.over, unit->name().substr(0, slash));
            const Units& under = unit_of(each.under, unit->name().substr(slash + 1));
            expect_close(unit->factor, over.factor / under.factor);
        }
    }
}

// Water of 1000 kg/m3 in customary units; the molar volume of an ideal gas from the gas constant
// 10.7316 psia ft3/(lbmol R), whose sixth digit limits the comparison.
TEST(Units, CustomaryValuesAreTheKnownOnes) {
    EXPECT_NEAR(unit_of(UnitKind::Density, "lbm/ft3").from_base(1000.0), 62.42796, 5e-6);
    EXPECT_NEAR(unit_of(UnitKind::Density, "lbm/gal").from_base(1000.0), 8.345404, 5e-7);
    EXPECT_NEAR(unit_of(UnitKind::Density, "lbm/bbl").from_base(1000.0), 350.50699, 5e-5);
    EXPECT_NEAR(unit_of(UnitKind::Mole, "scf").factor / unit_of(UnitKind::Mole, "lbmol").factor,
                10.7316 * 519.67 / 14.695949, 2e-3);
    // 1 sm3/m3 is 5.6146 scf/bbl: the cubic feet in a barrel.
    const double one = unit_of(UnitKind::GasOilRatio, "sm3/m3").to_base(1.0);
    EXPECT_NEAR(unit_of(UnitKind::GasOilRatio, "scf/bbl").from_base(one), 5.614583, 1e-6);
    EXPECT_NEAR(unit_of(UnitKind::OilGasRatio, "bbl/MMscf")
                    .from_base(unit_of(UnitKind::OilGasRatio, "m3/sm3").to_base(1.0)),
                1e6 / 5.614583, 0.05);
    EXPECT_NEAR(unit_of(UnitKind::PressureGradient, "psi/ft").from_base(1000.0 * GRAVITY), 0.433528,
                1e-6);
}

TEST(Units, OffsetsBelongToTemperaturesAndGaugePressures) {
    EXPECT_EQ(unit_of(UnitKind::Temperature, "C").offset, -273.15);
    EXPECT_EQ(unit_of(UnitKind::Temperature, "F").offset, -459.67);
    EXPECT_EQ(unit_of(UnitKind::Temperature, "R").offset, 0.0);
    EXPECT_EQ(unit_of(UnitKind::Temperature, "F").to_base(200.0), 366.48333333333335);
    for (const char* name : {"barg", "Pag", "kPag", "MPag", "atmg", "psig", "kg/cm2g", "torrg"}) {
        const Units& unit = unit_of(UnitKind::Pressure, name);
        const std::string absolute =
            std::string(name) == "psig" ? "psia" : std::string(name, std::string(name).size() - 1);
        EXPECT_EQ(unit.factor, unit_of(UnitKind::AbsolutePressure, absolute).factor) << name;
        EXPECT_EQ(unit.offset, -101325.0 * unit.factor) << name;
        EXPECT_EQ(unit.tolerance, std::abs(unit.offset) * 4.440892098500626e-16) << name;
        EXPECT_EQ(unit_set(UnitKind::AbsolutePressure).find(name), nullptr) << name;
    }
}

TEST(Units, EveryUnitConvertsThereAndBack) {
    for (int kind = 0; kind < static_cast<int>(UnitKind::Count); ++kind) {
        for (const Units* unit : unit_set(static_cast<UnitKind>(kind)).units()) {
            for (const double value : {0.0, 1.0, -3.5, 1234.5}) {
                // The offset's last place is what a round trip can lose.
                EXPECT_NEAR(unit->from_base(unit->to_base(value)), value,
                            4e-16 * (std::abs(value) + std::abs(unit->offset)))
                    << unit->name();
            }
        }
    }
}

TEST(Units, MarksPassThroughConversions) {
    for (const char* name : {"K", "C", "F"}) {
        const Units& unit = unit_of(UnitKind::Temperature, name);
        for (const double mark : {UNSET, UNDEFINED}) {
            EXPECT_EQ(unit.to_base(mark), mark);
            EXPECT_EQ(unit.from_base(mark), mark);
            EXPECT_EQ(unit.print(mark), mark);
        }
    }
}

TEST(Units, WhatIsLeftOfADifferenceOfEqualNumbersPrintsAsZero) {
    EXPECT_EQ(unit_of(UnitKind::Temperature, "C").print(273.15), 0.0);
    const Units& fahrenheit = unit_of(UnitKind::Temperature, "F");
    const double next = std::nextafter(fahrenheit.to_base(0.0), 1e9);
    EXPECT_NE(fahrenheit.from_base(next), 0.0);
    EXPECT_EQ(fahrenheit.print(next), 0.0);
    EXPECT_NE(fahrenheit.print(fahrenheit.to_base(1e-9)), 0.0);
    EXPECT_EQ(unit_of(UnitKind::Pressure, "psig").print(101325.0), 0.0);
    EXPECT_FALSE(std::signbit(unit_of(UnitKind::Pressure, "bar").print(-0.0)));
}

TEST(Units, NamesAreMatchedWithoutRegardToCase) {
    EXPECT_EQ(unit_set(UnitKind::Pressure).find("PSIA"), &unit_of(UnitKind::Pressure, "psia"));
    EXPECT_EQ(unit_set(UnitKind::Temperature).find("c"), &unit_of(UnitKind::Temperature, "C"));
    EXPECT_EQ(unit_set(UnitKind::Temperature).find("k"), &unit_of(UnitKind::Temperature, "K"));
    EXPECT_EQ(unit_set(UnitKind::Pressure).find("psi"), nullptr);
    EXPECT_EQ(unit_set(UnitKind::Pressure).find(""), nullptr);
    EXPECT_THROW(unit_of(UnitKind::Pressure, "F"), LogicError);
}

std::string listing(UnitKind kind) {
    const UnitSet& set = unit_set(kind);
    std::string text = set.name() + " [" + set.default_unit().name() + "]:";
    for (const Units* unit : set.units()) text += " " + unit->name();
    return text;
}

TEST(UnitSet, ListsItsUnitsInOrderWithItsDefault) {
    EXPECT_EQ(listing(UnitKind::Fraction), "fraction []:  % ppm");
    EXPECT_EQ(listing(UnitKind::Time), "time [d]: d s min h wk mo yr a");
    EXPECT_EQ(listing(UnitKind::Distance), "distance [m]: m cm mm km ft in yd mi");
    EXPECT_EQ(listing(UnitKind::Area), "area [m2]: m2 cm2 mm2 km2 ha ft2 in2 yd2 mi2 acre");
    EXPECT_EQ(listing(UnitKind::Volume),
              "volume [m3]: m3 dm3 cm3 mm3 l dl ml ft3 in3 yd3 gal bbl Mcf MMcf acre-in acre-ft");
    EXPECT_EQ(listing(UnitKind::Mass), "mass [kg]: kg g lbm t ton");
    EXPECT_EQ(listing(UnitKind::Mole), "mole [kmol]: kmol mol lbmol sm3 scf Mscf MMscf");
    EXPECT_EQ(listing(UnitKind::Temperature), "temperature [C]: C K F R");
    EXPECT_EQ(listing(UnitKind::AbsoluteTemperature), "absolute temperature [K]: C K F R");
    EXPECT_EQ(listing(UnitKind::Pressure),
              "pressure [bar]: bar Pa kPa MPa atm psia kg/cm2 torr barg Pag kPag MPag atmg psig "
              "kg/cm2g torrg");
    EXPECT_EQ(listing(UnitKind::AbsolutePressure),
              "absolute pressure [bar]: bar Pa kPa MPa atm psia kg/cm2 torr");
    EXPECT_EQ(listing(UnitKind::PressureGradient),
              "pressure gradient [bar/m]: bar/m Pa/m kPa/m MPa/m atm/m atm/ft psi/ft kg/cm2/m");
    EXPECT_EQ(listing(UnitKind::Density),
              "density [kg/m3]: kg/m3 g/cm3 g/l kg/dm3 kg/l lbm/ft3 lbm/gal lbm/bbl lbm/Mcf "
              "lbm/MMcf");
    EXPECT_EQ(listing(UnitKind::SpecificVolume),
              "specific volume [m3/kg]: m3/kg cm3/g l/g dm3/kg l/kg ft3/lbm gal/lbm bbl/lbm "
              "Mcf/lbm MMcf/lbm");
    EXPECT_EQ(listing(UnitKind::MolarDensity),
              "molar density [kmol/m3]: kmol/m3 mol/cm3 mol/l kmol/dm3 kmol/l lbmol/ft3 lbmol/gal "
              "lbmol/bbl lbmol/Mcf lbmol/MMcf");
    EXPECT_EQ(listing(UnitKind::MolarVolume),
              "molar volume [m3/kmol]: m3/kmol cm3/mol l/mol dm3/kmol l/kmol ft3/lbmol gal/lbmol "
              "bbl/lbmol Mcf/lbmol MMcf/lbmol");
    EXPECT_EQ(listing(UnitKind::Viscosity),
              "viscosity [cp]: cp P Pa-s mPa-s psi-s lbm/ft-s lbm/ft-h");
    EXPECT_EQ(listing(UnitKind::InterfacialTension),
              "interfacial tension [dyn/cm]: dyn/cm N/m mN/m");
    EXPECT_EQ(listing(UnitKind::GasOilRatio),
              "gas-oil ratio [sm3/m3]: sm3/m3 sm3/cm3 sm3/dm3 sm3/l scf/ft3 Mscf/ft3 MMscf/ft3 "
              "scf/gal Mscf/gal MMscf/gal scf/bbl Mscf/bbl MMscf/bbl");
    EXPECT_EQ(listing(UnitKind::OilGasRatio),
              "oil-gas ratio [m3/sm3]: m3/sm3 cm3/sm3 dm3/sm3 l/sm3 ft3/scf ft3/Mscf ft3/MMscf "
              "gal/scf gal/Mscf gal/MMscf bbl/scf bbl/Mscf bbl/MMscf");
}

TEST(UnitSet, RejectsNamesThatCollideAndUnknownDefaults) {
    Units bar({"bar"}, 1e-5);
    Units shout({"BAR"}, 1.0);
    EXPECT_THROW(UnitSet("pressure", {&bar, &shout}), LogicError);
    EXPECT_THROW(UnitSet("pressure", {&bar}, "psia"), LogicError);
    EXPECT_THROW(UnitSet("pressure", {}), LogicError);
}

// ---------------------------------------------------------------- reading values

constexpr double MISSED = -12345.0;

/// What ReadValue makes of a line, with the sets of a temperature and a pressure.
struct Reading {
    explicit Reading(const std::string& text, int preferred = 0) : script(text) {
        const UnitSet* const sets[] = {&unit_set(UnitKind::Temperature),
                                       &unit_set(UnitKind::Pressure)};
        index = ReadValue(script.reader, value, sets, preferred);
    }
    Script script;
    ValueWithUnit value{MISSED, nullptr};
    int index = -2;
};

TEST(ReadValue, TakesTheUnitBeforeOrAfterTheNumber) {
    for (const char* text : {"200 F next", "F 200 next", "200,F next", "f = 200 next"}) {
        Reading reading(text);
        EXPECT_EQ(reading.index, 0) << text;
        EXPECT_EQ(reading.value.value, 366.48333333333335) << text;
        EXPECT_EQ(reading.value.unit, &unit_of(UnitKind::Temperature, "F")) << text;
        EXPECT_EQ(reading.script.word(), "next") << text;
        EXPECT_EQ(reading.script.counts.errors, 0) << text;
    }
}

TEST(ReadValue, TellsTheSetByTheUnit) {
    Reading reading("100 kPa");
    EXPECT_EQ(reading.index, 1);
    EXPECT_EQ(reading.value.value, 1e5);
}

TEST(ReadValue, ABareNumberTakesThePreferredDefaultWithAnError) {
    Reading reading("  PRES 100 FLASH");
    // The word in front is none of a value's; it is given back.
    EXPECT_EQ(reading.index, -1);
    EXPECT_EQ(reading.value.value, UNSET);
    EXPECT_EQ(reading.script.word(), "PRES");

    const UnitSet* const sets[] = {&unit_set(UnitKind::Pressure)};
    EXPECT_EQ(ReadValue(reading.script.reader, reading.value, sets), 0);
    EXPECT_EQ(reading.value.value, 1e7);
    EXPECT_EQ(reading.value.unit->name(), "bar");
    EXPECT_EQ(reading.script.counts.errors, 1);
    EXPECT_TRUE(
        reading.script.says("######  ERROR: No pressure units specified  ######\n"
                            "Problem detected at column 8 of line 1 of the standard input.\n"
                            "Most recent line: \"  PRES 100 FLASH\".\n"
                            "To allow further input, units of \"bar\" will be assumed.\n"))
        << reading.script.printed();
    EXPECT_EQ(reading.script.word(), "FLASH");
}

TEST(ReadValue, ThePreferredSetIsClampedToTheList) {
    EXPECT_EQ(Reading("5", 1).value.unit->name(), "bar");
    EXPECT_EQ(Reading("5", 7).value.unit->name(), "bar");
    EXPECT_EQ(Reading("5", -3).value.unit->name(), "C");
}

TEST(ReadValue, ABareFractionIsLegal) {
    Script script("0.25 50 % 300 ppm");
    const UnitSet* const sets[] = {&unit_set(UnitKind::Fraction)};
    ValueWithUnit value;
    for (const double expected : {0.25, 0.5, 300e-6}) {
        EXPECT_EQ(ReadValue(script.reader, value, sets), 0);
        EXPECT_DOUBLE_EQ(value.value, expected);
    }
    EXPECT_EQ(ReadValue(script.reader, value, sets), -1);
    EXPECT_EQ(script.counts.errors, 0);
}

TEST(ReadValue, AUnitWithoutANumberSetsNothing) {
    Reading reading("F FLASH");
    EXPECT_EQ(reading.index, 0);
    EXPECT_EQ(reading.value.value, UNSET);
    EXPECT_EQ(reading.script.word(), "FLASH");
    EXPECT_EQ(reading.script.counts.errors, 0);
}

TEST(ReadValue, EmptyFieldsStayForTheNextReader) {
    Reading reading(", 5 bar");
    EXPECT_EQ(reading.index, -1);
    EXPECT_EQ(reading.value.value, UNSET);
    EXPECT_EQ(reading.script.number(), 5.0);

    Script fractions("0.5,,7");
    const UnitSet* const sets[] = {&unit_set(UnitKind::Fraction)};
    ValueWithUnit value;
    EXPECT_EQ(ReadValue(fractions.reader, value, sets), 0);
    EXPECT_EQ(fractions.number(), -99.0);  // the empty field
    EXPECT_EQ(fractions.number(), 7.0);
}

TEST(ReadValue, KeepsToItsLine) {
    Script script("200\nF");
    const LineLimitScope one(script.reader, 1);
    const UnitSet* const sets[] = {&unit_set(UnitKind::Temperature)};
    ValueWithUnit value;
    EXPECT_EQ(ReadValue(script.reader, value, sets), 0);
    EXPECT_EQ(value.unit->name(), "C");
    EXPECT_TRUE(script.says("ERROR: No temperature units specified"));
}

TEST(ReadValue, NothingThere) {
    EXPECT_EQ(Reading("").index, -1);
    EXPECT_EQ(Reading("word").index, -1);
    EXPECT_EQ(Reading("200F").index, -1);  // one word, no number
    Script script("5 bar");
    ValueWithUnit value{1.0, &unit_of(UnitKind::Pressure, "bar")};
    EXPECT_EQ(ReadValue(script.reader, value, {}), -1);
    EXPECT_EQ(value.value, UNSET);
    EXPECT_EQ(value.unit, nullptr);
}

}  // namespace
}  // namespace kestrane
