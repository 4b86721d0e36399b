#include "input/UserCmd.h"
#include "lab/Conditions.h"
#include "lab/EOSLab.h"
#include "lab/PhaseTable.h"
#include "lab/Section.h"

namespace kestrane {

struct Flash_Data {
    ValueWithUnit temperature;  ///< K; UNSET: as the cell has it
    ValueWithUnit pressure;     ///< Pa
};
using Flash_Cmd = UserCmd<EOSLab, Flash_Data>;

template <>
void Flash_Cmd::Read(Reader& reader, const std::string&) {
    read_temperature_and_pressure(reader, temperature, pressure);
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
