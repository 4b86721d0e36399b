#pragma once

#include <cmath>
#include <iomanip>
#include <sstream>
#include <string>

#include "equil/Fluids.h"

/// Fluids and scripts that more than one measurement uses.
namespace kestrane::studies {

/// n paraffins spread evenly between methane and C20, whatever n is: a finer description of one
/// fluid rather than a heavier fluid, so that cost against n shows the arithmetic and not the
/// thermodynamics. Half methane, the rest falling with the carbon number.
inline fluids::Fluid spread_paraffins(std::size_t n) {
    fluids::Fluid fluid;
    fluid.name = std::to_string(n) + " paraffins from methane to C20";
    for (std::size_t i = 0; i < n; ++i) {
        const double c = n < 2 ? 1.0 : 1.0 + 19.0 * static_cast<double>(i) / double(n - 1);
        std::string label = "P";
        label += std::to_string(i + 1);
        fluid.components.push_back({label, 14.027 * c + 2.016,
                                    1050.0 * (1.0 - 0.82 * std::exp(-0.083 * (c - 1.0))),
                                    46.0e5 * std::exp(-0.075 * (c - 1.0)) + 0.8e5,
                                    0.011 + 0.0475 * (c - 1.0) - 0.00025 * (c - 1.0) * (c - 1.0)});
        fluid.z.push_back(i == 0 ? 0.0 : std::exp(-0.09 * c));
    }
    fluids::normalize(fluid.z);
    if (n < 2) fluid.z.assign(n, 1.0);
    for (double& amount : fluid.z) amount *= 0.5;
    fluid.z.front() += 0.5;
    return fluid;
}

/// The same fluid as the text of a script, with its amounts as FEED.
inline std::string spread_script(std::size_t n) {
    const fluids::Fluid fluid = spread_paraffins(n);
    std::ostringstream text, amounts;
    text << std::left << std::setprecision(12);
    amounts << std::setprecision(12);
    // A cell belongs to the heading above it.
    const auto row = [&text](const auto&... cells) {
        ((text << std::setw(18) << cells), ...);
        text << "\n";
    };
    text << "CHAR Paraffins\n";
    row("NAME", "MW", "TC(K)", "PC(bar)", "AF");
    for (std::size_t i = 0; i < n; ++i) {
        const auto& c = fluid.components[i];
        row(c.name, c.mw, c.Tc, c.Pc / 1e5, c.omega);
        amounts << ' ' << fluid.z[i];
    }
    text << "END\nEND\nQMIX FEED" << amounts.str() << "\nTEMP 380 K\n";
    return text.str();
}

/// Normal paraffins C1 to Cn of the library, all amounts falling by the same ratio.
inline std::string library_paraffins(int n, double ratio) {
    std::ostringstream script;
    script << "CHAR Paraffins\nNAME MW TC(K) PC(bar) AF\n";
    for (int i = 1; i <= n; ++i) script << (i > 3 ? "N-C" : "C") << i << "\n";
    script << "END\nEND\nQMIX FEED";
    double amount = 1.0;
    for (int i = 1; i <= n; ++i, amount *= ratio) script << ' ' << amount;
    script << "\nTEMP 380 K\n";
    return script.str();
}

/// Rows of an experiment: pressures falling evenly from 300 bar to 20 bar.
inline std::string stages(const std::string& heads, int count) {
    std::ostringstream block;
    block << heads << "\n";
    for (int i = 0; i < count; ++i)
        block << 300.0 - 280.0 * i / (count > 1 ? count - 1 : 1) << "\n";
    block << "END\n";
    return block.str();
}

/// A condensate of 12 components, on which five variables act: to be fitted, or constants with a
/// name, so that a script with measured values is only evaluated.
enum class Variables { Fitted, Constant };
inline std::string condensate(Variables variables) {
    const bool fitted = variables == Variables::Fitted;
    const auto variable = [fitted](const std::string& name, const std::string& value,
                                   const std::string& bounds) {
        return "VAR " + name + " " + value + " " + (fitted ? bounds : value + " " + value) + "\n";
    };
    return variable("tc", "1.02", "0.9 1.1") + variable("pc", "0.97", "0.9 1.1") +
           variable("kij", "0.04", "0 0.1") + variable("shift", "0.02", "-0.1 0.1") +
           variable("p0", "1.05", "0.8 1.2") +
           "CHAR Gas\n"
           "NAME    MW    SG     TC(K)   PC(bar)   AF     VTRAN\n"
           "N2\nCO2\nC1\nC2\nC3\nI-C4\nN-C4\nI-C5\nN-C5\nN-C6\n"
           "F1      110   0.75   570     28        0.32   0.0\n"
           "F2      190   0.82   690     19        0.55   0.05\n"
           "BIPS    N2     CO2    C1\n"
           "F1      0.08   0.10   0.02\n"
           "F2      0.10   0.10   0.04\n"
           "END\n"
           "MUL TC OF F1 TO F2 BY tc\nMUL PC OF F1 TO F2 BY pc\nREP BIP OF C1 WITH F2 BY kij\n"
           "INCR VTRAN OF F1 TO F2 BY shift\nEND\n"
           "MUL LBC P0 BY p0\n"
           "QMIX Gas 0.01 0.02 0.72 0.08 0.05 0.01 0.02 0.01 0.01 0.02 0.03 0.02\n";
}

/// A dew point, and a depletion in 45 flashes.
inline std::string condensate_study(Variables variables) {
    std::string script = condensate(variables) + "QMIX FEED Gas\nSATP 380 K\n";
    for (int stage = 0; stage < 45; ++stage)
        script += "FLASH 380 K " + std::to_string(280 - 6 * stage) + " bar\n";
    return script;
}

/// One experiment of 15 stages on the condensate at its dew point. All calculated columns are
/// measured in every row: what was measured changes the fit, not the work of an evaluation.
inline std::string experiment(const std::string& keyword, int temperature, const std::string& heads,
                              const std::string& units, const std::string& measured) {
    std::string script = "QMIX FEED Gas\nTEMP " + std::to_string(temperature) + " K\nPRES 0 bar\n" +
                         keyword + "\nDEWP 280 bar\nPRES    " + heads + "\nbar     " + units + "\n";
    for (int stage = 0; stage < 15; ++stage)
        script += std::to_string(350 - 23 * stage) + "     " + measured + "\n";
    return script + "END\n";
}

/// Expansions and depletions by turns, 15 stages each; of three, 153 measured values.
inline std::string experiments(int count, Variables variables) {
    std::string script = condensate(variables);
    for (int i = 0; i < count; ++i) {
        if (i % 3 == 0)
            script += experiment("CCE", 380, "RV     LRV     GZ      GVIS",
                                 "                        cp", "1.5    0.04    0.9     0.03");
        else if (i % 3 == 1)
            script += experiment("CCE", 420, "RV     LRV     GZ", "", "1.6    0.03    0.95");
        else
            script += experiment("CVD", 380, "RMR    LRV     GZ", "", "0.4    0.05    0.9");
    }
    return script;
}

}  // namespace kestrane::studies
