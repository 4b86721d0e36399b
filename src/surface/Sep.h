#pragma once

#include <map>
#include <string>
#include <vector>

#include "frame/ValArray.h"
#include "input/Units.h"
#include "surface/FactorSpace.h"
#include "surface/StreamCell.h"

namespace kestrane {

/// What an amount of a stream is counted in.
enum class AmountKind : int { None = 0, Moles = 1, Mass = 2, MolecularWeight = 3 };

/// An amount of the feed: of one component, of a lump, or of the whole stream.
struct SepAmount {
    AmountKind kind = AmountKind::None;
    std::string name;        ///< of the component or lump; empty for the whole stream
    int component = -1;      ///< index, -1 for none
    PtrTo<const Lump> lump;  ///< null for none
};

/// An interpolation variable: an amount of the feed, per another amount if that has a kind.
struct SepVariable {
    SepAmount numerator;
    SepAmount denominator;
    Rule rule = RULE_LINEAR;
};

/// "Moles C1 per Mole C7+".
std::string variable_name(const SepVariable& variable);
/// Value of a variable for a stream of the characterization that the variable is bound to. A ratio
/// to nothing is largestFactor with the sign of the numerator, and 1 if that is nothing too.
/// BadLump if a lump does not fit the stream.
double variable_value(const SepVariable& variable, const Tank& feed);

/// One row of a separator's table: K-values, or oil factors and behind them gas factors, in the
/// spaces of the separator's rules.
struct SepRow {
    ValArray<double> factors;
    bool oil_given = false;  ///< K-values too
    bool gas_given = false;
};

/// What a separator made of a feed.
struct SepSplit {
    /// That of no feed; buffers stay.
    void clear();

    ValueWithUnit temperature;  ///< K; UNSET if the separator has none
    ValueWithUnit pressure;     ///< Pa
    double liquid = 0.0;        ///< mole fractions of the feed, within 0..1
    double vapor = 0.0;
    double liquid_density = UNSET;  ///< kg/m3 at the separator's conditions, where known
    double vapor_density = UNSET;
    Tank feed;                        ///< as separated: in the separator's characterization
    std::vector<double> point;        ///< values of the variables
    std::vector<double> k_values;     ///< empty but for a table of them
    std::vector<double> oil_factors;  ///< within 0..1; empty but for a table of factors
    std::vector<double> gas_factors;
    bool negative_flash = false;  ///< one phase, with a tie-line through the feed
    Tank nf_liquid, nf_vapor;     ///< phases of that tie-line
};

/// A separator: an equilibrium flash at its temperature and pressure, or a table of K-values or of
/// oil and gas factors, interpolated in variables of the feed.
class Sep : public virtual Key_User {
public:
    const CmdKey* FindKey(const std::string& word) const override;

    /// Makes the separator ready in the characterization of this evaluation, with the laboratory's
    /// policies; conditions not given are the laboratory's.
    /// False if the characterization has another number of components than the table was written
    /// for. BadLump if it lacks what a variable names.
    bool bind(Charzation& charz, const EOSLab& lab);
    /// Forgets what belongs to an evaluation.
    void unbind();

    /// Splits a feed, in whatever characterization. Each component's amounts in oil and gas add up
    /// to its amount in the feed. Problems go to errors(); with a FATAL ERROR among them all of the
    /// feed is gas.
    ///   liquid_density, vapor_density of the result are worked out if `with_densities`
    SepSplit Separate(const Tank& feed, Tank& oil, Tank& gas, bool with_densities);
    /// The same into a split that is used again: allocates only where its buffers are too small.
    void Separate(const Tank& feed, Tank& oil, Tank& gas, bool with_densities, SepSplit& split);
    ErrorList& errors() { return cell_->errors(); }
    /// Densities and flashes in the separator's characterization. Not null while bound.
    StreamCell& cell() { return *cell_; }

    /// Interpolates in the transformed space, from coordinate `dimension` on.
    ///   point  one per variable, in its space
    ///   result tableWidth values, in the spaces of the rules
    /// Outside the range of a coordinate its end entry stands.
    void Lookup(const ValArray<double>& point, std::size_t dimension, ValArray<double>& result);

    /// True for a table of K-values.
    bool has_k_values() const { return tableWidth > 0 && tableWidth == componentCount; }
    bool has_factors() const { return tableWidth > 0 && tableWidth != componentCount; }

    /// The conditions of this evaluation: as given, else the laboratory's where the separator was
    /// executed, else those it has now.
    ValueWithUnit bound_temperature() const;
    ValueWithUnit bound_pressure() const;

    // Reading.
    /// Index of the same variable among those known, -1 for a new one.
    int find_variable(const SepVariable& variable) const;
    /// The row at currentPoint, made with smallestFactor if there is none.
    SepRow& row_at_current_point();

    std::string name;
    Charzation* characterization = nullptr;  ///< not owned; of the current evaluation
    ValueWithUnit temperature;               ///< K, as given; UNSET: the laboratory's
    ValueWithUnit pressure;                  ///< Pa
    std::vector<SepVariable> variables;
    ValArray<double> currentPoint;    ///< one per variable, in its space
    ValArray<double> currentFactors;  ///< tableWidth, the last interpolated
    std::size_t tableWidth = 0;       ///< 0 until the first row, then components or twice that
    std::size_t componentCount = 0;
    std::map<ValArray<double>, SepRow> points;
    Rule defaultRule = RULE_UNSET;
    Rule oilRule = RULE_UNSET;  ///< of the K-values too
    Rule gasRule = RULE_UNSET;

private:
    struct Rows;
    void bind_amount(SepAmount& amount) const;
    void complete_rows();
    void look_up(const Rows& rows, const ValArray<double>& point, std::size_t dimension,
                 ValArray<double>& result);
    void recoveries_by_flash(SepSplit& split, std::vector<double>& oil, std::vector<double>& gas);
    void recoveries_by_table(SepSplit& split, std::vector<double>& oil, std::vector<double>& gas);
    void recoveries_by_k(const SepSplit& split, std::vector<double>& oil, std::vector<double>& gas);
    void interpolate(SepSplit& split);
    void factors_of_pair(std::size_t i, double& oil, double& gas) const;
    void take_phases(SepSplit& split, std::vector<double>& oil, std::vector<double>& gas);

    void measure(SepSplit& split, const Tank& oil, const Tank& gas);

    /// Buffers of a separation.
    struct Scratch {
        std::vector<double> oil, gas;  ///< shares of the components
        std::vector<double> rachford_rice;
        ValArray<double> point;               ///< of the feed, in the spaces of the variables
        std::vector<ValArray<double>> lower;  ///< factors below the point, one per coordinate
    };

    Scratch scratch_;
    ValueWithUnit bound_temperature_, bound_pressure_;
    const EOSLab* lab_ = nullptr;  ///< not owned; of the current evaluation
    DynPtr<StreamCell> cell_;
};

}  // namespace kestrane
