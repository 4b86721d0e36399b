#include "fluid/Compnent.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "equil/EOS.h"
#include "fluid/Charzation.h"
#include "fluid/Correlations.h"
#include "fluid/Library.h"

namespace kestrane {

namespace {

bool has_column(double index) {
    return index >= 0.0;
}

/// The carbon number in a name like C12; 0 if the name is none.
int carbon_number(const std::string& name) {
    if (name.empty() || (name[0] != 'C' && name[0] != 'c')) return 0;
    const int n = leading_integer(name.c_str() + 1);
    return n >= 4 && n < INT_MAX ? n : 0;
}

/// Boiling point (K) of a single carbon number cut, `below` carbons under its middle. The cut is
/// taken lighter than the normal paraffin the more aromatic it is.
double carbon_number_tb(int n, double below) {
    const double M = paraffin_mw(n);
    double aromaticity = 0.0;
    double S = UNSET;
    if (sg_of_mw(M, S)) {
        const double paraffin = twu_paraffin_sg_of_ln_mw(std::log(M));
        aromaticity = std::clamp((S - paraffin) * 0.7 / (0.2456 - 1.77 / M), 0.0, 1.0);
    }
    return twu_paraffin_tb_of_ln_mw(std::log(M - (aromaticity + below) * CH2_MW));
}

void fill_cut(const std::string& name, double below, double& mw, double& tb, double& sg) {
    if (mw <= 0.0 && tb <= 0.0 && sg <= 0.0)
        if (const int n = carbon_number(name)) tb = carbon_number_tb(n, below);
    fill_triple(mw, tb, sg);
}

/// Fills the field with the smallest value among the constituents, if all have one.
void take_smallest(double& field, const Charzation& source, std::span<const double> x,
                   double DistCut::*property) {
    if (field != UNSET) return;
    double smallest = UNSET;
    for (std::size_t i = 0; i < source.size(); ++i) {
        if (!(x[i] > 0.0)) continue;
        const double value = source.comps[i].*property;
        if (value <= 0.0) return;
        smallest = smallest == UNSET ? value : std::min(smallest, value);
    }
    field = smallest;
}

/// Sum of x times a property; UNSET if a constituent lacks it, or if there is none.
template <class C>
double mixed(const Charzation& source, std::span<const double> x, double C::*property) {
    double sum = 0.0;
    bool any = false;
    for (std::size_t i = 0; i < source.size(); ++i) {
        if (!(x[i] > 0.0)) continue;
        const double value = source.comps[i].*property;
        if (value <= 0.0) return UNSET;
        sum += x[i] * value;
        any = true;
    }
    return any ? sum : UNSET;
}

/// Molar volume at standard conditions, up to the density of water: sum of x mw/sg, 0 if unknown.
double standard_volume(const Charzation& source, std::span<const double> x) {
    double sum = 0.0;
    for (std::size_t i = 0; i < source.size(); ++i) {
        if (!(x[i] > 0.0)) continue;
        const Compnent& c = source.comps[i];
        if (c.mw <= 0.0 || c.sg <= 0.0) return 0.0;
        sum += x[i] * c.mw / c.sg;
    }
    return sum;
}

/// The pair of critical Z-factor and volume from the constituents' volumes. The Z-factor follows
/// even a volume that could not be summed, and is then negative: not usable, as its volume.
void mix_volume(double& z, double& v, const Compnent& target, const Charzation& source,
                std::span<const double> x, double Compnent::*volume) {
    if (z != UNSET || v != UNSET) return;
    v = mixed(source, x, volume);
    if (target.tc > 0.0 && target.pc > 0.0) z = target.pc * v / (GAS_CONSTANT * target.tc);
}

void drop_unless(double index, double& value, bool usable) {
    if (!has_column(index) || !usable) value = UNSET;
}

}  // namespace

void DistCut::clear() {
    name = UserWord();
    full_name = Quote();
    for (double* field : {&mw, &tb, &sg, &lower_mw, &lower_tb, &lower_sg, &ref_temp, &ref_pres})
        *field = UNSET;
}

void DistCut::mix_from(const Charzation& source, std::span<const double> fractions) {
    take_smallest(lower_mw, source, fractions, &DistCut::lower_mw);
    take_smallest(lower_tb, source, fractions, &DistCut::lower_tb);
    take_smallest(lower_sg, source, fractions, &DistCut::lower_sg);
    if (mw == UNSET) mw = mixed(source, fractions, &DistCut::mw);
    if (tb == UNSET) tb = mixed(source, fractions, &DistCut::tb);
    if (sg == UNSET && mw > 0.0) {
        const double volume = standard_volume(source, fractions);
        if (volume > 0.0) sg = mw / volume;
    }
}

void DistCut::fill_lower_cut() {
    constexpr double HALF_A_CARBON = 0.5;
    fill_cut(name.text(), HALF_A_CARBON, lower_mw, lower_tb, lower_sg);
}

void DistCut::fill_properties() {
    fill_cut(name.text(), 0.0, mw, tb, sg);
}

void DistCut::zero_unset() {
    for (double* field : {&mw, &tb, &sg, &lower_mw, &lower_tb, &lower_sg})
        if (*field == UNSET) *field = 0.0;
}

void Compnent::clear() {
    DistCut::clear();
    for (double* field : {&tc, &pc, &acentric, &vol_shift, &zc, &vc, &visc_zc, &visc_vc, &parachor,
                          &a_mod, &b_mod, &omega_a, &omega_b, &ln_pc})
        *field = UNSET;
}

void Compnent::mix_from(const Charzation& source, std::span<const double> fractions) {
    DistCut::mix_from(source, fractions);
    mix_volume(zc, vc, *this, source, fractions, &Compnent::vc);
    mix_volume(visc_zc, visc_vc, *this, source, fractions, &Compnent::visc_vc);
    if (parachor == UNSET) parachor = mixed(source, fractions, &Compnent::parachor);
}

void Compnent::fill_properties() {
    DistCut::fill_properties();
    TwuProps twu;
    twu.set_tb_sg(tb, sg);
    if (tc <= 0.0) tc = twu.tc();
    if (pc <= 0.0) pc = twu.pc();
    if (zc <= 0.0 && vc <= 0.0) {
        vc = twu.vc();
        zc = twu.zc();
    }
    if (visc_zc <= 0.0 && visc_vc <= 0.0) {
        visc_zc = zc;
        visc_vc = vc;
    }
    if (parachor <= 0.0 && mw > 0.0) parachor = mw * 2.4 + 35.0;
}

/// Critical Z-factors are left as they are: nothing divides by them.
void Compnent::zero_unset() {
    DistCut::zero_unset();
    for (double* field : {&tc, &pc, &acentric, &vol_shift, &vc, &visc_vc, &parachor})
        if (*field == UNSET) *field = 0.0;
}

/// The translation fitted here is thrown away: completion computes it again from what the table
/// then says.
void Compnent::match_library(const EOS& eos, ErrorList& errors) {
    set_eos_constants(eos);
    if (!apply_library(*this)) return;
    const double given_shift = vol_shift;
    fit_to_eos(eos, errors);
    fill_properties();
    vol_shift = given_shift;
}

void Compnent::set_eos_constants(const EOS& eos) {
    const auto settle = [](double constant, double& modifier, double& omega) {
        if (constant == UNSET) {
            // An equation that computes nothing has no constants to multiply.
            if (!(modifier > 0.0)) modifier = 1.0;
            return;
        }
        if (modifier > 0.0) {
            omega = modifier * constant;
        } else if (omega > 0.0) {
            modifier = omega / constant;
        } else {
            modifier = 1.0;
            omega = constant;
        }
    };
    settle(eos.parameter("a"), a_mod, omega_a);
    settle(eos.parameter("b"), b_mod, omega_b);
}

void Compnent::reconcile_volumes(const Compnent& column_row) {
    const bool critical = tc > 0.0 && pc > 0.0;
    const bool prefer_z = has_column(column_row.zc) || !has_column(column_row.vc);
    const auto correlated = [this] {
        return acentric_given(acentric) ? 0.291 - 0.08 * acentric : 0.291;
    };
    if (!(prefer_z && zc > 0.0) && critical) {
        if (vc > 0.0)
            zc = pc * vc / (GAS_CONSTANT * tc);
        else if (zc <= 0.0)
            zc = correlated();
    }
    if (critical) {
        const double z = prefer_z && zc > 0.0 ? zc
                         : vc > 0.0           ? pc * vc / (GAS_CONSTANT * tc)
                         : zc > 0.0           ? zc
                                              : correlated();
        vc = GAS_CONSTANT * z * tc / pc;
        const bool by_volume = !has_column(column_row.visc_zc) && has_column(column_row.visc_vc);
        if ((by_volume || visc_zc <= 0.0) && visc_vc > 0.0)
            visc_zc = pc * visc_vc / (GAS_CONSTANT * tc);
        else if (visc_zc > 0.0)
            visc_vc = GAS_CONSTANT * visc_zc * tc / pc;
    }
    if (visc_zc <= 0.0) visc_zc = zc;
    if (visc_vc <= 0.0) visc_vc = vc;
}

void Compnent::complete(const EOS& eos, const Compnent& column_row, ErrorList& errors) {
    if (full_name.text.empty()) full_name.text = name.text();
    drop_unless(column_row.a_mod, a_mod, a_mod > 0.0);
    drop_unless(column_row.b_mod, b_mod, b_mod > 0.0);
    drop_unless(column_row.omega_a, omega_a, omega_a > 0.0);
    drop_unless(column_row.omega_b, omega_b, omega_b > 0.0);
    set_eos_constants(eos);
    if (!has_column(column_row.acentric))
        acentric = 0.0;
    else if (!acentric_given(acentric))
        acentric = UNSET;
    if (!has_column(column_row.vol_shift))
        vol_shift = 0.0;
    else if (!translation_given(vol_shift))
        vol_shift = UNSET;
    if (tc > 0.0 && pc > 0.0) refit(eos, column_row, errors);
    reconcile_volumes(column_row);
    for (double Compnent::*field : {static_cast<double Compnent::*>(&Compnent::lower_mw),
                                    static_cast<double Compnent::*>(&Compnent::lower_tb),
                                    static_cast<double Compnent::*>(&Compnent::lower_sg),
                                    static_cast<double Compnent::*>(&Compnent::mw),
                                    static_cast<double Compnent::*>(&Compnent::tb),
                                    static_cast<double Compnent::*>(&Compnent::sg), &Compnent::tc,
                                    &Compnent::pc, &Compnent::parachor, &Compnent::zc,
                                    &Compnent::vc, &Compnent::visc_zc, &Compnent::visc_vc})
        drop_unless(column_row.*field, this->*field, this->*field > 0.0);
    reconcile_volumes(column_row);
}

/// Fits again what the table leaves open. A property without a column gets a placeholder, so that
/// nothing is fitted to it.
void Compnent::refit(const EOS& eos, const Compnent& column_row, ErrorList& errors) {
    const auto present = [&](double Compnent::*field) { return has_column(column_row.*field); };
    const bool crit_given = present(&Compnent::tc) && present(&Compnent::pc);
    if (acentric != UNSET && crit_given)
        tb = 0.0;
    else if (acentric == UNSET && tb <= 0.0)
        acentric = 0.0;
    if (!has_column(column_row.tb) && tb <= 0.0) tb = 1.0;
    bool fit = (present(&Compnent::acentric) && acentric == UNSET) ||
               (has_column(column_row.tb) && tb <= 0.0);
    if (mw > 0.0) {
        const bool vol_given = crit_given && has_column(column_row.mw);
        if (vol_shift != UNSET && vol_given)
            sg = 0.0;
        else if (vol_shift == UNSET && sg <= 0.0)
            vol_shift = 0.0;
        if (!has_column(column_row.sg) && sg <= 0.0) sg = 1.0;
        fit = fit || (present(&Compnent::vol_shift) && vol_shift == UNSET) ||
              (has_column(column_row.sg) && sg <= 0.0);
    }
    if (fit) fit_to_eos(eos, errors);
}

bool lighter_cut(double lower_a, double value_a, double lower_b, double value_b) {
    if (lower_a <= 0.0 && lower_b <= 0.0) return value_a < value_b;
    if (lower_a <= 0.0) {
        if (value_a <= 0.0) return true;
        return value_b > 0.0 ? value_a < value_b : value_a <= lower_b;
    }
    if (lower_b <= 0.0) return value_a > 0.0 ? value_a < value_b : lower_a < value_b;
    if (lower_a == lower_b && value_a > 0.0 && value_b > 0.0) return value_a < value_b;
    return lower_a < lower_b;
}

}  // namespace kestrane
