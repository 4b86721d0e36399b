#include "expt/PVTzExpt.h"

#include "expt/ExptHeads.h"
#include "input/UserCmd.h"

namespace kestrane {

/// ID: the text that heads the experiment's report.
struct ExptId_Data {};
using ExptId_Cmd = UserCmd<PVTzExpt, ExptId_Data>;

template <>
void ExptId_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    reader.NextQuote(user().id);
}

namespace {
const UserKey<PVTzExpt, ExptId_Data> id_key{"ID"};

/// Counts the experiments of the script while it is read.
constexpr const char* EXPERIMENTS_READ = "experiments read";
}  // namespace

void PVTzExpt::parse(Reader& reader, EOSLab& lab, Writer& writer) {
    const int* read = lab.run_counts.find(EXPERIMENTS_READ);
    number = lab.run_counts.set(EXPERIMENTS_READ, (read ? *read : 0) + 1);
    follow_columns(lab, writer);
    table.heads = &key_table().dictionary();
    table.allowWeights = 1;
    if (read_keywords(reader)) read_table(reader, lab);
    add_stage_column();
}

/// Reads the keywords in front of the table. False if there is no table.
bool PVTzExpt::read_keywords(Reader& reader) {
    // The first word that is no keyword is to be the table's first heading.
    const ContextScope headings(reader, [](const std::string&) { return true; });
    std::string word;
    return ReadBlock(reader, word, true) == 0 && KeyCompare(word, "END") != 0;
}

/// Reads the table and the END behind it.
void PVTzExpt::read_table(Reader& reader, EOSLab& lab) {
    const int result = table.Read(reader);
    if (result >= 0 && !table.closed) skip_to_end(reader, lab);
}

/// Reports what is no row, and drops the rest of the block: up to its END, or to a word with which
/// the script goes on.
void PVTzExpt::skip_to_end(Reader& reader, EOSLab& lab) {
    std::string word;
    for (bool reported = false;; reported = true) {
        reader.SetLineLimit(-1);
        if (reader.NextKeyword(word) <= 0 || KeyCompare(word, "END") == 0) return;
        if (lab.FindKey(word) || Key_User::FindKey(word)) {
            reader.Unread();
            return;
        }
        if (!reported) {
            reader.SkipUnknown(word);
        } else {
            reader.LoseLine();
            reader.DiscardLine();
            reader.SkipStatement();
        }
    }
}

void PVTzExpt::add_stage_column() {
    const AnyColHead* head = key_table().find("STG");
    if (!head) throw LogicError{};
    if (table.ColumnIndex(*head) >= 0) return;
    std::unique_ptr<AnyColumn> column = head->MakeBlank();
    column->GrowTo(table.rowCount);
    table.columns.insert(table.columns.begin(), std::move(column));
}

void PVTzExpt::reset() {
    key_table().reset();
}

const CmdKey* PVTzExpt::FindKey(const std::string& word) const {
    return dictionary_of<PVTzExpt>().find(word);
}

ExptHeads& PVTzExpt::key_table() const {
    return ExptHeads::expansion();
}

void PVTzExpt::follow_columns(EOSLab& lab, Writer& writer) {
    if (const Charzation* charz = lab.current(nullptr)) key_table().follow(*charz, &writer);
}

}  // namespace kestrane
