#pragma once

#include <string>
#include <vector>

#include "surface/Collector.h"
#include "surface/Process.h"

namespace kestrane {

/// The oil or the gas of a row. UNSET marks what is missing.
struct BO_Product {
    double moles = 0.0;          ///< per mole of reservoir fluid
    double mw = UNSET;           ///< kg/kmol
    double temperature = UNSET;  ///< K, of the one stage it comes from
    double pressure = UNSET;     ///< Pa
    double density = UNSET;      ///< kg/m3 there; of several stages their volumes added
    std::vector<double> fractions;
};

/// One row of a black oil table: a reservoir fluid at a pressure, and what the surface makes of it.
struct BO_Entry {
    std::string name;
    const char* psat_type = "N/A";  ///< "BP" for an oil, "DP" for a gas
    double mw = UNSET;
    double depth = UNSET;        ///< m
    double temperature = UNSET;  ///< K
    double pressure = UNSET;     ///< Pa
    double density = UNSET;      ///< kg/m3, of both phases together where there are two
    double viscosity = UNSET;    ///< Pa s, of one phase
    double tension = UNSET;      ///< N/m, of two phases
    BO_Product oil, gas;
    std::vector<double> fractions;
    ErrorList problems;
};

/// Saturation pressure of a fluid.
struct SaturationPoint {
    bool found = false;
    double pressure = UNSET;  ///< Pa
    bool is_bubble_point = false;
    /// Both phases have one composition, as of a pure component or at a critical point: bubble and
    /// dew point at once.
    bool both = false;
};

/// Makes the rows of a black oil table.
class BlackOil {
public:
    /// All must outlive the table. The fluids are those of the collector's characterization.
    BlackOil(EOSLab& lab, const Collector& collector, Process& process);

    /// The rows of one fluid: one for each pressure, in ascending order. The pressures are the
    /// extra ones (Pa), the fluid's own and its saturation pressure; a fluid without one has only
    /// its own. Where bubble and dew point are one there are two rows, as oil and as gas.
    std::vector<BO_Entry> rows_of(const std::string& name, const TPzSet& set,
                                  const std::vector<double>& extra_pressures);

private:
    /// What a row is of: the fluid at a pressure, as an oil or as a gas.
    struct Place {
        double pressure;  ///< Pa
        bool saturated;   ///< it is the saturation pressure
        bool as_oil;      ///< without meaning if there is no saturation pressure
        bool forced;      ///< the split cannot tell oil from gas there
    };
    BO_Entry row(const TPzSet& set, const std::string& name, const Place& place,
                 const SaturationPoint& saturation);
    void describe_reservoir(BO_Entry& entry, const TPzSet& set, const Place& place);

    EOSLab& lab_;
    const Collector& collector_;
    Process& process_;
    StreamCell cell_;
};

/// Saturation pressure (the upper one) of a fluid at K, searched from Pa. What the search complains
/// of is dropped: a fluid without one is no problem.
SaturationPoint saturation_point(StreamCell& cell, const Tank& fluid, double T, double P);

/// The pressures ascending, each but once: those within 1e-6 of another, relative, are the same.
/// `own` and `saturation` win over others; UNSET is left out.
std::vector<double> merged_pressures(const std::vector<double>& extra, double own,
                                     double saturation);

}  // namespace kestrane
