#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "equil/Fluids.h"
#include "lab/LabRun.h"

namespace kestrane::fluids {

/// Methane, butane, decane and carbon dioxide of Ahmadi and Johns (SPE 116823, 2008), at 160 F.
inline Fluid gas_drive_fluid() {
    const auto component = [](std::string name, double mw, double Tc, double Pc, double omega) {
        return Component{std::move(name), mw, from_fahrenheit(Tc), from_psia(Pc), omega};
    };
    Fluid fluid;
    fluid.name = "gas drive";
    fluid.components = {component("C1", 16.043, -116.63, 667.8, 0.0104),
                        component("C4", 58.12, 305.65, 550.7, 0.201),
                        component("C10", 142.28, 652.1, 305.7, 0.49),
                        component("CO2", 44.01, 87.9, 1071.0, 0.225)};
    fluid.kij = pairs(
        4,
        {{0, 1, 0.027}, {0, 2, 0.042}, {0, 3, 0.1}, {1, 2, 0.008}, {1, 3, 0.1257}, {2, 3, 0.0942}});
    return fluid;
}
inline const double GAS_DRIVE_T = from_fahrenheit(160.0);

/// A script that defines the components, in kelvin and pascal with all digits.
inline std::string char_block(const Fluid& fluid) {
    std::ostringstream text;
    const auto cell = [&text](const std::string& word) {
        text << word << std::string(word.size() < 26 ? 26 - word.size() : 1, ' ');
    };
    const auto number = [&cell](double value) {
        std::ostringstream digits;
        digits.precision(15);
        digits << value;
        cell(digits.str());
    };
    text << "CHAR\n";
    for (const char* head : {"NAME", "MW", "TC(K)", "PC(bar)", "AF"}) cell(head);
    text << "\n";
    for (const Component& c : fluid.components) {
        cell(c.name);
        for (double value : {c.mw, c.Tc, c.Pc / 1e5, c.omega}) number(value);
        text << "\n";
    }
    cell("BIPS");
    for (std::size_t j = 0; j + 1 < fluid.n(); ++j) cell(fluid.components[j].name);
    text << "\n";
    for (std::size_t i = 1; i < fluid.n(); ++i) {
        cell(fluid.components[i].name);
        for (std::size_t j = 0; j < i; ++j) number(fluid.kij.empty() ? 0.0 : fluid.kij[i][j]);
        text << "\n";
    }
    text << "END\n";
    return text.str();
}

inline std::string mixture(const Fluid& fluid, const std::string& name,
                           const std::vector<double>& z) {
    std::ostringstream text;
    text.precision(15);
    text << "QMIX " << name;
    for (std::size_t i = 0; i < z.size(); ++i)
        if (z[i] > 0.0) text << " " << fluid.components[i].name << " " << z[i];
    text << "\n";
    return text.str();
}

/// Components, oil as FEED and injected fluid as GAS at the temperature (K).
inline std::string gas_drive(const Fluid& fluid, double T, const std::vector<double>& oil,
                             const std::vector<double>& gas) {
    std::ostringstream text;
    text.precision(15);
    text << char_block(fluid) << mixture(fluid, "FEED", oil) << mixture(fluid, "GAS", gas)
         << "TEMP " << T << " K\n";
    return text.str();
}

/// An MMP of a script as a number, Pa, with its mechanism.
struct MmpResult {
    double pressure = 0.0;
    std::string mechanism;
    std::string report;
};
inline MmpResult find_mmp(const std::string& script) {
    LabRun run(script);
    MmpResult result;
    result.pressure = run.lab.cell().pressure.value;
    result.report = run.report();
    const std::string mark = "Predicted Mechanism = ";
    const std::size_t at = result.report.rfind(mark);
    if (at != std::string::npos) {
        const std::size_t from = at + mark.size();
        result.mechanism = result.report.substr(from, result.report.find('\n', from) - from);
    }
    return result;
}

/// The composition with a trace of every component, so that tie-lines through it are defined by
/// logarithms; the heaviest gets the larger trace.
inline std::vector<double> with_traces(std::vector<double> z, std::size_t heaviest) {
    for (std::size_t i = 0; i < z.size(); ++i)
        if (z[i] <= 0.0) z[i] = i == heaviest ? 1e-7 : 1e-14;
    return z;
}

}  // namespace kestrane::fluids
