#include "fluid/Charz_User.h"

#include <algorithm>

namespace kestrane {

const CmdKey* Charz_User::FindKey(const std::string& word) const {
    const CmdKey* key = dictionary_of<Charz_User>().find(word);
    return key ? key : EOS_User::FindKey(word);
}

PtrTo<const EOS> Charz_User::default_eos() const {
    return chosen_eos ? chosen_eos : make_default_eos();
}

Charzation& Charz_User::add_charzation(const Charzation& charz) {
    charzations_.push_back(make_dyn<Charzation>(charz));
    Charzation& added = *charzations_.back();
    if (added.basis) {
        const Charzation* base = find_charzation(*added.basis);
        if (base && base != &added) added.take_lumps(*base);
    }
    current(&added);
    return added;
}

Charzation* Charz_User::current(Charzation* next) {
    if (next) current_ = next;
    return current_;
}

Charzation* Charz_User::find_charzation(const std::string& word) {
    const auto at =
        std::find_if(charzations_.rbegin(), charzations_.rend(),
                     [&word](const PtrTo<Charzation>& charz) { return charz->answers_to(word); });
    return at == charzations_.rend() ? nullptr : at->get();
}

void Charz_User::add_lump(const Lump& lump) {
    if (current_) current_->add_lump(lump);
}

bool Charz_User::knows_name(const std::string& word) const {
    return current_ && (current_->find_component(word) >= 0 || current_->find_lump(word));
}

std::vector<double> Charz_User::base_fractions(const Charzation& base) const {
    return std::vector<double>(base.size(), 1.0);
}

double Charz_User::base_temperature() const {
    return 0.0;
}

void Charz_User::forget_charzations() {
    current_ = nullptr;
    charzations_.clear();
}

PtrTo<Charzation> Charz_User::add_shared(const Charzation& charz) {
    add_charzation(charz);
    return charzations_.back();
}

bool Charz_User::holds(const PtrTo<Charzation>& charz) const {
    return std::find(charzations_.begin(), charzations_.end(), charz) != charzations_.end();
}

}  // namespace kestrane
