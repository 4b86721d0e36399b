#pragma once

#include <array>
#include <span>
#include <utility>

#include "equil/EOS.h"
#include "equil/Numerics.h"
#include "equil/PVTCell.h"
#include "equil/Saturation.h"
#include "equil/SolverStats.h"
#include "equil/WorkStack.h"
#include "frame/ErrorList.h"

namespace kestrane {

/// What a cell keeps for its solvers from one calculation to the next: phase records and arrays.
/// It belongs to one characterization, equation and number of components.
struct SolverStore {
    PtrTo<const EOS> eos;
    unsigned long charz_serial = 0;
    std::size_t n = 0;
    PtrTo<EOS_C_Parms> feed, x, y, trial;  ///< null under an equation that computes nothing
    std::vector<double> arrays;            ///< ARRAYS n: compositions, ln phi, Wilson ln K
    WorkStack work;

    static constexpr std::size_t ARRAYS = 8;
    std::span<double> array(std::size_t index) { return std::span(arrays).subspan(index * n, n); }
};

/// Trial phases of the stability tests; bits of the flags that say which are still due.
enum Trial : int {
    TRIAL_VAPOR = 1,    ///< from Wilson's K, lighter than the lightest phase
    TRIAL_LIQUID = 2,   ///< from Wilson's K, heavier than the heaviest phase
    TRIAL_BETWEEN = 4,  ///< part of the way along a tie-line
    TRIAL_PURE = 8,     ///< made of one component for the most
    TRIAL_ROOT = 16,    ///< like the feed, on the other root of its cubic
};

/// A stationary point of the tangent plane distance of the feed.
struct StationaryPoint {
    std::span<double> ln_k;  ///< n: ln of trial composition over feed
    double g = 0.0;          ///< tangent distance over sum |t - z|
    bool active = true;      ///< not yet used
};

/// The stationary points found for one feed, and the trials not yet made.
struct StationaryList {
    StationaryList(WorkStack& work, std::size_t n);
    /// Keeps a point, unless one like it (within SPREAD_TRIVIAL) is held. LogicError for a fifth.
    void append(std::span<const double> ln_k, double g);
    /// Index of the active entry of smallest g, the first of equals; `count` if there is none.
    std::size_t best() const;
    void clear();

    static constexpr std::size_t CAPACITY = 4;
    static constexpr int ALL_TRIALS = TRIAL_VAPOR | TRIAL_LIQUID | TRIAL_PURE | TRIAL_ROOT;
    int flags = ALL_TRIALS;  ///< trials still due
    std::size_t count = 0;
    std::size_t nonnegative = 0;  ///< entries with g >= 0
    std::array<StationaryPoint, CAPACITY> points;
};

/// A short-lived worker for one calculation on a cell, at the cell's temperature and pressure. It
/// reads the cell's state, does the work and writes the results back; problems go to the cell's
/// error list. What outlives it are the cell's phases and K-values, and the run-wide counters.
///
/// X is phase "liquid", Y phase "vapor", K = y/x. Phase fractions outside [0, 1] (negative flash)
/// are legal everywhere until the results are published.
class EOSolver {
public:
    /// The cell must have been prepared. Allocates only when the cell's characterization, equation
    /// or number of components has changed, or its temperature is new.
    explicit EOSolver(PVTCell& cell);
    EOSolver(const EOSolver&) = delete;
    EOSolver& operator=(const EOSolver&) = delete;

    // Whole calculations, each with its checks and its finish.
    /// Phases at the cell's temperature and pressure.
    void flash();
    /// One Rachford-Rice solution at the cell's ln K.
    void flash_with_k();
    /// Upper (sense > 0) or lower (sense < 0) saturation pressure at the cell's temperature. The
    /// cell's pressure is where the search starts; without one it starts near the vapor pressure of
    /// the feed taken as one component. True if it was found: the cell is then at that pressure,
    /// with the incipient phase beside the feed. Otherwise the cell stays at its pressure. A feed
    /// of one component gets its vapor pressure.
    bool saturation(int sense);
    /// Where the K-values of the tie-lines through the feed meet at one, by negative flashes from
    /// the upper saturation pressure on. True if that saturation pressure was found.
    bool convergence_pressure();
    /// Vapor pressure of the feed taken as one component.
    void vapor_pressure();
    /// The temperature at which the feed taken as one component is critical, from a search that
    /// starts at the cell's.
    void critical_temperature();
    /// The temperature sum(z Tc^2/Pc)/sum(z Tc/Pc).
    void average_critical_temperature();

