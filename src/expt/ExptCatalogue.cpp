#include "expt/ExptCatalogue.h"

#include <optional>

namespace kestrane {

namespace {

using Data = ExptData;
using Field = double ExptData::*;
using Text = std::string ExptData::*;
using Names = std::vector<std::string>;
using Kind = std::optional<UnitKind>;

constexpr Kind NO_UNIT = std::nullopt;
constexpr PrintFigures DEPTH_FIGURES{4, 8, 6};
constexpr PrintFigures WEIGHT_FIGURES{2, 6, 3};

const UnitSet* units_of(Kind kind) {
    return kind ? &unit_set(*kind) : nullptr;
}

/// A quantity before and after removal, with a plain head for one of the two.
struct Pair {
    Names titles;  ///< long name, short name if there is one
    Names keys;    ///< of the plain head; those without a wildcard take a digit for the others
    Kind kind;
    Field before, after;
    const char* numbered_short = nullptr;  ///< short name of the numbered heads if not the plain's
    const char* after_title = nullptr;     ///< long name of the "2" head where it is an odd one
};

Names numbered_titles(const Pair& pair, char digit) {
    const bool after = digit == '2';
    Names titles{pair.titles.front() + (after ? ", After Removal" : ", Before Removal")};
    if (after && pair.after_title) titles.front() = pair.after_title;
    if (pair.numbered_short)
        titles.push_back(std::string(pair.numbered_short) + ' ' + digit);
    else if (pair.titles.size() > 1)
        titles.push_back(pair.titles[1] + ' ' + digit);
    return titles;
}

Names numbered_keys(const Names& plain, char digit) {
    Names keys;
    for (const std::string& key : plain)
        if (!key.ends_with('&')) keys.push_back(key + digit);
    return keys;
}

/// Adds heads to a catalogue, and to one of its lists.
class Builder {
public:
    explicit Builder(ExptCatalogue& catalogue) : catalogue_(catalogue) {}

    template <class T>
    const AnyColHead* add(T ExptData::*field, Names titles, Names keys, Kind kind, int tag,
                          PrintFigures figures = {}) {
        catalogue_.owned.push_back(std::make_unique<ExptCol<T>>(
            field, std::move(titles), std::move(keys), units_of(kind), tag, figures));
        return catalogue_.owned.back().get();
    }
    void result(Field field, Names titles, Names keys, Kind kind) {
        catalogue_.results.push_back(
            add(field, std::move(titles), std::move(keys), kind, TAG_RESULT));
    }
    /// A stage saturation quantity: the plain head means before removal.
    void saturation(const Pair& pair) { three(pair, pair.before, TAG_PRIMARY); }
    /// Results whose plain head means before removal.
    void plain_before(const Pair& pair) { three(pair, pair.before, TAG_RESULT); }
    /// Results whose plain head means after removal.
    void plain_after(const Pair& pair) { three(pair, pair.after, TAG_RESULT); }

private:
    void three(const Pair& pair, Field plain, int tag) {
        auto& list = catalogue_.results;
        list.push_back(add(plain, pair.titles, pair.keys, pair.kind, tag));
        list.push_back(add(pair.before, numbered_titles(pair, '1'), numbered_keys(pair.keys, '1'),
                           pair.kind, tag));
        list.push_back(add(pair.after, numbered_titles(pair, '2'), numbered_keys(pair.keys, '2'),
                           pair.kind, TAG_RESULT));
    }

