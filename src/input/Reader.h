#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frame/Unset.h"
#include "frame/Writer.h"
#include "input/Macros.h"

namespace kestrane {

class FileReader;

/// Turns script files into words, quoted texts and numbers; keeps a stack of files for includes.
/// Reading functions return above 0 if a result was read, 0 if nothing of that kind stands here
/// (or an empty field does), below 0 when the input has ended.
class Reader : public Writer {
public:
    static constexpr double NO_MIN = std::numeric_limits<double>::lowest();
    static constexpr double NO_MAX = std::numeric_limits<double>::max();
    /// Includes within includes. One more counts as a file that cannot be opened.
    static constexpr std::size_t MAX_INCLUDES = 200;

    /// `primary` is not owned. Prints the note "Now reading file ..." if it is open.
    Reader(const Writer& writer, InFile& primary);
    ~Reader() override;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// One text item: quoted, between tabs, or up to the next blank.
    int NextQuote(std::string& text);
    int NextWord(std::string& text);
    /// NextWord repeated over empty fields, until a word or the line limit. Empty fields give empty
    /// text and 0 in NextWord and NextQuote.
    int NextKeyword(std::string& text);
    /// `value` keeps its content if the field is empty, which counts as read. Values outside the
    /// limits are replaced, with a warning. A fraction in an integer is dropped, with a warning.
    int NextDouble(double& value, double min = NO_MIN, double max = NO_MAX);
    int NextInt(int& value, int min = std::numeric_limits<int>::lowest(),
                int max = std::numeric_limits<int>::max());
    /// Up to array.size() numbers; the count read, or -(count + 1) if the input ended.
    int NextDoubles(std::span<double> array, double min = NO_MIN, double max = NO_MAX);
    /// Drops all numbers that follow, over lines.
    void SkipStatement();
    void DiscardLine();
    /// Gives the last token back: one step is always possible, and repeating it changes nothing.
    void Unread();

    /// The echo of input lines to the report. Returns the old value.
    int SetEcho(int value);
    /// -1 any number of further lines may be read, 0 none, N that many. Returns the old value.
    int SetLineLimit(int limit);
    void SetTabWidth(int width);
    void Define(std::string_view name, std::string_view value);

    /// Includes. Push is a fatal error when the file cannot be opened, or is one that the run
    /// writes to.
    void Push(const std::string& name);
    int Pop();
    /// The EOF keyword: leaves an include, or ends the input.
    void EndFile();

    /// Appends 1 to 3 location lines for a message: the place, the most recent line, the most
    /// recent word.
    void Locate(std::vector<std::string>& lines, int detail, bool withColumn = true,
                std::string_view prefix = "Problem detected") const;
    /// Reports `Keyword "{word}" not recognized in current context.` as an error with its place.
    void NotRecognized(const std::string& word);
    /// Reports a word that no context knows and drops what belongs to it: the rest of its line, and
    /// the numbers that follow. Silent if something of its line has been reported before, which it
    /// then follows from: TEMP 20 X lacks a unit, and X need not be told.
    void SkipUnknown(const std::string& word);
    /// Whether some context that is open knows the word.
    bool knows(const std::string& word) const;
    /// Whether no context of the script knows the word. False outside of a script's reading, where
    /// it is not known who reads on.
    bool nobody_knows(const std::string& word) const;
    /// Whether an error was reported since the current line was read.
    bool line_in_error() const;
    /// What was reported last is not about the line that has been read since.
    void ClearLine();
    /// Remembers the words of the current line as those of a statement that could not be read.
    void LoseLine();
    /// Whether a statement that could not be read holds the word: what it would have defined is
    /// not to be reported as undefined.
    bool lost(const std::string& word) const;
    /// Whether there is such a statement at all: a fluid may be missing because of it.
    bool definitions_lost() const { return definitionsLost_; }
    /// An error block: the given lines, then three (or `detail`) location lines.
    void ErrorHere(std::vector<std::string> lines, int detail = 2);

    int flags() const;  ///< bit set of FileReader's flags
    bool number_expected() const;
    int startColumn() const;  ///< of the last token, source column from 0
    int endColumn() const;    ///< one past its last character
    int lineNumber() const;   ///< from 1
    const std::string& token() const;
    const std::string& line() const;  ///< the last one read, as it stands in the file
    /// Whether the last token has a bracket behind it, as a heading with its unit: PRES(psia).
    bool bracket_follows() const;
    const std::string& lastWord() const { return lastWord_; }
    InFile& file() const;  ///< the file being read

private:
    friend class LineLimitScope;
    friend class ContextScope;
    using Knows = std::function<bool(const std::string&)>;
    struct Level;

    template <class F>
    int with_pops(F read);
    FileReader& top() const;
    bool is_output(const InFile& included) const;
    /// Does nothing if that file has been left.
    void restore_line_limit(std::size_t serial, int limit);
    std::vector<std::string> located(std::string first) const;

    std::vector<std::unique_ptr<Level>> stack_;
    Macros macros_;
    std::string lastWord_;
    std::size_t pushes_ = 0;  ///< files opened so far: serial numbers of the levels
    std::vector<Knows> contexts_;  ///< from the script's to the innermost
    bool definitionsLost_ = false;
    std::set<std::string> lostWords_;  ///< in upper case
};

/// Lets the reader know, for a scope, which words are known there.
class ContextScope {
public:
    /// `whole_script`: the scope is the outermost. Others count only within such a one.
    ContextScope(Reader& reader, Reader::Knows knows, bool whole_script = false);
    ~ContextScope();
    ContextScope(const ContextScope&) = delete;
    ContextScope& operator=(const ContextScope&) = delete;

private:
    Reader& reader_;
    bool counts_;
};

/// Sets the reader's line limit for a scope, and restores it on the file it came from.
class LineLimitScope {
public:
    LineLimitScope(Reader& reader, int limit);
    ~LineLimitScope();
    LineLimitScope(const LineLimitScope&) = delete;
    LineLimitScope& operator=(const LineLimitScope&) = delete;

private:
    Reader& reader_;
    std::size_t serial_;  ///< of the file's level in the reader
    int previous_;
};

}  // namespace kestrane
