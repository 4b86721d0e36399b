#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <span>
#include <vector>

#include "equil/reference/TextbookCubic.h"

/// Key tie-lines of gas displacements by the textbook equation of state, for judging minimum
/// miscibility pressures. Shares nothing with the program.
namespace textbook {

struct TieLine {
    std::vector<double> x, y, ln_k;

    /// (sum |y - x|)^2
    double squared_length() const {
        double sum = 0.0;
        for (std::size_t i = 0; i < x.size(); ++i) sum += std::abs(y[i] - x[i]);
        return sum * sum;
    }
};

/// Vapor fraction of a feed at given K, by bisection between the asymptotes; NaN if all K lie on
/// one side of 1.
inline double rachford_rice_root(std::span<const double> z, std::span<const double> K) {
    double least = K[0], greatest = K[0];
    for (double k : K) {
        least = std::min(least, k);
        greatest = std::max(greatest, k);
    }
    if (least >= 1.0 || greatest <= 1.0) return NAN;
    double low = 1.0 / (1.0 - greatest), high = 1.0 / (1.0 - least);
    for (int step = 0; step < 200; ++step) {
        const double v = 0.5 * (low + high);
        double g = 0.0;
        for (std::size_t i = 0; i < z.size(); ++i)
            g += z[i] * (K[i] - 1.0) / (1.0 + v * (K[i] - 1.0));
        (g > 0.0 ? low : high) = v;
    }
    return 0.5 * (low + high);
}

/// Tie-line whose extension passes through z, by successive substitution (accelerated by its
/// dominant eigenvalue) from ln_k; nothing if it shrinks to a point.
inline std::optional<TieLine> tie_line_through(const Mixture<double>& mixture, double P,
                                               std::span<const double> z, std::vector<double> ln_k,
                                               bool may_accelerate = true) {
    const std::size_t n = z.size();
    // An accelerated step may leave the tie-line; plain substitution then starts again.
    const auto failed = [&, start = ln_k]() -> std::optional<TieLine> {
        if (!may_accelerate) return std::nullopt;
        return tie_line_through(mixture, P, z, start, false);
    };
    TieLine line{std::vector<double>(n), std::vector<double>(n), std::move(ln_k)};
    std::vector<double> K(n), r(n), previous(n);
    for (int step = 0; step < 20000; ++step) {
        for (std::size_t i = 0; i < n; ++i) K[i] = std::exp(line.ln_k[i]);
        const double v = rachford_rice_root(z, K);
        if (std::isnan(v)) return failed();
        double sum_x = 0.0, sum_y = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            line.x[i] = std::max(z[i] / (1.0 + v * (K[i] - 1.0)), 1e-200);
            line.y[i] = K[i] * line.x[i];
            sum_x += line.x[i];
            sum_y += line.y[i];
        }
        for (std::size_t i = 0; i < n; ++i) {
            line.x[i] /= sum_x;
            line.y[i] /= sum_y;
        }
        if (line.squared_length() < 1e-5) return failed();
        const auto liquid = mixture.phase(P, line.x), vapor = mixture.phase(P, line.y);
        double residual = 0.0, a = 0.0, b = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            r[i] = liquid.ln_phi[i] - vapor.ln_phi[i] - line.ln_k[i];
            residual = std::max(residual, std::abs(r[i]));
            a += previous[i] * r[i];
            b += previous[i] * previous[i];
        }
        if (residual < 1e-11) return line;
        const double eigenvalue = b > 0.0 ? a / b : 0.0;
        const bool accelerate =
            may_accelerate && step % 6 == 5 && eigenvalue > 0.0 && eigenvalue < 0.9995;
        for (std::size_t i = 0; i < n; ++i)
            line.ln_k[i] += accelerate ? r[i] / (1.0 - eigenvalue) : r[i];
        previous = r;
    }
    return failed();
}

