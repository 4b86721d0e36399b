// APPLY: the current mixture through a separator or a process.

#include "input/UserCmd.h"
#include "lab/EOSLab.h"
#include "lab/Section.h"
#include "surface/NameArgument.h"
#include "surface/ProcessReport.h"
#include "surface/SepReport.h"
#include "surface/StreamTable.h"

namespace kestrane {

struct Apply_Data {};
using Apply_Cmd = UserCmd<EOSLab, Apply_Data>;
struct ApplySep_Data {
    std::string name;
};
using ApplySep_Cmd = UserCmd<Apply_Cmd, ApplySep_Data>;
struct ApplyProcess_Data {
    std::string name;
};
using ApplyProcess_Cmd = UserCmd<Apply_Cmd, ApplyProcess_Data>;

namespace {

/// A copy of the feed, ready for a facility. The laboratory's stays as it is.
bool take_feed(EOSLab& lab, Tank& feed) {
    PVTCell& cell = lab.cell();
    if (!cell.charz) {
        lab.errors().Add("No fluid characterization was ever defined", FATAL_ERROR);
        return false;
    }
    cell.charz->prepare_eos(lab.errors());
    feed.copy(*cell.feed);
    return lab.errors().usable() && cell.prepare_stream(&feed, "feed");
}

void print_heading(Writer& writer, const std::string& heading) {
    writer.Line(heading);
    writer.Line(std::string(heading.size(), '='));
    writer.Line("");
}

void print_separation(Writer& writer, const Sep& sep, const SepSplit& split, const Tank& oil,
                      const Tank& gas) {
    print_split(writer, sep, split);
    StreamTable table;
    table.title = "The feed stream and its oil and gas";
    for (const Compnent& component : sep.characterization->comps)
        table.components.push_back(component.name.shown());
    table.columns = {stream_column("Feed", split.feed, UNSET),
                     stream_column("Oil", oil, split.liquid_density),
                     stream_column("Gas", gas, split.vapor_density)};
    if (split.negative_flash) {
        table.columns.push_back(stream_column("NFL", split.nf_liquid, UNSET));
        table.columns.push_back(stream_column("NFV", split.nf_vapor, UNSET));
    }
    print_streams(writer, table);
    writer.Newlines(2);
}

void append(ErrorList& target, const ErrorList& source) {
    for (const auto& entry : source.entries)
        for (int i = 0; i < entry->count; ++i) target.Add(entry->text, source.severity);
}

}  // namespace

/// One or more of SEP and PROC, each with a name, on the line.
template <>
void Apply_Cmd::Read(Reader& reader, const std::string& key) {
    const bool was_immediate = immediate;
    immediate = false;
    std::string next;
    bool any = false;
    while (ReadOne(reader, next) > 0) any = true;
    immediate = was_immediate;
    if (!any && !reader.line_in_error())
        reader.ErrorHere({"Incomplete \"" + key + "\" command.",
                          "A separator or process was expected but not found."},
                         3);
}

template <>
void ApplySep_Cmd::Read(Reader& reader, const std::string&) {
    name = read_name_of(reader, "separator");
    if (!name.empty() && !user().user().separators.find(name) && !reader.lost(name))
        reader.ErrorHere({"Cannot apply undefined separator \"" + name + "\"."}, 3);
}

template <>
void ApplySep_Cmd::Execute(Reader& reader) {
    EOSLab& lab = user().user();
    Section section(lab, reader, "Separation", "separation");
    const PtrTo<Sep>* found = lab.separators.find(name);
    if (!found) {
        lab.errors().Add("Cannot apply undefined separator \"" + name + "\"", ERROR);
        section.close(user());
        return;
    }
    Sep& sep = **found;
    if (reader.active())
        print_heading(reader, section.heading() + " (Separator: \"" + name + "\")");
    Tank feed("feed");
    if (take_feed(lab, feed)) {
        Tank oil("oil"), gas("gas");
        const SepSplit split = sep.Separate(feed, oil, gas, reader.active());
        append(lab.errors(), sep.errors());
        sep.errors().Clear();
        if (reader.active()) print_separation(reader, sep, split, oil, gas);
    }
    section.close(user());
}

template <>
void ApplyProcess_Cmd::Read(Reader& reader, const std::string&) {
    name = read_name_of(reader, "process");
    if (!name.empty() && !user().user().processes.find(name) && !reader.lost(name))
        reader.ErrorHere({"Cannot apply undefined process \"" + name + "\"."}, 3);
}

template <>
void ApplyProcess_Cmd::Execute(Reader& reader) {
    EOSLab& lab = user().user();
    Section section(lab, reader, "Process Calculation", "process calculation");
    const PtrTo<Process>* found = lab.processes.find(name);
    if (!found) {
        lab.errors().Add("Cannot apply undefined process \"" + name + "\"", ERROR);
        section.close(user());
        return;
    }
    Process& process = **found;
    if (reader.active()) print_heading(reader, section.heading() + " (Process: \"" + name + "\")");
    Tank feed("feed");
    if (take_feed(lab, feed)) {
        process.Run(feed, lab.cell().temperature, lab.cell().pressure, reader.active());
        if (reader.active()) print_process(reader, process);
        append(lab.errors(), process.errors);
        const std::string place = user().Location();
        for (const auto& stage : process.stages)
            stage->errors.Report(reader, process.stage_label(*stage), place, ResultHeadline);
        for (const auto& product : process.products)
            product->errors.Report(reader, process.product_label(*product), place, ResultHeadline);
    }
    section.close(user());
}

namespace {

const UserKey<EOSLab, Apply_Data> apply_key{"APPLY"};
const UserKey<Apply_Cmd, ApplySep_Data> apply_sep_key{"SEP&"};
const UserKey<Apply_Cmd, ApplyProcess_Data> apply_process_key{"PROC&"};

}  // namespace

}  // namespace kestrane
