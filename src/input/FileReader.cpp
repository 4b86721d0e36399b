#include "input/FileReader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iomanip>
#include <ios>
#include <iterator>
#include <limits>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

namespace kestrane {

namespace {

/// Longest line that can be read, bytes.
constexpr std::size_t MAX_LINE = 2147483646;
/// Editors put it before the first character of a UTF-8 text. It shows nowhere, and is no text.
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
/// The same mark before a UTF-16 text, low or high byte first.
constexpr std::string_view WIDE_MARKS[] = {"\xFF\xFE", "\xFE\xFF"};

constexpr CharSet BlankButTab = BlankSet.without("\t");
constexpr CharSet TabSet{"\t"};

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

/// Whether a number that no double holds is too small rather than too large: the power of ten of
/// its first digit that is not 0 tells.
bool underflows(std::string_view text) {
    constexpr std::int64_t FAR = std::int64_t{1} << 40;  // beyond any line's length
    const std::size_t mark = std::min(text.find('e'), text.size());
    std::int64_t exponent = 0;
    if (mark < text.size()) {
        const bool negative = text[mark + 1] == '-';
        for (std::size_t i = mark + 1; i < text.size(); ++i) {
            if (is_digit(text[i])) exponent = std::min(exponent * 10 + (text[i] - '0'), FAR);
        }
        if (negative) exponent = -exponent;
    }
    const std::string_view mantissa = text.substr(0, mark);
    const auto point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mark));
    const auto first = static_cast<std::int64_t>(mantissa.find_first_of("123456789"));
    return point - first + exponent < 0;
}

/// The count before the star of a repeated field: decimal digits, above 0, within an int.
bool parse_count(std::string_view text, int& count) {
    if (text.empty() || !std::all_of(text.begin(), text.end(), is_digit)) return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    return error == std::errc{} && count > 0;
}

}  // namespace

bool parse_number(std::string_view text, double& number) {
    std::string copy(text);
    for (char& c : copy) {
        if (c == 'd' || c == 'D' || c == 'E') c = 'e';
    }
    const bool negative = !copy.empty() && copy.front() == '-';
    const std::size_t start = negative || (!copy.empty() && copy.front() == '+') ? 1 : 0;
    // The sign is taken off here: from_chars knows no "+", and knows the words inf and nan.
    if (start >= copy.size() || !(is_digit(copy[start]) || copy[start] == '.')) return false;
    const char* const last = copy.data() + copy.size();
    double magnitude = 0.0;
    const auto [end, error] = std::from_chars(copy.data() + start, last, magnitude);
    if (end != last || error == std::errc::invalid_argument) return false;
    if (error == std::errc::result_out_of_range) {
        if (!underflows(std::string_view(copy).substr(start))) return false;
        magnitude = 0.0;
    }
    if (!std::isfinite(magnitude)) return false;
    number = negative ? -magnitude : magnitude;
    return true;
}

std::string file_phrase(const InFile& file) {
    return file.fullName ? "file \"" + *file.fullName + "\"" : "standard input";
}

FileReader::FileReader(Writer& writer, InFile& file, const Macros& macros)
    : writer_(writer), file_(file), source_(macros) {}

int FileReader::SetLineLimit(int limit) {
    return std::exchange(lineLimit_, limit);
}

int FileReader::SetEcho(int value) {
    const int old = std::exchange(echo_, value);
    echo_line();
    return old;
}

void FileReader::echo_line() {
    if (!echo_ || !writer_.reportFile || lineNumber_ <= lastEchoedLine_) return;
    lastEchoedLine_ = lineNumber_;
    std::ostringstream number;
    number << std::setw(5) << std::setfill('0') << lineNumber_ << ":  ";
    Writer report(writer_.errorCounts(), nullptr, writer_.reportFile);
    report.Line(number.str() + source_.line());
}

void FileReader::prompt() {
    if (!file_.prompting || !writer_.consoleFile) return;
    Writer console(writer_.errorCounts(), writer_.consoleFile, nullptr);
    console.Line("Enter the next line:");
    console.Flush();
}

