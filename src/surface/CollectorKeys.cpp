// COLLECT: gathers fluids for black oil tables.

#include <iomanip>
#include <sstream>

#include "input/UserCmd.h"
#include "lab/EOSLab.h"
#include "surface/Collector.h"
#include "surface/NameArgument.h"

namespace kestrane {

struct Collect_Data {
    PtrTo<Collector> collector;
};
using Collect_Cmd = UserCmd<EOSLab, Collect_Data>;

/// EQL&, NFL&, EQV&, NFV&: stores the current mixture.
template <StoreKind KIND>
struct Store_Data {};
/// RESET: empties the collector.
struct CollectReset_Data {};

namespace {

std::string what_of(StoreKind kind) {
    return std::string(store_word(kind)) + " collection";
}

std::string fluid_name(StoreKind kind, int line) {
    std::ostringstream text;
    text << store_word(kind) << "_Line_" << std::setw(5) << std::setfill('0') << line;
    return text.str();
}

}  // namespace

/// While the script is read the collector notes the characterization that it will have, so that a
/// fluid that does not fit is found before anything is calculated.
template <StoreKind KIND>
void read_data(UserCmd<Collect_Cmd, Store_Data<KIND>>& command, Reader& reader) {
    Collector& collector = *command.user().collector;
    Charzation* charz = command.user().user().current(nullptr);
    ErrorList problems;
    if (!charz && reader.definitions_lost()) return;
    if (!charz) {
        problems.Add("No fluid characterization was ever defined", ERROR);
    } else if (const std::string reason = collector.refusal(*charz); !reason.empty()) {
        problems.Add(reason, ERROR);
    } else {
        collector.characterization = charz;
    }
    problems.Report(reader, what_of(KIND), command.Location(), ValidityHeadline);
}

template <StoreKind KIND>
void execute_data(UserCmd<Collect_Cmd, Store_Data<KIND>>& command, Reader& reader) {
    EOSLab& lab = command.user().user();
    lab.cell().flash();
    if (lab.errors().usable())
        command.user().collector->Store(lab, reader, KIND, fluid_name(KIND, command.line));
    lab.errors().Report(reader, what_of(KIND), command.Location(), ResultHeadline);
}

template <>
void UserCmd<Collect_Cmd, CollectReset_Data>::Read(Reader&, const std::string&) {
    user().collector->clear();
}

template <>
void UserCmd<Collect_Cmd, CollectReset_Data>::Execute(Reader&) {
    user().collector->clear();
}

template <>
void Collect_Cmd::Read(Reader& reader, const std::string&) {
    const std::string name = read_name_of(reader, "collector");
    if (const PtrTo<Collector>* known = user().collectors.find(name)) {
        collector = *known;
    } else {
        collector = make_dyn<Collector>();
        collector->name = name;
        if (!name.empty()) user().collectors.set(name, collector);
    }
    const bool was_immediate = immediate;
    immediate = false;
    std::string next;
    ReadBlock(reader, next, true);
    immediate = was_immediate;
}

/// Each pass stores afresh.
template <>
void Collect_Cmd::Rerun(Reader& reader) {
    collector->clear();
    rerun_children(reader);
}

template <>
void Collect_Cmd::Execute(Reader& reader) {
    user().collectors.set(collector->name, collector);
    execute_children(reader);
}

namespace {

template <StoreKind KIND>
using Store_Key = UserKey<Collect_Cmd, Store_Data<KIND>>;

const UserKey<EOSLab, Collect_Data> collect_key{"COLL&"};
const Store_Key<StoreKind::EQL> eql_key{"EQL&"};
const Store_Key<StoreKind::NFL> nfl_key{"NFL&"};
const Store_Key<StoreKind::EQV> eqv_key{"EQV&"};
const Store_Key<StoreKind::NFV> nfv_key{"NFV&"};
const UserKey<Collect_Cmd, CollectReset_Data> reset_key{"RESET"};

}  // namespace

}  // namespace kestrane
