#pragma once

#include <memory>
#include <string>
#include <vector>

#include "equil/Tank.h"
#include "fluid/GammaDis.h"
#include "fluid/GammaSplit.h"
#include "fluid/GammaState.h"
#include "regress/Fitter.h"

namespace kestrane {

/// What is asked of a gamma fit beyond the mixture.
struct GammaFitChoice {
    bool fits = true;             ///< else the present parameters are only compared with the data
    bool by_amounts = false;      ///< else the amounts are given and the molecular weights fitted
    std::size_t fit_count = 0;    ///< cuts that take part, from the lightest on
    std::size_t reported = 0;     ///< cuts that get a line of their own in the report
    std::vector<double> weights;  ///< one for each cut, then of the mean; below 0 stands for 1
    Conserved basis = Conserved::Moles;
};

/// Adjusts shape, average, bound and origin of the gamma distribution to the cuts of a plus
/// fraction, all molecular weights in kg/kmol. The four variables are the shape, the average as a
/// multiple of the fraction's mean, the bound as a multiple of the first cut's molecular weight and
/// the origin as a multiple of the bound.
class Gamma_Fitter : public Fitter {
public:
    /// Takes the data of the fraction. What is wrong with them goes to `errors`; the fitter can
    /// only be run if that is still usable.
    Gamma_Fitter(Charzation& charzation, const CutOrder& cut_order, const Tank& mixture,
                 GammaFitChoice choice, ErrorList& errors);

    /// Fits, or with MODEL evaluates once, and leaves the calculated values. A fit stores its
    /// result in the gamma parameters of the run, and the boundaries that belong to it in the
    /// components.
    void run(Reader& reader, ErrorList& errors);

    std::string cut_name(std::size_t k) const;
    double mean_deviation() const { return deviations.back(); }

    Charzation& charz;
    GammaDis dist;  ///< set at every evaluation
    GammaFitChoice chosen;
    CutOrder order;
    std::size_t count = 0;                        ///< cuts
    std::vector<double> moles, masses, mws;       ///< measured, one for each cut
    std::vector<double> calc_moles, calc_masses;  ///< in the amounts of the mixture
    std::vector<double> calc_mws, calc_lower;     ///< molecular weights, lower boundaries
    std::vector<double> lower_mws;                ///< boundaries given, or middles
    std::vector<double> weights;                  ///< one for each cut, then of the mean
    std::vector<double> deviations;               ///< likewise, unweighted; UNSET for none
    double plus_moles = 0.0, plus_mass = 0.0;     ///< of all cuts
    double fit_moles = 0.0, fit_mass = 0.0;       ///< of those not ignored
    double mean_mw = 0.0, first_mw = 0.0;         ///< of the fraction, of its first cut

protected:
    bool by_mole() const { return chosen.basis == Conserved::Moles; }
    bool ignores_cuts() const { return chosen.fit_count < count; }
    /// The distribution of the present variables. False, with an entry in `errors`, if there is
    /// none.
    bool make_distribution(ErrorList& errors);
    /// Where what a trial distribution complains of goes: only the final one counts.
    ErrorList& complaints(ErrorList& errors, EvaluationMode mode);
    /// Records and adds the residual of a cut, or of the mean for k = count.
    void add_deviation(std::size_t k, double deviation);
    void add_mean_deviation() { add_deviation(count, dist.average / mean_mw - 1.0); }
    /// Sets calculated moles and masses from amounts of the conserved kind, `factor` each.
    void set_amounts(std::span<const double> amounts, double factor);
    /// Boundaries of which the distribution's bound is the first, ascending.
    void take_boundaries(std::span<const double> given);

private:
    virtual bool fits_boundaries() const = 0;

    void take_cuts(const Tank& mixture, ErrorList& errors);
    void check_weights(ErrorList& errors) const;
    void check_order(ErrorList& errors) const;
    void sum_amounts(ErrorList& errors);
    void define_variables();
    double multiplier(GammaParameter parameter, double value) const;
    void apply(Reader& reader, ErrorList& errors);

    ErrorList trial_complaints_;
};

/// Fits amounts of cuts whose boundaries are given.
class Gam_Amt_Fitter final : public Gamma_Fitter {
public:
    using Gamma_Fitter::Gamma_Fitter;
    void evaluate(Reader& reader, ErrorList& errors, EvaluationMode mode) override;

private:
    bool fits_boundaries() const override { return false; }

    std::vector<double> fractions_;
};

/// Fits molecular weights of cuts whose amounts are given: their boundaries follow from these.
class Gam_MW_Fitter final : public Gamma_Fitter {
public:
    using Gamma_Fitter::Gamma_Fitter;
    void evaluate(Reader& reader, ErrorList& errors, EvaluationMode mode) override;

private:
    bool fits_boundaries() const override { return true; }
    double share_ignored(ErrorList& errors);

    std::vector<double> amounts_, others_;
    std::vector<double> tail_bounds_, tail_fractions_, tail_mws_;
};

/// The fitter that the choice asks for.
std::unique_ptr<Gamma_Fitter> make_gamma_fitter(Charzation& charz, const CutOrder& order,
                                                const Tank& mixture, const GammaFitChoice& choice,
                                                ErrorList& errors);

}  // namespace kestrane
