#pragma once

#include <set>
#include <string>
#include <vector>

#include "expt/PVTzExpt.h"

namespace kestrane {

class Section;

/// What a measured saturation pressure was said to be, and what a calculated one is.
enum class BasisState : int {
    None = 0,
    Saturation = 1,
    BubblePoint = 2,
    DewPoint = 3,
    Critical = 4,
    PseudoVapor = 5  ///< of the feed taken as one component, for want of a saturation pressure
};
enum class BasisKind : int { Moles = 0, Mass = 1, Volume = 2 };
/// The fluids of a stage that can be kept under a name.
enum class StageFluid : int { Feed = -1, Liquid = 0, FlashLiquid = 1, Vapor = 2, FlashVapor = 3 };

/// Names compared as keywords are.
using NameSet = std::set<std::string, KeyLess>;

/// Expansion without removal: a fluid in the laboratory's cell goes through the stages of the
/// table, each at its temperature and pressure, with a cumulative amount injected before. Derived
/// classes take out part of a phase at every stage.
class PVTzEXPA : public PVTzExpt {
public:
    PVTzEXPA();
    void parse(Reader& reader, EOSLab& lab, Writer& writer) override;
    void run(Reader& reader, EOSLab& lab, Writer& writer) override;
    const CmdKey* FindKey(const std::string& word) const override;

    /// BAS&: an amount with a unit of moles, mass or volume.
    virtual void readBasis(Reader& reader);
    /// SATP&, BUBP&, DEWP&: [pressure] [WGT weight] [GUESS pressure].
    virtual void readSaturation(Reader& reader, BasisState kind);
    virtual std::string title() const;
    /// Checks the name under which a fluid of the stage is to be kept, and makes the mixture. Names
    /// of the cell's phases are allowed for phases, and get a mixture for each stage.
    virtual void nameStageFluid(int stage, const std::string& name, EOSLab& lab, NameSet& used,
                                ErrorList& errors, StageFluid fluid);
    /// Keeps a copy of the fluid under the name; under one of its own, by experiment and stage, if
    /// the name is a phase of the cell. An empty name does nothing.
    virtual void storeStageFluid(int stage, const std::string& name, const Tank& tank, EOSLab& lab,
                                 StageFluid fluid);
    /// The basis amount of the cell's fluid at the cell's state, in moles, mass and volume.
    virtual void setBasis(PVTCell& cell);
    /// The cumulative injection that the row asks for, kmol or kg; the other, or both, 0.
    ///   positions  column indices of the fields, below 0 for those without a column
    virtual void injectedAmounts(const ExptData& row, const ExptData& positions, double& moles,
                                 double& mass);
    /// Fills the record with the state of the cell, moles_1 of it.
    ///   both  take both phases as present, whatever their fractions
    virtual void beforeRemoval(EOSLab& lab, ExptData& row, const ExptData& positions, bool both);
    /// Decides on liquid_retained and gas_retained. Here all stays.
    virtual void setRemoval(const ExptData& row);
    /// Takes out what is not retained: the rest of the record, and the feed, follow. The cumulative
    /// removals of the record grow.
    virtual void afterRemoval(EOSLab& lab, ExptData& row, const ExptData& positions, bool both);
    /// The saturation quantities that have columns, from left to right. The first pressure of a row
    /// that has no pressure becomes its pressure, at which the cell is left. True if the cell
    /// stands flashed at the row's temperature and pressure.
    virtual bool stageSaturations(EOSLab& lab, ExptData& row, const ExptData& positions);
    /// The same for what the removal left, without touching the cell.
    virtual void afterSaturations(EOSLab& lab, ExptData& row, const ExptData& positions);

    double basis_moles = 0.0, basis_mass = 0.0, basis_volume = 0.0;        ///< kmol, kg, m3
    double inverse_moles = 0.0, inverse_mass = 0.0, inverse_volume = 0.0;  ///< their reciprocals
    double liquid_retained = 1.0, gas_retained = 1.0;  ///< fractions left by the stage's removal
    double liquid_share = 0.0, gas_share = 0.0;        ///< 1 for the phase that is removed
    ValueWithUnit measured_saturation;                 ///< Pa
    ValueWithUnit guess;                               ///< Pa
    ValueWithUnit basis_amount;                        ///< kmol, kg or m3
    double saturation_weight = 1.0;
    BasisState saturation_kind = BasisState::None;
    BasisKind basis_kind = BasisKind::Moles;

protected:
    struct StageRun;
    /// The cell's phase fractions if it has one phase: that of the last two phases. Otherwise the
    /// K-values and the identity are kept.
    void identify(PVTCell& cell);
    /// Flashes the cell, from the kept K-values if it has one phase.
    void flash_stage(PVTCell& cell);
    /// Removal of gas (liquid) as far as the whole comes back to the basis quantity; of the other
    /// phase too where that is not enough. Below the basis nothing is removed. All in one quantity.
    void deplete_gas(double basis, double liquid, double gas);
    void deplete_liquid(double basis, double liquid, double gas);
    /// True if the stage's removal takes out anything; and if it leaves anything in the cell.
    bool removes() const;
    bool leaves_fluid(const ExptData& row) const;
    /// The "=" underlined heading of the report.
    void print_heading(const Section& section, Writer& writer) const;
    /// The residual and the report lines of the saturation pressure at the basis.
    void compare_saturation(EOSLab& lab, Writer& writer, BasisState state, double calculated) const;

private:
    void validate_names(Reader& reader, EOSLab& lab);
    bool start(StageRun& s, Section& section);
    bool find_basis(StageRun& s, bool wanted);
    void search_saturation(StageRun& s, bool wanted);
    void print_basis(const StageRun& s) const;
    bool run_stages(StageRun& s);
    bool run_stage(StageRun& s, int index);
    void read_stage(StageRun& s, int index) const;
    bool set_conditions(StageRun& s) const;
    bool inject(StageRun& s);
    void add_injection(StageRun& s, double increment);
    void fill_injected(StageRun& s) const;
    void fill_amounts_after(ExptData& row);
    void fill_overall_after(ExptData& row, bool changed, bool left) const;
    void fill_relative(ExptData& row, std::size_t after) const;
    void fill_ratios_after(ExptData& row) const;
    void store_phases(EOSLab& lab, const ExptData& row);

    std::vector<double> kept_ln_k_;    ///< of the last two phases, or of the basis
    double label_ = 1.0;               ///< identity of a single phase: 1 vapor, 0 liquid
    double two_phase_pressure_ = 0.0;  ///< Pa, where two phases were seen last; 0: none yet
    double removed_gas_ = 0.0;         ///< kmol, cumulative: the gas part of the removal
};

}  // namespace kestrane
