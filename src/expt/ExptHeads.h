#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "expt/ExptData.h"
#include "input/Table.h"

namespace kestrane {

class Charzation;
class Writer;

/// What a column of an experiment is. The order of reports is from high to low.
enum ColumnTag : int {
    TAG_STAGE = 2,     ///< the stage's number
    TAG_SET = 1,       ///< set by the script: conditions, depth, injection
    TAG_LABEL = 0,     ///< neither measured nor calculated: names, zone, weight
    TAG_PRIMARY = -1,  ///< calculated: stage saturation quantities, conditions where results
    TAG_RESULT = -2    ///< calculated: everything else
};

/// A column bound to a member of the stage record; `priority` holds its ColumnTag.
template <class T>
using ExptCol = TableHead<T>;
/// A column bound to one component's or lump's element of a vector of the stage record.
using ExptCompCol = VecTableHead<double, std::vector<double>>;

/// The column heads that one kind of experiment knows: the fixed catalogue's part for the kind, in
/// its order, and behind it the heads of the current characterization's components and lumps.
class ExptHeads {
public:
    ExptHeads(const ExptHeads&) = delete;
    ExptHeads& operator=(const ExptHeads&) = delete;

    /// Expansion and depletion: 174 fixed heads. Gravity segregation: 164.
    static ExptHeads& expansion();
    static ExptHeads& segregation();

    /// For the table's reading: finds a head by a word of the script.
    const HeadDictionary& dictionary() const;
    /// The head that this kind of experiment finds by that word, or null.
    const AnyColHead* find(const std::string& key) const;
    /// The number of fixed heads.
    std::size_t fixed_count() const;

    /// Makes the heads of a characterization's components and lumps known, and drops those of the
    /// characterization before it. Lumps defined since the last call are added. Heads once made
    /// live for the run, since tables that were read with them point at them, and serve every
    /// characterization with a component of that name in that place. Costs next to nothing while
    /// the characterization stays.
    ///   writer  is warned, once for each name, if a lump has a component's name; null: nobody is
    void follow(const Charzation& charz, Writer* writer = nullptr);
    /// Forgets which characterization was followed last, with its heads.
    void reset();

private:
    struct State;
    explicit ExptHeads(std::span<const AnyColHead* const> fixed);
    ~ExptHeads();
    std::unique_ptr<State> state_;
};

}  // namespace kestrane
