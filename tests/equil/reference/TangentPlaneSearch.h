#pragma once

#include <span>
#include <vector>

#include "equil/reference/TextbookCubic.h"

namespace textbook {

/// Deepest point below the tangent plane of a reference phase found by a search from many starts.
struct TangentPlaneMinimum {
    double distance = 0.0;  ///< sum w (ln w + ln phi(w) - d); 0 if nothing lies below
    std::vector<double> w;  ///< its composition, empty if none
};

/// Michelsen's tangent plane criterion (Fluid Phase Equilib. 9 (1982) 1) by brute force: successive
/// substitution ln W = d - ln phi(W) from vapor-like and liquid-like estimates, each nearly pure
/// component, and random compositions. Any point below the plane proves the reference unstable, so
/// no start has to converge; that none is found is evidence, not proof.
class TangentPlaneSearch {
public:
    TangentPlaneSearch(const Fluid& fluid, double T, double P)
        : fluid_(fluid), mixture_(fluid, T), T_(T), P_(P) {}

    /// `enough`: the search ends when a distance below -enough is found.
    TangentPlaneMinimum run(std::span<const double> z, int random_starts, int iterations,
                            double enough);

private:
    std::vector<std::vector<double>> starts(std::span<const double> z, int random_starts) const;
    void descend(std::vector<double> w, std::span<const double> z, int iterations, double enough,
                 TangentPlaneMinimum& best);

    const Fluid& fluid_;
    Mixture<double> mixture_;
    double T_, P_;
    std::vector<double> d_;
    Phase<double> phase_;
};

}  // namespace textbook
