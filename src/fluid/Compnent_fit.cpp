// Fits of one component to the equation of state: acentric factor or boiling point from each
// other through the vapor pressure, volume translation or gravity through the liquid density.

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <typeinfo>

#include "equil/EOS.h"
#include "fluid/Charzation.h"
#include "fluid/Compnent.h"
#include "input/Units.h"

namespace kestrane {

namespace {

constexpr int ITERATION_LIMIT = 50;
constexpr double TOLERANCE = 96.0 * NUM_EPS;  ///< on ln of a vapor pressure
constexpr double LARGEST = std::numeric_limits<double>::max();
constexpr double LARGEST_FITTED_TRANSLATION = 0.99999;
constexpr double CLOSED_BRACKET = 5e-07;  ///< of acentric factors, beyond which nothing is gained

/// Z-factors of the liquid: with the component's own translation, and with a translation of 1.
struct LiquidZ {
    double own = UNSET;
    double at_one = UNSET;
    double P = 0.0;  ///< Pa, where they hold
};

/// One component alone, under the equation.
class PureFluid {
public:
    PureFluid(const EOS& eos, const Compnent& component) : eos_(eos) {
        charz_.add_component(component);
    }
    Compnent& component() { return charz_.comps.front(); }

    /// Vapor pressure (Pa) at T; not finite if the equation computes nothing.
    double vapor_pressure(double T) {
        return prepare(T) ? eos_.vapor_pressure(*record_) : std::nan("");
    }
    /// ln of the vapor pressure over one atmosphere.
    double excess(double T) { return std::log(vapor_pressure(T) / ATMOSPHERE); }

    /// Liquid at T and P, or at the vapor pressure if it boils there. UNSET if there is none.
    LiquidZ liquid(double T, double P) {
        LiquidZ z;
        z.P = P;
        if (!prepare(T)) return z;
        int root = 0, root_class = 0;
        eos_.set_pressure(*record_, P);
        eos_.solve_z(*record_, root, root_class);
        if (root > 0) {
            z.P = eos_.vapor_pressure(*record_);
            if (!(z.P > 0.0)) return z;  // the equation computes nothing
            eos_.set_pressure(*record_, z.P);
        }
        root = -1;
        eos_.solve_z(*record_, root, root_class);
        double high = 0.0;
        z.own = eos_.z_factor(*record_);
        eos_.raw_roots(*record_, z.at_one, high);
        return z;
    }

private:
    /// A record at T. Every trial changes the component, so none is kept.
    bool prepare(double T) {
        const PtrTo<EOS_T_Parms> t_parms = eos_.make_T_Parms(charz_, T);
        if (!t_parms) return false;
        record_ = eos_.make_C_Parms(t_parms, nullptr);
        if (!record_) return false;
        const double one = 1.0;
        eos_.set_composition(*record_, {&one, 1});
        return true;
    }

