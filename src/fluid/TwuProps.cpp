#include <algorithm>
#include <cmath>
#include <limits>

#include "equil/EOS.h"
#include "fluid/Correlations.h"
#include "input/Units.h"

namespace kestrane {
namespace {

constexpr int NEWTON_CAP = 50;
constexpr int SOLVE_CAP = 50;
constexpr double GRAVITY_NOISE = 1e-12;  ///< round-off of a paraffin's gravity, with a margin
constexpr double LARGEST = std::numeric_limits<double>::max();

const Units& rankine() {
    static const Units& unit = unit_of(UnitKind::AbsoluteTemperature, "R");
    return unit;
}
const Units& psia() {
    static const Units& unit = unit_of(UnitKind::AbsolutePressure, "psia");
    return unit;
}
const Units& ft3_per_lbmol() {
    static const Units& unit = unit_of(UnitKind::MolarVolume, "ft3/lbmol");
    return unit;
}

/// A point of the normal paraffins' boiling curve.
struct BoilingPoint {
    double tb = UNSET;     ///< R
    double slope = UNSET;  ///< dTb/dtheta, R
};

/// Boiling point of the normal paraffin with ln MW = theta. False if there is none.
bool tb_of_theta(double theta, BoilingPoint& point) {
    if (!(theta > 0.0)) return false;
    const double u = 1.0 / theta;
    const double exponent =
        5.71419 + 2.71579 * theta - 0.28659 * theta * theta - 39.8544 * u - 0.122488 * u * u;
    static const double smallest = std::log(std::numeric_limits<double>::min());
    const double E = exponent < smallest ? 0.0 : std::exp(exponent);
    point.tb = E - 24.7522 * theta + 35.3155 * theta * theta;
    point.slope = 70.631 * theta - 24.7522;
    // Beyond the range of doubles 1/theta^3 may overflow while E is 0.
    if (E > 0.0)
        point.slope += E * (2.71579 - 0.57318 * theta + 39.8544 * u * u + 0.244976 * u * u * u);
    return point.tb > 0.0;
}

/// Solves tb_of_theta(theta) = tb [R] by Newton's method within a closing bracket.
double theta_of_tb(double tb) {
    const double tolerance = tb * NUM_EPS;
    double theta = std::sqrt(tb / 35.3155);
    double lower = 0.0;
    double upper = LARGEST;
    for (int round = 0; round < NEWTON_CAP; ++round) {
        BoilingPoint point;
        double next = 0.0;
        if (!tb_of_theta(theta, point)) {
            lower = theta;
            next = 2.0 * theta;
        } else {
            const double e = point.tb - tb;
            if (std::abs(e) <= tolerance || std::abs(e) <= point.slope * theta * NUM_EPS) break;
            (e > 0.0 ? upper : lower) = theta;
            next = theta - e / point.slope;
        }
        if (!(next > lower && next < upper)) next = lower + 0.5 * (upper - lower);
        theta = next;
    }
    return theta;
}

/// The square of (1 + g)/(1 - g), by which a property departs from the normal paraffin's; UNSET
/// outside |g| < 1, where the perturbation has no meaning.
double departure(double g) {
    if (!(std::abs(g) < 1.0)) return UNSET;
    const double ratio = (1.0 + g) / (1.0 - g);
    return ratio * ratio;
}

}  // namespace

void TwuProps::reset() {
    *this = TwuProps{};
}

void TwuProps::reset_gravity() {
    sg_ = ln_mw_ = tc_ = pc_ = vc_ = zc_ = UNSET;
}

/// Properties of the normal paraffin with the present boiling point, once.
void TwuProps::paraffin() {
    if (alpha_ != UNSET || !(tb_ > 0.0)) return;
    const double a = 0.466728 - 0.000191017 * tb_ - 7.79681e-08 * tb_ * tb_ +
                     2.84376e-11 * tb_ * tb_ * tb_ - 9.59468e+27 / std::pow(tb_, 13);
    alpha_ = a;
    const double a3 = a * a * a;
    const double a12 = a3 * a3 * a3 * a3;
    const double gravity = 0.843593 - 0.128624 * a - 3.36159 * a3 - 13749.5 * a12;
    if (std::isfinite(gravity) && gravity > 0.0) sg0_ = gravity;
    // alpha is 1 - Tb/Tc: outside 0 to 1 there is no critical point, and none of its properties.
    if (!(a >= 0.0 && a < 1.0)) return;
    tc0_ = tb_ / (1.0 - a);
    const double root =
        3.83354 + 1.19629 * std::sqrt(a) + 34.8888 * a + 36.1952 * a * a + 104.193 * a * a * a * a;
    pc0_ = root * root;
    vc0_ = std::pow(0.580131 + 0.505839 * a + 1.56436 * a3 + 9481.7 * a12 * a * a, -8);
}

bool TwuProps::set_tb(double tb_kelvin) {
    const double tb = tb_kelvin == UNSET ? UNSET : rankine().print(tb_kelvin);
    if (tb == tb_) return tb_ > 0.0;
    reset();
    if (!(tb > 0.0) || !std::isfinite(tb)) return false;
    theta_ = theta_of_tb(tb);
    tb_ = tb;
    inv_root_tb_ = 1.0 / std::sqrt(tb);
    return true;
}

/// Makes the present boiling point that of the normal paraffin with ln MW = theta.
bool TwuProps::set_theta(double theta) {
    reset();
    BoilingPoint point;
    if (!tb_of_theta(theta, point) || !std::isfinite(point.tb)) return false;
    tb_ = point.tb;
    theta_ = theta;
    inv_root_tb_ = 1.0 / std::sqrt(tb_);
    return true;
}

bool TwuProps::set_sg(double sg) {
    if (sg != sg_) reset_gravity();
    if (sg > 0.0) {
        sg_ = sg;
    } else {
        ln_mw_ = theta_;
        sg_ = paraffin_sg();
    }
    return sg_ > 0.0;
}

bool TwuProps::set_tb_sg(double tb_kelvin, double sg) {
    return set_tb(tb_kelvin) && set_sg(sg);
}

bool TwuProps::set_ln_mw(double ln_mw) {
    if (!(tb_ > 0.0) || !(theta_ > 0.0)) return false;
    const double L = ln_mw > 0.0 ? ln_mw : theta_;
    if (L != ln_mw_) reset_gravity();
    ln_mw_ = L;
    const double sg0 = paraffin_sg();
    if (sg0 == UNSET) return false;
    if (L == theta_) {
        sg_ = sg0;
        return true;
    }
    // The perturbation of ln MW is quadratic in x = exp(5 (sg0 - sg)) - 1: a x^2 - 2 b x + c = 0.
    const double v = inv_root_tb_;
    const double a = 0.0351382 - 0.386336 * v;
    const double b = std::abs(0.012342 - 0.328086 * v);
    const double w = std::sqrt(L / theta_);
    const double c = (w - 1.0) / (w + 1.0);
    const double D = b * b - a * c;
    double s = 0.0;
    if (D <= 0.0)
        s = a == 0.0 ? 0.0 : b / a + 1.0;  // the molecular weight is out of reach: the nearest
    else
        s = c / (b + std::sqrt(D)) + 1.0;
    sg_ = s > 0.0 ? sg0 - 0.2 * std::log(s) : UNSET;
    if (!(sg_ > 0.0)) sg_ = UNSET;
    return sg_ > 0.0;
}

bool TwuProps::set_tb_ln_mw(double tb_kelvin, double ln_mw) {
    return set_tb(tb_kelvin) && set_ln_mw(ln_mw);
}

bool TwuProps::solve(double ln_mw, double sg) {
    if (ln_mw == ln_mw_ && sg == sg_) return tb_ > 0.0;
    reset();
    if (ln_mw <= 0.0 && sg <= 0.0) return false;
    if (iterate(ln_mw, sg) || (ln_mw <= 0.0 && seek_paraffin(sg))) return true;
    reset();
    return false;
}

/// Accelerated substitution for the normal paraffin's ln MW.
bool TwuProps::iterate(double ln_mw, double sg) {
    double theta = ln_mw > 0.0 ? ln_mw : 5.0;
    double acceleration = 1.0;
    double previous = 0.0;
    for (int round = 0; round < SOLVE_CAP; ++round) {
        // Very light paraffins have a boiling point, but no gravity.
        if (!set_theta(theta) || (!set_sg(sg) && sg > 0.0) || !(this->ln_mw() > 0.0)) break;
        const double e = ln_mw_ - (ln_mw > 0.0 ? ln_mw : theta);
        if (std::abs(e) <= theta * NUM_EPS) return true;
        const double r = previous / e;
        acceleration = r > 1.0 ? acceleration * r / (r - 1.0) : 1.0;
        theta -= e * acceleration;
        previous = e;
    }
    return false;
}

/// The normal paraffin of gravity `sg`, by bisection. Substitution misses it where the departure of
/// ln MW has a second zero between the paraffin and the start: for gravities below about 0.78.
bool TwuProps::seek_paraffin(double sg) {
    // The gravity rises with ln MW from a little above methane up to about C150, where alpha is 0.
    double lower = 2.9;
    double upper = 7.7;
    while (true) {
        const double theta = 0.5 * (lower + upper);
        const bool closed = !(theta > lower && theta < upper);
        const double gravity = set_theta(theta) ? paraffin_sg() : UNSET;
        if (closed) {
            // At the ends of the range the gravity is not met.
            if (!(std::abs(gravity - sg) <= GRAVITY_NOISE)) return false;
            ln_mw_ = theta;
            sg_ = sg;
            return true;
        }
        (gravity < sg ? lower : upper) = theta;
    }
}

double TwuProps::tb() const {
    return tb_ == UNSET ? UNSET : rankine().to_base(tb_);
}

double TwuProps::paraffin_sg() {
    paraffin();
    return sg0_;
}

double TwuProps::ln_mw() {
    if (ln_mw_ != UNSET) return ln_mw_;
    if (!(tb_ > 0.0) || !(sg_ > 0.0) || !(theta_ > 0.0) || paraffin_sg() == UNSET) return UNSET;
    const double v = inv_root_tb_;
    const double x = std::expm1(5.0 * (sg0_ - sg_));
    const double g = 2.0 * x * (std::abs(0.328086 * v - 0.012342) + (0.193168 * v - 0.0175691) * x);
    if (!(std::abs(g) < 1.0)) return UNSET;
    const double d = correlation_state().twu_damping;
    return ln_mw_ = theta_ * (1.0 + 4.0 * d * g / ((1.0 - g) * (1.0 - g)));
}

double TwuProps::tc() {
    if (tc_ == UNSET && tb_ > 0.0 && sg_ > 0.0 && paraffin_sg() != UNSET && tc0_ != UNSET) {
        const double v = inv_root_tb_;
        const double x = std::expm1(5.0 * (sg0_ - sg_));
        const double factor = departure(2.0 * x * (-0.362456 * v + (0.0398285 - 0.948125 * v) * x));
        if (factor != UNSET) tc_ = tc0_ * factor;
    }
    return tc_ == UNSET ? UNSET : rankine().to_base(tc_);
}

double TwuProps::vc() {
    if (vc_ == UNSET && tb_ > 0.0 && sg_ > 0.0 && paraffin_sg() != UNSET && vc0_ != UNSET) {
        const double v = inv_root_tb_;
        const double x = std::expm1(4.0 * (sg0_ * sg0_ - sg_ * sg_));
        const double factor = departure(2.0 * x * (0.46659 * v + (3.01721 * v - 0.182421) * x));
        if (factor != UNSET) vc_ = vc0_ * factor;
    }
    return vc_ == UNSET ? UNSET : ft3_per_lbmol().to_base(vc_);
}

double TwuProps::pc() {
    if (pc_ == UNSET && tc() > 0.0 && vc() > 0.0) {
        const double v = inv_root_tb_;
        const double x = std::expm1(0.5 * (sg0_ - sg_));
        const double factor = departure(2.0 * x *
                                        ((2.53262 - 46.1955 * v - 0.00127885 * tb_) +
                                         (-11.4277 + 252.14 * v + 0.00230535 * tb_) * x));
        if (factor != UNSET) pc_ = pc0_ * (tc_ / tc0_) * (vc0_ / vc_) * factor;
    }
    return pc_ == UNSET ? UNSET : psia().to_base(pc_);
}

double TwuProps::zc() {
    if (zc_ == UNSET && pc() > 0.0) zc_ = pc() * vc() / (GAS_CONSTANT * tc());
    return zc_;
}

double twu_paraffin_sg_of_tb(double tb_kelvin) {
    TwuProps twu;
    return twu.set_tb(tb_kelvin) ? twu.paraffin_sg() : UNSET;
}

double twu_paraffin_sg_of_ln_mw(double ln_mw) {
    TwuProps twu;
    return ln_mw > 0.0 && twu.solve(ln_mw, UNSET) ? twu.sg() : UNSET;
}

double twu_paraffin_tb_of_ln_mw(double ln_mw) {
    TwuProps twu;
    return ln_mw > 0.0 && twu.solve(ln_mw, UNSET) ? twu.tb() : UNSET;
}

}  // namespace kestrane
