#include "input/UserCmd.h"
#include "lab/EOSLab.h"
#include "lab/PhaseTable.h"
#include "lab/Section.h"

namespace kestrane {

struct Flash_Data {
    ValueWithUnit temperature;  ///< K; UNSET: as the cell has it
    ValueWithUnit pressure;     ///< Pa
};
using Flash_Cmd = UserCmd<EOSLab, Flash_Data>;

/// Up to one temperature and one pressure, in either order, each known by its unit. A bare number
/// is the temperature first, the pressure next.
template <>
void Flash_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    std::vector<const UnitSet*> sets{&unit_set(UnitKind::Temperature),
                                     &unit_set(UnitKind::Pressure)};
    std::vector<ValueWithUnit*> targets{&temperature, &pressure};
    while (!sets.empty()) {
        ValueWithUnit value;
        const int kind = ReadValue(reader, value, sets, 0);
        if (kind < 0) return;
        *targets[static_cast<std::size_t>(kind)] = value;
        sets.erase(sets.begin() + kind);
        targets.erase(targets.begin() + kind);
    }
}

template <>
void Flash_Cmd::Execute(Reader& reader) {
    EOSLab& lab = user();
    Section section(lab, reader, "Flash Calculation", "flash calculation");
    PVTCell& cell = lab.cell();
    if (temperature.value != UNSET) cell.temperature = temperature;
    if (pressure.value != UNSET) cell.pressure = pressure;
    cell.flash();
    if (reader.active()) print_phases(reader, phase_table(cell, section.heading()));
    section.close(*this);
    execute_children(reader);
}

namespace {
const UserKey<EOSLab, Flash_Data> flash_key{"FLASH"};
}

}  // namespace kestrane
