// The report of an experiment: calculated beside measured values under three head lines, and the
// statistics of the comparison below them.

#include <algorithm>
#include <sstream>

#include "expt/ExpTable.h"
#include "frame/Writer.h"
#include "lab/NumberText.h"

namespace kestrane {

namespace {

constexpr int LEAST_CELL_WIDTH = 4;  // of "Calc" and "Expt"
constexpr const char* RMS_LABEL = "RMS % Err: ";
constexpr const char* BIAS_LABEL = "Ave % Bias:";
constexpr const char* WEIGHT_LABEL = "Col Weight:";
constexpr int PERCENT_DECIMALS = 2;
constexpr int WEIGHT_DECIMALS = 4;

std::string blanks(int count) {
    return std::string(static_cast<std::size_t>(std::max(0, count)), ' ');
}

int length(const std::string& text) {
    return static_cast<int>(text.size());
}

/// In the middle of `width`, with the odd blank on its left.
std::string centred(const std::string& text, int width) {
    const int free = std::max(0, width - length(text));
    const int left = (free + 1) / 2;
    return blanks(left) + text + blanks(free - left);
}

std::string right_aligned(const std::string& text, int width) {
    return blanks(width - length(text)) + text;
}

/// Fixed form, without the sign of what rounds to zero.
std::string statistic_text(double value, int decimals) {
    const std::string text = fixed_text(value, decimals);
    return text.find_first_of("123456789") == std::string::npos ? fixed_text(0.0, decimals) : text;
}

/// A column as printed: one cell in a row, or a calculated and a measured one beside each other.
struct Block {
    AnyColumn* column;
    const ColumnStatistics* statistics;  ///< null: not compared
    bool pair;
    int cell_width;
    int half;  ///< blanks between the cells of a pair
    std::string unit{};
    int width = 0;

    const std::string& title() const { return column->head->BestName(-1); }
    std::string pair_text(const std::string& calculated, const std::string& measured) const {
        return centred(right_aligned(calculated, cell_width) + blanks(half) +
                           right_aligned(measured, cell_width),
                       width);
    }
    std::string cell(int row) const { return column->CellText(row); }
    /// A row of a table of that many.
    std::string row_text(int row, int rows) const {
        return pair ? pair_text(cell(rows + row), cell(row)) : right_aligned(cell(row), width);
    }
};

Block make_block(AnyColumn& column, const ColumnStatistics* statistics, int half) {
    std::ostringstream format;
    const int print_width = column.PrepareFormat(format);
    const bool pair = column.head->priority < TAG_LABEL;
    Block block{&column, statistics, pair, pair ? std::max(print_width, LEAST_CELL_WIDTH) : 0,
                half};
    if (column.unit && !column.unit->name().empty()) block.unit = "(" + column.unit->name() + ")";
    const int cells_width = pair ? 2 * block.cell_width + half : print_width;
    block.width = std::max({cells_width, length(block.title()), length(block.unit)});
    return block;
}

/// The chosen columns in their order, with what makes lines of them.
class Layout {
public:
    Layout(std::vector<Block> blocks, int gap) : blocks_(std::move(blocks)), gap_(gap) {}

    int width() const {
        int total = gap_ * static_cast<int>(blocks_.size() - 1);
        for (const Block& block : blocks_) total += block.width;
        return total;
    }
    /// One text of each block, as wide as the block, joined by gaps.
    template <class TextOf>
    std::string line(const TextOf& text_of) const {
        std::string text;
        for (const Block& block : blocks_)
            text += (&block == blocks_.data() ? "" : blanks(gap_)) + text_of(block);
        return text;
    }
    std::vector<std::string> head_lines() const;
    std::string rule() const {
        return line([](const Block& block) {
            return std::string(static_cast<std::size_t>(block.width), '-');
        });
    }
    std::string row(int row, int rows) const {
        return line([&](const Block& block) { return block.row_text(row, rows); });
    }
    std::vector<std::string> summary() const;

private:
    std::string summary_line(const std::string& label, double ColumnStatistics::*value,
                             int decimals) const;

