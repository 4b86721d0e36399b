#pragma once

#include <array>
#include <string>
#include <utility>
#include <vector>

#include "input/UserWord.h"

namespace kestrane {

/// Parameters of the gamma distribution, in this order everywhere.
enum GammaParameter : std::size_t { SHAPE, AVERAGE, BOUND, ORIGIN, GAMMA_PARAMETERS };
using GammaValues = std::array<double, GAMMA_PARAMETERS>;

/// What the language allows a parameter to be.
inline constexpr GammaValues GAMMA_MINIMUM{0.001, 0.0, 0.0, 0.0};
inline constexpr GammaValues GAMMA_MAXIMUM{1000.0, 1e12, 1e6, 1.0};
inline constexpr GammaValues GAMMA_GUESS{1.0, 1.0, 0.95, 1.0};
inline constexpr GammaValues GAMMA_LOWER{0.2, 0.5, 0.9, 1.0};
inline constexpr GammaValues GAMMA_UPPER{5.0, 1.5, 1.0, 1.0};
inline constexpr std::array<const char*, GAMMA_PARAMETERS> GAMMA_TITLES{"Shape", "Average", "Bound",
                                                                        "Origin"};
inline constexpr std::array<const char*, GAMMA_PARAMETERS> GAMMA_WORDS{"shape", "average", "bound",
                                                                       "origin"};

/// Gamma parameters of the run, set by GAMMA. Average, bound and origin may be relative: see
/// absolute_gamma.
struct GammaState {
    std::string split_from;  ///< plus component of the coarse characterization, may be empty
    std::string split_to;    ///< first component of that fraction in the fine one
    std::vector<std::pair<UserWord, GammaValues>> stored;
    GammaValues current = GAMMA_GUESS;
    GammaValues guess = GAMMA_GUESS;  ///< what a fit begins with
    GammaValues lower = GAMMA_LOWER;  ///< limits of a fit
    GammaValues upper = GAMMA_UPPER;

    /// Guess and limits of a fit go back to their defaults.
    void reset_fit();
    /// Stores the current values, in the place of a set of the same name if there is one.
    void store(const std::string& name);
    /// The set of that name, or null.
    const GammaValues* find(const std::string& name) const;
};
GammaState& gamma_state();

/// What a conversion between characterizations, or a fit, conserves. One setting for the run.
enum class Conserved { Moles, Mass };
Conserved& conserved_basis();

/// Relative parameters made absolute (kg/kmol) for a plus fraction of mean molecular weight `mw`: a
/// bound up to 1 is a multiple of it, so is an average up to 1 or below the bound, and an origin up
/// to 1 is a fraction of the bound.
GammaValues absolute_gamma(GammaValues values, double mw);

/// "shape = 1, average = 143, bound = 90, origin = 90".
std::string list_gamma(const GammaValues& values);

}  // namespace kestrane
