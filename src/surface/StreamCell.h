#pragma once

#include "equil/PVTCell.h"

namespace kestrane {

class EOSLab;

/// A cell of a facility's own, so that what happens at the surface leaves the laboratory's cell as
/// it is. Every calculation starts afresh: what was calculated before changes no digit.
class StreamCell {
public:
    StreamCell();

    /// Works in that characterization from here on, with the laboratory's policies.
    void bind(Charzation* charz, const EOSLab& lab);
    /// Flash of a stream (not empty) at K and Pa. Problems go to errors().
    void flash(const Tank& stream, double T, double P);
    /// Upper saturation pressure at K, searched from Pa; true if it was found. The cell is then at
    /// that pressure with the incipient phase. What it complains of is dropped.
    bool saturation(const Tank& stream, double T, double P);
    /// Density of a stream as one phase, kg/m3, of the lower root of the equation if `as_liquid`,
    /// of the higher one otherwise. UNSET for an empty stream or without conditions. What it
    /// complains of is dropped.
    double density(const Tank& stream, double T, double P, bool as_liquid);

    PVTCell& cell() { return cell_; }
    ErrorList& errors() { return *cell_.errors; }

private:
    void take(const Tank& stream, double T, double P);
    bool measure(const Tank& stream, double T, double P);

    DynPtr<Tank> feed_, liquid_, vapor_, nf_liquid_, nf_vapor_;
    PVTCell cell_;
    int init_policy_ = INIT_PREVIOUS;
};

}  // namespace kestrane
