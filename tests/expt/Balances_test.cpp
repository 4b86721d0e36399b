// What holds for every experiment, whatever the fluid: nothing is lost or made.

#include <cmath>

#include "expt/ExptRun.h"

namespace kestrane {
namespace {

constexpr double ROUND_OFF = 1e-10;

/// A path from above the saturation pressure far down.
const std::string STAGES = "PRES BAR\n 400\n 300\n 200\n 150\n 100\n 60\n 30\n 10\n 2\nEND\n";

template <class Experiment>
class Balances : public testing::Test {};
using Classes = testing::Types<PVTzEXPA, PVTzDFLG, PVTzDFLL, PVTzCVDG, PVTzCVDL, PVTzCMDG, PVTzCMDL,
                               PVTzCWDG, PVTzCWDL>;
TYPED_TEST_SUITE(Balances, Classes);

/// Relative to the scale of the basis.
void expect_close(double a, double b, double scale, const char* what, int stage) {
    EXPECT_NEAR(a, b, ROUND_OFF * scale) << what << " at stage " << stage;
}

template <class Experiment>
void check(ExptRun<Experiment>& run, std::size_t stages) {
    const auto& e = run.experiment;
    ASSERT_EQ(run.rows().size(), stages) << run.report() << run.problems();
    double moles = e.basis_moles, injected = 0.0, removed_mass = 0.0;
    double injected_mass = 0.0;
    for (const ExptData& r : run.rows()) {
        const int i = r.stage;
        moles += r.inj_moles - injected;
        injected = r.inj_moles;
        injected_mass = r.inj_mass;
        expect_close(r.moles_1, moles, e.basis_moles, "moles before", i);
        expect_close(r.gas_moles_1 + r.liquid_moles_1, r.moles_1, e.basis_moles, "moles", i);
        expect_close(r.gas_mass_1 + r.liquid_mass_1, r.mass_1, e.basis_mass, "mass", i);
        expect_close(r.gas_volume_1 + r.liquid_volume_1, r.volume_1, r.volume_1, "volume", i);
        expect_close(r.gas_moles_2 + r.liquid_moles_2, r.moles_2, e.basis_moles, "moles left", i);
        expect_close(r.gas_volume_2 + r.liquid_volume_2, r.volume_2, r.volume_1, "volume left", i);
        expect_close(r.moles_2 + r.removed_moles, e.basis_moles + injected, e.basis_moles,
                     "moles in all", i);
        expect_close(r.mass_2 + r.removed_mass, e.basis_mass + injected_mass, e.basis_mass,
                     "mass in all", i);
        EXPECT_GE(r.removed_mass, removed_mass) << i;
        removed_mass = r.removed_mass;
        // Component by component: the feed is what its phases hold, before and after.
        for (std::size_t c = 0; c < 3; ++c) {
            expect_close(r.x[c] * r.liquid_moles_1 + r.y[c] * r.gas_moles_1, r.z_1[c] * r.moles_1,
                         e.basis_moles, "component", i);
            expect_close(r.x[c] * r.liquid_moles_2 + r.y[c] * r.gas_moles_2, r.z_2[c] * r.moles_2,
                         e.basis_moles, "component left", i);
        }
        // Intensive against extensive: the same volume and mass by other ways.
        if (r.moles_2 > 0.0) {
            expect_close(r.moles_2 * r.molar_volume_2, r.volume_2, r.volume_1, "molar volume", i);
            expect_close(r.density_2 * r.volume_2, r.mass_2, e.basis_mass, "density", i);
            expect_close(r.gas_mole_fraction_2 + r.liquid_mole_fraction_2, 1.0, 1.0, "L+V", i);
            expect_close(r.gas_volume_fraction_2 * r.volume_2, r.gas_volume_2, r.volume_1,
                         "gas volume fraction", i);
            expect_close(r.gas_mass_fraction_2 * r.mass_2, r.gas_mass_2, e.basis_mass,
                         "gas mass fraction", i);
        }
        expect_close(r.relative_volume_1 * e.basis_volume, r.volume_1, r.volume_1, "relative", i);
        moles = r.moles_2;
    }
}

TYPED_TEST(Balances, OfAnOil) {
    ExptRun<TypeParam> run(OIL, STAGES);
    check(run, 9);
}
TYPED_TEST(Balances, OfAGasCondensate) {
    ExptRun<TypeParam> run(CONDENSATE, STAGES);
    check(run, 9);
}
TYPED_TEST(Balances, WithInjection) {
    ExptRun<TypeParam> run(OIL + "QMIX INJ C1 0.9 C3 0.1\n",
                           "BASIS 2 LBMOL\n" + aligned({"PRES BAR|MINJ LBMOL", "300|0", "250|1",
                                                        "200|3", "100|3", "50|4.5"}));
    check(run, 5);
}
TYPED_TEST(Balances, OfAMassBasisAtAPressure) {
    ExptRun<TypeParam> run(OIL + "PRES 100 BAR\n", "BASIS 3 KG\n" + STAGES);
    check(run, 9);
    EXPECT_NEAR(run.experiment.basis_mass, 3.0, 1e-12);
}
TYPED_TEST(Balances, OfAVolumeBasis) {
    ExptRun<TypeParam> run(OIL, "BASIS 5 ML\n" + STAGES);
    check(run, 9);
    EXPECT_NEAR(run.experiment.basis_volume, 5e-6, 1e-18);
}

}  // namespace
}  // namespace kestrane
