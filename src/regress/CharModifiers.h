#pragma once

#include <span>
#include <string>
#include <vector>

#include "fluid/CharCmd.h"
#include "input/Table.h"
#include "regress/Modifier.h"

namespace kestrane {

/// Components from the first to the last in the order of the fluid; none if that is reversed.
struct CompRange {
    int first = 0;
    int last = -1;
    std::string text;  ///< "C1", or "C7 - C9"

    bool contains(int component) const { return first <= component && component <= last; }
    /// A word that is no component leaves the range empty.
    bool empty() const { return last < first; }
};

/// [OF] component [TO|THROUGH component] on the current line. A word that is no component of the
/// fluid is reported.
CompRange read_range(Reader& reader, const Charzation& charz);
/// True if the next word on the line is `word`, which is then consumed.
bool next_word_is(Reader& reader, const Keyword& word);

/// Changes one property of the components of a range, between the initialization of a fluid and its
/// completion.
class CompMod final : public Modifier {
public:
    CompMod(const Command& owner, const Char_Cmd& block, const DataColHead<double>& column,
            Reader& reader);
    void apply(Writer& writer) override;

private:
    void change(Writer& writer, Charzation& charz, Compnent& component) const;

    const Char_Cmd& block_;
    const DataColHead<double>& column_;
    CompRange range_;
};

/// Changes binary interaction parameters between two ranges of components.
class BIPsMod : public Modifier {
public:
    BIPsMod(const Command& owner, const Char_Cmd& block, Reader& reader);
    void apply(Writer& writer) override;

protected:
    /// Reads the ranges; without WITH, the second holds all components.
    BIPsMod(const Command& owner, const Char_Cmd& block, const std::string& verb,
            const std::string& title, Reader& reader);
    bool in_ranges(int i, int j) const { return first_.contains(i) && second_.contains(j); }

    const Char_Cmd& block_;
    CompRange first_, second_;

private:
    void change(Writer& writer, Charzation& charz, int i, int j) const;
};

/// Sets binary interaction parameters from critical volumes, with the operand as exponent E:
/// k_ij = 1 - (2 v_i v_j/(v_i^2 + v_j^2))^E with v = Vc^(1/6); none if E is 0.
/// P.L. Chueh, J.M. Prausnitz, AIChE J. 13 (1967) 1099-1107.
class Chueh final : public BIPsMod {
public:
    Chueh(const Command& owner, const Char_Cmd& block, Reader& reader);
    void apply(Writer& writer) override;

private:
    std::vector<double> sixth_roots(const Charzation& charz, ErrorList& errors) const;
};

}  // namespace kestrane
