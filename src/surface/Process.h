#pragma once

#include "surface/Stage.h"

namespace kestrane {

class EOSLab;

/// What an incoming stream comes in as: the phases of its flash, or all of it as one phase where
/// the flash cannot tell, as of a pure component at its vapor pressure.
enum class IncomingPhase { ByFlash, Liquid, Vapor };

/// A surface train: stages that each hold a separator, connected by feeds, and products that
/// gather streams. It holds nothing between two runs that would change the next.
class Process : public virtual Key_User {
public:
    /// The incoming stream, with its phases at the conditions it comes in at.
    struct Incoming {
        Tank total{"feed"}, liquid, vapor;
        ValueWithUnit temperature, pressure;  ///< K, Pa; UNSET where unknown
        double liquid_density = UNSET;        ///< kg/m3
        double vapor_density = UNSET;
        StgAmts amounts;

        void clear();  ///< buffers stay
    };

    Process(EOSLab& laboratory, std::string process_name);
    const CmdKey* FindKey(const std::string& word) const override;

    /// The stage or product of that name, or null.
    SepStage* find_stage(const std::string& word) const;
    OutStage* find_product(const std::string& word) const;
    SepStage& AddStage(const std::string& stage_name);
    OutStage& AddProduct(const std::string& product_name);
    SepStage* LastStage() const;
    /// Finds all sources, gives stages without feed the liquid of the stage before, and adds the
    /// products "Oil" and "Gas" where none is so named. Warns, with `location`, of a liquid that
    /// leaves the process unseen.
    void Complete(Reader& reader, const std::string& location);

    /// Passes a stream through: the stages in script order, then the products. A stage that feeds
    /// an earlier one delivers nothing to it. Problems are left in the stages' error lists and in
    /// `errors` (of the incoming stream).
    ///   temperature, pressure  of the incoming stream; UNSET if unknown: then its phases are
    ///   needed
    ///                          by nobody, or an error
    ///   report  amounts that are only printed are wanted
    void Run(const Tank& feed, const ValueWithUnit& temperature, const ValueWithUnit& pressure,
             bool report, IncomingPhase phase = IncomingPhase::ByFlash);
    /// Adds all problems of the last run to one list, each naming its stage.
    void gather_problems(ErrorList& problems) const;
    /// `stage "{name}" of process "{process}"`.
    std::string stage_label(const Stage& stage) const;
    std::string product_label(const OutStage& product) const;
    /// Forgets what belongs to an evaluation.
    void unbind();

    std::string name;
    EOSLab& lab;
    std::vector<DynPtr<SepStage>> stages;
    std::vector<DynPtr<OutStage>> products;
    Incoming incoming;
    ErrorList errors;
    /// Densities in the laboratory's characterization.
    StreamCell& cell() { return *cell_; }

private:
    bool feeds_later_stage(const SepStage& stage, bool liquid) const;
    void default_feeds();
    void feed_oil(OutStage& oil, Reader& reader, const std::string& location);
    void feed_gas(OutStage& gas);
    bool needs_incoming_phases(bool report) const;
    void split_incoming(IncomingPhase phase);
    void flash_incoming(double T, double P);
    void measure_incoming();

    DynPtr<StreamCell> cell_;
};

}  // namespace kestrane
