#include <algorithm>
#include <array>
#include <cmath>

#include "frame/Errors.h"
#include "input/FileReader.h"
#include "input/UserCmd.h"
#include "lab/EOSLab.h"
#include "lab/MixtureTable.h"

namespace kestrane {

/// What an ingredient's number means.
enum class AmountType : int {
    None = 0,
    Tank = 1,
    Mole = 2,
    Mass = 3,
    TotalMole = 4,
    TotalMass = 5
};

struct Ingredient {
    std::string name;
    int component = -1;  ///< index in the characterization, -1 for a mixture
    double amount = 1.0;
    AmountType type = AmountType::None;
};

struct Mix_Data {
    std::string name;
    bool valid = true;
    std::vector<Ingredient> ingredients;
};
using Mix_Cmd = UserCmd<EOSLab, Mix_Data>;

namespace {

struct TypeWord {
    const char* word;
    AmountType type;
};
constexpr std::array<TypeWord, 5> TYPE_WORDS{{{"TANK&", AmountType::Tank},
                                              {"MOLE&", AmountType::Mole},
                                              {"MASS&", AmountType::Mass},
                                              {"TMOLE&", AmountType::TotalMole},
                                              {"TMASS&", AmountType::TotalMass}}};
constexpr std::array<const char*, 9> RESERVED_NAMES{"TANK&", "MOLE&", "MASS&", "TMOLE&", "TMASS&",
                                                    "EQL&",  "EQV&",  "NFL&",  "NFV&"};

AmountType amount_type(const std::string& word) {
    for (const TypeWord& entry : TYPE_WORDS)
        if (KeyCompare(entry.word, word.c_str()) == 0) return entry.type;
    return AmountType::None;
}

bool is_number(const std::string& text) {
    double number;
    return parse_number(text, number);
}

/// Why a user may not define a mixture of that name; empty if allowed.
std::string refusal(const std::string& name) {
    if (name.empty() || is_number(name)) return "Mixture names cannot appear empty or numerical.";
    for (const std::string reserved : RESERVED_NAMES) {
        if (KeyCompare(reserved, name) != 0) continue;
        if (reserved.back() != '&')
            return "The name \"" + name + "\" is not allowed for user-defined mixtures.";
        return "Names beginning with \"" + reserved.substr(0, reserved.size() - 1) +
               "\" are not allowed for user-defined mixtures.";
    }
    return {};
}

std::string undefined(const std::string& ingredient) {
    return "Undefined component " + ingredient + " cannot be added to the final mixture.";
}

/// Reads the ingredient list: names, numbers and type words. A second name or a second number
/// closes an item; the list's first item decides whether numbers stand before or after the names.
/// A number with no name is the amount of the next component by position.
class IngredientReader {
public:
    IngredientReader(Reader& reader, EOSLab& lab, Mix_Data& mix)
        : reader_(reader),
          lab_(lab),
          mix_(mix),
          line_(reader.lineNumber()),
          file_(&reader.file()) {}

    void read() {
        const LineLimitScope many_lines(reader_, -1);
        while (read_item_part()) {
        }
        close();
    }

private:
    bool read_item_part() {
        double number = UNSET;
        if (reader_.NextDouble(number) > 0) {
            if (number != UNSET) take_number(number);
            note_line();
            return true;
        }
        std::string word;
        const int result = reader_.NextWord(word);
        if (result < 0) return false;
        if (result == 0) return (reader_.flags() & FileReader::DATA_ENDED) == 0;
        return take_word(word);
    }

    bool take_word(const std::string& word) {
        const int component = component_of(word);
        const AmountType type = component >= 0 ? AmountType::None : amount_type(word);
        if (type != AmountType::None) {
            take_type(type);
        } else if (component >= 0 || lab_.find_mixture(word)) {
            take_name(word, component);
        } else if (starts_line() && reader_.nobody_knows(word)) {
            // It begins no statement: the list may go on below it, on a line of its own.
            reader_.SkipUnknown(word);
            return true;
        } else if (starts_line()) {
            reader_.Unread();
            return false;
        } else {
            take_unknown(word);
        }
        note_line();
        return true;
    }