/// ln K by Wilson's correlation.
inline std::vector<double> wilson_ln_k(const Fluid& fluid, double T, double P) {
    std::vector<double> ln_k;
    for (const Component& c : fluid.components)
        ln_k.push_back(std::log(c.Pc / P) + 5.373 * (1.0 + c.omega) * (1.0 - c.Tc / T));
    return ln_k;
}

/// Pressure at which a tie-line followed upwards in pressure shrinks to a point: its squared length
/// falls linearly there, so that the last two decide. NaN if it was lost well before.
///   next  std::optional<TieLine>(P, tie-line at a lower pressure or null)
template <class Next>
double vanishing_pressure(double P, double factor, Next next) {
    std::optional<TieLine> line = next(P, nullptr);
    if (!line) return NAN;
    double P0 = P, I0 = line->squared_length(), P1 = P, I1 = I0;
    while (factor > 1.0002 && P < 5e8) {
        const std::optional<TieLine> longer = next(P1 * factor, &*line);
        if (!longer) {
            factor = std::sqrt(factor);
            continue;
        }
        P0 = P1;
        I0 = I1;
        P1 *= factor;
        I1 = longer->squared_length();
        line = longer;
    }
    const double end = P1 + (P1 - P0) * I1 / (I0 - I1);
    constexpr double CLOSE = 0.005;
    return std::abs(end / P1 - 1.0) < CLOSE ? end : NAN;
}

/// Pressure at which the tie-line through a composition vanishes (the critical tie-line), searched
/// upwards from P. NaN if none passes through it at P.
inline double critical_tie_line_pressure(const Fluid& fluid, double T, double P,
                                         std::span<const double> z) {
    const Mixture<double> mixture(fluid, T);
    return vanishing_pressure(P, 1.1, [&](double pressure, const TieLine* last) {
        return tie_line_through(mixture, pressure, z,
                                last ? last->ln_k : wilson_ln_k(fluid, T, pressure));
    });
}

/// The tie-line of a four-component displacement whose extension meets those of the oil and of the
/// injected fluid (Y. Wang and F.M. Orr, Fluid Phase Equilib. 139 (1997) 101): Newton's method with
/// numerical derivatives on both compositions, the two points of intersection, and their places on
/// the crossover line.
class CrossoverTieLine {
public:
    CrossoverTieLine(const Fluid& fluid, double T, std::span<const double> oil,
                     std::span<const double> gas)
        : fluid_(fluid), mixture_(fluid, T), T_(T), oil_(oil), gas_(gas) {}

    /// From the crossover tie-line at a nearby pressure, or null for an estimate between the tie
    /// lines of oil and gas found by mixing them.
    std::optional<TieLine> at(double P, const TieLine* last) {
        const auto oil = tie_line_through(mixture_, P, oil_, start(oil_ln_k_, P));
        const auto gas = tie_line_through(mixture_, P, gas_, start(gas_ln_k_, P));
        if (!oil || !gas) return std::nullopt;
        P_ = P;
        oil_line_ = *oil;
        gas_line_ = *gas;
        if (!last) {
            const auto estimate = by_mixing();
            if (!estimate) return std::nullopt;
            unknowns_from(*estimate);
        }
        const std::array<double, SIZE> kept = u_;
        auto line = newton(SIZE);
        if (!line && last) {
            u_ = kept;
            line = newton(2 * N);
        }
        if (!line) {
            u_ = kept;
            return std::nullopt;
        }
        unknowns_from(*line);
        oil_ln_k_ = oil->ln_k;
        gas_ln_k_ = gas->ln_k;
        return line;
    }

private:
    static constexpr std::size_t N = 4, SIZE = 12;

    std::vector<double> start(const std::vector<double>& known, double P) const {
        return known.empty() ? wilson_ln_k(fluid_, T_, P) : known;
    }

