#pragma once

#include <string>
#include <vector>

#include "expt/ExpTable.h"
#include "lab/EOSLab.h"

namespace kestrane {

/// A simulated laboratory experiment: an input table of stages, run in every pass. Parsed once.
class PVTzExpt : public virtual Key_User {
public:
    /// Reads the experiment's block: sub-keywords, then the table, to END.
    virtual void parse(Reader& reader, EOSLab& lab, Writer& writer);
    /// Forgets for which characterization column heads were made last.
    virtual void reset();
    /// Calculates all stages, hands the residuals to the laboratory, prints.
    virtual void run(Reader& reader, EOSLab& lab, Writer& writer) = 0;
    ~PVTzExpt() override = default;
    const CmdKey* FindKey(const std::string& word) const override;
    /// The column heads that this kind of experiment knows.
    virtual ExptHeads& key_table() const;

    /// "experiment 1": what verdicts on problems name.
    std::string label() const { return "experiment " + std::to_string(number); }

    std::string id;                    ///< in the report's heading; empty: the title
    int number = 0;                    ///< of the experiment in the script, from 1
    ExpTable table;                    ///< the input
    const Command* command = nullptr;  ///< whose experiment it is: the place of problems

protected:
    /// Follows the current characterization with the columns of its components and lumps.
    void follow_columns(EOSLab& lab, Writer& writer);

private:
    bool read_keywords(Reader& reader);
    void read_table(Reader& reader, EOSLab& lab);
    void skip_to_end(Reader& reader, EOSLab& lab);
    void add_stage_column();
};

}  // namespace kestrane
