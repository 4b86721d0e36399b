// PROC: a surface train, with the words of its stages and products.

#include <cstdint>
#include <string>
#include <vector>

#include "input/UserCmd.h"
#include "lab/EOSLab.h"
#include "surface/NameArgument.h"
#include "surface/Process.h"

namespace kestrane {

struct Process_Data {
    DynPtr<Process> process;
};
using Process_Cmd = UserCmd<EOSLab, Process_Data>;

/// STAGE, PROD&: a block of its own within the process.
struct Stage_Data {
    SepStage* stage = nullptr;
};
struct Product_Data {
    OutStage* product = nullptr;
};
using Stage_Cmd = UserCmd<Process, Stage_Data>;
using Product_Cmd = UserCmd<Process, Product_Data>;

/// SEP: names the separator of a stage.
struct StageSep_Data {};
/// FEED: the first source of a list; AND, FEED: one more.
struct Feed_Data {};
using Feed_Cmd = UserCmd<Stage, Feed_Data>;
struct FeedAnd_Data {};
using FeedAnd_Cmd = UserCmd<Feed_Cmd, FeedAnd_Data>;

namespace {

void rerun_all(const Key_User& block, Reader& reader) {
    for (const auto& command : block.commands) command->Rerun(reader);
}
void execute_all(const Key_User& block, Reader& reader) {
    for (const auto& command : block.commands) command->Execute(reader);
}

void read_block(Key_User& block, Reader& reader) {
    block.immediate = false;
    std::string word;
    block.ReadBlock(reader, word, true);
}

/// The shares of a source, if they stand there. A word for one phase leaves nothing of the other.
void read_shares(Reader& reader, double& liquid, double& vapor) {
    static const Keyword liquids{"LIQ&", "OIL"};
    static const Keyword vapors{"VAP&", "GAS"};
    static const Keyword both{"ALL", "TOT&"};
    const LineLimitScope one_line(reader, 0);
    std::string word;
    while (reader.NextWord(word) > 0) {
        const bool takes_liquid = liquids.matches(word);
        const bool takes_vapor = vapors.matches(word);
        const bool takes_all = both.matches(word);
        if (!takes_liquid && !takes_vapor && !takes_all) {
            reader.Unread();
            return;
        }
        double share = 1.0;
        reader.NextDouble(share, 0.0, 1.0);
        liquid = takes_vapor ? 0.0 : share;
        vapor = takes_liquid ? 0.0 : share;
    }
}

void read_source(Reader& reader, Stage& stage, const Command& command) {
    const std::string source = read_name_of(reader, "source of stage \"" + stage.name + "\"");
    double liquid = 1.0, vapor = 1.0;
    read_shares(reader, liquid, vapor);
    if (!source.empty()) stage.AddFeedByName(source, liquid, vapor, command.Location());
}

}  // namespace

template <>
void FeedAnd_Cmd::Read(Reader& reader, const std::string&) {
    read_source(reader, user().user(), *this);
}

template <>
void Feed_Cmd::Read(Reader& reader, const std::string&) {
    read_source(reader, user(), *this);
    std::string next;
    ReadBlock(reader, next, false);
}

template <>
void UserCmd<SepStage, StageSep_Data>::Read(Reader& reader, const std::string&) {
    SepStage& stage = user();
    stage.separator = read_name_of(reader, "separator");
    if (stage.separator.empty() || stage.ResolveSeparator() ||
        reader.lost(stage.separator))
        return;
    reader.ErrorHere({"Separator \"" + stage.separator + "\" is undefined."}, 3);
}

template <>
void Stage_Cmd::Read(Reader& reader, const std::string&) {
    const std::string name = read_name_of(reader, "process stage");
    if (!name.empty() && user().find_stage(name))
        fatal_here(reader, "Duplicate process stage \"" + name + "\".");
    stage = &user().AddStage(name);
    const std::int32_t errors_before = reader.errorCounts().errors;
    std::vector<std::string> lines{"No separator for process stage \"" + name + "\"."};
    reader.Locate(lines, 3);
    read_block(*stage, reader);
    if (stage->separator.empty() && reader.errorCounts().errors == errors_before)
        reader.Fatal(lines);
}

template <>
void Stage_Cmd::Rerun(Reader& reader) {
    rerun_all(*stage, reader);
}

template <>
void Stage_Cmd::Execute(Reader& reader) {
    execute_all(*stage, reader);
}

template <>
void Product_Cmd::Read(Reader& reader, const std::string&) {
    const std::string name = read_name_of(reader, "process product");
    if (!name.empty() && user().find_product(name))
        fatal_here(reader, "Duplicate process product \"" + name + "\".");
    product = &user().AddProduct(name);
    read_block(*product, reader);
}

template <>
void Product_Cmd::Rerun(Reader& reader) {
    rerun_all(*product, reader);
}

template <>
void Product_Cmd::Execute(Reader& reader) {
    execute_all(*product, reader);
}

/// The laboratory knows the process from here on, so that what follows in the script can name it.
template <>
void Process_Cmd::Read(Reader& reader, const std::string&) {
    process = make_dyn<Process>(user(), read_name_of(reader, "process"));
    read_block(*process, reader);
    process->Complete(reader, Location());
    if (!process->name.empty()) user().processes.set(process->name, process);
}

template <>
void Process_Cmd::Rerun(Reader& reader) {
    process->unbind();
    rerun_all(*process, reader);
}

template <>
void Process_Cmd::Execute(Reader& reader) {
    execute_all(*process, reader);
    user().processes.set(process->name, process);
}

namespace {

const UserKey<Stage, Feed_Data> feed_key{"FEED"};
const UserKey<Feed_Cmd, FeedAnd_Data> and_key{"AND", "FEED"};
const UserKey<SepStage, StageSep_Data> stage_sep_key{"SEP", "SEPA&"};
const UserKey<Process, Stage_Data> stage_key{"STAGE"};
const UserKey<Process, Product_Data> product_key{"PROD&"};
const UserKey<EOSLab, Process_Data> process_key{"PROC&"};

}  // namespace

}  // namespace kestrane
