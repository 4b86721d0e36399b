#pragma once

#include "equil/A_2P_EOS.h"

namespace kestrane {

/// The Redlich-Kwong family: attraction over V (V + b).
class A_RK_EOS : public A_2P_EOS {
protected:
    A_RK_EOS();
};

/// Redlich and Kwong, Chem. Rev. 44 (1949) 233: alpha = 1/sqrt(Tr).
class RK_EOS final : public A_RK_EOS {
public:
    std::string name() const override { return "Redlich-Kwong"; }
    void fill_T_Parms(EOS_T_Parms& record) const override;
    void alpha_root(double Tr, double omega, double& root, double& slope) const override;
    void omega_from_slope(double x, double dlog, double& omega, double& scale) const override;
};

/// Soave, Chem. Eng. Sci. 27 (1972) 1197.
class SRK_EOS final : public A_RK_EOS {
public:
    std::string name() const override { return "Soave-Redlich-Kwong"; }
    void fill_T_Parms(EOS_T_Parms& record) const override;
    double m_of_omega(double omega) const override;
    double dm_domega(double omega) const override;
    double omega_limit() const override;
};

/// Zudkevich and Joffe, AIChE J. 16 (1970) 112. Its parameters depend on temperature through
/// functions that are not built: the record stays at zero and the fluid is an ideal gas.
class ZJRK_EOS final : public A_RK_EOS {
public:
    std::string name() const override { return "Zudkevich-Joffe"; }
};

/// The Peng-Robinson family: attraction over V (V + b) + b (V - b).
class A_PR_EOS : public A_2P_EOS {
protected:
    A_PR_EOS();
};

/// Peng and Robinson, Ind. Eng. Chem. Fundam. 15 (1976) 59.
class PR77_EOS final : public A_PR_EOS {
public:
    std::string name() const override { return "Peng-Robinson (1977)"; }
    void fill_T_Parms(EOS_T_Parms& record) const override;
    double m_of_omega(double omega) const override;
    double dm_domega(double omega) const override;
    double omega_limit() const override;
};

/// As before, with the authors' later m for acentric factors above 0.49 (Robinson and Peng, GPA
/// Research Report 28, 1978).
class PR79_EOS final : public A_PR_EOS {
public:
    std::string name() const override { return "Peng-Robinson (1979)"; }
    void fill_T_Parms(EOS_T_Parms& record) const override;
    double m_of_omega(double omega) const override;
    double dm_domega(double omega) const override;
};

}  // namespace kestrane