    std::vector<Block> blocks_;
    int gap_;
};

std::vector<std::string> Layout::head_lines() const {
    return {line([](const Block& block) { return centred(block.title(), block.width); }),
            line([](const Block& block) { return centred(block.unit, block.width); }),
            line([](const Block& block) {
                return block.pair ? block.pair_text("Calc", "Expt") : blanks(block.width);
            }),
            rule()};
}

/// Values centred under their blocks. What the label takes of the first one's place is taken from
/// the gaps that follow.
std::string Layout::summary_line(const std::string& label, double ColumnStatistics::*value,
                                 int decimals) const {
    std::string text = label;
    int place = 0;
    for (const Block& block : blocks_) {
        if (block.pair) {
            const ColumnStatistics* statistics = block.statistics;
            const bool compared = statistics && statistics->count > 0;
            text += blanks(place - length(text));
            text +=
                centred(compared ? statistic_text(statistics->*value, decimals) : "", block.width);
        }
        place += block.width + gap_;
    }
    return text;
}

std::vector<std::string> Layout::summary() const {
    bool compared = false;
    bool weighted = false;
    for (const Block& block : blocks_) {
        if (!block.statistics) continue;
        compared = compared || block.statistics->count > 0;
        weighted = weighted || block.statistics->weight != 1.0;
    }
    std::vector<std::string> lines;
    if (!compared) return lines;
    lines.push_back(summary_line(RMS_LABEL, &ColumnStatistics::rms, PERCENT_DECIMALS));
    lines.push_back(summary_line(BIAS_LABEL, &ColumnStatistics::bias, PERCENT_DECIMALS));
    if (weighted)
        lines.push_back(summary_line(WEIGHT_LABEL, &ColumnStatistics::weight, WEIGHT_DECIMALS));
    return lines;
}

/// The blocks to print, by falling tag and then in column order. What is set stands once, however
/// often the script gives it.
std::vector<Block> choose_blocks(const Table& table, std::span<const ColumnStatistics> statistics,
                                 int half) {
    std::vector<Block> blocks;
    std::size_t compared = 0;
    for (int i = 0; i < static_cast<int>(table.columns.size()); ++i) {
        AnyColumn& column = *table.columns[static_cast<std::size_t>(i)];
        if (!column.head || !column.IsData()) continue;
        const bool result = column.head->priority < TAG_LABEL;
        const ColumnStatistics* own =
            result && compared < statistics.size() ? &statistics[compared++] : nullptr;
        const bool repeats = !result && table.ColumnIndex(*column.head) < i;
        if (column.RowCount() > 0 && !repeats) blocks.push_back(make_block(column, own, half));
    }
    std::stable_sort(blocks.begin(), blocks.end(), [](const Block& a, const Block& b) {
        return a.column->head->priority > b.column->head->priority;
    });
    return blocks;
}

}  // namespace

void ExpTable::Print(const OutFiles& files, int gap, int inner_gap, int width) {
    ErrorCounts no_counts;
    Writer writer(no_counts, nullptr, nullptr);
    writer.fileList = files;
    if (rowCount < 1 || !writer.active()) return;

    inner_gap = std::max(0, inner_gap);
    gap = std::max(gap, inner_gap == 0 ? 1 : 0);
    const int half = std::max(1, inner_gap + gap / 2);
    std::vector<Block> blocks = choose_blocks(*this, statistics_, half);
    if (blocks.empty()) return;

    const Layout layout(std::move(blocks), gap);
    const std::string before = blanks((width - layout.width() + 1) / 2);
    for (const std::string& line : layout.head_lines()) writer.Line(before + line);
    for (int row = 0; row < rowCount; ++row) writer.Line(before + layout.row(row, rowCount));
    writer.Line(before + layout.rule());
    for (const std::string& line : layout.summary()) writer.Line(before + line);
}

}  // namespace kestrane
