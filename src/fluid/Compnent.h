#pragma once

#include <span>
#include <string>

#include "frame/ErrorList.h"
#include "input/Table.h"
#include "input/UserWord.h"

namespace kestrane {

class Charzation;
class EOS;

/// A distillation cut. Internal units; UNSET where not given.
struct DistCut : Row {
    UserWord name;
    Quote full_name;
    double mw = UNSET;        ///< kg/kmol
    double tb = UNSET;        ///< normal boiling point, K
    double sg = UNSET;        ///< specific gravity at standard conditions
    double lower_mw = UNSET;  ///< lower boundaries of the cut
    double lower_tb = UNSET;
    double lower_sg = UNSET;
    double ref_temp = UNSET;  ///< K, where sg was given, if not standard
    double ref_pres = UNSET;  ///< Pa

    virtual void clear();
    /// Fills from constituents: one fraction per component of `source`, only those above 0 count.
    virtual void mix_from(const Charzation& source, std::span<const double> fractions);
    virtual void fill_lower_cut();
    virtual void fill_properties();
    /// UNSET becomes 0.
    virtual void zero_unset();
};

/// What an acentric factor or a translation must exceed to count as given.
inline constexpr double LOWEST_GIVEN = -9.0;
/// A translation of the whole covolume leaves a liquid no volume.
inline constexpr double LARGEST_TRANSLATION = 1.0;

constexpr bool acentric_given(double acentric) {
    return acentric > LOWEST_GIVEN;
}
constexpr bool translation_given(double shift) {
    return shift > LOWEST_GIVEN && shift < LARGEST_TRANSLATION;
}

/// One component of a characterization: a pure substance, a cut, a pseudo-component or a lump.
struct Compnent : DistCut {
    double tc = UNSET;  ///< K
    double pc = UNSET;  ///< Pa
    double acentric = UNSET;
    double vol_shift = UNSET;  ///< volume translation, multiples of the covolume b
    double zc = UNSET;
    double vc = UNSET;  ///< m3/kmol
    double visc_zc = UNSET;
    double visc_vc = UNSET;  ///< m3/kmol
    double parachor = UNSET;
    double a_mod = UNSET;  ///< multipliers on the equation's universal constants
    double b_mod = UNSET;
    double omega_a = UNSET;  ///< the component's values of those constants
    double omega_b = UNSET;
    double ln_pc = UNSET;  ///< set when the equation of state is prepared

    void clear() override;
    void mix_from(const Charzation& source, std::span<const double> fractions) override;
    void fill_properties() override;
    void zero_unset() override;

    /// Takes what is missing from the component library; what matched is fitted to the equation.
    virtual void match_library(const EOS& eos, ErrorList& errors);
    /// Last step of completion: what has no column in the table is derived again. `column_row`
    /// holds each property's column index, UNSET for none.
    virtual void complete(const EOS& eos, const Compnent& column_row, ErrorList& errors);
    virtual void set_eos_constants(const EOS& eos);
    /// Acentric factor from boiling point or the reverse; translation from gravity or the reverse.
    virtual void fit_to_eos(const EOS& eos, ErrorList& errors);
    virtual void reconcile_volumes(const Compnent& column_row);

private:
    void refit(const EOS& eos, const Compnent& column_row, ErrorList& errors);
    void fit_anew(const EOS& eos, ErrorList& errors);
    void fit_vapor_pressure(const EOS& eos, ErrorList& errors);
    void fit_density(const EOS& eos, bool need_vt);
};

/// The column definitions of component tables, in their fixed order. They live for the run.
const HeadDictionary& component_heads();

/// Boiling-range order of cuts from lower boundary and value (molecular weights). Not a strict weak
/// order: sort by insertion.
bool lighter_cut(double lower_a, double value_a, double lower_b, double value_b);

}  // namespace kestrane
