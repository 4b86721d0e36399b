#include "expt/ExpTable.h"

#include <algorithm>
#include <cmath>

#include "frame/Errors.h"
#include "lab/EOSLab.h"

namespace kestrane {

namespace {

bool is_result(const AnyColumn& column) {
    return column.head && column.head->priority < TAG_LABEL;
}

/// The column's cells if it is one of calculated numbers, else null.
const DataColumn<double>* result_column(const AnyColumn& column) {
    return is_result(column) ? dynamic_cast<const DataColumn<double>*>(&column) : nullptr;
}

/// Measured and calculated cells of a column, with the weights of its rows.
class Comparison {
public:
    Comparison(std::span<const double> cells, std::size_t rows, std::span<const double> weights)
        : cells_(cells), rows_(rows), weights_(weights) {}

    ColumnStatistics run(Fitter& fitter, double column_weight) const;

private:
    double cell(std::size_t i) const { return i < cells_.size() ? cells_[i] : UNSET; }
    double weight(std::size_t row) const { return weights_.empty() ? 1.0 : weights_[row]; }
    /// The greatest measured magnitude of a row that counts; 1 if there is none.
    double scale() const;

    std::span<const double> cells_;
    std::size_t rows_;
    std::span<const double> weights_;
};

double Comparison::scale() const {
    double greatest = 0.0;
    for (std::size_t i = 0; i < rows_; ++i)
        if (cell(i) != UNSET && weight(i) > 0.0) greatest = std::max(greatest, std::abs(cell(i)));
    return greatest > 0.0 ? greatest : 1.0;
}

ColumnStatistics Comparison::run(Fitter& fitter, double column_weight) const {
    ColumnStatistics result;
    result.weight = column_weight;
    const double S = scale();
    double sum_we = 0.0, sum_we2 = 0.0, sum_w = 0.0, sum_w2 = 0.0;
    for (std::size_t i = 0; i < rows_; ++i) {
        const double measured = cell(i);
        if (measured == UNSET) continue;
        const double e = percent_error(cell(rows_ + i), measured, S);
        const double w = weight(i);
        fitter.addResidual(e, w * column_weight);
        ++result.count;
        sum_we += e * w;
        sum_we2 += e * w * e * w;
        sum_w += w;
        sum_w2 += w * w;
    }
    if (sum_w2 > 0.0) {
        // Weights of both signs may cancel out.
        result.bias = sum_w != 0.0 ? sum_we / sum_w : 0.0;
        result.rms = std::sqrt(sum_we2 / sum_w2);
    } else if (result.count > 0) {
        result.bias = sum_we / result.count;
        result.rms = std::sqrt(sum_we2 / result.count);
    }
    return result;
}

/// Copies the cells of a column of the same type into a column that has memory for them.
template <class T>
bool take_cells(AnyColumn& to, const AnyColumn& from) {
    auto* column = dynamic_cast<DataColumn<T>*>(&to);
    const auto* source = dynamic_cast<const DataColumn<T>*>(&from);
    if (!column || !source) return false;
    column->cells = source->cells;
    return true;
}

}  // namespace

ExpTable::ExpTable(const HeadDictionary* table_heads) : Table(table_heads) {
    allowWeights = 1;
}

ExpTable& ExpTable::operator=(const ExpTable& other) {
    ExpTable::CopyFrom(other);
    return *this;
}

void ExpTable::Clear() {
    Table::Clear();
    statistics_.clear();
}

void ExpTable::CopyFrom(const Table& other) {
    if (&other == this) return;
    if (!copy_in_place(other)) Table::CopyFrom(other);
    statistics_.clear();
    if (const auto* table = dynamic_cast<const ExpTable*>(&other)) statistics_ = table->statistics_;
}

bool ExpTable::copy_in_place(const Table& other) {
    const auto same = [](const auto& a, const auto& b) {
        return a->head == b->head && a->IsData() == b->IsData();
    };
    if (!std::equal(columns.begin(), columns.end(), other.columns.begin(), other.columns.end(),
                    same))
        return false;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        AnyColumn& to = *columns[i];
        const AnyColumn& from = *other.columns[i];
        if (to.IsData() && !take_cells<double>(to, from) && !take_cells<int>(to, from) &&
            !take_cells<std::string>(to, from))
            return false;
        to.unit = from.unit;
        to.startColumn = from.startColumn;
        to.weight = from.weight;
    }
    heads = other.heads;
    rowCount = other.rowCount;
    minPriority = other.minPriority;
    maxPriority = other.maxPriority;
    showAll = other.showAll;
    allowWeights = other.allowWeights;
    closed = other.closed;
    return true;
}

void ExpTable::PutRow(int row, const Row& source) {
    if (row < 0 || row >= rowCount) throw LogicError{};
    for (const auto& column : columns) {
        column->TakeFromRow(source, rowCount + row);
        if (!is_result(*column)) column->TakeFromRow(source, row);
    }
}

void ExpTable::InsertBlankRow(int row) {
    if (row < 0) throw LogicError{};
    row = std::min(row, rowCount);
    for (const auto& column : columns) {
        column->InsertCell(rowCount + row);
        column->InsertCell(row);
    }
    ++rowCount;
}

void ExpTable::InsertRow(int row, const Row& source) {
    if (row < 0) throw LogicError{};
    row = std::min(row, rowCount);
    for (const auto& column : columns) {
        column->AddFromRow(source, rowCount + row);
        if (is_result(*column))
            column->InsertCell(row);
        else
            column->AddFromRow(source, row);
    }
    ++rowCount;
}

void ExpTable::DeleteRow(int row) {
    if (row < 0 || row >= rowCount) return;
    for (const auto& column : columns) {
        column->DeleteCell(rowCount + row);
        column->DeleteCell(row);
    }
    --rowCount;
}

void ExpTable::compare(Fitter& fitter, std::span<const double> weights) {
    const auto rows = static_cast<std::size_t>(rowCount);
    if (!weights.empty() && weights.size() < rows) throw LogicError{};
    statistics_.clear();
    for (const auto& column : columns) {
        const DataColumn<double>* results = result_column(*column);
        if (!results) continue;
        const double column_weight = column->weight == UNSET ? 1.0 : column->weight;
        statistics_.push_back(Comparison(results->cells, rows, weights).run(fitter, column_weight));
    }
}

}  // namespace kestrane
