#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "input/CharSet.h"
#include "input/Macros.h"

namespace kestrane {

/// One line of a script, as read and with its macros expanded, with a cursor and with the source
/// columns of its characters. Columns count from 0; a tab reaches to the next multiple of the tab
/// width, and a macro's text stands wholly in the columns of the name that it replaces.
class SourceLine {
public:
    static constexpr int DEFAULT_TAB_WIDTH = 100;
    /// Macros may not make a line longer than this, bytes.
    static constexpr std::size_t MAX_EXPANDED = std::size_t{1} << 20;

    /// `macros` is looked up for each new line, and must outlive this object.
    explicit SourceLine(const Macros& macros) : macros_(macros) {}

    /// Takes a new line, expands its macros, and puts the cursor at its start. False if the macros
    /// would make it too long: the line then stands as it was read. Linear in the length of the
    /// result, for each level of macros within macros.
    bool assign(std::string raw_line);

    const std::string& rawLine() const { return rawLine_; }
    const std::string& line() const { return line_; }

    bool at_end() const { return cursor_ >= line_.size(); }
    /// The byte at the cursor; 0 at the end.
    unsigned char current() const { return byte_at(cursor_); }
    unsigned char byte_at(std::size_t at) const {
        return at < line_.size() ? static_cast<unsigned char>(line_[at]) : '\0';
    }
    std::size_t cursor() const { return cursor_; }
    void move_to(std::size_t at) { cursor_ = at < line_.size() ? at : line_.size(); }
    void advance() { move_to(cursor_ + 1); }
    void discard() { cursor_ = line_.size(); }
    void skip_in(const CharSet& set);
    /// Moves to the next character of the set, or to the end.
    void skip_to(const CharSet& set);
    std::string text_from(std::size_t first) const { return line_.substr(first, cursor_ - first); }

    /// Column where the character at `at` begins; one past the line, where the line ends.
    int start_column(std::size_t at) const;
    /// One past the column of the last character before `at`; 0 at the start of the line.
    int end_column(std::size_t at) const { return at == 0 ? 0 : endColumns_[at - 1]; }

    int tabWidth() const { return tabWidth_; }
    /// For the lines to come. Values below 1 become 1.
    void set_tab_width(int width) { tabWidth_ = width < 1 ? 1 : width; }

private:
    void build_columns();
    bool expand();
    bool expand_once(bool& too_long);

    const Macros& macros_;
    std::string rawLine_;
    std::string line_;
    std::size_t cursor_ = 0;
    int tabWidth_ = DEFAULT_TAB_WIDTH;
    std::vector<int> startColumns_;  ///< one for each byte of line_
    std::vector<int> endColumns_;    ///< one for each byte of line_
};

}  // namespace kestrane
