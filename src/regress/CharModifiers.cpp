#include "regress/CharModifiers.h"

#include <cmath>

#include "frame/ErrorList.h"
#include "input/Reader.h"

namespace kestrane {

namespace {

using Property = double Compnent::*;

/// What a component has instead of a missing interaction parameter.
constexpr double NO_INTERACTION = 0.0;

/// Properties that completion drops unless the table has a column of them.
bool needs_column(const Compnent& component, const double* field) {
    for (const Property property :
         {&Compnent::tc, &Compnent::pc, &Compnent::zc, &Compnent::vc, &Compnent::acentric,
          &Compnent::vol_shift, &Compnent::omega_a, &Compnent::omega_b, &Compnent::a_mod,
          &Compnent::b_mod, &Compnent::visc_zc, &Compnent::visc_vc, &Compnent::parachor})
        if (&(component.*property) == field) return true;
    return false;
}

void add_column(Charzation& charz, const DataColHead<double>& column) {
    if (charz.table.ColumnIndex(column) >= 0) return;
    charz.table.AddColumnOf(column);
    column.SetCell(charz.column_row, charz.table.ColumnIndex(column));
}

/// Two forms of one property. What follows from the one that was changed must not win over it.
void settle_pair(Compnent& c, const double* changed) {
    // Volume at a Z-factor of 1.
    const double volume_of_one = c.tc > 0.0 && c.pc > 0.0 ? GAS_CONSTANT * c.tc / c.pc : UNSET;
    const auto volumes = [&](double& z, double& v) {
        if (volume_of_one == UNSET) return;
        if (changed == &v && v > 0.0) z = v / volume_of_one;
        if (changed == &z && z > 0.0) v = z * volume_of_one;
    };
    volumes(c.zc, c.vc);
    volumes(c.visc_zc, c.visc_vc);
    if (changed == &c.omega_a) c.a_mod = UNSET;
    if (changed == &c.omega_b) c.b_mod = UNSET;
}

/// A critical volume or Z-factor that follows from what is known counts as known.
void derive_volume(Compnent& c, const Compnent& column_row, const double* wanted) {
    for (const Property property :
         {&Compnent::zc, &Compnent::vc, &Compnent::visc_zc, &Compnent::visc_vc}) {
        if (&(c.*property) != wanted || *wanted != UNSET) continue;
        Compnent settled = c;
        settled.reconcile_volumes(column_row);
        if (settled.*property > 0.0) c.*property = settled.*property;
    }
}

std::string name_of(const Charzation& charz, int component) {
    return charz.comps[static_cast<std::size_t>(component)].name.shown();
}

std::string problem_headline(std::string_view what, int) {
    return "Problem for " + std::string(what) + ".";
}

CompRange all_components(const Charzation& charz) {
    CompRange range;
    range.last = charz.comp_count() - 1;
    if (range.last >= 0) range.text = name_of(charz, 0);
    if (range.last > 0) range.text += " - " + name_of(charz, range.last);
    return range;
}

/// Index of the component named by the word, or -1 with a report. `text` takes its name, or the
/// word.
int component_of(Reader& reader, const Charzation& charz, const std::string& word,
                 std::string& text) {
    const int index = word.empty() ? -1 : charz.find_component(word);
    text = index < 0 ? word : name_of(charz, index);
    if (index < 0 && !reader.lost(word) && !reader.line_in_error())
        reader.ErrorHere({"\"" + word + "\" not recognized as a component."});
    return index;
}

}  // namespace

bool next_word_is(Reader& reader, const Keyword& keyword) {
    std::string word;
    const int found = reader.NextWord(word);
    if (found > 0 && keyword.matches(word)) return true;
    if (found > 0 || (found == 0 && reader.flags() == 0)) reader.Unread();
    return false;
}

CompRange read_range(Reader& reader, const Charzation& charz) {
    static const Keyword of{"OF"};
    static const Keyword through{"TO", "THR&"};
    const LineLimitScope one_line(reader, 0);
    next_word_is(reader, of);
    CompRange range;
    std::string word;
    if (reader.NextWord(word) <= 0) word.clear();
    const int first = component_of(reader, charz, word, range.text);
    int last = first;
    if (next_word_is(reader, through)) {
        std::string text;
        if (reader.NextWord(word) <= 0) word.clear();
        last = component_of(reader, charz, word, text);
        range.text += " - " + text;
    }
    if (first >= 0 && last >= 0) {
        range.first = first;
        range.last = last;
    }
    return range;
}

CompMod::CompMod(const Command& owner, const Char_Cmd& block, const DataColHead<double>& column,
                 Reader& reader)
    : Modifier(owner, fitter_of(block.user())),
      block_(block),
      column_(column),
      range_(read_range(reader, block.charz)) {
    target_ = column.BestName(-1) + " of " + range_.text;
    read_operand(reader, column.unitSet);
}

void CompMod::apply(Writer& writer) {
    Modifier::apply(writer);
    Charzation& charz = *block_.added;
    for (int i = range_.first; i <= range_.last && i < charz.comp_count(); ++i)
        change(writer, charz, charz.comps[static_cast<std::size_t>(i)]);
}

void CompMod::change(Writer& writer, Charzation& charz, Compnent& component) const {
    double& field = *column_.CellPointer(component);
    derive_volume(component, charz.column_row, &field);
    if (!operate(field)) {
        report_refusal(writer, field, column_.BestName(-1) + " of " + component.name.shown());
        return;
    }
    settle_pair(component, &field);
    if (needs_column(component, &field)) add_column(charz, column_);
}

BIPsMod::BIPsMod(const Command& owner, const Char_Cmd& block, Reader& reader)
    : BIPsMod(owner, block, owner.word, "BIP of ", reader) {}

BIPsMod::BIPsMod(const Command& owner, const Char_Cmd& block, const std::string& verb,
                 const std::string& title, Reader& reader)
    : Modifier(owner, fitter_of(block.user()), verb),
      block_(block),
      first_(read_range(reader, block.charz)) {
    static const Keyword with{"WITH"};
    const LineLimitScope one_line(reader, 0);
    second_ =
        next_word_is(reader, with) ? read_range(reader, block.charz) : all_components(block.charz);
    target_ = title + first_.text + " with " + second_.text;
    read_operand(reader, nullptr);
}

void BIPsMod::apply(Writer& writer) {
    Modifier::apply(writer);
    Charzation& charz = *block_.added;
    if (!charz.has_bips()) charz.bips.assign(charz.size() * charz.size(), NO_INTERACTION);
    const int n = charz.comp_count();
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            if (i != j && in_ranges(i, j)) change(writer, charz, i, j);
}

/// A pair of which each stands in both ranges comes a second time, the other way round.
void BIPsMod::change(Writer& writer, Charzation& charz, int i, int j) const {
    const auto row = static_cast<std::size_t>(i);
    const auto column = static_cast<std::size_t>(j);
    double& entry = charz.bips[row * charz.size() + column];
    // A blank of the table is no interaction once the fluid is complete.
    if (entry == UNSET) entry = NO_INTERACTION;
    if (!operate(entry))
        report_refusal(writer, entry, "BIP of " + name_of(charz, i) + " with " + name_of(charz, j));
    if (!in_ranges(j, i)) charz.bips[column * charz.size() + row] = entry;
}

/// The exponent has no former value: whatever the verb, it is put in place.
Chueh::Chueh(const Command& owner, const Char_Cmd& block, Reader& reader)
    : BIPsMod(owner, block, "REP", "Chueh-Prausnitz exponent for BIP of ", reader) {}

void Chueh::apply(Writer& writer) {
    Modifier::apply(writer);
    Charzation& charz = *block_.added;
    charz.make_bips();
    const double exponent = value();
    ErrorList errors;
    const std::vector<double> roots =
        exponent == 0.0 ? std::vector<double>(charz.size(), 0.0) : sixth_roots(charz, errors);
    for (int i = 0; i < charz.comp_count(); ++i) {
        for (int j = 0; j < charz.comp_count(); ++j) {
            if (i == j || !in_ranges(i, j)) continue;
            const double a = roots[static_cast<std::size_t>(i)];
            const double b = roots[static_cast<std::size_t>(j)];
            if (a == b) {
                charz.set_bip(NO_INTERACTION, i, j);
            } else if (a > 0.0 && b > 0.0) {
                const double bip = 1.0 - std::pow(2.0 * a * b / (a * a + b * b), exponent);
                if (std::isfinite(bip)) charz.set_bip(bip, i, j);
            }
        }
    }
    if (!errors.empty())
        errors.Report(writer, "Chueh-Prausnitz correlation", place(), problem_headline);
}

/// Sixth roots of the critical volumes, as completion will settle them: 0 for none.
std::vector<double> Chueh::sixth_roots(const Charzation& charz, ErrorList& errors) const {
    std::vector<double> roots(charz.size(), 0.0);
    for (std::size_t i = 0; i < charz.size(); ++i) {
        const int index = static_cast<int>(i);
        if (!first_.contains(index) && !second_.contains(index)) continue;
        Compnent component = charz.comps[i];
        component.reconcile_volumes(charz.column_row);
        if (component.vc > 0.0)
            roots[i] = std::pow(component.vc, 1.0 / 6.0);
        else
            errors.Warn("Binary interaction parameters could not be calculated for " +
                        component.name.shown() +
                        "\nbecause its critical volume was nonphysical or indeterminate");
    }
    return roots;
}

}  // namespace kestrane
