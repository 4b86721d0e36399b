// Every verb on every target, against values worked out by hand.

#include <gtest/gtest.h>

#include <cmath>

#include "fluid/Correlations.h"
#include "fluid/GammaState.h"
#include "fluid/LBC.h"
#include "lab/LabRun.h"

namespace kestrane {
namespace {

const std::string TABLE =
    "CHAR Fluid\n"
    "NAME   MW    TB(K)  TC(K)  PC(bar)  ZC    AF    VTran  AMOD  BMOD  PCHOR\n"
    "X1     16    110    190    46       0.29  0.01  -0.1   1.0   1.0   77\n"
    "X2     100   370    540    30       0.27  0.35  0.05   1.1   0.9   300\n"
    "X3     200   520    700    20       0.25  0.60  0.10   1.2   0.8   500\n";
const std::string BIPS =
    "BIPS   X1    X2\n"
    "X2     0.01\n"
    "X3     0.02  0.03\n";

std::string fluid(const std::string& modifiers, const std::string& bips = "") {
    return TABLE + bips + "END\n" + modifiers + "END\n";
}

const Compnent& component(LabRun& run, std::size_t index) {
    return run.lab.Charz_User::current()->comps.at(index);
}

/// A property of X2 after one modifier.
double after(const std::string& modifier, double Compnent::*property) {
    LabRun run(fluid(modifier + "\n"));
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    EXPECT_EQ(run.counts.warnings, 0) << run.report();
    return component(run, 1).*property;
}

TEST(CompMod, VerbsActOnAProperty) {
    EXPECT_DOUBLE_EQ(after("REP TC OF X2 550 K", &Compnent::tc), 550.0);
    EXPECT_DOUBLE_EQ(after("REPLACE TCRIT X2 BY 900 R", &Compnent::tc), 500.0);
    EXPECT_DOUBLE_EQ(after("MUL Tc OF X2 BY 1.1", &Compnent::tc), 594.0);
    EXPECT_DOUBLE_EQ(after("DIV TC X2 1.25", &Compnent::tc), 432.0);
    EXPECT_DOUBLE_EQ(after("INCR TC OF X2 BY 18 R", &Compnent::tc), 550.0);
    EXPECT_DOUBLE_EQ(after("DECREASE TC OF X2 BY 18 R", &Compnent::tc), 530.0);
}

TEST(CompMod, EveryColumnIsATarget) {
    EXPECT_DOUBLE_EQ(after("MUL MW OF X2 BY 1.2", &Compnent::mw), 120.0);
    EXPECT_DOUBLE_EQ(after("REP PC OF X2 50 bar", &Compnent::pc), 5e6);
    EXPECT_DOUBLE_EQ(after("INCR PC OF X2 1 atm", &Compnent::pc), 3e6 + 101325.0);
    EXPECT_DOUBLE_EQ(after("INCR AF OF X2 0.05", &Compnent::acentric), 0.40);
    EXPECT_DOUBLE_EQ(after("DECR VTran OF X2 0.25", &Compnent::vol_shift), -0.20);
    EXPECT_DOUBLE_EQ(after("MUL AMOD OF X2 2", &Compnent::a_mod), 2.2);
    EXPECT_DOUBLE_EQ(after("DIV B-MOD OF X2 3", &Compnent::b_mod), 0.3);
    EXPECT_DOUBLE_EQ(after("MUL ZC OF X2 1.1", &Compnent::zc), 0.297);
    EXPECT_DOUBLE_EQ(after("MUL PCHOR OF X2 0.5", &Compnent::parachor), 150.0);
}

// The other form of a property must not undo the change.
TEST(CompMod, OfTwoFormsOfAPropertyTheChangedOneWins) {
    const double vc = 0.27 * GAS_CONSTANT * 540.0 / 3e6;
    EXPECT_NEAR(after("MUL VC OF X2 BY 1.1", &Compnent::vc), 1.1 * vc, 1e-12);
    EXPECT_NEAR(after("MUL ZC OF X2 BY 1.1", &Compnent::vc), 1.1 * vc, 1e-12);
    EXPECT_NEAR(after("REP VISV OF X2 0.5 m3/kmol", &Compnent::visc_vc), 0.5, 1e-12);
    EXPECT_NEAR(after("MUL VISZ OF X2 2", &Compnent::visc_vc), 2.0 * vc, 1e-12);
    const double omega = after("MUL AMOD OF X2 1", &Compnent::omega_a);
    EXPECT_NEAR(after("MUL A OF X2 1.5", &Compnent::omega_a), 1.5 * omega, 1e-12);
    EXPECT_NEAR(after("MUL A OF X2 1.5", &Compnent::a_mod), 1.65, 1e-12);
}

// Completion drops what has no column; a changed property gets one.
TEST(CompMod, AMissingColumnIsAdded) {
    LabRun run(
        "CHAR F\nNAME MW  TC(K) PC(bar)\nC1\nX    100 540   30\nEND\n"
        "REP AF OF X 0.35\nREP PCHOR OF X 280\nEND\n");
    EXPECT_EQ(run.counts.errors, 0);
    EXPECT_DOUBLE_EQ(component(run, 1).acentric, 0.35);
    EXPECT_DOUBLE_EQ(component(run, 1).parachor, 280.0);
}

TEST(CompMod, RangesFollowTheOrderOfComponents) {
    LabRun run(fluid("MUL TC OF X2 TO X3 BY 2\nMUL PC X1 THROUGH X2 BY 2\nMUL MW OF X3 TO X1 3\n"));
    EXPECT_DOUBLE_EQ(component(run, 0).tc, 190.0);
    EXPECT_DOUBLE_EQ(component(run, 1).tc, 1080.0);
    EXPECT_DOUBLE_EQ(component(run, 2).tc, 1400.0);
    EXPECT_DOUBLE_EQ(component(run, 0).pc, 92e5);
    EXPECT_DOUBLE_EQ(component(run, 1).pc, 60e5);
    EXPECT_DOUBLE_EQ(component(run, 2).pc, 20e5);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_DOUBLE_EQ(component(run, i).mw, (std::vector<double>{16.0, 100.0, 200.0}[i]));
    EXPECT_TRUE(run.reports("UPDATE: Multiplying Critical Temperature of X2 - X3 by 2  ******"));
    EXPECT_TRUE(run.reports("UPDATE: Multiplying Molecular Weight of X3 - X1 by 3  ******"));
}

TEST(CompMod, PassesDoNotCompound) {
    LabRun run(fluid("MUL TC OF X1 BY 1.1\n"));
    for (int pass = 0; pass < 3; ++pass) {
        run.evaluate(EvaluationMode::Jacobian);
        EXPECT_DOUBLE_EQ(component(run, 0).tc, 209.0);
    }
}

TEST(CompMod, VariablesWithEqualBoundsAreNumbers) {
    LabRun run("VAR f 1.1\nVAR g 1.2 1.2\n" + fluid("MUL TC OF X1 BY f\nMUL PC OF X1 g\n"));
    EXPECT_DOUBLE_EQ(component(run, 0).tc, 209.0);
    EXPECT_DOUBLE_EQ(component(run, 0).pc, 1.2 * 46e5);
    EXPECT_TRUE(run.reports("by 1.1 (variable 1, f)  ******"));
    EXPECT_TRUE(run.reports("by 1.2 (variable 2, g)  ******"));
}

TEST(CompMod, TheLatestVariableOfANameCounts) {
    LabRun run("VAR f 2\nvar F 3\n" + fluid("MUL TC OF X1 BY f\n"));
    EXPECT_DOUBLE_EQ(component(run, 0).tc, 570.0);
}

TEST(CompMod, VariablesAreMadeInTheBlockToo) {
    LabRun run(fluid("VAR dt 9\nVAR nothing\nINCR TC OF X1 BY dt R\n"));
    EXPECT_DOUBLE_EQ(component(run, 0).tc, 195.0);
    EXPECT_EQ(run.lab.variable_count(), 1u);
    EXPECT_TRUE(run.reports("Increasing Critical Temperature of X1 by 9 R (variable 1, dt)  "));
}

TEST(CompMod, UndefinedResultsAreRefused) {
    LabRun run(
        "CHAR F\nNAME MW  TC(K) PC(bar) PCHOR\nC1\nX    100 540   30\nEND\n"
        "MUL PCHOR OF X BY 2\nMUL PCHOR OF X BY 0\nDIV PCHOR OF X BY 0\nDIV PCHOR OF X BY 1\n"
        "INCR PCHOR OF X BY 1\nDECR PCHOR OF X BY 0\nDIV TC OF X BY 0\n"
        "MUL TC OF X BY 1e308\nEND\n");
    EXPECT_EQ(run.counts.errors, 0);
    EXPECT_EQ(run.counts.warnings, 5) << run.report();
    EXPECT_TRUE(
        run.reports("WARNING: Could not multiply Parachor of X by 2  ######\n"
                    "The initial value was undefined.\n"
                    "Problem for keyword \"MUL\" (line 6, column 1, standard input).\n"));
    EXPECT_TRUE(
        run.reports("WARNING: Could not divide Parachor of X by 0  ######\n"
                    "The result would have been undefined.\n"));
    EXPECT_TRUE(
        run.reports("WARNING: Could not increase Parachor of X by 1  ######\n"
                    "The initial value was undefined.\n"));
    EXPECT_TRUE(
        run.reports("Could not divide Critical Temperature of X by 0  ######\n"
                    "The result would have been undefined.\n"));
    EXPECT_TRUE(
        run.reports("Could not multiply Critical Temperature of X by 1e+308  ######\n"
                    "The result would have been undefined.\n"));
    EXPECT_DOUBLE_EQ(component(run, 1).tc, 540.0);
}

double bip(LabRun& run, std::size_t i, std::size_t j) {
    return run.lab.Charz_User::current()->bip(i, j);
}

TEST(BIPsMod, APairIsChangedBothWays) {
    LabRun run(fluid("MUL BIP OF X1 WITH X3 BY 3\nINCR BIN X2 X3 0.01\n", BIPS));
    EXPECT_TRUE(run.counts.errors > 0);  // WITH is missing before X3
    LabRun good(fluid("MUL BIP OF X1 WITH X3 BY 3\nINCR BIN X2 WITH X3 0.01\n", BIPS));
    EXPECT_EQ(good.counts.errors, 0);
    EXPECT_DOUBLE_EQ(bip(good, 0, 2), 0.06);
    EXPECT_DOUBLE_EQ(bip(good, 2, 0), 0.06);
    EXPECT_DOUBLE_EQ(bip(good, 1, 2), 0.04);
    EXPECT_DOUBLE_EQ(bip(good, 2, 1), 0.04);
    EXPECT_DOUBLE_EQ(bip(good, 0, 1), 0.01);
    EXPECT_TRUE(good.reports("UPDATE: Multiplying BIP of X1 with X3 by 3  ******"));
}

TEST(BIPsMod, WithoutWithEveryOtherComponentIsMeant) {
    LabRun run(fluid("INCR BIP OF X2 BY 0.1\n", BIPS));
    EXPECT_DOUBLE_EQ(bip(run, 0, 1), 0.11);
    EXPECT_DOUBLE_EQ(bip(run, 1, 0), 0.11);
    EXPECT_DOUBLE_EQ(bip(run, 1, 2), 0.13);
    EXPECT_DOUBLE_EQ(bip(run, 2, 1), 0.13);
    EXPECT_DOUBLE_EQ(bip(run, 0, 2), 0.02);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(bip(run, i, i), 0.0);
    EXPECT_TRUE(run.reports("Increasing BIP of X2 with X1 - X3 by 0.1  "));
}

TEST(BIPsMod, APairInBothRangesIsChangedOnce) {
    LabRun run(fluid("MUL BIP OF X1 TO X3 WITH X1 THRU X3 BY 2\n", BIPS));
    const double expected[3][3] = {{0.0, 0.02, 0.04}, {0.02, 0.0, 0.06}, {0.04, 0.06, 0.0}};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) EXPECT_DOUBLE_EQ(bip(run, i, j), expected[i][j]);
}

TEST(BIPsMod, WithoutATableTheyBeginAtZero) {
    LabRun run(fluid("REP BIP OF X1 WITH X3 BY 0.05\nDECR BIP OF X2 WITH X3 0.02\n"));
    EXPECT_DOUBLE_EQ(bip(run, 2, 0), 0.05);
    EXPECT_DOUBLE_EQ(bip(run, 1, 2), -0.02);
    EXPECT_DOUBLE_EQ(bip(run, 0, 1), 0.0);
}

TEST(BIPsMod, ABlankOfTheTableIsZero) {
    LabRun run(fluid("INCR BIP OF X2 WITH X3 BY 0.04\n", "BIPS X1\nX2   0.01\nX3   0.02\n"));
    EXPECT_EQ(run.counts.warnings, 0);
    EXPECT_DOUBLE_EQ(bip(run, 2, 1), 0.04);
}

TEST(BIPsMod, ReverseRangesAreEmpty) {
    LabRun run(fluid("MUL BIP OF X3 TO X1 WITH X2 BY 9\n", BIPS));
    EXPECT_DOUBLE_EQ(bip(run, 0, 1), 0.01);
    EXPECT_DOUBLE_EQ(bip(run, 1, 2), 0.03);
}

double chueh(double v1, double v2, double exponent) {
    const double a = std::pow(v1, 1.0 / 6.0), b = std::pow(v2, 1.0 / 6.0);
    return 1.0 - std::pow(2.0 * a * b / (a * a + b * b), exponent);
}
double volume(double z, double tc, double pc) {
    return z * GAS_CONSTANT * tc / pc;
}

TEST(Chueh, TakesTheCriticalVolumes) {
    LabRun run(fluid("CHUEH OF X1 WITH X2 TO X3 BY 1.2\n", BIPS));
    EXPECT_EQ(run.counts.warnings, 0);
    const double v1 = volume(0.29, 190, 46e5), v2 = volume(0.27, 540, 30e5),
                 v3 = volume(0.25, 700, 20e5);
    EXPECT_NEAR(bip(run, 0, 1), chueh(v1, v2, 1.2), 1e-14);
    EXPECT_NEAR(bip(run, 2, 0), chueh(v1, v3, 1.2), 1e-14);
    EXPECT_DOUBLE_EQ(bip(run, 1, 2), 0.03);
    EXPECT_TRUE(run.reports(
        "UPDATE: Replacing Chueh-Prausnitz exponent for BIP of X1 with X2 - X3 by 1.2  ******"));
}

// With r = (Vc2/Vc1)^(1/3) the rule is k = 1 - (2 sqrt(r)/(1 + r))^E; Vc2 = 8 Vc1 gives
// k = 1 - (2 sqrt(2)/3)^E, for E = 2 one ninth.
TEST(Chueh, HandValue) {
    LabRun run(
        "CHAR F\nNAME MW  TC(K) PC(bar) VC(m3/kmol) AF\nX1   16  190   46      0.08        0\n"
        "X2   142 617   21      0.64        0.49\nEND\nREP CHU OF X1 WITH X2 BY 2\nEND\n");
    EXPECT_NEAR(bip(run, 0, 1), 1.0 / 9.0, 1e-14);
    EXPECT_NEAR(bip(run, 1, 0), 1.0 / 9.0, 1e-14);
}

TEST(Chueh, AnExponentOfZeroMeansNoInteraction) {
    LabRun run(fluid("CHU X1 WITH X2 0\n", BIPS));
    EXPECT_EQ(bip(run, 0, 1), 0.0);
    EXPECT_DOUBLE_EQ(bip(run, 0, 2), 0.02);
}

TEST(Chueh, WithoutAVolumeAParameterStays) {
    LabRun run(
        "CHAR F\nNAME MW  TC(K) PC(bar) AF\nX1   16  190   46      0\n"
        "X2   100 540   30      0.3\nX3   200\n"
        "BIPS X1   X2\nX2   0.01\nX3   0.02 0.03\nEND\nCHU OF X1 TO X3 BY 1\nEND\n");
    EXPECT_TRUE(
        run.reports("WARNING: Problem for Chueh-Prausnitz correlation  ######\n"
                    "Problem for keyword \"CHU\" (line 10, column 1, standard input).\n"
                    "Binary interaction parameters could not be calculated for X3\n"
                    "because its critical volume was nonphysical or indeterminate.\n"))
        << run.report();
    EXPECT_DOUBLE_EQ(bip(run, 0, 2), 0.02);
    EXPECT_NEAR(bip(run, 0, 1),
                chueh(volume(0.291, 190, 46e5), volume(0.291 - 0.08 * 0.3, 540, 30e5), 1.0), 1e-14);
}

TEST(Chueh, AVariableSuppliesTheExponent) {
    LabRun run("VAR e 2\n" + fluid("CHU X1 WITH X2 e\n"));
    EXPECT_NEAR(bip(run, 0, 1), chueh(volume(0.29, 190, 46e5), volume(0.27, 540, 30e5), 2.0),
                1e-14);
}

const std::string MIXTURE = fluid("") + "MIX FEED X1 0.5 X2 0.3 X3 0.2\n";

TEST(TankMod, MolesAndMassesOfAMixture) {
    LabRun run(MIXTURE + "MUL MOLES OF X1 TO X2 IN FEED BY 2\nREP MOLE X3 FEED 300 mol\n");
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    const auto feed = run.lab.find_mixture("FEED");
    EXPECT_DOUBLE_EQ(feed->moles()[0], 1.0);
    EXPECT_DOUBLE_EQ(feed->moles()[1], 0.6);
    EXPECT_DOUBLE_EQ(feed->moles()[2], 0.3);
    EXPECT_DOUBLE_EQ(feed->masses()[2], 60.0);
    EXPECT_DOUBLE_EQ(feed->total_moles(), 1.9);
    EXPECT_DOUBLE_EQ(feed->total_mass(), 136.0);
    EXPECT_TRUE(run.reports("UPDATE: Multiplying moles of X1 - X2 in FEED by 2  ******"));
    EXPECT_TRUE(run.reports("UPDATE: Replacing moles of X3 in FEED by 300 mol  ******"));

    LabRun mass(MIXTURE + "INCR MASS OF X3 IN FEED 10 kg\nDECR MASS X2 IN FEED BY 5000 g\n");
    EXPECT_DOUBLE_EQ(mass.lab.find_mixture("FEED")->masses()[2], 50.0);
    EXPECT_DOUBLE_EQ(mass.lab.find_mixture("FEED")->moles()[2], 0.25);
    EXPECT_DOUBLE_EQ(mass.lab.find_mixture("FEED")->moles()[1], 0.25);
    EXPECT_TRUE(mass.reports("UPDATE: Increasing mass of X3 in FEED by 10 kg  ******"));
}

TEST(TankMod, PassesDoNotCompound) {
    LabRun run(MIXTURE + "MUL MOLES OF X1 IN FEED BY 2\n");
    run.evaluate(EvaluationMode::Step);
    EXPECT_DOUBLE_EQ(run.lab.find_mixture("FEED")->moles()[0], 1.0);
}

TEST(TankMod, AMixtureOfAnotherFluidKeepsToIt) {
    LabRun run(MIXTURE +
               "CHAR Other\nNAME MW  TC(K) PC(bar)\nX1   16  190   46\n"
               "X2   100 540   30\nEND\nEND\n"
               "MUL MOLES OF X2 IN FEED BY 10\n");
    const auto feed = run.lab.find_mixture("FEED");
    EXPECT_EQ(feed->n(), 3);
    EXPECT_DOUBLE_EQ(feed->moles()[1], 3.0);
}

TEST(TankMod, AMixtureThatRefusesEndsTheRun) {
    LabRun run(MIXTURE +
               "MUL MOLES OF X1 IN FEED BY 1e300\nMUL MOLES OF X1 TO X3 IN FEED BY 1e8\n");
    EXPECT_TRUE(run.stopped);
    EXPECT_TRUE(
        run.reports("FATAL ERROR: Could not modify mixture \"FEED\"  ######\n"
                    "Problem for keyword \"MUL\" (line 10, column 1, standard input).\n"
                    "The mixture's amount exceeds the range of numbers.\n"))
        << run.report();

    LabRun unlike(MIXTURE +
                  "CHAR Other\nNAME MW  TC(K) PC(bar)\nY1   16  190   46\n"
                  "Y2   100 540   30\nEND\n"
                  "END\nMUL MOLES OF Y2 IN FEED BY 10\nNOTE here\n");
    EXPECT_EQ(unlike.stopped, unlike.reports("Could not modify mixture")) << unlike.report();
}

TEST(CellMods, TemperatureAndPressureChangeOnTheirAbsoluteScales) {
    const auto temperature = [](const std::string& line) {
        LabRun run("TEMP 100 C\n" + line + "\n");
        EXPECT_EQ(run.counts.errors, 0);
        return run.lab.cell().temperature.value;
    };
    EXPECT_DOUBLE_EQ(temperature("MUL TEMP BY 2"), 746.3);
    EXPECT_DOUBLE_EQ(temperature("DIV TEMP 2"), 186.575);
    EXPECT_DOUBLE_EQ(temperature("REP TEMP 212 F"), 373.15);
    EXPECT_NEAR(temperature("INCR TEMP 18 F"), 383.15, 1e-10);
    EXPECT_NEAR(temperature("DECR TEMPERATURE BY 10 C"), 363.15, 1e-10);
    const auto pressure = [](const std::string& line) {
        LabRun run("PRES 10 bar\n" + line + "\n");
        EXPECT_EQ(run.counts.errors, 0);
        return run.lab.cell().pressure.value;
    };
    EXPECT_DOUBLE_EQ(pressure("MUL PRES BY 2"), 2e6);
    EXPECT_DOUBLE_EQ(pressure("DIV PRES BY 4"), 2.5e5);
    EXPECT_DOUBLE_EQ(pressure("REP PRES 0 barg"), 101325.0);
    EXPECT_NEAR(pressure("INCR PRES 1 barg"), 1.1e6, 1e-8);
    EXPECT_NEAR(pressure("DECR PRESSURE BY 100 kPa"), 9e5, 1e-8);
}

TEST(CellMods, AConditionNeverSetIsUndefined) {
    LabRun run("MUL TEMP 2\nINCR PRES 1 bar\n");
    EXPECT_EQ(run.counts.warnings, 2);
    EXPECT_TRUE(
        run.reports("Could not multiply temperature by 2  ######\n"
                    "The initial value was undefined."));
    EXPECT_TRUE(run.reports("Could not increase pressure by 1 bar  ######"));
    EXPECT_EQ(run.lab.cell().temperature.value, UNSET);
}

// The parameters of the correlations outlive passes: without a command that sets them, a modifier
// begins each pass at their defaults.
TEST(GlobalMods, EachPassBeginsAtTheDefaults) {
    LabRun run(
        "MUL LBC P0 BY 2\nINCR LBC F0 0.1\nMUL SOR MW0 BY 2\nREP SOREIDE EXP 0.2\n"
        "INCR SOR SG0 0.1\nDIV SOR CF 2\nDECR TWUMW 0.25\nMUL GAMMA SHAPE BY 3\n"
        "REP GAMMA AVERAGE 200\n");
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    for (const char* text :
         {"Multiplying LBC P0 by 2  ", "Multiplying Soreide MW0 by 2  ",
          "Replacing Soreide MW1 by 0.2  ", "Increasing Soreide SG0 by 0.1  ",
          "Dividing Soreide SG1 by 2  ", "Decreasing Twu MW damping factor by 0.25  ",
          "Multiplying Gamma shape by 3  "})
        EXPECT_TRUE(run.reports(text)) << text;
    for (int pass = 0; pass < 3; ++pass) {
        EXPECT_DOUBLE_EQ(lbc_coefficients()[0], 0.2046);
        EXPECT_DOUBLE_EQ(lbc_coefficients()[5], 0.2);
        const Soreide& soreide = correlation_state().soreide;
        EXPECT_DOUBLE_EQ(soreide.mw0, 132.0);
        EXPECT_DOUBLE_EQ(soreide.mw1, 0.2);
        EXPECT_DOUBLE_EQ(soreide.sg0, 0.3855);
        EXPECT_DOUBLE_EQ(soreide.sg1, 0.145);
        EXPECT_DOUBLE_EQ(correlation_state().twu_damping, 0.75);
        EXPECT_DOUBLE_EQ(gamma_state().current[SHAPE], 3.0);
        EXPECT_DOUBLE_EQ(gamma_state().current[AVERAGE], 200.0);
        run.evaluate(EvaluationMode::Step);
    }
}

TEST(GlobalMods, JacobyChoosesItsForm) {
    LabRun run("JACOBY 0.2\nINCR JACOBY BY 0.3\n");
    EXPECT_TRUE(run.reports("UPDATE: Increasing Jacoby factor by 0.3  ******"));
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_DOUBLE_EQ(correlation_state().aromaticity, 0.5);
        EXPECT_DOUBLE_EQ(correlation_state().soreide.mw0, 0.0);
        EXPECT_DOUBLE_EQ(correlation_state().soreide.mw1, -1.0);
        EXPECT_DOUBLE_EQ(correlation_state().soreide.sg1, -15.8 - 1.77 * 0.5);
        EXPECT_DOUBLE_EQ(correlation_state().soreide.sg0, 0.8468 + 0.2456 * 0.5);
        run.evaluate(EvaluationMode::Step);
    }
}

