#pragma once

#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "frame/PtrTo.h"

namespace kestrane {

class Reader;
class Key_User;

/// The one ordering and equality of keywords and user names: case-insensitive, and a final "&" on
/// either side matches any tail, the empty one included. 0 means "equal". Not a strict order:
/// what is kept in one dictionary must not overlap.
int KeyCompare(const char* a, const char* b);
int KeyCompare(const std::string& a, const std::string& b);

/// Ordering functor for dictionaries of names under KeyCompare.
struct KeyLess {
    bool operator()(const std::string& a, const std::string& b) const {
        return KeyCompare(a, b) < 0;
    }
};

/// A word of the language with its aliases.
class Keyword {
public:
    Keyword() = default;
    Keyword(std::initializer_list<const char*> names) : aliases(names.begin(), names.end()) {}
    explicit Keyword(std::vector<std::string> names) : aliases(std::move(names)) {}
    virtual ~Keyword() = default;
    /// True if `word` equals one of the aliases under KeyCompare.
    bool matches(const std::string& word) const;

    std::vector<std::string> aliases;
};

/// A keyword that makes a command.
class CmdKey : public Keyword {
public:
    using Keyword::Keyword;
    virtual void Run(Reader& reader, const std::string& word, Key_User& user) const;
};

/// An ordered dictionary from alias to entry under KeyCompare. Entries are not owned.
template <class T>
class KeyDictionary {
public:
    /// The entry that `word` finds, or null.
    T* find(const std::string& word) const {
        const auto at = entries_.find(word);
        return at == entries_.end() ? nullptr : at->second;
    }
    /// Adds an alias; false if a different entry already answers to it. One entry's own aliases
    /// may overlap.
    bool add(const std::string& alias, T* entry) {
        const auto [at, added] = entries_.emplace(alias, entry);
        return added || at->second == entry;
    }
    const std::map<std::string, T*, KeyLess>& entries() const { return entries_; }

private:
    std::map<std::string, T*, KeyLess> entries_;
};

using CmdDictionary = KeyDictionary<const CmdKey>;

/// Registers every alias of `key`. An alias that another key answers to is a fatal error:
/// prints "Duplicate keyword" on standard error's block and throws FatalError.
void Register(CmdDictionary& dictionary, const CmdKey& key);

/// The dictionary of the keywords that a U accepts. Built on first use, lives until exit.
template <class U>
CmdDictionary& dictionary_of() {
    static CmdDictionary dictionary;
    return dictionary;
}

class Command;

/// Whatever accepts keywords. Always a virtual base.
class Key_User {
public:
    virtual ~Key_User() = default;
    /// The keyword for `word` in this context, or null. The base knows the global keywords.
    virtual const CmdKey* FindKey(const std::string& word) const;
    /// Reads commands until the input ends. Words nobody knows are reported and skipped.
    virtual void ReadAll(Reader& reader);
    /// Reads a nested block to its END (consumed) or to a word that only an outer context knows (put
    /// back). Words nobody knows are reported and skipped. Returns 0 at the block's end, and the
    /// reader's negative result at the end of input.
    virtual int ReadBlock(Reader& reader, std::string& word, bool allowGlobal);
    /// Reads and runs one sub-keyword on the current line; 0 if none stands there.
    virtual int ReadOne(Reader& reader, std::string& word);
    /// Reads an ON/OFF word on the current line; 0 and `flag` unchanged if none stands there.
    virtual int ReadFlag(Reader& reader, std::string& word, bool& flag);

    /// Returns the previous deferred state.
    bool SetDeferred(bool deferred);

    std::vector<DynPtr<Command>> commands;  ///< stored commands, in script order
    bool immediate = true;                  ///< false: commands are stored
};

/// A keyword met in a script, with its data (in the derived class) and its place.
class Command : public virtual Key_User {
public:
    Command(const Reader& reader, const std::string& keyword);
    /// Reads the command's data; runs once, when the script is read.
    virtual void Read(Reader& reader, const std::string& key) = 0;
    /// Preparation for a pass of execution.
    virtual void Rerun(Reader& reader) = 0;
    /// The work of the command.
    virtual void Execute(Reader& reader) = 0;

    /// `keyword "{word}" (line {line}, column {column}, file "{fileName}")` between the two texts.
    std::string Location(const std::string& prefix = "Problem for ",
                         const std::string& suffix = ".") const;

    std::string word;              ///< as typed
    DynPtr<std::string> fileName;  ///< null for standard input
    int line = 0;                  ///< from 1
    int column = 0;                ///< from 1

protected:
    void rerun_children(Reader& reader);
    void execute_children(Reader& reader);
};

}  // namespace kestrane
