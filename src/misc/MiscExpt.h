#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "frame/ErrorList.h"
#include "lab/EOSLab.h"
#include "misc/KeyTieLines.h"

namespace kestrane {

/// How a displacement becomes miscible; the numbers order the labels.
enum Mechanism : int {
    IMMISCIBLE = 0,
    VAPORIZING = 1,    ///< the tie-line through the oil vanishes
    CONDENSING = 2,    ///< the tie-line through the injected fluid vanishes
    COND_VAP = 3,      ///< a tie-line between these two vanishes
    FIRST_CONTACT = 4  ///< every mixture of the two is one phase
};
const char* mechanism_label(int mechanism);  ///< "VGD"
const char* mechanism_name(int mechanism);   ///< "Vaporizing Gas Drive Miscibility"

/// Contacts of a chain and cells of a row unless CELLS says otherwise: minimum miscibility
/// pressures are then within 1 % of their limit for many cells (doc/numerics.md).
inline constexpr int DEFAULT_CELLS = 200;
inline constexpr int MOST_CELLS = 2000;

/// What a script says of a miscibility calculation.
struct Misc_Input {
    std::string id;
    std::vector<std::string> fluids;  ///< injected; for an enrichment the lean one first
    int cells = DEFAULT_CELLS;
    ValueWithUnit measured;  ///< UNSET or not above 0: nothing measured
    double weight = 1.0;     ///< of the residual
};

/// Puts the cell's conditions, feed, K-values and policies back at the end of a scope.
class CellScope {
public:
    explicit CellScope(PVTCell& cell);
    ~CellScope();
    CellScope(const CellScope&) = delete;
    CellScope& operator=(const CellScope&) = delete;

private:
    const PolicyScope policies_;
    PVTCell& cell_;
    CellConditions saved_;
};

/// Sets the cell's start policy and the least test of one-phase results for a scope.
class TrialPolicies {
public:
    TrialPolicies(PVTCell& cell, int init_policy);

private:
    const PolicyScope policies_;
};

/// Keeps the messages that stand before a search apart from those of its trials, which are reported
/// and dropped one by one.
class MessagesAside {
public:
    explicit MessagesAside(ErrorList& errors) : errors_(errors), before_(errors) {
        errors_.Clear();
    }
    ~MessagesAside() {
        if (errors_.usable()) errors_ = before_;
    }
    MessagesAside(const MessagesAside&) = delete;
    MessagesAside& operator=(const MessagesAside&) = delete;

private:
    ErrorList& errors_;
    ErrorList before_;
};

/// True if phase p of the tie-line p-q lies towards b on the way from b to a:
/// sum (a - b)(q - p)/(p + q) >= 0 over the components that p or q holds. All n mole fractions.
bool tieLineSide(std::span<const double> b, std::span<const double> a, std::span<const double> p,
                 std::span<const double> q);

/// (sum |y - x|)^2: 4 for phases without a common component, 0 for one phase.
double immiscibility(std::span<const double> x, std::span<const double> y);

/// Straight line through (t, value) by least squares; `spread` is sum (t - mean)^2.
struct StraightFit {
    double at_zero = 0.0, slope = 0.0, spread = 0.0;
};
StraightFit straight_fit(std::span<const double> t, std::span<const double> values);

/// Value at infinitely many stages of a history of smallest immiscibilities (entry s - 1 for stage
/// s), from its second half as (a + b t)/(1 + c t) in t = 1/s. -1 if there is too little to fit or
/// if the value falls below the negative of the last entry.
///   t_work  work space of the size of the history
double extrapolated_immiscibility(std::span<const double> history, std::span<double> t_work);

/// Decides how far an oil (the laboratory's feed) and an injected fluid are from developing
/// miscibility at a pressure and temperature, by repeated contacts of equilibrium phases. Base of
/// the single test and of the searches for the least pressure or enrichment.
class MiscExpt {
public:
    /// The command locates problems; lab, writer, command and input must outlive the object.
    MiscExpt(EOSLab& lab, Writer& writer, const Command& command, const Misc_Input& input);
    virtual ~MiscExpt() = default;
    MiscExpt(const MiscExpt&) = delete;
    MiscExpt& operator=(const MiscExpt&) = delete;

