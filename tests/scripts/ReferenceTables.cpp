#include "scripts/ReferenceTables.h"

#include <array>
#include <iomanip>
#include <sstream>
#include <vector>

#include "expt/ExptCatalogue.h"
#include "expt/ExptHeads.h"
#include "fluid/Charzation.h"
#include "fluid/Library.h"

namespace kestrane {

namespace {

using Cells = std::vector<std::string>;

std::string row(const Cells& cells) {
    std::string text = "|";
    for (const std::string& cell : cells) text += " " + cell + " |";
    return text + "\n";
}

std::string head(const Cells& titles) {
    std::string rule = "|";
    for (std::size_t i = 0; i < titles.size(); ++i) rule += "---|";
    return row(titles) + rule + "\n";
}

std::string quoted(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "`" : " `") + word + "`";
    return text;
}

std::string number_text(double value, int digits) {
    std::ostringstream text;
    text << std::setprecision(digits) << value;
    return text.str();
}

std::string unit_kind(const AnyColHead& column) {
    return column.unitSet ? column.unitSet->name() : "none";
}

constexpr int LIBRARY_DIGITS = 8;

std::string library_value(double value) {
    return value == UNSET ? "" : number_text(value, LIBRARY_DIGITS);
}

std::string library_table() {
    std::string text =
        head({"substance", "names in scripts", "MW", "Tb K", "Tc K", "Pc bar", "Vc cm3/mol", "Zc",
              "acentric factor", "liquid cm3/mol", "at K", "parachor"});
    for (const LibraryEntry& entry : library_entries()) {
        std::vector<std::string> names;
        for (const char* alias : entry.aliases)
            if (alias) names.push_back(alias);
        Cells cells{entry.full_name, quoted(names)};
        for (const double value :
             {entry.mw, entry.tb, entry.tc, entry.pc, entry.vc, entry.zc, entry.acentric,
              entry.liquid_volume, entry.ref_temp, entry.parachor})
            cells.push_back(library_value(value));
        text += row(cells);
    }
    return text;
}

/// What a value of 1 in base units is, in the order of UnitKind.
constexpr std::array<const char*, static_cast<std::size_t>(UnitKind::Count)> BASE_UNITS{
    "parts of one", "s",      "m",    "m2",    "m3",    "kg",      "kmol",    "K",    "K",
    "Pa",           "Pa",     "Pa/m", "kg/m3", "m3/kg", "kmol/m3", "m3/kmol", "Pa s", "N/m",
    "kmol/m3",      "m3/kmol"};

constexpr int UNIT_DIGITS = 10;

/// "6894.757293", or "0.5555555556 (x + 459.67)" for a scale with a zero of its own.
std::string unit_value(const Units& unit) {
    const std::string size = number_text(1.0 / unit.factor, UNIT_DIGITS);
    if (unit.offset == 0.0) return size;
    const double zero = -unit.offset;
    return size + " (x " + (zero < 0.0 ? "- " : "+ ") +
           number_text(zero < 0.0 ? -zero : zero, UNIT_DIGITS) + ")";
}

std::string units_table() {
    std::string text = head({"kind", "unit", "x of it in base units", "base unit"});
    for (std::size_t i = 0; i < BASE_UNITS.size(); ++i) {
        const UnitSet& set = unit_set(static_cast<UnitKind>(i));
        for (const Units* unit : set.units()) {
            std::string names = unit->name().empty() ? "(none)" : quoted(unit->aliases);
            if (unit == &set.default_unit()) names += " default";
            text += row({set.name(), names, unit_value(*unit), BASE_UNITS[i]});
        }
    }
    return text;
}

std::string component_table() {
    std::string text = head({"keys", "column", "as printed, by width", "unit"});
    for (const AnyColHead* column : component_heads().heads()) {
        std::string shorter;
        for (std::size_t i = 1; i < column->aliases.size(); ++i)
            shorter += (shorter.empty() ? "" : ", ") + column->aliases[i];
        text +=
            row({quoted(column->keywords), column->aliases.front(), shorter, unit_kind(*column)});
    }
    return text;
}

std::string experiment_row(const AnyColHead& column, const std::string& note = {}) {
    return row({quoted(column.keywords), column.aliases.front() + note, unit_kind(column)});
}

/// All fixed columns of both kinds of experiments, each once.
ExptCatalogue::Heads experiment_columns() {
    const ExptCatalogue& list = expt_catalogue();
    ExptCatalogue::Heads heads{list.stage, list.set_temperature, list.set_pressure, list.depth};
    for (const auto* part : {&list.injected, &list.results, &list.removed})
        heads.insert(heads.end(), part->begin(), part->end());
    heads.insert(heads.end(), {list.weight, list.zone});
    heads.insert(heads.end(), list.names.begin(), list.names.end());
    return heads;
}

std::string experiment_table(const std::string& first, const std::string& last) {
    std::string text = head({"keys", "column", "unit"});
    bool within = false;
    for (const AnyColHead* column : experiment_columns()) {
        within = within || column->keywords.front() == first;
        if (within) text += experiment_row(*column);
        if (column->keywords.front() == last) within = false;
    }
    return text;
}

/// Columns of a component or lump, its name replaced by "?".
std::string named_table() {
    static const std::string NAME = "NAME";
    Charzation charz;
    Lump lump;
    lump.name = UserWord(NAME);
    charz.add_lump(lump);
    ExptHeads& heads = ExptHeads::expansion();
    heads.reset();
    Charzation component;
    component.comps.emplace_back();
    component.comps.front().name = UserWord(NAME);
    heads.follow(component);
    const std::size_t shared = heads.dictionary().heads().size();
    heads.follow(charz);
    std::string text = head({"keys", "column", "unit"});
    const auto& all = heads.dictionary().heads();
    for (std::size_t i = heads.fixed_count(); i < all.size(); ++i)
        text += experiment_row(*all[i], i < shared ? "" : " (lumps alone)");
    heads.reset();
    for (std::size_t at = text.find(NAME); at != std::string::npos; at = text.find(NAME))
        text.replace(at, NAME.size(), "?");
    return text;
}

constexpr const char* BEGIN = "<!-- table: ";
constexpr const char* BEGIN_TAIL = " -->";
constexpr const char* END = "<!-- end of table -->";

}  // namespace

std::string reference_table(const std::string& name) {
    std::istringstream words(name);
    std::string first, second, from, to;
    words >> first >> second >> from >> to;
    if (first == "library") return library_table();
    if (first == "units") return units_table();
    if (name == "component columns") return component_table();
    if (name == "named columns") return named_table();
    if (first == "experiment" && second == "columns") return experiment_table(from, to);
    return {};
}

std::string with_current_tables(const std::string& document) {
    std::istringstream lines(document);
    std::string result;
    bool within = false;
    for (std::string line; std::getline(lines, line);) {
        if (line == END) within = false;
        if (!within) result += line + "\n";
        if (!line.starts_with(BEGIN) || !line.ends_with(BEGIN_TAIL)) continue;
        const std::size_t start = std::string(BEGIN).size();
        const std::size_t length = line.size() - start - std::string(BEGIN_TAIL).size();
        result += "\n" + reference_table(line.substr(start, length)) + "\n";
        within = true;
    }
    return result;
}

}  // namespace kestrane
