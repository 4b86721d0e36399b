// The boundary between one phase and two on the line between two states.

#include "input/UserCmd.h"
#include "lab/EOSLab.h"
#include "lab/NumberText.h"
#include "lab/PhaseTable.h"
#include "lab/Section.h"

namespace kestrane {

/// A temperature or pressure of a limit: a value, or the name of a saved one.
struct LimitValue {
    ValueWithUnit value;
    std::string name;
};
/// One limit of the line. What is not given is the other limit's, or the cell's.
struct LimitText {
    LimitValue temperature, pressure;
    std::string mixture;
    bool given = false;
};
struct Boundary_Data {
    LimitText limits[2];
};
using Boundary_Cmd = UserCmd<EOSLab, Boundary_Data>;

namespace {

/// Reads limits: TEMP&, PRES& and MIX& with a value or a name, bare values with their units, in any
/// order.
class LimitReader {
public:
    explicit LimitReader(Reader& reader) : reader_(reader) {}

    /// Up to a word that belongs to no limit, which is handed back.
    void read(LimitText& limit) {
        while (read_item(limit)) limit.given = true;
    }

private:
    bool read_item(LimitText& limit) {
        std::string word;
        if (reader_.NextWord(word) > 0) {
            if (KeyCompare(word, "TEMP&") == 0)
                return read_value(limit.temperature, UnitKind::Temperature, "temperature");
            if (KeyCompare(word, "PRES&") == 0)
                return read_value(limit.pressure, UnitKind::Pressure, "pressure");
            if (KeyCompare(word, "MIX&") == 0) return read_mixture(limit);
            reader_.Unread();
        }
        return read_bare(limit);
    }

    bool read_bare(LimitText& limit) {
        const UnitSet* const sets[] = {&unit_set(UnitKind::Temperature),
                                       &unit_set(UnitKind::Pressure)};
        ValueWithUnit value;
        const bool has_temperature = limit.temperature.value.value != UNSET;
        const int kind = ReadValue(reader_, value, sets, has_temperature ? 1 : 0);
        if (kind < 0) return false;
        (kind == 0 ? limit.temperature : limit.pressure).value = value;
        return true;
    }

    /// A number with its unit, else the name of a variable.
    bool read_value(LimitValue& item, UnitKind kind, const std::string& what) {
        const UnitSet* const set = &unit_set(kind);
        if (ReadValue(reader_, item.value, {&set, 1}) >= 0) return true;
        if (reader_.NextWord(item.name) > 0) return true;
        reader_.ErrorHere({"No " + what + " was given for a limit."});
        return false;
    }

    bool read_mixture(LimitText& limit) {
        if (reader_.NextWord(limit.mixture) > 0) return true;
        reader_.ErrorHere({"No mixture was given for a limit."});
        return false;
    }

    Reader& reader_;
};

/// The value of a limit; false after an error for a name that is not known.
bool look_up(const Command& command, Writer& writer, const NamedTable<ValueWithUnit>& saved,
             const std::string& what, const LimitValue& item, ValueWithUnit& value) {
    value = item.value;
    if (item.name.empty()) return true;
    const ValueWithUnit* found = saved.find(item.name);
    if (found) {
        value = *found;
        return true;
    }
    writer.Error({what + " variable \"" + item.name + "\" undefined.",
                  command.Location("Problem for ", ".")});
    return false;
}

bool look_up(const Command& command, Writer& writer, EOSLab& lab, const LimitText& text,
             BoundaryLimit& limit) {
    bool known = look_up(command, writer, lab.saved_temperatures, "Temperature", text.temperature,
                         limit.temperature);
    known =
        look_up(command, writer, lab.saved_pressures, "Pressure", text.pressure, limit.pressure) &&
        known;
    if (text.mixture.empty()) return known;
    limit.mixture = lab.find_mixture(text.mixture);
    if (limit.mixture) return known;
    writer.Error(
        {"Mixture \"" + text.mixture + "\" undefined.", command.Location("Problem for ", ".")});
    return false;
}

}  // namespace

template <>
void Boundary_Cmd::Read(Reader& reader, const std::string& key) {
    const LineLimitScope one_line(reader, 0);
    LimitReader limit_reader(reader);
    limit_reader.read(limits[0]);
    std::string and_word;
    const bool another = reader.NextWord(and_word) > 0;
    if (another && (KeyCompare(and_word, "AND") == 0 || KeyCompare(and_word, "TO") == 0))
        limit_reader.read(limits[1]);
    else if (another)
        reader.Unread();
    if ((!limits[0].given || !limits[1].given) && !reader.line_in_error())
        reader.ErrorHere(
            {"Incomplete \"" + key + "\" command.", "A limit was expected but not found."});
}

template <>
void Boundary_Cmd::Execute(Reader& reader) {
    EOSLab& lab = user();
    BoundaryLimit a, b;
    const bool known = look_up(*this, reader, lab, limits[0], a);
    if (!look_up(*this, reader, lab, limits[1], b) || !known) return;
    Section section(lab, reader, "Boundary Calculation", "boundary calculation");
    PVTCell& cell = lab.cell();
    CellConditions near, far;
    cell.boundary(a, b, near, far);
    if (reader.active()) {
        const std::string heading = section.heading();
        print_phases(reader, phase_table(cell, heading + "-A (Near Boundary)"));
        if (lab.errors().usable()) {
            cell.restore_and_flash(far, false);
            print_phases(reader, phase_table(cell, heading + "-B (Far Boundary)"));
            cell.restore_and_flash(near, false);
        }
    }
    section.close(*this);
}

namespace {
const UserKey<EOSLab, Boundary_Data> boundary_key{"BOUND&"};
}

}  // namespace kestrane
