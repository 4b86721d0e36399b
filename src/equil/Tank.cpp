#include "equil/Tank.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <numeric>
#include <utility>

#include "frame/Errors.h"

namespace kestrane {

namespace {

double sum(std::span<const double> values) {
    return std::accumulate(values.begin(), values.end(), 0.0);
}

/// Molecular weight for moles to masses; a component without one has no mass.
double mass_per_mole(const Compnent& component) {
    return component.mw > 0.0 ? component.mw : 0.0;
}

/// Molecular weight to divide by.
double divisor_mw(const Compnent& component) {
    if (!(component.mw > 0.0)) throw BadMW();
    return component.mw;
}

/// Sets negative amounts to 0; returns how much was negative, as a magnitude.
double clear_negatives(std::span<double> amounts) {
    double negative = 0.0;
    for (double& amount : amounts) {
        if (amount < 0.0) {
            negative -= amount;
            amount = 0.0;
        }
    }
    return negative;
}

/// True for a total that the user meant as fractions or as percentages.
bool is_whole(double total, double tolerance) {
    return std::abs(total - 1.0) <= tolerance || std::abs(total - 100.0) <= 100.0 * tolerance;
}

std::string quoted_name(const Charzation* charz, const std::string& if_unnamed) {
    if (!charz || charz->name.empty()) return if_unnamed;
    return "\"" + charz->name + "\" ";
}

}  // namespace

Tank::Tank(std::string tank_name, Charzation* characterization) : name(std::move(tank_name)) {
    rebind(characterization);
}

void Tank::copy(const Tank& other) {
    if (&other == this) return;
    rebind(other.charz_);
    std::copy_n(other.amounts_.begin(), std::min(2 * n_, 2 * other.n_), amounts_.begin());
    total_moles_ = other.total_moles_;
    total_mass_ = other.total_mass_;
}

void Tank::rebind(Charzation* characterization) {
    charz_ = characterization;
    n_ = characterization ? characterization->size() : 0;
    if (amounts_.size() < 2 * n_) amounts_.resize(2 * n_);
    clear();
}

void Tank::clear() {
    std::fill_n(amounts_.begin(), 2 * n_, 0.0);
    total_moles_ = total_mass_ = 0.0;
}

void Tank::moles_changed() {
    for (std::size_t i = 0; i < n_; ++i) masses()[i] = moles()[i] * mass_per_mole(charz_->comps[i]);
    sum_totals();
}

void Tank::sum_totals() {
    total_moles_ = sum(moles());
    total_mass_ = sum(masses());
}

std::size_t Tank::checked(int component) const {
    if (component < 0 || component >= n()) throw BadComponent();
    return static_cast<std::size_t>(component);
}

// Assignment ---------------------------------------------------------------------------------

void Tank::assign_scaled(const Tank& other, double factor) {
    if (other.charz_ != charz_) {
        Tank converted(other);
        converted.convert(charz_);
        assign_moles(converted.moles(), factor);
    } else {
        assign_moles(other.moles(), factor);
    }
}

void Tank::assign_amount(const Tank& other, double moles_in_all) {
    if (other.total_moles_ == 0.0) throw BadTank();
    assign_scaled(other, moles_in_all / other.total_moles_);
}

void Tank::assign_moles(std::span<const double> amounts, double factor) {
    assert(amounts.size() == n_);
    for (std::size_t i = 0; i < n_; ++i) moles()[i] = factor * amounts[i];
    moles_changed();
}

void Tank::assign_masses(std::span<const double> amounts, double factor) {
    assert(amounts.size() == n_);
    for (std::size_t i = 0; i < n_; ++i) divisor_mw(charz_->comps[i]);  // all or nothing
    for (std::size_t i = 0; i < n_; ++i) {
        masses()[i] = factor * amounts[i];
        moles()[i] = masses()[i] / charz_->comps[i].mw;
    }
    sum_totals();
}

void Tank::set_mole(int component, double value) {
    const std::size_t i = checked(component);
    moles()[i] = value;
    masses()[i] = value * mass_per_mole(charz_->comps[i]);
    sum_totals();
}

void Tank::set_mass(int component, double value) {
    const std::size_t i = checked(component);
    moles()[i] = value / divisor_mw(charz_->comps[i]);
    masses()[i] = value;
    sum_totals();
}

// Addition -----------------------------------------------------------------------------------

void Tank::add_scaled(const Tank& other, double factor) {
    if (factor == 0.0) return;
    if (other.charz_ != charz_) {
        Tank converted(other);
        converted.convert(charz_);
        add_moles(converted.moles(), factor);
    } else {
        add_moles(other.moles(), factor);
    }
}

void Tank::add_amount(const Tank& other, double moles_to_add) {
    if (moles_to_add == 0.0) return;
    if (other.total_moles_ == 0.0) throw BadTank();
    add_scaled(other, moles_to_add / other.total_moles_);
}

void Tank::add_mass_amount(const Tank& other, double mass_to_add) {
    if (mass_to_add == 0.0) return;
    if (other.total_mass_ == 0.0) throw BadTank();
    add_scaled(other, mass_to_add / other.total_mass_);
}

void Tank::add_moles(std::span<const double> amounts, double factor) {
    if (factor == 0.0) return;
    assert(amounts.size() == n_);
    for (std::size_t i = 0; i < n_; ++i) moles()[i] += factor * amounts[i];
    moles_changed();
}

void Tank::add_mole(int component, double value) {
    if (value == 0.0) return;
    set_mole(component, moles()[checked(component)] + value);
}

void Tank::add_mass(int component, double value) {
    if (value == 0.0) return;
    set_mass(component, masses()[checked(component)] + value);
}

// Preparation --------------------------------------------------------------------------------

bool Tank::clean_negative(double tolerance) {
    const double negative_moles = clear_negatives(moles());
    const double negative_mass = clear_negatives(masses());
    sum_totals();
    return tolerance * total_moles_ < negative_moles || tolerance * total_mass_ < negative_mass;
}

bool Tank::normalize(double tolerance) {
    if (total_moles_ == 0.0) throw BadTank();
    const bool altered = !is_whole(total_moles_, tolerance) && !is_whole(total_mass_, tolerance);
    if (!std::isfinite(total_moles_) || !std::isfinite(total_mass_)) {
        // Amounts near the largest double: their sum overflows, their ratios do not.
        const double largest = *std::max_element(moles().begin(), moles().end());
        if (!std::isfinite(largest) || largest <= 0.0) throw BadTank();
        for (double& amount : moles()) amount /= largest;
        moles_changed();
        if (!std::isfinite(total_moles_)) throw BadTank();
    }
    const double total = total_moles_;
    for (std::size_t i = 0; i < 2 * n_; ++i) amounts_[i] /= total;
    total_moles_ = 1.0;
    total_mass_ = sum(masses());
    return altered;
}

std::string conversion_message(const std::string& label, const Tank& tank, const Charzation* target,
                               const std::string& reason) {
    std::string text = tank.name.empty() ? label : "The \"" + tank.name + "\" mixture";
    text += " could not be converted from its " + quoted_name(tank.charz(), "") +
            "characterization\nto the " + quoted_name(target, "current ") + "characterization";
    if (!reason.empty()) text += " because of " + reason;
    return text;
}

}  // namespace kestrane
