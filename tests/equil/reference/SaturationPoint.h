#pragma once

#include <cmath>
#include <span>
#include <utility>
#include <vector>

#include "equil/reference/TextbookCubic.h"

namespace textbook {

/// A feed in equilibrium with an incipient phase.
struct SaturationPoint {
    long double ln_P = 0;           ///< of Pa
    std::vector<long double> ln_k;  ///< ln(incipient/feed)
    long double residual = 0;       ///< largest left
};

/// Gaussian elimination with partial pivoting of a square system; b becomes the solution.
inline void solve_linear(std::vector<std::vector<long double>> a, std::vector<long double>& b) {
    const std::size_t n = b.size();
    for (std::size_t k = 0; k < n; ++k) {
        std::size_t pivot = k;
        for (std::size_t i = k + 1; i < n; ++i)
            if (std::fabs(a[i][k]) > std::fabs(a[pivot][k])) pivot = i;
        std::swap(a[k], a[pivot]);
        std::swap(b[k], b[pivot]);
        for (std::size_t i = k + 1; i < n; ++i) {
            const long double factor = a[i][k] / a[k][k];
            for (std::size_t j = k; j < n; ++j) a[i][j] -= factor * a[k][j];
            b[i] -= factor * b[k];
        }
    }
    for (std::size_t k = n; k-- > 0;) {
        for (std::size_t j = k + 1; j < n; ++j) b[k] -= a[k][j] * b[j];
        b[k] /= a[k][k];
    }
}

/// Refines a saturation point by Newton's method in long double, from the conditions as they are
/// written in any textbook: w_i + ln phi_i(t) = ln phi_i(z) and sum z_i exp(w_i) = 1, derivatives
/// by central differences. Next to a critical point, where the residuals go with the third power of
/// w and the sum with the fourth, double precision would not do.
class SaturationNewton {
public:
    /// Liquids are on the low root of the cubic, vapors on the high one, where there are two: the
    /// one of least Gibbs energy may change between points of a difference.
    SaturationNewton(const Fluid& fluid, double T, bool liquid_feed)
        : fluid_(fluid),
          mixture_(fluid, T),
          z_(fluid.z.begin(), fluid.z.end()),
          feed_root_(liquid_feed ? Root::Low : Root::High),
          trial_root_(liquid_feed ? Root::High : Root::Low) {
        // Fractions that sum to 1 in double only would hide what is looked for.
        long double sum = 0;
        for (const long double part : z_) sum += part;
        for (long double& part : z_) part /= sum;
    }

    SaturationPoint run(double P, std::span<const double> ln_k, int rounds = 30) const {
        const std::size_t n = fluid_.n();
        std::vector<long double> x(ln_k.begin(), ln_k.end());
        x.push_back(std::log(static_cast<long double>(P)));
        for (int round = 0; round < rounds; ++round) {
            std::vector<long double> step = conditions(x);
            std::vector<std::vector<long double>> slopes(n + 1, std::vector<long double>(n + 1));
            for (std::size_t j = 0; j <= n; ++j) {
                constexpr long double H = 1e-6L;
                std::vector<long double> up = x, down = x;
                up[j] += H;
                down[j] -= H;
                const std::vector<long double> above = conditions(up), below = conditions(down);
                for (std::size_t i = 0; i <= n; ++i) slopes[i][j] = (above[i] - below[i]) / (2 * H);
            }
            solve_linear(std::move(slopes), step);
            long double largest = 0;
            for (std::size_t i = 0; i <= n; ++i) {
                x[i] -= step[i];
                largest = std::max(largest, std::fabs(step[i]));
            }
            if (largest < 1e-15L) break;
        }
        SaturationPoint point;
        for (const long double f : conditions(x))
            point.residual = std::max(point.residual, std::fabs(f));
        point.ln_P = x.back();
        x.pop_back();
        point.ln_k = std::move(x);
        return point;
    }

private:
    std::vector<long double> conditions(const std::vector<long double>& x) const {
        const std::size_t n = fluid_.n();
        const long double P = std::exp(x[n]);
        std::vector<long double> t(n);
        long double sum = 0;
        for (std::size_t i = 0; i < n; ++i) sum += t[i] = z_[i] * std::exp(x[i]);
        for (long double& part : t) part /= sum;
        const Phase<long double> feed = mixture_.phase(P, z_, feed_root_);
        const Phase<long double> trial = mixture_.phase(P, t, trial_root_);
        std::vector<long double> f(n + 1);
        for (std::size_t i = 0; i < n; ++i) f[i] = x[i] + trial.ln_phi[i] - feed.ln_phi[i];
        f[n] = std::log(sum);
        return f;
    }

    const Fluid& fluid_;
    Mixture<long double> mixture_;
    std::vector<long double> z_;
    Root feed_root_, trial_root_;
};

}  // namespace textbook
