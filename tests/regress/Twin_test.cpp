// Twin experiments: data made by the program with known parameters, from which a regression that
// begins elsewhere must find them again.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <ostream>

#include "DriverRun.h"

namespace kestrane {
namespace {

/// Where in the script a modifier stands.
enum class Place { BeforeFluid, InFluid, BehindMixture };

/// One modifier with a variable, "$" in its text.
struct Target {
    const char* name;
    Place place;
    std::string text;
    double truth, start, low, high;
};

void PrintTo(const Target& target, std::ostream* stream) {
    *stream << target.name;
}

const std::vector<Target>& targets() {
    static const std::vector<Target> list{
        {"CriticalTemperature", Place::InFluid, "MUL TC OF C20 BY $", 1.04, 0.97, 0.9, 1.1},
        {"CriticalPressure", Place::InFluid, "INCR PC OF C20 BY $ bar", 1.5, -1.0, -3.0, 3.0},
        {"AcentricFactor", Place::InFluid, "INCR AF OF C20 BY $", 0.06, -0.02, -0.1, 0.1},
        {"Translation", Place::InFluid, "DECR VTRAN OF C10 TO C20 BY $", 0.05, 0.0, -0.1, 0.1},
        {"Interaction", Place::InFluid, "REP BIP OF C1 WITH C10 THRU C20 BY $", 0.045, 0.01, 0.0,
         0.1},
        {"ChuehExponent", Place::InFluid, "CORR\nCHUEH OF C1 WITH C5 TO C20 BY $", 1.3, 0.7, 0.0,
         2.5},
        {"Moles", Place::BehindMixture, "MUL MOLES OF C1 IN FEED BY $", 1.1, 0.95, 0.8, 1.3},
        {"Mass", Place::BehindMixture, "INCR MASS OF C20 IN FEED BY $ kg", 3.0, -2.0, -8.0, 8.0},
        {"Temperature", Place::BehindMixture, "TEMP 350 K\nINCR TEMP BY $ F", 20.0, -5.0, -40.0,
         40.0},
        {"Pressure", Place::BehindMixture, "PRES 60 bar\nMUL PRES BY $", 1.15, 0.9, 0.7, 1.4},
        {"Viscosity", Place::BehindMixture, "MUL LBC P2 BY $", 1.2, 0.9, 0.5, 1.5},
        {"Soreide", Place::BeforeFluid, "MUL SOR SG1 BY $", 1.02, 0.98, 0.9, 1.1},
        {"Jacoby", Place::BeforeFluid, "REP JACOBY $", 0.4, 0.1, 0.0, 1.0},
        {"TwuDamping", Place::BeforeFluid, "MUL TWUMW BY $", 0.8, 0.3, 0.1, 0.95},
    };
    return list;
}

const Target& target(const std::string& name) {
    for (const Target& each : targets())
        if (each.name == name) return each;
    throw std::invalid_argument(name);
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

/// The study with some modifiers; `operands` stand for their "$".
std::string study(const std::vector<Target>& used, const std::vector<std::string>& operands,
                  const std::vector<double>& measured) {
    std::string parts[3];
    for (std::size_t i = 0; i < used.size(); ++i) {
        std::string line = used[i].text;
        line.replace(line.find('$'), 1, operands[i]);
        parts[static_cast<int>(used[i].place)] += line + "\n";
    }
    std::size_t next = 0;
    const auto data = [&](int count) {
        std::string text;
        for (int i = 0; i < count && next < measured.size(); ++i)
            text += " " + number(measured[next++]);
        return text + "\n";
    };
    std::string script = parts[0] +
                         "CHAR Oil\n"
                         "NAME  MW   SG    TC(K)  PC(bar)  ZC     AF    VTRAN\n"
                         "C1                                             0\n"
                         "C3                                             0\n"
                         "C5    72          470    34       0.27   0.25  0\n"
                         "C10   140                                0.45  0\n"
                         "C20   280  0.86  760    14       0.24   0.85  0.1\n"
                         "BIPS  C1\n"
                         "C20   0.03\n"
                         "END\n" +
                         parts[1] + "END\nQMIX FEED C1 0.45 C3 0.1 C5 0.1 C10 0.15 C20 0.2\n" +
                         parts[2];
    script += "XFLASH 0 0" + data(3);
    script += "XSAT 373.15" + data(2);
    script += "XFLASH 350 4e6" + data(3);
    script += "XFLASH 420 8e6" + data(3);
    script += "XVISC 373.15 5e6" + data(1);
    return script + "SATP 380 K\nFLASH 350 K 30 bar\n";
}

/// Conditions for the first flash where no modifier sets them.
std::vector<Target> with_conditions(std::vector<Target> used) {
    bool temperature = false, pressure = false;
    for (const Target& each : used) {
        temperature = temperature || each.text.find("TEMP") != std::string::npos;
        pressure = pressure || each.text.find("PRES") != std::string::npos;
    }
    for (Target& each : used) {
        if (each.place != Place::BehindMixture) continue;
        if (!temperature) each.text = "TEMP 360 K\n" + each.text;
        if (!pressure) each.text = "PRES 50 bar\n" + each.text;
        return used;
    }
    used.push_back(
        {"Start", Place::BehindMixture, "TEMP 360 K\nPRES 50 bar\nMUL PRES $", 1.0, 1.0, 1.0, 1.0});
    return used;
}

std::vector<std::string> operands(const std::vector<Target>& used, bool literal,
                                  const EOSLab* fitted) {
    std::vector<std::string> words;
    for (std::size_t i = 0; i < used.size(); ++i)
        words.push_back(!literal ? "v" + std::to_string(i)
                        : fitted ? number(fitted->variable_value(i))
                                 : number(used[i].truth));
    return words;
}

std::vector<double> true_data(const std::vector<Target>& used) {
    const DriverRun run(study(used, operands(used, true, nullptr), {}));
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    return calculated_values();
}

std::string regression(const std::vector<Target>& used) {
    calculated_values().clear();
    const std::vector<double> data = true_data(used);
    std::string variables;
    for (std::size_t i = 0; i < used.size(); ++i) {
        const Target& each = used[i];
        variables += "VAR v" + std::to_string(i) + " " + number(each.start) + " " +
                     number(each.low) + " " + number(each.high) + "\n";
    }
    return variables + study(used, operands(used, false, nullptr), data);
}

void expect_found(const std::vector<Target>& used, const DriverRun& run) {
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    for (std::size_t i = 0; i < used.size(); ++i)
        EXPECT_NEAR(run.lab.variable_value(i), used[i].truth, 1e-4 * std::abs(used[i].truth))
            << used[i].name << "\n"
            << run.console();
}

/// The lines of the last pass that do not tell of variables.
std::string results(const std::string& report) {
    const std::size_t start = report.rfind("======  NOTE: Now defining");
    std::istringstream lines(report.substr(start));
    std::string kept;
    for (std::string line; std::getline(lines, line);)
        if (line.find("UPDATE") == std::string::npos) kept += line + "\n";
    return kept;
}

/// What was calculated last, to all digits.
std::vector<double> last_pass() {
    constexpr int VALUES = 12;
    const std::vector<double>& all = calculated_values();
    return {all.end() - VALUES, all.end()};
}

class TwinAlone : public testing::TestWithParam<Target> {};

TEST_P(TwinAlone, ComesBack) {
    const std::vector<Target> used = with_conditions({GetParam()});
    const DriverRun run(regression(used));
    expect_found(used, run);
}

INSTANTIATE_TEST_SUITE_P(Targets, TwinAlone, testing::ValuesIn(targets()),
                         [](const auto& each) { return std::string(each.param.name); });

std::vector<Target> three(const char* a, const char* b, const char* c) {
    return with_conditions({target(a), target(b), target(c)});
}

TEST(TwinOfThree, FluidProperties) {
    const auto used = three("CriticalTemperature", "Interaction", "Translation");
    expect_found(used, DriverRun(regression(used)));
}

TEST(TwinOfThree, PropertyViscosityCorrelation) {
    const auto used = three("CriticalPressure", "Viscosity", "TwuDamping");
    expect_found(used, DriverRun(regression(used)));
}

TEST(TwinOfThree, MixtureConditionProperty) {
    const auto used = three("AcentricFactor", "Moles", "Pressure");
    expect_found(used, DriverRun(regression(used)));
}

TEST(TwinOfThree, TwoRunsAreTheSame) {
    const std::string script = regression(three("AcentricFactor", "Moles", "Pressure"));
    const DriverRun first(script), second(script);
    EXPECT_EQ(first.report(), second.report());
    EXPECT_EQ(first.console(), second.console());
}

TEST(TwinOfThree, TheFinalPassIsThatOfTheTypedValues) {
    for (const auto& used : {three("CriticalTemperature", "Interaction", "Soreide"),
                             three("ChuehExponent", "Mass", "Viscosity")}) {
        const DriverRun fitted(regression(used));
        const std::vector<double> fitted_values = last_pass();
        // Blank lines stand where the variables stood: messages tell line numbers.
        const DriverRun typed(std::string(used.size(), '\n') +
                              study(used, operands(used, true, &fitted.lab), {}));
        EXPECT_EQ(typed.counts.errors, 0);
        EXPECT_EQ(fitted_values, last_pass());
        EXPECT_EQ(results(fitted.report()), results(typed.report()));
    }
}

// A parameter of the distribution that splits the plus fraction of the mixture.
TEST(TwinGamma, ShapeComesBack) {
    const auto script = [](const std::string& variable, const std::string& operand,
                           const std::string& data) {
        return variable +
               "GAMMA\nSPLIT C7+ C7\nAVERAGE 150\nBOUND 90\nORIGIN 1\nEND\n"
               "REP GAMMA SHAPE BY " +
               operand +
               "\nCHAR Coarse\nNAME MW  TC(K) PC(bar) AF\nC1\nC3\nC7+  150 600   25      "
               "0.4\nEND\nEND\n"
               "MIX FEED C1 0.6 C3 0.1 C7+ 0.3\n"
               "CHAR Fine\nNAME MW SG TB(K) TC(K) PC(bar) AF LMW\nC1\nC3\nC7\nC8\nC10\nC12\nC16\n"
               "C22\nEND\nEND\nXSAT 373.15" +
               data;
    };
    calculated_values().clear();
    const DriverRun truth(script("", "1.4", "\n"));
    EXPECT_EQ(truth.counts.errors, 0) << truth.report();
    ASSERT_EQ(calculated_values().size(), 2u);
    const std::string data =
        " " + number(calculated_values()[0]) + " " + number(calculated_values()[1]) + "\n";
    const DriverRun run(script("VAR shape 0.9 0.5 3\n", "shape", data));
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    EXPECT_NEAR(run.lab.variable_value(0), 1.4, 1.4e-4) << run.console();
}

}  // namespace
}  // namespace kestrane
