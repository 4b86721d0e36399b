#include "input/Table.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "frame/Errors.h"
#include "frame/NumberFormat.h"
#include "input/Reader.h"

namespace kestrane {

Table::Table(const Table& other) {
    Table::CopyFrom(other);
}

Table& Table::operator=(const Table& other) {
    if (this != &other) Table::CopyFrom(other);
    return *this;
}

void Table::CopyFrom(const Table& other) {
    std::vector<std::unique_ptr<AnyColumn>> copies;
    for (const auto& column : other.columns) copies.push_back(column->CopyOf());
    heads = other.heads;
    columns = std::move(copies);
    rowCount = other.rowCount;
    minPriority = other.minPriority;
    maxPriority = other.maxPriority;
    showAll = other.showAll;
    allowWeights = other.allowWeights;
    closed = other.closed;
}

void Table::Clear() {
    columns.clear();
    row_places_.clear();
    rowCount = 0;
    minPriority = std::numeric_limits<int>::max();
    maxPriority = std::numeric_limits<int>::lowest();
    showAll = 1;
}

AnyColumn& Table::AddColumn(std::unique_ptr<AnyColumn> column) {
    if (!column) throw LogicError{};
    if (column->head) {
        minPriority = std::min(minPriority, column->head->priority);
        maxPriority = std::max(maxPriority, column->head->priority);
    }
    columns.push_back(std::move(column));
    return *columns.back();
}

AnyColumn& Table::AddColumnOnce(const AnyColHead& head, const Units* unit) {
    const int index = ColumnIndex(head);
    if (index >= 0) return ColumnAt(index);
    if (!unit && head.unitSet) unit = &head.unitSet->default_unit();
    AnyColumn& column = AddColumn(head.MakeColumn(unit, 0));
    column.GrowTo(rowCount);
    return column;
}

void Table::CopyColumns(const Table& other) {
    for (const auto& column : other.columns) {
        if (column->head) AddColumnOnce(*column->head, column->unit);
    }
}

int Table::ColumnIndex(const AnyColHead& head, int start) const {
    const int count = static_cast<int>(columns.size());
    for (int i = std::max(start, 0); i < count; ++i) {
        if (ColumnAt(i).head == &head) return i;
    }
    return -1;
}

int Table::ColumnIndexOf(const std::string& name, int start) const {
    const int count = static_cast<int>(columns.size());
    for (int i = std::max(start, 0); i < count; ++i) {
        const AnyColHead* head = ColumnAt(i).head;
        if (!head) continue;
        const auto answers = [&](const std::string& key) { return KeyCompare(key, name) == 0; };
        if (std::any_of(head->keywords.begin(), head->keywords.end(), answers)) return i;
    }
    return -1;
}

void Table::ClearHeads(Row& record) const {
    for (const auto& column : columns) {
        if (column->head) column->head->ClearCell(record);
    }
}

void Table::ReadRowBackward(Row& record) const {
    for (std::size_t i = columns.size(); i-- > 0;) {
        if (columns[i]->head) columns[i]->head->SetCell(record, static_cast<double>(i));
    }
}

void Table::ReadRowForward(Row& record) const {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i]->head) columns[i]->head->SetCell(record, static_cast<double>(i));
    }
}

void Table::TakeRow(int row, Row& target) const {
    for (const auto& column : columns) column->PutToRow(row, target);
}

void Table::PutRow(int row, const Row& source) {
    if (row < 0 || row >= rowCount) throw LogicError{};
    for (const auto& column : columns) column->TakeFromRow(source, row);
}

void Table::InsertBlankRow(int row) {
    if (row < 0) throw LogicError{};
    row = std::min(row, rowCount);
    for (const auto& column : columns) column->InsertCell(row);
    ++rowCount;
}

void Table::InsertRow(int row, const Row& source) {
    if (row < 0) throw LogicError{};
    row = std::min(row, rowCount);
    for (const auto& column : columns) column->AddFromRow(source, row);
    ++rowCount;
}

void Table::DeleteRow(int row) {
    if (row < 0 || row >= rowCount) return;
    for (const auto& column : columns) column->DeleteCell(row);
    --rowCount;
}

