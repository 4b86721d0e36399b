#pragma once

#include <list>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "equil/EOS_User.h"
#include "fluid/Compnent.h"
#include "fluid/Lump.h"
#include "frame/ErrorList.h"
#include "frame/Errors.h"
#include "frame/PtrTo.h"
#include "input/Table.h"

namespace kestrane {

class Charz_User;
class EOS;
class EOS_T_Parms;
class Reader;

/// A component table that describes no fluid.
struct IllegalCharzation : BadComponent {
    std::string reason;              ///< one line, with its full stop
    std::vector<std::string> place;  ///< of the row in question; empty: where the reader stands
};

/// A named fluid description: components, an equation of state, binary interaction parameters,
/// and the table through which the user typed them.
class Charzation : public EOS_User {
public:
    Charzation();
    explicit Charzation(std::string charz_name);
    /// Copies all but the temperature cache. The copy gets a serial number of its own.
    Charzation(const Charzation& other);
    Charzation& operator=(const Charzation& other);

    const CmdKey* FindKey(const std::string& word) const override;

    int comp_count() const { return static_cast<int>(comps.size()); }
    std::size_t size() const { return comps.size(); }
    /// The equation; the default is made if there is none.
    const EOS& eos() const;
    PtrTo<const EOS> shared_eos() const;

    /// Index by user-word comparison, first match, or -1.
    int find_component(const std::string& word) const;
    void add_component(const Compnent& component);
    /// The lump of that name, or null. It may be of another characterization (a base): check that
    /// it fits before its factors are used.
    const Lump* find_lump(const std::string& word) const;
    /// Stores a copy in the place of a lump of the same name, or behind the others.
    void add_lump(const Lump& lump);
    /// Adds the lumps of `base` under names that have none here. Their factors stay those of the
    /// base's components.
    void take_lumps(const Charzation& base);
    /// True if the word is the name or one of the aliases.
    bool answers_to(const std::string& word) const;

    /// Binary interaction parameters: none, or a square symmetric matrix with zero diagonal.
    bool has_bips() const { return !bips.empty(); }
    double bip(std::size_t i, std::size_t j) const { return bips[i * size() + j]; }
    /// Makes the matrix, UNSET off the diagonal, if there is none.
    void make_bips();
    /// Stores symmetrically. UNSET is ignored, the diagonal stays 0. Out of range: BadComponent.
    void set_bip(double value, int i, int j);
    void set_bips_row(std::span<const double> values, int row);

    /// Reads a component table, or merges one into the table read before, and makes `comps` of its
    /// rows. Returns as Table::Read; sets `block_closed` if the table's END was read. Throws
    /// IllegalCharzation for a row without a name and for names that match each other.
    int read_table(Reader& reader, const CmdDictionary* stop_words);
    /// Reads the rows of interaction parameters behind the keyword just read. Sets `block_closed`
    /// if nothing more of the block can follow.
    void read_bips(Reader& reader);

    /// Base properties, library matches. The base is looked for in `user`.
    void initialize(Charz_User& user, ErrorList& errors);
    /// Fills every property from what is given, in the fixed order of completion.
    void complete(ErrorList& errors);
    /// The first three steps of completion (CORR&).
    void correlate(ErrorList& errors);
    /// Once, at first use: checks the components against the equation and sets ln_pc.
    void prepare_eos(ErrorList& errors);
    /// Cached temperature parameters, at most 20 temperatures, most recent first.
    PtrTo<const EOS_T_Parms> t_parms(double T);
    void clear_t_cache() { t_cache.clear(); }
    /// What was prepared or cached with the former properties no longer holds.
    void properties_changed();

    /// Never used twice in a run, and new whenever the properties are worked out anew: proves a
    /// cache valid, where a pointer would not.
    unsigned long serial() const { return serial_; }

    std::string name;  ///< may be empty
    std::vector<Compnent> comps;
    std::vector<double> bips;              ///< row by row, n*n, or empty
    PtrTo<std::string> basis;              ///< name of the base characterization, or null
    Table table;                           ///< as typed, later as filled
    Compnent column_row;                   ///< column index of each property, UNSET for none
    std::vector<PtrTo<const Lump>> lumps;  ///< in order of definition
    std::set<std::string, KeyLess> aliases;
    struct CachedTemperature {
        double T;
        PtrTo<const EOS_T_Parms> parms;
    };
    std::list<CachedTemperature> t_cache;
    bool prepared = false;
    bool block_closed = false;  ///< while reading: the END of the block was met

private:
    void take_rows();
    void check_names() const;
    /// The base named by `basis`; null with an entry in `errors` if it cannot be used.
    const Charzation* find_base(Charz_User& user, ErrorList& errors) const;
    /// Index of each component in the base, -1 where its name is none there.
    std::vector<int> base_map(const Charzation& base) const;
    void take_base(const Charzation& base, std::span<const int> map, bool same_eos);
    /// Builds the components that are lumps of the base: composition and temperature are `user`'s.
    void build_lumps(const Charz_User& user, const Charzation& base, std::span<const int> map,
                     bool same_eos);
    /// Weights of each component's constituents in the base; empty for one that is no lump of it.
    std::vector<std::vector<double>> lump_weights(const Charz_User& user, const Charzation& base,
                                                  std::span<const int> map) const;
    void fill_lumped_bips(const Charzation& base, std::span<const std::vector<double>> weights,
                          std::span<const int> map);
    void show_lumped_acentric(std::span<const std::vector<double>> weights);
    void take_base_bips(const Charzation& base, std::span<const int> map);
    void fill_column_row();
    void resize_bips(std::size_t old_size, std::size_t new_size);

    void fill_lower_cuts();
    void fill_properties();

    unsigned long serial_;
};

}  // namespace kestrane
