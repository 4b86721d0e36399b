// The experiments' keywords.

#include "expt/Depletion.h"
#include "expt/PVTzGSEG.h"
#include "input/UserCmd.h"

namespace kestrane {

/// An experiment is read once, and run in every pass.
template <class Experiment>
struct Expt_Data {
    Experiment experiment;
};

template <class Experiment>
void read_data(UserCmd<EOSLab, Expt_Data<Experiment>>& command, Reader& reader) {
    command.experiment.command = &command;
    command.experiment.parse(reader, command.user(), reader);
}

template <class Experiment>
void execute_data(UserCmd<EOSLab, Expt_Data<Experiment>>& command, Reader& reader) {
    command.experiment.run(reader, command.user(), reader);
}

namespace {

template <class Experiment>
using Expt_Key = UserKey<EOSLab, Expt_Data<Experiment>>;

const Expt_Key<PVTzEXPA> expansion_key{"EXP&", "CCE&", "SWEL&"};
const Expt_Key<PVTzDFLG> gas_liberation_key{"DL", "DLG&", "DLE", "DLEG&", "DFL", "DFLG&"};
const Expt_Key<PVTzDFLL> liquid_liberation_key{"DLL&", "DLO&", "DLEL&", "DLEO&", "DFLL&", "DFLO&"};
const Expt_Key<PVTzCVDG> gas_volume_key{"CVD", "CVDG&"};
const Expt_Key<PVTzCVDL> liquid_volume_key{"CVDL&", "CVDO&"};
const Expt_Key<PVTzCMDG> gas_moles_key{"CMD", "CMDG&"};
const Expt_Key<PVTzCMDL> liquid_moles_key{"CMDL&", "CMDO&"};
const Expt_Key<PVTzCWDG> gas_mass_key{"CWD", "CWDG&"};
const Expt_Key<PVTzCWDL> liquid_mass_key{"CWDL&", "CWDO&"};
const Expt_Key<PVTzGSEG> segregation_key{"SEG", "SEGR&", "GRA&", "GSEG&"};

}  // namespace

}  // namespace kestrane
