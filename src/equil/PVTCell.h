#pragma once

#include <span>
#include <string>
#include <vector>

#include "equil/EOS.h"
#include "equil/Tank.h"
#include "frame/ErrorList.h"
#include "frame/PtrTo.h"
#include "input/Units.h"

namespace kestrane {

struct SolverStore;

/// One phase of a cell: the feed, X (the heavier) or Y (the lighter).
struct PhaseState {
    double fraction = 1.0;  ///< mole fraction of the feed in this phase
    double z_factor = 1.0;
    double density = 0.0;  ///< kg/m3
    int root = 0;          ///< root code; hint on entry
    int root_class = 0;
    double* comps = nullptr;   ///< n mole fractions, not owned
    double* ln_phi = nullptr;  ///< n, not owned
    PtrTo<EOS_C_Parms> c_parms;
};

/// How two-phase calculations start (INIT2&).
enum InitPolicy : int {
    INIT_NEVER = 0,
    INIT_STABILITY = 1,
    INIT_WILSON = 2,
    INIT_PREVIOUS = 3,
    INIT_NEWTON = 4
};
/// When results are tested for stability (TEST1&, TEST2&).
enum TestPolicy : int { TEST_NEVER = 0, TEST_SUSPECTED = 1, TEST_TRIVIAL = 2, TEST_ALWAYS = 3 };

/// Gibbs energy of one mixture of feed and injection, per mole over RT.
struct MixtureEnergy {
    double injected = 0.0;  ///< mole fraction of the injection
    double low = 0.0;       ///< at the lower root of the cubic
    double high = 0.0;      ///< at the higher root; the same number where there is one root
    bool two_roots = false;
};

/// State of a cell that can be put back.
struct CellConditions {
    ValueWithUnit temperature, pressure, depth;
    double amount = 1.0;
    Tank feed{"feed"};
    double x_fraction = 1.0, y_fraction = 1.0;
    int phase_count = 0;
    std::vector<double> ln_k;
    unsigned long charz_serial = 0;  ///< of the characterization that ln_k belongs to
    int third_phase_position = 0;
};

class PVTCell;

/// Restores a cell's policies on leaving a scope.
class PolicyScope {
public:
    explicit PolicyScope(PVTCell& cell);
    ~PolicyScope();
    PolicyScope(const PolicyScope&) = delete;
    PolicyScope& operator=(const PolicyScope&) = delete;

private:
    PVTCell& cell_;
    int init_policy_, test1_, test2_, third_phase_severity_;
};

/// One end of the line on which a boundary is looked for; UNSET values are the cell's.
struct BoundaryLimit {
    ValueWithUnit temperature;  ///< K
    ValueWithUnit pressure;     ///< Pa
    PtrTo<Tank> mixture;        ///< null: the cell's feed
};

/// The simulated cell: a feed, a temperature, a pressure, and the phases found. Every calculation
/// prepares the feed, builds a short-lived EOSolver and leaves its results here.
class PVTCell {
public:
    /// The tanks are shared with the laboratory, which names them.
    PVTCell(PtrTo<Tank> feed_tank, PtrTo<Tank> liquid, PtrTo<Tank> vapor, PtrTo<Tank> nf_x,
            PtrTo<Tank> nf_y, PtrTo<ErrorList> error_list);