TEST(GlobalMods, ValuesAreKeptInTheirLimits) {
    LabRun twu("INCR TWUM 5\n");
    EXPECT_EQ(correlation_state().twu_damping, 1.0);
    LabRun low("DECR TWUM 5\n");
    EXPECT_EQ(correlation_state().twu_damping, 0.0);
    LabRun gamma("MUL GAMMA SHAPE BY 0\n");
    EXPECT_EQ(gamma_state().current[SHAPE], GAMMA_MINIMUM[SHAPE]);
    EXPECT_EQ(gamma.counts.warnings, 1);
    EXPECT_TRUE(
        gamma.reports("WARNING: Illegal modification of Gamma shape  ######\n"
                      "Problem for keyword \"MUL\" (line 1, column 1, standard input).\n"
                      "The parameter went out of bounds and was reset to 0.001.\n"))
        << gamma.report();
}

// A verb behind a fluid's block that means the laboratory.
TEST(LabVerbs, ClosetheBlock) {
    LabRun run(TABLE + "END\nMUL TC OF X1 BY 2\nMUL TEMP BY 2\nTEMP 300 K\nMUL TEMP BY 2\n");
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    EXPECT_DOUBLE_EQ(component(run, 0).tc, 380.0);
    EXPECT_DOUBLE_EQ(run.lab.cell().temperature.value, 600.0);
    LabRun moles(TABLE + "END\nMIX FEED X1 1\nMUL MOLES OF X1 IN FEED BY 2\n");
    EXPECT_EQ(moles.counts.errors, 0) << moles.report();
    EXPECT_DOUBLE_EQ(moles.lab.find_mixture("FEED")->moles()[0], 2.0);
}

