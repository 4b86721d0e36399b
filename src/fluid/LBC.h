#pragma once

#include <array>
#include <span>
#include <vector>

#include "fluid/Viscometer.h"

namespace kestrane {

class Charzation;

/// Coefficients of the residual viscosity, P0 to P4 of reduced density and the low-density term F0.
inline constexpr std::size_t LBC_COUNT = 6;
inline constexpr std::array<const char*, LBC_COUNT> LBC_NAMES{"P0", "P1", "P2", "P3", "P4", "F0"};
inline constexpr std::array<double, LBC_COUNT> LBC_DEFAULTS{0.1023,    0.023364,  0.058533,
                                                            -0.040758, 0.0093324, 0.1};
/// The coefficients in force, one set for the whole run.
std::array<double, LBC_COUNT>& lbc_coefficients();

/// The correlation of J. Lohrenz, B.G. Bray and C.R. Clark, J. Petr. Technol. 16 (1964) 1171, with
/// the dilute gas of L.I. Stiel and G. Thodos, AIChE J. 7 (1961) 611, mixed by the rule of
/// F. Herning and L. Zipperer, Gas- und Wasserfach 79 (1936) 49, and the dense fluid of
/// J.A. Jossi, L.I. Stiel and G. Thodos, AIChE J. 8 (1962) 59.
///
/// What depends on the characterization, or on temperature besides, is kept from call to call.
class LBC final : public Viscometer {
public:
    PropertyValue viscosity(const Tank& mixture, double T, double P, double Z) override;
    /// Warns if the polynomial of reduced density decreases anywhere from 0 upward.
    void check(ErrorList& errors) const override;

private:
    /// Mole averages of a mixture; `usable` is false if a component present lacks a property.
    struct Averages {
        double dilute = 0.0, root_mw = 0.0;
        double tc = 0.0, pc = 0.0, vc = 0.0;  ///< K, Pa, m3/kmol
        bool usable = true;
    };

    void bind(const Charzation& charz);
    void set_temperature(const Charzation& charz, double T);
    Averages average(const Tank& mixture) const;

    unsigned long charz_serial_ = 0;  ///< of the characterization last seen; 0 for none
    double last_t_ = UNSET;           ///< K
    std::vector<double> root_mw_;     ///< square root of molecular weight
    std::vector<double> scaled_mw_;   ///< mw (pc^4/tc)^(1/6), internal units
    std::vector<double> dilute_;      ///< low-pressure viscosity times root_mw at last_t_
};

}  // namespace kestrane
