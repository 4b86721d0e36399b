#include <algorithm>

#include "fluid/BipTable.h"
#include "fluid/Charzation.h"
#include "input/Reader.h"

namespace kestrane {

int Charzation::read_table(Reader& reader, const CmdDictionary* stop_words) {
    const int result = table.Read(reader, stop_words);
    if (result == 0) return 0;
    block_closed = table.closed;
    take_rows();
    return result;
}

void Charzation::take_rows() {
    const std::size_t old_size = size();
    comps.assign(static_cast<std::size_t>(std::max(0, table.rowCount)), Compnent{});
    for (std::size_t i = 0; i < size(); ++i) table.TakeRow(static_cast<int>(i), comps[i]);
    if (size() != old_size) resize_bips(old_size, size());
    check_names();
}

void Charzation::check_names() const {
    for (std::size_t i = 0; i < size(); ++i) {
        if (comps[i].name.empty()) {
            IllegalCharzation problem;
            problem.reason = "Component " + std::to_string(i + 1) + " was not given a name.";
            problem.place = table.row_place(static_cast<int>(i));
            throw problem;
        }
        for (std::size_t j = 0; j < i; ++j) {
            if (!(comps[j].name == comps[i].name)) continue;
            IllegalCharzation problem;
            problem.reason = "Two or more components were given the same name (\"" +
                             comps[i].name.text() + "\").";
            problem.place = table.row_place(static_cast<int>(i));
            throw problem;
        }
    }
}

void Charzation::read_bips(Reader& reader) {
    BipTable rows(*this);
    // A further table of this kind is read by its own command, because its rows need not match.
    rows.Read(reader, &bip_words());
    block_closed = rows.closed;
    for (int row = 0; row < rows.rowCount; ++row) {
        const BipRow values = rows.values(row);
        const int component = find_component(values.name.text());
        if (component >= 0) set_bips_row(values.bips, component);
    }
    if (!rows.row_without_value().empty()) {
        block_closed = true;
        IllegalCharzation problem;
        problem.reason =
            "Keyword \"" + rows.row_without_value() + "\" not recognized in current context.";
        throw problem;
    }
}

}  // namespace kestrane
