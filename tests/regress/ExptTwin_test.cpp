// Twin experiments in the cell: what a plain run of an expansion and of a depletion calculated is
// the measured data of a regression that begins elsewhere and must find the parameters again.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <ostream>
#include <sstream>

#include "DriverRun.h"
#include "expt/ExptRun.h"

namespace kestrane {
namespace {

/// One modifier with a variable, "$" in its text.
struct CellTarget {
    const char* name;
    bool in_fluid;  ///< in the block of the fluid, else behind the mixture
    std::string text;
    double truth, start, low, high;
};

void PrintTo(const CellTarget& target, std::ostream* stream) {
    *stream << target.name;
}

const std::vector<CellTarget>& cell_targets() {
    static const std::vector<CellTarget> list{
        {"CriticalTemperature", true, "MUL TC OF C20 BY $", 1.03, 0.98, 0.9, 1.1},
        {"CriticalPressure", true, "INCR PC OF C20 BY $ bar", 1.5, -1.0, -3.0, 3.0},
        {"AcentricFactor", true, "INCR AF OF C20 BY $", 0.06, -0.02, -0.1, 0.1},
        {"Translation", true, "DECR VTRAN OF C10 TO C20 BY $", 0.05, 0.0, -0.1, 0.1},
        {"Interaction", true, "REP BIP OF C1 WITH C10 THRU C20 BY $", 0.045, 0.02, 0.0, 0.1},
        {"Moles", false, "MUL MOLES OF C1 IN FEED BY $", 1.05, 0.97, 0.8, 1.3},
        {"Mass", false, "INCR MASS OF C20 IN FEED BY $ kg", 3.0, -2.0, -8.0, 8.0},
        {"Temperature", false, "INCR TEMP BY $ F", 12.0, -5.0, -40.0, 40.0},
        {"BasisPressure", false, "MUL PRES BY $", 1.1, 0.95, 0.8, 1.4},
        {"Viscosity", false, "MUL LBC P0 BY $", 1.2, 0.9, 0.5, 1.5},
    };
    return list;
}

CellTarget cell_target(const std::string& name) {
    for (const CellTarget& each : cell_targets())
        if (each.name == name) return each;
    throw std::invalid_argument(name);
}

std::string digits(double value) {
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%.17g", value);
    return text.data();
}

/// The fluid and the mixture in the cell; `operands` stand for the "$" of the targets.
struct Setting {
    std::string fluid, mixture;

