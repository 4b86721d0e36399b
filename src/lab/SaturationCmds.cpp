// Saturation, vapor and convergence pressures, and critical temperatures of the feed.

#include "input/UserCmd.h"
#include "lab/EOSLab.h"
#include "lab/NumberText.h"
#include "lab/PhaseTable.h"
#include "lab/Section.h"

namespace kestrane {

// What the calculations differ in: title, label and the cell's operation.
struct Saturation {
    static constexpr const char* TITLE = "Saturation Pressure Calculation";
    static constexpr const char* LABEL = "saturation pressure calculation";
    static void run(PVTCell& cell) { cell.saturation(+1); }
};
struct DewPoint {
    static constexpr const char* TITLE = "Dew-Point Pressure Calculation";
    static constexpr const char* LABEL = "dew-point pressure calculation";
    static void run(PVTCell& cell) { cell.saturation(-1); }
};
struct VaporPressure {
    static constexpr const char* TITLE = "Vapor Pressure Calculation";
    static constexpr const char* LABEL = "vapor pressure calculation";
    static void run(PVTCell& cell) { cell.vapor_pressure(); }
};
struct ConvergencePressure {
    static constexpr const char* TITLE = "Convergence Pressure Calculation";
    static constexpr const char* LABEL = "convergence pressure calculation";
    static void run(PVTCell& cell) { cell.convergence_pressure(); }
};
struct PseudoCritical {
    static constexpr const char* TITLE = "Pseudo-Critical Temperature Calculation";
    static constexpr const char* LABEL = "pseudo-critical temperature calculation";
    static constexpr const char* RESULT = "Pseudo-Critical Temperature = ";
    static void run(PVTCell& cell) { cell.critical_temperature(); }
};
struct AverageCritical {
    static constexpr const char* TITLE = "Average Critical Temperature Calculation";
    static constexpr const char* LABEL = "average critical temperature calculation";
    static constexpr const char* RESULT = "Average Critical Temperature = ";
    static void run(PVTCell& cell) { cell.average_critical_temperature(); }
};

/// A pressure at a temperature, which may be given.
template <class Calculation>
struct Pressure_At_Data {
    ValueWithUnit temperature;  ///< K; UNSET: as the cell has it
};
/// A temperature of the feed; no arguments.
template <class Calculation>
struct Critical_Data {};

template <class Calculation>
void read_data(UserCmd<EOSLab, Pressure_At_Data<Calculation>>& command, Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    const UnitSet* const sets[] = {&unit_set(UnitKind::Temperature)};
    ReadValue(reader, command.temperature, sets);
}

/// The phase table follows whatever the result was.
template <class Calculation>
void execute_data(UserCmd<EOSLab, Pressure_At_Data<Calculation>>& command, Reader& reader) {
    EOSLab& lab = command.user();
    Section section(lab, reader, Calculation::TITLE, Calculation::LABEL);
    PVTCell& cell = lab.cell();
    if (command.temperature.value != UNSET) cell.temperature = command.temperature;
    Calculation::run(cell);
    if (reader.active()) print_phases(reader, phase_table(cell, section.heading()));
    section.close(command);
}

template <class Calculation>
void execute_data(UserCmd<EOSLab, Critical_Data<Calculation>>& command, Reader& reader) {
    EOSLab& lab = command.user();
    Section section(lab, reader, Calculation::TITLE, Calculation::LABEL);
    PVTCell& cell = lab.cell();
    Calculation::run(cell);
    if (reader.active()) {
        reader.Line(section.heading());
        reader.Line(std::string(section.heading().size(), '='));
        reader.Line("");
        reader.Line(Calculation::RESULT + value_text(cell.temperature, UnitKind::Temperature));
        reader.Newlines(2);
    }
    section.close(command);
}

namespace {

template <class Calculation>
using Pressure_Key = UserKey<EOSLab, Pressure_At_Data<Calculation>>;
template <class Calculation>
using Critical_Key = UserKey<EOSLab, Critical_Data<Calculation>>;

const Pressure_Key<Saturation> satp_key{"SATP&", "PSAT&", "BUBP&", "PBUB&"};
const Pressure_Key<DewPoint> dewp_key{"DEWP&", "PDEW&"};
const Pressure_Key<VaporPressure> vapp_key{"VAPP&", "VAPR&"};
const Pressure_Key<ConvergencePressure> conp_key{"CONP&"};
const Critical_Key<PseudoCritical> tcrit_key{"TCRIT&"};
const Critical_Key<AverageCritical> tcav_key{"TCAV&"};

}  // namespace

}  // namespace kestrane
