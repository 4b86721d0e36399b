// SOREIDE, JACOBY and TWUMW: the parameters of the property correlations.

#include <cmath>
#include <sstream>

#include "fluid/Charz_User.h"
#include "fluid/Correlations.h"
#include "input/StoredBlock.h"
#include "input/UserCmd.h"

namespace kestrane {

/// SOR: a block of sub-keywords, each with one parameter of the gravity correlation.
struct Soreide_Data {};
using Soreide_Cmd = UserCmd<Charz_User, Soreide_Data>;

/// One parameter; without a number it keeps its value.
template <double Soreide::*parameter>
struct SoreideValue_Data {
    double value = UNSET;
};
template <double Soreide::*parameter>
using SoreideValue_Cmd = UserCmd<Soreide_Cmd, SoreideValue_Data<parameter>>;

/// All four parameters back to their defaults.
struct SoreideDefault_Data {};
using SoreideDefault_Cmd = UserCmd<Soreide_Cmd, SoreideDefault_Data>;

struct Jacoby_Data {
    double aromaticity = UNSET;
};
using Jacoby_Cmd = UserCmd<Charz_User, Jacoby_Data>;

struct TwuMW_Data {
    double damping = UNSET;
};
using TwuMW_Cmd = UserCmd<Charz_User, TwuMW_Data>;

template <>
void Soreide_Cmd::Execute(Reader& reader);
template <>
void Jacoby_Cmd::Execute(Reader& reader);
template <>
void TwuMW_Cmd::Execute(Reader& reader);

namespace {

// SG = 0.8468 - 15.8/MW + a (0.2456 - 1.77/MW) with the aromaticity factor a of R.H. Jacoby: 0 for
// paraffinic fractions, 1 for aromatic ones.
constexpr double JACOBY_SG0 = 0.8468;
constexpr double JACOBY_SG1 = -15.8;
constexpr double AROMATIC_SG0 = 0.2456;
constexpr double AROMATIC_SG1 = 1.77;

void read_number(Reader& reader, double& value) {
    const LineLimitScope one_line(reader, 0);
    reader.NextDouble(value);
}

/// " + " or " - " and the magnitude.
std::string signed_term(double value) {
    std::ostringstream text;
    text << (value < 0.0 ? " - " : " + ") << std::abs(value);
    return text.str();
}

std::string soreide_form(const Soreide& s) {
    std::ostringstream text;
    text << "SG  =  " << s.sg0 << signed_term(s.sg1) << "*(MW";
    if (s.mw0 != 0.0) text << signed_term(-s.mw0);
    text << ")";
    if (s.mw1 != 1.0) text << "^(" << s.mw1 << ")";
    return text.str();
}

std::string jacoby_form(const Soreide& s) {
    const double a = (s.sg0 - JACOBY_SG0) / AROMATIC_SG0;
    const double c = AROMATIC_SG1 * a + s.sg1;
    std::ostringstream text;
    text << "    =  " << JACOBY_SG0 << signed_term(c) << "/MW" << signed_term(a) << "*("
         << AROMATIC_SG0 << " - " << AROMATIC_SG1 << "/MW)";
    return text.str();
}

void report_correlation(Writer& writer) {
    if (!writer.active()) return;
    const Soreide& s = correlation_state().soreide;
    if (!s.active()) {
        writer.Note({"Soreide/Jacoby correlation is now inactive."});
        return;
    }
    std::vector<std::string> lines{"Soreide/Jacoby correlation update.", soreide_form(s)};
    if (s.mw0 == 0.0 && s.mw1 == -1.0) lines.push_back(jacoby_form(s));
    writer.Note(lines);
}

}  // namespace

void use_jacoby_form(double aromaticity) {
    CorrelationState& state = correlation_state();
    state.aromaticity = aromaticity;
    state.soreide.mw0 = 0.0;
    state.soreide.mw1 = -1.0;
    state.soreide.sg1 = JACOBY_SG1 - AROMATIC_SG1 * aromaticity;
    state.soreide.sg0 = JACOBY_SG0 + AROMATIC_SG0 * aromaticity;
}

template <double Soreide::*parameter>
void read_data(SoreideValue_Cmd<parameter>& command, Reader& reader) {
    read_number(reader, command.value);
}
template <double Soreide::*parameter>
void execute_data(SoreideValue_Cmd<parameter>& command, Reader&) {
    if (command.value != UNSET) correlation_state().soreide.*parameter = command.value;
}

template <>
void SoreideDefault_Cmd::Execute(Reader&) {
    correlation_state().soreide = Soreide{};
}

template <>
void Soreide_Cmd::Read(Reader& reader, const std::string&) {
    read_stored_block(*this, reader);
    if (immediate) Execute(reader);
}
template <>
void Soreide_Cmd::Rerun(Reader& reader) {
    correlation_state().soreide = Soreide{};
    rerun_children(reader);
}
template <>
void Soreide_Cmd::Execute(Reader& reader) {
    execute_children(reader);
    report_correlation(reader);
}

template <>
void Jacoby_Cmd::Read(Reader& reader, const std::string&) {
    read_number(reader, aromaticity);
    if (immediate) Execute(reader);
}
template <>
void Jacoby_Cmd::Rerun(Reader&) {
    correlation_state().soreide = Soreide{};
    correlation_state().aromaticity = 0.0;
}
template <>
void Jacoby_Cmd::Execute(Reader& reader) {
    use_jacoby_form(aromaticity != UNSET ? aromaticity : correlation_state().aromaticity);
    report_correlation(reader);
}

template <>
void TwuMW_Cmd::Read(Reader& reader, const std::string&) {
    read_number(reader, damping);
    if (immediate) Execute(reader);
}
/// A pass over the script begins undamped, as the first one did.
template <>
void TwuMW_Cmd::Rerun(Reader&) {
    correlation_state().twu_damping = CorrelationState{}.twu_damping;
}
template <>
void TwuMW_Cmd::Execute(Reader& reader) {
    double& current = correlation_state().twu_damping;
    if (damping != UNSET) current = damping;
    if (!reader.active()) return;
    std::ostringstream text;
    text << "Twu MW damping factor is now " << current;
    reader.Note({text.str()});
}

namespace {

const UserKey<Charz_User, Soreide_Data> soreide_key{"SOR&"};
const UserKey<Soreide_Cmd, SoreideValue_Data<&Soreide::mw0>> mw0_key{"MW0"};
const UserKey<Soreide_Cmd, SoreideValue_Data<&Soreide::mw1>> mw1_key{"MW1", "EXP&"};
const UserKey<Soreide_Cmd, SoreideValue_Data<&Soreide::sg0>> sg0_key{"SG0"};
const UserKey<Soreide_Cmd, SoreideValue_Data<&Soreide::sg1>> sg1_key{"SG1", "CF", "SLOPE",
                                                                     "FACTOR"};
const UserKey<Soreide_Cmd, SoreideDefault_Data> default_key{"DEF&", "STAN&"};
const UserKey<Charz_User, Jacoby_Data> jacoby_key{"JACOBY"};
const UserKey<Charz_User, TwuMW_Data> twu_mw_key{"TWUM&"};

}  // namespace

}  // namespace kestrane
