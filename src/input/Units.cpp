#include "input/Units.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <utility>

#include "frame/Errors.h"
#include "input/Reader.h"

namespace kestrane {

namespace {

bool is_mark(double value) {
    return value == UNSET || value == UNDEFINED;
}

/// Names with factors: units of this kind for one base unit.
struct Factor {
    const char* name;
    double factor;
    double offset = 0.0;
};

// The customary units are exact multiples of SI ones: inch 0.0254 m, pound 0.45359237 kg, gallon
// 231 cubic inches, barrel 42 gallons, year 365.25 days. What follows from them is formed here.
constexpr double INCH = 1.0 / 0.0254;
constexpr double FOOT = INCH / 12.0;
constexpr double YARD = FOOT / 3.0;
constexpr double MILE = FOOT / 5280.0;
constexpr double CUBIC_INCH = INCH * INCH * INCH;
constexpr double CUBIC_FOOT = FOOT * FOOT * FOOT;
constexpr double GALLON = CUBIC_INCH / 231.0;
constexpr double BARREL = GALLON / 42.0;
constexpr double ACRE = FOOT * FOOT / 43560.0;
constexpr double POUND = 1.0 / 0.45359237;
constexpr double HOUR = 1.0 / 3600.0;
constexpr double YEAR = 1.0 / (365.25 * 86400.0);
constexpr double PER_ATMOSPHERE = 1.0 / ATMOSPHERE;
constexpr double PSI = POUND / GRAVITY / INCH / INCH;
/// Gas volumes in scf stay at 60 F and 1 atm whatever the standard conditions are.
constexpr double SCF = SIXTY_FAHRENHEIT * GAS_CONSTANT / ATMOSPHERE * CUBIC_FOOT;

constexpr Factor FRACTIONS[] = {{"", 1.0}, {"%", 100.0}, {"ppm", 1e6}};
constexpr Factor TIMES[] = {
    {"d", 1.0 / 86400.0},   {"s", 1.0},          {"min", 1.0 / 60.0}, {"h", HOUR},
    {"wk", 1.0 / 604800.0}, {"mo", 12.0 * YEAR}, {"yr", YEAR},        {"a", YEAR}};
constexpr Factor DISTANCES[] = {{"m", 1.0},   {"cm", 100.0}, {"mm", 1000.0}, {"km", 0.001},
                                {"ft", FOOT}, {"in", INCH},  {"yd", YARD},   {"mi", MILE}};
constexpr Factor AREAS[] = {
    {"m2", 1.0},         {"cm2", 100.0 * 100.0}, {"mm2", 1000.0 * 1000.0}, {"km2", 0.001 * 0.001},
    {"ha", 0.0001},      {"ft2", FOOT* FOOT},    {"in2", INCH* INCH},      {"yd2", YARD* YARD},
    {"mi2", MILE* MILE}, {"acre", ACRE}};
constexpr Factor VOLUMES[] = {{"m3", 1.0},
                              {"dm3", 1000.0},
                              {"cm3", 1e6},
                              {"mm3", 1e9},
                              {"l", 1000.0},
                              {"dl", 10000.0},
                              {"ml", 1e6},
                              {"ft3", CUBIC_FOOT},
                              {"in3", CUBIC_INCH},
                              {"yd3", YARD* YARD* YARD},
                              {"gal", GALLON},
                              {"bbl", BARREL},
                              {"Mcf", CUBIC_FOOT / 1e3},
                              {"MMcf", CUBIC_FOOT / 1e6},
                              {"acre-in", ACRE* INCH},
                              {"acre-ft", ACRE* FOOT}};
constexpr Factor MASSES[] = {
    {"kg", 1.0}, {"g", 1000.0}, {"lbm", POUND}, {"t", 0.001}, {"ton", POUND / 2000.0}};
constexpr Factor MOLES[] = {{"kmol", 1.0}, {"mol", 1000.0},      {"lbmol", POUND},    {"sm3", 1.0},
                            {"scf", SCF},  {"Mscf", SCF / 1000}, {"MMscf", SCF / 1e6}};
constexpr Factor TEMPERATURES[] = {
    {"C", 1.0, -273.15}, {"K", 1.0}, {"F", 1.8, -459.67}, {"R", 1.8}};
constexpr Factor PRESSURES[] = {{"bar", 1e-5},
                                {"Pa", 1.0},
                                {"kPa", 0.001},
                                {"MPa", 1e-6},
                                {"atm", PER_ATMOSPHERE},
                                {"psia", PSI},
                                {"kg/cm2", 1e-4 / GRAVITY},
                                {"torr", 760.0 * PER_ATMOSPHERE}};
/// Gauge units with the absolute units that they count in.
constexpr std::pair<const char*, const char*> GAUGES[] = {
    {"barg", "bar"}, {"Pag", "Pa"},    {"kPag", "kPa"},       {"MPag", "MPa"},
    {"atmg", "atm"}, {"psig", "psia"}, {"kg/cm2g", "kg/cm2"}, {"torrg", "torr"}};
constexpr Factor VISCOSITIES[] = {{"cp", 1000.0},
                                  {"P", 10.0},
                                  {"Pa-s", 1.0},
                                  {"mPa-s", 1000.0},
                                  {"psi-s", PSI},
                                  {"lbm/ft-s", POUND / FOOT},
                                  {"lbm/ft-h", POUND / FOOT / HOUR}};
constexpr Factor TENSIONS[] = {{"dyn/cm", 1000.0}, {"N/m", 1.0}, {"mN/m", 1000.0}};

using Pair = std::pair<const char*, const char*>;
/// Mass or moles over volume, and turned round volume over mass or moles: the volumes that go with
/// the metric and the customary amounts.
constexpr const char* METRIC_VOLUMES[][2] = {
    {"k", "m3"}, {"", "cm3"}, {"", "l"}, {"k", "dm3"}, {"k", "l"}};
constexpr const char* CUSTOMARY_VOLUMES[] = {"ft3", "gal", "bbl", "Mcf", "MMcf"};
constexpr Pair GRADIENTS[] = {{"bar", "m"}, {"Pa", "m"},   {"kPa", "m"},  {"MPa", "m"},
                              {"atm", "m"}, {"atm", "ft"}, {"psi", "ft"}, {"kg/cm2", "m"}};
constexpr const char* RATIO_METRIC[] = {"m3", "cm3", "dm3", "l"};
constexpr const char* RATIO_CUSTOMARY[] = {"ft3", "gal", "bbl"};
constexpr const char* RATIO_GASES[] = {"scf", "Mscf", "MMscf"};

/// Units that hold standard cubic metres: the multiple of the standard molar volume, or of its
/// reciprocal, that is their factor.
struct StandardUnit {
    UnitKind kind;
    const char* name;
    double multiple;
    bool reciprocal;
};
constexpr StandardUnit STANDARD_UNITS[] = {
    {UnitKind::Mole, "sm3", 1.0, false},
    {UnitKind::GasOilRatio, "sm3/m3", 1.0, false},
    {UnitKind::GasOilRatio, "sm3/cm3", 1e-6, false},
    {UnitKind::GasOilRatio, "sm3/dm3", 0.001, false},
    {UnitKind::GasOilRatio, "sm3/l", 0.001, false},
    {UnitKind::OilGasRatio, "m3/sm3", 1.0, true},
    {UnitKind::OilGasRatio, "cm3/sm3", 1e6, true},
    {UnitKind::OilGasRatio, "dm3/sm3", 1000.0, true},
    {UnitKind::OilGasRatio, "l/sm3", 1000.0, true},
};

/// Owns all units and sets of the run.
class UnitTables {
public:
    UnitTables();
    const UnitSet& set(UnitKind kind) const { return sets_[static_cast<std::size_t>(kind)]; }

private:
    Units* make(const std::string& name, double factor, double offset = 0.0);
    std::vector<Units*> make_all(std::span<const Factor> factors);
    void add(const char* category, std::span<const Factor> factors) {
        sets_.emplace_back(category, make_all(factors));
    }
    double factor(UnitKind kind, const std::string& name) const;
    void add_pressures();
    void add_gradients();
    void add_amounts_and_volumes(const char* per_volume, const char* per_amount, UnitKind amounts,
                                 const std::string& metric, const std::string& customary);
    void add_ratios();

