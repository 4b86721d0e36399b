#pragma once

#include <span>
#include <string>
#include <vector>

#include "expt/ExpTable.h"
#include "frame/ErrorList.h"
#include "input/Script.h"
#include "regress/Fitter.h"

namespace kestrane::testing {

/// An experiment table read from text, with what reading and printing it said.
struct TableScript {
    explicit TableScript(const std::string& text, ExptHeads& kind = ExptHeads::expansion())
        : script(text), table(&kind.dictionary()) {
        result = table.Read(script.reader);
    }
    /// Stores a result of a row (from 1) through the record, as a stage does.
    void calculate(int row, double ExptData::*field, double value) {
        ExptData data = record(row);
        data.*field = value;
        table.PutRow(row - 1, data);
    }
    /// What is known of a row: its cells as read and as calculated.
    ExptData record(int row) const {
        ExptData data;
        for (const auto& column : table.columns) {
            if (column->head && column->head->priority >= TAG_LABEL)
                column->PutToRow(row - 1, data);
            column->PutToRow(table.rowCount + row - 1, data);
        }
        return data;
    }
    /// The report alone. "|" shows where each line ends.
    std::string report(int gap = 3, int inner_gap = 1, int width = 0) {
        std::stringbuf text;
        OutFile file(text);
        table.Print({&file}, gap, inner_gap, width);
        std::string marked;
        for (const char letter : text.str()) marked += letter == '\n' ? "|\n" : std::string{letter};
        return marked;
    }
    std::string messages() const { return script.printed(); }

    Script script;
    ExpTable table;
    int result = 0;
};

/// Collects the residuals of a comparison.
class Residuals : public Fitter {
public:
    Residuals(ExpTable& table, std::span<const double> weights) : table_(table), weights_(weights) {
        Script script("");
        ErrorList errors;
        evaluateNow(script.reader, errors, EvaluationMode::First);
    }
    void evaluate(Reader&, ErrorList&, EvaluationMode) override { table_.compare(*this, weights_); }
    std::vector<double> list() const { return {residuals().begin(), residuals().end()}; }

private:
    ExpTable& table_;
    std::span<const double> weights_;
};

inline std::vector<double> residuals_of(ExpTable& table, const std::vector<double>& weights = {}) {
    return Residuals(table, weights).list();
}

}  // namespace kestrane::testing