/// Reads up to a line end or the end of the file; false if the file ended before any character.
/// The first line end seen decides which of newline and carriage return ends lines in this file,
/// and the other one is dropped, so that LF, CR and CR LF all read alike.
bool FileReader::read_raw(std::string& raw) {
    constexpr int END = std::streambuf::traits_type::eof();
    std::streambuf* const buffer = file_.rdbuf();
    raw.clear();
    try {
        for (int next = buffer->sbumpc(); next != END; next = buffer->sbumpc()) {
            const char c = std::streambuf::traits_type::to_char_type(next);
            if (c == '\n' || c == '\r') {
                if (!file_.lineEnd) file_.lineEnd = c;
                if (c == file_.lineEnd) return true;
                continue;
            }
            if (raw.size() >= MAX_LINE) {
                file_.setstate(std::ios_base::failbit);
                return false;
            }
            raw += c;
        }
        file_.setstate(file_.readFailed() ? std::ios_base::badbit : std::ios_base::eofbit);
    } catch (const std::ios_base::failure&) {
        file_.setstate(std::ios_base::badbit);
    }
    return !raw.empty();
}

/// The end of the input, told apart from a failure of it, which is reported once.
int FileReader::stream_over() {
    const bool corrupted = file_.fail();
    file_.clear(std::ios_base::eofbit);
    flags_ = STREAM_ENDED;
    if (corrupted) {
        std::vector<std::string> lines{file_.fullName
                                           ? "Input file \"" + *file_.fullName + "\" corrupted."
                                           : std::string("Standard input stream corrupted.")};
        if (wide_text_)
            lines.emplace_back(
                "It holds text of two bytes a character. Save it as plain text or UTF-8.");
        writer_.Error(lines);
    }
    return -1;
}

bool FileReader::is_comment() const {
    const std::string& line = source_.line();
    if (line.empty()) return false;
    const unsigned char first = source_.byte_at(0);
    if (CommentLineSet.contains(first)) return true;
    return DoubledCommentSet.contains(first) && source_.rawLine().size() >= 2 && line.size() >= 2 &&
           line[1] == line[0];
}

/// Takes the mark of its encoding from the first line of a file. Text of two bytes a character is
/// a failure of the input: false.
bool FileReader::take_mark(std::string& raw) {
    if (raw.starts_with(BYTE_ORDER_MARK)) raw.erase(0, BYTE_ORDER_MARK.size());
    wide_text_ = std::any_of(std::begin(WIDE_MARKS), std::end(WIDE_MARKS),
                             [&](std::string_view mark) { return raw.starts_with(mark); });
    if (wide_text_) file_.setstate(std::ios_base::failbit);
    return !wide_text_;
}

int FileReader::NextLine() {
    if (lineLimit_ == 0) {
        flags_ |= LINE_LIMIT;
        return 0;
    }
    for (;;) {
        flags_ = 0;
        source_.discard();
        if (!file_.good()) return stream_over();
        prompt();
        std::string raw;
        if (!read_raw(raw)) continue;  // the stream is not good now
        if (++lineNumber_ == 1 && !take_mark(raw)) continue;
        const bool expanded = source_.assign(std::move(raw));
        saved_.cursor = source_.line().size();  // the place that was saved is gone with its line
        echo_line();
        clear_line();
        if (!expanded) {
            writer_.Error({"Macros make the line longer than " +
                               std::to_string(SourceLine::MAX_EXPANDED) +
                               " characters; they were left as they stand.",
                           Place("Problem detected", false)});
        }
        if (!is_comment()) break;
    }
    if (lineLimit_ > 0) --lineLimit_;
    return 1;
}

void FileReader::save() {
    saved_ = state_;
    saved_.cursor = source_.cursor();
}

void FileReader::Unread() {
    state_ = saved_;
    source_.move_to(saved_.cursor);
}

/// Moves to the start of the next token or to an empty field, which shows as repeat -1. Values are
/// separated by blanks or by one separator each; a second comma makes an empty field.
int FileReader::SkipToToken(const CharSet& blanks, const CharSet& skipped) {
    state_.repeat = 0;
    flags_ = 0;
    for (;;) {
        if (source_.at_end()) {
            const int result = NextLine();
            if (result <= 0) return result;
            if (state_.separators == 0) state_.separators = 1;
            saved_.cursor = 0;
            saved_.separators = state_.separators;
        }
        if (state_.separators < 2) source_.skip_in(blanks);
        if (state_.separators >= 2) {
            state_.repeat = -1;
            state_.separators = 0;
            state_.startColumn = state_.endColumn = source_.start_column(source_.cursor());
            return 1;
        }
        if (source_.at_end()) continue;
        const unsigned char c = source_.current();
        if (c == ';' || c == '/') {
            source_.discard();
            if (c == ';') continue;
            flags_ |= DATA_ENDED;
            return 0;
        }
        if (!skipped.contains(c)) {
            state_.separators = 0;
            return 1;
        }
        pass_separator(c);
    }
}