    // What calculations are made of.
    /// Feed fractions z = (w_feed feed + w_injection injection)/(w_feed + w_injection).
    void set_feed(const Tank* injection, double w_feed, double w_injection);
    /// FATAL ERROR unless T > 0.
    bool check_temperature();
    /// FATAL ERROR for P < 0, and for P = 0 if `strict`. Without `strict` P = 0 means one phase.
    bool check_pressure(bool strict);
    /// Puts the cell's temperature and pressure into all phase records. False if the equation
    /// computes nothing.
    bool set_conditions();
    /// Composition, roots and ln phi of a phase; `root` of the phase is replaced.
    void evaluate(PhaseState& phase, int hint);
    /// Roots and Z of the feed, without ln phi.
    void solve_feed();
    /// ln K of Wilson's correlation at the cell's T and P, stretched to a spread of 10 to 50. Kept
    /// as long as T stays the same. No second phase is looked for if all components are alike.
    void wilson();
    /// Two-phase split from the cell's ln K. False if it ended trivial. `G` out: Gibbs energy of
    /// the split less that of the feed, over RT, per mole of feed.
    bool split(double& G);
    /// Stability test of the tie-line (x, y), or of one phase given twice, against a trial phase.
    ///   ln_k0  in      n  ln(y/x), empty for one phase
    ///   trial  in/out     root in: +1 vapor-like, -1 liquid-like
    ///   w      in/out  n  ln(trial/x), an estimate in
    ///   g      out        tangent distance over sum |t - x|; negative for an unstable reference
    /// False if the trial became the reference itself, or went out of range.
    bool test(const PhaseState& x, const PhaseState& y, std::span<const double> ln_k0,
              PhaseState& trial, std::span<double> w, double& g, bool swap_allowed);
    /// A test that starts part of the way along the tie-line `ln_k`.
    bool test_from_fraction(const PhaseState& x, const PhaseState& y, PhaseState& trial,
                            std::span<const double> ln_k, std::span<double> w, double& g,
                            bool swap_allowed);
    /// Next stationary point of the feed, the lowest first; its ln K go to the cell.
    bool next_stationary_point(StationaryList& list, double& g);
    /// 0 if no trial makes the tie-line unstable; otherwise 1 for a trial lighter than both phases,
    /// 2 for one between them, 3 for one heavier than both. Bits of `flags` (Trial) are cleared as
    /// their trials are made.
    int third_phase_test(const PhaseState& x, const PhaseState& y, std::span<const double> ln_k,
                         PhaseState& trial, std::span<double> w, int& flags, bool swap_allowed);
    /// A feed in equilibrium with an incipient phase, by Newton's method from the cell's pressure.
    ///   trial  in/out     incipient phase
    ///   ln_k   in/out  n  ln(trial/feed), an estimate in
    ///   sense  in         +1: the feed is stable above the pressure sought, -1: below
    ///   least  in         spread of ln K below which the trial has become the feed
    /// Returns a SaturationEnd, times `sense` for a pressure found. That goes to the cell.
    int saturation_newton(PhaseState& trial, std::span<double> ln_k, int sense,
                          double least = SPREAD_TRIVIAL);
    /// A feed in equilibrium with an incipient phase that is all but the feed, by the critical
    /// point's series, from the cell's pressure.
    ///   ln_k   out  n  ln(incipient/feed)
    ///   sense  in      as above
    /// True if one was found near by; its pressure goes to the cell.
    bool saturation_near_critical(std::span<double> ln_k, int sense);
    /// Moves the fluid of a cell just flashed up (height > 0, m) or down in gravity at constant
    /// temperature: composition and pressure of the feed, and the phases there. A cell of two
    /// phases goes on from the lighter one upward and from the heavier one downward.
    ///   damping          1 equilibrium of all components with height, 0 constant composition
    ///   stop_at_contact  ends the column where a second phase appears
    ///   height_done out  less than `height` where the column ended at a contact, which it does too
    ///                    if damping is not 1, or failed
    /// False, with a warning, if the column could not be followed farther.
    bool segregate(double height, double damping, bool stop_at_contact, double& height_done);
    /// Gibbs energies at both roots of mixtures of the feed with an injection, or distances from
    /// the tangent at the feed: feed, injection, and i/points of injection. See PVTCell::gibbs.
    void mixture_energies(const Tank& injection, int points, bool tangent,
                          std::vector<MixtureEnergy>& rows);
    /// Writes phases and K-values into the cell after a flash.
    void publish(bool two_phase);
    /// Ends every calculation; if not `ok` the cell is left with one phase and K = 1.
    void finish(bool ok);

