// The words of a separator's block: coordinates of a table's points, and its rows.

#include <algorithm>

#include "input/UserCmd.h"
#include "surface/NameArgument.h"
#include "surface/Sep.h"

namespace kestrane {

// The words act while they are read: a separator's table is the same in every evaluation.

/// MOL&, MASS&, MW&: a coordinate of the current point.
template <AmountKind KIND>
struct SepPoint_Data {};
/// KVAL&, OIL&, GAS&: a row at the current point.
enum class RowKind { KValues, Oil, Gas };
template <RowKind KIND>
struct SepRow_Data {};
/// INTERP&: the rule of what is defined next.
struct SepInterp_Data {};

namespace {

struct KindWord {
    const char* word;
    AmountKind kind;
};
constexpr KindWord KIND_WORDS[]{
    {"MOL&", AmountKind::Moles}, {"MASS&", AmountKind::Mass}, {"MW&", AmountKind::MolecularWeight}};

AmountKind amount_kind(const std::string& word) {
    for (const KindWord& entry : KIND_WORDS)
        if (KeyCompare(entry.word, word.c_str()) == 0) return entry.kind;
    return AmountKind::None;
}

/// Reads the name of a component or a lump, if one stands there.
void read_amount(Reader& reader, const Sep& sep, SepAmount& amount) {
    std::string word;
    if (reader.NextWord(word) <= 0 || !sep.characterization) return;
    const Charzation& charz = *sep.characterization;
    amount.component = charz.find_component(word);
    if (amount.component >= 0 || charz.find_lump(word))
        amount.name = word;
    else
        reader.Unread();
}

/// Reads PER with what follows it, if it stands there. False after a wrong word behind it.
bool read_denominator(Reader& reader, const Sep& sep, SepVariable& variable) {
    std::string word;
    if (reader.NextWord(word) <= 0) return true;
    if (KeyCompare(word, "PER") != 0) {
        reader.Unread();
        return true;
    }
    word.clear();
    const bool given = reader.NextWord(word) > 0;
    const AmountKind kind = given ? amount_kind(word) : AmountKind::None;
    const bool weights = variable.numerator.kind == AmountKind::MolecularWeight;
    if (kind == AmountKind::None || (weights && kind != AmountKind::MolecularWeight)) {
        reader.NotRecognized(word);
        reader.SkipStatement();
        return false;
    }
    variable.denominator.kind = kind;
    read_amount(reader, sep, variable.denominator);
    return true;
}

/// Index of the variable, added if it is new; -1 if it may not be added.
int take_variable(Reader& reader, Sep& sep, SepVariable variable) {
    const int known = sep.find_variable(variable);
    if (known >= 0) return known;
    if (!sep.points.empty()) {
        std::vector<std::string> lines{"Illegal interpolation variable for separator \"" +
                                       sep.name + "\"."};
        reader.Locate(lines, 3);
        lines.push_back(
            "New interpolation variables cannot be defined after the first table "
            "entry.");
        reader.Error(lines);
        return -1;
    }
    variable.rule = std::max(sep.defaultRule, RULE_LINEAR);
    sep.variables.push_back(variable);
    sep.currentPoint.push_back(0.0);
    return static_cast<int>(sep.variables.size()) - 1;
}

}  // namespace

template <AmountKind KIND>
void read_data(UserCmd<Sep, SepPoint_Data<KIND>>& command, Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    Sep& sep = command.user();
    SepVariable variable;
    variable.numerator.kind = KIND;
    read_amount(reader, sep, variable.numerator);
    if (!read_denominator(reader, sep, variable)) return;
    double value = UNSET;
    reader.NextDouble(value);
    if (value == UNSET) {
        reader.ErrorHere({"No value was given for interpolation variable \"" +
                          variable_name(variable) + "\" of separator \"" + sep.name + "\"."},
                         3);
        return;
    }
    const int index = take_variable(reader, sep, variable);
    if (index < 0) return;
    const auto at = static_cast<std::size_t>(index);
    sep.currentPoint[at] = to_space(value, sep.variables[at].rule);
}

namespace {

/// What a kind of row is called, how wide it makes the table, and where it stands there.
struct RowShape {
    const char* name;
    std::size_t width, begin;
    Rule Sep::*rule;
    bool SepRow::*given;
};

RowShape shape_of(RowKind kind, std::size_t components) {
    switch (kind) {
        case RowKind::KValues:
            return {"K-values", components, 0, &Sep::oilRule, &SepRow::oil_given};
        case RowKind::Oil:
            return {"Oil factors", 2 * components, 0, &Sep::oilRule, &SepRow::oil_given};
        default:
            return {"Gas factors", 2 * components, components, &Sep::gasRule, &SepRow::gas_given};
    }
}

}  // namespace

/// Reads as many numbers as there are components, over as many lines as they take.
template <RowKind KIND>
void read_data(UserCmd<Sep, SepRow_Data<KIND>>& command, Reader& reader) {
    const LineLimitScope many_lines(reader, -1);
    Sep& sep = command.user();
    const std::size_t n = sep.componentCount;
    const RowShape shape = shape_of(KIND, n);
    if (sep.tableWidth != 0 && sep.tableWidth != shape.width)
        fatal_here(reader,
                   std::string(shape.name) + " not allowed for separator \"" + sep.name + "\".");
    sep.tableWidth = shape.width;
    Rule& rule = sep.*shape.rule;
    if (rule == RULE_UNSET) rule = std::max(sep.defaultRule, RULE_LINEAR);
    SepRow& row = sep.row_at_current_point();
    const std::span<double> stored = std::span(row.factors).subspan(shape.begin, n);
    std::vector<double> values(n, smallestFactor);
    if (row.*shape.given)
        for (std::size_t i = 0; i < n; ++i) values[i] = from_space(stored[i], rule);
    reader.NextDoubles(values, smallestFactor, largestFactor);
    if (!sep.characterization) reader.SkipStatement();  // the fluid was in error
    for (std::size_t i = 0; i < n; ++i) stored[i] = to_space(values[i], rule);
    row.*shape.given = true;
}

template <>
void UserCmd<Sep, SepInterp_Data>::Read(Reader& reader, const std::string&) {
    static const std::pair<const char*, Rule> RULES[]{
        {"LIN&", RULE_LINEAR}, {"LOG&", RULE_LOGARITHMIC}, {"INV&", RULE_INVERSE}};
    const LineLimitScope one_line(reader, 0);
    std::string name;
    if (reader.NextWord(name) <= 0) return;
    for (const auto& [text, rule] : RULES) {
        if (KeyCompare(name, text) != 0) continue;
        user().defaultRule = rule;
        return;
    }
    reader.Unread();
}

namespace {

template <AmountKind KIND>
using Point_Key = UserKey<Sep, SepPoint_Data<KIND>>;
template <RowKind KIND>
using Row_Key = UserKey<Sep, SepRow_Data<KIND>>;

const Point_Key<AmountKind::Moles> moles_key{"MOL&"};
const Point_Key<AmountKind::Mass> mass_key{"MASS&"};
const Point_Key<AmountKind::MolecularWeight> mw_key{"MW&"};
const Row_Key<RowKind::KValues> kval_key{"KVAL&", "K-VAL&"};
const Row_Key<RowKind::Oil> oil_key{"OIL&", "LIQ&", "RECO&"};
const Row_Key<RowKind::Gas> gas_key{"GAS&", "VAP&", "REMO&"};
const UserKey<Sep, SepInterp_Data> interp_key{"INTERP&"};

}  // namespace

}  // namespace kestrane