/// One step over a character that is no part of a token. A comma after a separator stays, to be
/// the separator in front of the field that follows the empty one.
void FileReader::pass_separator(unsigned char c) {
    if (state_.separators == 0) {
        if (SeparatorSet.contains(c)) state_.separators = 1;
        source_.advance();
    } else if (c == ',') {
        ++state_.separators;
    } else {
        source_.advance();
    }
}

/// Notes the columns from the token's first character to the cursor.
void FileReader::end_token(std::size_t first) {
    state_.startColumn = source_.start_column(first);
    state_.endColumn = std::max(source_.end_column(source_.cursor()), state_.startColumn);
}

int FileReader::NextWord(std::string& text) {
    save();
    const int result = SkipToToken(BlankSet, SkipSet);
    if (result <= 0) return result;
    if (state_.repeat != 0) {
        state_.repeat = 0;
        text.clear();
        return 0;
    }
    const std::size_t first = source_.cursor();
    source_.advance();
    source_.skip_to(WordEndSet);
    end_token(first);
    token_ = source_.text_from(first);
    text = token_;
    return 1;
}

int FileReader::NextQuote(std::string& text) {
    save();
    const int result = SkipToToken(BlankButTab, QuoteSkipSet);
    if (result <= 0) return result;
    if (state_.repeat != 0) {
        state_.repeat = 0;
        text.clear();
        return 0;
    }
    std::size_t first = source_.cursor();
    const unsigned char c = source_.current();
    if (c == '\t') {
        source_.advance();
        first = source_.cursor();
        token_ = tab_field();
    } else if (c == '"' || c == '\'') {
        token_ = quoted_text(c);
    } else {
        source_.skip_to(BlankSet);
        token_ = source_.text_from(first);
    }
    end_token(first);
    text = token_;
    return 1;
}

/// The text from the mark at the cursor to the same mark, or to the end of the line. The mark twice
/// stands for one such character.
std::string FileReader::quoted_text(unsigned char mark) {
    std::string text;
    for (source_.advance(); !source_.at_end(); source_.advance()) {
        if (source_.current() == mark) {
            source_.advance();
            if (source_.current() != mark || source_.at_end()) break;
        }
        text += static_cast<char>(source_.current());
    }
    return text;
}

/// The text from the cursor to the next tab. If it begins with a double quote, tabs within quotes
/// belong to it.
std::string FileReader::tab_field() {
    std::string text;
    if (source_.current() == '"') text = quoted_text('"');
    const std::size_t rest = source_.cursor();
    source_.skip_to(TabSet);
    return text + source_.text_from(rest);
}

int FileReader::NextNumber(NumberField& field) {
    save();
    if (state_.repeat == 0) {
        const int result = SkipToToken(BlankSet, SkipSet);
        if (result <= 0) return result;
        if (state_.repeat == 0 && !parse_token()) {
            Unread();
            flags_ |= NUMBER_EXPECTED;
            return 0;
        }
    }
    field.given = state_.repeat > 0;
    field.number = state_.number;
    state_.repeat -= field.given ? 1 : -1;
    return 1;
}

/// Reads the token at the cursor as a number, a repeated number (3*7.5) or a run of empty fields
/// (3*), and sets `repeat` and `number` accordingly.
bool FileReader::parse_token() {
    const std::size_t first = source_.cursor();
    source_.advance();
    source_.skip_to(NumberEndSet);
    end_token(first);
    token_ = source_.text_from(first);
    const std::string_view token = token_;
    const std::size_t star = token.find('*', 1);
    if (star == std::string_view::npos) {
        state_.repeat = 1;
        return parse_number(token, state_.number);
    }
    int count = 0;
    if (!parse_count(token.substr(0, star), count)) return false;
    const std::string_view value = token.substr(star + 1);
    state_.repeat = value.empty() ? -count : count;
    return value.empty() || parse_number(value, state_.number);
}

int FileReader::SkipNumbers() {
    NumberField field;
    for (;;) {
        const int result = NextNumber(field);
        if (result <= 0) return result;
        state_.repeat = 0;  // a long repetition is dropped as one
    }
}

std::string FileReader::Place(std::string_view prefix, bool withColumn) const {
    std::ostringstream place;
    place << prefix << " at";
    if (withColumn) place << " column " << startColumn() + 1 << " of";
    place << " line " << lineNumber_ << " of the " << file_phrase(file_) << ".";
    return place.str();
}

void FileReader::EndStream() {
    source_.discard();
    save();
    file_.setstate(std::ios_base::eofbit);
}

}  // namespace kestrane
