#include "input/StrayLines.h"

#include <algorithm>

#include "input/CharSet.h"
#include "input/FileReader.h"
#include "input/KeyCensus.h"
#include "input/Reader.h"

namespace kestrane {

namespace {

struct LineShape {
    int words = 0;
    int numbers = 0;
};

LineShape shape_of(const std::string& line) {
    LineShape shape;
    const auto skipped = [](char c) { return SkipSet.contains(static_cast<unsigned char>(c)); };
    auto at = line.begin();
    while ((at = std::find_if_not(at, line.end(), skipped)) != line.end()) {
        const auto end = std::find_if(at, line.end(), skipped);
        double number = 0.0;
        ++(parse_number(std::string(at, end), number) ? shape.numbers : shape.words);
        at = end;
    }
    return shape;
}

bool begins_line(const Reader& reader) {
    return reader.line().find_first_not_of(" \t") + 1 > static_cast<std::size_t>(reader.startColumn());
}

/// How many contexts have the word for a keyword, open or not.
auto contexts_with(const std::string& word) {
    const auto keys = registered_keys();
    return std::count_if(keys.begin(), keys.end(),
                         [&](const CmdKey* key) { return key->matches(word); });
}

}  // namespace

bool StrayLines::follows(const Reader& reader, const std::string& word) {
    if (!open_ || !begins_line(reader)) return false;
    const LineShape shape = shape_of(reader.line());
    if (shape.numbers == 0 && shape.words > 2) in_table_ = true;
    return in_table_ || shape.numbers > 1 || contexts_with(word) > 0;
}

void StrayLines::skip(Reader& reader, const std::string& word) {
    // The word may name what a statement that was lost would have defined.
    const bool argument = reader.lost(word) && !begins_line(reader);
    if (argument || follows(reader, word)) {
        reader.LoseLine();
        reader.DiscardLine();
        reader.SkipStatement();
        return;
    }
    reader.SkipUnknown(word);
    open_ = true;
    in_table_ = false;
}

bool StrayLines::take(Reader& reader) {
    if (!open_ || !begins_line(reader) || !reader.bracket_follows() ||
        shape_of(reader.line()).numbers > 0)
        return false;
    in_table_ = true;
    reader.LoseLine();
    reader.DiscardLine();
    return true;
}

void StrayLines::end(const std::string& word) {
    in_table_ = false;
    if (open_ && contexts_with(word) < 2) open_ = false;
}

}  // namespace kestrane