    std::deque<Units> units_;  ///< a deque: addresses stay
    std::vector<UnitSet> sets_;
};

Units* UnitTables::make(const std::string& name, double factor, double offset) {
    return &units_.emplace_back(std::vector<std::string>{name}, factor, offset);
}

std::vector<Units*> UnitTables::make_all(std::span<const Factor> factors) {
    std::vector<Units*> made;
    for (const Factor& each : factors) made.push_back(make(each.name, each.factor, each.offset));
    return made;
}

double UnitTables::factor(UnitKind kind, const std::string& name) const {
    const Units* unit = set(kind).find(name);
    if (!unit) throw LogicError{};
    return unit->factor;
}

UnitTables::UnitTables() {
    sets_.reserve(static_cast<std::size_t>(UnitKind::Count));
    add("fraction", FRACTIONS);
    add("time", TIMES);
    add("distance", DISTANCES);
    add("area", AREAS);
    add("volume", VOLUMES);
    add("mass", MASSES);
    add("mole", MOLES);
    const std::vector<Units*> temperatures = make_all(TEMPERATURES);
    sets_.emplace_back("temperature", temperatures);
    sets_.emplace_back("absolute temperature", temperatures, "K");
    add_pressures();
    add_gradients();
    add_amounts_and_volumes("density", "specific volume", UnitKind::Mass, "g", "lbm");
    add_amounts_and_volumes("molar density", "molar volume", UnitKind::Mole, "mol", "lbmol");
    add("viscosity", VISCOSITIES);
    add("interfacial tension", TENSIONS);
    add_ratios();
}

void UnitTables::add_pressures() {
    const std::vector<Units*> absolute = make_all(PRESSURES);
    const UnitSet absolute_set("absolute pressure", absolute);
    std::vector<Units*> all = absolute;
    for (const auto& [name, counted_in] : GAUGES) {
        const double per_pascal = absolute_set.find(counted_in)->factor;
        all.push_back(make(name, per_pascal, -ATMOSPHERE * per_pascal));
    }
    sets_.emplace_back("pressure", all);
    sets_.push_back(absolute_set);
}

void UnitTables::add_gradients() {
    std::vector<Units*> made;
    for (const auto& [pressure, distance] : GRADIENTS) {
        const std::string name = pressure;
        const double per_pascal = name == "psi" ? PSI : factor(UnitKind::AbsolutePressure, name);
        made.push_back(
            make(name + "/" + distance, per_pascal / factor(UnitKind::Distance, distance)));
    }
    sets_.emplace_back("pressure gradient", made);
}

void UnitTables::add_amounts_and_volumes(const char* per_volume, const char* per_amount,
                                         UnitKind amounts, const std::string& metric,
                                         const std::string& customary) {
    std::vector<std::pair<std::string, std::string>> pairs;
    for (const auto& [prefix, volume] : METRIC_VOLUMES) pairs.emplace_back(prefix + metric, volume);
    for (const char* volume : CUSTOMARY_VOLUMES) pairs.emplace_back(customary, volume);

    std::vector<Units*> densities;
    std::vector<Units*> volumes;
    for (const auto& [amount, volume] : pairs) {
        const double per_amount_unit = factor(amounts, amount);
        const double per_volume_unit = factor(UnitKind::Volume, volume);
        densities.push_back(make(amount + "/" + volume, per_amount_unit / per_volume_unit));
        volumes.push_back(make(volume + "/" + amount, per_volume_unit / per_amount_unit));
    }
    sets_.emplace_back(per_volume, densities);
    sets_.emplace_back(per_amount, volumes);
}

/// Moles of gas per volume of oil and the reverse. The sm3 factors are set by
/// follow_standard_volume.
void UnitTables::add_ratios() {
    std::vector<Units*> gas_oil;
    std::vector<Units*> oil_gas;
    const auto add_pair = [&](const std::string& gas, const std::string& oil) {
        const double per_gas = factor(UnitKind::Mole, gas);
        const double per_oil = factor(UnitKind::Volume, oil);
        gas_oil.push_back(make(gas + "/" + oil, per_gas / per_oil));
        oil_gas.push_back(make(oil + "/" + gas, per_oil / per_gas));
    };
    for (const char* oil : RATIO_METRIC) add_pair("sm3", oil);
    for (const char* oil : RATIO_CUSTOMARY) {
        for (const char* gas : RATIO_GASES) add_pair(gas, oil);
    }
    sets_.emplace_back("gas-oil ratio", gas_oil);
    sets_.emplace_back("oil-gas ratio", oil_gas);
}

/// The unit of that name, to change.
Units& changeable(const UnitSet& set, const std::string& name) {
    for (Units* unit : set.units()) {
        if (unit->name() == name) return *unit;
    }
    throw LogicError{};
}

void set_standard_factors(const UnitTables& tables, double molar_volume) {
    const double molar_density = 1.0 / molar_volume;
    for (const StandardUnit& each : STANDARD_UNITS) {
        changeable(tables.set(each.kind), each.name).factor =
            (each.reciprocal ? molar_density : molar_volume) * each.multiple;
    }
}

UnitTables make_unit_tables() {
    UnitTables tables;
    set_standard_factors(tables, standard_molar_volume(SIXTY_FAHRENHEIT, ATMOSPHERE));
    return tables;
}

/// Built on first use, which may be during static initialisation.
const UnitTables& unit_tables() {
    static const UnitTables tables = make_unit_tables();
    return tables;
}

}  // namespace

Units::Units(std::vector<std::string> names, double unit_factor, double unit_offset)
    : Heading(std::move(names)), factor(unit_factor) {
    set_offset(unit_offset);
}

double Units::to_base(double value) const {
    return is_mark(value) ? value : (value - offset) / factor;
}

double Units::from_base(double base) const {
    return is_mark(base) ? base : base * factor + offset;
}

double Units::print(double base) const {
    const double value = from_base(base);
    return value == 0.0 || std::abs(value) < tolerance ? 0.0 : value;  // no -0 either
}

void Units::set_offset(double unit_offset) {
    // Two units in the last place of the offset: what is left of a difference of equal numbers.
    offset = unit_offset;
    tolerance = std::abs(unit_offset) * 4.440892098500626e-16;
}

UnitSet::UnitSet(std::string name, std::vector<Units*> units, const std::string& default_name)
    : name_(std::move(name)), units_(std::move(units)), default_(nullptr) {
    if (units_.empty()) throw LogicError{};
    for (const Units* unit : units_) {
        for (const std::string& alias : unit->aliases) {
            if (!dictionary_.add(alias, unit)) throw LogicError{};
        }
    }
    default_ = default_name.empty() ? units_.front() : find(default_name);
    if (!default_) throw LogicError{};
}

const UnitSet& unit_set(UnitKind kind) {
    return unit_tables().set(kind);
}

const Units& unit_of(UnitKind kind, const std::string& name) {
    const Units* unit = unit_set(kind).find(name);
    if (!unit) throw LogicError{};
    return *unit;
}

void follow_standard_volume(double molar_volume) {
    set_standard_factors(unit_tables(), molar_volume);
}

void follow_gauge_zero(double zero) {
    const UnitSet& pressures = unit_set(UnitKind::Pressure);
    for (const auto& gauge : GAUGES) {
        Units& unit = changeable(pressures, gauge.first);
        unit.set_offset(-zero * unit.factor);
    }
}

namespace {

/// The first set that knows the word, with its unit; -1 if none does.
int find_unit(std::span<const UnitSet* const> sets, const std::string& word, const Units*& unit) {
    for (std::size_t i = 0; i < sets.size(); ++i) {
        if (const Units* found = sets[i]->find(word)) {
            unit = found;
            return static_cast<int>(i);
        }
    }
    return -1;
}

void report_missing_unit(Reader& reader, const UnitSet& set) {
    std::vector<std::string> lines{"No " + set.name() + " units specified."};
    reader.Locate(lines, 2);
    lines.push_back("To allow further input, units of \"" + set.default_unit().name() +
                    "\" will be assumed.");
    reader.Error(lines);
}

}  // namespace

int ReadValue(Reader& reader, ValueWithUnit& value, std::span<const UnitSet* const> sets,
              int preferred) {
    value = {};
    if (sets.empty()) return -1;

    double number = UNSET;
    if (reader.NextDouble(number) < 0) return -1;
    std::string word;
    int index = -1;
    const int found = reader.NextWord(word);
    if (found > 0) index = find_unit(sets, word, value.unit);
    // An empty field belongs to the next reader too.
    if (index < 0 && (found > 0 || (found == 0 && reader.flags() == 0))) reader.Unread();
    if (index >= 0 && number == UNSET) reader.NextDouble(number);
    if (index < 0) {
        if (number == UNSET) return -1;
        index = std::clamp(preferred, 0, static_cast<int>(sets.size()) - 1);
        const UnitSet& set = *sets[static_cast<std::size_t>(index)];
        value.unit = &set.default_unit();
        if (!value.unit->name().empty()) report_missing_unit(reader, set);
    }
    value.value = value.unit->to_base(number);
    return index;
}

}  // namespace kestrane
