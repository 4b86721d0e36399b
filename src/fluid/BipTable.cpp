#include "fluid/BipTable.h"

#include <algorithm>

#include "fluid/CharCmd.h"
#include "fluid/Charzation.h"
#include "input/Reader.h"

namespace kestrane {

namespace {

constexpr PrintFigures BIP_FIGURES{5, 8, 6};

}  // namespace

const CmdDictionary& bip_words() {
    static const CmdKey key{BIP_KEYWORDS[0], BIP_KEYWORDS[1]};
    static const CmdDictionary dictionary = [] {
        CmdDictionary words;
        for (const std::string& alias : key.aliases) words.add(alias, &key);
        return words;
    }();
    return dictionary;
}

BipHeads::BipHeads(const Charzation& charz)
    : row_names_(&BipRow::name, {"Binary"}, {std::begin(BIP_KEYWORDS), std::end(BIP_KEYWORDS)},
                 nullptr, 1) {
    dictionary_.add(row_names_);
    for (std::size_t i = 0; i < charz.size(); ++i) {
        const UserWord& name = charz.comps[i].name;
        // A name given twice has been reported; its column belongs to the first.
        if (name.empty() || dictionary_.find(name.key())) continue;
        values_.push_back(std::make_unique<VecTableHead<double, std::vector<double>>>(
            &BipRow::bips, i, std::vector<std::string>{name.shown()},
            std::vector<std::string>{name.key()}, nullptr, 0, BIP_FIGURES));
        dictionary_.add(*values_.back());
    }
}

BipTable::BipTable(const Charzation& charz)
    : BipHeads(charz), Table(&dictionary()), charz_(charz) {}

int BipTable::ReadRow(Reader& reader, std::string& word, int row) {
    const auto refuse = [&](const std::string& stray) {
        if (reader.nobody_knows(stray) && !reader.lost(stray) && !reader.line_in_error())
            report_illegal_charzation(
                reader, "Keyword \"" + stray + "\" not recognized in current context.");
        return 0;
    };
    if (charz_.find_component(word) < 0) return refuse(word);
    const std::string name = word;
    const int result = Table::ReadRow(reader, word, row);
    // Values that stand under a heading in error are read over.
    const bool read_over = std::any_of(columns.begin(), columns.end(),
                                       [](const auto& column) { return !column->IsData(); });
    if (result < 1 || has_value(row) || read_over || reader.line_in_error()) return result;
    word = name;
    if (!reader.nobody_knows(name)) row_without_value_ = name;
    return refuse(name);
}

bool BipTable::has_value(int row) const {
    return std::any_of(columns.begin(), columns.end(), [row](const auto& column) {
        const auto* numbers = dynamic_cast<const DataColumn<double>*>(column.get());
        return numbers && row < numbers->RowCount() &&
               numbers->cells[static_cast<std::size_t>(row)] != UNSET;
    });
}

BipRow BipTable::values(int row) const {
    BipRow result;
    result.bips.assign(charz_.size(), UNSET);
    TakeRow(row, result);
    return result;
}

}  // namespace kestrane
