#include <string>

#include "fluid/BipTable.h"
#include "fluid/CharCmd.h"
#include "fluid/Charzation_report.h"
#include "input/Reader.h"
#include "input/StoredBlock.h"

namespace kestrane {

/// BASE: names the characterization from which this one takes what is not typed.
struct CharBase_Data {};
using CharBase_Cmd = UserCmd<Charzation, CharBase_Data>;

/// BIPS: the table of binary interaction parameters.
struct BIPS_Data {};
using BIPS_Cmd = UserCmd<Charzation, BIPS_Data>;

/// CORR: fills unspecified properties from the correlations ahead of completion.
struct CharCorr_Data {};
using CharCorr_Cmd = UserCmd<Char_Cmd, CharCorr_Data>;

namespace {

/// Verdict line of the two stages of a definition.
std::string problem_headline(std::string_view what, int) {
    return "Problem for " + std::string(what) + ".";
}

void report_stage(ErrorList& errors, Reader& reader, const Command& command, const char* stage) {
    if (!errors.empty()) errors.Report(reader, stage, command.Location(), problem_headline);
    errors.Clear();
}

void report(Reader& reader, const IllegalCharzation& illegal) {
    if (illegal.place.empty()) return report_illegal_charzation(reader, illegal.reason);
    std::vector<std::string> lines{"Illegal fluid characterization.", illegal.reason};
    lines.insert(lines.end(), illegal.place.begin(), illegal.place.end());
    reader.Error(lines);
}

/// Reads a component table whose first heading is the word just given back. 0 if none stands here.
int read_component_table(Reader& reader, Charzation& charz) {
    try {
        return charz.read_table(reader, &bip_words());
    } catch (const IllegalCharzation& illegal) {
        report(reader, illegal);
        return 1;
    }
}

/// Runs the keyword that `word` finds in the block, if any. Keywords of the characterization act on
/// it at once; the others are stored by the command and act between initialization and completion.
bool run_block_keyword(Reader& reader, const std::string& word, Char_Cmd& command) {
    if (const CmdKey* own = command.FindKey(word)) {
        own->Run(reader, word, command);
        return true;
    }
    const CmdKey* key = command.charz.FindKey(word);
    if (!key) return false;
    const bool global = key == command.Key_User::FindKey(word);
    key->Run(reader, word, global ? static_cast<Key_User&>(command) : command.charz);
    return true;
}

/// Reports the word that stands next, and leaves it there.
void report_stray_word(Reader& reader) {
    std::string word;
    reader.NextKeyword(word);
    if (!reader.definitions_lost())
        report_illegal_charzation(reader,
                                  "Keyword \"" + word + "\" not recognized in current context.");
    reader.Unread();
}

/// Whether the word means something in the block: a keyword, or the first heading of a table.
bool known_in_block(const Char_Cmd& command, const std::string& word) {
    const AnyColHead* head = component_heads().find(word);
    return command.FindKey(word) || command.charz.FindKey(word) || (head && head->priority > 0);
}

/// Reports the first word of the block that nobody knows, and drops its line. What follows may be
/// the rest of it, as the rows below a head line with a misspelt first word.
void skip_unknown(Reader& reader, std::string& word, bool& reported) {
    reader.NextKeyword(word);
    if (reported) {
        reader.LoseLine();
        reader.DiscardLine();
        reader.SkipStatement();
    } else {
        reader.SkipUnknown(word);
    }
    reported = true;
}

/// Reads keywords and tables up to the END of the block.
void read_block(Reader& reader, Char_Cmd& command) {
    Charzation& charz = command.charz;
    charz.block_closed = false;
    const ContextScope context(
        reader, [&](const std::string& name) { return known_in_block(command, name); });
    bool has_table = false;
    bool has_unknown = false;
    while (!charz.block_closed) {
        reader.SetLineLimit(-1);
        std::string word;
        if (reader.NextKeyword(word) <= 0) return;
        if (KeyCompare(word, "END") == 0) return;
        if (run_block_keyword(reader, word, command)) continue;
        reader.Unread();
        const int result = read_component_table(reader, charz);
        if (result < 0) return;
        if (result > 0) {
            has_table = true;
        } else if (reader.nobody_knows(word)) {
            skip_unknown(reader, word, has_unknown);
        } else {
            if (has_table) report_stray_word(reader);
            return;
        }
    }
}

/// Reads the command's own keywords behind the block; one more END is theirs.
void read_sub_commands(Reader& reader, Char_Cmd& command) {
    for (;;) {
        reader.SetLineLimit(-1);
        std::string word;
        if (reader.NextKeyword(word) <= 0) return;
        if (KeyCompare(word, "END") == 0) return;
        const CmdKey* key = command.FindKey(word);
        if (!key) {
            reader.Unread();
            return;
        }
        key->Run(reader, word, command);
    }
}

}  // namespace

std::string read_name(Reader& reader) {
    const LineLimitScope one_line(reader, 0);
    std::string name;
    if (reader.NextQuote(name) <= 0) name.clear();
    return name;
}

void report_illegal_charzation(Reader& reader, const std::string& reason) {
    reader.ErrorHere({"Illegal fluid characterization.", reason});
}

template <>
void CharBase_Cmd::Read(Reader& reader, const std::string&) {
    const std::string base = read_name(reader);
    if (base.empty())
        reader.ErrorHere({"No base characterization was named."});
    else
        user().basis = make_dyn<std::string>(base);
}

template <>
void BIPS_Cmd::Read(Reader& reader, const std::string&) {
    reader.Unread();
    try {
        user().read_bips(reader);
    } catch (const IllegalCharzation& illegal) {
        report(reader, illegal);
    }
}

template <>
void CharCorr_Cmd::Execute(Reader& reader) {
    if (reader.active()) {
        const std::string note = "Correlating unspecified component properties with MW, TB and SG.";
        reader.Block("UPDATE", {&note, 1}, Writer::DEFAULT_WIDTH, '=');
    }
    ErrorList errors;
    user().added->correlate(errors);
    report_stage(errors, reader, *this, "component property correlation");
}

template <>
void Char_Cmd::Read(Reader& reader, const std::string&) {
    charz.name = read_name(reader);
    {
        const StoringScope stored(*this);
        read_block(reader, *this);
        // What follows in the script may name this characterization and its components.
        added = user().add_shared(charz);
        read_sub_commands(reader, *this);
    }
    if (immediate) Execute(reader);
}

template <>
void Char_Cmd::Rerun(Reader& reader) {
    added = nullptr;
    rerun_children(reader);
}

template <>
void Char_Cmd::Execute(Reader& reader) {
    if (reader.active()) {
        const std::string quoted = charz.name.empty() ? "" : " \"" + charz.name + "\"";
        reader.Note({"Now defining fluid characterization" + quoted + "."});
    }
    if (!added || !user().holds(added)) added = user().add_shared(charz);
    user().current(added.get());

    ErrorList errors;
    added->initialize(user(), errors);
    report_stage(errors, reader, *this, "characterization initialization");
    execute_children(reader);
    added->complete(errors);
    report_stage(errors, reader, *this, "characterization completion");
    print_charzation(reader, *added);
}

namespace {

const UserKey<Charzation, CharBase_Data> base_key{"BAS&", "PAR&"};
const UserKey<Charzation, BIPS_Data> bips_key{BIP_KEYWORDS[0], BIP_KEYWORDS[1]};
const UserKey<Char_Cmd, CharCorr_Data> corr_key{"CORR&"};
const UserKey<Charz_User, Char_Data> char_key{"CHAR&", "PROP&"};

}  // namespace

}  // namespace kestrane
