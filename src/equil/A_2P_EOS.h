#pragma once

#include <string>
#include <vector>

#include "equil/EOS.h"

namespace kestrane {

/// An equation that is cubic in volume.
class Cubic_EOS : public EOS {
public:
    void check_component(const Compnent& component, ErrorList& errors) const override;
};

/// The family of two-parameter cubic equations
///
///     P = R T/(V - b) - a/((V - b + c1 b)(V - b + c2 b)),
///
/// solved for z = P (V - b)/(R T). In the records b stands for b/(R T) and a for a/(R T)^2, both
/// in 1/Pa, so that R never appears; A = a P, B = b P. A volume translation c_i = s_i b_i shifts
/// the reported volume only: Z = z + B - C.
class A_2P_EOS : public Cubic_EOS {
public:
    class T_Parms;
    class C_Parms;

    std::string name() const override { return {}; }
    PtrTo<EOS_T_Parms> make_T_Parms(const Charzation& charz, double T) const override;
    /// A null temperature record gives a null phase record.
    PtrTo<EOS_C_Parms> make_C_Parms(PtrTo<const EOS_T_Parms> t_parms,
                                    ErrorList* errors) const override;
    void set_T_Parms(EOS_C_Parms& phase, PtrTo<const EOS_T_Parms> t_parms) const override;
    void set_pressure(EOS_C_Parms& phase, double P) const override;
    void set_composition(EOS_C_Parms& phase, std::span<const double> x) const override;
    void solve_z(EOS_C_Parms& phase, int& root, int& root_class) const override;
    int select_root(EOS_C_Parms& phase, int hint) const override;
    /// The side of the cubic's inflection that the selected root lies on, doubled if there are two
    /// roots.
    int root_code(const EOS_C_Parms& phase) const override;
    double z_factor(const EOS_C_Parms& phase) const override;
    void z_factors(const EOS_C_Parms& phase, double& low, double& high) const override;
    void raw_roots(const EOS_C_Parms& phase, double& low, double& high) const override;
    /// Residual Gibbs energy over R T, less the terms that are the same for both roots.
    void root_energies(const EOS_C_Parms& phase, double& low, double& high) const override;
    void ln_phi(EOS_C_Parms& phase, std::span<double> out) const override;
    void ln_phi_dlnp(const EOS_C_Parms& phase, std::span<double> out, bool subtract) const override;
    void ln_phi_dn(const EOS_C_Parms& phase, std::span<double> out) const override;
    void add_volume_term(const EOS_C_Parms& phase, std::span<double> array,
                         double factor) const override;
    double translation(const EOS_C_Parms& phase) const override;
    double vapor_pressure(EOS_C_Parms& phase) const override;
    bool below_pseudo_critical(const EOS_C_Parms& phase) const override;
    bool is_lighter(const EOS_C_Parms& p, const EOS_C_Parms& q) const override;
    double parameter(const std::string& which) const override;
    void derive_pseudo_component(const Charzation& source, Charzation& target, double T,
                                 std::span<const std::vector<double>> weights,
                                 std::span<const int> index_map) const override;
    bool newton_root(double a2, double a1, double a0, double lower, double upper, double guess,
                     double& z, double& dz, ErrorList* errors) const override;

    /// Fills aij, bi and ci of a record whose characterization and temperature are set. Idle here.
    virtual void fill_T_Parms(EOS_T_Parms& record) const;
    /// The slope of sqrt(alpha) against 1 - sqrt(Tr), and its derivative; 1 and 0 here.
    virtual double m_of_omega(double omega) const;
    virtual double dm_domega(double omega) const;
    /// The largest acentric factor up to which m increases.
    virtual double omega_limit() const;
    /// sqrt(alpha) and its derivative with respect to ln Tr; both 0 where alpha is clamped.
    virtual void alpha_root(double Tr, double omega, double& root, double& slope) const;
    /// The acentric factor and Tr of the substance that has x = sqrt(alpha/Tr) and
    /// d ln sqrt(alpha)/d ln Tr = dlog; `scale` is that Tr, 0 if there is none.
    virtual void omega_from_slope(double x, double dlog, double& omega, double& scale) const;

    const double c1, c2;   ///< constants of the attraction term's denominator, c1 < c2
    const double y_crit;   ///< z/B at the critical point
    const double omega_b;  ///< b Pc/(R Tc) at the critical point
    const double omega_a;  ///< a Pc/(R Tc)^2 at the critical point

protected:
    A_2P_EOS(double first, double second);

    /// Covolumes, and sqrt(a_i) into the array that ends as ci.
    void fill_soave(T_Parms& record) const;
    void fill_covolumes(T_Parms& record) const;
    /// a_ij from sqrt(a_i) and the interaction parameters, then c_i. Called last.
    static void fill_pairs(T_Parms& record);

private:
    /// The acentric factor that has that m, or the nearest.
    double omega_of_m(double M) const;
    /// Both roots of the cubic from A, p1 = c1 B and p2 = c2 B.
    static void solve_cubic(C_Parms& p, double p1, double p2);
    /// Sets the pressure and solves for the high root; true if there are two.
    bool vapor_roots(C_Parms& p, double P) const;
};

/// Temperature record of a two-parameter equation.
class A_2P_EOS::T_Parms final : public EOS_T_Parms {
public:
    T_Parms(const Charzation& characterization, double temperature);
    T_Parms(const T_Parms&) = delete;
    T_Parms& operator=(const T_Parms&) = delete;

    /// Copies the triangle `aij` into `rows`.
    void mirror();

    std::size_t n = 0;
    /// Length of a row of `rows`: n rounded up to whole blocks of BLOCK.
    std::size_t stride = 0;
    double* aij = nullptr;   ///< a/(R T)^2, 1/Pa, packed lower triangle, n(n+1)/2
    double* bi = nullptr;    ///< b/(R T), 1/Pa, n
    double* ci = nullptr;    ///< volume translation, 1/Pa, n
    double* rows = nullptr;  ///< `aij` as a full matrix, n rows of `stride`, zeros behind each row

    static constexpr std::size_t BLOCK = 8;

private:
    std::vector<double> store_;  ///< holds all arrays
};

/// Phase record of a two-parameter equation. Sums a, b, c are per Pa; A, B, C their products
/// with P.
class A_2P_EOS::C_Parms final : public EOS_C_Parms {
public:
    C_Parms(PtrTo<const EOS_T_Parms> record, ErrorList* error_list);

    /// Takes another temperature record. Allocates only if it has more components.
    void bind(PtrTo<const EOS_T_Parms> record);
    const T_Parms& temperature() const { return static_cast<const T_Parms&>(*t_parms); }

    double P = 0.0;  ///< Pa
    double a = 0.0, b = 0.0, c = 0.0;
    double A = 0.0, B = 0.0, C = 0.0;
    double z_low = 1.0, z_high = 1.0, z_sel = 1.0;
    double dzi_low = 0.0, dzi_high = 0.0, dzi_sel = 0.0;  ///< reciprocal slopes of the cubic
    double zp1 = 1.0, zp2 = 1.0;                          ///< z_sel + c1 B, z_sel + c2 B
    double L = 0.0;                                       ///< P ln(zp1/zp2)/(c2 B - c1 B)
    std::vector<double> s;  ///< sum_j a_ij x_j, n and room for whole blocks
};

}  // namespace kestrane
