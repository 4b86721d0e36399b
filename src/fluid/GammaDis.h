#pragma once

#include <array>
#include <span>

#include "frame/ErrorList.h"

namespace kestrane {

/// What GammaDis::integrate gives, in this order.
enum GammaIntegral : std::size_t { P0, DP0, Q0, DQ0, P1, DP1, Q1, DQ1, GAMMA_INTEGRALS };
using GammaIntegrals = std::array<double, GAMMA_INTEGRALS>;

/// Three-parameter gamma distribution of molecular weight x (kg/kmol), cut off below at a bound:
///
///     p(x) = y^(alpha-1) exp(-y) / (beta Gamma(alpha)),   y = (x - origin) / beta,
///
/// with beta such that the part above the bound has a given mean. C.H. Whitson, Characterizing
/// hydrocarbon plus fractions, SPE Journal 23 (1983) 683-694. All that is asked about the part
/// above the bound is worked out relative to the bound, so that a bound far out in the tail, where
/// exp(-y) underflows, costs no digits.
class GammaDis {
public:
    /// BadGamma unless shape > 0, mean > 0, mean > origin and mean > bound, all finite. `mean` is
    /// that of the part above the bound. A failure to converge is a warning.
    void set(double shape, double mean, double lower_bound, double lowest, ErrorList& errors);

    /// Integrals of the whole distribution at x: P0 = P(alpha, y), the regularized lower incomplete
    /// gamma function, its derivative in x, Q0 = 1 - P0 and its derivative, then the same of order
    /// alpha + 1.
    void integrate(double x, GammaIntegrals& out, ErrorList& errors) const;

    /// Cuts of the part above the bound.
    ///   lower_bounds  in   n  boundaries, ascending; the last cut is open upwards
    ///   fractions     out  n  mole fractions of the part above the bound; what lies between the
    ///                         bound and the first boundary belongs to no cut
    ///   mws           out  n  mean molecular weights; of an empty cut the middle
    void split(std::span<const double> lower_bounds, std::span<double> fractions,
               std::span<double> mws, ErrorList& errors) const;

    /// The reverse: boundaries of cuts with given amounts.
    ///   amounts    in   n  mole fractions (`by_mole`) or mass fractions, light to heavy
    ///   fractions  out  n  the other kind of fractions
    ///   bounds     out  n  lower boundaries, the first is the bound
    ///   mws        out  n  mean molecular weights
    void match_amounts(std::span<const double> amounts, std::span<double> fractions,
                       std::span<double> bounds, std::span<double> mws, bool by_mole,
                       ErrorList& errors) const;

    double alpha = 1.0;           ///< shape
    double beta = 1.0;            ///< scale, kg/kmol
    double average = 1.0;         ///< mean above the bound, kg/kmol
    double bound = 0.0;           ///< kg/kmol
    double origin = 0.0;          ///< kg/kmol
    double ln_gamma_alpha = 0.0;  ///< ln Gamma(alpha)
    double alpha_beta = 1.0;      ///< kg/kmol
    double inv_tail = 1.0;        ///< 1 / mole tail above the bound; kept if that underflows
    double inv_mass_tail = 1.0;   ///< 1 / mass tail above the bound, kmol/kg; likewise
    GammaIntegrals at_bound{};

private:
    /// What lies beyond a scaled distance y, independent of how little that is.
    struct Beyond {
        double excess;  ///< mean of y' - y over y' > y
        double ratio;   ///< y^alpha exp(-y) / Gamma(alpha) over Q0
    };
    /// A molecular weight with the share of the part above the bound that is heavier.
    struct Point {
        double x;        ///< kg/kmol, not below the bound
        double y;        ///< scaled distance from the origin
        double moles;    ///< heavier moles per mole
        double density;  ///< -d moles/dx, kmol/kg
        Beyond beyond;
    };
    struct Cut {
        double moles;  ///< mole fraction
        double mw;     ///< mean, kg/kmol; UNSET if there is nothing in the cut
    };

    double scaled(double x) const { return (x - origin) / beta; }
    double log_prefactor(double y) const;
    bool series(double y, double& sum) const;
    bool tail_fraction(double y, double& c) const;
    double density_at_origin() const;
    bool in_far_tail(double y) const { return y >= alpha + 1.0; }

    void fit_beta(ErrorList& errors);
    Beyond beyond(double y, ErrorList& errors) const;
    double remaining(const Point& from, double d, const Beyond& there) const;
    Point point(double x, ErrorList& errors) const;
    double heavier_mass(const Point& at) const;

    Cut cut(const Point& lower, const Point& upper, ErrorList& errors) const;
    Cut narrow_cut(const Point& lower, double width) const;
    Cut open_cut(const Point& lower) const;
    Point boundary(double amount, bool by_mole, const Point& upper, ErrorList& errors) const;
    Point far_end(double least, bool by_mole, ErrorList& errors) const;

    Point start_{};  ///< at the bound, or at the origin if that is higher
};

}  // namespace kestrane