    /// Shortest tie-line of repeated contacts between neighbours, oil at one end, gas at the other.
    std::optional<TieLine> by_mixing() const {
        std::vector<double> z(N);
        std::vector<TieLine> row{gas_line_};
        for (int contact = 0; contact < 80; ++contact) {
            std::vector<TieLine> next;
            for (std::size_t j = 0; j <= row.size(); ++j) {
                for (std::size_t i = 0; i < N; ++i)
                    z[i] = 0.5 * ((j < row.size() ? row[j].x[i] : oil_[i]) +
                                  (j > 0 ? row[j - 1].y[i] : gas_[i]));
                const TieLine& like = row[std::min(j, row.size() - 1)];
                auto line = tie_line_through(mixture_, P_, z, like.ln_k);
                if (!line) line = tie_line_through(mixture_, P_, z, wilson_ln_k(fluid_, T_, P_));
                if (!line) return std::nullopt;
                next.push_back(*line);
            }
            row = next;
        }
        const TieLine* shortest = &row[row.size() / 2];
        for (std::size_t j = row.size() / 5; j < row.size() * 4 / 5; ++j)
            if (row[j].squared_length() < shortest->squared_length()) shortest = &row[j];
        return *shortest;
    }

    /// ln x, ln y, then place on the gas line, on the oil line, and of both points on this line:
    /// those where the distance between the lines is smallest.
    void unknowns_from(const TieLine& line) {
        for (std::size_t i = 0; i < N; ++i) {
            u_[i] = std::log(line.x[i]);
            u_[N + i] = std::log(line.y[i]);
        }
        closest(gas_line_, line, u_[8], u_[10]);
        closest(oil_line_, line, u_[9], u_[11]);
    }
    static void closest(const TieLine& a, const TieLine& b, double& s, double& v) {
        double aa = 0, ab = 0, bb = 0, ac = 0, bc = 0;
        for (std::size_t i = 0; i < N; ++i) {
            const double da = a.y[i] - a.x[i], db = b.y[i] - b.x[i], c = b.x[i] - a.x[i];
            aa += da * da;
            ab += da * db;
            bb += db * db;
            ac += da * c;
            bc += db * c;
        }
        const double d = aa * bb - ab * ab;
        s = (ac * bb - bc * ab) / d;
        v = (ac * ab - bc * aa) / d;
    }

    /// Determinant of the phases of two tie-lines, every component relative to its largest amount.
    static double determinant(std::span<const double> x, std::span<const double> y,
                              const TieLine& other) {
        std::array<std::array<double, N>, N> A{};
        for (std::size_t i = 0; i < N; ++i) {
            A[i] = {x[i], y[i], other.x[i], other.y[i]};
            const double largest = *std::max_element(A[i].begin(), A[i].end());
            for (double& amount : A[i]) amount /= largest;
        }
        double product = 1.0;
        for (std::size_t j = 0; j < N; ++j) {
            std::size_t pivot = j;
            for (std::size_t i = j; i < N; ++i)
                if (std::abs(A[i][j]) > std::abs(A[pivot][j])) pivot = i;
            if (pivot != j) {
                std::swap(A[j], A[pivot]);
                product = -product;
            }
            product *= A[j][j];
            if (product == 0.0) return 0.0;
            for (std::size_t i = j + 1; i < N; ++i) {
                const double factor = A[i][j] / A[j][j];
                for (std::size_t k = j; k < N; ++k) A[i][k] -= factor * A[j][k];
            }
        }
        return product;
    }

