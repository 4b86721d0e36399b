#include "misc/ConstantKTieLines.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <numeric>

namespace kestrane {

namespace {

/// Range of ln((k - K_lower)/(K_upper - k)), far beyond any trace.
constexpr double WIDEST = 200.0;
constexpr int HALVINGS = 70;

}  // namespace

ConstantKTieLines::ConstantKTieLines(std::span<const double> ln_K, std::span<const double> gas,
                                     std::span<const double> oil)
    : order_(ln_K.size()) {
    std::iota(order_.begin(), order_.end(), std::size_t{0});
    std::ranges::sort(order_, [&](std::size_t i, std::size_t j) { return ln_K[i] > ln_K[j]; });
    for (std::size_t i : order_) K_.push_back(std::exp(ln_K[i]));
    if (K_.size() < 2 || !(K_.front() > 1.0 && K_.back() < 1.0)) return;
    for (std::size_t i = 0; i + 1 < K_.size(); ++i)
        if (!(K_[i] > K_[i + 1]) || K_[i] == 1.0) return;
    gas_roots_ = roots_of(gas);
    oil_roots_ = roots_of(oil);
    valid_ = true;
}

/// K[i] - k
double ConstantKTieLines::distance(std::size_t i, const Root& root) const {
    if (i <= root.upper) return K_[i] - K_[root.upper] + root.below_upper;
    return K_[i] - K_[root.upper + 1] - root.above_lower;
}

/// One root between each two neighbours on the same side of 1, where the sum passes all values
/// once: rising where K > 1, falling where K < 1.
std::vector<ConstantKTieLines::Root> ConstantKTieLines::roots_of(std::span<const double> z) const {
    std::vector<Root> roots;
    for (std::size_t upper = K_.size() - 1; upper-- > 0;) {
        const bool above_one = K_[upper + 1] > 1.0;
        if (!above_one && K_[upper] > 1.0) continue;
        const double gap = K_[upper] - K_[upper + 1];
        Root root{upper, 0.0, 0.0};
        double low = -WIDEST, high = WIDEST;
        for (int halving = 0; halving < HALVINGS; ++halving) {
            const double ratio = std::exp(0.5 * (low + high));
            root.above_lower = gap * ratio / (1.0 + ratio);
            root.below_upper = gap / (1.0 + ratio);
            double sum = 0.0;
            for (std::size_t i = 0; i < K_.size(); ++i)
                sum += z[order_[i]] * (K_[i] - 1.0) / distance(i, root);
            ((sum > 0.0) == above_one ? high : low) = 0.5 * (low + high);
        }
        roots.push_back(root);
    }
    return roots;
}

/// From the residues of sum x_i (K_i - 1)/(K_i - k), whose roots are those of the tie-line.
void ConstantKTieLines::liquid(std::size_t line, std::span<double> x) const {
    assert(x.size() == K_.size());
    double greatest = -WIDEST * static_cast<double>(K_.size());
    for (std::size_t i = 0; i < K_.size(); ++i) {
        double ln_x = -std::log(std::abs(K_[i] - 1.0));
        for (std::size_t j = 0; j < gas_roots_.size(); ++j)
            ln_x += std::log(std::abs(distance(i, root_of_line(line, j))));
        for (std::size_t l = 0; l < K_.size(); ++l)
            if (l != i) ln_x -= std::log(std::abs(K_[l] - K_[i]));
        x[order_[i]] = ln_x;
        greatest = std::max(greatest, ln_x);
    }
    double sum = 0.0;
    for (double& value : x) sum += value = std::exp(value - greatest);
    for (double& value : x) value /= sum;
}

void ConstantKTieLines::intersection(std::size_t line, std::span<double, 4> p) const {
    const double before = value(gas_roots_[line]), behind = value(oil_roots_[line]);
    p[0] = -behind * (1.0 - before);
    p[1] = 1.0 - before;
    p[2] = -before * (1.0 - behind);
    p[3] = 1.0 - behind;
}

/// Vapor fraction between the asymptotes that bound positive phases.
void ConstantKTieLines::place(std::span<const double> fluid, std::span<double, 2> p) const {
    double low = 1.0 / (1.0 - K_.front()), high = 1.0 / (1.0 - K_.back());
    for (int halving = 0; halving < HALVINGS; ++halving) {
        const double v = 0.5 * (low + high);
        double sum = 0.0;
        for (std::size_t i = 0; i < K_.size(); ++i)
            sum += fluid[order_[i]] * (K_[i] - 1.0) / (1.0 + v * (K_[i] - 1.0));
        (sum > 0.0 ? low : high) = v;
    }
    p[1] = 0.5 * (low + high);
    p[0] = 1.0 - p[1];
}

}  // namespace kestrane
