#pragma once

#include <array>
#include <string>

#include "equil/Fluids.h"

namespace kestrane::campaign {

enum class FluidKind { Light, Sour, CarbonDioxide, NearCritical, Heavy, Traces, Few };
inline constexpr std::array<const char*, 7> FLUID_KINDS{"light", "sour",   "co2", "near-critical",
                                                        "heavy", "traces", "few"};

struct DrawnFluid {
    FluidKind kind = FluidKind::Light;
    fluids::Fluid fluid;
};

/// The fluid of that number: 2 to 40 components (equally likely per octave), amounts of its kind,
/// interaction parameters as correlations and regressions give them, Peng-Robinson or Soave.
///   kinds  bits of FluidKind to draw from; not 0
DrawnFluid draw_fluid(std::uint64_t seed, std::uint64_t number, unsigned kinds);

/// The fluid as the source of a test.
std::string source_of(const fluids::Fluid& fluid);

}  // namespace kestrane::campaign
