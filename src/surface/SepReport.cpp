#include "surface/SepReport.h"

#include "lab/NumberText.h"
#include "surface/StreamTable.h"

namespace kestrane {

namespace {

constexpr int DIGITS = 6;

void print_head(Writer& writer, const Sep& sep, const ValueWithUnit& temperature,
                const ValueWithUnit& pressure) {
    const std::string head = "Separator \"" + sep.name + "\"";
    writer.Line(head);
    writer.Line(std::string(head.size(), '='));
    writer.Line("");
    writer.Line(conditions_text(temperature, pressure));
}

/// "Linearly, Interpolated "
std::string interpolated(Rule rule) {
    return std::string(rule_word(rule)) + ", Interpolated ";
}

void print_values(Writer& writer, const Sep& sep, Rule rule, const char* what,
                  std::span<const double> values) {
    if (values.empty() || rule == RULE_UNSET) return;
    writer.Line(interpolated(rule) + what);
    std::vector<std::vector<std::string>> rows;
    for (std::size_t i = 0; i < values.size(); ++i)
        rows.push_back(
            {"   " + sep.characterization->comps[i].name.shown(), general_text(values[i], DIGITS)});
    for (const std::string& line : aligned(rows, 1)) writer.Line(line);
}

/// One side of a row in normal form.
std::vector<double> normal(const Sep& sep, const SepRow& row, std::size_t begin, Rule rule) {
    std::vector<double> values;
    for (std::size_t i = 0; i < sep.componentCount; ++i)
        values.push_back(from_space(row.factors[begin + i], rule));
    return values;
}

void print_row(Writer& writer, const Sep& sep, const ValArray<double>& point, const SepRow& row) {
    writer.Line("");
    for (std::size_t i = 0; i < point.size(); ++i)
        writer.Line(interpolated(sep.variables[i].rule) + variable_name(sep.variables[i]) + " = " +
                    general_text(from_space(point[i], sep.variables[i].rule), DIGITS));
    if (sep.has_k_values()) {
        print_values(writer, sep, sep.oilRule, "K-Values =", normal(sep, row, 0, sep.oilRule));
        return;
    }
    if (row.oil_given)
        print_values(writer, sep, sep.oilRule, "Oil-Factors =", normal(sep, row, 0, sep.oilRule));
    if (row.gas_given)
        print_values(writer, sep, sep.gasRule,
                     "Gas-Factors =", normal(sep, row, sep.componentCount, sep.gasRule));
}

}  // namespace

std::string conditions_text(const ValueWithUnit& temperature, const ValueWithUnit& pressure) {
    const auto text = [](const ValueWithUnit& value, UnitKind kind) {
        return value.value == UNSET ? std::string("-") : value_text(value, kind);
    };
    return "Temperature = " + text(temperature, UnitKind::Temperature) +
           ", Pressure = " + text(pressure, UnitKind::Pressure);
}

void print_definition(Writer& writer, const Sep& sep) {
    if (!writer.active()) return;
    writer.Newlines(2);
    print_head(writer, sep, sep.bound_temperature(), sep.bound_pressure());
    for (const auto& [point, row] : sep.points) print_row(writer, sep, point, row);
    writer.Newlines(2);
}

void print_split(Writer& writer, const Sep& sep, const SepSplit& split) {
    if (!writer.active()) return;
    writer.Newlines(1);
    print_head(writer, sep, split.temperature, split.pressure);
    for (std::size_t i = 0; i < split.point.size(); ++i)
        writer.Line(interpolated(sep.variables[i].rule) + variable_name(sep.variables[i]) + " = " +
                    general_text(split.point[i], DIGITS));
    print_values(writer, sep, sep.oilRule, "K-Values =", split.k_values);
    print_values(writer, sep, sep.oilRule, "Oil-Factors =", split.oil_factors);
    print_values(writer, sep, sep.gasRule, "Gas-Factors =", split.gas_factors);
    writer.Newlines(1);
}

}  // namespace kestrane
