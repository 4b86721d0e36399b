#include <gtest/gtest.h>

#include <limits>

#include "equil/EosFluids.h"

namespace kestrane {
namespace {

using testing_eos::make_fluid;
using testing_eos::Phase;
using testing_eos::working_equations;

Charzation blank_targets(std::size_t n) {
    Charzation target("lumped");
    for (std::size_t i = 0; i < n; ++i) {
        target.comps.emplace_back();
        target.comps.back().name = UserWord(std::string("L").append(std::to_string(i)));
    }
    return target;
}

// A binary of lumps against the full mixture at the temperature of the derivation: the same a, b
// and translation, so the same pressure at any volume.
TEST(PseudoComponent, KeepsAAndBOfTheMixture) {
    const std::vector<std::vector<double>> weights{{0.5, 0.3, 0.2, 0.0, 0.0, 0.0},
                                                   {0.0, 0.0, 0.0, 0.2, 0.5, 0.3}};
    const std::vector<int> no_map{-1, -1};
    for (const auto& eos : working_equations()) {
        SCOPED_TRACE(eos->name());
        const Charzation source = make_fluid(6);
        Charzation target = blank_targets(2);
        eos->derive_pseudo_component(source, target, 380.0, weights, no_map);
        for (const double share : {0.0, 0.35, 1.0}) {
            std::vector<double> x(6);
            for (std::size_t i = 0; i < 6; ++i)
                x[i] = share * weights[0][i] + (1.0 - share) * weights[1][i];
            const Phase full(*eos, source, 380.0, x);
            const Phase lumped(*eos, target, 380.0, {share, 1.0 - share});
            // sqrt(a_mix a_mix) (1 - k) loses nothing but roundings.
            EXPECT_NEAR(lumped.state().a / full.state().a, 1.0, 1e-13);
            EXPECT_NEAR(lumped.state().b / full.state().b, 1.0, 1e-13);
            EXPECT_NEAR(lumped.state().c / full.state().c, 1.0, 1e-12);
        }
        double mw = 0.0;
        for (std::size_t i = 0; i < 6; ++i) mw += weights[0][i] * source.comps[i].mw;
        EXPECT_NEAR(target.comps[0].mw, mw, 1e-12 * mw);
        EXPECT_GT(target.comps[0].tc, source.comps[0].tc);
        EXPECT_LT(target.comps[0].tc, source.comps[2].tc);
    }
}

TEST(PseudoComponent, ASingleConstituentComesBackAsItWas) {
    for (const auto& eos : working_equations()) {
        SCOPED_TRACE(eos->name());
        const Charzation source = make_fluid(6);
        Charzation target = blank_targets(1);
        const std::vector<std::vector<double>> weights{{0.0, 0.0, 1.0}};
        eos->derive_pseudo_component(source, target, 380.0, weights, std::vector<int>{-1});
        const Compnent& original = source.comps[2];
        const Compnent& derived = target.comps[0];
        EXPECT_NEAR(derived.tc, original.tc, 1e-10 * original.tc);
        EXPECT_NEAR(derived.pc, original.pc, 1e-10 * original.pc);
        EXPECT_NEAR(derived.a_mod, original.a_mod, 1e-14);
        EXPECT_NEAR(derived.b_mod, original.b_mod, 1e-14);
        EXPECT_NEAR(derived.omega_a, original.a_mod * eos->omega_a, 1e-14);
        EXPECT_NEAR(derived.vol_shift, original.vol_shift, 1e-14);
        if (eos->name() == "Redlich-Kwong")
            EXPECT_EQ(derived.acentric, 0.0);
        else
            EXPECT_NEAR(derived.acentric, original.acentric, 1e-11);
    }
}

TEST(PseudoComponent, KeepsWhatTheUserGave) {
    PR79_EOS eos;
    const Charzation source = make_fluid(6);
    const std::vector<std::vector<double>> weights{{0.5, 0.3, 0.2, 0.0, 0.0, 0.0}};
    Charzation target = blank_targets(1);
    Compnent& comp = target.comps[0];
    comp.mw = 30.0;
    comp.tc = 250.0;
    comp.tb = 150.0;
    comp.sg = 0.4;
    comp.omega_a = 1.1 * eos.omega_a;
    comp.b_mod = 0.9;
    eos.derive_pseudo_component(source, target, 380.0, weights, std::vector<int>{-1});
    EXPECT_EQ(comp.mw, 30.0);
    EXPECT_EQ(comp.tc, 250.0);
    EXPECT_NE(comp.pc, UNSET);
    EXPECT_EQ(comp.acentric, UNSET);   // left to the boiling point
    EXPECT_EQ(comp.vol_shift, UNSET);  // left to the gravity
    EXPECT_NEAR(comp.a_mod, 1.1, 1e-15);
    EXPECT_EQ(comp.b_mod, 0.9);
    EXPECT_EQ(comp.omega_b, 0.9 * eos.omega_b);
}

TEST(PseudoComponent, SetsInteractionWithMappedComponents) {
    PR79_EOS eos;
    const Charzation source = make_fluid(6);
    // The first target is the source's component 0, the second a lump of 3, 4 and 5.
    Charzation target = blank_targets(2);
    target.comps[0] = source.comps[0];
    const std::vector<std::vector<double>> weights{{}, {0.0, 0.0, 0.0, 0.2, 0.5, 0.3}};
    const std::vector<int> map{0, -1};
    eos.derive_pseudo_component(source, target, 380.0, weights, map);
    const Phase full(eos, source, 380.0, {0.4, 0.0, 0.0, 0.12, 0.3, 0.18});
    const Phase lumped(eos, target, 380.0, {0.4, 0.6});
    EXPECT_NEAR(lumped.state().a / full.state().a, 1.0, 1e-13);
    // A value that stands is kept.
    Charzation given = blank_targets(2);
    given.comps[0] = source.comps[0];
    given.bips = {0.0, 0.07, 0.07, 0.0};
    eos.derive_pseudo_component(source, given, 380.0, weights, map);
    EXPECT_EQ(given.bips[1], 0.07);
    // Without a table in the source none is made.
    Charzation plain = make_fluid(6);
    plain.bips.clear();
    Charzation none = blank_targets(2);
    none.comps[0] = plain.comps[0];
    eos.derive_pseudo_component(plain, none, 380.0, weights, map);
    EXPECT_TRUE(none.bips.empty());
}

TEST(PseudoComponent, AConstituentWithoutCriticalPointAbandonsTheTarget) {
    PR79_EOS eos;
    Charzation source = make_fluid(6);
    source.comps[1].pc = 0.0;
    Charzation target = blank_targets(2);
    const std::vector<std::vector<double>> weights{{0.5, 0.5, 0.0, 0.0, 0.0, 0.0},
                                                   {0.0, 0.0, 0.5, 0.5, 0.0, 0.0}};
    eos.derive_pseudo_component(source, target, 380.0, weights, std::vector<int>{-1, -1});
    EXPECT_EQ(target.comps[0].tc, UNSET);
    EXPECT_GT(target.comps[1].tc, 0.0);
}

TEST(OmegaFromSlope, InvertsAlpha) {
    for (const auto& eos : working_equations()) {
        SCOPED_TRACE(eos->name());
        for (const double omega : {-0.3, 0.0, 0.2, 0.49, 0.4900001, 0.9, 2.0}) {
            for (const double Tr : {0.4, 0.7, 1.0, 1.8}) {
                double root, slope, found, scale;
                eos->alpha_root(Tr, omega, root, slope);
                if (!(root > 0.0)) continue;
                eos->omega_from_slope(root / std::sqrt(Tr), slope / root, found, scale);
                EXPECT_NEAR(found, eos->name() == "Redlich-Kwong" ? 0.0 : omega, 1e-13);
                EXPECT_NEAR(scale, Tr, 1e-12 * Tr);
            }
        }
    }
}

TEST(OmegaFromSlope, StopsAtTheLimit) {
    double omega, scale;
    const SRK_EOS srk;
    srk.omega_from_slope(1.0, -50.0, omega, scale);  // m would be 100
    EXPECT_EQ(omega, srk.omega_limit());
    EXPECT_NEAR(omega, 4.471590909090909, 1e-14);
    EXPECT_NEAR(PR77_EOS().omega_limit(), 2.856883521043272, 1e-14);
}

TEST(OmegaFromSlope, TheJumpOfTheLaterFormIsItsOwnAnswer) {
    // m of PR79 leaps at 0.49; a slope inside the leap has no solution but the leap's place.
    const PR79_EOS eos;
    const double below = eos.m_of_omega(0.49);
    const double above = eos.m_of_omega(std::nextafter(0.49, 1.0));
    ASSERT_LT(below, above);
    double omega, scale;
    eos.omega_from_slope(1.0, -0.25 * (below + above), omega, scale);
    EXPECT_NEAR(omega, 0.49, 1e-14);
}

TEST(OmegaFromSlope, EndsOnAnyInput) {
    const double inf = std::numeric_limits<double>::infinity();
    for (const auto& eos : working_equations()) {
        for (const double x : {0.0, -1.0, 1e-300, 1e300, inf, std::nan("")}) {
            for (const double dlog : {0.0, -1e300, 1e300, -inf, std::nan("")}) {
                double omega, scale;
                eos->omega_from_slope(x, dlog, omega, scale);
            }
        }
    }
    double omega, scale;
    RK_EOS().omega_from_slope(0.0, -0.25, omega, scale);
    EXPECT_EQ(scale, 0.0);
    SRK_EOS().omega_from_slope(-2.0, 0.25, omega, scale);  // M + 1 = 2, M + x = -1
    EXPECT_EQ(scale, 0.0);
}

}  // namespace
}  // namespace kestrane
