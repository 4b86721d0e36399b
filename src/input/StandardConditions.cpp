#include <sstream>
#include <string>

#include "input/Reader.h"
#include "input/Units.h"
#include "input/UserCmd.h"

namespace kestrane {

namespace {

ValueWithUnit sixty_fahrenheit() {
    return {SIXTY_FAHRENHEIT, &unit_of(UnitKind::Temperature, "F")};
}

ValueWithUnit one_atmosphere() {
    return {ATMOSPHERE, &unit_of(UnitKind::AbsolutePressure, "atm")};
}

StandardConditions make_conditions(const ValueWithUnit& temperature,
                                   const ValueWithUnit& pressure) {
    const double molar_volume = standard_molar_volume(temperature.value, pressure.value);
    return {temperature, pressure, molar_volume, 1.0 / molar_volume};
}

StandardConditions& conditions() {
    static StandardConditions current = make_conditions(sixty_fahrenheit(), one_atmosphere());
    return current;
}

ValueWithUnit& zero_of_gauges() {
    static ValueWithUnit zero = one_atmosphere();
    return zero;
}

}  // namespace

const StandardConditions& standard_conditions() {
    return conditions();
}

void set_standard_conditions(ValueWithUnit temperature, ValueWithUnit pressure) {
    if (!(temperature.value > 0.0)) temperature = sixty_fahrenheit();
    if (!(pressure.value > 0.0)) pressure = one_atmosphere();
    if (!temperature.unit) temperature.unit = sixty_fahrenheit().unit;
    if (!pressure.unit) pressure.unit = one_atmosphere().unit;
    conditions() = make_conditions(temperature, pressure);
    follow_standard_volume(conditions().standardMolarVolume);
}

const ValueWithUnit& gauge_zero() {
    return zero_of_gauges();
}

void set_gauge_zero(const ValueWithUnit& zero) {
    if (zero.value == UNSET || zero.value == UNDEFINED) return;
    ValueWithUnit& current = zero_of_gauges();
    if (zero.unit) current.unit = zero.unit;
    if (zero.value == current.value) return;
    current.value = zero.value;
    follow_gauge_zero(zero.value);
}

/// Zero of gauge pressures, absolute, Pa.
struct Gauge_Data {
    ValueWithUnit zero;
};

/// Standard conditions as given; what is not given is left to the default.
struct Stp_Data {
    ValueWithUnit temperature;  ///< K
    ValueWithUnit pressure;     ///< Pa
};

using Gauge_Cmd = UserCmd<Key_User, Gauge_Data>;
using Stp_Cmd = UserCmd<Key_User, Stp_Data>;

namespace {

void apply_gauge_zero(Writer& writer, const ValueWithUnit& zero) {
    if (zero.value == UNSET) return;
    const double old = gauge_zero().value;
    set_gauge_zero(zero);
    if (zero.value == old || !writer.active()) return;
    const Units& unit = *gauge_zero().unit;
    std::ostringstream text;
    text << "Zero gauge pressure reset from " << unit.print(old) << ' ' << unit.name() << " to "
         << unit.print(zero.value) << ' ' << unit.name() << '.';
    writer.Note({text.str()});
}

}  // namespace

template <>
void Gauge_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    const UnitSet* const sets[] = {&unit_set(UnitKind::AbsolutePressure)};
    ReadValue(reader, zero, sets);
    apply_gauge_zero(reader, zero);
}

template <>
void Gauge_Cmd::Rerun(Reader&) {
    set_gauge_zero(one_atmosphere());
}

template <>
void Gauge_Cmd::Execute(Reader& reader) {
    apply_gauge_zero(reader, zero);
}

template <>
void Stp_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    const UnitSet* const sets[] = {&unit_set(UnitKind::AbsoluteTemperature),
                                   &unit_set(UnitKind::AbsolutePressure)};
    for (int i = 0; i < 2; ++i) {
        ValueWithUnit value;
        // A number with no unit is taken for what is not given yet, the temperature first.
        const int kind = ReadValue(reader, value, sets, temperature.value == UNSET ? 0 : 1);
        if (kind < 0 || value.value == UNSET) continue;
        (kind == 0 ? temperature : pressure) = value;
    }
    set_standard_conditions(temperature, pressure);
}

template <>
void Stp_Cmd::Rerun(Reader&) {
    set_standard_conditions({}, {});
}

template <>
void Stp_Cmd::Execute(Reader& reader) {
    set_standard_conditions(temperature, pressure);
    const StandardConditions& now = standard_conditions();
    std::ostringstream text;
    text << "Standard SI volumes now measured at "
         << now.temperature.unit->print(now.temperature.value) << ' '
         << now.temperature.unit->name() << " and " << now.pressure.unit->print(now.pressure.value)
         << ' ' << now.pressure.unit->name() << '.';
    reader.Note({text.str()});
}

namespace {

const UserKey<Key_User, Gauge_Data> gauge_key{"GAUGE"};
const UserKey<Key_User, Stp_Data> stp_key{"STP"};

}  // namespace

}  // namespace kestrane
