#include "fluid/Library.h"

#include <array>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <map>

#include "fluid/Correlations.h"
#include "input/Units.h"

namespace kestrane {

namespace {

constexpr double PA_PER_BAR = 1e5;
constexpr double M3_PER_KMOL = 1e-3;  ///< of cm3/mol
constexpr int SMALLEST_PARAFFIN = 4;

double scaled(double value, double factor) {
    return value == UNSET ? UNSET : value * factor;
}

DynPtr<Compnent> component_of(const LibraryEntry& entry) {
    DynPtr<Compnent> component = make_dyn<Compnent>();
    component->name = UserWord(entry.aliases[0]);
    component->full_name.text = entry.full_name;
    component->mw = entry.mw;
    component->tb = entry.tb;
    component->tc = entry.tc;
    component->pc = scaled(entry.pc, PA_PER_BAR);
    component->vc = scaled(entry.vc, M3_PER_KMOL);
    component->zc = entry.zc;
    component->acentric = entry.acentric;
    component->parachor = entry.parachor;
    if (entry.liquid_volume > 0.0)
        component->sg = entry.mw / (entry.liquid_volume * M3_PER_KMOL) / WATER_DENSITY;
    component->ref_temp = entry.ref_temp;
    component->ref_pres = 0.0;
    return component;
}

/// By every alias, as significant as a user word: the number of the entry.
using Library = std::map<std::string, std::size_t, KeyLess>;

const Library& library() {
    static const Library numbers = [] {
        Library made;
        const std::span<const LibraryEntry> entries = library_entries();
        for (std::size_t number = 0; number < entries.size(); ++number)
            for (const char* alias : entries[number].aliases)
                if (alias) made.emplace(UserWord(alias).key(), number);
        return made;
    }();
    return numbers;
}

/// The component of an entry, made when it is first asked for: a script asks for few of them.
const PtrTo<const Compnent>& component_number(std::size_t number) {
    static std::array<PtrTo<const Compnent>, LIBRARY_SIZE> made;
    PtrTo<const Compnent>& component = made[number];
    if (!component) component = component_of(library_entries()[number]);
    return component;
}

void take(double& field, double value) {
    if (field == UNSET) field = value;
}

/// Critical Z-factor and volume as a pair, made consistent with the library's own Tc and Pc.
void take_critical_volume(Compnent& component, const Compnent& entry) {
    if (component.vc != UNSET || component.zc != UNSET) return;
    component.zc = entry.zc;
    component.vc = entry.vc;
    if (!(entry.tc >= 0.0 && entry.pc >= 0.0)) return;
    const double rt_over_p = GAS_CONSTANT * entry.tc / entry.pc;
    if (component.vc > 0.0)
        component.zc = component.vc / rt_over_p;
    else if (component.zc > 0.0)
        component.vc = component.zc * rt_over_p;
}

void take_entry(Compnent& component, const Compnent& entry) {
    take(component.mw, entry.mw);
    take(component.acentric, entry.acentric);
    take(component.parachor, entry.parachor);
    take(component.tb, entry.tb);
    take(component.tc, entry.tc);
    take(component.pc, entry.pc);
    if (component.full_name.text.empty()) component.full_name = entry.full_name;
    if (component.sg == UNSET && entry.sg > 0.0) {
        component.sg = entry.sg;
        component.ref_temp = entry.ref_temp;
        component.ref_pres = entry.ref_pres;
    }
    take_critical_volume(component, entry);
}

void take_paraffin(Compnent& component, int n) {
    const double M = paraffin_mw(n);
    TwuProps twu;
    twu.solve(std::log(M), UNSET);
    take(component.mw, M);
    take(component.sg, twu.sg());
    take(component.tb, twu.tb());
    take(component.tc, twu.tc());
    take(component.pc, twu.pc());
    if (component.vc == UNSET && component.zc == UNSET) {
        component.vc = twu.vc();
        component.zc = twu.zc();
    }
    take(component.parachor, n * 40.0 + 31.0);
}

}  // namespace

PtrTo<const Compnent> library_find(const std::string& word) {
    const auto found = library().find(UserWord(word).key());
    return found == library().end() ? PtrTo<const Compnent>() : component_number(found->second);
}

bool apply_library(Compnent& component) {
    const std::string& name = component.name.text();
    if (const PtrTo<const Compnent> entry = library_find(name)) {
        take_entry(component, *entry);
        return true;
    }
    static const std::string PARAFFIN = "N-C&";
    if (KeyCompare(PARAFFIN, name) != 0) return false;
    const int n = leading_integer(name.c_str() + PARAFFIN.size() - 1);
    if (n < SMALLEST_PARAFFIN || n == INT_MAX) return false;
    take_paraffin(component, n);
    return true;
}

int leading_integer(const char* text) {
    const long value = std::strtol(text, nullptr, 10);
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

}  // namespace kestrane