    /// Equal fugacities; both compositions sum to 1; the two intersections, as places (size 12) or
    /// as determinants (size 8), which pass through parallel lines.
    std::array<double, SIZE> residuals(const std::array<double, SIZE>& u, std::size_t size) const {
        std::vector<double> x(N), y(N);
        double sum_x = 0, sum_y = 0;
        for (std::size_t i = 0; i < N; ++i) {
            sum_x += x[i] = std::exp(u[i]);
            sum_y += y[i] = std::exp(u[N + i]);
        }
        const auto liquid = mixture_.phase(P_, x), vapor = mixture_.phase(P_, y);
        std::array<double, SIZE> r{};
        for (std::size_t i = 0; i < N; ++i)
            r[i] = u[i] + liquid.ln_phi[i] - u[N + i] - vapor.ln_phi[i];
        r[4] = sum_x - 1.0;
        r[5] = sum_y - 1.0;
        if (size < SIZE) {
            r[6] = determinant(x, y, gas_line_);
            r[7] = determinant(x, y, oil_line_);
            return r;
        }
        for (std::size_t i = 0; i < 3; ++i) {
            r[6 + i] = x[i] + u[10] * (y[i] - x[i]) - gas_line_.x[i] -
                       u[8] * (gas_line_.y[i] - gas_line_.x[i]);
            r[9 + i] = x[i] + u[11] * (y[i] - x[i]) - oil_line_.x[i] -
                       u[9] * (oil_line_.y[i] - oil_line_.x[i]);
        }
        return r;
    }

    std::optional<TieLine> newton(std::size_t size) {
        for (int step = 0; step < 60; ++step) {
            const auto r = residuals(u_, size);
            double norm = 0.0;
            for (double value : r) norm = std::max(norm, std::abs(value));
            if (!(norm < 1e6)) return std::nullopt;
            if (norm < 1e-10) break;
            if (step == 59) return std::nullopt;
            std::array<std::array<double, SIZE + 1>, SIZE> A{};
            for (std::size_t j = 0; j < size; ++j) {
                auto u = u_;
                const double h = 1e-6 * std::max(1.0, std::abs(u[j]));
                u[j] += h;
                const auto moved = residuals(u, size);
                for (std::size_t i = 0; i < size; ++i) A[i][j] = (moved[i] - r[i]) / h;
            }
            for (std::size_t i = 0; i < size; ++i) A[i][SIZE] = -r[i];
            eliminate(A, size);
            double longest = 0.0;
            for (std::size_t j = 0; j < 2 * N; ++j)
                longest = std::max(longest, std::abs(A[j][SIZE]));
            const double damping = longest > 0.5 ? 0.5 / longest : 1.0;
            for (std::size_t j = 0; j < size; ++j) {
                u_[j] += damping * A[j][SIZE];
                if (!(std::abs(u_[j]) < 1e3)) return std::nullopt;
            }
        }
        TieLine line{std::vector<double>(N), std::vector<double>(N), std::vector<double>(N)};
        for (std::size_t i = 0; i < N; ++i) {
            line.x[i] = std::exp(u_[i]);
            line.y[i] = std::exp(u_[N + i]);
            line.ln_k[i] = u_[N + i] - u_[i];
        }
        if (line.squared_length() < 1e-6) return std::nullopt;
        return line;
    }

    /// Gauss-Jordan elimination with row pivoting; the solution ends in the last column.
    static void eliminate(std::array<std::array<double, SIZE + 1>, SIZE>& A, std::size_t size) {
        for (std::size_t j = 0; j < size; ++j) {
            std::size_t pivot = j;
            for (std::size_t i = j; i < size; ++i)
                if (std::abs(A[i][j]) > std::abs(A[pivot][j])) pivot = i;
            std::swap(A[j], A[pivot]);
            const double inverse = 1.0 / A[j][j];
            for (double& element : A[j]) element *= inverse;
            for (std::size_t i = 0; i < size; ++i) {
                if (i == j) continue;
                const double factor = A[i][j];
                for (std::size_t k = j; k <= SIZE; ++k) A[i][k] -= factor * A[j][k];
            }
        }
    }

    const Fluid& fluid_;
    Mixture<double> mixture_;
    double T_, P_ = 0.0;
    std::span<const double> oil_, gas_;
    std::vector<double> oil_ln_k_, gas_ln_k_;
    TieLine oil_line_, gas_line_;
    std::array<double, SIZE> u_{};
};

}  // namespace textbook
