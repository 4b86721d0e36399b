#include "input/Keyword.h"

#include <algorithm>
#include <iostream>
#include <sstream>

#include "frame/Errors.h"
#include "frame/Writer.h"
#include "input/CharSet.h"
#include "input/KeyCensus.h"
#include "input/Reader.h"
#include "input/StrayLines.h"

namespace kestrane {

int KeyCompare(const char* a, const char* b) {
    if (a == b) return 0;
    if (!b) return 256;
    if (!a) return -256;
    for (; ascii_upper(*a) == ascii_upper(*b); ++a, ++b) {
        if (!*a) return 0;
        if (*a == '&' && (!a[1] || !b[1])) return 0;
    }
    if ((*a == '&' && !a[1]) || (*b == '&' && !b[1])) return 0;
    return static_cast<unsigned char>(ascii_upper(*a)) -
           static_cast<unsigned char>(ascii_upper(*b));
}

int KeyCompare(const std::string& a, const std::string& b) {
    return KeyCompare(a.c_str(), b.c_str());
}

bool Keyword::matches(const std::string& word) const {
    return std::any_of(aliases.begin(), aliases.end(),
                       [&](const std::string& alias) { return KeyCompare(alias, word) == 0; });
}

void CmdKey::Run(Reader&, const std::string&, Key_User&) const {}

namespace {

/// Runs during static initialisation, before the program has a writer of its own.
[[noreturn]] void report_duplicate(const std::string& alias) {
    static const std::ios_base::Init streams;
    ErrorCounts counts;
    OutFile console(*std::cerr.rdbuf());
    Writer(counts, &console, nullptr).Fatal({"Duplicate keyword \"" + alias + "\"."});
}

/// Built on first use, which is during static initialisation.
std::vector<const CmdKey*>& census() {
    static std::vector<const CmdKey*> keys;
    return keys;
}

}  // namespace

void Register(CmdDictionary& dictionary, const CmdKey& key) {
    census().push_back(&key);
    for (const std::string& alias : key.aliases) {
        if (!dictionary.add(alias, &key)) report_duplicate(alias);
    }
}

std::span<const CmdKey* const> registered_keys() {
    return census();
}

const CmdKey* Key_User::FindKey(const std::string& word) const {
    return dictionary_of<Key_User>().find(word);
}

void Key_User::ReadAll(Reader& reader) {
    const auto find_anywhere = [this](const std::string& name) {
        const CmdKey* key = FindKey(name);
        return key ? key : dictionary_of<Key_User>().find(name);
    };
    const ContextScope context(
        reader, [&](const std::string& name) { return find_anywhere(name) != nullptr; }, true);
    StrayLines stray;
    std::string word;
    for (;;) {
        reader.SetLineLimit(-1);
        if (reader.NextKeyword(word) <= 0) return;
        const CmdKey* key = find_anywhere(word);
        if (!key) {
            stray.skip(reader, word);
        } else if (!stray.take(reader)) {
            stray.end(word);
            key->Run(reader, word, *this);
        }
    }
}

int Key_User::ReadBlock(Reader& reader, std::string& word, bool allowGlobal) {
    const ContextScope context(reader,
                               [this](const std::string& name) { return FindKey(name) != nullptr; });
    StrayLines stray;
    for (;;) {
        reader.SetLineLimit(-1);
        const int result = reader.NextKeyword(word);
        if (result <= 0) return result;
        const CmdKey* key = FindKey(word);
        if (!key) {
            if (KeyCompare(word, "END") == 0) return 0;
            if (allowGlobal) key = dictionary_of<Key_User>().find(word);
        }
        if (!key) {
            // What nobody knows ends no block: the rest of the block would be unknown outside it.
            if (reader.nobody_knows(word)) {
                stray.skip(reader, word);
                continue;
            }
            reader.Unread();
            return 0;
        }
        // A copy, since a nested block reads into its caller's word.
        const std::string found = word;
        stray.end(found);
        key->Run(reader, found, *this);
    }
}

int Key_User::ReadOne(Reader& reader, std::string& word) {
    const LineLimitScope line(reader, 0);
    const int result = reader.NextWord(word);
    if (result <= 0) return 0;
    const CmdKey* key = FindKey(word);
    if (!key) {
        reader.Unread();
        return 0;
    }
    key->Run(reader, word, *this);
    return result;
}

int Key_User::ReadFlag(Reader& reader, std::string& word, bool& flag) {
    static const Keyword on{"ON", "Y", "YES", "T", "TRUE"};
    static const Keyword off{"OFF", "N", "NO&", "F", "FALSE"};
    const LineLimitScope line(reader, 0);
    const int result = reader.NextWord(word);
    if (result <= 0) return 0;
    const bool is_on = on.matches(word);
    if (!is_on && !off.matches(word)) {
        reader.Unread();
        return 0;
    }
    flag = is_on;
    return result;
}

bool Key_User::SetDeferred(bool deferred) {
    const bool was_deferred = !immediate;
    immediate = !deferred;
    return was_deferred;
}

Command::Command(const Reader& reader, const std::string& keyword)
    : word(keyword),
      fileName(reader.file().fullName),
      line(reader.lineNumber()),
      column(reader.startColumn() + 1) {}

std::string Command::Location(const std::string& prefix, const std::string& suffix) const {
    std::ostringstream text;
    text << prefix << "keyword \"" << word << "\" (line " << line << ", column " << column;
    if (fileName) {
        text << ", file \"" << *fileName << "\")";
    } else {
        text << ", standard input)";
    }
    text << suffix;
    return text.str();
}

// By index: a command may add to the list that is being walked.
void Command::rerun_children(Reader& reader) {
    for (std::size_t i = 0; i < commands.size(); ++i) commands[i]->Rerun(reader);
}

void Command::execute_children(Reader& reader) {
    for (std::size_t i = 0; i < commands.size(); ++i) commands[i]->Execute(reader);
}

}  // namespace kestrane
