#pragma once

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frame/ErrorCounts.h"
#include "frame/File.h"

namespace kestrane {

using OutFiles = std::vector<OutFile*>;

/// Sends text to the console and the report at once, and forms the headed blocks in which notes
/// and problems appear. Files and counts are not owned. Copies share them.
class Writer {
public:
    static constexpr unsigned DEFAULT_WIDTH = 80;

    /// Either file may be null; a file that shares its stream with the other counts once.
    Writer(ErrorCounts& counts, OutFile* console, OutFile* report);
    virtual ~Writer() = default;
    Writer(const Writer&) = default;
    Writer& operator=(const Writer&) = default;

    /// Asks for at least n blank lines before the next output, on every active file.
    void Newlines(int n);
    /// Writes a pending page break, or the larger of n and the pending blank lines.
    void WritePending(int n);
    void Flush();
    /// Writes one line of text (no newline in it) to every active file, after pending blank lines.
    void Line(std::string_view text);

    /// A head line between fill characters, then the body lines; one blank line is then pending.
    void Headline(std::string_view text, std::span<const std::string> body, char fill);
    /// A headline with a tag; the first line joins the tag if both fit the width.
    void Block(std::string_view tag, std::span<const std::string> lines, unsigned width, char fill);

    using Lines = std::span<const std::string>;
    using LineList = std::initializer_list<std::string>;
    void Note(Lines lines, unsigned width = DEFAULT_WIDTH);
    void Note(LineList lines) { Note(Lines(lines.begin(), lines.size())); }
    /// These count, and throw FatalError when a limit is reached; see ErrorCounts.
    void Warning(Lines lines, unsigned width = DEFAULT_WIDTH);
    void Warning(LineList lines) { Warning(Lines(lines.begin(), lines.size())); }
    void Error(Lines lines, unsigned width = DEFAULT_WIDTH);
    void Error(LineList lines) { Error(Lines(lines.begin(), lines.size())); }
    [[noreturn]] void Fatal(Lines lines, unsigned width = DEFAULT_WIDTH);
    [[noreturn]] void Fatal(LineList lines) { Fatal(Lines(lines.begin(), lines.size())); }

    /// Throws FatalError if a fatal error was counted or a limit is reached.
    void CheckLimits() const;
    /// Prints the end-of-run verdict with the totals. Never throws FatalError.
    void Summary();

    /// True if some file of the list would print now: what is only printed need not be calculated
    /// otherwise.
    bool active() const;

    ErrorCounts& errorCounts() const { return *counts; }

    ErrorCounts* counts;
    OutFiles fileList;     ///< both files
    OutFiles consoleList;  ///< the console alone
    OutFiles reportList;   ///< the report alone
    OutFile* consoleFile;
    OutFile* reportFile;
    int reportLevel = 1;  ///< 2 silences warnings, 3 errors too
};

}  // namespace kestrane
