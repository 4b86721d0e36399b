#pragma once

#include "frame/Unset.h"

namespace kestrane {

/// Specific gravity of petroleum cuts from molecular weight: SG = sg0 + sg1 (MW - mw0)^mw1.
/// I. Soreide, Improved phase behavior predictions of petroleum reservoir fluids from a cubic
/// equation of state, Dr. Ing. thesis, NTH Trondheim, 1989. One set for the whole run.
struct Soreide {
    double mw0 = 66.0;    ///< shift, kg/kmol
    double mw1 = 0.13;    ///< exponent
    double sg1 = 0.29;    ///< factor
    double sg0 = 0.2855;  ///< offset

    bool active() const { return sg1 * mw1 > 0.0; }
    /// False (outputs untouched) if inactive or out of range. `slope` may be null.
    bool sg_from_mw(double mw, double& sg, double* slope = nullptr) const;
    bool mw_from_sg(double sg, double& mw, double* slope = nullptr) const;
};

/// Process-wide correlation state, set by SOR&, JACOBY and TWUM&.
struct CorrelationState {
    Soreide soreide;
    double aromaticity = 0.0;  ///< of the Jacoby form
    double twu_damping = 1.0;  ///< of the Twu molecular weight perturbation
};
CorrelationState& correlation_state();
/// Chooses the form of R.H. Jacoby with that aromaticity factor, which is kept:
/// SG = 0.8468 - 15.8/MW + a (0.2456 - 1.77/MW).
void use_jacoby_form(double aromaticity);

/// Twu's correlation of critical properties and molecular weight with boiling point and specific
/// gravity. Values are worked out at first request and kept until an input changes.
/// C.H. Twu, Fluid Phase Equilibria 16 (1984) 137-150.
class TwuProps {
public:
    /// Each returns false, leaving its outputs unset, where the correlation has no answer.
    bool set_tb(double tb_kelvin);  ///< resets everything when it changes
    bool set_sg(double sg);         ///< <= 0 asks for the normal paraffin
    bool set_tb_sg(double tb_kelvin, double sg);
    bool set_ln_mw(double ln_mw);  ///< <= 0 asks for the normal paraffin
    bool set_tb_ln_mw(double tb_kelvin, double ln_mw);
    /// Boiling point from ln MW and/or SG, either <= 0 if not known.
    bool solve(double ln_mw, double sg);

    // UNSET where not available; internal units (K, Pa, m3/kmol).
    double tb() const;
    double sg() const { return sg_; }
    double ln_mw();
    double tc();
    double pc();
    double vc();
    double zc();
    /// Normal paraffin of the present boiling point.
    double paraffin_sg();
    double paraffin_ln_mw() const { return theta_; }

private:
    void reset();
    void reset_gravity();
    void paraffin();
    bool set_theta(double theta);
    bool iterate(double ln_mw, double sg);
    bool seek_paraffin(double sg);

    // English units as in the publication.
    double tb_ = UNSET;           ///< R
    double inv_root_tb_ = UNSET;  ///< R^-1/2
    double alpha_ = UNSET;
    double theta_ = UNSET;  ///< ln of the normal paraffin's MW
    double sg0_ = UNSET;
    double tc0_ = UNSET;  ///< R
    double pc0_ = UNSET;  ///< psia
    double vc0_ = UNSET;  ///< ft3/lbmol
    double sg_ = UNSET;
    double ln_mw_ = UNSET;
    double tc_ = UNSET;
    double pc_ = UNSET;
    double vc_ = UNSET;
    double zc_ = UNSET;
};

inline constexpr double CH2_MW = 14.026879999999998;  ///< kg/kmol
inline constexpr double H2_MW = 2.01588;              ///< kg/kmol
/// Molecular weight of the normal paraffin with n carbon atoms, kg/kmol.
constexpr double paraffin_mw(int n) {
    return n * CH2_MW + H2_MW;
}

/// Twu's normal paraffin, UNSET where there is none.
double twu_paraffin_sg_of_tb(double tb_kelvin);
double twu_paraffin_sg_of_ln_mw(double ln_mw);
double twu_paraffin_tb_of_ln_mw(double ln_mw);  ///< K

/// Gravity of a cut of that molecular weight: the Soreide form if it is active and succeeds, else
/// the Twu normal paraffin. False if there is none.
bool sg_of_mw(double mw, double& sg);
bool mw_of_sg(double sg, double& mw);
/// Fills the missing ones (<= 0) of molecular weight, boiling point (K) and gravity; what cannot be
/// filled becomes UNSET.
void fill_triple(double& mw, double& tb, double& sg);

}  // namespace kestrane