    const EOS& eos_;
    Charzation charz_;
    PtrTo<EOS_C_Parms> record_;
};

/// The acentric factor w at which the fluid boils at `tb`, by a bracketed secant. The vapor
/// pressure falls as w rises, though only up to where the equation's m(omega) has its maximum: a
/// boiling point beyond that cannot be met, and the search wanders off. Returns whether it was met
/// within TOLERANCE; if not, w is the best of the trials.
bool fit_acentric(PureFluid& fluid, double tb, double& w) {
    double w_last = 0.0, e_last = 0.0, e = 0.0;
    double lo = -LARGEST, hi = LARGEST;
    double best = 0.0, e_best = LARGEST;
    w = 0.0;
    for (int i = 0; i < ITERATION_LIMIT; ++i) {
        fluid.component().acentric = w;
        e = fluid.excess(tb);
        if (!std::isfinite(e)) break;
        if (std::abs(e) <= TOLERANCE) return true;
        if (std::abs(e) < e_best) {
            best = w;
            e_best = std::abs(e);
        }
        (e <= 0.0 ? hi : lo) = w;
        const double slope = w == w_last ? -1000.0 * std::abs(e) : (e - e_last) / (w - w_last);
        if (std::abs(slope) <= TOLERANCE) break;
        w_last = w;
        w -= e / slope;
        if (!(w > lo && w < hi)) {
            if (hi - lo < CLOSED_BRACKET) break;
            w = lo / 2.0 + hi / 2.0;
        }
        e_last = e;
    }
    w = best;
    return false;
}

/// The temperature at which the vapor pressure is one atmosphere, by a bracketed secant in ln T.
/// T is UNSET if the equation has no vapor pressure.
bool fit_boiling_point(PureFluid& fluid, double tc, double& T) {
    double T_last = tc, e_last = 0.0, e = 0.0;
    double lo = -LARGEST, hi = LARGEST;
    T = tc;
    for (int i = 0; i < ITERATION_LIMIT; ++i) {
        e = fluid.excess(T);
        if (!std::isfinite(e)) {
            T = UNSET;
            return false;
        }
        if (std::abs(e) <= TOLERANCE) return true;
        (e <= 0.0 ? lo : hi) = T;
        const double g = std::log(T / T_last);
        const double slope = g == 0.0 ? 1000.0 * std::abs(e) : (e - e_last) / g;
        T_last = T;
        T *= std::exp(-std::clamp(e / slope, -0.5, 0.5));
        if (!(T > lo && T < hi)) {
            T = std::sqrt(lo) * std::sqrt(hi);
            if (T == T_last || !std::isfinite(T)) {
                T = T_last;
                break;
            }
        }
        e_last = e;
    }
    return std::abs(e) <= TOLERANCE;
}

/// All numbers of a component.
constexpr double Compnent::*NUMBERS[] = {static_cast<double Compnent::*>(&Compnent::mw),
                                         static_cast<double Compnent::*>(&Compnent::tb),
                                         static_cast<double Compnent::*>(&Compnent::sg),
                                         static_cast<double Compnent::*>(&Compnent::lower_mw),
                                         static_cast<double Compnent::*>(&Compnent::lower_tb),
                                         static_cast<double Compnent::*>(&Compnent::lower_sg),
                                         static_cast<double Compnent::*>(&Compnent::ref_temp),
                                         static_cast<double Compnent::*>(&Compnent::ref_pres),
                                         &Compnent::tc,
                                         &Compnent::pc,
                                         &Compnent::acentric,
                                         &Compnent::vol_shift,
                                         &Compnent::zc,
                                         &Compnent::vc,
                                         &Compnent::visc_zc,
                                         &Compnent::visc_vc,
                                         &Compnent::parachor,
                                         &Compnent::a_mod,
                                         &Compnent::b_mod,
                                         &Compnent::omega_a,
                                         &Compnent::omega_b,
                                         &Compnent::ln_pc};
constexpr std::size_t NUMBER_COUNT = std::size(NUMBERS);
using Numbers = std::array<double, NUMBER_COUNT>;

Numbers numbers_of(const Compnent& component) {
    Numbers numbers;
    for (std::size_t i = 0; i < NUMBER_COUNT; ++i) numbers[i] = component.*NUMBERS[i];
    return numbers;
}

/// All that a fit depends on. Equations hold only what their class says and their constants.
struct FitQuestion {
    FitQuestion() = default;
    FitQuestion(const EOS& eos, const Compnent& component)
        : equation(&typeid(eos)),
          constants{eos.parameter("a"), eos.parameter("b"), standard_conditions().temperature.value,
                    standard_conditions().pressure.value},
          numbers(numbers_of(component)) {}

    /// Bit by bit: no two numbers that differ at all are taken for one.
    bool operator==(const FitQuestion& other) const {
        return equation == other.equation &&
               std::memcmp(constants.data(), other.constants.data(), sizeof constants) == 0 &&
               std::memcmp(numbers.data(), other.numbers.data(), sizeof numbers) == 0;
    }
    std::size_t hash() const {
        std::uint64_t h = 0;
        const auto mix = [&h](double value) {
            h = (std::rotl(h, 5) ^ std::bit_cast<std::uint64_t>(value)) * 0x9E3779B97F4A7C15U;
        };
        for (double value : constants) mix(value);
        for (double value : numbers) mix(value);
        return static_cast<std::size_t>(h >> 32);
    }

