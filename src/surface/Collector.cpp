#include "surface/Collector.h"

#include "frame/Errors.h"
#include "lab/EOSLab.h"

namespace kestrane {

namespace {

const Tank& phase_of(const PVTCell& cell, StoreKind kind) {
    switch (kind) {
        case StoreKind::EQL:
            return cell.phase_count >= 2 ? *cell.eq_liquid : *cell.feed;
        case StoreKind::EQV:
            return cell.phase_count >= 2 ? *cell.eq_vapor : *cell.feed;
        case StoreKind::NFL:
            return cell.phase_count >= 1 ? *cell.nf_liquid : *cell.feed;
        default:
            return cell.phase_count >= 1 ? *cell.nf_vapor : *cell.feed;
    }
}

}  // namespace

const char* store_word(StoreKind kind) {
    static constexpr const char* WORDS[] = {"EQL", "NFL", "EQV", "NFV"};
    return WORDS[static_cast<int>(kind)];
}

std::string Collector::refusal(const Charzation& charz) const {
    if (!characterization || characterization == &charz) return {};
    return "Illegal attempt to store a mixture of the \"" + charz.name + "\" (as opposed to \"" +
           characterization->name + "\") fluid characterization in collector \"" + name + "\"";
}

void Collector::Store(EOSLab& lab, Writer& writer, StoreKind kind, const std::string& fluid_name) {
    const PVTCell& cell = lab.cell();
    if (!cell.charz) throw LogicError{};
    const std::string reason = refusal(*cell.charz);
    if (!reason.empty()) {
        writer.Error({reason + "."});
        throw LogicError{};
    }
    characterization = cell.charz;
    DynPtr<TPzSet> set = make_dyn<TPzSet>();
    set->fluid.name = fluid_name;
    set->fluid.copy(phase_of(cell, kind));
    set->temperature = cell.temperature;
    set->pressure = cell.pressure;
    set->depth = cell.depth;
    set->phase_count = cell.phase_count;
    set->liquid = cell.x_state.fraction;
    set->vapor = cell.y_state.fraction;
    // A file that is included may have a store on the same line as another.
    std::string unused = fluid_name;
    for (int i = 2; fluids.contains(unused); ++i) unused = fluid_name + "_" + std::to_string(i);
    fluids.emplace(unused, set);
}

void Collector::clear() {
    fluids.clear();
    characterization = nullptr;
}

}  // namespace kestrane
