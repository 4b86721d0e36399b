// VAR, and the verbs REPLACE, MULTIPLY, DIVIDE, INCREASE and DECREASE: in a fluid's block for the
// properties of its components, in the laboratory for all else. CHUEH: interaction parameters from
// critical volumes.

#include "fluid/CharCmd.h"
#include "input/Reader.h"
#include "input/UserCmd.h"
#include "lab/EOSLab.h"
#include "regress/CharModifiers.h"
#include "regress/LabModifiers.h"

namespace kestrane {

struct LabVar_Data {};
struct CharVar_Data {};
struct LabMod_Data {
    DynPtr<Modifier> modifier;  ///< null if the target was not understood
};
struct CharMod_Data {
    DynPtr<Modifier> modifier;
};
struct Chueh_Data {
    DynPtr<Modifier> modifier;
};
using LabVar_Cmd = UserCmd<EOSLab, LabVar_Data>;
using CharVar_Cmd = UserCmd<Char_Cmd, CharVar_Data>;
using LabMod_Cmd = UserCmd<EOSLab, LabMod_Data>;
using CharMod_Cmd = UserCmd<Char_Cmd, CharMod_Data>;
using Chueh_Cmd = UserCmd<Char_Cmd, Chueh_Data>;

// Variables are made once, when the script is read: passes find them with the values that the
// regression gave them.

template <>
void LabVar_Cmd::Read(Reader& reader, const std::string&) {
    read_variable(reader, &user());
}

template <>
void CharVar_Cmd::Read(Reader& reader, const std::string&) {
    read_variable(reader, fitter_of(user().user()));
}

template <>
void LabMod_Cmd::Read(Reader& reader, const std::string&) {
    modifier = read_lab_modifier(*this, user(), reader);
}
template <>
void LabMod_Cmd::Rerun(Reader&) {
    if (modifier) modifier->rerun();
}
template <>
void LabMod_Cmd::Execute(Reader& reader) {
    if (modifier) modifier->apply(reader);
}

namespace {

const DataColHead<double>* number_column(const std::string& word) {
    return dynamic_cast<const DataColHead<double>*>(component_heads().find(word));
}

/// A verb behind a fluid's block may be the laboratory's: the block need not be closed by a word of
/// its own. The command then stands behind the fluid's in the script.
bool hand_over(Reader& reader, const Command& verb, const Char_Cmd& block,
               const std::string& word) {
    auto* lab = dynamic_cast<EOSLab*>(&block.user());
    if (!lab || !block.added || !is_lab_target(word)) return false;
    reader.Unread();
    const CmdKey* key = lab->FindKey(verb.word);
    if (key) key->Run(reader, verb.word, *lab);
    return true;
}

DynPtr<Modifier> read_char_modifier(Reader& reader, const Command& command, const Char_Cmd& block) {
    static const Keyword bips{"BIN&", "BIP&"};
    static const Keyword chueh{"CHU&"};
    const LineLimitScope one_line(reader, 0);
    std::string word;
    if (reader.NextWord(word) <= 0) word.clear();
    if (const auto* column = number_column(word))
        return DynPtr<Modifier>(new CompMod(command, block, *column, reader));
    if (bips.matches(word)) return DynPtr<Modifier>(new BIPsMod(command, block, reader));
    if (chueh.matches(word)) return DynPtr<Modifier>(new Chueh(command, block, reader));
    if (hand_over(reader, command, block, word)) return {};
    reader.NotRecognized(word);
    reader.DiscardLine();
    return {};
}

}  // namespace

template <>
void CharMod_Cmd::Read(Reader& reader, const std::string&) {
    modifier = read_char_modifier(reader, *this, user());
}
template <>
void CharMod_Cmd::Execute(Reader& reader) {
    if (modifier) modifier->apply(reader);
}

template <>
void Chueh_Cmd::Read(Reader& reader, const std::string&) {
    const LineLimitScope one_line(reader, 0);
    modifier = DynPtr<Modifier>(new Chueh(*this, user(), reader));
}
template <>
void Chueh_Cmd::Execute(Reader& reader) {
    if (modifier) modifier->apply(reader);
}

namespace {

const UserKey<EOSLab, LabVar_Data> lab_var_key{"VAR&"};
const UserKey<Char_Cmd, CharVar_Data> char_var_key{"VAR&"};
const UserKey<EOSLab, LabMod_Data> lab_mod_key{"REP&", "MUL&", "DIV&", "INCR&", "DECR&"};
const UserKey<Char_Cmd, CharMod_Data> char_mod_key{"REP&", "MUL&", "DIV&", "INCR&", "DECR&"};
const UserKey<Char_Cmd, Chueh_Data> chueh_key{"CHU&"};

}  // namespace

}  // namespace kestrane
