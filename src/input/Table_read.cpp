#include <algorithm>
#include <charconv>

#include "input/Reader.h"
#include "input/Table.h"

namespace kestrane {

namespace {

/// Most cells of one table, blank ones included: far beyond any laboratory's, and within memory.
constexpr std::size_t MAX_CELLS = 2'000'000;

/// The next word, past empty fields; 0 at the line limit or where a "/" ends the data.
int next_word(Reader& reader, std::string& word) {
    int result = 0;
    do {
        result = reader.NextWord(word);
    } while (result == 0 && reader.flags() == 0);
    return result;
}

/// A quoted text that NextWord does not see, as its first character (";", "/") begins what is no
/// word. Drops the line if there is none: nothing else stands on it.
bool next_quoted(Reader& reader, std::string& text) {
    reader.Unread();
    while (reader.NextQuote(text) > 0) {
        // The marks show in the columns; a field after a tab has none.
        const auto columns = static_cast<std::size_t>(reader.endColumn() - reader.startColumn());
        if (columns <= text.size()) break;
        if (!text.empty()) return true;
    }
    reader.DiscardLine();
    return false;
}

bool stands_for_placeholder(const std::string& word) {
    return !word.empty() && std::string("~_?").find(word.front()) != std::string::npos;
}

bool is_number_column(const AnyColumn& column) {
    return dynamic_cast<const DataColumn<double>*>(&column) ||
           dynamic_cast<const DataColumn<int>*>(&column);
}

/// How often a token like 3*7.5 or 3* delivers; 1 for others.
int repeat_count(const std::string& token) {
    const std::size_t star = token.find('*');
    int count = 1;
    if (star != std::string::npos) std::from_chars(token.data(), token.data() + star, count);
    return count;
}

}  // namespace

int Table::Read(Reader& reader, const CmdDictionary* stopWords) {
    closed = false;
    const LineLimitScope any_lines(reader, -1);
    std::string word;
    int result = next_word(reader, word);
    if (result <= 0) return result;
    result = 0;
    bool head_follows = true;
    while (head_follows && read_block(reader, stopWords, word, head_follows) > 0) result = 1;
    return result;
}

/// Reads the block whose head line begins with `word`. `head_follows` tells that another one ended
/// it, and `word` is then its first word.
int Table::read_block(Reader& reader, const CmdDictionary* stopWords, std::string& word,
                      bool& head_follows) {
    if (rowCount == 0) {
        if (ReadHead(reader, word) < 1) return 0;
        head_follows = read_rows(reader, stopWords, word);
        return 1;
    }
    Table block(heads);
    block.allowWeights = allowWeights;
    if (block.ReadHead(reader, word) < 1) return 0;
    head_follows = block.read_rows(reader, stopWords, word);
    closed = block.closed;
    Merge(reader, block);
    return 1;
}

/// Reads rows and weights up to the block's end. True if a further head line ends it, whose first
/// word has then been read.
bool Table::read_rows(Reader& reader, const CmdDictionary* stopWords, std::string& word) {
    while (next_word(reader, word) > 0) {
        if (allowWeights && ReadWeights(reader, word) > 0) continue;
        if (KeyCompare(word, "END") == 0) {
            closed = true;
            return false;
        }
        if (KeyCompare(word, "EOF") == 0 || (stopWords && stopWords->find(word))) {
            reader.Unread();
            return false;
        }
        if ((static_cast<std::size_t>(rowCount) + 1) * columns.size() > MAX_CELLS) {
            reader.ErrorHere({"Table exceeds " + std::to_string(MAX_CELLS) + " cells."});
            reader.Unread();
            return false;
        }
        int row_read = 0;
        const AnyColHead* head = heads ? heads->find(word) : nullptr;
        if (!head || head->priority < 1) {
            row_read = ReadRow(reader, word, rowCount);
        } else if (!begins_with_text() || continues_head(reader, *head)) {
            return true;
        } else {
            row_read = read_named_row(reader, word);
        }
        if (row_read < 1) {
            reader.Unread();
            return false;
        }
        ++rowCount;
    }
    return false;
}

/// Whether the line that began with a keyword of `head` goes on as a head line: a row may begin
/// with a name that looks like a heading (COMP1). Leaves the reader behind the first word.
bool Table::continues_head(Reader& reader, const AnyColHead& head) const {
    const LineLimitScope this_line(reader, 0);
    std::string second;
    const int found = next_word(reader, second);
    if (found >= 0) reader.Unread();
    return found > 0 && (heads->find(second) || stands_for_placeholder(second) ||
                         (head.unitSet && head.unitSet->find(second)));
}

/// Reads a row whose name, `word`, can not be given back any more.
int Table::read_named_row(Reader& reader, std::string& word) {
    const int owner = owner_of(-1, reader.endColumn() - 1);
    if (owner >= 0 && ColumnAt(owner).PutWord(rowCount, word))
        return read_cells(reader, word, rowCount, owner);
    reader.NotRecognized(word);
    return 0;
}

bool Table::begins_with_text() const {
    return !columns.empty() && columns.front()->IsData() && !is_number_column(*columns.front());
}

int Table::ReadHead(Reader& reader, std::string& word) {
    int count = 0;
    {
        const LineLimitScope this_line(reader, 0);
        do {
            const int start = reader.startColumn();
            const AnyColHead* head = heads ? heads->find(word) : nullptr;
            if (head && count == 0 && head->priority < 1) head = nullptr;
            if (!head && !stands_for_placeholder(word)) {
                if (count == 0) {
                    reader.Unread();
                    return 0;
                }
                reader.NotRecognized(word);
            }
            if (count++ == 0) Clear();
            if (!head) {
                AddColumn(std::make_unique<AnyColumn>()).startColumn = start;
                continue;
            }
            const Units* unit = nullptr;
            if (head->unitSet) {
                if (next_word(reader, word) > 0) unit = head->unitSet->find(word);
                if (!unit) {
                    reader.Unread();
                    unit = head->unitSet->find("");
                }
            }
            AddColumn(head->MakeColumn(unit, start));
        } while (next_word(reader, word) > 0);
    }
    ReadUnits(reader, word);
    return count;
}

/// The last column after `placed` whose heading does not start right of `endColumn`; `placed`
/// itself if there is none.
int Table::owner_of(int placed, int endColumn) const {
    const int count = static_cast<int>(columns.size());
    while (placed + 1 < count && ColumnAt(placed + 1).startColumn <= endColumn) ++placed;
    return placed;
}

int Table::ReadUnits(Reader& reader, std::string& word) {
    const auto unit_under = [&](int owner) -> const Units* {
        const UnitSet* set =
            owner >= 0 && ColumnAt(owner).head ? ColumnAt(owner).head->unitSet : nullptr;
        return set ? set->find(word) : nullptr;
    };
    int result = 0;
    if (next_word(reader, word) > 0) {
        int placed = owner_of(-1, reader.endColumn() - 1);
        if (const Units* first = unit_under(placed)) {
            result = 1;
            ColumnAt(placed).unit = first;
            const LineLimitScope this_line(reader, 0);
            while (next_word(reader, word) > 0) {
                const int owner = owner_of(placed, reader.endColumn() - 1);
                const bool passed = owner > placed;
                placed = owner;
                if (!passed ||
                    (ColumnAt(owner).head && ColumnAt(owner).head->unitSet && !unit_under(owner)))
                    reader.NotRecognized(word);
                else if (const Units* unit = unit_under(owner))
                    ColumnAt(owner).unit = unit;
            }
        } else {
            reader.Unread();
        }
    }
    assume_units(reader);
    return result;
}

/// Columns of quantities that were given no unit take the default, with an error if it has a name.
void Table::assume_units(Reader& reader) {
    for (const auto& column : columns) {
        if (!column->head || !column->head->unitSet || column->unit) continue;
        column->unit = &column->head->unitSet->default_unit();
        if (column->unit->name().empty()) continue;
        std::vector<std::string> lines{"No units assigned to \"" + column->head->BestName(-1) +
                                       "\" column."};
        reader.Locate(lines, 1, false);
        lines.push_back("To allow further input, units of \"" + column->unit->name() +
                        "\" will be assumed.");
        reader.Error(lines);
    }
}

int Table::ReadWeights(Reader& reader, std::string& word) {
    const std::string given = word;
    const auto is_given = [&](const char* key) { return KeyCompare(key, given.c_str()) == 0; };
    constexpr const char* KEYS[] = {"WT&", "WGT&", "WEIG&", "WGH&"};
    if (std::none_of(std::begin(KEYS), std::end(KEYS), is_given)) return 0;

    const LineLimitScope this_line(reader, 0);
    const int count = static_cast<int>(columns.size());
    int placed = -1;
    while (next_word(reader, word) > 0) {
        const int owner = owner_of(placed, reader.endColumn() - 1);
        if (owner == placed) {
            reader.NotRecognized(word);
            continue;
        }
        placed = owner;
        reader.Unread();
        if (reader.NextDouble(ColumnAt(placed).weight) <= 0) {
            if (next_word(reader, word) > 0) reader.NotRecognized(word);
            continue;
        }
        int left = repeat_count(reader.token()) - 1;
        for (; left > 0 && placed + 1 < count; --left) reader.NextDouble(ColumnAt(++placed).weight);
        if (left > 0) reader.NotRecognized(reader.token());
    }
    return 1;
}

int Table::ReadRow(Reader& reader, std::string& word, int row) {
    reader.Unread();
    return read_cells(reader, word, row, -1);
}

/// Reads the cells of a row right of the column that was placed last (-1: none yet).
int Table::read_cells(Reader& reader, std::string& word, int row, int placed) {
    const int count = static_cast<int>(columns.size());
    const LineLimitScope this_line(reader, 0);
    for (;;) {
        const int found = next_word(reader, word);
        const bool quoted = found == 0 && next_quoted(reader, word);
        if (found <= 0 && !quoted) break;
        const int owner = owner_of(placed, reader.endColumn() - 1);
        if (quoted && owner > placed && is_number_column(ColumnAt(owner))) {
            reader.NotRecognized(word);
            continue;
        }
        if (owner == placed) {
            if (placed < 0) {
                reader.Unread();
                return 0;
            }
            if (!ColumnAt(placed).IsData()) continue;  // more of what is read over
            reader.NotRecognized(word);
            if (placed + 1 < count) continue;
            reader.DiscardLine();
            break;
        }
        reader.Unread();
        // A word where a number belongs ends the row, and is left to whoever reads on.
        if (ColumnAt(owner).ReadCell(reader, row) <= 0) {
            if (placed < 0) return 0;
            break;
        }
        placed = owner;
        read_repeats(reader, row, placed);
    }
    if (placed < 0) return 0;
    for (const auto& column : columns) column->GrowTo(row + 1);
    return 1;
}

/// Deals the rest of a repeated number (3*7.5) out to the columns that follow. What does not fit
/// them is an error, and the line is then dropped.
void Table::read_repeats(Reader& reader, int row, int& placed) {
    if (!is_number_column(ColumnAt(placed))) return;
    const int count = static_cast<int>(columns.size());
    for (int left = repeat_count(reader.token()) - 1; left > 0; --left) {
        const bool fits = placed + 1 < count && (is_number_column(ColumnAt(placed + 1)) ||
                                                 !ColumnAt(placed + 1).IsData());
        if (!fits) {
            reader.NotRecognized(reader.token());
            reader.DiscardLine();
            return;
        }
        double read_over = UNSET;
        if (ColumnAt(++placed).IsData())
            ColumnAt(placed).ReadCell(reader, row);
        else
            reader.NextDouble(read_over);
    }
}

}  // namespace kestrane
