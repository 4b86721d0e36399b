// MCM, MMP and MME: miscibility of the feed with injected fluids.

#include "input/UserCmd.h"
#include "misc/MiscExpt.h"

namespace kestrane {

template <class Expt>
struct Misc_Data : Misc_Input {
    bool valid = true;
};
template <class Expt>
using Misc_Cmd = UserCmd<EOSLab, Misc_Data<Expt>>;

template <class Expt>
struct MiscId_Data {};
template <class Expt>
struct MiscCells_Data {};
template <class Expt>
struct MiscMeasured_Data {};
template <class Expt>
struct MiscWeight_Data {};
template <class Expt>
using MiscMeasured_Cmd = UserCmd<Misc_Cmd<Expt>, MiscMeasured_Data<Expt>>;

namespace {

/// What the keywords differ in.
template <class Expt>
struct Traits {
    static constexpr std::size_t FLUIDS = 1;
    static constexpr UnitKind MEASURED = UnitKind::Pressure;
};
template <>
struct Traits<MME_Expt> {
    static constexpr std::size_t FLUIDS = 2;
    static constexpr UnitKind MEASURED = UnitKind::Fraction;
};

/// The names on the keyword's line; the words of the block are no names.
template <class Expt>
void read_names(Misc_Cmd<Expt>& command, Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    std::string name;
    while (command.fluids.size() < Traits<Expt>::FLUIDS && reader.NextQuote(name) > 0)
        command.fluids.push_back(name);
}

template <class Expt>
void report_missing_names(const Misc_Cmd<Expt>& command, Reader& reader) {
    const bool two = Traits<Expt>::FLUIDS > 1;
    const std::string quoted = "\"" + command.word + "\"";
    std::vector<std::string> lines{"Not enough input for " + quoted + " command."};
    reader.Locate(lines, 2);
    lines.push_back("The " + quoted + " command requires " +
                    (two ? "the names of two injectants (one lean, one rich). "
                           "These can be mixture or component names. "
                         : "the name of an injectant. "
                           "This can be a mixture or component name. ") +
                    (command.fluids.empty()
                         ? two ? "No such names were supplied." : "No such name was supplied."
                         : "Only one such name was supplied."));
    reader.Error(lines);
}

}  // namespace

template <class Expt>
void read_data(Misc_Cmd<Expt>& command, Reader& reader) {
    read_names(command, reader);
    command.valid = command.fluids.size() == Traits<Expt>::FLUIDS;
    if (!command.valid) report_missing_names(command, reader);
    const bool immediate = command.immediate;
    command.immediate = true;
    std::string word;
    command.ReadBlock(reader, word, true);
    command.immediate = immediate;
}

template <class Expt>
void execute_data(Misc_Cmd<Expt>& command, Reader& reader) {
    if (!command.valid) return;
    Expt experiment(command.user(), reader, command, command);
    experiment.ready();
    experiment.run();
}

template <class Expt>
void read_data(UserCmd<Misc_Cmd<Expt>, MiscId_Data<Expt>>& command, Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    reader.NextQuote(command.user().id);
}

template <class Expt>
void read_data(UserCmd<Misc_Cmd<Expt>, MiscCells_Data<Expt>>& command, Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    if (reader.NextInt(command.user().cells, 1, MOST_CELLS) <= 0)
        reader.ErrorHere({"A number was expected for keyword \"" + command.word + "\"."});
}

template <class Expt>
void read_data(MiscMeasured_Cmd<Expt>& command, Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    const UnitSet* const sets[] = {&unit_set(Traits<Expt>::MEASURED)};
    if (ReadValue(reader, command.user().measured, sets) < 0)
        reader.ErrorHere({"A value was expected for keyword \"" + command.word + "\"."});
    std::string word;
    const bool immediate = command.immediate;
    command.immediate = true;
    while (command.ReadOne(reader, word) > 0) {
    }
    command.immediate = immediate;
}

template <class Expt>
void read_data(UserCmd<MiscMeasured_Cmd<Expt>, MiscWeight_Data<Expt>>& command, Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    if (reader.NextDouble(command.user().user().weight) <= 0)
        reader.ErrorHere({"A number was expected for keyword \"" + command.word + "\"."});
}

namespace {

template <class Expt>
struct BlockKeys {
    UserKey<Misc_Cmd<Expt>, MiscId_Data<Expt>> id{"ID"};
    UserKey<Misc_Cmd<Expt>, MiscCells_Data<Expt>> cells{"CELLS", "STAGES"};
};
template <class Expt>
struct MeasuredKeys {
    UserKey<Misc_Cmd<Expt>, MiscMeasured_Data<Expt>> measured{"DAT&", "MEAS&"};
    UserKey<MiscMeasured_Cmd<Expt>, MiscWeight_Data<Expt>> weight{"WT", "WGT", "WGH&", "WEIG&"};
};

const UserKey<EOSLab, Misc_Data<MCM_Expt>> mcm_key{"MCM"};
const UserKey<EOSLab, Misc_Data<MMP_Expt>> mmp_key{"MMP"};
const UserKey<EOSLab, Misc_Data<MME_Expt>> mme_key{"MME"};
const BlockKeys<MCM_Expt> mcm_block;
const BlockKeys<MMP_Expt> mmp_block;
const BlockKeys<MME_Expt> mme_block;
const MeasuredKeys<MMP_Expt> mmp_measured;
const MeasuredKeys<MME_Expt> mme_measured;

}  // namespace

}  // namespace kestrane
