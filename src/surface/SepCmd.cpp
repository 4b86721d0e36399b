// SEP: a separator. Its words are in SepKeys.cpp.

#include "frame/Errors.h"
#include "input/UserCmd.h"
#include "lab/Conditions.h"
#include "lab/EOSLab.h"
#include "surface/NameArgument.h"
#include "surface/SepReport.h"

namespace kestrane {

struct Sep_Data {
    DynPtr<Sep> sep;
};
using Sep_Cmd = UserCmd<EOSLab, Sep_Data>;

namespace {

[[noreturn]] void refuse(Reader& reader, const Command& command, const Sep& sep,
                         const std::string& reason) {
    reader.Fatal({"Separator \"" + sep.name + "\" does not fit the fluid characterization.",
                  command.Location(), reason});
}

}  // namespace

/// The laboratory knows the separator from here on, so that what follows in the script can name it.
template <>
void Sep_Cmd::Read(Reader& reader, const std::string& key) {
    Charzation* charz = user().current(nullptr);
    if (!charz && !reader.definitions_lost())
        fatal_here(reader, "Illegal \"" + key + "\" command.",
                   "Separators cannot be defined without a prior fluid characterization.");
    sep = make_dyn<Sep>();
    sep->name = read_name_of(reader, "separator");
    sep->characterization = charz;
    sep->componentCount = charz ? charz->size() : 0;
    read_temperature_and_pressure(reader, sep->temperature, sep->pressure);
    sep->immediate = false;
    std::string next;
    sep->ReadBlock(reader, next, true);
    if (!sep->name.empty()) user().separators.set(sep->name, sep);
}

template <>
void Sep_Cmd::Rerun(Reader& reader) {
    sep->unbind();
    for (const auto& command : sep->commands) command->Rerun(reader);
}

template <>
void Sep_Cmd::Execute(Reader& reader) {
    for (const auto& command : sep->commands) command->Execute(reader);
    Charzation* charz = user().current(nullptr);
    if (!charz) throw LogicError{};
    try {
        if (!sep->bind(*charz, user()))
            refuse(reader, *this, *sep,
                   "Its table was given for " + std::to_string(sep->componentCount) +
                       " components, where there are " + std::to_string(charz->size()) + ".");
    } catch (const BadLump&) {
        refuse(reader, *this, *sep, "A component or lump of its variables is missing.");
    }
    user().separators.set(sep->name, sep);
    print_definition(reader, *sep);
}

namespace {
const UserKey<EOSLab, Sep_Data> sep_key{"SEP&"};
}

}  // namespace kestrane
