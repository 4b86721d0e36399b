#pragma once

#include <array>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace kestrane::campaign {

/// What may be wrong with an answer.
enum Failure : std::size_t {
    ONE_PHASE_UNSTABLE,   ///< one phase, but something lies below its tangent plane
    BETTER_SPLIT,         ///< two phases, but something lies below their tangent plane
    THIRD_PHASE_UNTOLD,   ///< the best two phases, but the third beside them is not announced
    NO_EQUILIBRIUM,       ///< fugacities differ
    NO_BALANCE,           ///< the phases are not the feed
    GIBBS_ABOVE_FEED,     ///< the split has more Gibbs energy than the feed
    WRONG_ROOT,           ///< Z is no root of the cubic, or not the one of least Gibbs energy
    DENSITY,              ///< not positive, or beyond the covolume
    NOT_INSIDE,           ///< a saturation pressure with no two-phase side
    UNSTABLE_OUTSIDE,     ///< a saturation pressure with two phases beyond it
    MISNAMED,             ///< a phase is called liquid that is vapor, or the reverse
    STAGE_BALANCE,        ///< what a stage takes out and leaves is not what it began with
    STAGE_VOLUME,         ///< volumes are not those of the phases, or not brought back
    UNEQUAL_POTENTIAL,    ///< ln f changes otherwise with height than by M g/(R T)
    PRESSURE_GRADIENT,    ///< the pressure changes otherwise with height than by density
    NOT_REVERSIBLE,       ///< the way back along a column ends elsewhere
    WRONG_CONTACT,        ///< no equilibrium at a contact, or none between gas and oil
    FALSELY_NOT_FOUND,    ///< "could not be found", but there is one
    FALSELY_ABOVE_LIMIT,  ///< "still two-phase" at the limit, but it is one phase
    UNCONVERGED,          ///< a warning of convergence, whatever the answer
    WARNED,               ///< wrong, but warned of
    FAILURE_COUNT
};

/// Distances from the critical point, sqrt((T/Tc - 1)^2 + ln(P/Pc)^2), by decades.
inline constexpr std::array<const char*, 6> DISTANCES{"< 1e-4", "< 1e-3", "< 0.01",
                                                      "< 0.1",  "beyond", "none found"};
std::size_t distance_class(double distance);

/// A count of integers, with quantiles.
class Histogram {
public:
    void add(int value, std::uint64_t where);
    int quantile(double share) const;
    int worst() const { return counts_.empty() ? 0 : counts_.rbegin()->first; }
    std::uint64_t worst_at() const { return worst_at_; }
    long count() const { return count_; }

private:
    std::map<int, long> counts_;
    long count_ = 0;
    std::uint64_t worst_at_ = 0;
};

/// The result of a campaign.
class Tally {
public:
    /// `what` is flashes or saturation pressures, `modes` the ways they are asked for.
    Tally(std::string what, std::vector<std::string> modes);

    void count(std::size_t mode, std::size_t distance, int evaluations, std::uint64_t at,
               bool two_phase);
    void fail(Failure failure, std::size_t mode, std::size_t distance, std::uint64_t at);
    long answers() const;
    /// Wrong answers without a warning.
    long silent() const;
    long of(Failure failure) const;
    static const char* name(Failure failure);
    void print(std::ostream& out) const;
    /// The cases that failed, the worst kinds first, one a line.
    void print_cases(std::ostream& out, std::size_t most) const;

private:
    struct Record {
        Failure failure;
        std::size_t mode;
        std::uint64_t at;
    };
    void print_failures(std::ostream& out) const;
    void print_evaluations(std::ostream& out) const;

    std::string what_;
    std::vector<std::string> modes_;
    std::vector<long> answers_, two_phase_;  ///< by mode
    std::array<long, DISTANCES.size()> by_distance_{};
    std::map<Failure, std::array<long, DISTANCES.size()>> failures_;
    std::map<Failure, std::vector<long>> by_mode_;
    std::vector<Histogram> evaluations_;
    std::vector<Record> records_;
};

}  // namespace kestrane::campaign
