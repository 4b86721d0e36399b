#pragma once

#include <iosfwd>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "frame/Writer.h"
#include "input/Heading.h"
#include "input/Units.h"
#include "input/UserWord.h"

namespace kestrane {

class AnyColumn;
class Reader;

/// Base of the records that table rows are moved to and from.
struct Row {
    virtual ~Row() = default;
};

/// Print figures of a column of numbers. `decimals` below 0 asks for scientific form with
/// -1 - decimals digits; `maxDecimals` below `decimals` for fixed form with `decimals`.
struct PrintFigures {
    int decimals = 4;
    int maxDecimals = 7;
    int significantDigits = 5;
};

/// A kind of column: its titles (as Heading, long to short), input keywords, units and format.
class AnyColHead : public Heading {
public:
    AnyColHead(std::vector<std::string> titles, std::vector<std::string> keys, const UnitSet* units,
               int column_priority, PrintFigures figures);

    /// A new empty column of this kind.
    virtual std::unique_ptr<AnyColumn> MakeBlank() const = 0;
    /// A new column of this kind with the given unit and source position.
    virtual std::unique_ptr<AnyColumn> MakeColumn(const Units* unit, int startColumn) const = 0;
    /// Sets the record's field to its no-value mark.
    virtual void ClearCell(Row& row) const = 0;
    /// Sets the record's field to a number where the field is one.
    virtual void SetCell(Row& row, double value) const = 0;

    std::vector<std::string> keywords;  ///< words that head the column in a script
    const UnitSet* unitSet;             ///< null if the column has no units
    int priority;                       ///< above 0: a merge key that may start a table
    PrintFigures figures;
    bool left_aligned = false;
};

/// A kind of column whose cells are Ts.
template <class T>
class DataColHead : public AnyColHead {
public:
    using AnyColHead::AnyColHead;
    std::unique_ptr<AnyColumn> MakeBlank() const override;
    std::unique_ptr<AnyColumn> MakeColumn(const Units* unit, int startColumn) const override;
    void ClearCell(Row& row) const override;
    void SetCell(Row& row, double value) const override;
    /// Where the record holds this cell; null if it has no such cell.
    virtual T* CellPointer(Row& row) const = 0;
    virtual const T* ConstCellPointer(const Row& row) const = 0;
};

/// A kind of column bound to a member of a record R (derived from Row).
template <class T>
class TableHead : public DataColHead<T> {
public:
    template <class R>
    TableHead(T R::*bound, std::vector<std::string> titles, std::vector<std::string> keys,
              const UnitSet* units = nullptr, int column_priority = 0,
              PrintFigures print_figures = {})
        : DataColHead<T>(std::move(titles), std::move(keys), units, column_priority, print_figures),
          member_(static_cast<T Row::*>(bound)) {}
    T* CellPointer(Row& row) const override { return &(row.*member_); }
    const T* ConstCellPointer(const Row& row) const override { return &(row.*member_); }

private:
    T Row::*member_;
};

/// A kind of column bound to one element of a vector member of a record.
template <class T, class V>
class VecTableHead : public DataColHead<T> {
public:
    template <class R>
    VecTableHead(V R::*bound, std::size_t element, std::vector<std::string> titles,
                 std::vector<std::string> keys, const UnitSet* units = nullptr,
                 int column_priority = 0, PrintFigures print_figures = {})
        : DataColHead<T>(std::move(titles), std::move(keys), units, column_priority, print_figures),
          member_(static_cast<V Row::*>(bound)),
          element_(element) {}
    T* CellPointer(Row& row) const override {
        V& cells = row.*member_;
        return element_ < cells.size() ? &cells[element_] : nullptr;
    }
    const T* ConstCellPointer(const Row& row) const override {
        const V& cells = row.*member_;
        return element_ < cells.size() ? &cells[element_] : nullptr;
    }

private:
    V Row::*member_;
    std::size_t element_;
};

/// One column of a table. This base is the placeholder column: it holds nothing, and its cells
/// are read over.
class AnyColumn {
public:
    virtual ~AnyColumn() = default;
    virtual std::unique_ptr<AnyColumn> CopyOf() const;
    virtual bool IsData() const { return false; }
    virtual int RowCount() const { return 0; }
    /// Reads the cell that stands next; above 0 if one was read (or an empty field stood there).
    virtual int ReadCell(Reader& reader, int row);
    /// The cell as printed, without the blanks that fill its column; empty if it holds nothing.
    virtual std::string CellText(int row) const;
    virtual void PrintCell(int row, std::ostream& stream) const;
    /// Record to column, column to record.
    virtual void TakeFromRow(const Row& source, int row);
    virtual void PutToRow(int row, Row& target) const;
    virtual void GrowTo(int rows);
    /// Inserts a cell from the record before `row`.
    virtual void AddFromRow(const Row& source, int row);
    virtual void ClearCell(int row);
    virtual void CopyCell(const AnyColumn& column, int fromRow, int toRow);
    virtual bool SameCell(int row, const AnyColumn& other, int otherRow) const;
    /// Chooses the number format for the cells held; returns the width they need.
    virtual int PrepareFormat(std::ostream& stream);
    virtual void DeleteCell(int row);
    /// Inserts a cell without a value before `row`.
    virtual void InsertCell(int row);
    /// Stores a word of the script in a column of text; false for other columns.
    virtual bool PutWord(int row, const std::string& word);

