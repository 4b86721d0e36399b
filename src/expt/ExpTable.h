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
/// calculated values of the same rows in the n cells behind them.
class ExpTable final : public Table {
public:
    using Table::Table;

    /// Stores row i as calculated; fields of columns with a tag of 0 or above as read too.
    /// LogicError if i is not below rowCount.
    void PutRow(int row, const Row& source) override;
    void InsertBlankRow(int row) override;
    void InsertRow(int row, const Row& source) override;
    void DeleteRow(int row) override;

    /// The report: calculated beside measured values, and the statistics of compare.
    void Print(const OutFiles& files, int gap, int inner_gap, int width) override;

    /// Errors of the calculated values in percent of each column's greatest measured one go to the
    /// fitter as residuals; the statistics are kept for Print.
    ///   weights  one for each row; empty means 1
    void compare(Fitter& fitter, std::span<const double> weights);

    std::span<const ColumnStatistics> statistics() const { return statistics_; }

private:
    std::vector<ColumnStatistics> statistics_;  ///< for columns of a tag below 0, in column order
};

}  // namespace kestrane
