#include "surface/StreamTable.h"

#include <algorithm>

#include "frame/Unset.h"
#include "lab/NumberText.h"

namespace kestrane {

StreamTable::Column stream_column(const std::string& head, const Tank& stream, double density) {
    StreamTable::Column column;
    column.head = head;
    column.moles = stream.total_moles();
    column.mass = stream.total_mass();
    column.density = density;
    for (const double moles : stream.moles())
        column.mole_fractions.push_back(column.moles > 0.0 ? moles / column.moles : 0.0);
    if (column.moles > 0.0) column.mol_weight = column.mass / column.moles;
    return column;
}

std::vector<std::string> aligned(const std::vector<std::vector<std::string>>& rows,
                                 std::size_t left) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()), 0);
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    std::vector<std::string> lines;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < widths.size(); ++i) {
            const std::string cell = row.empty()      ? std::string(widths[i], '-')
                                     : i < row.size() ? row[i]
                                                      : "";
            const std::string pad(widths[i] - cell.size(), ' ');
            line += (i == 0 ? "" : "  ") + (i < left ? cell + pad : pad + cell);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        lines.push_back(line);
    }
    return lines;
}

namespace {

using Cells = std::vector<std::string>;

template <class Text>
Cells cells(const std::string& label, const StreamTable& table, Text text) {
    Cells row{label};
    for (const StreamTable::Column& column : table.columns) row.push_back(text(column));
    return row;
}

}  // namespace

void print_streams(Writer& writer, const StreamTable& table) {
    if (!writer.active()) return;
    using Column = StreamTable::Column;
    constexpr double KG_PER_M3_TO_G_PER_CC = 1e-3;
    std::vector<Cells> rows;
    rows.push_back(cells("Component", table, [](const Column& c) { return c.head; }));
    rows.emplace_back();
    for (std::size_t i = 0; i < table.components.size(); ++i)
        rows.push_back(cells(table.components[i], table,
                             [i](const Column& c) { return amount_text(c.mole_fractions[i]); }));
    rows.push_back({""});
    rows.push_back(cells("Moles:", table, [](const Column& c) { return amount_text(c.moles); }));
    rows.push_back(cells("Mass:", table, [](const Column& c) { return amount_text(c.mass); }));
    rows.push_back(cells("Mol. Weight:", table, [](const Column& c) {
        return c.moles > 0.0 ? fixed_text(c.mol_weight, 3) : "-";
    }));
    rows.push_back(cells("Density (g/cc):", table, [](const Column& c) {
        return c.density == UNSET ? "-" : fixed_text(c.density * KG_PER_M3_TO_G_PER_CC, 6);
    }));
    if (!table.title.empty()) {
        writer.Line(table.title);
        writer.Line("");
    }
    for (const std::string& line : aligned(rows, 1)) writer.Line(line);
    writer.Newlines(1);
}

}  // namespace kestrane
