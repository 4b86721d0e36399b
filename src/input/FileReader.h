#pragma once

#include <string>
#include <string_view>

#include "frame/File.h"
#include "frame/Writer.h"
#include "input/SourceLine.h"

namespace kestrane {

/// A field read where a number may stand.
struct NumberField {
    double number = 0.0;
    bool given = false;  ///< false: an empty field, which leaves the caller's value alone
};

/// Reads `text` as a whole as a decimal number with point and exponent (e, E, d, D). False if it is
/// none, or too large for a double; what is too small for one reads as 0.
bool parse_number(std::string_view text, double& number);

/// `file "{name}"`, or `standard input` if the file has no name.
std::string file_phrase(const InFile& file);

/// Turns one open file into lines and tokens. Reading operations return above 0 if a result was
/// read, 0 if nothing of that kind stands here, below 0 at the end of the file.
class FileReader {
public:
    enum Flag : int {
        STREAM_ENDED = 1,
        LINE_LIMIT = 2,       ///< the line limit stopped reading
        DATA_ENDED = 4,       ///< a "/" ended the data
        NUMBER_EXPECTED = 8,  ///< a number was expected, but another token stands there
    };

    /// None of these is owned.
    FileReader(Writer& writer, InFile& file, const Macros& macros);

    int NextWord(std::string& text);
    int NextQuote(std::string& text);
    int NextNumber(NumberField& field);
    /// Reads over numbers. 0 if something else stands next, below 0 at the end of the file.
    int SkipNumbers();
    void DiscardLine() { source_.discard(); }
    /// Goes back to where the last word, quote or number read began. Repeating it changes nothing.
    void Unread();
    /// Drops the rest of the line, and lets the stream end here.
    void EndStream();

    /// Returns the old value. Turning the echo on echoes the current line, if not done yet.
    int SetEcho(int value);
    int echo() const { return echo_; }
    int SetLineLimit(int limit);
    int lineLimit() const { return lineLimit_; }
    void SetTabWidth(int width) { source_.set_tab_width(width); }
    int tabWidth() const { return source_.tabWidth(); }

    InFile& file() const { return file_; }
    int flags() const { return flags_; }
    int lineNumber() const { return lineNumber_; }
    int startColumn() const { return state_.startColumn; }
    int endColumn() const { return state_.endColumn; }
    const std::string& token() const { return token_; }
    const std::string& rawLine() const { return source_.rawLine(); }
    /// The character behind the last token, after macros; 0 at the end of the line.
    unsigned char behind() const { return source_.current(); }
    /// Whether an error was reported since the line was read.
    bool line_in_error() const { return writer_.errorCounts().errors > errorsBefore_; }
    /// What was reported since the line was read is not about the line.
    void clear_line() { errorsBefore_ = writer_.errorCounts().errors; }
    /// `{prefix} at column {c} of line {n} of the {file}.`
    std::string Place(std::string_view prefix, bool withColumn) const;

private:
    /// What a token read changes, and `Unread` takes back.
    struct State {
        std::size_t cursor = 0;
        int repeat = 0;      ///< N: deliver `number` N times more; -N: N empty fields
        int separators = 0;  ///< separators passed since the last token
        int startColumn = 0;
        int endColumn = 0;
        double number = 0.0;
    };

    int NextLine();
    bool read_raw(std::string& raw);
    bool take_mark(std::string& raw);
    void prompt();
    void echo_line();
    bool is_comment() const;
    int stream_over();
    void save();
    int SkipToToken(const CharSet& blanks, const CharSet& skipped);
    void pass_separator(unsigned char c);
    void end_token(std::size_t first);
    bool parse_token();
    std::string quoted_text(unsigned char mark);
    std::string tab_field();

    Writer& writer_;
    InFile& file_;
    SourceLine source_;
    State state_;  ///< its cursor is only set in `saved_`; the live one is in source_
    State saved_;
    std::string token_;
    bool wide_text_ = false;  ///< the file holds no text of single bytes
    int flags_ = 0;
    int lineNumber_ = 0;
    int errorsBefore_ = 0;  ///< errors counted when the line was read
    int lineLimit_ = -1;
    int echo_ = 0;
    int lastEchoedLine_ = 0;
};

}  // namespace kestrane
