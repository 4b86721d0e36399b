#pragma once

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

    virtual PtrTo<const EOS> default_eos() const;
    /// Stores a copy, makes it current, returns it.
    virtual Charzation& add_charzation(const Charzation& charz);
    /// Makes `next` current if it is not null; returns the current one (may be null).
    virtual Charzation* current(Charzation* next = nullptr);
    const Charzation* current() const { return current_; }
    /// The newest that answers to the word (name or alias), or null.
    Charzation* find_charzation(const std::string& word);
    /// True if the word is a component of the current characterization.
    virtual bool knows_name(const std::string& word) const;
    /// Composition of the user's current mixture on `base`; ones here.
    virtual std::vector<double> base_fractions(const Charzation& base) const;
    virtual double base_temperature() const;
    virtual void forget_charzations();

protected:
    std::vector<PtrTo<Charzation>> charzations_;
    Charzation* current_ = nullptr;
};

}  // namespace kestrane
