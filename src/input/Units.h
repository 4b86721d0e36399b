#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "frame/Unset.h"
#include "input/Heading.h"

namespace kestrane {

class Reader;

/// One unit: value = base * factor + offset. The no-value and undefined marks pass unchanged.
class Units : public Heading {
public:
    Units(std::vector<std::string> names, double unit_factor, double unit_offset = 0.0);
    double to_base(double value) const;
    double from_base(double base) const;  ///< exact, for calculations
    /// For output: as from_base, but forced to 0 below the tolerance.
    double print(double base) const;
    void set_offset(double unit_offset);  ///< moves the tolerance too
    const std::string& name() const { return aliases.front(); }

    double factor;
    double offset = 0.0;
    double tolerance = 0.0;  ///< |offset| * 4.440892098500626e-16
};

/// Categories of units, in their fixed order.
enum class UnitKind {
    Fraction,
    Time,
    Distance,
    Area,
    Volume,
    Mass,
    Mole,
    Temperature,
    AbsoluteTemperature,
    Pressure,
    AbsolutePressure,
    PressureGradient,
    Density,
    SpecificVolume,
    MolarDensity,
    MolarVolume,
    Viscosity,
    InterfacialTension,
    GasOilRatio,
    OilGasRatio,
    Count
};

/// A named category of units. The first unit is the default unless another was chosen.
class UnitSet {
public:
    UnitSet(std::string name, std::vector<Units*> units, const std::string& default_name = {});
    const std::string& name() const { return name_; }
    const Units* find(const std::string& word) const { return dictionary_.find(word); }
    const Units& default_unit() const { return *default_; }
    std::span<Units* const> units() const { return units_; }

private:
    std::string name_;
    std::vector<Units*> units_;
    KeyDictionary<const Units> dictionary_;
    const Units* default_;
};

/// The set of a kind. All sets are built on first use and live for the run; only GAUGE and STP
/// change units in them.
const UnitSet& unit_set(UnitKind kind);
/// The unit of that name in the set of a kind; throws LogicError if there is none.
const Units& unit_of(UnitKind kind, const std::string& name);

/// A value in base units with the unit it was given in (null if none).
struct ValueWithUnit {
    double value = UNSET;
    const Units* unit = nullptr;
};

/// Reads a number and its unit, in either order. Returns the index of the set the unit belongs to,
/// or -1 if there was neither. A number with no unit takes the default of set `preferred`, with an
/// error if that unit has a name.
int ReadValue(Reader& reader, ValueWithUnit& value, std::span<const UnitSet* const> sets,
              int preferred = 0);

inline constexpr double GAS_CONSTANT = 8314.472;  ///< Pa m3/(kmol K)
inline constexpr double GRAVITY = 9.80665;        ///< m/s2
/// Density of water that specific gravities refer to (0.999024 g/cm3), kg/m3.
inline constexpr double WATER_DENSITY = 999.024;
/// Molecular weight of air that specific gravities of gases refer to, kg/kmol.
inline constexpr double AIR_MW = 28.964;
inline constexpr double ATMOSPHERE = 101325.0;                     ///< Pa
inline constexpr double SIXTY_FAHRENHEIT = (60.0 + 459.67) / 1.8;  ///< K

/// Molar volume of an ideal gas at T (K) and P (Pa), m3/kmol.
inline constexpr double standard_molar_volume(double T, double P) {
    return T * GAS_CONSTANT / P;
}

/// Sets the factors of the units that hold standard cubic metres of gas (sm3), not those in scf.
void follow_standard_volume(double molar_volume);
/// Sets the offsets of the gauge pressure units, with their tolerances; zero in Pa.
void follow_gauge_zero(double zero);

/// Standard conditions of gas volumes (STP) and the molar volume that follows from them.
struct StandardConditions {
    ValueWithUnit temperature;    ///< K, 60 F at start
    ValueWithUnit pressure;       ///< Pa, 1 atm at start
    double standardMolarVolume;   ///< m3/kmol
    double standardMolarDensity;  ///< kmol/m3
};
const StandardConditions& standard_conditions();
/// A value not above zero means the default. Recomputes the units that depend on it.
void set_standard_conditions(ValueWithUnit temperature, ValueWithUnit pressure);

/// Zero of gauge pressures, 1 atm at start.
const ValueWithUnit& gauge_zero();
void set_gauge_zero(const ValueWithUnit& zero);

}  // namespace kestrane
