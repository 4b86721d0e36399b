#pragma once

#include <cmath>
#include <random>
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
                            double enough) {
        const Phase<double> feed = mixture_.phase(P_, z);
        d_.resize(z.size());
        for (std::size_t i = 0; i < z.size(); ++i) d_[i] = std::log(z[i]) + feed.ln_phi[i];
        TangentPlaneMinimum best;
        for (const std::vector<double>& start : starts(z, random_starts)) {
            descend(start, z, iterations, enough, best);
            if (best.distance < -enough) break;
        }
        return best;
    }

private:
    std::vector<std::vector<double>> starts(std::span<const double> z, int random_starts) const {
        const std::size_t n = z.size();
        std::vector<std::vector<double>> all;
        // Wilson's K to several powers, and the ideal gas.
        for (double power : {1.0, -1.0, 1.0 / 3.0, -1.0 / 3.0}) {
            std::vector<double> w(n);
            for (std::size_t i = 0; i < n; ++i) {
                const Component& c = fluid_.components[i];
                const double ln_k =
                    std::log(c.Pc / P_) + 5.373 * (1.0 + c.omega) * (1.0 - c.Tc / T_);
                w[i] = z[i] * std::exp(power * ln_k);
            }
            all.push_back(w);
        }
        std::vector<double> ideal(n);
        for (std::size_t i = 0; i < n; ++i) ideal[i] = std::exp(d_[i]);
        all.push_back(ideal);
        for (std::size_t pure = 0; pure < n; ++pure) {
            std::vector<double> w(z.begin(), z.end());
            for (double& amount : w) amount *= 0.05;
            w[pure] += 0.95;
            all.push_back(w);
        }
        std::mt19937 random(4711);
        std::exponential_distribution<double> exponential;
        for (int k = 0; k < random_starts; ++k) {
            std::vector<double> w(n);
            for (double& amount : w) amount = std::pow(exponential(random), 3.0);
            all.push_back(w);
        }
        return all;
    }

    void descend(std::vector<double> w, std::span<const double> z, int iterations, double enough,
                 TangentPlaneMinimum& best) {
        for (int step = 0; step < iterations; ++step) {
            normalize(w);
            mixture_.evaluate(P_, w, Root::LeastGibbs, phase_);
            double distance = 0.0, change = 0.0, from_feed = 0.0;
            for (std::size_t i = 0; i < w.size(); ++i) {
                const double term = std::log(w[i]) + phase_.ln_phi[i] - d_[i];
                distance += w[i] * term;
            }
            if (distance < best.distance) {
                best.distance = distance;
                best.w = w;
                if (distance < -enough) return;
            }
            for (std::size_t i = 0; i < w.size(); ++i) {
                const double next = std::exp(d_[i] - phase_.ln_phi[i]);
                change += std::abs(next - w[i] * std::exp(-distance));
                from_feed += std::abs(w[i] - z[i]);
                w[i] = std::max(next, 1e-300);
            }
            if (from_feed < 1e-6 || change < 1e-13) return;
        }
    }

    static void normalize(std::vector<double>& w) {
        double sum = 0.0;
        for (double amount : w) sum += amount;
        for (double& amount : w) amount /= sum;
    }

    const Fluid& fluid_;
    Mixture<double> mixture_;
    double T_, P_;
    std::vector<double> d_;
    Phase<double> phase_;
};

}  // namespace textbook
