#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <span>
#include <string>
#include <vector>

/// Cubic equations of state as textbooks print them (Michelsen & Mollerup, Thermodynamic Models,
/// 2nd ed., ch. 3; Prausnitz et al., Molecular Thermodynamics, 3rd ed., ch. 12): the
/// compressibility factor Z itself, Cardano's roots, fugacity coefficients that contain ln P. It
/// shares nothing with the program, so that results of the program can be judged by it.
namespace textbook {

struct Component {
    std::string name;
    double mw;           ///< kg/kmol
    double Tc;           ///< K
    double Pc;           ///< Pa
    double omega;        ///< acentric factor
    double shift = 0.0;  ///< volume translation over covolume; no part in phase equilibrium
};

enum class Equation { PengRobinson1976, PengRobinson1978, SoaveRedlichKwong };

/// A fluid: components, interaction parameters, feed.
struct Fluid {
    std::string name;
    std::vector<Component> components;
    std::vector<std::vector<double>> kij;  ///< square and symmetric, or empty for none
    std::vector<double> z;                 ///< sums to 1
    Equation equation = Equation::PengRobinson1978;

    std::size_t n() const { return components.size(); }
};

enum class Root { LeastGibbs, Low, High };

template <class Real>
struct Phase {
    Real Z = 0;
    std::vector<Real> ln_phi;  ///< with ln P: phi -> 1 as P -> 0
    Real gibbs = 0;            ///< sum x (ln x + ln phi): G/RT less the pure ideal gases at P
};

/// Real roots of Z^3 + c2 Z^2 + c1 Z + c0 by Cardano's formulas, each polished by Newton steps.
template <class Real>
std::vector<Real> cubic_roots(Real c2, Real c1, Real c0) {
    const Real shift = c2 / 3;
    const Real p = c1 - c2 * c2 / 3;
    const Real q = 2 * c2 * c2 * c2 / 27 - c2 * c1 / 3 + c0;
    const Real discriminant = q * q / 4 + p * p * p / 27;
    std::vector<Real> roots;
    if (discriminant > 0) {
        const Real root = std::sqrt(discriminant);
        const Real u = std::cbrt(q > 0 ? -q / 2 - root : -q / 2 + root);
        roots = {u - (u == 0 ? 0 : p / (3 * u)) - shift};
    } else {
        const Real r = std::sqrt(-p / 3);
        const Real cosine = r > 0 ? -q / (2 * r * r * r) : 0;
        const Real angle = std::acos(std::clamp<Real>(cosine, -1, 1)) / 3;
        for (int k = 0; k < 3; ++k)
            roots.push_back(2 * r * std::cos(angle - 2 * std::numbers::pi_v<Real> * k / 3) - shift);
    }
    for (Real& Z : roots)
        for (int step = 0; step < 4; ++step) {
            const Real slope = (3 * Z + 2 * c2) * Z + c1;
            if (slope != 0) Z -= (((Z + c2) * Z + c1) * Z + c0) / slope;
        }
    std::sort(roots.begin(), roots.end());
    return roots;
}

/// A fluid at one temperature.
template <class Real>
class Mixture {
public:
    Mixture(const Fluid& fluid, Real T)
        : peng_robinson_(fluid.equation != Equation::SoaveRedlichKwong),
          heavy_form_(fluid.equation == Equation::PengRobinson1978),
          n_(fluid.n()),
          a_(n_ * n_),
          b_(n_) {
        const Real R = Real(8314.472L);
        // Omega a and b from the critical conditions of each equation.
        const Real cube = std::cbrt(Real(2));
        const Real omega_a = peng_robinson_ ? Real(0.457235528921382145L) : 1 / (9 * (cube - 1));
        const Real omega_b = peng_robinson_ ? Real(0.0777960739038884598L) : (cube - 1) / 3;
        std::vector<Real> a(n_);
        for (std::size_t i = 0; i < n_; ++i) {
            const Component& c = fluid.components[i];
            const Real alpha_root =
                std::max<Real>(0, 1 + slope(c.omega) * (1 - std::sqrt(T / Real(c.Tc))));
            a[i] = omega_a * R * R * c.Tc * c.Tc / c.Pc * alpha_root * alpha_root;
            b_[i] = omega_b * R * c.Tc / c.Pc;
        }
        for (std::size_t i = 0; i < n_; ++i)
            for (std::size_t j = 0; j < n_; ++j) {
                const Real k = fluid.kij.empty() ? 0 : Real(fluid.kij[i][j]);
                a_[i * n_ + j] = (1 - k) * std::sqrt(a[i] * a[j]) / (R * T * R * T);
            }
        for (Real& b : b_) b /= R * T;
    }

