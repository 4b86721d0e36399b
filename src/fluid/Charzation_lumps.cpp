// The lumped fractions of a characterization, and the components built of them.

#include <algorithm>

#include "fluid/Charzation.h"

namespace kestrane {

bool Lump::fits(const Charzation& charz) const {
    if (fractions.size() != charz.size()) return false;
    if (components.empty()) return true;
    return std::equal(components.begin(), components.end(), charz.comps.begin(), charz.comps.end(),
                      [](const UserWord& name_of, const Compnent& component) {
                          return name_of == component.name;
                      });
}

const Lump* Charzation::find_lump(const std::string& word) const {
    const UserWord wanted(word);
    const auto at = std::find_if(lumps.begin(), lumps.end(),
                                 [&wanted](const auto& lump) { return lump->name == wanted; });
    return at == lumps.end() ? nullptr : at->get();
}

void Charzation::add_lump(const Lump& lump) {
    const auto at = std::find_if(lumps.begin(), lumps.end(),
                                 [&lump](const auto& known) { return known->name == lump.name; });
    PtrTo<const Lump> added = make_dyn<const Lump>(lump);
    if (at != lumps.end())
        *at = added;
    else
        lumps.push_back(added);
}

void Charzation::take_lumps(const Charzation& base) {
    for (const PtrTo<const Lump>& lump : base.lumps)
        if (!find_lump(lump->name.text())) add_lump(*lump);
}

}  // namespace kestrane
