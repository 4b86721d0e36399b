#include "lab/EOSLab.h"

#include <algorithm>

#include "equil/EOS.h"
#include "fluid/LBC.h"
#include "fluid/Sugden.h"
#include "input/Keyword.h"

namespace kestrane {

EOSLab::EOSLab() : errors_(make_dyn<ErrorList>()) {
    SetDeferred(true);
    EOSLab::resetLaboratory();
}

const CmdKey* EOSLab::FindKey(const std::string& word) const {
    if (const CmdKey* key = dictionary_of<EOSLab>().find(word)) return key;
    return Charz_User::FindKey(word);
}

PtrTo<const EOS> EOSLab::default_eos() const {
    return chosen_eos ? chosen_eos : Charz_User::default_eos();
}

Charzation* EOSLab::current(Charzation* next) {
    Charzation* charz = Charz_User::current(next);
    if (next) cell_->set_charz(charz);
    return charz;
}

void EOSLab::forget_charzations() {
    Charz_User::forget_charzations();
    if (cell_) cell_->set_charz(nullptr);
}

std::vector<double> EOSLab::base_fractions(const Charzation& base) const {
    const Tank& feed = *cell_->feed;
    if (feed.charz() != &base || feed.total_moles() == 0.0) return Charz_User::base_fractions(base);
    std::vector<double> fractions(feed.moles().begin(), feed.moles().end());
    for (double& fraction : fractions) fraction /= feed.total_moles();
    return fractions;
}

double EOSLab::base_temperature() const {
    return std::max(0.0, cell_->temperature.value);
}

void EOSLab::resetLaboratory() {
    cell_ = nullptr;
    forget_charzations();
    chosen_eos = nullptr;
    lbc_coefficients() = LBC_DEFAULTS;
    viscometer() = make_dyn<LBC>();
    tension_model() = make_dyn<Sugden>();
    mixtures.clear();
    saved_temperatures.clear();
    saved_pressures.clear();
    saved_depths.clear();
    separators.clear();
    processes.clear();
    collectors.clear();
    run_counts.clear();
    title.clear();
    subtitles.clear();
    for (const char* name : {"FEED", "EQL&", "EQV&", "NFL&", "NFV&", "INJ&"})
        mixtures.set(name, make_dyn<Tank>(name));
    errors_->Clear();
    cell_ = make_dyn<PVTCell>(find_mixture("FEED"), find_mixture("EQL"), find_mixture("EQV"),
                              find_mixture("NFL"), find_mixture("NFV"), errors_);
}

PtrTo<Tank> EOSLab::find_mixture(const std::string& name) {
    const DynPtr<Tank>* found = mixtures.find(name);
    return found ? PtrTo<Tank>(*found) : PtrTo<Tank>();
}

void EOSLab::store_mixture(const std::string& name, const Tank& amounts) {
    if (PtrTo<Tank> known = find_mixture(name)) {
        known->copy(amounts);
        return;
    }
    DynPtr<Tank> tank = make_dyn<Tank>(name);
    tank->copy(amounts);
    mixtures.set(name, tank);
}

}  // namespace kestrane