    PhaseState& feed() { return feed_; }
    PhaseState& x() { return x_; }
    PhaseState& y() { return y_; }
    PhaseState& trial() { return trial_; }
    WorkStack& work() { return store_->work; }
    std::span<double> wilson_ln_k() { return store_->array(7); }
    double pseudo_critical_temperature() const { return pseudo_critical_T_; }  ///< K
    int test1_now = TEST_SUSPECTED;  ///< TEST1, raised by what is met on the way
    int test2_now = TEST_SUSPECTED;

private:
    struct SplitState;
    struct TestState;
    struct FlashState;
    struct SavedSplit;
    struct NewtonState;
    struct SaturationState;
    struct CriticalState;
    struct ConvergenceState;
    struct GravityNewton;
    struct Column;

    void bind_store();
    void bind_phases();
    std::span<double> ln_k();
    std::span<double> k();
    std::span<const double> z() const;
    std::span<double> comps(const PhaseState& phase) const { return {phase.comps, n_}; }
    std::span<double> ln_phi(const PhaseState& phase) const { return {phase.ln_phi, n_}; }
    double density(const PhaseState& phase) const;
    void raise_tests();

    // split
    void split_begin(SplitState& s);
    bool split_trial(SplitState& s);
    void split_rachford_rice(SplitState& s);
    void split_tangent_distances(SplitState& s);
    void split_residuals(SplitState& s);
    bool split_collapses(const SplitState& s) const;
    void split_collapse(SplitState& s);
    void split_choose_step(SplitState& s);
    void split_derivatives(SplitState& s);
    int split_newton_or_tie_line(SplitState& s);
    int split_newton(SplitState& s);
    void split_newton_constraint(SplitState& s);
    void split_tie_line(SplitState& s);
    void split_substitution(SplitState& s);
    void split_accelerate(SplitState& s);
    void split_limit(SplitState& s);
    void split_advance(SplitState& s);
    bool split_end(SplitState& s, double& G);

    // stability test
    bool test_trial(TestState& s);
    void test_spreads(TestState& s);
    void test_evaluate(TestState& s);
    double test_compose(TestState& s);
    bool test_root_stands(TestState& s);
    bool test_newton(TestState& s);
    void test_substitution(TestState& s);
    void test_limit(TestState& s);
    void test_advance(TestState& s);
    bool test_end(TestState& s, double& g);
    void stationary_pass(StationaryList& list, bool vapor_like);
    void too_many_points(const StationaryList& list);
    void other_root_pass(StationaryList& list);
    void pure_component_pass(StationaryList& list);
    bool is_unlike(std::size_t i, const PhaseState& phase) const;
    bool pure_component_test(const PhaseState& x, const PhaseState& y, std::span<const double> ln_k,
                             PhaseState& trial, std::span<double> w, double& g, bool swap_allowed,
                             bool all);
    void pure_phase_nearness(const PhaseState& x, PhaseState& trial, std::span<double> nearness,
                             bool all);

    // flash
    void flash_driver();
    void flash_search(FlashState& s);
    bool flash_goes_on(FlashState& s);
    int far_side_trials() const;
    bool further_phase_is_due();
    void check_third_phase(double G);
    bool third_phase_splits(SavedSplit& saved, std::span<double> w, double& G);
    void save_split(SavedSplit& saved) const;
    void restore_split(const SavedSplit& saved);
    void split_at_given_k();
    void publish_at_given_k(double lowest, double highest);
    void publish_one_phase();
    void publish_two_phases();

