#pragma once

#include <span>
#include <string>
#include <vector>

#include "fluid/Charzation.h"

namespace kestrane {

/// An amount of fluid: moles and masses by component, in one characterization. Every operation
/// keeps masses[i] = moles[i] MW[i] and the totals.
class Tank {
public:
    Tank() = default;
    explicit Tank(std::string tank_name, Charzation* characterization = nullptr);

    /// Takes characterization and amounts; the name stays.
    void copy(const Tank& other);
    /// Sets the characterization and clears all amounts. A buffer that is large enough is kept.
    void rebind(Charzation* characterization);
    void clear();

    /// this = factor * other, converted if the characterizations differ (`other` stays intact).
    void assign_scaled(const Tank& other, double factor);
    /// Composition of `other` at that many total moles; BadTank if it holds none.
    void assign_amount(const Tank& other, double moles_in_all);
    void assign_moles(std::span<const double> amounts, double factor);
    /// BadMW for a zero molecular weight.
    void assign_masses(std::span<const double> amounts, double factor);
    /// BadComponent for an index out of range; BadMW as above.
    void set_mole(int component, double value);
    void set_mass(int component, double value);

    // Adding 0 of anything does nothing, whatever the other arguments.
    void add_scaled(const Tank& other, double factor);
    void add_amount(const Tank& other, double moles_to_add);
    void add_mass_amount(const Tank& other, double mass_to_add);
    void add_moles(std::span<const double> amounts, double factor);
    void add_mole(int component, double value);
    void add_mass(int component, double value);

    /// Sets negative amounts to 0; true if they were significant against `tolerance`.
    bool clean_negative(double tolerance);
    /// Scales to one mole in all; true if the amounts were neither fractions nor percentages
    /// within `tolerance`. BadTank if empty, or if an amount is infinite.
    bool normalize(double tolerance);
    /// Rewrites the amounts in another characterization. What is carried over, moles or masses, is
    /// conserved_basis(). A component keeps the amount that its name has in the source; one that is
    /// a lump of source components takes their sum, weighted by the lump's factors; any other gets
    /// none. Where the plus fraction of GAMMA SPLIT is in both, it goes from its components in the
    /// source to those in the target by the gamma distribution, and only what is lighter goes by
    /// name. From or to no characterization nothing is kept. UnconvertedTank, with the amounts
    /// intact, if the conversion is impossible.
    void convert(Charzation* target);

    /// Recomputes masses and totals from `moles()`, after these were written in place.
    void moles_changed();

    std::span<const double> moles() const { return {amounts_.data(), n_}; }
    std::span<double> moles() { return {amounts_.data(), n_}; }
    std::span<const double> masses() const { return {amounts_.data() + n_, n_}; }
    std::span<double> masses() { return {amounts_.data() + n_, n_}; }
    double total_moles() const { return total_moles_; }
    double total_mass() const { return total_mass_; }
    int n() const { return static_cast<int>(n_); }
    Charzation* charz() const { return charz_; }

    std::string name;  ///< may be empty

private:
    void sum_totals();
    /// The index, or BadComponent.
    std::size_t checked(int component) const;

    Charzation* charz_ = nullptr;  ///< not owned
    std::size_t n_ = 0;
    std::vector<double> amounts_;  ///< room for 2n: moles, then masses
    double total_moles_ = 0.0;     ///< kmol
    double total_mass_ = 0.0;      ///< kg
};

/// Words a failed conversion: `The "{name}" mixture could not be converted ...`; `label` stands
/// for a mixture without a name. Two lines, or more if the reason has several.
std::string conversion_message(const std::string& label, const Tank& tank, const Charzation* target,
                               const std::string& reason);

}  // namespace kestrane
