#include "fluid/Compnent.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "equil/Cubics.h"
#include "equil/SW_EOS.h"
#include "fluid/Charzation.h"
#include "fluid/Correlations.h"
#include "fluid/Library.h"

namespace kestrane {
namespace {

constexpr double R = 8314.472;
constexpr double ATM = 101325.0;

Compnent named(const std::string& name) {
    Compnent c;
    c.name = UserWord(name);
    return c;
}

/// A row of column indexes in which only the given properties have a column.
Compnent columns(std::initializer_list<double Compnent::*> present) {
    Compnent row;
    for (double Compnent::*property : present) row.*property = 3.0;
    return row;
}
constexpr auto MW = static_cast<double Compnent::*>(&Compnent::mw);
constexpr auto TB = static_cast<double Compnent::*>(&Compnent::tb);
constexpr auto SG = static_cast<double Compnent::*>(&Compnent::sg);

Compnent decane() {
    Compnent c = named("X");
    c.mw = 142.285;
    c.tc = 617.7;
    c.pc = 2.11e6;
    return c;
}

TEST(Compnent, ClearUnsetsEverything) {
    Compnent c = decane();
    c.full_name.text = "Something";
    c.ref_pres = c.ln_pc = c.omega_b = c.visc_vc = 1.0;
    c.clear();
    EXPECT_TRUE(c.name.empty());
    EXPECT_TRUE(c.full_name.text.empty());
    for (const double value : {c.mw, c.tc, c.pc, c.ref_pres, c.ln_pc, c.omega_b, c.visc_vc})
        EXPECT_EQ(value, UNSET);
}

TEST(Compnent, ZeroUnsetSparesTheZFactors) {
    Compnent c;
    c.zero_unset();
    for (const double value : {c.mw, c.tb, c.sg, c.lower_mw, c.lower_tb, c.lower_sg, c.tc, c.pc,
                               c.acentric, c.vol_shift, c.vc, c.visc_vc, c.parachor})
        EXPECT_EQ(value, 0.0);
    for (const double value :
         {c.zc, c.visc_zc, c.a_mod, c.b_mod, c.omega_a, c.omega_b, c.ref_temp, c.ref_pres, c.ln_pc})
        EXPECT_EQ(value, UNSET);
    Compnent given;
    given.tb = -3.0;
    given.zero_unset();
    EXPECT_EQ(given.tb, -3.0);
}

TEST(Compnent, EosConstants) {
    const PR79_EOS eos;
    Compnent plain;
    plain.set_eos_constants(eos);
    EXPECT_EQ(plain.a_mod, 1.0);
    EXPECT_EQ(plain.omega_a, eos.parameter("a"));
    EXPECT_EQ(plain.omega_b, eos.parameter("b"));
    Compnent modified;
    modified.a_mod = 1.1;
    modified.omega_a = 77.0;  // the modifier wins
    modified.omega_b = 0.08;
    modified.set_eos_constants(eos);
    EXPECT_DOUBLE_EQ(modified.omega_a, 1.1 * eos.parameter("a"));
    EXPECT_DOUBLE_EQ(modified.b_mod, 0.08 / eos.parameter("b"));
    Compnent idle;
    idle.omega_a = 0.4;
    idle.set_eos_constants(SW_EOS());
    EXPECT_EQ(idle.a_mod, 1.0);
    EXPECT_EQ(idle.b_mod, 1.0);
    EXPECT_EQ(idle.omega_a, 0.4);
    EXPECT_EQ(idle.omega_b, UNSET);
}

/// Two constituents with all that mixing uses.
Charzation pair() {
    Charzation source;
    Compnent a = named("A"), b = named("B");
    a.lower_mw = 90.0, b.lower_mw = 80.0;
    a.mw = 100.0, b.mw = 200.0;
    a.tb = 400.0, b.tb = 600.0;
    a.sg = 0.7, b.sg = 0.9;
    a.vc = 0.4, b.vc = 0.8;
    a.visc_vc = 0.5, b.visc_vc = 0.9;
    a.parachor = 300.0, b.parachor = 500.0;
    source.add_component(a);
    source.add_component(b);
    return source;
}

TEST(Compnent, MixesFromConstituents) {
    const Charzation source = pair();
    const std::array<double, 2> x{0.25, 0.75};
    Compnent c;
    c.tc = 600.0;
    c.pc = 2e6;
    c.mix_from(source, x);
    EXPECT_EQ(c.lower_mw, 80.0);
    EXPECT_EQ(c.lower_tb, UNSET);
    EXPECT_DOUBLE_EQ(c.mw, 175.0);
    EXPECT_DOUBLE_EQ(c.tb, 550.0);
    EXPECT_DOUBLE_EQ(c.sg, 175.0 / (25.0 / 0.7 + 150.0 / 0.9));
    EXPECT_DOUBLE_EQ(c.vc, 0.7);
    EXPECT_DOUBLE_EQ(c.zc, 2e6 * 0.7 / (R * 600.0));
    EXPECT_DOUBLE_EQ(c.visc_vc, 0.8);
    EXPECT_DOUBLE_EQ(c.visc_zc, 2e6 * 0.8 / (R * 600.0));
    EXPECT_DOUBLE_EQ(c.parachor, 450.0);
}

TEST(Compnent, MixingKeepsWhatIsGivenAndCountsPositiveFractionsOnly) {
    Charzation source = pair();
    source.comps[1].mw = UNSET;
    Compnent c;
    c.tb = 1.0;
    c.zc = 0.25;
    const std::array<double, 2> first_only{2.0, -1.0};
    c.mix_from(source, first_only);
    EXPECT_EQ(c.mw, 200.0);
    EXPECT_EQ(c.lower_mw, 90.0);
    EXPECT_EQ(c.tb, 1.0);
    EXPECT_EQ(c.zc, 0.25);
    EXPECT_EQ(c.vc, UNSET);
    Compnent none;
    const std::array<double, 2> nothing{0.0, 0.0};
    none.mix_from(source, nothing);
    for (const double value : {none.mw, none.tb, none.sg, none.lower_mw, none.parachor})
        EXPECT_LE(value, 0.0);
}

TEST(Compnent, OneConstituentWithoutAPropertyLeavesItUnset) {
    Charzation source = pair();
    Compnent& b = source.comps[1];
    b.lower_mw = b.mw = b.tb = b.sg = b.vc = b.parachor = 0.0;
    Compnent c;
    c.tc = 600.0;
    c.pc = 2e6;
    const std::array<double, 2> x{0.5, 0.5};
    c.mix_from(source, x);
    for (const double value : {c.lower_mw, c.mw, c.tb, c.sg, c.vc, c.parachor})
        EXPECT_EQ(value, UNSET);
    EXPECT_LT(c.zc, 0.0);  // follows the volume, and is as unusable
    EXPECT_DOUBLE_EQ(c.visc_vc, 0.7);
    Compnent heavy;
    heavy.mw = 150.0;  // given; the gravity needs the constituents' own
    heavy.mix_from(source, x);
    EXPECT_EQ(heavy.sg, UNSET);
}

TEST(Compnent, SingleCarbonNumbers) {
    for (const char* name : {"C7", "c7", "C7+", "C12", "C45"}) {
        Compnent c = named(name);
        const int n = std::stoi(c.name.text().substr(1));
        c.fill_properties();
        c.fill_lower_cut();
        const double M = n * 14.02688 + 2.01588;
        double S = UNSET;
        ASSERT_TRUE(sg_of_mw(M, S));
        const double a = std::clamp(
            (S - twu_paraffin_sg_of_ln_mw(std::log(M))) * 0.7 / (0.2456 - 1.77 / M), 0.0, 1.0);
        // The iterations stop within some units in the last place.
        EXPECT_NEAR(c.tb, twu_paraffin_tb_of_ln_mw(std::log(M - a * 14.02688)), 1e-9);
        EXPECT_NEAR(c.lower_tb, twu_paraffin_tb_of_ln_mw(std::log(M - (a + 0.5) * 14.02688)), 1e-9);
        EXPECT_LT(c.lower_tb, c.tb);
        EXPECT_LT(c.lower_mw, c.mw);
        EXPECT_LT(c.lower_sg, c.sg);
        EXPECT_GT(c.tc, c.tb);
        EXPECT_DOUBLE_EQ(c.parachor, c.mw * 2.4 + 35.0);
        EXPECT_EQ(c.visc_zc, c.zc);
        EXPECT_EQ(c.visc_vc, c.vc);
    }
}

TEST(Compnent, WhichNamesAreCarbonNumbers) {
    for (const char* name :
         {"C3", "C", "CX7", "7", "D7", "C-7", "C2147483647", "C99999999999", ""}) {
        Compnent c = named(name);
        c.fill_properties();
        c.fill_lower_cut();
        EXPECT_EQ(c.tb, UNSET) << name;
        EXPECT_EQ(c.mw, UNSET) << name;
        EXPECT_EQ(c.lower_tb, UNSET) << name;
    }
    Compnent given = named("C7");
    given.mw = 95.0;  // one property given: no carbon number
    given.fill_properties();
    EXPECT_EQ(given.mw, 95.0);
    Compnent largest = named("C2147483646");
    largest.fill_properties();
    largest.fill_lower_cut();
    EXPECT_TRUE(std::isfinite(largest.tb));
    EXPECT_TRUE(std::isfinite(largest.mw));
}

TEST(Compnent, CriticalPropertiesFillOnlyGaps) {
    Compnent c = named("X");
    c.tb = 500.0;
    c.sg = 0.8;
    c.tc = 700.0;
    c.zc = 0.25;
    c.visc_vc = 0.6;
    c.parachor = 1.0;
    c.fill_properties();
    TwuProps twu;
    ASSERT_TRUE(twu.set_tb_sg(500.0, 0.8));
    EXPECT_EQ(c.tc, 700.0);
    EXPECT_EQ(c.pc, twu.pc());
    EXPECT_EQ(c.zc, 0.25);
    EXPECT_EQ(c.vc, UNSET);
    EXPECT_EQ(c.visc_zc, UNSET);
    EXPECT_EQ(c.parachor, 1.0);
    EXPECT_NEAR(c.mw, std::exp(twu.ln_mw()), 1e-10);
}

TEST(Compnent, VolumesFollowThePreferredColumn) {
    const double rt_over_p = R * 617.7 / 2.11e6;
    struct Case {
        bool zc_column, vc_column, prefers_z;
    };
    for (const Case& k : {Case{false, false, true}, Case{true, false, true}, Case{true, true, true},
                          Case{false, true, false}}) {
        Compnent row;
        if (k.zc_column) row.zc = 1.0;
        if (k.vc_column) row.vc = 2.0;
        Compnent c = decane();
        c.zc = 0.25;
        c.vc = 0.6;
        c.reconcile_volumes(row);
        EXPECT_DOUBLE_EQ(c.zc, k.prefers_z ? 0.25 : 0.6 / rt_over_p);
        EXPECT_DOUBLE_EQ(c.vc, k.prefers_z ? 0.25 * rt_over_p : 0.6);
        EXPECT_EQ(c.visc_zc, c.zc);
        EXPECT_EQ(c.visc_vc, c.vc);
        Compnent only_v = decane();
        only_v.vc = 0.6;
        only_v.reconcile_volumes(row);
        EXPECT_DOUBLE_EQ(only_v.zc, 0.6 / rt_over_p);
        EXPECT_DOUBLE_EQ(only_v.vc, 0.6);
        Compnent only_z = decane();
        only_z.zc = 0.25;
        only_z.reconcile_volumes(row);
        EXPECT_EQ(only_z.zc, 0.25);
        EXPECT_DOUBLE_EQ(only_z.vc, 0.25 * rt_over_p);
    }
}

TEST(Compnent, VolumesByCorrelationWithoutAny) {
    Compnent c = decane();
    c.acentric = 0.49;
    c.reconcile_volumes(Compnent{});
    EXPECT_DOUBLE_EQ(c.zc, 0.291 - 0.08 * 0.49);
    EXPECT_DOUBLE_EQ(c.vc, R * c.zc * 617.7 / 2.11e6);
    Compnent no_factor = decane();
    no_factor.reconcile_volumes(Compnent{});
    EXPECT_EQ(no_factor.zc, 0.291);
    Compnent no_critical;
    no_critical.vc = 0.5;
    no_critical.reconcile_volumes(Compnent{});
    EXPECT_EQ(no_critical.zc, UNSET);
    EXPECT_EQ(no_critical.vc, 0.5);
    EXPECT_EQ(no_critical.visc_vc, 0.5);
    EXPECT_EQ(no_critical.visc_zc, UNSET);
}

TEST(Compnent, ViscosityVolumes) {
    const double rt_over_p = R * 617.7 / 2.11e6;
    Compnent by_z = decane();
    by_z.visc_zc = 0.3;
    by_z.visc_vc = 0.9;
    Compnent by_v = by_z;
    by_z.reconcile_volumes(Compnent{});
    EXPECT_EQ(by_z.visc_zc, 0.3);
    EXPECT_DOUBLE_EQ(by_z.visc_vc, 0.3 * rt_over_p);
    const Compnent row = columns({&Compnent::visc_vc});
    by_v.reconcile_volumes(row);
    EXPECT_DOUBLE_EQ(by_v.visc_zc, 0.9 / rt_over_p);
    EXPECT_EQ(by_v.visc_vc, 0.9);
    Compnent no_v = decane();
    no_v.visc_zc = 0.3;
    no_v.reconcile_volumes(row);  // the column is there, the value is not
    EXPECT_EQ(no_v.visc_zc, 0.3);
    EXPECT_DOUBLE_EQ(no_v.visc_vc, 0.3 * rt_over_p);
    Compnent no_z = decane();
    no_z.visc_vc = 0.9;
    no_z.reconcile_volumes(Compnent{});
    EXPECT_DOUBLE_EQ(no_z.visc_zc, 0.9 / rt_over_p);
}

TEST(Compnent, CompletionWithoutAcentricColumnGivesZero) {
    const PR79_EOS eos;
    Compnent c = decane();
    c.tb = 447.3;
    c.acentric = 0.49;
    ErrorList errors;
    c.complete(eos, columns({MW, &Compnent::tc, &Compnent::pc}), errors);
    EXPECT_EQ(c.acentric, 0.0);
    EXPECT_EQ(c.vol_shift, 0.0);
    EXPECT_EQ(c.full_name.text, "X");
    EXPECT_EQ(c.tb, UNSET);  // no column
    EXPECT_EQ(c.sg, UNSET);
    EXPECT_EQ(c.mw, 142.285);
    EXPECT_EQ(c.a_mod, 1.0);
    EXPECT_NEAR(c.zc, 0.291, 1e-15);
    EXPECT_TRUE(errors.empty());
}

TEST(Compnent, CompletionFitsWhatHasAColumn) {
    const PR79_EOS eos;
    const Compnent row = columns(
        {MW, TB, SG, &Compnent::tc, &Compnent::pc, &Compnent::acentric, &Compnent::vol_shift});
    ErrorList errors;
    Compnent blank = decane();
    blank.tb = 447.3;
    blank.sg = 0.73;
    blank.vol_shift = 1.0;  // exactly one: not given
    blank.complete(eos, row, errors);
    EXPECT_NEAR(blank.acentric, 0.49, 0.01);  // decane's published value
    EXPECT_EQ(blank.tb, 447.3);
    EXPECT_EQ(blank.sg, 0.73);
    EXPECT_LT(blank.vol_shift, 0.2);
    EXPECT_NE(blank.vol_shift, 0.0);

    // With both given the model rules: boiling point and gravity are fitted anew.
    Compnent given = decane();
    given.tb = 500.0;
    given.sg = 0.9;
    given.acentric = blank.acentric;
    given.vol_shift = blank.vol_shift;
    given.complete(eos, row, errors);
    EXPECT_NEAR(given.tb, 447.3, 1e-9);
    EXPECT_NEAR(given.sg, 0.73, 1e-9);

    Compnent bare = decane();  // nothing to fit from
    bare.complete(eos, row, errors);
    EXPECT_EQ(bare.acentric, 0.0);
    EXPECT_EQ(bare.vol_shift, 0.0);
    EXPECT_GT(bare.tb, 0.0);
    EXPECT_GT(bare.sg, 0.0);
    EXPECT_TRUE(errors.empty());
}

TEST(Compnent, CompletionDropsWhatHasNoColumn) {
    const PR79_EOS eos;
    Compnent c = decane();
    c.lower_mw = c.lower_tb = c.lower_sg = c.parachor = 5.0;
    c.a_mod = 2.0;
    c.b_mod = 2.0;
    ErrorList errors;
    c.complete(eos, columns({&Compnent::b_mod}), errors);
    for (const double value : {c.lower_mw, c.lower_tb, c.lower_sg, c.mw, c.tb, c.sg, c.tc, c.pc,
                               c.parachor, c.zc, c.vc, c.visc_zc, c.visc_vc})
        EXPECT_EQ(value, UNSET);
    EXPECT_EQ(c.a_mod, 1.0);
    EXPECT_EQ(c.b_mod, 2.0);
}

TEST(Compnent, SecondCompletionRepeatsTheFirst) {
    const PR79_EOS eos;
    const Compnent row = columns({MW, TB, SG, &Compnent::tc, &Compnent::pc, &Compnent::acentric,
                                  &Compnent::vol_shift, &Compnent::zc});
    ErrorList errors;
    Compnent c = decane();
    c.tb = 447.3;
    c.sg = 0.73;
    c.complete(eos, row, errors);
    Compnent again = c;
    again.complete(eos, row, errors);
    EXPECT_EQ(again.acentric, c.acentric);
    EXPECT_EQ(again.vol_shift, c.vol_shift);
    EXPECT_NEAR(again.tb, c.tb, 1e-10);
    EXPECT_NEAR(again.sg, c.sg, 1e-12);
    EXPECT_EQ(again.zc, c.zc);
}

TEST(Compnent, OrderOfCuts) {
    struct Case {
        double lower_a, a, lower_b, b;
        bool before;
    };
    for (const Case& k : {
             Case{0, 100, 0, 120, true},
             Case{0, 120, 0, 100, false},
             Case{UNSET, 0, UNSET, 1, true},
             Case{0, 0, 90, 100, true},
             Case{0, 100, 90, 120, true},
             Case{0, 120, 90, 100, false},
             Case{0, 90, 90, 0, true},
             Case{0, 91, 90, 0, false},
             Case{90, 100, 0, 120, true},
             Case{90, 120, 0, 100, false},
             Case{90, 0, 0, 100, true},
             Case{90, 0, 0, 90, false},
             Case{90, 100, 90, 120, true},
             Case{90, 120, 90, 100, false},
             Case{90, 0, 90, 120, false},
             Case{80, 200, 90, 100, true},
             Case{90, 100, 80, 200, false},
         })
        EXPECT_EQ(lighter_cut(k.lower_a, k.a, k.lower_b, k.b), k.before)
            << k.lower_a << ' ' << k.a << ' ' << k.lower_b << ' ' << k.b;
}

}  // namespace
}  // namespace kestrane
