#pragma once

#include <gtest/gtest.h>

#include "equil/FlashJudge.h"

/// Judges the result of a flash by equations that share nothing with the program.
namespace kestrane::fluids {

/// Equal fugacities, material balance, Z and Gibbs energy of a two-phase result.
inline void expect_equilibrium(TestCell& test) {
    const EquilibriumErrors errors = equilibrium_errors(test);
    // Z of both programs come from the same cubic: rounding, amplified where two roots meet.
    EXPECT_LE(errors.z_factor, 1e-9);
    EXPECT_LE(errors.fugacity, 1e-10);
    EXPECT_LE(errors.own_fugacity, 1e-10);
    EXPECT_LE(errors.imbalance, 1e-12);
    EXPECT_TRUE(errors.fractions_in_range)
        << test.cell.x_state.fraction << ' ' << test.cell.y_state.fraction;
    EXPECT_NEAR(errors.fraction_sum, 0.0, 1e-12);
    // Long doubles and fractions good to 1e-16: 1e-14 is rounding.
    EXPECT_LE(errors.gibbs_excess, 1e-14);
}

/// No composition lies below the tangent plane of the feed.
inline void expect_stable(TestCell& test, const SearchEffort& effort) {
    EXPECT_GE(depth_below(test, test.cell.feed_fractions, effort), -effort.significant)
        << "one phase, but it is unstable";
}

/// Everything that must hold after a flash. `thorough` also searches below the tangent plane of a
/// two-phase result: nothing may lie there unless a third phase was announced.
inline void expect_sound(TestCell& test, const SearchEffort& effort, bool thorough) {
    const PVTCell& cell = test.cell;
    if (cell.phase_count < 3)
        for (const auto& message : test.errors->entries) ADD_FAILURE() << message->text;
    if (cell.phase_count < 2) {
        expect_stable(test, effort);
        return;
    }
    expect_equilibrium(test);
    if (!thorough || cell.phase_count > 2) return;
    SearchEffort beside = effort;
    beside.significant *= 100.0;
    EXPECT_GE(depth_below(test, cell.eq_liquid->moles(), beside), -beside.significant)
        << "a better split exists";
}

}  // namespace kestrane::fluids
