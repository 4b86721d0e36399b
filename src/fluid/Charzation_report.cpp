#include "fluid/Charzation_report.h"

#include "equil/EOS.h"
#include "fluid/Charzation.h"
#include "frame/NumberFormat.h"
#include "frame/Writer.h"

namespace kestrane {

namespace {

constexpr std::size_t BIP_WIDTH = 10;  ///< of a column, and of the names before the first
constexpr int BIP_PRECISION = 5;       ///< significant digits
constexpr char BIP_DIAGONAL[] = "   0.0    ";
constexpr char BIP_RULE[] = " ---------";
static_assert(sizeof BIP_DIAGONAL == BIP_WIDTH + 1 && sizeof BIP_RULE == BIP_WIDTH + 1);

/// A blank, then the text centred in the rest of a column.
std::string centred(const std::string& text) {
    const std::size_t room = BIP_WIDTH - 1;
    const std::size_t free = text.size() < room ? room - text.size() : 0;
    const std::size_t left = 1 + (free + 1) / 2;
    return std::string(left, ' ') + text + std::string(free / 2, ' ');
}

std::string bip_row(const CharzSummary& summary, std::size_t row) {
    const std::size_t n = summary.components.size();
    std::string line, number;
    append_left(line, summary.components[row], BIP_WIDTH);
    for (std::size_t column = 0; column < n; ++column) {
        if (column == row) {
            line += BIP_DIAGONAL;
            continue;
        }
        number.clear();
        append_general_pointed(number, summary.bips[row * n + column], BIP_PRECISION);
        append_right(line, number, BIP_WIDTH);
    }
    return line;
}

void print_bips(Writer& writer, const CharzSummary& summary) {
    writer.Newlines(1);
    writer.Line("Binary Interaction Parameters:");
    writer.Newlines(1);
    std::string names(BIP_WIDTH, ' ');
    std::string rule(BIP_WIDTH, ' ');
    for (const std::string& component : summary.components) {
        names += centred(component);
        rule += BIP_RULE;
    }
    writer.Line(names);
    writer.Line(rule);
    for (std::size_t row = 0; row < summary.components.size(); ++row)
        writer.Line(bip_row(summary, row));
}

}  // namespace

CharzSummary summarize(const Charzation& charz) {
    CharzSummary summary;
    summary.name = charz.name;
    if (charz.basis) summary.base = *charz.basis;
    summary.eos = charz.chosen_eos ? charz.chosen_eos->name() : "Default";
    for (const Compnent& component : charz.comps)
        summary.components.push_back(component.name.shown());
    summary.bips = charz.bips;
    return summary;
}

void print_charzation(Writer& writer, Charzation& charz) {
    if (!writer.active()) return;
    const CharzSummary summary = summarize(charz);
    const std::string name = summary.name.empty() ? "" : " \"" + summary.name + "\"";
    const std::string title = "Fluid Characterization" + name;
    writer.Newlines(2);
    writer.Line(title);
    writer.Line(std::string(title.size(), '='));
    writer.Newlines(1);
    if (!summary.base.empty()) {
        writer.Line("Base Characterization: \"" + summary.base + "\"");
        writer.Newlines(1);
    }
    writer.Line("EOS: " + summary.eos);
    if (!summary.components.empty()) {
        writer.Newlines(1);
        writer.Line("Critical Properties:");
        writer.Newlines(1);
        charz.table.Print(writer.fileList, 2, 1, 0);
    }
    if (!summary.bips.empty()) print_bips(writer, summary);
    writer.Newlines(1);
}

}  // namespace kestrane