    /// A list that begins with a type puts each type before its item: there a type behind a
    /// complete item belongs to the next one.
    void take_type(AmountType type) {
        if (first_item_ && !has_name_ && !has_number_) types_first_ = true;
        if (types_first_ && has_name_ && has_number_) close();
        type_ = type;
    }

    void take_name(const std::string& word, int component) {
        if (first_item_) numbers_first_ = has_number_;
        if (has_name_ || (has_number_ && !numbers_first_)) close();
        item_.name = word;
        item_.component = component;
        has_name_ = true;
        first_item_ = false;
    }

    /// Its number goes with it, on whichever side that stands.
    void take_unknown(const std::string& word) {
        if (first_item_) numbers_first_ = has_number_;
        first_item_ = false;
        if (has_name_) close();
        invalid(word, place_of(word));
        item_ = Ingredient{};
        has_name_ = true;
        has_number_ = false;
    }

    void take_number(double number) {
        if (has_number_ || (has_name_ && numbers_first_)) close();
        item_.amount = number;
        has_number_ = true;
        // Whether a name follows shows on the next word, which may stand on another line.
        const Charzation* charz = lab_.Charz_User::current();
        const bool told = charz ? position_ >= charz->comp_count() : !reader_.definitions_lost();
        if (!has_name_ && number != 0.0 && told) place_ = place_of(std::to_string(position_ + 1));
    }

    void close() {
        if (!has_name_ && !has_number_) return;
        if (!has_name_) take_position();
        if (item_.component >= 0) position_ = item_.component + 1;
        item_.type = type_;
        if (!item_.name.empty()) mix_.ingredients.push_back(item_);
        item_ = Ingredient{};
        has_name_ = has_number_ = false;
    }

    /// A number alone belongs to the component behind the last one.
    void take_position() {
        const Charzation* charz = lab_.Charz_User::current();
        if (charz && position_ < charz->comp_count()) {
            item_.component = position_;
            item_.name = charz->comps[static_cast<std::size_t>(position_)].name.text();
        } else if (item_.amount != 0.0) {
            invalid(std::to_string(position_ + 1), place_);
        }
        ++position_;
    }

    std::vector<std::string> place_of(const std::string& ingredient) const {
        std::vector<std::string> lines;
        reader_.Locate(lines, 3, true, "Problem for " + ingredient);
        return lines;
    }

    void invalid(const std::string& ingredient, const std::vector<std::string>& place) {
        mix_.valid = false;
        const bool no_fluid = !lab_.Charz_User::current();
        if (reader_.lost(ingredient) || (no_fluid && reader_.definitions_lost())) return;
        std::vector<std::string> lines{"Invalid ingredient for mixture \"" + mix_.name + "\"."};
        lines.insert(lines.end(), place.begin(), place.end());
        lines.push_back(undefined(ingredient));
        reader_.Error(lines);
        // Without a fluid no component is known: the first says so for all.
        if (no_fluid) reader_.LoseLine();
    }

    int component_of(const std::string& word) const {
        const Charzation* charz = lab_.Charz_User::current();
        return charz ? charz->find_component(word) : -1;
    }

    bool starts_line() const { return reader_.lineNumber() != line_ || &reader_.file() != file_; }
    void note_line() {
        line_ = reader_.lineNumber();
        file_ = &reader_.file();
    }

