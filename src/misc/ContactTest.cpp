// The chain of contacts of a moving phase with fresh fluid.

#include <algorithm>
#include <cmath>

#include "misc/MiscExpt.h"
#include "misc/MiscText.h"

namespace kestrane {

namespace {

/// Fewest steps in which mixtures are scanned for two phases.
constexpr int SCAN_STEPS = 50;
/// 2^-104, far below the last digit of any mole fraction that counts.
constexpr double VANISHING = 4.930380657631324e-32;
/// Shares of fresh fluid go from 5/(N + 4) to 5/6, then 1.
constexpr double SHARE_LEAD = 5.0;
constexpr double LEAST_SHARE = 0.001;
/// Below this ratio to the value before, the immiscibility is still falling.
constexpr double FALLING = 0.995;
/// Share of the bracket that a golden section moves by.
constexpr double GOLDEN = 0.3819660112501051;
/// Attempts to reach a fluid from a mixture with two phases, each with half the step.
constexpr int WALK_HALVINGS = 12;

}  // namespace

struct MiscExpt::Chain {
    std::span<const double> fresh;         ///< n, comes in at every contact
    bool vapor_moves;                      ///< the phase that leads the drive
    std::vector<double> moving;            ///< n, what the fresh fluid meets next
    std::vector<double> leading, staying;  ///< n, ends of the last contact's tie-line
    std::vector<double> before;            ///< n, what it met in the contact before
    std::vector<double> ln_k_before;
    std::vector<double> values;  ///< immiscibility of every contact
    std::vector<double> best;    ///< n, moving phase of the best refinement
    double share = 0.0;          ///< of fresh fluid in the last mixture
    bool drawn = false;          ///< the last flash gave a tie-line whose moving phase is real
    double smallest = 4.0;
};

bool MiscExpt::scan(std::span<const double> b, std::span<const double> a) {
    const TrialPolicies policies(cell_, INIT_STABILITY);
    const int steps = std::max(cells_, SCAN_STEPS);
    for (int i = 1; i <= steps + 1 && usable(); ++i) {
        const int k = i <= steps ? i : 0;
        const double share = static_cast<double>(k) / steps;
        flash_mix(1.0 - share, b, share, a);
        if (two_phase()) return true;
    }
    return false;
}

/// Mixes the moving phase with a share of fresh fluid. Returns the immiscibility of the split, 0
/// if it has no moving phase. That phase is the one on the side of the moving phase of the last
/// tie-line: which end of a tie-line is vapor may change from contact to contact, and oil and
/// injected fluid may both lie beyond the same end.
double MiscExpt::chain_trial(Chain& chain, double share) {
    chain.share = share;
    const bool last = share >= 1.0;
    recall_k();
    flash_mix(last ? VANISHING : 1.0 - share, chain.moving, share, chain.fresh);
    chain.vapor_moves = tieLineSide(chain.leading, chain.staying, vapor(), liquid());
    const double fraction = chain.vapor_moves ? cell_.y_state.fraction : cell_.x_state.fraction;
    const double value = cell_immiscibility();
    chain.drawn = value > 0.0 && (last || fraction > 0.0);
    return chain.drawn ? value : 0.0;
}

/// One contact, with less and less fresh fluid until a moving phase stays.
double MiscExpt::chain_contact(Chain& chain, int contact) {
    const bool last = contact >= cells_;
    double share = last ? 1.0 : SHARE_LEAD / (cells_ - contact + SHARE_LEAD);
    double value = chain_trial(chain, share);
    while (value == 0.0 && !last && 0.5 * share >= LEAST_SHARE && usable()) {
        share *= 0.5;
        value = chain_trial(chain, share);
    }
    if (!last || two_phase() || value > 0.0) return value;
    const bool to_oil = chain.fresh.data() == oil_.data();
    fillGap(to_oil ? gas_ : oil_, to_oil ? oil_ : gas_);
    return cell_immiscibility();
}

/// Finds a tie-line through `tank2` by way of its mixtures with a component that lies towards
/// `tank1`. Ends with a flash of tank2 itself.
void MiscExpt::fillGap(std::span<const double> tank1, std::span<const double> tank2) {
    const double pressure1 = vapor_pressure_of(tank1);
    const double pressure2 = vapor_pressure_of(tank2);
    const auto h = static_cast<std::size_t>(pressure1 < pressure2 ? heaviest_ : lightest_);
    std::vector<double> helper(tank2.size(), 0.0);
    helper[h] = 1.0;
    if (!scan(tank2, helper)) {
        flash_mix(1.0, tank2, VANISHING, helper);
        return;
    }
    // From the mixture found back to the fluid: in one step if its K-values carry that far, in
    // smaller ones otherwise.
    const double amount = cell_.feed->moles()[h];
    double share = tank2[h] < 1.0 ? (amount - tank2[h]) / (1.0 - tank2[h]) : 0.0;
    double step = share;
    remember_k();
    for (int halvings = 0; usable();) {
        const double next = std::max(share - step, 0.0);
        recall_k();
        flash_mix(1.0 - next, tank2, std::max(next, VANISHING), helper);
        if (cell_immiscibility() > 0.0) {
            if (next == 0.0) return;
            share = next;
            remember_k();
        } else if (++halvings > WALK_HALVINGS) {
            return;
        } else {
            step *= 0.5;
        }
    }
}

bool MiscExpt::chain_start(Chain& chain) {
    const std::span<const double> start = chain.vapor_moves ? gas_ : oil_;
    if (!scan(start, chain.fresh)) return false;
    const std::span<const double> phase = chain.vapor_moves ? vapor() : liquid();
    const std::span<const double> other = chain.vapor_moves ? liquid() : vapor();
    chain.moving.assign(phase.begin(), phase.end());
    chain.staying.assign(other.begin(), other.end());
    chain.leading = chain.before = chain.best = chain.moving;
    remember_k();
    chain.ln_k_before = kept_ln_k_;
    chain.values.reserve(static_cast<std::size_t>(cells_));
    return true;
}

/// A smaller immiscibility between the shares 0 and `share` of fresh fluid in the contact before
/// which the value stood no higher, by parabolas through three points and bisection.
void MiscExpt::chain_search(Chain& chain, int contact) {
    const auto k = static_cast<std::size_t>(contact - 1);
    double f[3] = {0.0, 0.5 * chain.share, chain.share};
    double v[3] = {chain.values[k - 1], 0.0, chain.values[k]};
    v[1] = chain_trial(chain, f[1]);
    if (!(v[1] < v[0] && v[1] < v[2]) || !chain.drawn) return;
    const auto keep = [&] {
        const std::span<const double> phase = chain.vapor_moves ? vapor() : liquid();
        std::ranges::copy(phase, chain.best.begin());
        remember_k();
        chain.values[k] = v[1];
    };
    keep();
    while (f[2] - f[0] > LEAST_SHARE && usable()) {
        const double p = (f[1] - f[0]) * (v[1] - v[2]), q = (f[1] - f[2]) * (v[1] - v[0]);
        double next = f[1] - 0.5 * ((f[1] - f[0]) * p - (f[1] - f[2]) * q) / (p - q);
        const bool inside = next > f[0] && next < f[2] && std::abs(next - f[1]) >= LEAST_SHARE;
        if (!inside)
            next = f[2] - f[1] > f[1] - f[0] ? f[1] + GOLDEN * (f[2] - f[1])
                                             : f[1] - GOLDEN * (f[1] - f[0]);
        const double value = chain_trial(chain, next);
        const std::size_t side = next < f[1] ? 0 : 2;
        if (value < v[1]) {
            f[2 - side] = f[1];
            v[2 - side] = v[1];
            f[1] = next;
            v[1] = value;
            if (!chain.drawn) {
                chain.values[k] = 0.0;
                return;
            }
            keep();
        } else {
            f[side] = next;
            v[side] = value;
        }
    }
    chain.moving = chain.best;
}

/// Where the immiscibility has stopped falling, the smallest value may lie between two contacts.
void MiscExpt::chain_refine(Chain& chain, int contact) {
    if (contact < 3 || contact >= cells_) return;
    const auto k = static_cast<std::size_t>(contact - 1);
    const std::vector<double>& v = chain.values;
    if (v[k] < FALLING * v[k - 1] || v[k - 1] < FALLING * v[k - 2]) return;
    std::swap(chain.moving, chain.before);
    std::swap(kept_ln_k_, chain.ln_k_before);
    const double before = v[k];
    chain_search(chain, contact);
    if (chain.values[k] < before) return;
    std::swap(chain.moving, chain.before);
    std::swap(kept_ln_k_, chain.ln_k_before);
}

/// The moving phase of the last flash meets the next fresh fluid.
void MiscExpt::chain_advance(Chain& chain) {
    const std::span<const double> phase = chain.vapor_moves ? vapor() : liquid();
    std::ranges::copy(phase, chain.leading.begin());
    std::ranges::copy(chain.vapor_moves ? liquid() : vapor(), chain.staying.begin());
    std::swap(chain.before, chain.moving);
    std::ranges::copy(phase, chain.moving.begin());
    std::swap(chain.ln_k_before, kept_ln_k_);
    remember_k();
}

double MiscExpt::contactTest(Writer* writer, int& mechanism) {
    mechanism = std::clamp<int>(mechanism, VAPORIZING, CONDENSING);
    const CellScope cell_scope(cell_);
    Chain chain;
    chain.vapor_moves = mechanism == VAPORIZING;
    chain.fresh = chain.vapor_moves ? oil_ : gas_;
    if (!chain_start(chain)) return -1.0;
    const TrialPolicies policies(cell_, INIT_NEWTON);
    for (int contact = 1; contact <= cells_ && usable(); ++contact) {
        const double value = chain_contact(chain, contact);
        chain.values.push_back(value);
        if (value > 0.0 && contact < cells_) {
            chain_advance(chain);
            chain_refine(chain, contact);
        }
        chain.smallest = std::min(chain.smallest, chain.values.back());
        if (chain.smallest == 0.0) break;
    }
    if (writer && usable()) print_contacts(*writer, mechanism, chain.values);
    return chain.smallest;
}

}  // namespace kestrane
