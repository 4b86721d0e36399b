// The row of mixing cells between injected fluid and oil.

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

#include "misc/MiscExpt.h"
#include "misc/MiscText.h"

namespace kestrane {

namespace {

/// Half of what stays in a cell, half of what moves in.
constexpr double HALF = 0.5;
/// Sum of absolute changes in composition below which a cell stands as it is.
constexpr double AT_REST = 2e-6;
/// A cell as short as this against the shortest shares its mechanism.
constexpr double AS_SHORT = 0.995;

double change(std::span<const double> a, std::span<const double> b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) sum += std::abs(a[i] - b[i]);
    return sum;
}

std::string stage_line(std::size_t stage, int mechanism, double smallest, double extrapolated) {
    std::ostringstream line;
    line << std::setw(5) << stage << std::setw(10) << mechanism_label(mechanism)
         << immiscibility_text(smallest) << std::setw(18) << std::scientific << std::setprecision(5)
         << extrapolated;
    return line.str();
}

}  // namespace

/// Cells from the injected fluid to the oil, each with its mixture and the tie-line through it.
struct MiscExpt::Row {
    Row(std::size_t components, std::size_t most)
        : n(components),
          mixture(n * most),
          staying(n * most),
          moving(n * most),
          ln_k(n * most),
          values(most),
          incoming(n),
          start_ln_k(n),
          history(),
          t_work(most) {
        history.reserve(most);
    }
    std::span<double> at(std::vector<double>& all, std::size_t j) const {
        return std::span(all).subspan(j * n, n);
    }
    void copy(std::size_t from, std::size_t to) {
        for (std::vector<double>* all : {&mixture, &staying, &moving, &ln_k})
            std::ranges::copy(at(*all, from), at(*all, to).begin());
        values[to] = values[from];
    }
    double smallest() const {
        return *std::min_element(values.begin(),
                                 values.begin() + static_cast<std::ptrdiff_t>(size));
    }
    int mechanism() const {
        const double limit = smallest() / AS_SHORT;
        if (values[size - 1] <= limit) return VAPORIZING;
        return values[0] <= limit ? CONDENSING : COND_VAP;
    }

    std::size_t n;
    std::size_t size = 1;
    std::vector<double> mixture;          ///< size x n, what the tie-line was calculated for
    std::vector<double> staying, moving;  ///< size x n, the phases of the tie-line
    std::vector<double> ln_k;             ///< size x n
    std::vector<double> values;           ///< size, immiscibility of the tie-line
    std::vector<double> incoming;         ///< n, the new mixture of a cell
    std::vector<double> start_ln_k;       ///< n, of the first two-phase mixture
    std::vector<double> history;          ///< smallest immiscibility of every stage
    std::vector<double> t_work;
};

/// Stores the tie-line of the last flash in cell j.
void MiscExpt::row_keep(Row& row, std::size_t j, bool vapor_moves) {
    std::ranges::copy(vapor_moves ? vapor() : liquid(), row.at(row.moving, j).begin());
    std::ranges::copy(vapor_moves ? liquid() : vapor(), row.at(row.staying, j).begin());
    std::ranges::copy(cell_.feed->moles(), row.at(row.mixture, j).begin());
    row.values[j] = cell_immiscibility();
    if (row.values[j] > 0.0) std::ranges::copy(cell_.ln_k, row.at(row.ln_k, j).begin());
}

/// The first cell holds the tie-line that the scan found; the phase towards the injected fluid
/// moves on.
void MiscExpt::row_start(Row& row) {
    row.start_ln_k = cell_.ln_k;
    row_keep(row, 0, tieLineSide(gas_, oil_, vapor(), liquid()));
    row.history.push_back(row.values[0]);
}