    Setting(const std::vector<CellTarget>& used, const std::vector<std::string>& operands) {
        std::string inside, behind;
        for (std::size_t i = 0; i < used.size(); ++i) {
            std::string line = used[i].text;
            line.replace(line.find('$'), 1, operands[i]);
            (used[i].in_fluid ? inside : behind) += line + "\n";
        }
        fluid =
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
            inside + "END\n";
        mixture =
            "QMIX FEED C1 0.45 C3 0.1 C5 0.1 C10 0.15 C20 0.2\nTEMP 380 K\nPRES 300 bar\n" + behind;
    }
};

/// A column of an experiment, with the number of its last rows in which it was measured.
struct Measured {
    const char* head;
    double ExptData::*field;
    std::size_t last;
};

/// An experiment with its stages, bar, and what is measured of it.
struct Plan {
    const char* keyword;
    std::vector<int> pressures;
    std::vector<Measured> columns;
};

const Plan& expansion_plan() {
    static const Plan plan{"CCE",
                           {350, 300, 250, 80, 50, 25},
                           {{"SATP PA", &ExptData::sat_pressure_1, 6},
                            {"RV", &ExptData::relative_volume_1, 6},
                            {"LVF", &ExptData::liquid_volume_fraction_1, 3},
                            {"LVIS PA-S", &ExptData::liquid_viscosity, 6},
                            {"GVIS PA-S", &ExptData::gas_viscosity, 3}}};
    return plan;
}

const Plan& depletion_plan() {
    static const Plan plan{"CVD",
                           {80, 50, 25, 10},
                           {{"RMR", &ExptData::removed_relative_moles, 4},
                            {"GZ", &ExptData::gas_z_factor, 4},
                            {"LRV", &ExptData::liquid_relative_volume_1, 4},
                            {"LDEN KG/M3", &ExptData::liquid_density, 4}}};
    return plan;
}

/// The experiment's table with what was calculated at its stages; without, the cells are blank.
std::string block(const Plan& plan, const std::vector<ExptData>* rows) {
    constexpr int WIDTH = 28;
    std::ostringstream text;
    const auto cell = [&text](const std::string& word) {
        text << word << std::string(static_cast<std::size_t>(WIDTH) - word.size(), ' ');
    };
    cell("PRES BAR");
    for (const Measured& column : plan.columns) cell(column.head);
    for (std::size_t i = 0; i < plan.pressures.size(); ++i) {
        text << "\n";
        cell(std::to_string(plan.pressures[i]));
        for (const Measured& column : plan.columns) {
            const bool given = rows && i + column.last >= plan.pressures.size();
            cell(given ? digits((*rows)[i].*column.field) : std::string());
        }
    }
    return text.str() + "\nEND\n";
}

/// The stages of a plain run.
template <class Experiment>
std::vector<ExptData> stages(const Setting& setting, const Plan& plan) {
    ExptRun<Experiment> run(setting.fluid + setting.mixture, block(plan, nullptr));
    // A mixture that was modified is brought back to a sum of one, which is told.
    EXPECT_LE(run.setting.lab.errors().severity, WARNING) << run.problems();
    EXPECT_EQ(run.rows().size(), plan.pressures.size()) << run.report();
    return run.rows();
}

std::vector<std::string> operand_words(const std::vector<CellTarget>& used, bool literal) {
    std::vector<std::string> words;
    for (std::size_t i = 0; i < used.size(); ++i)
        words.push_back(literal ? digits(used[i].truth) : "v" + std::to_string(i));
    return words;
}

std::string study(const Setting& setting, const std::vector<ExptData>& expansion,
                  const std::vector<ExptData>& depletion) {
    return setting.fluid + setting.mixture + "CCE\n" + block(expansion_plan(), &expansion) +
           setting.mixture + "CVD\n" + block(depletion_plan(), &depletion);
}

/// Without operands of variables: the true values, for which all errors must vanish.
std::string cell_regression(const std::vector<CellTarget>& used, bool literal) {
    const Setting truth(used, operand_words(used, true));
    const auto expansion = stages<PVTzEXPA>(truth, expansion_plan());
    const auto depletion = stages<PVTzCVDG>(truth, depletion_plan());
    std::string variables;
    for (std::size_t i = 0; i < used.size() && !literal; ++i)
        variables += "VAR v" + std::to_string(i) + " " + digits(used[i].start) + " " +
                     digits(used[i].low) + " " + digits(used[i].high) + "\n";
    return variables + study(Setting(used, operand_words(used, literal)), expansion, depletion);
}

void expect_true_values(const std::vector<CellTarget>& used) {
    const DriverRun run(cell_regression(used, false));
    EXPECT_FALSE(run.stopped);
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    // Six, six, three, six and three of the expansion, four times four of the depletion.
    EXPECT_EQ(run.lab.residuals().size(), 40u);
    for (std::size_t i = 0; i < used.size(); ++i)
        EXPECT_NEAR(run.lab.variable_value(i), used[i].truth, 1e-4 * std::abs(used[i].truth))
            << used[i].name << "\n"
            << run.console();
}

class CellTwin : public testing::TestWithParam<CellTarget> {};

TEST_P(CellTwin, ComesBack) {
    expect_true_values({GetParam()});
}

INSTANTIATE_TEST_SUITE_P(Targets, CellTwin, testing::ValuesIn(cell_targets()),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(CellTwinOfThree, PropertiesOfTheFluid) {
    expect_true_values({cell_target("CriticalTemperature"), cell_target("Interaction"),
                        cell_target("Translation")});
}

TEST(CellTwinOfThree, PressureTemperatureAndViscosity) {
    expect_true_values(
        {cell_target("CriticalPressure"), cell_target("Temperature"), cell_target("Viscosity")});
}

TEST(CellTwinOfThree, PropertyMixtureAndBasis) {
    expect_true_values(
        {cell_target("AcentricFactor"), cell_target("Moles"), cell_target("BasisPressure")});
}

// What the regression compares with is the plain run to the last digits: with the true values as
// literals hardly an error is left.
TEST(CellTwin, TrueValuesLeaveNoError) {
    const DriverRun run(cell_regression(
        {cell_target("AcentricFactor"), cell_target("Temperature"), cell_target("Viscosity")},
        true));
    EXPECT_EQ(run.counts.errors, 0) << run.report();
    ASSERT_EQ(run.lab.residuals().size(), 40u) << run.report();
    for (const double e : run.lab.residuals()) EXPECT_LT(std::abs(e), 1e-10);
}

/// A script of five variables, and the same with their last values typed in.
class FiveVariables : public testing::Test {
protected:
    static const std::string& script() {
        static const std::string text = [] {
            std::ifstream file(std::string(KESTRANE_SOURCE_DIR) +
                               "/tests/scripts/regress/five-variables.in");
            std::ostringstream all;
            all << file.rdbuf();
            return all.str();
        }();
        return text;
    }
    static const DriverRun& fitted() {
        static const DriverRun run(script());
        return run;
    }
    /// Lines of variables become blank ones: messages tell line numbers.
    static std::string typed_in(const EOSLab& lab) {
        std::istringstream lines(script());
        std::string text;
        for (std::string line; std::getline(lines, line); text += line + "\n") {
            if (line.starts_with("VAR ")) line.clear();
            for (std::size_t i = 0; i < lab.variable_count(); ++i) {
                const std::string operand = " BY " + lab.variable_name(i);
                if (line.ends_with(operand) && !line.starts_with("--"))
                    line.replace(line.size() - operand.size(), operand.size(),
                                 " BY " + digits(lab.variable_value(i)));
            }
        }
        return text;
    }
    /// The report of the last pass, without the variables and where they act.
    static std::string last_report(const std::string& report) {
        const std::size_t table = report.rfind("Final Variable Definitions");
        const std::size_t start =
            report.find("Gas condensate", table == std::string::npos ? 0 : table);
        std::istringstream lines(report.substr(start));
        std::string kept;
        for (std::string line; std::getline(lines, line);)
            if (!line.empty() && line.find("UPDATE: ") == std::string::npos) kept += line + "\n";
        return kept;
    }
};

TEST_F(FiveVariables, TwoRunsAreTheSame) {
    ASSERT_FALSE(fitted().stopped);
    ASSERT_EQ(fitted().lab.variable_count(), 5u);
    const DriverRun second(script());
    EXPECT_EQ(fitted().report(), second.report());
    EXPECT_EQ(fitted().console(), second.console());
}

TEST_F(FiveVariables, TheLastPassIsThatOfTheTypedValues) {
    ASSERT_EQ(fitted().lab.variable_count(), 5u);
    const DriverRun typed(typed_in(fitted().lab));
    ASSERT_FALSE(typed.stopped) << typed.report();
    ASSERT_EQ(typed.lab.variable_count(), 0u);
    const auto a = fitted().lab.residuals(), b = typed.lab.residuals();
    ASSERT_EQ(a.size(), b.size());
    EXPECT_EQ(a.size(), 79u);
    for (std::size_t i = 0; i < a.size(); ++i) EXPECT_EQ(a[i], b[i]) << i;
    EXPECT_EQ(last_report(fitted().report()), last_report(typed.report()));
    EXPECT_NE(last_report(typed.report()).find("Experiment 2"), std::string::npos);
}

}  // namespace
}  // namespace kestrane