TEST(ReadingErrors, HaveTheirTexts) {
    const auto expect = [](const std::string& line, const std::string& text, bool in_block) {
        const std::string script = in_block ? fluid(line + "\n") : MIXTURE + line + "\n";
        LabRun run(script);
        EXPECT_TRUE(run.stopped) << line;
        EXPECT_TRUE(run.reports(text)) << line << "\n" << run.report();
    };
    expect("MUL TC OF X1 BY zz", "ERROR: \"zz\" not recognized as a variable  ", true);
    expect("MUL TC OF X1 zz", "ERROR: \"zz\" not recognized as a variable  ", true);
    expect("MUL TC OF X1", "ERROR: \"\" not recognized as a variable  ", true);
    expect("MUL TC OF C9 BY 2", "ERROR: \"C9\" not recognized as a component  ", true);
    expect("MUL BIP OF X1 WITH C9 2", "ERROR: \"C9\" not recognized as a component  ", true);
    expect("MUL WHAT OF X1 BY 2", "Keyword \"WHAT\" not recognized in current context", true);
    expect("MUL NAME OF X1 BY 2", "Keyword \"NAME\" not recognized in current context", true);
    expect("REP TC OF X1 BY 200",
           "\nCannot replace Critical Temperature of X1 by 200 without valid units.\n", true);
    expect("REP TC OF X1 BY 200", "To allow further input, units of \"K\" will be assumed.", true);
    expect("REP TEMP 200", "ERROR: Cannot replace temperature by 200 without valid units  ", false);
    expect("REP TEMP 200", "To allow further input, units of \"C\" will be assumed.", false);
    expect("VAR t 20\nINCR TEMP BY t", "Cannot increase temperature by t without valid units",
           false);
    expect("DECR MASS OF X1 IN FEED 2",
           "Cannot decrease mass of X1 in FEED by 2 without valid units", false);
    expect("MUL MOLES OF C9 IN FEED 2", "ERROR: \"C9\" not recognized as a component  ", false);
    expect("MUL MOLES OF X1 IN TANK7 2", "ERROR: \"TANK7\" not recognized as a mixture name  ",
           false);
    expect("MUL MOLES OF X1 IN TANK7 2", "Problem detected", false);
    expect("MUL LBC P9 2", "Keyword \"P9\" not recognized in current context", false);
    expect("MUL SOR XX 2", "Keyword \"XX\" not recognized in current context", false);
    expect("MUL GAMMA BETA 2", "Keyword \"BETA\" not recognized in current context", false);
    expect("MUL TC OF X1 BY 2", "Keyword \"TC\" not recognized in current context", false);
    expect("MUL", "Keyword \"\" not recognized in current context", false);
    expect("VAR", "A name was expected for a regression variable", false);
}

TEST(Variables, BoundsWidenToTheValue) {
    LabRun run("VAR a 2\nVAR b 2 3\nVAR c 2 1 5\nVAR d 9 1 5\nVAR e 2 5 1\nVAR f\n");
    const EOSLab& lab = run.lab;
    ASSERT_EQ(lab.variable_count(), 5u);
    const double expected[5][3] = {{2, 2, 2}, {2, 2, 3}, {2, 1, 5}, {9, 1, 9}, {2, 1, 5}};
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(lab.variable_value(i), expected[i][0]);
        EXPECT_EQ(lab.lower_bound(i), expected[i][1]);
        EXPECT_EQ(lab.upper_bound(i), expected[i][2]);
    }
    EXPECT_EQ(lab.active_count(), 4u);
}

}  // namespace
}  // namespace kestrane