    const AnyColHead* head = nullptr;
    const Units* unit = nullptr;
    int startColumn = 0;  ///< source column of the heading word, from 0
    bool fixed = true;    ///< false: scientific
    int precision = 3;
    double weight = UNSET;
};

/// A column of cells. Missing cells hold the type's no-value mark and print as spaces.
template <class T>
class DataColumn : public AnyColumn {
public:
    std::unique_ptr<AnyColumn> CopyOf() const override;
    bool IsData() const override { return true; }
    int RowCount() const override { return static_cast<int>(cells.size()); }
    int ReadCell(Reader& reader, int row) override;
    std::string CellText(int row) const override;
    void PrintCell(int row, std::ostream& stream) const override;
    void TakeFromRow(const Row& source, int row) override;
    void PutToRow(int row, Row& target) const override;
    void GrowTo(int rows) override;
    void AddFromRow(const Row& source, int row) override;
    void ClearCell(int row) override;
    void CopyCell(const AnyColumn& column, int fromRow, int toRow) override;
    bool SameCell(int row, const AnyColumn& other, int otherRow) const override;
    int PrepareFormat(std::ostream& stream) override;
    void DeleteCell(int row) override;
    void InsertCell(int row) override;
    bool PutWord(int row, const std::string& word) override;

    std::vector<T> cells;  ///< base units
};

extern template class DataColHead<double>;
extern template class DataColHead<int>;
extern template class DataColHead<std::string>;
extern template class DataColHead<Quote>;
extern template class DataColHead<UserWord>;
extern template class DataColumn<double>;
extern template class DataColumn<int>;
extern template class DataColumn<std::string>;
extern template class DataColumn<Quote>;
extern template class DataColumn<UserWord>;

/// The heads that a kind of table knows, by keyword. Keywords that different heads answer to are
/// a LogicError.
class HeadDictionary {
public:
    void add(const AnyColHead& head);
    /// Adds the head unless another one answers to one of its keywords: false then, and nothing is
    /// added.
    bool offer(const AnyColHead& head);
    const AnyColHead* find(const std::string& word) const { return dictionary_.find(word); }
    /// In order of addition.
    const std::vector<const AnyColHead*>& heads() const { return heads_; }

private:
    KeyDictionary<const AnyColHead> dictionary_;
    std::vector<const AnyColHead*> heads_;
};

/// A block of rows under headings. A cell belongs to the column under whose heading it stands, so
/// that a blank cell needs no placeholder.
class Table {
public:
    explicit Table(const HeadDictionary* table_heads = nullptr) : heads(table_heads) {}
    virtual ~Table() = default;
    Table(const Table& other);
    Table& operator=(const Table& other);
    Table(Table&&) noexcept = default;
    Table& operator=(Table&&) noexcept = default;

