#include <algorithm>
#include <cmath>
#include <ostream>
#include <type_traits>
#include <utility>

#include "frame/Errors.h"
#include "frame/NumberFormat.h"
#include "input/Reader.h"
#include "input/Table.h"

namespace kestrane {

namespace {

/// What a cell without a value holds.
template <class T>
T no_value() {
    if constexpr (std::is_same_v<T, double>)
        return UNSET;
    else if constexpr (std::is_same_v<T, int>)
        return UNSET_INT;
    else
        return T{};
}

/// Whether a cell prints as blanks and gives nothing to a record or a merger.
bool missing(double value) {
    return value == UNSET;
}
bool missing(int value) {
    return value == UNSET_INT;
}
bool missing(const std::string& text) {
    return text.empty();
}
bool missing(const Quote& quote) {
    return quote.text.empty();
}
bool missing(const UserWord& word) {
    return word.empty();
}

/// How an undefined result shows: it has no digits to print.
constexpr const char* UNDEFINED_TEXT = "-";

std::string number_text(double value, bool fixed, int precision) {
    std::string text;
    if (fixed)
        append_fixed(text, value, precision);
    else
        append_scientific(text, value, precision);
    // A point stands in every number, one without decimals included.
    if (precision <= 0 && std::isfinite(value))
        text.insert(std::min(text.find('e'), text.size()), 1, '.');
    return text;
}

std::string cell_text(double value, const AnyColumn& column) {
    if (value == UNDEFINED) return UNDEFINED_TEXT;
    return number_text(column.unit ? column.unit->print(value) : value, column.fixed,
                       column.precision);
}
std::string cell_text(int value, const AnyColumn&) {
    return std::to_string(value);
}
std::string cell_text(const std::string& text, const AnyColumn&) {
    return text;
}
std::string cell_text(const Quote& quote, const AnyColumn&) {
    return quote.text;
}
std::string cell_text(const UserWord& word, const AnyColumn&) {
    return word.shown();
}

/// Reads a text. Empty quotes and the empty fields before a tab are passed over: the reader of the
/// row has seen that a word follows on the line.
int read_text(Reader& reader, std::string& text) {
    int result = 0;
    do {
        result = reader.NextQuote(text);
    } while (result > 0 && text.empty());
    return result;
}

int read_cell(Reader& reader, const AnyColumn& column, double& cell) {
    double value = UNSET;
    const int result = reader.NextDouble(value);
    if (result > 0) cell = column.unit ? column.unit->to_base(value) : value;
    return result;
}
int read_cell(Reader& reader, const AnyColumn&, int& cell) {
    return reader.NextInt(cell);
}
int read_cell(Reader& reader, const AnyColumn&, std::string& cell) {
    return read_text(reader, cell);
}
int read_cell(Reader& reader, const AnyColumn&, Quote& cell) {
    return read_text(reader, cell.text);
}
int read_cell(Reader& reader, const AnyColumn&, UserWord& cell) {
    std::string text;
    const int result = reader.NextWord(text);
    if (result > 0) cell = UserWord(text);
    return result;
}

/// Keys of a merger agree if they are the same but for the rounding of a conversion: a block may
/// state its key in another unit.
bool same(double a, double b) {
    if (a == b) return true;
    if (missing(a) || missing(b) || a == UNDEFINED || b == UNDEFINED) return false;
    return std::abs(a - b) <= 1e-14 * std::max(std::abs(a), std::abs(b));
}
template <class T>
bool same(const T& a, const T& b) {
    return a == b;
}

/// Least and greatest values of a column of numbers as printed, by sign.
struct Extremes {
    void take(double value);
    /// Smallest and largest magnitudes that are not zero; 0 if there are none.
    double smallest() const { return std::min(low[0], low[1]); }
    double largest() const { return std::max(high[0], high[1]); }
    bool any() const { return high[0] > 0.0 || high[1] > 0.0; }