    // saturation pressures: the Newton iteration
    bool newton_trial(NewtonState& s);
    void newton_evaluate(NewtonState& s);
    bool newton_converged(NewtonState& s);
    bool newton_is_stuck_at_limit(const NewtonState& s) const;
    bool newton_step(NewtonState& s);
    void newton_pressure_step(NewtonState& s) const;
    void newton_substitution(NewtonState& s);
    void newton_limit(NewtonState& s) const;
    void newton_advance(NewtonState& s) const;
    int newton_end(NewtonState& s, bool converged);

    // saturation pressures: next to a critical point
    double least_curvature_pressure();
    void critical_begin(CriticalState& s);
    double critical_ln_k(const CriticalState& s, std::span<double> w) const;
    bool critical_newton(const CriticalState& s, std::span<double> w, int sense);
    bool critical_pressure(CriticalState& s, int sense);
    bool critical_expand(CriticalState& s);
    bool critical_curve(CriticalState& s, double h);
    bool critical_derivatives(CriticalState& s, double h);
    bool critical_direction(CriticalState& s);
    bool critical_gradient(CriticalState& s);

    // saturation pressures: the search
    void saturation_of_one_component(SaturationState& s, double P0);
    void saturation_search(SaturationState& s);
    void set_phase_pressures(double P);
    void saturation_at(SaturationState& s, double P);
    bool saturation_probe(SaturationState& s, double P);
    bool saturation_contact(SaturationState& s, double P, int sense);
    void saturation_first_contact(SaturationState& s);
    bool saturation_far_side(SaturationState& s, double P);
    void saturation_scan(SaturationState& s, double start);
    bool saturation_scan_from(SaturationState& s, double start, double factor,
                              std::pair<double, double> bounds);
    bool saturation_approach(SaturationState& s);
    bool saturation_critical_contact(SaturationState& s);
    bool saturation_pure_contact(SaturationState& s);
    void saturation_keep(SaturationState& s, bool proved);
    bool saturation_is_unstable_outside(SaturationState& s);
    void saturation_publish(SaturationState& s);
    void saturation_withdraw(SaturationState& s, double P0);
    void saturation_messages(const SaturationState& s);
    void warn_of_no_two_phase_pressure(int sense);

    // gravity: the Newton iteration of a step
    int gravity_newton(GravityNewton& s);
    void gravity_target(GravityNewton& s, double height);
    void gravity_first_pressure(GravityNewton& s, double height) const;
    bool gravity_trial(GravityNewton& s);
    bool gravity_compose(GravityNewton& s);
    void gravity_evaluate(GravityNewton& s);
    bool gravity_converged(GravityNewton& s) const;
    void gravity_pressure_step(GravityNewton& s) const;
    bool gravity_newton_step(GravityNewton& s);
    void gravity_substitution(GravityNewton& s);
    void gravity_limit(GravityNewton& s) const;

    // gravity: the column
    void column_begin(Column& c, double height);
    bool column_cannot_leave(const Column& c) const;
    bool column_direct(Column& c);
    void column_across_verge(Column& c);
    void column_follow(Column& c);
    int column_step(Column& c, double step, const PhaseState* from);
    void column_split(Column& c);
    void column_accept(Column& c, double step);
    void column_return(Column& c);
    bool column_is_continuous(const Column& c) const;
    bool column_at_verge() const;
    void column_search(Column& c, double step);
    void column_publish_verge(const Column& c);
    void column_warn(const Column& c);

    // the feed as one component; convergence pressures
    double one_component_pressure();
    void publish_vapor_pressure(double P, double P_before);
    bool is_below_critical(double T);
    double search_critical_temperature(double T);
    void convergence_save(ConvergenceState& s);
    void convergence_publish(const ConvergenceState& s);
    bool convergence_split(const ConvergenceState& s, double P);
    bool convergence_search(ConvergenceState& s);

    PVTCell& cell_;
    ErrorList& errors_;
    Charzation& charz_;
    const EOS& eos_;
    SolverStore* store_ = nullptr;
    std::size_t n_;
    PtrTo<const EOS_T_Parms> t_parms_;
    PhaseState feed_, x_, y_, trial_;
    double wilson_T_ = UNSET;         ///< K, of the cached Wilson ln K
    double pseudo_critical_T_ = 0.0;  ///< K
};

}  // namespace kestrane
