#pragma once

#include <optional>
#include <span>
#include <vector>

#include "equil/EOS.h"
#include "frame/ErrorList.h"
#include "misc/BandSolver.h"

namespace kestrane {

/// The key tie-lines of a displacement of oil by an injected fluid: of n components n - 1
/// tie-lines, the first extended through the injected fluid, the last through the oil, each
/// meeting the next one (Y. Wang and F.M. Orr, Fluid Phase Equilib. 139 (1997) 101). All are
/// solved for together by Newton's method and followed upwards from a low pressure, where they are
/// known, to the pressure at which one shrinks to a point. Beyond that the displacement is
/// miscible. What is followed from low pressure cannot be one of the other solutions that the same
/// equations have at higher pressures (H. Yuan and R.T. Johns, SPE Journal, 2005).
class KeyTieLines {
public:
    struct Shortest {
        double immiscibility = 0.0;
        std::size_t line = 0;   ///< 0 the injected fluid's
        std::size_t lines = 0;  ///< tie-lines in all
    };

    /// Components that neither fluid holds are left out; of those that only one holds the other
    /// gets a trace. The characterization must outlive the object.
    KeyTieLines(Charzation& charz, double T, std::span<const double> gas,
                std::span<const double> oil);

    /// The shortest key tie-line at P (Pa), of immiscibility 0 from the pressure on at which it
    /// vanishes. Nothing if they could not be followed so far.
    std::optional<Shortest> at(double P);
    /// Mole fractions (all components of the characterization) of a key tie-line's phase at the
    /// last pressure asked for. Empty if at() had no solution there.
    std::vector<double> phase(std::size_t line, bool vapor) const;
    /// Pressure up to `limit` at which the first of them vanishes, Pa; nothing if there is none or
    /// if they could not be followed.
    std::optional<double> vanishing_pressure(double limit);

private:
    struct State {
        double ln_P = 0.0;
        std::vector<double> u;
    };
    enum class End { None, Vanished, Lost };

    std::size_t line_start(std::size_t line) const { return 2 + line * (2 * n_ + 4); }
    std::span<double> part(std::vector<double>& u, std::size_t first, std::size_t size) const {
        return std::span(u).subspan(first, size);
    }

    bool set_up(Charzation& charz, std::span<const double> gas, std::span<const double> oil);
    double first_pressure() const;
    bool start();
    bool leave_constant_k(State& state);
    void scale_places(std::vector<double>& u) const;
    bool newton(State& state, const State* direction = nullptr);
    void equations(const State& state);
    void line_equations(const std::vector<double>& u, std::size_t line, std::size_t row);
    void end_equations(const std::vector<double>& u, std::size_t line, std::size_t place,
                       std::span<const double> fluid, std::size_t row);
    void meeting_equations(const std::vector<double>& u, std::size_t line, std::size_t row);
    void fugacities(EOS_C_Parms& phase, std::span<const double> x, int hint,
                    std::span<double> ln_phi, std::span<double> dn, std::span<double> dp);
    double squared_length(const std::vector<double>& u, std::size_t line) const;
    double way_to_go(std::size_t& line) const;
    void predict(double h);
    void step();
    bool round_fold();
    bool is_expected() const;
    void extend_to(double ln_P);
    Shortest shortest_of(const std::vector<double>& u) const;

    PtrTo<const EOS> eos_;
    PtrTo<const EOS_T_Parms> t_parms_;
    PtrTo<EOS_C_Parms> liquid_, vapor_;
    ErrorList errors_;
    std::size_t all_ = 0, n_ = 0, lines_ = 0;
    std::vector<std::size_t> components_;  ///< n, those that either fluid holds
    std::vector<double> gas_, oil_;        ///< n
    std::vector<double> ln_wilson_;        ///< n, at 1 Pa
    double lambda_ = 1.0;                  ///< share of the equation of state in ln K
    double ln_P_ = 0.0;                    ///< of the equations
    double solutions_left_ = 0.0;          ///< what the work of a path is limited to
    BandSolver matrix_;
    std::vector<double> residual_, by_ln_P_;  ///< of the equations, and its derivatives
    std::vector<double> reference_;           ///< the estimate that Newton's method started from
    std::vector<double> full_, full_phi_, full_dn_, full_dp_;
    std::vector<double> x_, y_, phi_x_, phi_y_, dn_x_, dn_y_, dp_x_, dp_y_;
    double worst_ = 0.0;  ///< largest scaled residual
    std::vector<State> path_;
    State trial_;
    bool solved_ = false;  ///< trial_ is a solution at the pressure asked for
    double step_ = 0.0;
    double vanished_ln_P_ = 0.0;
    std::size_t vanished_line_ = 0;
    End end_ = End::None;
};

}  // namespace kestrane
