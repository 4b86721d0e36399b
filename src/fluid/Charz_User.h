#pragma once

#include <span>
#include <string>
#include <vector>

#include "equil/EOS_User.h"
#include "fluid/Charzation.h"
#include "frame/PtrTo.h"

namespace kestrane {

/// The owner of all characterizations. Newest last in the list; searches begin with the newest.
class Charz_User : public virtual EOS_User {
public:
    const CmdKey* FindKey(const std::string& word) const override;

    /// The equation of characterizations that choose none: the user's own choice, else PR79.
    virtual PtrTo<const EOS> default_eos() const;
    /// Stores a copy, makes it current, returns it. It knows the lumps of its base from then on.
    virtual Charzation& add_charzation(const Charzation& charz);
    /// Makes `next` current if it is not null; returns the current one (may be null).
    virtual Charzation* current(Charzation* next = nullptr);
    const Charzation* current() const { return current_; }
    /// The newest that answers to the word (name or alias), or null.
    Charzation* find_charzation(const std::string& word);
    /// Defines the lump on the current characterization, if any.
    virtual void add_lump(const Lump& lump);
    /// True if the word is a component or a lump of the current characterization.
    virtual bool knows_name(const std::string& word) const;
    /// Composition of the user's current mixture on `base`; ones here.
    virtual std::vector<double> base_fractions(const Charzation& base) const;
    /// Temperature at which lumps are formed, K; 0 asks for the standard one.
    virtual double base_temperature() const;
    /// Drops all characterizations; nothing is current afterwards.
    virtual void forget_charzations();

    /// Oldest first.
    std::span<const PtrTo<Charzation>> charzations() const { return charzations_; }
    /// add_charzation for those who keep the copy alive.
    PtrTo<Charzation> add_shared(const Charzation& charz);
    bool holds(const PtrTo<Charzation>& charz) const;

protected:
    std::vector<PtrTo<Charzation>> charzations_;
    Charzation* current_ = nullptr;
};

}  // namespace kestrane
