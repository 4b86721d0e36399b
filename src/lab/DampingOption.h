#pragma once

#include <string>

#include "lab/EOSLab.h"

namespace kestrane {

/// The compositional damping factor of a column, as DAMP& gives it: a number from 0 to 1, or the
/// name of a regression variable.
struct DampingOption {
    double value = 1.0;
    int variable = -1;  ///< number of the variable, or -1

    /// A number out of range gets the reader's warning. A word that is no variable is handed back.
    void read(Reader& reader, const EOSLab& lab);
    /// The factor of this evaluation. A variable out of range is limited, with a warning.
    double factor(EOSLab& lab) const;
};

/// "damping 0.5", or nothing for a column in equilibrium.
std::string damping_text(double factor);

}  // namespace kestrane
