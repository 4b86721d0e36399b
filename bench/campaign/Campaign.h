#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "Draw.h"
#include "FluidDraw.h"
#include "Tally.h"
#include "equil/FlashJudge.h"

namespace kestrane::campaign {

struct Options {
    std::uint64_t seed = 1;
    std::uint64_t first = 0;  ///< number of the first case
    long cases = 1000;
    double seconds = 0.0;  ///< the campaign ends after this time; 0 for no limit
    unsigned kinds = 0x7f;
    bool verbose = false;  ///< every step of each case, and its fluid as source
    fluids::SearchEffort effort{4, 80, 1e-9};
};

/// A fluid of the campaign with what its states are placed by. Successive cases share one.
class Subject {
public:
    Subject(std::uint64_t seed, std::uint64_t number, unsigned kinds);
    FluidKind kind;
    fluids::TestCell plain;   ///< default policies
    fluids::TestCell tested;  ///< all stability tests
    double Tc = UNSET;        ///< K, Pa: a point of the phase boundary where bubble points
    double Pc = UNSET;        ///< become dew points; UNSET if none was found
    double distance(double T, double P) const;

private:
    Subject(const DrawnFluid& drawn);
    void find_critical_point();
};

/// Temperature (K) and pressure (Pa).
struct State {
    double T, P;
};

/// Gives the subject of each case, making it anew when the fluid changes.
class Subjects {
public:
    Subjects(const Options& options, std::uint64_t cases_per_fluid)
        : options_(options), per_fluid_(cases_per_fluid) {}
    Subject& of(std::uint64_t number);

private:
    const Options& options_;
    std::uint64_t per_fluid_;
    std::uint64_t held_ = 0;
    std::unique_ptr<Subject> subject_;
};

/// Flashes: three a case, from no K-values, from those of a neighbouring state, and under all
/// stability tests.
Tally flash_campaign(const Options& options);
/// Saturation pressures: an upper and a lower one a case.
Tally saturation_campaign(const Options& options);
/// Expansions, volume depletions and liberations: an experiment a case, its stages the answers.
Tally depletion_campaign(const Options& options);
/// Columns in gravity: a column a case, its stations and contacts the answers.
Tally column_campaign(const Options& options);

/// Calls `run` for each case until cases or seconds are used up.
void for_each_case(const Options& options, const std::function<void(std::uint64_t)>& run);
/// A saturation pressure from scratch; empty if it is not found.
std::optional<double> saturate(fluids::TestCell& test, double T, int sense, double start);
/// A flash from scratch; true for two phases.
bool flash(fluids::TestCell& test, State state);
bool says(const fluids::TestCell& test, const std::string& part);

}  // namespace kestrane::campaign
