#include <array>

#include "fluid/LBC.h"
#include "fluid/Sugden.h"
#include "lab/LabRun.h"

namespace kestrane {
namespace {

TEST(EOSLab, NothingIsCalculatedAfterAnErrorInTheScript) {
    LabRun run(LIGHT_FLUID + "MIX FEED C1 0.5 C3 0.5\nGRUMBLE\nFLASH 300 K 20 bar\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_EQ(run.counts.errors, 1);
    EXPECT_FALSE(run.reports("Flash Calculation"));
    EXPECT_TRUE(run.reports("Keyword \"GRUMBLE\" not recognized in current context"));
    EXPECT_TRUE(run.reports("at column 1 of line 9"));
}

TEST(EOSLab, TheTwentiethErrorWhileReadingStopsAtOnce) {
    std::string script;
    for (int i = 0; i < 30; ++i) script += "GRUMBLE\n";
    LabRun run(script);
    EXPECT_TRUE(run.stopped);
    EXPECT_EQ(run.counts.errors, 20);
}

TEST(EOSLab, TheFiftiethWarningWhileReadingStopsAtOnce) {
    std::string script;
    for (int i = 0; i < 60; ++i) script += "TABS 2.5\n";  // an integer with a fraction warns
    LabRun run(script);
    EXPECT_TRUE(run.stopped);
    EXPECT_EQ(run.counts.warnings, 50);
}

TEST(EOSLab, EvaluationAllowsNineteenNewErrors) {
    std::string script;
    for (int i = 0; i < 30; ++i) script += "TEMP RES NOWHERE\n";
    LabRun run(script);
    EXPECT_FALSE(run.counts.errors > 20);
    EXPECT_EQ(run.counts.errors, 20);
    EXPECT_TRUE(run.stopped);
}

TEST(EOSLab, ASecondEvaluationRepeatsTheFirst) {
    LabRun run(LIGHT_FLUID +
               "MIX FEED C1 0.5 C3 0.5\nFLASH 250 K 10 bar\n"
               "INIT2 WILSON\nSTP 20 C\nGAUGE 2 bar\nFLASH\n");
    const std::string first = run.evaluate(EvaluationMode::Final);
    EXPECT_NE(first.find("Flash Calculation 2"), std::string::npos);
    EXPECT_EQ(first, run.evaluate(EvaluationMode::Final));
    EXPECT_EQ(run.counts.errors, 0) << first;
}

TEST(EOSLab, JacobianEvaluationsPrintNothing) {
    LabRun run(LIGHT_FLUID + "MIX FEED C1 0.5 C3 0.5\nFLASH 250 K 10 bar\n");
    EXPECT_EQ(run.evaluate(EvaluationMode::Jacobian), "");
    EXPECT_EQ(run.lab.cell().phase_count, 2);
}

TEST(EOSLab, StandardMixturesAreKnownByTheirStems) {
    LabRun run("");
    for (const char* name : {"FEED", "EQL", "EQLIQ", "EQV", "NFL", "NFVAP", "INJ", "INJECTION"})
        EXPECT_TRUE(run.lab.find_mixture(name)) << name;
    EXPECT_FALSE(run.lab.find_mixture("FEEDS"));
}

TEST(EOSLab, TheNewestCharacterizationIsTheCells) {
    LabRun run(LIGHT_FLUID + "CHAR Two\nNAME MW TC(K) PC(bar) AF\nC1\nEND\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    ASSERT_TRUE(run.lab.cell().charz);
    EXPECT_EQ(run.lab.cell().charz->name, "Two");
    LabRun restored(LIGHT_FLUID +
                    "CHAR Two\nNAME MW TC(K) PC(bar) AF\nC1\nEND\nEND\nRESTORE Light\n");
    EXPECT_EQ(restored.lab.cell().charz->name, "Light");
}

TEST(EOSLab, AMixtureIsConvertedToTheCurrentCharacterization) {
    LabRun run(LIGHT_FLUID +
               "MIX FEED C1 0.5 C3 0.5\n"
               "CHAR Two\nNAME MW TC(K) PC(bar) AF\nC3\nC1\nEND\nEND\nFLASH 250 K 10 bar\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const Tank& feed = *run.lab.cell().feed;
    ASSERT_EQ(feed.n(), 2);
    EXPECT_DOUBLE_EQ(feed.moles()[0], 0.5);
    EXPECT_DOUBLE_EQ(feed.moles()[1], 0.5);
    EXPECT_EQ(run.lab.cell().phase_count, 2);
}

// Lumps ask at which temperature they are formed; 0 is for the standard one.
TEST(EOSLab, BaseTemperatureIsTheCellsOrZero) {
    EXPECT_EQ(LabRun("").lab.base_temperature(), 0.0);
    EXPECT_EQ(LabRun("TEMP 300 K\n").lab.base_temperature(), 300.0);
}

TEST(EOSLab, BaseFractionsAreTheFeedsOrOnes) {
    LabRun run(LIGHT_FLUID + "MIX FEED C1 3 C3 1\n");
    const Charzation& charz = *run.lab.current(nullptr);
    EXPECT_EQ(run.lab.base_fractions(charz), (std::vector<double>{0.75, 0.25, 0.0}));
    LabRun empty(LIGHT_FLUID);
    EXPECT_EQ(empty.lab.base_fractions(*empty.lab.current(nullptr)),
              (std::vector<double>{1.0, 1.0, 1.0}));
}

/// Models that give no values.
class NoViscosity final : public Viscometer {
public:
    PropertyValue viscosity(const Tank&, double, double, double) override {
        return {UNSET, UnitKind::Viscosity};
    }
    void check(ErrorList&) const override {}
};
class NoTension final : public Tension {
public:
    PropertyValue tension(const Tank&, const Tank&, double, double, double, double) const override {
        return {UNSET, UnitKind::InterfacialTension};
    }
};

TEST(EOSLab, AResetMakesTransportModelsAnew) {
    LabRun run(
        "CHAR Light\n"
        "NAME  MW  TC(K)  PC(bar)  AF  ZC  PCHOR\n"
        "C1\nC3\n"
        "END\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    Tank liquid("liquid", run.lab.current(nullptr)), vapor("vapor", run.lab.current(nullptr));
    liquid.assign_moles(std::array{0.3, 0.7}, 1.0);
    vapor.assign_moles(std::array{0.8, 0.2}, 1.0);
    const auto viscosity = [&] { return viscometer()->viscosity(liquid, 300, 5e6, 0.3).value; };
    const auto tension = [&] {
        return tension_model()->tension(liquid, vapor, 300, 5e6, 0.3, 0.8).value;
    };
    const double fresh_viscosity = viscosity(), fresh_tension = tension();
    ASSERT_GT(fresh_viscosity, 0.0);
    ASSERT_GT(fresh_tension, 0.0);

    viscometer() = make_dyn<NoViscosity>();
    tension_model() = make_dyn<NoTension>();
    lbc_coefficients() = {1, 2, 3, 4, 5, 6};
    const Viscometer* const old_viscometer = viscometer().get();
    const Tension* const old_tension = tension_model().get();
    run.lab.resetLaboratory();
    EXPECT_EQ(lbc_coefficients(), LBC_DEFAULTS);
    EXPECT_NE(viscometer().get(), old_viscometer);
    EXPECT_NE(tension_model().get(), old_tension);
    EXPECT_NE(dynamic_cast<const LBC*>(viscometer().get()), nullptr);
    EXPECT_NE(dynamic_cast<const Sugden*>(tension_model().get()), nullptr);

    // The same coefficients through an LBC command, and a reset: new models once more.
    LabRun modified("LBC\nP1 0.05\nEND\n");
    EXPECT_EQ(lbc_coefficients()[1], 0.05);
    modified.lab.resetLaboratory();
    EXPECT_EQ(lbc_coefficients(), LBC_DEFAULTS);
}

}  // namespace
}  // namespace kestrane