    /// Finds the injected fluids, mixtures or components of the current characterization. False,
    /// with an ERROR, if one of them is unknown.
    virtual bool ready() = 0;
    virtual void run() = 0;
    /// Converts the feed and finds the most and the least volatile component. False at three
    /// errors.
    virtual bool prepare();

    /// Chain of contacts of a moving phase with fresh fluid: for mechanism 1 (vaporizing) gas with
    /// fresh oil, for 2 (condensing) oil with fresh gas. The mechanism is limited to these two.
    /// Returns the smallest immiscibility met: 0 if a contact was miscible, -1 if no mixture of
    /// the fluids has two phases. Prints the contacts if `writer` is not null.
    double contactTest(Writer* writer, int& mechanism);
    /// Row of mixing cells between injected fluid and oil that grows by one cell at every stage.
    /// Each neighbour pair is brought together: half of the phase that stays in one cell, half of
    /// the phase that moves on from the one before. Returns the smallest immiscibility for
    /// infinitely many cells: that of the shortest key tie-line where Newton's method finds
    /// it, otherwise extrapolated from the stages, 0 if that is not positive; -1 if no mixture of
    /// the two fluids has two phases. `mechanism` says which part of the row it belongs to. K.
    /// Ahmadi and R.T. Johns, SPE 116823, 2008. Prints the stages if `writer` is not null.
    double condensingVaporizingTest(Writer* writer, int& mechanism);
    /// Components present in the feed or in one of the two tanks.
    int componentCount(const Tank& tank1, const Tank& tank2) const;

    /// Whether the condensing/vaporizing test applies: it needs more than three components.
    bool uses_cond_vap() const;

    bool use_cond_vap = true;

protected:
    /// One test by number: 1 vaporizing, 2 condensing, 3 condensing/vaporizing.
    double test(int number, int& mechanism);
    /// The heading with its rule; "MMP Calculation 1: identifier".
    void print_heading(const std::string& section_heading) const;
    /// The fluid of that name as a prepared tank; ERROR and false if it is unknown.
    bool find_fluid(const std::string& name, Tank& tank);
    /// Brings an injected fluid to the cell's characterization; false at three errors.
    bool prepare_fluid(Tank& tank);
    bool usable() const { return lab_.errors().usable(); }
    /// Saturation pressure of a fluid from the cell's pressure on, or `otherwise`. Messages of a
    /// search without result are dropped.
    double saturation_or(const std::vector<double>& fluid, double otherwise);
    /// Looks for a mixture of b and a with two phases, the one richest in b first.
    bool scan(std::span<const double> b, std::span<const double> a);
    /// Reports the problems of one trial and empties the list. Throws FatalError at a limit.
    void report_trial(int test_number, const std::string& place);
    /// "Results of 100 stages (using ...)".
    std::string results_of(const std::string& fluids) const;

    EOSLab& lab_;
    Writer& writer_;
    const Command& command_;
    const Misc_Input& input_;
    PVTCell& cell_;
    int cells_;                        ///< contacts, or cells of the row
    Tank injected_{"injection"};       ///< prepared
    std::vector<double> oil_;          ///< n mole fractions of the feed
    std::vector<double> gas_;          ///< n mole fractions of injected_
    int heaviest_ = 0, lightest_ = 0;  ///< components by vapor pressure

private:
    struct Chain;
    struct Row;

