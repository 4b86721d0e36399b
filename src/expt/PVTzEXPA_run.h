#pragma once

#include "expt/PVTzEXPA.h"

namespace kestrane {

/// What the stages of one run share.
struct PVTzEXPA::StageRun {
    StageRun(const PVTzEXPA& experiment, EOSLab& laboratory, Writer& report);

    EOSLab& lab;
    PVTCell& cell;
    Writer& writer;
    ExpTable table;       ///< the input, with the calculated rows behind it
    ExptData blank;       ///< sized for the characterization
    ExptData positions;   ///< column index of each field, below 0 for those without a column
    ExptData input, row;  ///< the stage as read, and as calculated
    std::vector<double> weights;  ///< one for each row
    Tank mixed{"mixed"};          ///< feed and injection
    double moles = 0.0;           ///< in the cell, kmol
    double injected = 0.0;        ///< cumulative, kmol
    double removed_moles = 0.0;   ///< cumulative, kmol
    double removed_mass = 0.0;    ///< cumulative, kg
    BasisState state = BasisState::PseudoVapor;
    double saturation = UNSET;  ///< calculated at the basis, Pa
    bool compared = false;      ///< the saturation pressure became a residual
};

/// Puts a value back at the end of a scope, however that is left.
template <class T>
class Restored {
public:
    explicit Restored(T& variable) : variable_(variable), value_(variable) {}
    ~Restored() { variable_ = value_; }
    Restored(const Restored&) = delete;
    Restored& operator=(const Restored&) = delete;

private:
    T& variable_;
    T value_;
};

/// True if the single phase in the cell is what a liquid has become below its two-phase region.
///   two_phase  Pa, where the fluid was seen with a vapor beside it; 0: nowhere
/// A denser phase than at the pseudo-critical point may be liquid there: it has been cooled, or
/// something was injected.
bool is_vaporized(const PVTCell& cell, double two_phase);

UnitKind basis_unit_kind(BasisKind kind);
/// Z-factor of the cell as a whole.
double cell_z_factor(const PVTCell& cell);
/// The words before the weight of a measured value.
const Keyword& weight_words();

/// True if the field has a column.
inline bool has_column(double position) {
    return position >= 0.0;
}

}  // namespace kestrane
