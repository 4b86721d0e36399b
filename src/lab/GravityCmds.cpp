// Columns of fluid in gravity: changes of elevation and gas-oil contacts.

#include <algorithm>

#include "input/UserCmd.h"
#include "lab/DampingOption.h"
#include "lab/EOSLab.h"
#include "lab/NumberText.h"
#include "lab/PhaseTable.h"
#include "lab/Section.h"

namespace kestrane {

/// ELEV&, ASCEN&, DESCEN&: a distance, or TO and a depth; DAMP& and STOP& behind.
struct Elevation_Data {
    ValueWithUnit distance;  ///< m, positive upward
    ValueWithUnit depth;     ///< m; UNSET: by the distance
    DampingOption damping;
    bool stop = false;  ///< at a contact
};
/// GOC: DAMP& behind.
struct Contact_Data {
    DampingOption damping;
};
/// DAMP& on the line of a command of data D.
template <class D>
struct Damping_Data {};
struct Stop_Data {};

using Elevation_Cmd = UserCmd<EOSLab, Elevation_Data>;
using Contact_Cmd = UserCmd<EOSLab, Contact_Data>;
using Stop_Cmd = UserCmd<Elevation_Cmd, Stop_Data>;

template <class D>
void read_data(UserCmd<UserCmd<EOSLab, D>, Damping_Data<D>>& command, Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    command.user().damping.read(reader, command.user().user());
}

template <>
void Stop_Cmd::Read(Reader& reader, const std::string&) {
    user().stop = true;
    std::string flag;
    ReadFlag(reader, flag, user().stop);
}

namespace {

bool read_distance(Reader& reader, ValueWithUnit& value) {
    const UnitSet* const set = &unit_set(UnitKind::Distance);
    return ReadValue(reader, value, {&set, 1}) >= 0;
}

/// Sub-keywords on the command's line; they put what they read into the command.
void read_options(Command& command, Reader& reader) {
    std::string word;
    while (command.ReadOne(reader, word) > 0) {
    }
    command.commands.clear();
}

}  // namespace

/// Distance and sub-keywords in any order.
template <>
void Elevation_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    std::string option;
    for (bool more = true; more;) {
        read_options(*this, reader);
        more = false;
        std::string to;
        if (distance.value != UNSET || depth.value != UNSET) break;
        if (reader.NextWord(to) > 0) {
            if (KeyCompare(to, "TO") == 0)
                more = read_distance(reader, depth);
            else
                reader.Unread();
        }
        if (depth.value == UNSET) more = read_distance(reader, distance);
    }
    if (distance.value == UNSET && depth.value == UNSET)
        reader.ErrorHere({"No distance or depth was given for keyword \"" + word + "\"."});
    if (KeyCompare(word, "DESCEN&") == 0 && distance.value != UNSET)
        distance.value = -distance.value;
}

namespace {

/// ", to depth of 10 m (5 m, damping 0.5)".
std::string elevation_text(const Elevation_Data& data, const ValueWithUnit& start,
                           const ValueWithUnit& reached, double factor) {
    const ValueWithUnit moved{start.value - reached.value,
                              data.distance.value == UNSET ? reached.unit : data.distance.unit};
    std::string text = ", to depth of " + value_text(reached, UnitKind::Distance) + " (" +
                       value_text(moved, UnitKind::Distance);
    const std::string damping = damping_text(factor);
    return text + (damping.empty() ? "" : ", " + damping) + ")";
}

}  // namespace

template <>
void Elevation_Cmd::Execute(Reader& reader) {
    EOSLab& lab = user();
    Section section(lab, reader, "Elevation Change", "elevation change");
    PVTCell& cell = lab.cell();
    const double factor = damping.factor(lab);
    ValueWithUnit start = cell.depth;
    if (start.value == UNSET) start.value = 0.0;
    if (!start.unit) start.unit = depth.value == UNSET ? distance.unit : depth.unit;
    cell.depth = start;
    const double height = depth.value == UNSET ? distance.value : start.value - depth.value;
    const bool reached = cell.segregate(height, factor, stop, cell.init_policy);
    if (depth.value != UNSET && reached && cell.depth.value == start.value - height)
        cell.depth = depth;
    if (reader.active())
        print_phases(reader,
                     phase_table(cell, section.heading() +
                                           elevation_text(*this, start, cell.depth, factor)));
    section.close(*this);
}

template <>
void Contact_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    read_options(*this, reader);
}

template <>
void Contact_Cmd::Execute(Reader& reader) {
    EOSLab& lab = user();
    Section section(lab, reader, "Gas-Oil Contact Calculation", "gas-oil contact calculation");
    PVTCell& cell = lab.cell();
    const double factor = damping.factor(lab);
    double depth = UNSET;
    const bool found = cell.gas_oil_contact(factor, depth);
    if (reader.active()) {
        const std::string damped = damping_text(factor);
        std::string title = section.heading();
        if (found) title += " (Depth = " + value_text(cell.depth, UnitKind::Distance);
        if (!damped.empty()) title += ", " + damped;
        if (found) title += ")";
        print_phases(reader, phase_table(cell, title));
    }
    section.close(*this);
}

namespace {
const UserKey<EOSLab, Elevation_Data> elevation_key{"ELEV&", "ASCEN&", "DESCEN&"};
const UserKey<Elevation_Cmd, Damping_Data<Elevation_Data>> elevation_damping_key{"DAMP&"};
const UserKey<Elevation_Cmd, Stop_Data> stop_key{"STOP&"};
const UserKey<EOSLab, Contact_Data> contact_key{"GOC"};
const UserKey<Contact_Cmd, Damping_Data<Contact_Data>> contact_damping_key{"DAMP&"};
}  // namespace

}  // namespace kestrane