    ExptCatalogue& catalogue_;
};

void add_stage_data(Builder& to, ExptCatalogue& list) {
    const Names temperature{"Temperature", "Temp"}, temperature_keys{"TEMP&", "T"};
    const Names pressure{"Pressure", "Pres"}, pressure_keys{"PRES&", "P"};
    const Names injected{"Amount Injected", "Injected"};
    const auto set = [&](Field field, const Names& titles, Names keys, Kind kind) {
        return to.add(field, titles, std::move(keys), kind, TAG_SET);
    };
    const auto inject = [&](Field field, const Names& titles, Names keys, UnitKind kind) {
        list.injected.push_back(set(field, titles, std::move(keys), kind));
    };
    list.stage = to.add(&Data::stage, {"Stage", "Stg"}, {"STG", "STAG&"}, NO_UNIT, TAG_STAGE);
    list.set_temperature =
        set(&Data::temperature, temperature, temperature_keys, UnitKind::Temperature);
    list.set_pressure = set(&Data::pressure, pressure, pressure_keys, UnitKind::Pressure);
    list.depth = to.add(&Data::depth, {"Depth"}, {"DEPTH", "DPTH"}, UnitKind::Distance, TAG_SET,
                        DEPTH_FIGURES);
    inject(&Data::inj_moles, injected, {"MI", "MIN", "MINJ", "MINJE&"}, UnitKind::Mole);
    inject(&Data::inj_moles_per_volume, injected, {"MI/V&", "MIN/V&", "MINJ/V&"},
           UnitKind::GasOilRatio);
    inject(&Data::inj_mass, injected, {"WI", "WIN", "WINJ", "WINJE&"}, UnitKind::Mass);
    inject(&Data::inj_mass_per_volume, injected, {"WI/V&", "WIN/V&", "WINJ/V&"}, UnitKind::Density);
    inject(&Data::inj_relative_moles, {"Relative Moles Injected", "Rel Moles Inj"},
           {"RMI&", "MI/M&", "MIN/M&", "MINJ/M&"}, UnitKind::Fraction);
    inject(&Data::inj_relative_mass, {"Relative Mass Injected", "Rel Mass Inj"},
           {"RWI&", "WI/W&", "WIN/W&", "WINJ/W&"}, UnitKind::Fraction);

    list.temperature = to.add(&Data::temperature, temperature, temperature_keys,
                              UnitKind::Temperature, TAG_PRIMARY);
    list.pressure =
        to.add(&Data::pressure, pressure, pressure_keys, UnitKind::Pressure, TAG_PRIMARY);
}

void add_saturations(Builder& to) {
    constexpr UnitKind P = UnitKind::Pressure;
    constexpr UnitKind T = UnitKind::Temperature;
    to.saturation({{"Saturation Pressure", "Sat Pres"},
                   {"SATP", "SATPRES", "PSAT", "BUBP", "BUBPRES", "PBUB"},
                   P,
                   &Data::sat_pressure_1,
                   &Data::sat_pressure_2});
    to.saturation({{"Dew Point Pressure", "Dew Pres"},
                   {"DEWP", "DEWPRES", "PDEW"},
                   P,
                   &Data::dew_pressure_1,
                   &Data::dew_pressure_2});
    to.saturation({{"Vapor Pressure", "Vap Pres"},
                   {"VAPP", "VAPPRES", "PVAP"},
                   P,
                   &Data::vapor_pressure_1,
                   &Data::vapor_pressure_2});
    to.saturation({{"Convergence Pressure", "Con Pres"},
                   {"CONP", "CONPRES", "PCON"},
                   P,
                   &Data::con_pressure_1,
                   &Data::con_pressure_2});
    to.saturation({{"Saturation Temperature", "Sat Temp"},
                   {"SATT", "SATTEMP", "TSAT", "DEWT", "DEWTEMP", "TDEW"},
                   T,
                   &Data::sat_temperature_1,
                   &Data::sat_temperature_2});
    to.saturation({{"Bubble Point Temperature", "Bub Temp"},
                   {"BUBT", "BUBTEMP", "TBUB"},
                   T,
                   &Data::bub_temperature_1,
                   &Data::bub_temperature_2});
    to.saturation({{"Vapor Temperature", "Vap Temp"},
                   {"VAPT", "VAPTEMP", "TVAP"},
                   T,
                   &Data::vapor_temperature_1,
                   &Data::vapor_temperature_2});
    to.saturation({{"Convergence Temperature", "Con Temp"},
                   {"CONT", "CONTEMP", "TCON"},
                   T,
                   &Data::con_temperature_1,
                   &Data::con_temperature_2});
}

void add_ratios(Builder& to) {
    constexpr UnitKind GOR = UnitKind::GasOilRatio;
    constexpr UnitKind OGR = UnitKind::OilGasRatio;
    to.plain_before({{"Instantaneous GOR", "GOR"}, {"GOR"}, GOR, &Data::gor_1, &Data::gor_2});
    to.plain_before({{"Instantaneous OGR", "OGR"}, {"OGR"}, OGR, &Data::ogr_1, &Data::ogr_2});
    to.plain_before({{"Cumulative GOR", "Cum GOR"},
                     {"CGOR", "GORC", "CUMGOR", "GORCUM"},
                     GOR,
                     &Data::cum_gor_1,
                     &Data::cum_gor_2});
    to.plain_before({{"Cumulative OGR", "Cum OGR"},
                     {"COGR", "OGRC", "CUMOGR", "OGRCUM"},
                     OGR,
                     &Data::cum_ogr_1,
                     &Data::cum_ogr_2});
}

void add_moles(Builder& to) {
    constexpr UnitKind N = UnitKind::Mole;
    constexpr UnitKind RATIO = UnitKind::Fraction;
    // The odd names of the GM2, GW2 and MW2 heads stand in customers' reports.
    to.plain_after(
        {{"Amount"}, {"M", "MOL", "MOLE&"}, N, &Data::moles_1, &Data::moles_2, "Tot Amt"});
    to.plain_after({{"Gas Amount", "Gas Amt"},
                    {"GM", "GMOL", "GMOLE&"},
                    N,
                    &Data::gas_moles_1,
                    &Data::gas_moles_2,
                    nullptr,
                    "Gas Relative Moles, After Removal"});
    to.plain_after({{"Liquid Amount", "Liq Amt"},
                    {"LM", "LMOL", "LMOLE&"},
                    N,
                    &Data::liquid_moles_1,
                    &Data::liquid_moles_2});
    to.plain_after({{"Relative Moles", "Rel Moles"},
                    {"RM", "RMOL", "RMOLE&"},
                    RATIO,
                    &Data::relative_moles_1,
                    &Data::relative_moles_2});
    to.plain_after({{"Gas Relative Moles", "Gas Rel Moles"},
                    {"GRM", "GRMOL", "GRMOLE&"},
                    RATIO,
                    &Data::gas_relative_moles_1,
                    &Data::gas_relative_moles_2});
    to.plain_after({{"Liquid Relative Moles", "Liq Rel Moles"},
                    {"LRM", "LRMOL", "LRMOLE&"},
                    RATIO,
                    &Data::liquid_relative_moles_1,
                    &Data::liquid_relative_moles_2});
}

void add_masses(Builder& to) {
    constexpr UnitKind W = UnitKind::Mass;
    constexpr UnitKind RATIO = UnitKind::Fraction;
    to.plain_after({{"Amount"}, {"W", "MASS"}, W, &Data::mass_1, &Data::mass_2, "Tot Amt"});
    to.plain_after({{"Gas Amount", "Gas Amt"},
                    {"GW", "GMASS"},
                    W,
                    &Data::gas_mass_1,
                    &Data::gas_mass_2,
                    nullptr,
                    "Gas Relative Mass, After Removal"});
    to.plain_after({{"Liquid Amount", "Liq Amt"},
                    {"LW", "LMASS"},
                    W,
                    &Data::liquid_mass_1,
                    &Data::liquid_mass_2});
    to.plain_after({{"Relative Mass", "Rel Mass"},
                    {"RW", "RMASS"},
                    RATIO,
                    &Data::relative_mass_1,
                    &Data::relative_mass_2});
    to.plain_after({{"Gas Relative Mass", "Gas Rel Mass"},
                    {"GRW", "GRMASS"},
                    RATIO,
                    &Data::gas_relative_mass_1,
                    &Data::gas_relative_mass_2});
    to.plain_after({{"Liquid Relative Mass", "Liq Rel Mass"},
                    {"LRW", "LRMASS"},
                    RATIO,
                    &Data::liquid_relative_mass_1,
                    &Data::liquid_relative_mass_2});
}

void add_volumes(Builder& to) {
    constexpr UnitKind V = UnitKind::Volume;
    constexpr UnitKind RATIO = UnitKind::Fraction;
    to.plain_after(
        {{"Volume"}, {"V", "VOL", "VOLU&"}, V, &Data::volume_1, &Data::volume_2, "Tot Vol"});
    to.plain_after({{"Gas Volume", "Gas Vol"},
                    {"GV", "GVOL", "GVOLU&"},
                    V,
                    &Data::gas_volume_1,
                    &Data::gas_volume_2});
    to.plain_after({{"Liquid Volume", "Liq Vol"},
                    {"LV", "LVOL", "LVOLU&"},
                    V,
                    &Data::liquid_volume_1,
                    &Data::liquid_volume_2});
    to.plain_after({{"Relative Volume", "Rel Vol"},
                    {"RV", "RVOL", "RVOLU&"},
                    RATIO,
                    &Data::relative_volume_1,
                    &Data::relative_volume_2});
    to.plain_after({{"Gas Relative Volume", "Gas Rel Vol"},
                    {"GRV", "GRVOL", "GRVOLU&"},
                    RATIO,
                    &Data::gas_relative_volume_1,
                    &Data::gas_relative_volume_2});
    to.plain_after({{"Liquid Relative Volume", "Liq Rel Vol"},
                    {"LRV", "LRVOL", "LRVOLU&"},
                    RATIO,
                    &Data::liquid_relative_volume_1,
                    &Data::liquid_relative_volume_2});
}

void add_fractions(Builder& to) {
    const auto fraction = [&](Names titles, Names keys, Field before, Field after) {
        to.plain_after({std::move(titles), std::move(keys), UnitKind::Fraction, before, after});
    };
    fraction({"Gas Mole Fraction", "Gas Mole Frac"}, {"GMF"}, &Data::gas_mole_fraction_1,
             &Data::gas_mole_fraction_2);
    fraction({"Liquid Mole Fraction", "Liq Mole Frac"}, {"LMF"}, &Data::liquid_mole_fraction_1,
             &Data::liquid_mole_fraction_2);
    fraction({"Gas Mass Fraction", "Gas Mass Frac"}, {"GWF"}, &Data::gas_mass_fraction_1,
             &Data::gas_mass_fraction_2);
    fraction({"Liquid Mass Fraction", "Liq Mass Frac"}, {"LWF"}, &Data::liquid_mass_fraction_1,
             &Data::liquid_mass_fraction_2);
    fraction({"Gas Volume Fraction", "Gas Vol Frac"}, {"GVF"}, &Data::gas_volume_fraction_1,
             &Data::gas_volume_fraction_2);
    fraction({"Liquid Volume Fraction", "Liq Vol Frac"}, {"LVF"}, &Data::liquid_volume_fraction_1,
             &Data::liquid_volume_fraction_2);
    fraction({"Gas Saturation", "Gas Sat"}, {"GS", "GSAT"}, &Data::gas_volume_fraction_1,
             &Data::gas_volume_fraction_2);
    fraction({"Liquid Saturation", "Liq Sat"}, {"LS", "LSAT"}, &Data::liquid_volume_fraction_1,
             &Data::liquid_volume_fraction_2);
}

void add_densities(Builder& to) {
    to.plain_before({{"Overall Density", "Density"},
                     {"DEN", "DENS", "DENSI&"},
                     UnitKind::Density,
                     &Data::density_1,
                     &Data::density_2});
    to.result(&Data::gas_density, {"Gas Phase Density", "Gas Den"}, {"GDEN&"}, UnitKind::Density);
    to.result(&Data::liquid_density, {"Liquid Phase Density", "Liq Den"}, {"LDEN&"},
              UnitKind::Density);
    to.plain_before({{"Overall Specific Volume", "Sp Vol"},
                     {"SV", "SVOL"},
                     UnitKind::SpecificVolume,
                     &Data::specific_volume_1,
                     &Data::specific_volume_2});
    to.result(&Data::gas_specific_volume, {"Gas Phase Specific Volume", "Gas Sp Vol"}, {"GSV&"},
              UnitKind::SpecificVolume);
    to.result(&Data::liquid_specific_volume, {"Liquid Phase Specific Volume", "Liq Sp Vol"},
              {"LSV&"}, UnitKind::SpecificVolume);
    to.plain_before({{"Overall Molar Density", "Mol Den"},
                     {"MDEN", "MDENS"},
                     UnitKind::MolarDensity,
                     &Data::molar_density_1,
                     &Data::molar_density_2});
    to.result(&Data::gas_molar_density, {"Gas Phase Molar Density", "Gas Mol Den"}, {"GMDEN&"},
              UnitKind::MolarDensity);
    to.result(&Data::liquid_molar_density, {"Liquid Phase Molar Density", "Liq Mol Den"},
              {"LMDEN&"}, UnitKind::MolarDensity);
    to.plain_before({{"Overall Molar Volume", "Mol Vol"},
                     {"MV", "MVOL"},
                     UnitKind::MolarVolume,
                     &Data::molar_volume_1,
                     &Data::molar_volume_2});
    to.result(&Data::gas_molar_volume, {"Gas Phase Molar Volume", "Gas Mol Vol"}, {"GMV&"},
              UnitKind::MolarVolume);
    to.result(&Data::liquid_molar_volume, {"Liquid Phase Molar Volume", "Liq Mol Vol"}, {"LMV&"},
              UnitKind::MolarVolume);
}

void add_properties(Builder& to) {
    to.plain_before(
        {{"Overall Z-Factor", "Z-Factor"}, {"Z"}, NO_UNIT, &Data::z_factor_1, &Data::z_factor_2});
    to.result(&Data::gas_z_factor, {"Gas Phase Z-Factor", "Gas Z-Factor"}, {"GZ&"}, NO_UNIT);
    to.result(&Data::liquid_z_factor, {"Liquid Phase Z-Factor", "Liq Z-Factor"}, {"LZ&"}, NO_UNIT);
    to.plain_before({{"Overall Molecular Weight", "MW"},
                     {"MW"},
                     NO_UNIT,
                     &Data::mw_1,
                     &Data::mw_2,
                     nullptr,
                     "Overall Molecular Weight, Before Removal"});
    to.result(&Data::gas_mw, {"Gas Phase Molecular Weight", "Gas MW"}, {"GMW"}, NO_UNIT);
    to.result(&Data::liquid_mw, {"Liquid Phase Molecular Weight", "Liq MW"}, {"LMW"}, NO_UNIT);
    add_densities(to);
    to.result(&Data::viscosity, {"Viscosity"}, {"VIS&"}, UnitKind::Viscosity);
    to.result(&Data::gas_viscosity, {"Gas Phase Viscosity", "Gas Vis"}, {"GVIS&"},
              UnitKind::Viscosity);
    to.result(&Data::liquid_viscosity, {"Liquid Phase Viscosity", "Liq Vis"}, {"LVIS&"},
              UnitKind::Viscosity);
    to.result(&Data::gas_gravity, {"Gas Specific Gravity", "Gas Sp Gravity"}, {"GSG&", "GGR&"},
              NO_UNIT);
    to.result(&Data::liquid_gravity, {"Liquid Specific Gravity", "Liq Sp Gravity"},
              {"LSG&", "LGR&"}, NO_UNIT);
    to.result(&Data::liquid_api, {"Liquid API Gravity", "Liquid API"}, {"API", "LAPI"}, NO_UNIT);
    to.result(&Data::interfacial_tension, {"Interfacial Tension", "IFT"}, {"IFT"},
              UnitKind::InterfacialTension);
}

void add_removal(Builder& to, ExptCatalogue& list) {
    const auto removal = [&](Field field, Names titles, Names keys, UnitKind kind) {
        list.removed.push_back(to.add(field, std::move(titles), std::move(keys), kind, TAG_RESULT));
    };
    removal(&Data::removed_moles, {"Cumulative Removal", "Removed"}, {"MR", "MREM", "MREMO&"},
            UnitKind::Mole);
    removal(&Data::removed_moles_per_volume, {"Cumulative Removal", "Removed"},
            {"MR/V&", "MREM/V&"}, UnitKind::GasOilRatio);
    removal(&Data::removed_relative_moles, {"Relative Moles Removed", "Rel Moles Rem"},
            {"RMR&", "MR/M&", "MREM/M&"}, UnitKind::Fraction);
    // The short name is an odd one that stands.
    removal(&Data::removed_mass, {"Cumulative Removal", "Rel Mass Rem"}, {"WR", "WREM", "WREMO&"},
            UnitKind::Mass);
    removal(&Data::removed_mass_per_volume, {"Cumulative Removal", "Removed"}, {"WR/V&", "WREM/V&"},
            UnitKind::Density);
    removal(&Data::removed_relative_mass, {"Relative Mass Removed", "Rel Mass Rem"},
            {"RWR&", "WR/W&", "WREM/W&"}, UnitKind::Fraction);
}

void add_labels(Builder& to, ExptCatalogue& list) {
    const auto label = [&](Text field, Names titles, Names keys) {
        return to.add(field, std::move(titles), std::move(keys), NO_UNIT, TAG_LABEL);
    };
    const auto name = [&](Text field, Names titles, Names keys) {
        list.names.push_back(label(field, std::move(titles), std::move(keys)));
    };
    list.weight = to.add(&Data::weight, {"Stage Weight", "Stg Wgt"},
                         {"WGT&", "WT&", "WEIG&", "WGH&"}, NO_UNIT, TAG_LABEL, WEIGHT_FIGURES);
    list.zone = label(&Data::zone, {"Fluid Zone", "Zone"}, {"ZONE"});
    name(&Data::feed_name_2, {"Feed Stream", "Feed"}, {"FEED"});
    name(&Data::feed_name_1, {"Feed Stream, Before Removal", "Feed 1"}, {"FEED1"});
    name(&Data::feed_name_2, {"Feed Stream, After Removal", "Feed 2"}, {"FEED2"});
    name(&Data::eql_name, {"Equilibrium Liquid", "Eq Liq"}, {"EQL&"});
    name(&Data::eqv_name, {"Equilibrium Vapor", "Eq Vap"}, {"EQV&"});
    name(&Data::nfl_name, {"Negative Flash Liquid", "NF Liq"}, {"NFL&"});
    name(&Data::nfv_name, {"Negative Flash Vapor", "NF Vap"}, {"NFV&"});
}

void append(ExptCatalogue::Heads& to, const ExptCatalogue::Heads& heads) {
    to.insert(to.end(), heads.begin(), heads.end());
}

}  // namespace

ExptCatalogue::ExptCatalogue() {
    Builder to(*this);
    add_stage_data(to, *this);
    add_saturations(to);
    add_ratios(to);
    add_moles(to);
    add_masses(to);
    add_volumes(to);
    add_fractions(to);
    add_properties(to);
    add_removal(to, *this);
    add_labels(to, *this);
}

ExptCatalogue::Heads ExptCatalogue::expansion() const {
    Heads heads{stage, set_temperature, set_pressure};
    append(heads, injected);
    append(heads, results);
    append(heads, removed);
    heads.push_back(weight);
    append(heads, names);
    return heads;
}

ExptCatalogue::Heads ExptCatalogue::segregation() const {
    Heads heads{stage, depth, temperature, pressure};
    append(heads, results);
    heads.push_back(weight);
    heads.push_back(zone);
    append(heads, names);
    return heads;
}

const ExptCatalogue& expt_catalogue() {
    static const ExptCatalogue catalogue;
    return catalogue;
}

}  // namespace kestrane