/// Flashes the new mixture of cell j, from the K-values of the cells that it comes from. The phase
/// that moves is the one on the side of the moving phase of such a cell.
void MiscExpt::row_flash(Row& row, std::size_t j) {
    const std::size_t last = row.size - 1;
    const std::size_t sources[] = {std::min(j, last - 1), j > 0 ? j - 1 : 0};
    for (std::size_t attempt = 0; attempt < 3; ++attempt) {
        const std::span<const double> start =
            attempt < 2 ? std::span<const double>(row.at(row.ln_k, sources[attempt]))
                        : std::span<const double>(row.start_ln_k);
        std::ranges::copy(start, cell_.ln_k.begin());
        set_feed(row.incoming);
        cell_.flash();
        if (cell_immiscibility() > 0.0 || !usable()) break;
    }
    const std::size_t like = sources[0];
    row_keep(row, j,
             tieLineSide(row.at(row.moving, like), row.at(row.staying, like), vapor(), liquid()));
}

void MiscExpt::row_cell(Row& row, std::size_t j) {
    const std::size_t old_size = row.size - 1;
    const std::span<const double> stays =
        j < old_size ? std::span<const double>(row.at(row.staying, j)) : oil_;
    const std::span<const double> comes =
        j > 0 ? std::span<const double>(row.at(row.moving, j - 1)) : gas_;
    for (std::size_t i = 0; i < row.n; ++i)
        row.incoming[i] = HALF * stays[i] + (1.0 - HALF) * comes[i];
    if (j < old_size && change(row.incoming, row.at(row.mixture, j)) < AT_REST) return;
    if (j > 0 && change(row.incoming, row.at(row.mixture, j - 1)) < AT_REST) {
        row.copy(j - 1, j);
        return;
    }
    row_flash(row, j);
}

/// One cell more. From the oil's end backwards, so that each new cell still finds the old phases
/// of the two cells it is made from.
void MiscExpt::row_stage(Row& row) {
    ++row.size;
    for (std::size_t j = row.size; j-- > 0 && usable();) row_cell(row, j);
    row.history.push_back(row.smallest());
}

/// The shortest key tie-line, which is what the row comes to with infinitely many cells. False if
/// it is not known, if it is one of the two ends' beyond its vanishing (the chains of contacts know
/// that better), or if the row already shows a shorter one: rows come to their limit from above.
bool MiscExpt::shortest_key_line(double smallest, double& value, int& mechanism) {
    if (!key_lines_ || key_gas_ != gas_) {
        key_gas_ = gas_;
        key_lines_ =
            std::make_unique<KeyTieLines>(*cell_.charz, cell_.temperature.value, gas_, oil_);
    }
    const std::optional<KeyTieLines::Shortest> key = key_lines_->at(cell_.pressure.value);
    if (!key || key->immiscibility > smallest) return false;
    const bool at_gas = key->line == 0, at_oil = key->line + 1 == key->lines;
    if ((at_gas || at_oil) && key->immiscibility == 0.0) return false;
    value = key->immiscibility;
    mechanism = at_gas ? CONDENSING : at_oil ? VAPORIZING : COND_VAP;
    return true;
}

/// What the row comes to, from its stages or from the key tie-lines.
double MiscExpt::row_limit(Row& row, double& extrapolated, int& mechanism) {
    const double smallest = row.smallest();
    if (smallest == 0.0) return 0.0;
    double value = row.history.size() < 2 ? smallest : std::max(extrapolated, 0.0);
    if (shortest_key_line(smallest, value, mechanism)) extrapolated = value;
    return value;
}

double MiscExpt::condensingVaporizingTest(Writer* writer, int& mechanism) {
    const CellScope cell_scope(cell_);
    mechanism = FIRST_CONTACT;
    if (!scan(gas_, oil_)) return -1.0;
    const TrialPolicies policies(cell_, INIT_NEWTON);
    Row row(oil_.size(), static_cast<std::size_t>(cells_));
    row_start(row);
    if (writer) print_stage_head(*writer);
    double extrapolated = -1.0, value = 0.0;
    for (std::size_t stage = 1; usable(); ++stage) {
        const double smallest = row.smallest();
        const bool last = stage >= static_cast<std::size_t>(cells_) || smallest == 0.0;
        mechanism = row.mechanism();
        if (writer || last) extrapolated = extrapolated_immiscibility(row.history, row.t_work);
        if (last) value = row_limit(row, extrapolated, mechanism);
        if (writer) writer->Line(stage_line(stage, mechanism, smallest, extrapolated));
        if (last) break;
        row_stage(row);
    }
    return value;
}

}  // namespace kestrane
