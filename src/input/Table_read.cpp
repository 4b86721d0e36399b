#include <algorithm>
#include <charconv>

#include "input/CharSet.h"
#include "input/FileReader.h"
#include "input/Reader.h"
#include "input/Table.h"

namespace kestrane {

namespace {

/// Most cells of one table, blank ones included: far beyond any laboratory's, and within memory.
constexpr std::size_t MAX_CELLS = 2'000'000;

/// Rows whose places in the script are kept for messages.
constexpr std::size_t MAX_PLACES = 1000;

/// What reading a row returns if the line was none of the table, has been reported and dropped.
constexpr int LEFT_TABLE = -1;

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

/// Whether a number stands behind the word that was read first on its line.
bool number_follows(const Reader& reader, const std::string& word) {
    const std::string& line = reader.line();
    const std::size_t at = line.find(word);
    if (at == std::string::npos) return false;
    const auto behind = line.begin() + static_cast<std::ptrdiff_t>(at + word.size());
    const auto skipped = [](char c) { return SkipSet.contains(static_cast<unsigned char>(c)); };
    const auto first = std::find_if_not(behind, line.end(), skipped);
    double number = 0.0;
    return parse_number(std::string(first, std::find_if(first, line.end(), skipped)), number);
}

/// Reports the word that stands where a row should begin; `place` tells where, if it is not empty.
void report_slip(Reader& reader, const std::string& word, const std::vector<std::string>& place) {
    if (place.empty()) return reader.NotRecognized(word);
    std::vector<std::string> lines{"Keyword \"" + word + "\" not recognized in current context."};
    lines.insert(lines.end(), place.begin(), place.end());
    reader.Error(lines);
}

/// Drops a line that is none of the table.
int leave_table(Reader& reader) {
    reader.LoseLine();
    reader.DiscardLine();
    return LEFT_TABLE;
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
        std::vector<std::string> place;
        if (row_places_.size() < MAX_PLACES) reader.Locate(place, 2);
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
        if (!begins_with_text() && reader.knows(word) && number_follows(reader, word)) {
            reader.Unread();  // TEMP 30 C is no line of headings
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
        if (row_read == LEFT_TABLE) return false;
        if (row_read < 1) {
            reader.Unread();
            if (!reader.nobody_knows(word)) return false;
            // What nobody knows is a slip within the table, which goes on behind it.
            if (!reader.line_in_error() && !reader.lost(word)) report_slip(reader, word, place);
            reader.LoseLine();
            reader.DiscardLine();
            continue;
        }
        ++rowCount;
        if (!place.empty()) row_places_.push_back(std::move(place));
    }
    return false;
}

const std::vector<std::string>& Table::row_place(int row) const {
    static const std::vector<std::string> unknown;
    const auto at = static_cast<std::size_t>(row);
    return at < row_places_.size() ? row_places_[at] : unknown;
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
                report_heading(reader, word);
            }
            if (count++ == 0) Clear();
            if (!head) {
                AddColumn(std::make_unique<AnyColumn>()).startColumn = start;
                if (reader.bracket_follows()) next_word(reader, word);  // its unit
                continue;
            }
            const Units* unit =
                head->unitSet ? read_unit(reader, word, *head->unitSet) : nullptr;
            AddColumn(head->MakeColumn(unit, start));
        } while (next_word(reader, word) > 0);
        std::vector<std::string> place;
        reader.Locate(place, 1, false);
        head_place_ = place.front();
        if (reader.line_in_error()) reader.LoseLine();
    }
    ReadUnits(reader, word);
    return count;
}

void Table::report_heading(Reader& reader, const std::string& word) {
    // Columns are named after components too (K-C1): those of a fluid that could not be read are
    // not known.
    const std::size_t hyphen = word.find('-');
    const std::string component = hyphen == std::string::npos ? word : word.substr(hyphen + 1);
    if (!reader.lost(component) && !reader.lost(word)) reader.NotRecognized(word);
}

/// The unit behind a heading. Without one, the unit without a name if there is one; a word in
/// brackets that is no unit is an error, and the default is taken.
const Units* Table::read_unit(Reader& reader, std::string& word, const UnitSet& set) {
    const bool in_brackets = reader.bracket_follows();
    if (next_word(reader, word) > 0) {
        if (const Units* unit = set.find(word)) return unit;
        if (in_brackets && !heads->find(word)) {
            reader.NotRecognized(word);
            return &set.default_unit();
        }
    }
    reader.Unread();
    return set.find("");
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
                AnyColumn& column = ColumnAt(owner);
                const UnitSet* set = column.head ? column.head->unitSet : nullptr;
                const Units* unit = unit_under(owner);
                if (!passed || (set && !unit)) {
                    reader.NotRecognized(word);
                    if (set && !column.unit) column.unit = &set->default_unit();
                } else if (unit) {
                    column.unit = unit;
                }
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
                                       "\" column.",
                                       head_place_};
        lines.push_back("To allow further input, units of \"" + column->unit->name() +
                        "\" will be assumed.");
        reader.Error(lines);
    }
    reader.ClearLine();  // the line below the head may have been read already
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

/// Reads the cells of a row right of the column that was placed last (-1: none yet). `word` is the
/// row's first word.
int Table::read_cells(Reader& reader, std::string& word, int row, int placed) {
    const int count = static_cast<int>(columns.size());
    // A statement that stands where a row of names is expected: the table's END is missing.
    const bool statement = begins_with_text() && reader.knows(word);
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
            report_misplaced(reader, word);
            if (statement) return leave_table(reader);
            if (placed + 1 < count) continue;
            reader.DiscardLine();
            break;
        }
        reader.Unread();
        if (ColumnAt(owner).ReadCell(reader, row) > 0) {
            placed = owner;
            read_repeats(reader, row, placed);
            continue;
        }
        if (placed < 0) return 0;
        if (!skip_bad_cell(reader, word)) break;
        if (statement) return leave_table(reader);
        placed = owner;
    }
    if (placed < 0) return 0;
    for (const auto& column : columns) column->GrowTo(row + 1);
    return 1;
}

/// Reports a word that stands where a number belongs. A word that begins a statement ends the row
/// instead, and is left to whoever reads on: false.
bool Table::skip_bad_cell(Reader& reader, std::string& word) {
    if (!reader.nobody_knows(word)) return false;
    next_word(reader, word);
    reader.NotRecognized(word);
    return true;
}

/// Reports a value that stands under no heading of its own. Once: where a heading is missing, every
/// row has such a value.
void Table::report_misplaced(Reader& reader, const std::string& word) {
    if (!misplaced_reported_ && !reader.line_in_error()) reader.NotRecognized(word);
    misplaced_reported_ = true;
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
