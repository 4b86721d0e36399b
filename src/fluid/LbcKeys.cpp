// LBC: the coefficients of the viscosity correlation.

#include <sstream>

#include "fluid/Charz_User.h"
#include "fluid/LBC.h"
#include "input/StoredBlock.h"
#include "input/UserCmd.h"

namespace kestrane {

/// LBC: a block of sub-keywords, each with one coefficient of the correlation.
struct LBC_Data {};
using LBC_Cmd = UserCmd<Charz_User, LBC_Data>;

/// One coefficient; without a number it goes back to its default.
template <std::size_t index>
struct LBCValue_Data {
    double value = LBC_DEFAULTS[index];
};
template <std::size_t index>
using LBCValue_Cmd = UserCmd<LBC_Cmd, LBCValue_Data<index>>;

/// All coefficients back to their defaults.
struct LBCDefault_Data {};
using LBCDefault_Cmd = UserCmd<LBC_Cmd, LBCDefault_Data>;

template <>
void LBC_Cmd::Execute(Reader& reader);

template <std::size_t index>
void read_data(LBCValue_Cmd<index>& command, Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    reader.NextDouble(command.value);
}
template <std::size_t index>
void execute_data(LBCValue_Cmd<index>& command, Reader&) {
    lbc_coefficients()[index] = command.value;
}

template <>
void LBCDefault_Cmd::Execute(Reader&) {
    lbc_coefficients() = LBC_DEFAULTS;
}

namespace {

constexpr int COEFFICIENT_DIGITS = 8;

std::string inconsistent_headline(std::string_view, int) {
    return "Physically inconsistent viscosities may be predicted.";
}

std::string coefficient_list() {
    std::ostringstream text;
    text.precision(COEFFICIENT_DIGITS);
    for (std::size_t i = 0; i < LBC_COUNT; ++i)
        text << (i == 0 ? "" : ", ") << LBC_NAMES[i] << " = " << lbc_coefficients()[i];
    return text.str();
}

}  // namespace

template <>
void LBC_Cmd::Read(Reader& reader, const std::string&) {
    read_stored_block(*this, reader);
    if (immediate) Execute(reader);
}

template <>
void LBC_Cmd::Rerun(Reader& reader) {
    lbc_coefficients() = LBC_DEFAULTS;
    rerun_children(reader);
}

template <>
void LBC_Cmd::Execute(Reader& reader) {
    execute_children(reader);
    if (!dynamic_cast<const LBC*>(viscometer().get())) viscometer() = make_dyn<LBC>();
    const bool standard = lbc_coefficients() == LBC_DEFAULTS;
    if (reader.active())
        reader.Note({std::string(standard ? "Standard" : "Modified") +
                         " LBC correlation now used for viscosities.",
                     coefficient_list()});
    if (standard) return;
    ErrorList errors;
    viscometer()->check(errors);
    if (!errors.empty()) errors.Report(reader, "", Location(), inconsistent_headline);
}

namespace {

const UserKey<Charz_User, LBC_Data> lbc_key{"LBC"};
const UserKey<LBC_Cmd, LBCValue_Data<0>> p0_key{LBC_NAMES[0]};
const UserKey<LBC_Cmd, LBCValue_Data<1>> p1_key{LBC_NAMES[1]};
const UserKey<LBC_Cmd, LBCValue_Data<2>> p2_key{LBC_NAMES[2]};
const UserKey<LBC_Cmd, LBCValue_Data<3>> p3_key{LBC_NAMES[3]};
const UserKey<LBC_Cmd, LBCValue_Data<4>> p4_key{LBC_NAMES[4]};
const UserKey<LBC_Cmd, LBCValue_Data<5>> f0_key{LBC_NAMES[5]};
const UserKey<LBC_Cmd, LBCDefault_Data> lbc_default_key{"DEF&", "STAN&"};

}  // namespace

}  // namespace kestrane