    Reader& reader_;
    EOSLab& lab_;
    Mix_Data& mix_;
    int line_;  ///< of the last token taken
    const InFile* file_;
    Ingredient item_;
    AmountType type_ = AmountType::None;  ///< in force until another is given
    bool has_name_ = false, has_number_ = false;
    bool first_item_ = true;
    bool numbers_first_ = false;
    bool types_first_ = false;
    int position_ = 0;  ///< next component by position
    std::vector<std::string> place_;  ///< of the number at hand, where it has no component
};

void add_component(Tank& tank, const Ingredient& item) {
    switch (item.type) {
        case AmountType::Mass:
            tank.add_mass(item.component, item.amount);
            break;
        case AmountType::TotalMole:
            tank.add_mole(item.component, item.amount - tank.total_moles());
            break;
        case AmountType::TotalMass:
            tank.add_mass(item.component, item.amount - tank.total_mass());
            break;
        default:
            tank.add_mole(item.component, item.amount);
            break;
    }
}

void add_mixture(Tank& tank, const Ingredient& item, const Tank& source) {
    switch (item.type) {
        case AmountType::Mole:
            tank.add_amount(source, item.amount);
            break;
        case AmountType::Mass:
            tank.add_mass_amount(source, item.amount);
            break;
        case AmountType::TotalMole:
            tank.add_amount(source, item.amount - tank.total_moles());
            break;
        case AmountType::TotalMass:
            tank.add_mass_amount(source, item.amount - tank.total_mass());
            break;
        default:
            tank.add_scaled(source, item.amount);
            break;
    }
}

/// Adds one ingredient; the message of a failure, or empty. What failed leaves the tank as it was.
std::string add_ingredient(EOSLab& lab, Tank& tank, const Ingredient& item) {
    PtrTo<Tank> source;
    try {
        const Tank before(tank);
        if (item.component >= 0) {
            add_component(tank, item);
        } else {
            source = lab.find_mixture(item.name);
            if (!source) return undefined(item.name);
            add_mixture(tank, item, *source);
        }
        if (std::isfinite(tank.total_moles()) && std::isfinite(tank.total_mass())) return {};
        tank.copy(before);
        return "The amount of ingredient \"" + item.name + "\" exceeds the range of numbers.";
    } catch (const BadMW&) {
        return "Component \"" + item.name + "\" had a nonphysical molecular weight.";
    } catch (const BadComponent&) {
        return undefined(item.name);
    } catch (const BadTank&) {
        return "Ingredient \"" + item.name + "\" was void of total moles, total mass, or both.";
    } catch (const UnconvertedTank& failure) {
        return conversion_message("Ingredient \"" + item.name + "\"", *source, tank.charz(),
                                  failure.reason) +
               ".";
    }
}

}  // namespace

template <>
void Mix_Cmd::Read(Reader& reader, const std::string&) {
    {
        const LineLimitScope one_line(reader, 0);
        reader.NextWord(name);
    }
    const std::string reason = refusal(name);
    if (!reason.empty()) {
        valid = false;
        std::vector<std::string> lines{"Mixture \"" + name + "\" cannot be defined."};
        reader.Locate(lines, 3, true, "Problem detected");
        lines.push_back(reason);
        reader.Error(lines);
        reader.LoseLine();
    }
    IngredientReader(reader, user(), *this).read();
    // With an ingredient in error too: what follows in the script may name it.
    if (reason.empty()) user().store_mixture(name, Tank(name, user().current(nullptr)));
}

template <>
void Mix_Cmd::Execute(Reader& reader) {
    if (!valid) return;
    EOSLab& lab = user();
    Tank tank(name, lab.current(nullptr));
    for (const Ingredient& item : ingredients) {
        const std::string failure = add_ingredient(lab, tank, item);
        if (failure.empty()) continue;
        reader.Error({"Could not add an ingredient to mixture \"" + name + "\".",
                      Location("Problem for " + item.name + ", ", "."), failure});
    }
    lab.store_mixture(name, tank);
    const bool quiet = KeyCompare("Q&", word.c_str()) == 0;
    if (!quiet && reader.active()) print_mixture(reader, mixture_table(tank, name));
}

namespace {
const UserKey<EOSLab, Mix_Data> mix_key{"MIX&", "QMIX&", "QIX&"};
}

}  // namespace kestrane
