#pragma once

#include <span>
#include <vector>

#include "expt/ExptHeads.h"
#include "input/Table.h"

namespace kestrane {

class Fitter;

/// How the calculated values of one column agree with the measured ones.
struct ColumnStatistics {
    double weight = 1.0;  ///< of the column
    double bias = 0.0;    ///< average error, %
    double rms = 0.0;     ///< root mean square error, %
    int count = 0;        ///< measured values used
};

/// The table of an experiment: n rows of measured values in the first n cells of each column, the
/// calculated values of the same rows in the n cells behind them. A calculated cell that was never
/// stored may be beyond a column's end: it is missing.
class ExpTable : public Table {
public:
    /// Takes a line of column weights.
    explicit ExpTable(const HeadDictionary* table_heads = nullptr);
    ExpTable(const ExpTable&) = default;
    ExpTable& operator=(const ExpTable& other);
    ExpTable(ExpTable&&) noexcept = default;
    ExpTable& operator=(ExpTable&&) noexcept = default;

    void Clear() override;
    /// Takes over an experiment table's cells, or any table's as measured ones. A table with the
    /// same columns is filled in place: what an evaluation copies allocates nothing the next time.
    void CopyFrom(const Table& other) override;

    /// Stores row i as calculated; fields of columns with a tag of 0 or above as read too.
    /// LogicError if i is not below rowCount.
    void PutRow(int row, const Row& source) override;
    void InsertBlankRow(int row) override;
    /// Inserts a row of calculated values; fields of columns with a tag below 0 are not measured.
    void InsertRow(int row, const Row& source) override;
    void DeleteRow(int row) override;

    /// The report: calculated beside measured values, and the statistics of compare.
    ///   gap        blanks between columns
    ///   inner_gap  blanks between calculated and measured values, over half the gap
    ///   width      in which the table is centred, if it is narrower
    void Print(const OutFiles& files, int gap, int inner_gap, int width) override;

    /// Errors of the calculated values in percent of each column's greatest measured one go to the
    /// fitter as residuals; the statistics are kept for Print. The number of residuals follows from
    /// the measured values and the weights alone: a missing result counts as -9999%, an undefined
    /// one as 9999%.
    ///   weights  one for each row (LogicError if there are fewer); empty means 1
    virtual void compare(Fitter& fitter, std::span<const double> weights);

    /// For each column with a tag below 0, in column order; empty before compare.
    std::span<const ColumnStatistics> statistics() const { return statistics_; }

private:
    bool copy_in_place(const Table& other);

    std::vector<ColumnStatistics> statistics_;
};

}  // namespace kestrane
