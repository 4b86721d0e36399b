#include "expt/ExptHeads.h"

#include <map>
#include <set>
#include <tuple>

#include "expt/ExptCatalogue.h"
#include "fluid/Charzation.h"
#include "frame/Writer.h"

namespace kestrane {

namespace {

using Entries = std::vector<double> ExptData::*;

/// A kind of column that exists for each component or lump; "?" stands for its name.
struct NamedColumn {
    const char* title;
    const char* short_title;
    const char* key;
    bool ratio;
    Entries entries;
};

constexpr NamedColumn SHARED_COLUMNS[] = {
    {"Equilibrium ? K-Value", "? K-Value", "K-?", false, &ExptData::k_values},
    {"Overall ? Mole Fraction", "? z", "Z-?", true, &ExptData::z_1},
    {"Overall ? Mole Fraction, Before Removal", "? z 1", "Z1-?", true, &ExptData::z_1},
    {"Overall ? Mole Fraction, After Removal", "? z 2", "Z2-?", true, &ExptData::z_2},
    {"Liquid ? Mole Fraction", "? x", "X-?", true, &ExptData::x},
    {"Gas ? Mole Fraction", "? y", "Y-?", true, &ExptData::y},
    {"Overall ? Mass Fraction", "? zwt", "ZWT-?", true, &ExptData::mass_z_1},
    {"Overall ? Mass Fraction, Before Removal", "? zwt 1", "ZWT1-?", true, &ExptData::mass_z_1},
    {"Overall ? Mass Fraction, After Removal", "? zwt 2", "ZWT2-?", true, &ExptData::mass_z_2},
    {"Liquid ? Mass Fraction", "? xwt", "XWT-?", true, &ExptData::mass_x},
    {"Gas ? Mass Fraction", "? ywt", "YWT-?", true, &ExptData::mass_y},
};

constexpr NamedColumn LUMP_COLUMNS[] = {
    {"Overall ? MW", "? MW", "MW-?", false, &ExptData::lump_mw_1},
    {"Overall ? MW, Before Removal", "? MW 1", "MW1-?", false, &ExptData::lump_mw_1},
    {"Overall ? MW, After Removal", "? MW 2", "MW2-?", false, &ExptData::lump_mw_2},
    {"Liquid ? MW", "Liq ? MW", "LMW-?", false, &ExptData::lump_mw_x},
    {"Gas ? MW", "Gas ? MW", "GMW-?", false, &ExptData::lump_mw_y},
};

std::string with_name(const char* pattern, const std::string& name) {
    std::string text = pattern;
    return text.replace(text.find('?'), 1, name);
}

/// The head of one component's or lump's column, made when it is first asked for.
const AnyColHead& named_head(const NamedColumn& column, const UserWord& name, std::size_t entry) {
    using Identity = std::tuple<const NamedColumn*, std::string, std::size_t>;
    static std::map<Identity, ExptCompCol> made;
    const auto [at, is_new] =
        made.try_emplace(Identity{&column, name.key(), entry}, column.entries, entry,
                         std::vector{with_name(column.title, name.shown()),
                                     with_name(column.short_title, name.shown())},
                         std::vector{with_name(column.key, name.key())},
                         column.ratio ? &unit_set(UnitKind::Fraction) : nullptr, TAG_RESULT);
    return at->second;
}

}  // namespace

ExptData::ExptData(std::size_t component_count, std::size_t lump_count) {
    for (auto* entries : {&k_values, &z_1, &z_2, &x, &y, &mass_z_1, &mass_z_2, &mass_x, &mass_y})
        entries->assign(component_count + lump_count, UNSET);
    for (auto* entries : {&lump_mw_1, &lump_mw_2, &lump_mw_x, &lump_mw_y})
        entries->assign(lump_count, UNSET);
}

struct ExptHeads::State {
    HeadDictionary fixed;
    HeadDictionary all;                   ///< the fixed heads and those of the names followed
    std::vector<std::string> components;  ///< names whose heads are in `all`
    std::vector<std::string> lumps;
    std::set<std::string> reported;  ///< keywords that two names of a fluid share

