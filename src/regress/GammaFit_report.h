#pragma once

#include <string>

#include "frame/Writer.h"
#include "regress/GammaFit.h"

namespace kestrane {

/// The report of a gamma fit, or model, of the mixture: parameters, then measured and calculated
/// cuts in the amounts of the mixture.
void print_gamma_fit(Writer& writer, const Gamma_Fitter& fitter, const std::string& mixture);

}  // namespace kestrane
