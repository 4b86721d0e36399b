#include <algorithm>
#include <cmath>

#include "equil/Numerics.h"
#include "frame/Errors.h"
#include "input/StoredBlock.h"
#include "input/UserCmd.h"
#include "lab/EOSLab.h"

namespace kestrane {

/// One of the cell's conditions, with the table its values are saved in.
struct Condition {
    const char* name;  ///< in messages
    UnitKind kind;
    ValueWithUnit PVTCell::*current;
    NamedTable<ValueWithUnit> EOSLab::*saved;
    bool logarithmic;  ///< may be restored by logarithmic interpolation
};
struct Temperature {
    static const Condition& condition();
};
struct Pressure {
    static const Condition& condition();
};
struct Depth {
    static const Condition& condition();
};

/// TEMP&, PRES&, DEPTH: a value to set, with sub-commands on the same line.
template <class V>
struct Set_Data {
    ValueWithUnit value;
};
/// SAVE name [value]
template <class V>
struct Save_Data {
    std::string name;
    ValueWithUnit value;  ///< set after saving, if given
};
/// RESTORE name [fraction] [LOG | LIN] [value]
template <class V>
struct Restore_Data {
    std::string name;
    double fraction = 1.0;
    bool logarithmic = false;
    ValueWithUnit value;
};
template <class V>
using Set_Cmd = UserCmd<EOSLab, Set_Data<V>>;
template <class V>
using Save_Cmd = UserCmd<Set_Cmd<V>, Save_Data<V>>;
template <class V>
using Restore_Cmd = UserCmd<Set_Cmd<V>, Restore_Data<V>>;

const Condition& Temperature::condition() {
    static const Condition self{"temperature", UnitKind::Temperature, &PVTCell::temperature,
                                &EOSLab::saved_temperatures, true};
    return self;
}
const Condition& Pressure::condition() {
    static const Condition self{"pressure", UnitKind::Pressure, &PVTCell::pressure,
                                &EOSLab::saved_pressures, true};
    return self;
}
const Condition& Depth::condition() {
    static const Condition self{"depth", UnitKind::Distance, &PVTCell::depth, &EOSLab::saved_depths,
                                false};
    return self;
}

namespace {

bool read_value(Reader& reader, const Condition& condition, ValueWithUnit& value) {
    const UnitSet* const set = &unit_set(condition.kind);
    return ReadValue(reader, value, {&set, 1}) >= 0;
}

void apply(PVTCell& cell, const Condition& condition, const ValueWithUnit& value) {
    if (value.value != UNSET) cell.*condition.current = value;
}

bool read_name(Reader& reader, const Condition& condition, std::string& name) {
    if (reader.NextWord(name) > 0) return true;
    reader.ErrorHere({"A name was expected for a " + std::string(condition.name) + " variable."});
    return false;
}

/// A value, then any number of sub-commands, all on the keyword's line.
void read_condition(Reader& reader, const Condition& condition, Command& command,
                    ValueWithUnit& value) {
    const LineLimitScope one_line(reader, 0);
    const bool given = read_value(reader, condition, value);
    {
        const StoringScope stored(command);
        std::string word;
        while (command.ReadOne(reader, word) > 0) {
        }
    }
    if (!given && command.commands.empty())
        reader.ErrorHere({"No " + std::string(condition.name) + " was given for keyword \"" +
                          command.word + "\"."});
}

/// The fraction and the kind of interpolation, in either order.
void read_interpolation(Reader& reader, const Condition& condition, double& fraction,
                        bool& logarithmic) {
    bool have_fraction = false;
    std::string word;
    for (;;) {
        double number = UNSET;
        if (!have_fraction && reader.NextDouble(number) > 0) {
            if (number != UNSET) fraction = number;
            have_fraction = true;
        } else if (reader.NextWord(word) <= 0) {
            return;
        } else if (condition.logarithmic && KeyCompare(word, "LOG&") == 0) {
            logarithmic = true;
        } else if (KeyCompare(word, "LIN&") == 0) {
            logarithmic = false;
        } else {
            reader.Unread();
            return;
        }
    }
}

[[noreturn]] void cannot_restore(Writer& writer, const Condition& condition,
                                 const std::string& name, const Command& command) {
    writer.Fatal(
        {"Could not restore " + std::string(condition.name) + " \"" + name + "\" logarithmically.",
         command.Location("Problem for ", "."),
         "The current, stored, or resulting " + std::string(condition.name) +
             " was found to be nonphysical."});
}

/// ln value = f ln stored + (1 - f) ln current. A zero end value is its own limit: the result is 0
/// where it keeps a positive power. False where there is no physical result.
bool logarithmic_mean(double current, double stored, double fraction, double& result) {
    if (current > 0.0 && stored > 0.0) {
        const double ln_result = fraction * std::log(stored) + (1.0 - fraction) * std::log(current);
        result = ln_result < LN_MIN ? 0.0 : std::exp(ln_result);
        return std::isfinite(result);
    }
    result = 0.0;
    return (fraction < 1.0 && current <= 0.0) || (fraction > 1.0 && stored <= 0.0);
}

void restore_condition(Writer& writer, EOSLab& lab, const Condition& condition,
                       const Command& command, const std::string& name, double fraction,
                       bool logarithmic) {
    const ValueWithUnit* stored = (lab.*condition.saved).find(name);
    if (!stored) {
        writer.Error({"Cannot restore undefined " + std::string(condition.name) + " variable \"" +
                          name + "\".",
                      command.Location("Problem for ", ".")});
        return;
    }
    ValueWithUnit& current = lab.cell().*condition.current;
    if (fraction == 0.0) return;
    if (fraction == 1.0 || current.value == stored->value) {
        current = *stored;
        return;
    }
    if (logarithmic) {
        if (!logarithmic_mean(current.value, stored->value, fraction, current.value))
            cannot_restore(writer, condition, name, command);
    } else {
        const double start = current.value == UNSET ? 0.0 : current.value;
        const double end = stored->value == UNSET ? 0.0 : stored->value;
        current.value = (1.0 - fraction) * start + fraction * end;
    }
    current.unit = stored->unit;
}

}  // namespace

template <class V>
void read_data(Set_Cmd<V>& command, Reader& reader) {
    read_condition(reader, V::condition(), command, command.value);
}
template <class V>
void execute_data(Set_Cmd<V>& command, Reader& reader) {
    apply(command.user().cell(), V::condition(), command.value);
    for (const auto& sub_command : command.commands) sub_command->Execute(reader);
}

template <class V>
void read_data(Save_Cmd<V>& command, Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    if (read_name(reader, V::condition(), command.name))
        read_value(reader, V::condition(), command.value);
}
template <class V>
void execute_data(Save_Cmd<V>& command, Reader&) {
    const Condition& condition = V::condition();
    EOSLab& lab = command.user().user();
    (lab.*condition.saved).set(command.name, lab.cell().*condition.current);
    apply(lab.cell(), condition, command.value);
}

template <class V>
void read_data(Restore_Cmd<V>& command, Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    if (!read_name(reader, V::condition(), command.name)) return;
    read_interpolation(reader, V::condition(), command.fraction, command.logarithmic);
    read_value(reader, V::condition(), command.value);
}
template <class V>
void execute_data(Restore_Cmd<V>& command, Reader& reader) {
    EOSLab& lab = command.user().user();
    restore_condition(reader, lab, V::condition(), command, command.name, command.fraction,
                      command.logarithmic);
    apply(lab.cell(), V::condition(), command.value);
}

namespace {
const UserKey<EOSLab, Set_Data<Temperature>> temperature_key{"TEMP&"};
const UserKey<Set_Cmd<Temperature>, Save_Data<Temperature>> temperature_save_key{"SAV&", "STO&"};
const UserKey<Set_Cmd<Temperature>, Restore_Data<Temperature>> temperature_restore_key{"RES&"};
const UserKey<EOSLab, Set_Data<Pressure>> pressure_key{"PRES&"};
const UserKey<Set_Cmd<Pressure>, Save_Data<Pressure>> pressure_save_key{"SAV&", "STO&"};
const UserKey<Set_Cmd<Pressure>, Restore_Data<Pressure>> pressure_restore_key{"RES&"};
const UserKey<EOSLab, Set_Data<Depth>> depth_key{"DEPTH", "DPTH"};
const UserKey<Set_Cmd<Depth>, Save_Data<Depth>> depth_save_key{"SAV&", "STO&"};
const UserKey<Set_Cmd<Depth>, Restore_Data<Depth>> depth_restore_key{"RES&"};
}  // namespace

}  // namespace kestrane
