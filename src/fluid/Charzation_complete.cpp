#include "equil/EOS.h"
#include "fluid/Charz_User.h"
#include "fluid/Charzation.h"
#include "fluid/GammaSplit.h"

namespace kestrane {

namespace {

/// Copies the cell of a column from `typed` where the user gave one.
template <class T, class Given>
bool overlay(const AnyColHead& head, const Compnent& typed, Compnent& target, Given given) {
    const auto* typed_head = dynamic_cast<const DataColHead<T>*>(&head);
    if (!typed_head) return false;
    const T* value = typed_head->ConstCellPointer(typed);
    T* place = typed_head->CellPointer(target);
    if (value && place && given(*value)) *place = *value;
    return true;
}

/// Lays what was typed over what came from elsewhere: a typed value wins, a blank cell does not.
void overlay_typed(const Compnent& typed, Compnent& target) {
    for (const AnyColHead* head : component_heads().heads()) {
        if (overlay<double>(*head, typed, target, [](double value) { return value != UNSET; }))
            continue;
        if (overlay<UserWord>(*head, typed, target,
                              [](const UserWord& word) { return !word.empty(); }))
            continue;
        overlay<Quote>(*head, typed, target, [](const Quote& text) { return !text.text.empty(); });
    }
}

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

}  // namespace

const Charzation* Charzation::find_base(Charz_User& user, ErrorList& errors) const {
    const Charzation* base = user.find_charzation(*basis);
    if (!base) {
        errors.Add("Undefined basis, " + quoted(*basis) + ", for characterization " + quoted(name),
                   FATAL_ERROR);
        return nullptr;
    }
    if (base == this) {
        errors.Add("Characterization " + quoted(name) + " cannot be based on itself", FATAL_ERROR);
        return nullptr;
    }
    return base;
}

std::vector<int> Charzation::base_map(const Charzation& base) const {
    std::vector<int> map;
    for (const Compnent& component : comps)
        map.push_back(base.find_component(component.name.text()));
    return map;
}

void Charzation::take_base(const Charzation& base, std::span<const int> map, bool same_eos) {
    table.CopyColumns(base.table);
    for (std::size_t i = 0; i < size(); ++i) {
        if (map[i] < 0) continue;
        Compnent& component = comps[i];
        const Compnent typed = component;
        if (map[i] < base.table.rowCount)
            base.table.TakeRow(map[i], component);
        else
            component = base.comps[static_cast<std::size_t>(map[i])];
        if (!same_eos) component.omega_a = component.omega_b = component.vol_shift = UNSET;
        overlay_typed(typed, component);
    }
    if (base.has_bips()) take_base_bips(base, map);
}

void Charzation::take_base_bips(const Charzation& base, std::span<const int> map) {
    for (std::size_t i = 0; i < size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (map[i] < 0 || map[j] < 0) continue;
            if (has_bips() && bip(i, j) != UNSET) continue;
            set_bip(base.bip(static_cast<std::size_t>(map[i]), static_cast<std::size_t>(map[j])),
                    static_cast<int>(i), static_cast<int>(j));
        }
    }
}

void Charzation::fill_column_row() {
    column_row.clear();
    for (std::size_t column = 0; column < table.columns.size(); ++column) {
        const AnyColumn& cells = *table.columns[column];
        if (cells.IsData() && cells.head)
            cells.head->SetCell(column_row, static_cast<double>(column));
    }
}

void Charzation::initialize(Charz_User& user, ErrorList& errors) {
    properties_changed();
    if (basis) {
        const Charzation* base = find_base(user, errors);
        if (!base) return;
        if (!chosen_eos) chosen_eos = base->shared_eos();
        const bool same_eos = eos().name() == base->eos().name();
        take_lumps(*base);
        const std::vector<int> map = base_map(*base);
        take_base(*base, map, same_eos);
        build_lumps(user, *base, map, same_eos);
    } else if (!chosen_eos) {
        chosen_eos = user.default_eos();
    }
    fill_column_row();
    for (Compnent& component : comps) component.match_library(eos(), errors);
}

void Charzation::fill_lower_cuts() {
    for (Compnent& component : comps) component.fill_lower_cut();
}

void Charzation::fill_properties() {
    for (Compnent& component : comps) component.fill_properties();
}

void Charzation::correlate(ErrorList& errors) {
    fill_lower_cuts();
    fill_gamma_weights(*this, errors);
    fill_properties();
}

void Charzation::complete(ErrorList& errors) {
    correlate(errors);
    for (std::size_t i = 0; i < size(); ++i) {
        Compnent& component = comps[i];
        component.complete(eos(), column_row, errors);
        const int row = static_cast<int>(i);
        if (row < table.rowCount) table.PutRow(row, component);
        component.zero_unset();
    }
    for (double& value : bips)
        if (value == UNSET) value = 0.0;
    properties_changed();
}

}  // namespace kestrane
