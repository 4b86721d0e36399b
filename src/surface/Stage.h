#pragma once

#include <string>
#include <vector>

#include "surface/Sep.h"

namespace kestrane {

class Process;
class SepStage;

/// Amounts of a stream.
struct StgAmts {
    double moles = 0.0;            ///< kmol
    double mass = 0.0;             ///< kg
    double volume = UNSET;         ///< m3 at the conditions of the stage it comes from
    double gas_volume = 0.0;       ///< m3 as an ideal gas at standard conditions
    double liquid_volume = UNSET;  ///< m3 as a liquid at standard conditions; liquids only
};

/// A share of what another stage delivers.
struct StageFeed {
    SepStage* source = nullptr;  ///< null for the process's incoming stream
    double liquidShare = 1.0;
    double vaporShare = 1.0;
    std::string source_name{};  ///< as typed
    std::string location{};     ///< of the keyword that named the source, for its message
};

/// What a stage or product of a process has in common: a name, and what feeds it.
class Stage : public virtual Key_User {
public:
    Stage(Process& owner, std::string stage_name);
    const CmdKey* FindKey(const std::string& word) const override;

    /// A source by name, to be found when the process is complete.
    void AddFeedByName(const std::string& word, double liquid, double vapor,
                       const std::string& location);
    void AddFeed(SepStage* source, double liquid, double vapor);
    /// Finds the sources that were named. Those that do not exist are a fatal error.
    void ResolveFeeds(Reader& reader);
    /// Empties the streams ahead of a run.
    virtual void ResetFeeds() = 0;
    /// Collects the feed and does the work. Problems go to `errors`.
    ///   report  amounts that are only printed are wanted
    virtual void Execute(bool report) = 0;

    std::string name;
    Process* process;  ///< not owned
    std::vector<StageFeed> feeds;
    bool ownFeed = false;  ///< sources were given
    ErrorList errors;      ///< of the last run

protected:
    /// Adds what the feeds deliver to `total`, all of it that is above the floor. An impossible
    /// conversion is a FATAL ERROR in `errors`.
    void collect(Tank& total, double floor);
};

/// A stage: a separator with its feed and the two streams that leave it.
class SepStage final : public Stage {
public:
    using Stage::Stage;
    const CmdKey* FindKey(const std::string& word) const override;
    void ResetFeeds() override;
    void Execute(bool report) override;

    /// The separator of that name as it is defined now, or null.
    PtrTo<Sep> ResolveSeparator() const;
    const Tank& FeedTank() const { return feed_; }
    const Tank& LiquidTank() const { return liquid_; }
    const Tank& VaporTank() const { return vapor_; }
    const SepSplit& split() const { return split_; }

    std::string separator;
    StgAmts feed_amounts, liquid_amounts, vapor_amounts;  ///< worked out for a report only

private:
    bool separate(double floor, bool report);
    void measure(Sep& sep);

    Tank feed_, liquid_, vapor_;
    SepSplit split_;
};

/// A part of a product: one phase of one source.
struct ProductPart {
    const SepStage* source;  ///< null for the incoming stream
    bool liquid;
    double moles, mass;
    double volume;  ///< m3 at the source's conditions; UNSET where unknown
};

/// A product: gathers what its feeds deliver, without a flash.
class OutStage final : public Stage {
public:
    using Stage::Stage;
    void ResetFeeds() override;
    void Execute(bool report) override;

    const Tank& tank() const { return tank_; }
    /// The parts with an amount, in the order of the feeds.
    const std::vector<ProductPart>& parts() const { return parts_; }
    /// Conditions of the one source that all parts come from; false if there is no single one.
    bool conditions(ValueWithUnit& temperature, ValueWithUnit& pressure) const;
    /// That of the first source's separator, or of the incoming stream; null ahead of a run.
    Charzation* characterization() const;
    StgAmts amounts;  ///< worked out for a report only

private:
    void add_part(const StageFeed& from, bool liquid);

    Tank tank_;
    std::vector<ProductPart> parts_;
};

}  // namespace kestrane