    bool same_components(const Charzation& charz) const;
    /// Whether the lumps followed are the first ones of the characterization.
    bool same_lumps(const Charzation& charz) const;
    void restart(const Charzation& charz, std::vector<std::string>& duplicates);
    void add(std::span<const NamedColumn> columns, const UserWord& name, std::size_t first_entry,
             std::vector<std::string>& duplicates);
    void add_lumps(const Charzation& charz, std::vector<std::string>& duplicates);
    /// Warns of keywords to which another column answers, once for each.
    void report(const std::vector<std::string>& duplicates, Writer& writer);
};

bool ExptHeads::State::same_components(const Charzation& charz) const {
    if (components.size() != charz.comps.size()) return false;
    for (std::size_t i = 0; i < components.size(); ++i)
        if (components[i] != charz.comps[i].name.key()) return false;
    return true;
}

bool ExptHeads::State::same_lumps(const Charzation& charz) const {
    if (lumps.size() > charz.lumps.size()) return false;
    for (std::size_t i = 0; i < lumps.size(); ++i)
        if (lumps[i] != charz.lumps[i]->name.key()) return false;
    return true;
}

void ExptHeads::State::add(std::span<const NamedColumn> columns, const UserWord& name,
                           std::size_t entry, std::vector<std::string>& duplicates) {
    for (const NamedColumn& column : columns) {
        const AnyColHead& head = named_head(column, name, entry);
        if (!all.offer(head)) duplicates.push_back(head.keywords.front());
    }
}

void ExptHeads::State::restart(const Charzation& charz, std::vector<std::string>& duplicates) {
    all = fixed;
    components.clear();
    lumps.clear();
    for (const Compnent& component : charz.comps) {
        add(SHARED_COLUMNS, component.name, components.size(), duplicates);
        components.push_back(component.name.key());
    }
}

void ExptHeads::State::add_lumps(const Charzation& charz, std::vector<std::string>& duplicates) {
    for (std::size_t i = lumps.size(); i < charz.lumps.size(); ++i) {
        const UserWord& name = charz.lumps[i]->name;
        add(SHARED_COLUMNS, name, components.size() + i, duplicates);
        add(LUMP_COLUMNS, name, i, duplicates);
        lumps.push_back(name.key());
    }
}

void ExptHeads::State::report(const std::vector<std::string>& duplicates, Writer& writer) {
    std::vector<std::string> lines;
    for (const std::string& key : duplicates)
        if (reported.insert(key).second)
            lines.push_back("Duplicate keyword \"" + key + "\" ignored.");
    if (!lines.empty()) writer.Warning(lines);
}

ExptHeads::ExptHeads(std::span<const AnyColHead* const> fixed) : state_(new State) {
    for (const AnyColHead* head : fixed) state_->fixed.add(*head);
    state_->all = state_->fixed;
}

ExptHeads::~ExptHeads() = default;

ExptHeads& ExptHeads::expansion() {
    static ExptHeads heads(expt_catalogue().expansion());
    return heads;
}

ExptHeads& ExptHeads::segregation() {
    static ExptHeads heads(expt_catalogue().segregation());
    return heads;
}

const HeadDictionary& ExptHeads::dictionary() const {
    return state_->all;
}

const AnyColHead* ExptHeads::find(const std::string& key) const {
    return state_->all.find(key);
}

std::size_t ExptHeads::fixed_count() const {
    return state_->fixed.heads().size();
}

void ExptHeads::follow(const Charzation& charz, Writer* writer) {
    // By names, not by the serial number: that moves with every step of a regression.
    State& state = *state_;
    std::vector<std::string> duplicates;
    if (!state.same_components(charz) || !state.same_lumps(charz)) state.restart(charz, duplicates);
    state.add_lumps(charz, duplicates);
    if (writer) state.report(duplicates, *writer);
}

void ExptHeads::reset() {
    State& state = *state_;
    state.all = state.fixed;
    state.components.clear();
    state.lumps.clear();
    state.reported.clear();
}

}  // namespace kestrane