    const std::type_info* equation = nullptr;
    std::array<double, 4> constants{};
    Numbers numbers{};
};

/// A fit that was made before. A regression completes all components in every evaluation, of which
/// a variable changes few: those that it left alone are found here. Each question has one place,
/// the latest stays in it; what is found is what the fit would give again.
struct FitAnswer {
    FitQuestion question;
    Numbers numbers{};
};

FitAnswer& answer_place(const FitQuestion& question) {
    constexpr std::size_t PLACES = 512;
    static std::array<FitAnswer, PLACES> places;
    return places[question.hash() % PLACES];
}

int messages(const ErrorList& errors) {
    int sum = 0;
    for (const auto& entry : errors.entries) sum += entry->count;
    return sum;
}

}  // namespace

void Compnent::fit_to_eos(const EOS& eos, ErrorList& errors) {
    if (!(tc > 0.0 && pc > 0.0)) return;
    const FitQuestion question(eos, *this);
    FitAnswer& place = answer_place(question);
    if (place.question == question) {
        for (std::size_t i = 0; i < NUMBER_COUNT; ++i) this->*NUMBERS[i] = place.numbers[i];
        return;
    }
    const bool all_heard = errors.warnings_on && errors.errors_on;
    const int before = messages(errors);
    fit_anew(eos, errors);
    // A fit that complains is made again, since it has to complain again.
    if (all_heard && messages(errors) == before) place = {question, numbers_of(*this)};
}

void Compnent::fit_anew(const EOS& eos, ErrorList& errors) {
    fit_vapor_pressure(eos, errors);
    const bool need_vt = !translation_given(vol_shift) && sg > 0.0;
    const bool need_sg = translation_given(vol_shift) && sg <= 0.0;
    if (mw > 0.0 && acentric_given(acentric) && (need_vt || need_sg)) fit_density(eos, need_vt);
}

void Compnent::fit_vapor_pressure(const EOS& eos, ErrorList& errors) {
    PureFluid fluid(eos, *this);
    bool need_af = !acentric_given(acentric) && tb > 0.0;
    bool need_tb = acentric_given(acentric) && tb <= 0.0;
    if (need_af && (tb - tc) * (ATMOSPHERE - pc) <= 0.0) {
        errors.Fail("The boiling point of \"" + name.text() +
                    "\" was inconsistent with its critical properties");
        acentric = 0.0;
        tb = 0.0;
        need_af = false;
        need_tb = true;
    }
    if (need_af) need_tb = !fit_acentric(fluid, tb, acentric);
    if (!need_tb) return;
    fluid.component().acentric = acentric;
    double found = UNSET;
    const bool met = fit_boiling_point(fluid, tc, found);
    // Where the equation computes nothing, a boiling point that was given stays.
    if (found != UNSET || tb <= 0.0) tb = found;
    if (!met)
        errors.Warn("The boiling point of \"" + name.text() +
                    "\" could not be found with certainty");
}

/// Density is Q/Z with Q = mw P/(R T). The gravity kept refers to standard conditions.
void Compnent::fit_density(const EOS& eos, bool need_vt) {
    const StandardConditions& standard = standard_conditions();
    const double Ts = standard.temperature.value;
    const double Ps = standard.pressure.value;
    PureFluid fluid(eos, *this);
    const auto gravity_times_z = [&](double T, const LiquidZ& z) {
        return mw * z.P / (T * GAS_CONSTANT) / WATER_DENSITY;
    };
    const double T = need_vt && ref_temp > 0.0 ? ref_temp : Ts;
    const double P = need_vt && ref_pres >= 0.0 ? ref_pres : Ps;
    if (need_vt) {
        fluid.component().vol_shift = 0.0;
        const LiquidZ z = fluid.liquid(T, P);
        if (z.own == UNSET) return;
        vol_shift = (gravity_times_z(T, z) / sg - z.own) / (z.at_one - z.own);
        if (vol_shift >= LARGEST_TRANSLATION) vol_shift = LARGEST_FITTED_TRANSLATION;
        if (T == Ts && P == Ps) return;
        fluid.component().vol_shift = vol_shift;
        ref_temp = Ts;
        ref_pres = Ps;
    }
    const LiquidZ z = fluid.liquid(Ts, Ps);
    if (z.own != UNSET) sg = gravity_times_z(Ts, z) / z.own;
}

}  // namespace kestrane
