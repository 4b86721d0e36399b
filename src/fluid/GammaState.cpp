#include "fluid/GammaState.h"

#include <algorithm>
#include <sstream>

namespace kestrane {

namespace {

template <class Sets>
auto find_set(Sets& sets, const std::string& name) {
    const UserWord wanted(name);
    return std::find_if(sets.begin(), sets.end(),
                        [&wanted](const auto& set) { return set.first == wanted; });
}

}  // namespace

GammaState& gamma_state() {
    static GammaState state;
    return state;
}

Conserved& conserved_basis() {
    static Conserved basis = Conserved::Moles;
    return basis;
}

void GammaState::reset_fit() {
    guess = GAMMA_GUESS;
    lower = GAMMA_LOWER;
    upper = GAMMA_UPPER;
}

void GammaState::store(const std::string& name) {
    const auto at = find_set(stored, name);
    if (at != stored.end())
        at->second = current;
    else
        stored.emplace_back(UserWord(name), current);
}

const GammaValues* GammaState::find(const std::string& name) const {
    const auto at = find_set(stored, name);
    return at == stored.end() ? nullptr : &at->second;
}

GammaValues absolute_gamma(GammaValues values, double mw) {
    if (values[BOUND] <= 1.0) values[BOUND] *= mw;
    if (values[AVERAGE] <= 1.0 || values[AVERAGE] < values[BOUND]) values[AVERAGE] *= mw;
    if (values[ORIGIN] <= 1.0) values[ORIGIN] *= values[BOUND];
    return values;
}

std::string list_gamma(const GammaValues& values) {
    std::ostringstream text;
    for (std::size_t i = 0; i < GAMMA_PARAMETERS; ++i)
        text << (i > 0 ? ", " : "") << GAMMA_WORDS[i] << " = " << values[i];
    return text.str();
}

}  // namespace kestrane