    double low[2] = {UNDEFINED, UNDEFINED};  ///< smallest magnitudes: above zero, below zero
    double high[2] = {0.0, 0.0};             ///< largest magnitudes
    bool zero = false;
    int odd_width = 0;  ///< of what is no finite number
};

void Extremes::take(double value) {
    if (value == UNSET) return;
    if (value == UNDEFINED || !std::isfinite(value)) {
        const std::string text = value == UNDEFINED ? UNDEFINED_TEXT : number_text(value, true, 0);
        odd_width = std::max(odd_width, static_cast<int>(text.size()));
    } else if (value == 0.0) {
        zero = true;
    } else {
        const std::size_t side = value < 0.0 ? 1 : 0;
        low[side] = std::min(low[side], std::abs(value));
        high[side] = std::max(high[side], std::abs(value));
    }
}

/// The number of decimals, 0 to maxDecimals, that shows the smallest magnitude with the digits
/// asked for and does not make the largest too long; -1 if there is none.
int fixed_decimals(const PrintFigures& figures, double smallest, double largest) {
    // What rounds up to one digit more counts as having it: hence the halves.
    const auto threshold = [](int digits, int shift) {
        return (std::pow(10.0, digits) - 0.5) / std::pow(10.0, shift);
    };
    int chosen = -1;
    for (int d = 0; d <= figures.maxDecimals; ++d) {
        if (largest >= threshold(figures.maxDecimals, d)) break;
        if (smallest >= threshold(figures.decimals, d + 1)) chosen = d;
        if (chosen >= 0 && largest >= threshold(figures.significantDigits, d + 1)) break;
    }
    return chosen;
}

void choose_format(const PrintFigures& figures, const Extremes& extremes, AnyColumn& column) {
    column.fixed = true;
    if (figures.decimals < 0) {
        column.fixed = false;
        column.precision = -1 - figures.decimals;
    } else if (figures.maxDecimals < figures.decimals || !extremes.any()) {
        column.precision = figures.decimals;
    } else {
        const int decimals = fixed_decimals(figures, extremes.smallest(), extremes.largest());
        column.fixed = decimals >= 0;
        column.precision = column.fixed ? decimals : std::max(0, figures.significantDigits - 1);
    }
}

int format_width(const Extremes& extremes, const AnyColumn& column) {
    int width = extremes.odd_width;
    const auto widen = [&](double value) {
        const std::string text = number_text(value, column.fixed, column.precision);
        width = std::max(width, static_cast<int>(text.size()));
    };
    for (const std::size_t side : {0u, 1u}) {
        if (extremes.high[side] == 0.0) continue;
        const double sign = side == 0 ? 1.0 : -1.0;
        widen(sign * extremes.low[side]);
        widen(sign * extremes.high[side]);
    }
    if (extremes.zero) widen(0.0);
    return width;
}

template <class T>
int prepare(DataColumn<T>& column) {
    if constexpr (std::is_same_v<T, double>) {
        Extremes extremes;
        for (const double cell : column.cells)
            extremes.take(column.unit ? column.unit->print(cell) : cell);
        choose_format(column.head ? column.head->figures : PrintFigures{}, extremes, column);
        return format_width(extremes, column);
    } else {
        int width = 0;
        for (const T& cell : column.cells) {
            if (missing(cell)) continue;
            width = std::max(width, static_cast<int>(cell_text(cell, column).size()));
        }
        return width;
    }
}

}  // namespace

AnyColHead::AnyColHead(std::vector<std::string> titles, std::vector<std::string> keys,
                       const UnitSet* units, int column_priority, PrintFigures print_figures)
    : Heading(std::move(titles)),
      keywords(std::move(keys)),
      unitSet(units),
      priority(column_priority),
      figures(print_figures) {}

template <class T>
std::unique_ptr<AnyColumn> DataColHead<T>::MakeBlank() const {
    return MakeColumn(nullptr, 0);
}

template <class T>
std::unique_ptr<AnyColumn> DataColHead<T>::MakeColumn(const Units* unit, int startColumn) const {
    auto column = std::make_unique<DataColumn<T>>();
    column->head = this;
    column->unit = unit;
    column->startColumn = startColumn;
    return column;
}

template <class T>
void DataColHead<T>::ClearCell(Row& row) const {
    if (T* cell = CellPointer(row)) *cell = no_value<T>();
}

template <class T>
void DataColHead<T>::SetCell(Row& row, double value) const {
    T* cell = CellPointer(row);
    if (!cell) return;
    if constexpr (std::is_same_v<T, double>) {
        *cell = value;
    } else if constexpr (std::is_same_v<T, int>) {
        constexpr double MOST = std::numeric_limits<int>::max();
        const bool none = value == UNSET || std::isnan(value);
        *cell = none ? UNSET_INT : static_cast<int>(std::clamp(value, -MOST, MOST));
    }
}

// The base column is a placeholder: it holds nothing, and does nothing but read over its cells.
std::unique_ptr<AnyColumn> AnyColumn::CopyOf() const {
    return std::make_unique<AnyColumn>(*this);
}
int AnyColumn::ReadCell(Reader& reader, int) {
    std::string text;
    return read_text(reader, text);
}
std::string AnyColumn::CellText(int) const {
    return {};
}
void AnyColumn::PrintCell(int, std::ostream&) const {}
void AnyColumn::TakeFromRow(const Row&, int) {}
void AnyColumn::PutToRow(int, Row&) const {}
void AnyColumn::GrowTo(int) {}
void AnyColumn::AddFromRow(const Row&, int) {}
void AnyColumn::ClearCell(int) {}
void AnyColumn::CopyCell(const AnyColumn&, int, int) {}
bool AnyColumn::SameCell(int, const AnyColumn&, int) const {
    return false;
}
int AnyColumn::PrepareFormat(std::ostream&) {
    return 0;
}
void AnyColumn::DeleteCell(int) {}
void AnyColumn::InsertCell(int) {}
bool AnyColumn::PutWord(int, const std::string&) {
    return false;
}

namespace {

template <class T>
bool holds(const DataColumn<T>& column, int row) {
    return row >= 0 && row < column.RowCount() &&
           !missing(column.cells[static_cast<std::size_t>(row)]);
}

/// The head of a column of Ts.
template <class T>
const DataColHead<T>& head_of(const DataColumn<T>& column) {
    const auto* head = dynamic_cast<const DataColHead<T>*>(column.head);
    if (!head) throw LogicError{};
    return *head;
}

}  // namespace

template <class T>
std::unique_ptr<AnyColumn> DataColumn<T>::CopyOf() const {
    return std::make_unique<DataColumn<T>>(*this);
}

template <class T>
int DataColumn<T>::ReadCell(Reader& reader, int row) {
    T cell = no_value<T>();
    const int result = read_cell(reader, *this, cell);
    if (result > 0) {
        GrowTo(row + 1);
        cells[static_cast<std::size_t>(row)] = std::move(cell);
    }
    return result;
}

template <class T>
std::string DataColumn<T>::CellText(int row) const {
    return holds(*this, row) ? cell_text(cells[static_cast<std::size_t>(row)], *this)
                             : std::string();
}

template <class T>
void DataColumn<T>::PrintCell(int row, std::ostream& stream) const {
    const bool left = head && head->left_aligned;
    stream << (left ? std::left : std::right) << CellText(row);
}

template <class T>
void DataColumn<T>::TakeFromRow(const Row& source, int row) {
    const T* cell = head_of(*this).ConstCellPointer(source);
    GrowTo(row + 1);
    cells[static_cast<std::size_t>(row)] = cell ? *cell : no_value<T>();
}

template <class T>
void DataColumn<T>::PutToRow(int row, Row& target) const {
    if (!holds(*this, row)) return;
    if (T* cell = head_of(*this).CellPointer(target)) *cell = cells[static_cast<std::size_t>(row)];
}

template <class T>
void DataColumn<T>::GrowTo(int rows) {
    if (rows > RowCount()) cells.resize(static_cast<std::size_t>(rows), no_value<T>());
}

template <class T>
void DataColumn<T>::AddFromRow(const Row& source, int row) {
    InsertCell(row);
    TakeFromRow(source, row);
}

template <class T>
void DataColumn<T>::ClearCell(int row) {
    GrowTo(row + 1);
    cells[static_cast<std::size_t>(row)] = no_value<T>();
}

template <class T>
void DataColumn<T>::CopyCell(const AnyColumn& column, int fromRow, int toRow) {
    const auto* from = dynamic_cast<const DataColumn<T>*>(&column);
    if (!from || !holds(*from, fromRow)) return;
    GrowTo(toRow + 1);
    cells[static_cast<std::size_t>(toRow)] = from->cells[static_cast<std::size_t>(fromRow)];
}

template <class T>
bool DataColumn<T>::SameCell(int row, const AnyColumn& other, int otherRow) const {
    const auto* column = dynamic_cast<const DataColumn<T>*>(&other);
    if (!column) return false;
    const auto cell = [](const DataColumn<T>& of, int at) {
        return holds(of, at) ? of.cells[static_cast<std::size_t>(at)] : no_value<T>();
    };
    return same(cell(*this, row), cell(*column, otherRow));
}

template <class T>
int DataColumn<T>::PrepareFormat(std::ostream& stream) {
    const int width = prepare(*this);
    stream.precision(this->precision);
    stream.setf(this->fixed ? std::ios_base::fixed : std::ios_base::scientific,
                std::ios_base::floatfield);
    stream.setf(std::ios_base::showpoint);
    return width;
}

template <class T>
void DataColumn<T>::DeleteCell(int row) {
    if (row >= 0 && row < RowCount()) cells.erase(cells.begin() + row);
}

template <class T>
void DataColumn<T>::InsertCell(int row) {
    if (row < 0) throw LogicError{};
    GrowTo(row);
    cells.insert(cells.begin() + row, no_value<T>());
}

template <class T>
bool DataColumn<T>::PutWord(int row, const std::string& word) {
    if constexpr (std::is_same_v<T, double> || std::is_same_v<T, int>) {
        return false;
    } else {
        GrowTo(row + 1);
        T& cell = cells[static_cast<std::size_t>(row)];
        if constexpr (std::is_same_v<T, Quote>)
            cell.text = word;
        else
            cell = T(word);
        return true;
    }
}

template class DataColHead<double>;
template class DataColHead<int>;
template class DataColHead<std::string>;
template class DataColHead<Quote>;
template class DataColHead<UserWord>;
template class DataColumn<double>;
template class DataColumn<int>;
template class DataColumn<std::string>;
template class DataColumn<Quote>;
template class DataColumn<UserWord>;

void HeadDictionary::add(const AnyColHead& head) {
    if (!offer(head)) throw LogicError{};
}

bool HeadDictionary::offer(const AnyColHead& head) {
    const auto taken = [&](const std::string& key) {
        const AnyColHead* other = dictionary_.find(key);
        return other && other != &head;
    };
    if (head.keywords.size() == 1) {
        if (!dictionary_.add(head.keywords.front(), &head)) return false;
        heads_.push_back(&head);
        return true;
    }
    if (std::any_of(head.keywords.begin(), head.keywords.end(), taken)) return false;
    // Of keywords that overlap the dictionary keeps the first: the one that matches most.
    std::vector<std::string> keys = head.keywords;
    std::stable_sort(keys.begin(), keys.end(), [](const std::string& a, const std::string& b) {
        const bool a_wide = a.ends_with('&');
        const bool b_wide = b.ends_with('&');
        return a_wide != b_wide ? a_wide : a_wide && a.size() < b.size();
    });
    for (const std::string& key : keys) dictionary_.add(key, &head);
    heads_.push_back(&head);
    return true;
}

}  // namespace kestrane
