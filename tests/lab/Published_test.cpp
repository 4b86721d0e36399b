// Whole fluids whose results are published, run from the scripts of tests/scripts and examples.

#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fluid/Viscometer.h"
#include "lab/LabRun.h"

namespace kestrane {
namespace {

constexpr double PSI = 6894.757293168361;  // Pa
constexpr double BAR = 1e5;                // Pa

double fahrenheit(double value) {
    return (value + 459.67) / 1.8;
}

/// The script up to its first FLASH: the fluid and its feed.
std::string fluid_of(const std::string& path) {
    std::ifstream file(std::filesystem::path(KESTRANE_SOURCE_DIR) / path);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NE(text.find("\nFLASH"), std::string::npos) << path;
    return text.substr(0, text.find("\nFLASH") + 1);
}

/// Flashes the cell of `run` at K and Pa; the number of phases as the cell keeps it.
int flash(LabRun& run, double T, double P) {
    PVTCell& cell = run.lab.cell();
    cell.temperature.value = T;
    cell.pressure.value = P;
    cell.flash();
    run.lab.errors().Clear();
    return cell.phase_count;
}

/// By the viscosity correlation in force, cp.
double viscosity_cp(const Tank& phase, double T, double P, double Z) {
    return viscometer()->viscosity(phase, T, P, Z).value * 1e3;
}

/// The pressure, Pa, where two phases (at `low`) become one (at `high`).
double boundary(LabRun& run, double T, double low, double high) {
    EXPECT_GE(flash(run, T, low), 2);
    EXPECT_LT(flash(run, T, high), 2);
    while (high - low > 1e-6 * high) {
        const double middle = 0.5 * (low + high);
        (flash(run, T, middle) >= 2 ? low : high) = middle;
    }
    return 0.5 * (low + high);
}

// C.H. Whitson and M.R. Brule, Phase Behavior, SPE Monograph 20, 2000, Appendix C: dew point 3535
// psia, four digits, with 460 for the offset between F and R.
TEST(Published, GasCondensateDewPoint) {
    LabRun run(fluid_of("tests/scripts/flash/gas-condensate.in") + "STAB ON\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_NEAR(boundary(run, (186.0 + 460.0) / 1.8, 3400 * PSI, 3700 * PSI) / PSI, 3535.0, 0.5);
}

// J.E. Killough and C.A. Kossack, SPE 16000, 1987: 2302.3 psia at 160 F, and the formation volume
// factor of the equilibrium gas there. Textbook formulas with the printed constants give 2303 psia,
// so the source differs by a digit of a constant somewhere: 1 psia is allowed, and 1e-3 of a
// volume.
TEST(Published, ReservoirOilBubblePoint) {
    LabRun run(fluid_of("examples/reservoir-oil.dat") + "STAB ON\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const double T = fahrenheit(160);
    const double P = boundary(run, T, 2200 * PSI, 2400 * PSI);
    EXPECT_NEAR(P / PSI, 2302.3, 1.0);
    ASSERT_GE(flash(run, T, P * (1 - 1e-5)), 2);
    const double rb_per_mscf = 1000.0 / 5.614583 * 14.7 / (P / PSI) * T / fahrenheit(60);
    EXPECT_NEAR(rb_per_mscf * run.lab.cell().y_state.z_factor, 1.1751, 1e-3 * 1.1751);
}

// The same source: formation volume factors of the solvent at 160 F, 14.7 psia and 60 F standard.
// The row at 14.7 psia is left out: it prints 233.214, where an ideal gas has 212.4.
TEST(Published, SolventVolumes) {
    LabRun run(fluid_of("tests/scripts/flash/solvent.in"));
    ASSERT_FALSE(run.stopped) << run.report();
    constexpr std::array<std::array<double, 2>, 13> TABLE{{{500, 5.6022},
                                                           {1000, 2.5310},
                                                           {1200, 2.0354},
                                                           {1500, 1.5593},
                                                           {1800, 1.2657},
                                                           {2000, 1.1296},
                                                           {2302.3, 0.9803},
                                                           {2500, 0.9085},
                                                           {3000, 0.7807},
                                                           {3500, 0.6994},
                                                           {4000, 0.6430},
                                                           {4500, 0.6017},
                                                           {4800, 0.5817}}};
    const double T = fahrenheit(160);
    for (const auto& [psia, rb_per_mscf] : TABLE) {
        EXPECT_LT(flash(run, T, psia * PSI), 2) << psia;
        const double volume = 1000.0 / 5.614583 * 14.7 / psia * T / fahrenheit(60) *
                              run.lab.cell().feed_state.z_factor;
        // The printed volumes scatter about the textbook formulas by up to 8e-4 with changing sign,
        // more than their digits: 5.6022 for 5.6053 at 500 psia, 2.5310 for 2.5290 at 1000 psia.
        EXPECT_NEAR(volume, rb_per_mscf, 1e-3 * rb_per_mscf) << psia;
    }
}

// The same source: viscosities of the solvent and of the gas that rises from the oil at its bubble
// point. They are those of the Lohrenz-Bray-Clark correlation with its published coefficients,
// critical volumes from the printed critical Z-factors: all fourteen to the digits printed, so half
// a unit of the last is allowed.
TEST(Published, SolventViscosities) {
    LabRun run(fluid_of("examples/reservoir-oil.dat") + "QMIX FEED C1 0.77 C3 0.20 C6 0.03\n");
    ASSERT_FALSE(run.stopped) << run.report();
    constexpr std::array<std::array<double, 2>, 14> TABLE{{{14.7, 0.011},
                                                           {500, 0.012},
                                                           {1000, 0.013},
                                                           {1200, 0.014},
                                                           {1500, 0.016},
                                                           {1800, 0.018},
                                                           {2000, 0.019},
                                                           {2302.3, 0.022},
                                                           {2500, 0.023},
                                                           {3000, 0.027},
                                                           {3500, 0.031},
                                                           {4000, 0.034},
                                                           {4500, 0.037},
                                                           {4800, 0.038}}};
    const double T = fahrenheit(160);
    for (const auto& [psia, centipoise] : TABLE) {
        EXPECT_LT(flash(run, T, psia * PSI), 2) << psia;
        const PVTCell& cell = run.lab.cell();
        EXPECT_NEAR(viscosity_cp(*cell.feed, T, psia * PSI, cell.feed_state.z_factor), centipoise,
                    0.5e-3 + 1e-6)
            << psia;
    }
}

// The oil's own viscosity is printed as 0.208 cp. The correlation is known to be good to some ten
// percent for liquids, and the source may have adjusted it: 5 % is allowed.
TEST(Published, ViscositiesAtTheBubblePoint) {
    LabRun run(fluid_of("examples/reservoir-oil.dat"));
    ASSERT_FALSE(run.stopped) << run.report();
    const double T = fahrenheit(160);
    const double P = 2302.3 * PSI;
    ASSERT_GE(flash(run, T, P), 2);
    const PVTCell& cell = run.lab.cell();
    EXPECT_NEAR(viscosity_cp(*cell.eq_vapor, T, P, cell.y_state.z_factor), 0.0170, 0.5e-4);
    EXPECT_NEAR(viscosity_cp(*cell.eq_liquid, T, P, cell.x_state.z_factor), 0.208, 0.05 * 0.208);
}

// Three phases in equilibrium at 260 K and 50 bar, published with seven digits (multiphase flash
// test of the yaeos library, 2026); their Z-factors to four digits from the same compositions.
TEST(Published, PhasesOfAThreePhasePoint) {
    const std::string fluid = fluid_of("examples/third-phase.dat");
    struct Phase {
        const char* feed;
        double z_factor;
    };
    const Phase phases[]{{"C1 0.1681329 CO2 0.3087599 HEAVY 0.5231071", 0.6398},
                         {"C1 0.112823 CO2 0.8871725 HEAVY 4.531493E-6", 0.1093},
                         {"C1 0.4155426 CO2 0.5844574 HEAVY 7.703053E-9", 0.6583}};
    for (const Phase& phase : phases) {
        LabRun run(fluid + "QMIX FEED " + phase.feed + "\nINIT2 NEVER\n");
        ASSERT_FALSE(run.stopped) << run.report();
        flash(run, 260.0, 50 * BAR);
        EXPECT_NEAR(run.lab.cell().feed_state.z_factor, phase.z_factor, 0.5e-4) << phase.feed;
    }
}

// The phases found are two of the three, and the third is said to be due; three times the pressure
// makes two phases of them.
TEST(Published, AThirdPhaseIsSaidToBeDue) {
    LabRun run(fluid_of("examples/third-phase.dat"));
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_EQ(flash(run, 260.0, 50 * BAR), 3);
    EXPECT_EQ(flash(run, 260.0, 150 * BAR), 2);
}

}  // namespace
}  // namespace kestrane
