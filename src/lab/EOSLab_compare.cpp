// A calculated value beside a measured one: the residual of the regression and two report lines.

#include <algorithm>
#include <sstream>

#include "frame/NumberFormat.h"
#include "input/Table.h"
#include "lab/EOSLab.h"
#include "lab/NumberText.h"

namespace kestrane {

namespace {

constexpr double LARGEST_PERCENT = 9999.0;

/// Texts of one width for numbers of one unit that stand one above the other.
std::vector<std::string> aligned_texts(const std::vector<double>& values, const Units* unit) {
    static const AnyColHead* const head = [] {
        static const TableHead<double> shared(static_cast<double Row::*>(nullptr), {""}, {},
                                              nullptr, 0, PrintFigures{4, 8, 6});
        return &shared;
    }();
    DataColumn<double> column;
    column.head = head;
    column.unit = unit;
    column.cells = values;
    std::ostringstream stream;
    const int width = column.PrepareFormat(stream);
    std::vector<std::string> texts;
    for (int row = 0; row < column.RowCount(); ++row) {
        std::string text;
        append_right(text, column.CellText(row), static_cast<std::size_t>(width));
        texts.push_back(std::move(text));
    }
    return texts;
}

std::string padded(const std::string& text, std::size_t width) {
    return text + std::string(width - std::min(width, text.size()), ' ');
}

}  // namespace

double percent_error(double calculated, double measured, double scale) {
    if (calculated == UNDEFINED) return LARGEST_PERCENT;
    if (calculated == UNSET) return -LARGEST_PERCENT;
    const double error = (calculated - measured) * 100.0 / scale;
    if (error != error) return -LARGEST_PERCENT;
    return std::clamp(error, -LARGEST_PERCENT, LARGEST_PERCENT);
}

void EOSLab::compareValue(Writer& writer, const std::string& expt_name,
                          const std::string& calc_name, const ValueWithUnit& measured,
                          const ValueWithUnit& calculated, double scale, double weight) {
    const bool compared = measured.value != UNSET;
    const Units* unit = measured.unit ? measured.unit : calculated.unit;
    double error = 0.0;
    if (compared) {
        error = percent_error(calculated.value, measured.value, scale);
        addResidual(error, weight);
    }
    if (!writer.active()) return;
    const std::string unit_text = unit && !unit->name().empty() ? " " + unit->name() : "";
    if (!compared) {
        writer.Line("Calc. " + calc_name + " = " + aligned_texts({calculated.value}, unit)[0] +
                    unit_text);
        return;
    }
    const std::vector<std::string> texts = aligned_texts({measured.value, calculated.value}, unit);
    const std::size_t width = std::max(expt_name.size(), calc_name.size());
    writer.Line("Expt. " + padded(expt_name, width) + " =  " + texts[0] + unit_text +
                ",  Weight Factor = " + fixed_text(weight, 4));
    writer.Line("Calc. " + padded(calc_name, width) + " =  " + texts[1] + unit_text +
                ",  Percent Error = " + fixed_text(error, 4));
}

}  // namespace kestrane
