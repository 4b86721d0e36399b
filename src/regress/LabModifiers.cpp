#include "regress/LabModifiers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "fluid/Correlations.h"
#include "fluid/GammaState.h"
#include "fluid/LBC.h"
#include "frame/ErrorList.h"
#include "frame/Errors.h"
#include "input/Reader.h"
#include "lab/EOSLab.h"
#include "lab/NumberText.h"
#include "regress/CharModifiers.h"

namespace kestrane {

namespace {

struct SoreideParameter {
    Keyword words;
    const char* name;
    double Soreide::*member;
};
const std::array<SoreideParameter, 4>& soreide_parameters() {
    static const std::array<SoreideParameter, 4> parameters{
        {{{"MW0"}, "MW0", &Soreide::mw0},
         {{"MW1", "EXP&"}, "MW1", &Soreide::mw1},
         {{"SG0"}, "SG0", &Soreide::sg0},
         {{"SG1", "CF", "SLOPE", "FACTOR"}, "SG1", &Soreide::sg1}}};
    return parameters;
}

const std::array<Keyword, GAMMA_PARAMETERS>& gamma_words() {
    static const std::array<Keyword, GAMMA_PARAMETERS> words{
        {{"SHAPE"}, {"AVE&"}, {"BOUND&"}, {"ORIG&"}}};
    return words;
}

/// Operates on one of the cell's conditions. It stays in its unit, unless it is replaced. What is
/// operated on is in base units, so that multiples are those of the absolute scale.
template <class Refuse>
void change_condition(const Modifier& modifier, ValueWithUnit& condition, Refuse refuse) {
    const bool had_value = condition.value != UNSET;
    if (!modifier.operate(condition.value))
        refuse(condition.value);
    else if (!condition.unit || !had_value || (modifier.replaces() && modifier.unit()))
        condition.unit = modifier.unit();
}

/// The components of the tank between two names; empty where a name is none of its own.
CompRange range_in(const Tank& tank, const std::string& first, const std::string& last) {
    CompRange range;
    if (!tank.charz()) return range;
    const int from = tank.charz()->find_component(first);
    const int to = tank.charz()->find_component(last);
    if (from < 0 || to < 0) return range;
    range.first = from;
    range.last = to;
    return range;
}

bool holds(const Tank& tank, const std::string& component) {
    return tank.charz() && tank.charz()->find_component(component) >= 0;
}

/// A fluid to look components up in where nothing is defined.
const Charzation& no_fluid() {
    static const Charzation none;
    return none;
}

}  // namespace

TankMod::TankMod(const Command& owner, EOSLab& lab, bool by_mass, Reader& reader)
    : Modifier(owner, &lab), lab_(lab), by_mass_(by_mass) {
    static const Keyword in{"IN"};
    const LineLimitScope one_line(reader, 0);
    const Charzation* charz = lab.current(nullptr);
    const Charzation& fluid = charz ? *charz : no_fluid();
    const CompRange range = read_range(reader, fluid);
    next_word_is(reader, in);
    if (reader.NextWord(mixture_) <= 0) mixture_.clear();
    const bool known = !mixture_.empty() && lab.find_mixture(mixture_);
    if (!known && !reader.lost(mixture_) && !reader.line_in_error())
        reader.ErrorHere({"\"" + mixture_ + "\" not recognized as a mixture name."});
    target_ = std::string(by_mass ? "mass" : "moles") + " of " + range.text + " in " + mixture_;
    usable_ = known && !range.empty();
    if (!range.empty()) {
        first_ = fluid.comps[static_cast<std::size_t>(range.first)].name.text();
        last_ = fluid.comps[static_cast<std::size_t>(range.last)].name.text();
    }
    read_operand(reader, &unit_set(by_mass ? UnitKind::Mass : UnitKind::Mole));
}

void TankMod::apply(Writer& writer) {
    Modifier::apply(writer);
    const PtrTo<Tank> tank = usable_ ? lab_.find_mixture(mixture_) : PtrTo<Tank>();
    if (!tank) return;
    // A mixture of another fluid keeps to it if the components are there too.
    Charzation* const current = lab_.current(nullptr);
    if (tank->charz() != current && !(holds(*tank, first_) && holds(*tank, last_))) {
        try {
            tank->convert(current);
        } catch (const UnconvertedTank& failure) {
            refuse(writer, conversion_message("The mixture", *tank, current, failure.reason) + ".");
        }
    }
    change(writer, *tank);
}

void TankMod::change(Writer& writer, Tank& tank) const {
    const auto present =
        by_mass_ ? std::span<const double>(tank.masses()) : std::span<const double>(tank.moles());
    std::vector<double> amounts(present.begin(), present.end());
    const CompRange range = range_in(tank, first_, last_);
    for (int i = range.first; i <= range.last; ++i) {
        double& amount = amounts[static_cast<std::size_t>(i)];
        if (!operate(amount))
            report_refusal(writer, amount,
                           std::string(by_mass_ ? "mass" : "moles") + " of " +
                               tank.charz()->comps[static_cast<std::size_t>(i)].name.shown() +
                               " in " + mixture_);
    }
    try {
        Tank changed(tank);
        if (by_mass_)
            changed.assign_masses(amounts, 1.0);
        else
            changed.assign_moles(amounts, 1.0);
        if (!std::isfinite(changed.total_moles()) || !std::isfinite(changed.total_mass()))
            refuse(writer, "The mixture's amount exceeds the range of numbers.");
        tank.copy(changed);
    } catch (const BadMW&) {
        refuse(writer, "The mixture holds a component with a nonphysical molecular weight.");
    }
}

void TankMod::refuse(Writer& writer, const std::string& reason) const {
    writer.Fatal({"Could not modify mixture \"" + mixture_ + "\".", place(), reason});
}

TempMod::TempMod(const Command& owner, EOSLab& lab, Reader& reader)
    : Modifier(owner, &lab), lab_(lab) {
    target_ = "temperature";
    read_operand(reader, &unit_set(UnitKind::Temperature));
}

void TempMod::apply(Writer& writer) {
    Modifier::apply(writer);
    change_condition(*this, lab_.cell().temperature,
                     [&](double temperature) { report_refusal(writer, temperature, target_); });
}

PresMod::PresMod(const Command& owner, EOSLab& lab, Reader& reader)
    : Modifier(owner, &lab), lab_(lab) {
    target_ = "pressure";
    read_operand(reader, &unit_set(UnitKind::Pressure));
}

void PresMod::apply(Writer& writer) {
    Modifier::apply(writer);
    change_condition(*this, lab_.cell().pressure,
                     [&](double pressure) { report_refusal(writer, pressure, target_); });
}

Mod_LBC::Mod_LBC(const Command& owner, const Fitter& fitter, std::size_t coefficient,
                 Reader& reader)
    : Modifier(owner, &fitter), coefficient_(coefficient) {
    target_ = std::string("LBC ") + LBC_NAMES[coefficient];
    read_operand(reader, nullptr);
}

void Mod_LBC::apply(Writer& writer) {
    Modifier::apply(writer);
    double& coefficient = lbc_coefficients()[coefficient_];
    if (!operate(coefficient)) report_refusal(writer, coefficient, target_);
}

void Mod_LBC::rerun() {
    lbc_coefficients() = LBC_DEFAULTS;
}

Mod_Sor::Mod_Sor(const Command& owner, const Fitter& fitter, std::size_t parameter, Reader& reader)
    : Modifier(owner, &fitter), parameter_(parameter) {
    target_ = std::string("Soreide ") + soreide_parameters()[parameter].name;
    read_operand(reader, nullptr);
}

void Mod_Sor::apply(Writer& writer) {
    Modifier::apply(writer);
    double& parameter = correlation_state().soreide.*soreide_parameters()[parameter_].member;
    if (!operate(parameter)) report_refusal(writer, parameter, target_);
}

void Mod_Sor::rerun() {
    correlation_state().soreide = Soreide{};
}

Mod_Jacoby::Mod_Jacoby(const Command& owner, const Fitter& fitter, Reader& reader)
    : Modifier(owner, &fitter) {
    target_ = "Jacoby factor";
    read_operand(reader, nullptr);
}

void Mod_Jacoby::apply(Writer& writer) {
    Modifier::apply(writer);
    double factor = correlation_state().aromaticity;
    if (operate(factor))
        use_jacoby_form(factor);
    else
        report_refusal(writer, factor, target_);
}

void Mod_Jacoby::rerun() {
    correlation_state().soreide = Soreide{};
    correlation_state().aromaticity = CorrelationState{}.aromaticity;
}

Mod_TwuMW::Mod_TwuMW(const Command& owner, const Fitter& fitter, Reader& reader)
    : Modifier(owner, &fitter) {
    target_ = "Twu MW damping factor";
    read_operand(reader, nullptr);
}

void Mod_TwuMW::apply(Writer& writer) {
    Modifier::apply(writer);
    double factor = correlation_state().twu_damping;
    if (operate(factor))
        correlation_state().twu_damping = std::clamp(factor, 0.0, 1.0);
    else
        report_refusal(writer, factor, target_);
}

void Mod_TwuMW::rerun() {
    correlation_state().twu_damping = CorrelationState{}.twu_damping;
}

Mod_Gamma::Mod_Gamma(const Command& owner, const Fitter& fitter, std::size_t parameter,
                     Reader& reader)
    : Modifier(owner, &fitter), parameter_(parameter) {
    target_ = std::string("Gamma ") + GAMMA_WORDS[parameter];
    read_operand(reader, nullptr);
}

void Mod_Gamma::apply(Writer& writer) {
    Modifier::apply(writer);
    double value = gamma_state().current[parameter_];
    if (!operate(value)) {
        report_refusal(writer, value, target_);
        return;
    }
    const double legal = std::clamp(value, GAMMA_MINIMUM[parameter_], GAMMA_MAXIMUM[parameter_]);
    gamma_state().current[parameter_] = legal;
    if (legal != value && writer.reportLevel <= WARNING)
        writer.Warning(
            {"Illegal modification of " + target_ + ".", place(),
             "The parameter went out of bounds and was reset to " + general_text(legal) + "."});
}

void Mod_Gamma::rerun() {
    gamma_state() = GammaState{};
}

namespace {

using Made = DynPtr<Modifier>;

/// The index of the key that the next word names. A word that names none is reported with its
/// line, and the result is the number of keys.
template <class Matches>
std::size_t read_key(Reader& reader, std::size_t count, Matches matches) {
    std::string word;
    if (reader.NextWord(word) <= 0) word.clear();
    std::size_t key = 0;
    while (key < count && !matches(key, word)) ++key;
    if (key == count) {
        reader.NotRecognized(word);
        reader.DiscardLine();
    }
    return key;
}

Made make_tank(const Command& owner, EOSLab& lab, bool by_mass, Reader& reader) {
    return Made(new TankMod(owner, lab, by_mass, reader));
}
Made make_moles(const Command& owner, EOSLab& lab, Reader& reader) {
    return make_tank(owner, lab, false, reader);
}
Made make_mass(const Command& owner, EOSLab& lab, Reader& reader) {
    return make_tank(owner, lab, true, reader);
}
template <class M>
Made make(const Command& owner, EOSLab& lab, Reader& reader) {
    return Made(new M(owner, lab, reader));
}
template <class M, std::size_t COUNT>
Made make_keyed(const Command& owner, EOSLab& lab, Reader& reader,
                bool (*matches)(std::size_t, const std::string&)) {
    const std::size_t key = read_key(reader, COUNT, matches);
    return key < COUNT ? Made(new M(owner, lab, key, reader)) : Made();
}
Made make_lbc(const Command& owner, EOSLab& lab, Reader& reader) {
    return make_keyed<Mod_LBC, LBC_COUNT>(owner, lab, reader,
                                          [](std::size_t key, const std::string& word) {
                                              return KeyCompare(LBC_NAMES[key], word.c_str()) == 0;
                                          });
}
Made make_soreide(const Command& owner, EOSLab& lab, Reader& reader) {
    return make_keyed<Mod_Sor, 4>(owner, lab, reader, [](std::size_t key, const std::string& word) {
        return soreide_parameters()[key].words.matches(word);
    });
}
Made make_gamma(const Command& owner, EOSLab& lab, Reader& reader) {
    return make_keyed<Mod_Gamma, GAMMA_PARAMETERS>(
        owner, lab, reader,
        [](std::size_t key, const std::string& word) { return gamma_words()[key].matches(word); });
}

struct Target {
    const char* word;
    Made (*make)(const Command& owner, EOSLab& lab, Reader& reader);
};
constexpr std::array<Target, 9> TARGETS{{{"MOLE&", make_moles},
                                         {"MASS&", make_mass},
                                         {"TEMP&", make<TempMod>},
                                         {"PRES&", make<PresMod>},
                                         {"LBC", make_lbc},
                                         {"SOR&", make_soreide},
                                         {"JACOBY", make<Mod_Jacoby>},
                                         {"TWUM&", make<Mod_TwuMW>},
                                         {"GAMMA", make_gamma}}};

}  // namespace

bool is_lab_target(const std::string& word) {
    return std::any_of(TARGETS.begin(), TARGETS.end(), [&word](const Target& target) {
        return KeyCompare(target.word, word.c_str()) == 0;
    });
}

DynPtr<Modifier> read_lab_modifier(const Command& owner, EOSLab& lab, Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    std::string word;
    if (reader.NextWord(word) <= 0) word.clear();
    for (const Target& target : TARGETS)
        if (KeyCompare(target.word, word.c_str()) == 0) return target.make(owner, lab, reader);
    reader.NotRecognized(word);
    reader.DiscardLine();
    return {};
}

}  // namespace kestrane
