#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace kestrane {

/// Key tie-lines where K-values do not depend on composition: what a search by Newton's method
/// starts from. Tie-lines are then given by the roots k of sum z_i (K_i - 1)/(K_i - k) = 0 between
/// neighbouring K-values on the same side of 1, for any z on the tie-line; from one key tie-line to
/// the next a single root changes from its value for the injected fluid to that for the oil, the
/// slowest first, that is between the smallest K-values (F. Helfferich and G. Klein,
/// Multicomponent Chromatography, 1970; derivation in doc/numerics.md).
class ConstantKTieLines {
public:
    /// All n components positive in both fluids, no two K-values equal, some above and some below
    /// 1: otherwise `valid` is false.
    ConstantKTieLines(std::span<const double> ln_K, std::span<const double> gas,
                      std::span<const double> oil);
    bool valid() const { return valid_; }
    std::size_t count() const { return gas_roots_.size() + 1; }  ///< n - 1 tie-lines
    /// Liquid of tie-line `line`, 0 that of the injected fluid; n, sums to 1.
    void liquid(std::size_t line, std::span<double> x) const;
    /// The point that tie-lines `line` and `line` + 1 share, as p[0] x + p[1] y of the first and
    /// p[2] x + p[3] y of the second.
    void intersection(std::size_t line, std::span<double, 4> p) const;
    /// The place of a fluid of one mole on its own tie-line, as amounts of x and y.
    void place(std::span<const double> fluid, std::span<double, 2> p) const;

private:
    /// A root between K[upper] and the next smaller K, by its distances to both: each keeps its
    /// digits however close it is.
    struct Root {
        std::size_t upper;
        double below_upper, above_lower;
    };
    double value(const Root& root) const { return K_[root.upper] - root.below_upper; }
    double distance(std::size_t i, const Root& root) const;
    std::vector<Root> roots_of(std::span<const double> z) const;
    const Root& root_of_line(std::size_t line, std::size_t j) const {
        return j < line ? oil_roots_[j] : gas_roots_[j];
    }

    bool valid_ = false;
    std::vector<std::size_t> order_;           ///< components by falling K
    std::vector<double> K_;                    ///< in that order
    std::vector<Root> gas_roots_, oil_roots_;  ///< n - 2 each, rising
};

}  // namespace kestrane