    /// Isothermal flash at the cell's temperature and pressure. Problems go to `errors`.
    void flash();
    /// One Rachford-Rice solution at the K-values in ln_k.
    void flash_with_k();
    /// Upper (sense > 0) or lower (sense < 0) saturation pressure at the cell's temperature; true
    /// if it was found. The cell is then at that pressure with the incipient phase beside the feed,
    /// otherwise at the pressure it had.
    bool saturation(int sense);
    /// Pressure where the tie-lines through the feed shrink to a point; true if the upper
    /// saturation pressure, where the search starts, was found.
    bool convergence_pressure();
    /// Pressure at which the feed as one component has two phases of equal fugacity.
    void vapor_pressure();
    /// Sets the temperature at which the feed as one component is critical.
    void critical_temperature();
    /// Sets the temperature sum(z Tc^2/Pc)/sum(z Tc/Pc).
    void average_critical_temperature();
    /// Moves the cell up (height > 0, m) or down in gravity at constant temperature; see
    /// EOSolver::segregate. Feed, pressure and depth follow. Contacts are crossed unless
    /// `stop_at_contact`: beyond one the phase on its far side is the feed.
    ///   policy  of the splits on the way (InitPolicy, INIT_STABILITY at most)
    /// False, with the cell at the last point reached, if the column could not be followed.
    bool segregate(double height, double damping, bool stop_at_contact, int policy);
    /// Finds the depth at which the fluid of the cell's column passes from oil to gas. True if
    /// there is one: the cell is then there, on the verge of two phases. Otherwise the cell is
    /// back at its reference, with a warning.
    bool gas_oil_contact(double damping, double& contact_depth);
    /// Finds where on the line from a to b the number of phases changes between one and more. The
    /// two states next to the boundary go to `near` (on a's side) and `far`; without a boundary
    /// these are a and b, and a warning says so. The cell is left in the near state.
    bool boundary(const BoundaryLimit& a, const BoundaryLimit& b, CellConditions& near,
                  CellConditions& far);
    /// Gibbs energies of mixtures of feed and injection at the cell's conditions: feed, injection,
    /// and points + 1 mixtures of i/points injection. Energies are sum x ln x + sum x ln phi, with
    /// the ln phi of EOS::ln_phi: they lack terms that are linear in composition. None for
    /// `points` < 1. The cell's feed is flashed.
    std::vector<MixtureEnergy> gibbs(Tank& injection, int points);
    /// The same for distances of the mixtures from the tangent plane at the feed.
    std::vector<MixtureEnergy> tangent(Tank& injection, int points);
    /// Restores the conditions and flashes from them; policies are put back afterwards.
    void restore_and_flash(const CellConditions& conditions, bool keep_init);

    CellConditions save() const;
    void restore(const CellConditions& conditions);

    /// Brings the feed and the phase tanks to the characterization; false if a FATAL ERROR stands.
    bool prepare();
    /// Converts, cleans and normalizes a tank with messages under `label`. The amount before
    /// normalization goes to `amount_before` if it is not null.
    bool prepare_stream(Tank* tank, const std::string& label, double* amount_before = nullptr);
    /// The cell's characterization from here on; K-values survive if it stays the same.
    void set_charz(Charzation* characterization);
    /// Adds the three-phase message to `errors` with the severity third_phase_severity, if a third
    /// phase is due.
    void report_third_phase();

    // What solvers leave in the cell.
    void forget_k();               ///< K = 1
    void copy_feed_to_phases();    ///< into all four phase tanks
    void point_phases_at_tanks();  ///< compositions of the phase states
    void give_up();                ///< one phase, K = 1, Z = 1, no density

    std::span<const double> moles_of(const Tank& tank) const { return tank.moles(); }

    Charzation* charz = nullptr;  ///< not owned
    PtrTo<ErrorList> errors;
    PtrTo<Tank> feed;
    PtrTo<Tank> eq_liquid, eq_vapor;  ///< equilibrium phases; the feed when there is one phase
    PtrTo<Tank> nf_liquid, nf_vapor;  ///< tie-line phases, kept for a negative flash
    ValueWithUnit temperature;        ///< K
    ValueWithUnit pressure;           ///< Pa
    ValueWithUnit depth;              ///< m
    PhaseState feed_state, x_state, y_state;
    std::vector<double> feed_fractions;
    std::vector<double> ln_k, k;
    double amount = 1.0;  ///< scaled as the feed is by every normalization
    int n = 0;
    int phase_count = 0;  ///< 0 one phase by a single root, 1 one phase by choice of root or
                          ///< negative flash, 2 two phases, 3 a third phase is due
    int third_phase_position = 0;  ///< 0, or 1 lighter, 2 intermediate, 3 heavier
    int eos_evaluations = 0;       ///< ln phi evaluations of the last calculation
    int init_policy = INIT_PREVIOUS;
    int current_init = INIT_PREVIOUS;
    int test1 = TEST_SUSPECTED;
    int test2 = TEST_SUSPECTED;
    int third_phase_severity = WARNING;

    unsigned long charz_serial = 0;   ///< of the characterization that ln_k belongs to
    PtrTo<SolverStore> solver_store;  ///< kept by solvers between calculations; null at first

private:
    bool has_reference_pressure();
    bool follow_column(double height, double damping, bool stop_at_contact, int policy);
    std::vector<MixtureEnergy> energies(Tank& injection, int points, bool tangent);
};

}  // namespace kestrane