    void set_feed(std::span<const double> fluid);
    /// Feed = share_a a + share_b b, then a flash.
    void flash_mix(double share_a, std::span<const double> a, double share_b,
                   std::span<const double> b);
    std::span<const double> liquid() const { return cell_.nf_liquid->moles(); }
    std::span<const double> vapor() const { return cell_.nf_vapor->moles(); }
    double cell_immiscibility() const { return immiscibility(liquid(), vapor()); }
    bool two_phase() const { return cell_.phase_count >= 2; }
    void remember_k() { kept_ln_k_ = cell_.ln_k; }
    void recall_k() { cell_.ln_k = kept_ln_k_; }
    double vapor_pressure_of(std::span<const double> fluid);
    void fillGap(std::span<const double> tank1, std::span<const double> tank2);

    bool chain_start(Chain& chain);
    double chain_trial(Chain& chain, double share);
    double chain_contact(Chain& chain, int contact);
    void chain_advance(Chain& chain);
    void chain_refine(Chain& chain, int contact);
    void chain_search(Chain& chain, int contact);

    void row_keep(Row& row, std::size_t j, bool vapor_moves);
    void row_start(Row& row);
    void row_stage(Row& row);
    void row_cell(Row& row, std::size_t j);
    void row_flash(Row& row, std::size_t j);
    bool shortest_key_line(double smallest, double& value, int& mechanism);
    double row_limit(Row& row, double& extrapolated, int& mechanism);

    std::vector<double> kept_ln_k_;
    std::unique_ptr<KeyTieLines> key_lines_;  ///< at the cell's temperature
    std::vector<double> key_gas_;             ///< n, the injected fluid that they belong to
};

/// One test at the cell's temperature and pressure (MCM).
class MCM_Expt final : public MiscExpt {
public:
    using MiscExpt::MiscExpt;
    bool ready() override;
    void run() override;

private:
    void print_contact_tests();

    bool found_ = false;
};

/// The least pressure at which oil and injected fluid develop miscibility (MMP).
class MMP_Expt final : public MiscExpt {
public:
    using MiscExpt::MiscExpt;
    bool ready() override;
    /// The cell is left at the pressure found. A measured value gives one residual whatever
    /// happens.
    void run() override;

    double found() const { return found_pressure_; }  ///< Pa; UNDEFINED without result
    int mechanism() const { return mechanism_; }

private:
    struct Search;

    bool calculate();
    bool search_all(double start);
    double two_phase_pressure_above(double start);
    /// Least pressure between `low` and `high` with an immiscibility of 0 or less. `found` is the
    /// last one below it, `high` if there is none; `bound` the least pressure found first-contact
    /// miscible, UNDEFINED if there is none.
    void pressureSearch(int test_number, double low, double high, double start, double& found,
                        double& bound, int& mechanism);
    void trial(Search& s);
    void plan_after_immiscible(Search& s) const;
    void print_results(bool done);

    bool found_fluid_ = false;
    double found_pressure_ = UNDEFINED;
    int mechanism_ = IMMISCIBLE;
    double oil_saturation_ = 0.0, injected_saturation_ = 0.0, lowest_ = 0.0;  ///< Pa
};

/// The least fraction of a rich injectant in its mixture with a lean one that develops
/// miscibility at the cell's pressure (MME).
class MME_Expt final : public MiscExpt {
public:
    using MiscExpt::MiscExpt;
    bool ready() override;
    void run() override;

    double found() const { return found_fraction_; }  ///< UNDEFINED without result
    bool rich_end_immiscible() const { return rich_end_immiscible_; }

private:
    struct Search;

    bool calculate();
    double trial(int test_number, double fraction);
    void plan(Search& s) const;
    /// Least miscible fraction up to `high`, or UNDEFINED if `high` itself is immiscible.
    double enrichmentSearch(int test_number, double high);
    std::string mixture_text(double fraction) const;
    void print_results(bool done);

    Tank lean_{"injection"}, rich_{"injection"};
    bool found_fluids_ = false;
    bool rich_end_immiscible_ = false;
    double found_fraction_ = UNDEFINED;
};

}  // namespace kestrane
