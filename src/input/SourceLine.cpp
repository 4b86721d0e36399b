#include "input/SourceLine.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

namespace kestrane {

namespace {

/// Bytes that the expansion of one line may go over in all its passes. Names that replace one
/// another in a ring would otherwise be followed for as many passes as there are macros.
constexpr std::size_t MAX_EXPANSION_WORK = 4 * SourceLine::MAX_EXPANDED;

}  // namespace

bool SourceLine::assign(std::string raw_line) {
    rawLine_ = std::move(raw_line);
    line_ = rawLine_;
    cursor_ = 0;
    build_columns();
    if (macros_.empty() || line_.find('?') == std::string::npos || expand()) return true;
    line_ = rawLine_;
    build_columns();
    return false;
}

void SourceLine::skip_in(const CharSet& set) {
    while (!at_end() && set.contains(current())) ++cursor_;
}

void SourceLine::skip_to(const CharSet& set) {
    while (!at_end() && !set.contains(current())) ++cursor_;
}

int SourceLine::start_column(std::size_t at) const {
    return at < startColumns_.size() ? startColumns_[at] : end_column(startColumns_.size());
}

void SourceLine::build_columns() {
    startColumns_.resize(line_.size());
    endColumns_.resize(line_.size());
    // Wide tabs may lead past the largest int: columns stop short of it, so that counting them
    // from 1 cannot overflow.
    constexpr std::int64_t LAST = std::numeric_limits<int>::max() - 1;
    std::int64_t column = 0;
    for (std::size_t i = 0; i < line_.size(); ++i) {
        startColumns_[i] = static_cast<int>(column);
        column = line_[i] == '\t' ? (column / tabWidth_ + 1) * tabWidth_ : column + 1;
        column = std::min(column, LAST);
        endColumns_[i] = static_cast<int>(column);
    }
}

bool SourceLine::expand() {
    std::size_t work = 0;
    for (std::size_t pass = 0; pass < macros_.size(); ++pass) {
        const std::string before = line_;
        bool too_long = false;
        const bool replaced = expand_once(too_long);
        work += line_.size();
        if (too_long || work > MAX_EXPANSION_WORK) return false;
        // A macro that stands for itself would only repeat the line.
        if (!replaced || line_ == before) return true;
    }
    return true;
}

/// One pass from left to right. True if anything was replaced.
bool SourceLine::expand_once(bool& too_long) {
    const std::size_t limit = std::max(MAX_EXPANDED, rawLine_.size());
    std::string text;
    std::vector<int> starts;
    std::vector<int> ends;
    std::size_t copied = 0;  // what stands before this is in `text`
    const auto copy_up_to = [&](std::size_t end) {
        const auto from = static_cast<std::ptrdiff_t>(copied);
        const auto to = static_cast<std::ptrdiff_t>(end);
        text.append(line_, copied, end - copied);
        starts.insert(starts.end(), startColumns_.begin() + from, startColumns_.begin() + to);
        ends.insert(ends.end(), endColumns_.begin() + from, endColumns_.begin() + to);
        copied = end;
    };

    bool replaced = false;
    std::size_t first = line_.find('?');
    while (first != std::string::npos) {
        const std::size_t second = line_.find('?', first + 1);
        if (second == std::string::npos) break;
        const auto macro =
            macros_.find(upper_case(std::string_view(line_).substr(first + 1, second - first - 1)));
        if (macro == macros_.end()) {
            first = second;
            continue;
        }
        copy_up_to(first);
        text += macro->second;
        too_long = text.size() > limit;
        if (too_long) return true;
        starts.resize(text.size(), startColumns_[first]);
        ends.resize(text.size(), endColumns_[second]);
        copied = second + 1;
        replaced = true;
        first = line_.find('?', copied);
    }
    if (!replaced) return false;
    copy_up_to(line_.size());
    too_long = text.size() > limit;
    line_ = std::move(text);
    startColumns_ = std::move(starts);
    endColumns_ = std::move(ends);
    return true;
}

}  // namespace kestrane
