#include "equil/reference/TangentPlaneSearch.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace textbook {

namespace {

void normalize(std::vector<double>& w) {
    double sum = 0.0;
    for (double amount : w) sum += amount;
    for (double& amount : w) amount /= sum;
}

}  // namespace

TangentPlaneMinimum TangentPlaneSearch::run(std::span<const double> z, int random_starts,
                                            int iterations, double enough) {
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

std::vector<std::vector<double>> TangentPlaneSearch::starts(std::span<const double> z,
                                                            int random_starts) const {
    const std::size_t n = z.size();
    std::vector<std::vector<double>> all;
    // Wilson's K to several powers, and the ideal gas.
    for (double power : {1.0, -1.0, 1.0 / 3.0, -1.0 / 3.0}) {
        std::vector<double> w(n);
        for (std::size_t i = 0; i < n; ++i) {
            const Component& c = fluid_.components[i];
            const double ln_k = std::log(c.Pc / P_) + 5.373 * (1.0 + c.omega) * (1.0 - c.Tc / T_);
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

void TangentPlaneSearch::descend(std::vector<double> w, std::span<const double> z, int iterations,
                                 double enough, TangentPlaneMinimum& best) {
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

}  // namespace textbook