    virtual void Clear();
    virtual AnyColumn& AddColumn(std::unique_ptr<AnyColumn> column);
    /// Reads a table, or merges one into the rows already held. Above 0 if one was read, 0 if none
    /// stands here, below 0 at the end of input. A row word found in `stopWords` ends the table
    /// and is given back, as is any other word that begins no row; the table's own END is consumed
    /// (see `closed`). A further head line among the rows begins a block that is merged.
    virtual int Read(Reader& reader, const CmdDictionary* stopWords = nullptr);
    /// These read one line that begins with `word`, which was read last; 0 if the line is none of
    /// the kind, and the word is given back then (by ReadWeights and ReadRow it is left to the
    /// caller). ReadUnits reads its first word itself.
    virtual int ReadHead(Reader& reader, std::string& word);
    virtual int ReadUnits(Reader& reader, std::string& word);
    virtual int ReadWeights(Reader& reader, std::string& word);
    virtual int ReadRow(Reader& reader, std::string& word, int row);
    /// Copies the cells of another table's rows into the rows that agree on its key columns.
    virtual void Merge(Reader& reader, const Table& other);
    /// The record's fields that have a column: cleared, or set to the column's index. If two
    /// columns address one field, the leftmost stands after ReadRowBackward, the rightmost after
    /// ReadRowForward.
    virtual void ClearHeads(Row& record) const;
    virtual void ReadRowBackward(Row& record) const;
    virtual void ReadRowForward(Row& record) const;
    /// Row to record: the fields whose cells hold a value are set, the others stay.
    virtual void TakeRow(int row, Row& target) const;
    /// Record to row: an existing one, or one inserted before `row`; beyond the end a new last one.
    virtual void PutRow(int row, const Row& source);
    virtual void InsertBlankRow(int row);
    virtual void InsertRow(int row, const Row& source);
    virtual void DeleteRow(int row);
    void AddRow(const Row& source) { InsertRow(rowCount, source); }
    /// Adds the columns of another table that are not here yet (same head), with blank cells.
    virtual void CopyColumns(const Table& other);
    /// The column of that head; made if there is none, in the head's default unit if `unit` is
    /// null.
    virtual AnyColumn& AddColumnOnce(const AnyColHead& head, const Units* unit);
    AnyColumn& AddColumnOf(const AnyColHead& head) { return AddColumnOnce(head, nullptr); }
    /// Index of the first column from `start` on with that head, or with a head that answers to
    /// that keyword; -1 if there is none.
    virtual int ColumnIndex(const AnyColHead& head, int start = 0) const;
    virtual int ColumnIndexOf(const std::string& name, int start = 0) const;
    AnyColumn& ColumnAt(int index) { return *columns[static_cast<std::size_t>(index)]; }
    const AnyColumn& ColumnAt(int index) const { return *columns[static_cast<std::size_t>(index)]; }
    /// Prints the table: `gap` blanks between columns, `indent` before the first, centred in
    /// `pageWidth`. Nothing is printed if there is no column with cells.
    virtual void Print(const OutFiles& files, int gap, int indent, int pageWidth);
    virtual void CopyFrom(const Table& other);

    const HeadDictionary* heads;  ///< shared by the tables of a kind, not owned
    std::vector<std::unique_ptr<AnyColumn>> columns;
    int rowCount = 0;
    int minPriority = std::numeric_limits<int>::max();
    int maxPriority = std::numeric_limits<int>::lowest();
    int showAll = 1;  ///< 0 leaves out columns that repeat an earlier head and unit
    int allowWeights = 0;
    bool closed = false;  ///< the last Read ended with the table's own END

    /// The lines of a message that tell where the row stands in the script: its place and its text.
    /// Empty if that is not known, as for rows beyond the first thousand.
    const std::vector<std::string>& row_place(int row) const;

private:
    int read_block(Reader& reader, const CmdDictionary* stopWords, std::string& word,
                   bool& head_follows);
    bool read_rows(Reader& reader, const CmdDictionary* stopWords, std::string& word);
    int read_cells(Reader& reader, std::string& word, int row, int placed);
    void read_repeats(Reader& reader, int row, int& placed);
    bool skip_bad_cell(Reader& reader, std::string& word);
    void report_misplaced(Reader& reader, const std::string& word);
    int owner_of(int placed, int endColumn) const;
    void assume_units(Reader& reader);
    const Units* read_unit(Reader& reader, std::string& word, const UnitSet& set);
    void report_heading(Reader& reader, const std::string& word);
    bool begins_with_text() const;
    bool continues_head(Reader& reader, const AnyColHead& head) const;
    int read_named_row(Reader& reader, std::string& word);
    std::vector<AnyColumn*> columns_to_print();

    std::string head_place_;         ///< for messages about the head line
    std::vector<std::vector<std::string>> row_places_;
    bool misplaced_reported_ = false;  ///< a value without a column has been reported
};

}  // namespace kestrane
