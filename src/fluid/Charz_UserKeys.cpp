#include <string>

#include "fluid/CharCmd.h"
#include "fluid/Charz_User.h"
#include "input/Reader.h"
#include "input/UserCmd.h"

namespace kestrane {

/// RESTORE: makes an earlier characterization current again.
struct CharRestore_Data {
    std::string name;
    bool usable = true;  ///< false: the word was refused while it was read
};
using CharRestore_Cmd = UserCmd<Charz_User, CharRestore_Data>;

/// ALIAS: one more word under which the current characterization can be restored.
struct CharAlias_Data {
    std::string alias;
    bool usable = true;  ///< false: there was nothing to give the alias to
};
using CharAlias_Cmd = UserCmd<Charz_User, CharAlias_Data>;

template <>
void CharRestore_Cmd::Execute(Reader& reader);
template <>
void CharAlias_Cmd::Execute(Reader& reader);

namespace {

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

enum class Restored { Missing, Unchanged, Changed };

/// Makes the newest characterization that answers to `word` current, unless the current one does.
Restored restore(Charz_User& user, const std::string& word) {
    if (word.empty()) return Restored::Missing;
    Charzation* now = user.current();
    if (now && now->answers_to(word)) return Restored::Unchanged;
    Charzation* found = user.find_charzation(word);
    if (!found) return Restored::Missing;
    user.current(found);
    return Restored::Changed;
}

std::string nothing_to_restore(const std::string& word) {
    return "Cannot restore nonexistent characterization " + quoted(word) + ".";
}

std::string nothing_for_alias(const std::string& word) {
    return "No characterization exists for alias " + quoted(word) + ".";
}

/// Gives the current characterization the alias; false if it answers to the word already.
bool add_alias(Charz_User& user, const std::string& word) {
    Charzation& charz = *user.current();
    if (charz.answers_to(word)) return false;
    charz.aliases.insert(word);
    return true;
}

}  // namespace

// Names must be known to what follows while the script is read, so both commands act twice: without
// a word when they are read, and with their notes in each pass, on that pass's characterizations.

template <>
void CharRestore_Cmd::Read(Reader& reader, const std::string&) {
    name = read_name(reader);
    if (immediate) {
        Execute(reader);
    } else if (restore(user(), name) == Restored::Missing) {
        usable = false;
        if (!reader.lost(name)) reader.ErrorHere({nothing_to_restore(name)});
    }
}

template <>
void CharRestore_Cmd::Execute(Reader& reader) {
    if (!usable) return;
    const Restored result = restore(user(), name);
    if (result == Restored::Missing) {
        reader.Error({nothing_to_restore(name), Location("Problem detected for ")});
    } else if (result == Restored::Changed && reader.active()) {
        const std::string& restored = user().current()->name;
        const std::string via = KeyCompare(restored, name) == 0 ? "" : " via alias " + quoted(name);
        reader.Note({"Now restoring characterization " + quoted(restored) + via + "."});
    }
}

template <>
void CharAlias_Cmd::Read(Reader& reader, const std::string&) {
    alias = read_name(reader);
    if (alias.empty()) {
        usable = false;
        reader.ErrorHere({"No alias was given for the current characterization."});
    } else if (immediate) {
        Execute(reader);
    } else if (!user().current()) {
        usable = false;
        if (!reader.definitions_lost()) reader.ErrorHere({nothing_for_alias(alias)});
    } else {
        add_alias(user(), alias);
    }
}

template <>
void CharAlias_Cmd::Execute(Reader& reader) {
    if (!usable) return;
    if (!user().current()) {
        reader.Error({nothing_for_alias(alias), Location("Problem detected for ")});
    } else if (add_alias(user(), alias) && reader.active()) {
        reader.Note({"Characterization " + quoted(user().current()->name) + " now has the alias " +
                     quoted(alias) + "."});
    }
}

namespace {

const UserKey<Charz_User, CharRestore_Data> restore_key{"REST&", "CHREST&", "CH_REST&", "CH-REST&"};
const UserKey<Charz_User, CharAlias_Data> alias_key{"ALIAS&", "CHALIAS&", "CH_ALIAS&", "CH-ALIAS&"};

}  // namespace

}  // namespace kestrane