void Table::Merge(Reader& reader, const Table& other) {
    using Both = std::pair<AnyColumn*, const AnyColumn*>;  // here, there
    std::vector<Both> keys;
    std::vector<Both> others;
    for (const auto& column : other.columns) {
        if (!column->head) continue;
        AnyColumn& here = AddColumnOnce(*column->head, column->unit);
        (column->head->priority > 0 ? keys : others).emplace_back(&here, column.get());
        if (column->weight != UNSET) here.weight = column->weight;
    }
    const auto agree = [&](int here, int there) {
        return std::all_of(keys.begin(), keys.end(), [&](const Both& key) {
            return key.first->SameCell(here, *key.second, there);
        });
    };
    for (int there = 0; there < other.rowCount; ++there) {
        int here = keys.empty() ? there : 0;
        while (!keys.empty() && here < rowCount && !agree(here, there)) ++here;
        if (here >= rowCount) {
            std::vector<std::string> lines{"Table merger incomplete."};
            const std::vector<std::string>& place = other.row_place(there);
            lines.insert(lines.end(), place.begin(), place.end());
            if (place.empty()) reader.Locate(lines, 2);
            lines.push_back("Row " + std::to_string(there + 1) +
                            " of the most recent table had no corresponding");
            lines.push_back("row in the previously existing table.");
            reader.Error(lines);
            continue;
        }
        for (const Both& each : others) each.first->CopyCell(*each.second, there, here);
    }
}

namespace {

/// A column as printed.
struct Printed {
    AnyColumn* column;
    std::string heading;
    int width;
};

Printed printed(AnyColumn& column, std::ostream& stream) {
    const int cell_width = column.PrepareFormat(stream);
    int room = cell_width;
    std::string unit_text;
    if (column.unit) {
        const std::string& unit = column.unit->name();
        room = std::max(0, cell_width - static_cast<int>(unit.size()) - 3);
        if (!unit.empty()) unit_text = " (" + unit + ")";
    }
    std::string heading = column.head->BestName(room) + unit_text;
    const int width = std::max(cell_width, static_cast<int>(heading.size()));
    return {&column, std::move(heading), width};
}

/// `text` in the middle of `width`, with the odd blank on its left.
std::string centred(const std::string& text, int width) {
    const int free = std::max(0, width - static_cast<int>(text.size()));
    const int left = (free + 1) / 2;
    return std::string(static_cast<std::size_t>(left), ' ') + text +
           std::string(static_cast<std::size_t>(free - left), ' ');
}

std::string blanks(int count) {
    return std::string(static_cast<std::size_t>(std::max(0, count)), ' ');
}

}  // namespace

/// By falling priority, then in column order. Without `showAll` a column that repeats the head and
/// the unit of an earlier one is left out.
std::vector<AnyColumn*> Table::columns_to_print() {
    std::vector<AnyColumn*> chosen;
    for (const auto& column : columns) {
        if (column->IsData() && column->head && column->RowCount() > 0)
            chosen.push_back(column.get());
    }
    std::stable_sort(chosen.begin(), chosen.end(), [](const AnyColumn* a, const AnyColumn* b) {
        return a->head->priority > b->head->priority;
    });
    if (showAll) return chosen;
    std::vector<AnyColumn*> different;
    for (AnyColumn* column : chosen) {
        const auto repeats = [&](const AnyColumn* earlier) {
            return earlier->head == column->head && earlier->unit == column->unit;
        };
        if (std::none_of(different.begin(), different.end(), repeats)) different.push_back(column);
    }
    return different;
}

void Table::Print(const OutFiles& files, int gap, int indent, int pageWidth) {
    ErrorCounts no_counts;
    Writer writer(no_counts, nullptr, nullptr);
    writer.fileList = files;
    if (!writer.active()) return;

    std::ostringstream stream;
    std::vector<Printed> shown;
    for (AnyColumn* column : columns_to_print()) shown.push_back(printed(*column, stream));
    if (shown.empty()) return;

    const std::string between = blanks(gap);
    int total = static_cast<int>(blanks(indent).size() + between.size() * (shown.size() - 1));
    for (const Printed& each : shown) total += each.width;
    const std::string before = blanks((pageWidth - total + 1) / 2) + blanks(indent);

    std::string headings = before;
    std::string rule = before;
    for (std::size_t i = 0; i < shown.size(); ++i) {
        headings += (i ? between : "") + centred(shown[i].heading, shown[i].width);
        rule += (i ? between : "") + std::string(static_cast<std::size_t>(shown[i].width), '-');
    }
    writer.Line(headings);
    writer.Line(rule);
    std::string line;
    for (int row = 0; row < rowCount; ++row) {
        line = before;
        for (std::size_t i = 0; i < shown.size(); ++i) {
            if (i) line += between;
            const AnyColumn& column = *shown[i].column;
            (column.head->left_aligned ? append_left : append_right)(
                line, column.CellText(row), static_cast<std::size_t>(shown[i].width));
        }
        writer.Line(line);
    }
}

}  // namespace kestrane
