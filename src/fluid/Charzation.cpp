#include "fluid/Charzation.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "equil/EOS.h"
#include "fluid/Charz_User.h"
#include "input/Reader.h"

namespace kestrane {

namespace {

/// Temperatures kept in a characterization's cache.
constexpr std::size_t T_CACHE_SIZE = 20;

unsigned long next_serial() {
    static unsigned long last = 0;
    return ++last;
}

}  // namespace

Charzation::Charzation() : table(&component_heads()), serial_(next_serial()) {}

Charzation::Charzation(std::string charz_name) : Charzation() {
    name = std::move(charz_name);
}

// The commands that a block stored belong to the block that was read, not to its copies. Lumps
// never change once they are defined, but each characterization has its own.
Charzation::Charzation(const Charzation& other)
    : Key_User(),
      EOS_User(),
      name(other.name),
      comps(other.comps),
      bips(other.bips),
      basis(other.basis),
      table(other.table),
      column_row(other.column_row),
      aliases(other.aliases),
      prepared(other.prepared),
      serial_(next_serial()) {
    chosen_eos = other.chosen_eos;
    take_lumps(other);
}

Charzation& Charzation::operator=(const Charzation& other) {
    if (this == &other) return *this;
    chosen_eos = other.chosen_eos;
    name = other.name;
    comps = other.comps;
    bips = other.bips;
    basis = other.basis;
    table = other.table;
    column_row = other.column_row;
    aliases = other.aliases;
    prepared = other.prepared;
    lumps.clear();
    take_lumps(other);
    block_closed = false;
    t_cache.clear();
    serial_ = next_serial();
    return *this;
}

const CmdKey* Charzation::FindKey(const std::string& word) const {
    const CmdKey* key = dictionary_of<Charzation>().find(word);
    return key ? key : EOS_User::FindKey(word);
}

PtrTo<const EOS> Charzation::shared_eos() const {
    if (chosen_eos) return chosen_eos;
    // Equations never change after construction, so that one default serves all.
    static const PtrTo<const EOS> default_equation = make_default_eos();
    return default_equation;
}

const EOS& Charzation::eos() const {
    return *shared_eos();
}

int Charzation::find_component(const std::string& word) const {
    const UserWord wanted(word);
    const auto at = std::find_if(comps.begin(), comps.end(), [&wanted](const Compnent& component) {
        return component.name == wanted;
    });
    return at == comps.end() ? -1 : static_cast<int>(at - comps.begin());
}

void Charzation::add_component(const Compnent& component) {
    comps.push_back(component);
    resize_bips(size() - 1, size());
    properties_changed();
}

void Charzation::properties_changed() {
    clear_t_cache();
    prepared = false;
    serial_ = next_serial();
}

bool Charzation::answers_to(const std::string& word) const {
    return KeyCompare(name, word) == 0 || aliases.contains(word);
}

void Charzation::make_bips() {
    if (has_bips()) return;
    const std::size_t n = size();
    bips.assign(n * n, UNSET);
    for (std::size_t i = 0; i < n; ++i) bips[i * n + i] = 0.0;
}

void Charzation::resize_bips(std::size_t old_size, std::size_t new_size) {
    if (!has_bips()) return;
    const std::vector<double> old = std::exchange(bips, {});
    make_bips();
    const std::size_t kept = std::min(old_size, new_size);
    for (std::size_t i = 0; i < kept; ++i)
        for (std::size_t j = 0; j < kept; ++j) bips[i * new_size + j] = old[i * old_size + j];
}

void Charzation::set_bip(double value, int i, int j) {
    if (i < 0 || j < 0 || i >= comp_count() || j >= comp_count()) throw BadComponent{};
    if (value == UNSET) return;
    make_bips();
    const auto row = static_cast<std::size_t>(i);
    const auto column = static_cast<std::size_t>(j);
    const double stored = i == j ? 0.0 : value;
    bips[row * size() + column] = stored;
    bips[column * size() + row] = stored;
}

void Charzation::set_bips_row(std::span<const double> values, int row) {
    if (values.size() > size()) throw BadComponent{};
    for (std::size_t j = 0; j < values.size(); ++j) set_bip(values[j], row, static_cast<int>(j));
}

void Charzation::prepare_eos(ErrorList& errors) {
    if (prepared) return;
    const bool usable_before = errors.usable();
    if (comps.empty()) errors.Add("The fluid characterization contains no components", FATAL_ERROR);
    for (Compnent& component : comps) {
        eos().check_component(component, errors);
        if (component.pc > 0.0) component.ln_pc = std::log(component.pc);
    }
    // What cannot be used is reported again wherever it is used.
    prepared = usable_before && errors.usable();
}

PtrTo<const EOS_T_Parms> Charzation::t_parms(double T) {
    const auto at = std::find_if(t_cache.begin(), t_cache.end(),
                                 [T](const CachedTemperature& cached) { return cached.T == T; });
    if (at != t_cache.end()) {
        t_cache.splice(t_cache.begin(), t_cache, at);
    } else {
        t_cache.push_front({T, eos().make_T_Parms(*this, T)});
        if (t_cache.size() > T_CACHE_SIZE) t_cache.pop_back();
    }
    return t_cache.front().parms;
}

}  // namespace kestrane
