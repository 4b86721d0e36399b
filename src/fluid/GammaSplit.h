#pragma once

#include <span>
#include <string>
#include <vector>

#include "frame/ErrorList.h"
#include "frame/Errors.h"

namespace kestrane {

class Charzation;

/// Parameters that describe no distribution, with what to tell of them.
struct InvalidGamma : BadGamma {
    std::string parameters;  ///< "shape = ..., average = ..., bound = ..., origin = ..."
};

/// The components of a characterization from light to heavy, with the place where a plus fraction
/// begins.
struct CutOrder {
    std::vector<std::size_t> index;  ///< component indexes, light to heavy
    std::size_t first = 0;           ///< position of the fraction's first component in `index`

    std::span<const std::size_t> lighter() const { return std::span(index).first(first); }
    std::span<const std::size_t> cuts() const { return std::span(index).subspan(first); }
};
CutOrder order_cuts(const Charzation& charz, int first_component);

/// Lower molecular weight boundaries of the cuts. Where none is given: the middle between a cut's
/// molecular weight and that of the next lighter one; 0 for the first, so that the fraction begins
/// at the bound of its distribution.
std::vector<double> cut_boundaries(const Charzation& charz, const CutOrder& order);

/// Molecular weights, and gravities that they give, of the cuts of the plus fraction (GAMMA SPLIT)
/// that have none. Needs the cuts' lower boundaries and absolute gamma parameters. What prevents it
/// goes to `errors` as fatal.
void fill_gamma_weights(Charzation& charz, ErrorList& errors);

/// Mole fractions and mean molecular weights of the cuts of a plus fraction with mean molecular
/// weight `mw`, by the present gamma parameters. Throws InvalidGamma.
struct GammaCuts {
    std::vector<double> fractions;
    std::vector<double> mws;  ///< kg/kmol
};
GammaCuts split_plus_fraction(const Charzation& charz, const CutOrder& order, double mw);

}  // namespace kestrane
