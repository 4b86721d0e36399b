// GAMMA: the parameters of the distribution that splits plus fractions. CONSERVE: what a split, and
// any other conversion of a mixture, conserves.

#include <algorithm>
#include <sstream>
#include <vector>

#include "fluid/GammaCmd.h"
#include "fluid/GammaState.h"
#include "input/StoredBlock.h"

namespace kestrane {

/// One parameter: numbers, or a stored value, or its present value for a fit too.
template <GammaParameter parameter>
struct GammaValue_Data {
    std::vector<double> numbers;
    std::string stored_name;
    bool restores = false;
    bool fixes = false;
};
template <GammaParameter parameter>
using GammaValue_Cmd = UserCmd<Gamma_Cmd, GammaValue_Data<parameter>>;

struct GammaStore_Data {
    std::string name;
};
using GammaStore_Cmd = UserCmd<Gamma_Cmd, GammaStore_Data>;

struct GammaRestore_Data {
    std::string name;
};
using GammaRestore_Cmd = UserCmd<Gamma_Cmd, GammaRestore_Data>;

struct GammaSplit_Data {
    std::string from;  ///< empty: nothing was named
    std::string to;
};
using GammaSplit_Cmd = UserCmd<Gamma_Cmd, GammaSplit_Data>;

struct Conserve_Data {
    bool given = false;
    Conserved basis = Conserved::Moles;
};
using Conserve_Cmd = UserCmd<Charz_User, Conserve_Data>;

template <>
void Conserve_Cmd::Execute(Reader& reader);

namespace {

/// Numbers that a parameter takes: the value and two limits of a fit.
constexpr std::size_t MAX_NUMBERS = 3;

void report_while_reading(Reader& reader, const std::string& problem, const std::string& reason) {
    std::vector<std::string> lines{problem};
    reader.Locate(lines, 3, true, "Problem detected");
    lines.push_back(reason);
    reader.Error(lines);
}

/// The word behind a keyword, on its line; empty if there is none.
std::string read_word(Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    std::string word;
    if (reader.NextWord(word) <= 0) word.clear();
    return word;
}

std::vector<double> read_numbers(Reader& reader, GammaParameter parameter) {
    const LineLimitScope one_line(reader, 0);
    std::vector<double> numbers(MAX_NUMBERS, UNSET);
    reader.NextDoubles(numbers, GAMMA_MINIMUM[parameter], GAMMA_MAXIMUM[parameter]);
    std::erase(numbers, UNSET);
    return numbers;
}

/// The set of that name; null, with a report, if there is none.
const GammaValues* stored_set(Reader& reader, const Command& command, const std::string& name,
                              const std::string& problem) {
    const GammaValues* found = gamma_state().find(name);
    if (!found)
        reader.Error({problem, command.Location("Problem detected for "),
                      "Gamma parameters have never been stored under the name \"" + name + "\"."});
    return found;
}

void report_parameters(Reader& reader) {
    const GammaState& state = gamma_state();
    if (!reader.active() || state.split_to.empty()) return;
    const std::string title = "Gamma Parameters (for splitting " +
                              UserWord(state.split_from).shown() + " and heavier into " +
                              UserWord(state.split_to).shown() + " and heavier)";
    std::ostringstream values;
    for (std::size_t i = 0; i < GAMMA_PARAMETERS; ++i)
        values << (i > 0 ? ",  " : "") << GAMMA_TITLES[i] << ":  " << state.current[i];
    reader.Newlines(2);
    reader.Line(title);
    reader.Line(std::string(title.size(), '='));
    reader.Line(values.str());
    reader.Newlines(1);
}

}  // namespace

template <GammaParameter parameter>
void read_data(GammaValue_Cmd<parameter>& command, Reader& reader) {
    command.numbers = read_numbers(reader, parameter);
    if (!command.numbers.empty()) return;
    const LineLimitScope one_line(reader, 0);
    std::string option;
    if (reader.NextWord(option) <= 0) return;
    command.fixes = KeyCompare("FIX&", option.c_str()) == 0;
    command.restores = KeyCompare("RES&", option.c_str()) == 0;
    if (command.restores)
        command.stored_name = read_word(reader);
    else if (!command.fixes)
        reader.Unread();
}

template <GammaParameter parameter>
void execute_data(GammaValue_Cmd<parameter>& command, Reader& reader) {
    GammaState& state = gamma_state();
    double& current = state.current[parameter];
    if (!command.numbers.empty()) {
        const auto [smallest, largest] =
            std::minmax_element(command.numbers.begin(), command.numbers.end());
        current = state.guess[parameter] = command.numbers.front();
        state.lower[parameter] = *smallest;
        state.upper[parameter] = *largest;
    } else if (command.fixes) {
        state.guess[parameter] = state.lower[parameter] = state.upper[parameter] = current;
    } else if (command.restores) {
        const GammaValues* set =
            stored_set(reader, command, command.stored_name,
                       "Cannot restore Gamma \"" + command.word + "\" parameter.");
        if (set) current = (*set)[parameter];
    }
}

template <>
void GammaStore_Cmd::Read(Reader& reader, const std::string&) {
    name = read_word(reader);
    if (name.empty())
        report_while_reading(reader, "Cannot store Gamma parameters.", "A name is required here.");
}

template <>
void GammaStore_Cmd::Execute(Reader&) {
    if (!name.empty()) gamma_state().store(name);
}

template <>
void GammaRestore_Cmd::Read(Reader& reader, const std::string&) {
    name = read_word(reader);
}

template <>
void GammaRestore_Cmd::Execute(Reader& reader) {
    const GammaValues* set = stored_set(reader, *this, name, "Cannot restore Gamma parameters.");
    if (set) gamma_state().current = *set;
}

template <>
void GammaSplit_Cmd::Read(Reader& reader, const std::string&) {
    from = read_word(reader);
    to = from.empty() ? from : read_word(reader);
    if (to.empty()) to = from;
    if (from.empty())
        report_while_reading(reader, "Cannot split a fraction.",
                             "The name of its first component is required here.");
}

template <>
void GammaSplit_Cmd::Execute(Reader&) {
    if (from.empty()) return;
    gamma_state().split_from = from;
    gamma_state().split_to = to;
}

template <>
void Gamma_Cmd::Read(Reader& reader, const std::string&) {
    read_stored_block(*this, reader);
    if (immediate) Execute(reader);
}

/// A pass over the script begins with nothing set or stored, as the first one did.
template <>
void Gamma_Cmd::Rerun(Reader& reader) {
    gamma_state() = GammaState{};
    rerun_children(reader);
}

template <>
void Gamma_Cmd::Execute(Reader& reader) {
    gamma_state().reset_fit();
    execute_children(reader);
    report_parameters(reader);
}

template <>
void Conserve_Cmd::Read(Reader& reader, const std::string&) {
    const std::string option = read_word(reader);
    const bool mass = KeyCompare("MASS&", option.c_str()) == 0;
    given = mass || KeyCompare("MOL&", option.c_str()) == 0;
    basis = mass ? Conserved::Mass : Conserved::Moles;
    if (!given)
        report_while_reading(reader, "What to conserve is unknown.",
                             "One of the options, \"MASS\" or \"MOLES\", is required here.");
    if (immediate) Execute(reader);
}

template <>
void Conserve_Cmd::Rerun(Reader&) {
    conserved_basis() = Conserved::Moles;
}

template <>
void Conserve_Cmd::Execute(Reader&) {
    if (given) conserved_basis() = basis;
}

namespace {

const UserKey<Charz_User, Gamma_Data> gamma_key{"GAMMA"};
const UserKey<Gamma_Cmd, GammaValue_Data<SHAPE>> shape_key{"SHAPE"};
const UserKey<Gamma_Cmd, GammaValue_Data<AVERAGE>> average_key{"AVE&"};
const UserKey<Gamma_Cmd, GammaValue_Data<BOUND>> bound_key{"BOUND&"};
const UserKey<Gamma_Cmd, GammaValue_Data<ORIGIN>> origin_key{"ORIG&"};
const UserKey<Gamma_Cmd, GammaStore_Data> store_key{"STO&", "SAV&"};
const UserKey<Gamma_Cmd, GammaRestore_Data> restore_key{"RES&"};
const UserKey<Gamma_Cmd, GammaSplit_Data> split_key{"SPLIT&"};
const UserKey<Charz_User, Conserve_Data> conserve_key{"CONS&"};

}  // namespace

}  // namespace kestrane