    /// Phase of composition x (sums to 1) at P (Pa).
    void evaluate(Real P, std::span<const Real> x, Root wanted, Phase<Real>& phase) const {
        std::vector<Real> sums(n_, 0);
        Real a = 0, b = 0;
        for (std::size_t i = 0; i < n_; ++i) {
            for (std::size_t j = 0; j < n_; ++j) sums[i] += a_[i * n_ + j] * x[j];
            a += x[i] * sums[i];
            b += x[i] * b_[i];
        }
        const Real A = a * P, B = b * P;
        const std::vector<Real> roots = physical_roots(A, B);
        phase.ln_phi.resize(n_);
        const bool low_first = wanted != Root::High;
        set_phase(low_first ? roots.front() : roots.back(), A, B, a, b, sums, x, phase);
        if (wanted == Root::LeastGibbs && roots.size() > 1) {
            Phase<Real> other;
            other.ln_phi.resize(n_);
            set_phase(roots.back(), A, B, a, b, sums, x, other);
            if (other.gibbs < phase.gibbs) phase = std::move(other);
        }
    }
    Phase<Real> phase(Real P, std::span<const Real> x, Root wanted = Root::LeastGibbs) const {
        Phase<Real> result;
        evaluate(P, x, wanted, result);
        return result;
    }

    std::size_t n() const { return n_; }

private:
    Real slope(double acentric) const {
        const long double w = acentric;
        long double m = 0.37464L + 1.54226L * w - 0.26992L * w * w;
        if (heavy_form_ && acentric > 0.49)
            m = 0.379642L + 1.48503L * w - 0.164423L * w * w + 0.016666L * w * w * w;
        if (!peng_robinson_) m = 0.48L + 1.574L * w - 0.176L * w * w;
        return static_cast<Real>(m);
    }

    /// Lowest and highest root above B.
    std::vector<Real> physical_roots(Real A, Real B) const {
        const std::vector<Real> all =
            peng_robinson_ ? cubic_roots<Real>(B - 1, A - (3 * B + 2) * B, ((B + 1) * B - A) * B)
                           : cubic_roots<Real>(-1, A - B - B * B, -A * B);
        std::vector<Real> roots;
        for (Real Z : all)
            if (Z > B) roots.push_back(Z);
        if (roots.size() == 3) roots.erase(roots.begin() + 1);
        return roots;
    }

    void set_phase(Real Z, Real A, Real B, Real a, Real b, std::span<const Real> sums,
                   std::span<const Real> x, Phase<Real>& phase) const {
        const Real root2 = std::numbers::sqrt2_v<Real>;
        const Real attraction =
            peng_robinson_
                ? A / (2 * root2 * B) * std::log((Z + (1 + root2) * B) / (Z + (1 - root2) * B))
                : A / B * std::log1p(B / Z);
        phase.Z = Z;
        phase.gibbs = 0;
        for (std::size_t i = 0; i < n_; ++i) {
            phase.ln_phi[i] =
                b_[i] / b * (Z - 1) - std::log(Z - B) - attraction * (2 * sums[i] / a - b_[i] / b);
            if (x[i] > 0) phase.gibbs += x[i] * (std::log(x[i]) + phase.ln_phi[i]);
        }
    }

    bool peng_robinson_;
    bool heavy_form_;  ///< of the slope for large acentric factors
    std::size_t n_;
    std::vector<Real> a_;  ///< n*n, a_ij/(RT)^2, 1/Pa
    std::vector<Real> b_;  ///< b_i/(RT), 1/Pa
};

extern template class Mixture<double>;
extern template class Mixture<long double>;

}  // namespace textbook
