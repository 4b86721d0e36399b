#pragma once

#include <memory>
#include <string>
#include <vector>

#include "input/Table.h"
#include "input/UserWord.h"

namespace kestrane {

class Charzation;

/// One row of interaction parameters as typed.
struct BipRow : Row {
    UserWord name;
    std::vector<double> bips;  ///< by component, UNSET where blank
};

/// The heads of the interaction parameter table of one characterization: the row names under the
/// table's own keyword, then one column for each component.
class BipHeads {
public:
    explicit BipHeads(const Charzation& charz);
    const HeadDictionary& dictionary() const { return dictionary_; }

private:
    TableHead<UserWord> row_names_;
    std::vector<std::unique_ptr<VecTableHead<double, std::vector<double>>>> values_;
    HeadDictionary dictionary_;
};

/// The table of interaction parameters as typed: a row for each component in any order, with a
/// triangle or full rows of values under the names of the components. A word that is no component,
/// and a row without a value, end it.
class BipTable final : private BipHeads, public Table {
public:
    explicit BipTable(const Charzation& charz);
    int ReadRow(Reader& reader, std::string& word, int row) override;

    BipRow values(int row) const;
    /// The component whose row held no value and so ended the table; empty if there was none.
    const std::string& row_without_value() const { return row_without_value_; }

private:
    bool has_value(int row) const;

    const Charzation& charz_;
    std::string row_without_value_;
};

/// The words that begin the table of interaction parameters, and end a component table.
inline constexpr const char* BIP_KEYWORDS[] = {"BINAR&", "BIPS"};
/// The same as words that end a table.
const CmdDictionary& bip_words();

}  // namespace kestrane
