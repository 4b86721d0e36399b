#include "input/Reader.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <utility>

#include "frame/Platform.h"
#include "input/CharSet.h"
#include "input/FileReader.h"

namespace kestrane {

/// One file on the stack, with the reader of its lines.
struct Reader::Level {
    Level(std::size_t level_serial, std::unique_ptr<InFile> owned_file, InFile& in, Reader& reader)
        : serial(level_serial), owned(std::move(owned_file)), lines(reader, in, reader.macros_) {}

    std::size_t serial;
    std::unique_ptr<InFile> owned;  ///< null for the primary input
    FileReader lines;
};

namespace {

/// A number with so many significant digits. No double has more than 767 of them.
std::string with_digits(double value, std::size_t digits) {
    std::ostringstream text;
    text.precision(static_cast<std::streamsize>(std::clamp<std::size_t>(digits, 1, 767)));
    text << value;
    return text.str();
}

/// Words of lost statements that are kept: a file that is no script has any number.
constexpr std::size_t MAX_LOST = 10000;

/// What stands between separators; comments count too.
std::vector<std::string> words_of(const std::string& line) {
    std::vector<std::string> words;
    const auto ends = [](char c) { return WordEndSet.contains(static_cast<unsigned char>(c)); };
    auto at = line.begin();
    while ((at = std::find_if_not(at, line.end(), ends)) != line.end()) {
        const auto end = std::find_if(at, line.end(), ends);
        words.emplace_back(at, end);
        at = end;
    }
    return words;
}

}  // namespace

Reader::Reader(const Writer& writer, InFile& primary) : Writer(writer) {
    stack_.push_back(std::make_unique<Level>(pushes_++, nullptr, primary, *this));
    if (primary.isOpen()) Note({"Now reading " + file_phrase(primary) + "."});
}

Reader::~Reader() = default;

FileReader& Reader::top() const {
    return stack_.back()->lines;
}

/// Applies a reading operation, leaving finished includes, until it says other than "ended".
template <class F>
int Reader::with_pops(F read) {
    for (;;) {
        const int result = read(top());
        if (result >= 0 || !Pop()) return result;
    }
}

int Reader::NextQuote(std::string& text) {
    return with_pops([&](FileReader& lines) { return lines.NextQuote(text); });
}

int Reader::NextWord(std::string& text) {
    const int result = with_pops([&](FileReader& lines) { return lines.NextWord(text); });
    if (result > 0) lastWord_ = text;
    return result;
}

int Reader::NextKeyword(std::string& text) {
    int result = 0;
    do {
        result = NextWord(text);
    } while (result == 0 && !(flags() & FileReader::LINE_LIMIT));
    return result;
}

int Reader::NextDouble(double& value, double min, double max) {
    NumberField field;
    const int result = with_pops([&](FileReader& lines) { return lines.NextNumber(field); });
    if (result <= 0 || !field.given || field.number == value) return result;
    value = field.number;
    if (value < min) value = min;
    if (value > max) value = max;
    if (value != field.number) {
        const bool large = field.number > value;
        std::vector<std::string> lines =
            located(std::string("Input value too ") + (large ? "large." : "small."));
        lines.push_back("The input value " + with_digits(field.number, token().size()) +
                        " was replaced by " + with_digits(value, 16) + ".");
        Warning(lines);
    }
    return result;
}

int Reader::NextInt(int& value, int min, int max) {
    // The limits are whole numbers, so that dropping a fraction cannot lead past them.
    double number = value;
    const int result = NextDouble(number, min, max);
    if (result <= 0 || number == value) return result;
    value = static_cast<int>(std::trunc(number));
    if (value != number) {
        std::vector<std::string> lines =
            located("Integer expected, but floating-point number found.");
        const auto columns = static_cast<std::size_t>(endColumn() - startColumn());
        lines.push_back("The value " + with_digits(number, columns) + " was truncated to " +
                        std::to_string(value) + ".");
        Warning(lines);
    }
    return result;
}

int Reader::NextDoubles(std::span<double> array, double min, double max) {
    int count = 0;
    for (double& value : array) {
        const int result = NextDouble(value, min, max);
        if (result < 0) return -(count + 1);
        if (result == 0) break;
        ++count;
    }
    return count;
}

void Reader::SkipStatement() {
    with_pops([](FileReader& lines) {
        const int limit = lines.SetLineLimit(-1);
        const int result = lines.SkipNumbers();
        lines.SetLineLimit(limit);
        return result;
    });
}

void Reader::DiscardLine() {
    top().DiscardLine();
}

void Reader::Unread() {
    top().Unread();
}

int Reader::SetEcho(int value) {
    return top().SetEcho(value);
}

int Reader::SetLineLimit(int limit) {
    return top().SetLineLimit(limit);
}

void Reader::restore_line_limit(std::size_t serial, int limit) {
    for (const auto& level : stack_) {
        if (level->serial == serial) level->lines.SetLineLimit(limit);
    }
}

void Reader::SetTabWidth(int width) {
    top().SetTabWidth(width);
}

void Reader::Define(std::string_view name, std::string_view value) {
    if (name.empty()) return;
    macros_[upper_case(name)] = value;
}

/// Whether the run itself writes to that file: reading it would follow the writing for ever.
bool Reader::is_output(const InFile& included) const {
    return (reportFile && included.sameFile(*reportFile)) ||
           (included.fullName && receives_output(*included.fullName));
}

void Reader::Push(const std::string& name) {
    FileReader& includer = top();
    includer.SetEcho(includer.echo());  // a line not echoed yet comes before the note
    auto included = std::make_unique<InFile>();
    included->SetPath(name, includer.file().directory);
    const bool deep = stack_.size() > MAX_INCLUDES;
    if (name.empty() || deep || is_output(*included) || !included->OpenRead()) {
        const std::string& full = included->fullName ? *included->fullName : name;
        std::vector<std::string> lines = located("Could not open file \"" + full + "\".");
        if (deep)
            lines.insert(lines.begin() + 1, "Files include files no more than " +
                                                std::to_string(MAX_INCLUDES) + " levels deep.");
        Fatal(lines);
    }
    InFile& file_in = *included;
    auto level = std::make_unique<Level>(pushes_++, std::move(included), file_in, *this);
    Note({"Now including " + file_phrase(file_in) + "."});
    level->lines.SetEcho(includer.echo());
    level->lines.SetTabWidth(includer.tabWidth());
    stack_.push_back(std::move(level));
}

int Reader::Pop() {
    if (stack_.size() < 2) return 0;
    stack_.pop_back();
    Note({"Now returning to " + file_phrase(file()) + "."});
    return 1;
}

void Reader::EndFile() {
    if (!Pop()) top().EndStream();
}

void Reader::Locate(std::vector<std::string>& lines, int detail, bool withColumn,
                    std::string_view prefix) const {
    lines.push_back(top().Place(prefix, withColumn));
    if (detail >= 2) lines.push_back("Most recent line: \"" + top().rawLine() + "\".");
    if (detail >= 3) lines.push_back("Most recent word: \"" + lastWord_ + "\".");
}

std::vector<std::string> Reader::located(std::string first) const {
    std::vector<std::string> lines{std::move(first)};
    Locate(lines, 3);
    return lines;
}

void Reader::NotRecognized(const std::string& word) {
    ErrorHere({"Keyword \"" + word + "\" not recognized in current context."});
}

void Reader::SkipUnknown(const std::string& word) {
    if (!top().line_in_error()) NotRecognized(word);
    LoseLine();
    DiscardLine();
    SkipStatement();
}

bool Reader::knows(const std::string& word) const {
    return std::any_of(contexts_.begin(), contexts_.end(),
                       [&](const Knows& context) { return context(word); });
}

bool Reader::nobody_knows(const std::string& word) const {
    return !contexts_.empty() && !knows(word);
}

bool Reader::line_in_error() const {
    return top().line_in_error();
}

void Reader::LoseLine() {
    definitionsLost_ = true;
    if (lostWords_.size() > MAX_LOST) return;
    for (const std::string& word : words_of(top().rawLine())) lostWords_.insert(upper_case(word));
}

bool Reader::lost(const std::string& word) const {
    return lostWords_.contains(upper_case(word));
}

void Reader::ClearLine() {
    top().clear_line();
}

void Reader::ErrorHere(std::vector<std::string> lines, int detail) {
    Locate(lines, detail);
    Error(lines);
}

int Reader::flags() const {
    return top().flags();
}

bool Reader::number_expected() const {
    return (flags() & FileReader::NUMBER_EXPECTED) != 0;
}

int Reader::startColumn() const {
    return top().startColumn();
}

int Reader::endColumn() const {
    return top().endColumn();
}

int Reader::lineNumber() const {
    return top().lineNumber();
}

const std::string& Reader::token() const {
    return top().token();
}

const std::string& Reader::line() const {
    return top().rawLine();
}

bool Reader::bracket_follows() const {
    return top().behind() == '(';
}

InFile& Reader::file() const {
    return top().file();
}

ContextScope::ContextScope(Reader& reader, Reader::Knows knows, bool whole_script)
    : reader_(reader), counts_(whole_script || !reader.contexts_.empty()) {
    if (counts_) reader_.contexts_.push_back(std::move(knows));
}

ContextScope::~ContextScope() {
    if (counts_) reader_.contexts_.pop_back();
}

LineLimitScope::LineLimitScope(Reader& reader, int limit)
    : reader_(reader),
      serial_(reader.stack_.back()->serial),
      previous_(reader.SetLineLimit(limit)) {}

LineLimitScope::~LineLimitScope() {
    reader_.restore_line_limit(serial_, previous_);
}

}  // namespace kestrane
