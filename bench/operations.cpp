// Operations of the program by name and size, as often as they make one unit of work: what
// bench/instructions, bench/curves and bench/compare count under callgrind, and what they time.
//
//   operations                         the names, with the sizes they have if none is given
//   operations NAME [SIZE]             once to warm up, once counted
//   operations NAME SIZE SECONDS       repeated for that long: the median of the units a second
//
// Prints one line: name, size, units of work in what was counted, what was found, and a rate.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ExperimentRun.h"
#include "ScriptRun.h"
#include "Studies.h"
#include "expt/Depletion.h"
#include "fluid/Charz_User.h"
#include "fluid/GammaState.h"
#include "frame/Errors.h"
#include "misc/MiscFluids.h"

namespace kestrane {
namespace {

using fluids::TestCell;

/// What is counted. `run` gives a number that a reader can judge it by: flashes with two phases,
/// pressures found, bar, ...
struct Work {
    int units = 1;  ///< of work in one run
    std::function<double()> run;
};

/// 200 cold flashes over 280 to 560 K, 2 to 240 bar; gives the share with two phases.
Work flashes(int n) {
    constexpr int TEMPERATURES = 10, PRESSURES = 20;
    auto test = std::make_shared<TestCell>(studies::spread_paraffins(static_cast<std::size_t>(n)));
    return {TEMPERATURES * PRESSURES, [test] {
                int two_phase = 0;
                for (int i = 0; i < TEMPERATURES; ++i)
                    for (int j = 0; j < PRESSURES; ++j) {
                        test->forget();
                        test->flash(280.0 + 280.0 * i / (TEMPERATURES - 1.0),
                                    2e5 + 238e5 * j / (PRESSURES - 1.0));
                        two_phase += test->cell.phase_count >= 2;
                    }
                return double(two_phase) / (TEMPERATURES * PRESSURES);
            }};
}

/// Ten upper saturation pressures from 300 to 480 K, cold and without a pressure to start from;
/// gives how many were found.
Work saturation_pressures(const fluids::Fluid& fluid) {
    constexpr int TEMPERATURES = 10;
    auto test = std::make_shared<TestCell>(fluid);
    return {TEMPERATURES, [test] {
                int found = 0;
                for (int i = 0; i < TEMPERATURES; ++i) {
                    test->forget();
                    test->errors->Clear();
                    test->cell.temperature.value = 300.0 + 20.0 * i;
                    test->cell.pressure.value = UNSET;
                    found += test->cell.saturation(+1);
                }
                return double(found);
            }};
}

Work saturation(int n) {
    return saturation_pressures(studies::spread_paraffins(static_cast<std::size_t>(n)));
}

/// Of the oil of six components, or as many paraffins from methane on: the fluids of
/// saturation_bench.
Work saturation_of_oil(int n) {
    return saturation_pressures(n == 6 ? fluids::comparative_project_oil()
                                       : fluids::paraffins(static_cast<std::size_t>(n)));
}

template <class Experiment>
Work experiment(const std::string& fluid, const std::string& block) {
    auto run = std::make_shared<ExperimentRun<Experiment>>(fluid, block);
    return {1, [run] {
                run->run();
                return 0.0;
            }};
}

/// The depletion of expt_bench: 12 paraffins, 15 stages.
Work depletion(int stages) {
    return experiment<PVTzCVDG>(studies::library_paraffins(12, 0.7),
                                studies::stages("PRES bar  RMR  LRV  GZ", stages));
}

/// A depletion of 15 stages, by components.
Work depletion_by_components(int n) {
    return experiment<PVTzCVDG>(studies::spread_script(static_cast<std::size_t>(n)),
                                studies::stages("PRES bar  RMR  LRV  GZ", 15));
}

Work liberation(int n) {
    return experiment<PVTzDFLG>(studies::library_paraffins(n, 0.85),
                                studies::stages("PRES bar  LRV  LVIS cp  GVIS cp", 15));
}

/// One silent pass over a script, as a regression makes it; gives the residuals.
Work evaluation_of(const std::string& script) {
    auto run = std::make_shared<ScriptRun>(script);
    run->lab.runScript(run->reader);
    if (run->counts.errors + run->counts.warnings > 0) return {0, [] { return 0.0; }};
    return {1, [run] {
                const std::size_t before = run->lab.pending_residuals();
                run->lab.evaluate(run->reader, run->lab.errors(), EvaluationMode::Jacobian);
                return double(run->lab.pending_residuals() - before);
            }};
}

/// A regression's evaluation, by the number of experiments of 15 stages.
Work evaluation(int count) {
    return evaluation_of(studies::experiments(count, studies::Variables::Constant));
}

/// A dew point and 45 flashes, with five variables.
Work evaluation_of_study(int) {
    return evaluation_of(studies::condensate_study(studies::Variables::Constant));
}

/// A script in memory, from its text to its report; gives the bytes of the report.
Work script(const std::string& text) {
    return {1, [text] {
                ScriptRun run(text);
                try {
                    run.lab.runScript(run.reader);
                } catch (const FatalError&) {
                    return 0.0;
                }
                run.report.flush();
                return double(run.output.view().size());
            }};
}

Work whole_script(int) {
    return script(example("reservoir-oil.dat"));
}

const char* const LIGHT_OIL =
    "CHAR Light\nNAME  MW  TC(K)  PC(bar)  AF\nC1\nC3\nN-C10\nEND\nEND\n"
    "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\n";

/// Printed flashes, one a line.
Work flash_lines(int lines) {
    std::string text = LIGHT_OIL;
    for (int i = 0; i < lines; ++i)
        text += "FLASH " + std::to_string(100 + i % 100) + " F " + std::to_string(100 + i % 2000) +
                " psia\n";
    return script(text);
}

/// Conditions that are read, stored and executed, and print nothing.
Work silent_lines(int lines) {
    std::string text = LIGHT_OIL;
    for (int i = 0; i < lines; ++i) text += "TEMP " + std::to_string(i % 300) + " F\n";
    return script(text);
}

/// The search for a minimum miscibility pressure of 12 components in a row of so many cells.
Work miscibility(int cells) {
    fluids::Fluid fluid = fluids::paraffins(11);
    fluid.components.push_back({"CO2", 44.01, 304.2, 73.8e5, 0.225});
    fluid.kij.assign(12, std::vector<double>(12, 0.0));
    for (std::size_t i = 0; i < 11; ++i) fluid.kij[i][11] = fluid.kij[11][i] = 0.1;
    std::vector<double> oil = fluid.z, gas(12, 0.0);
    oil.push_back(0.0);
    gas.back() = 1.0;
    return script(fluids::gas_drive(fluid, 350.0, oil, gas) + "PRES 80 bar\nMMP GAS CELLS " +
                  std::to_string(cells) + "\nEND\n");
}

/// An oil of 22 components in gravity, 20 m above its depth.
Work gravity_column(int height) {
    auto test = std::make_shared<TestCell>(fluids::gas_cap_oil());
    return {1, [test, height] {
                test->set_feed(test->fluid.z);
                test->forget();
                test->cell.temperature.value = 366.15;
                test->cell.pressure.value = 284e5;
                test->cell.depth.value = 175.0;
                test->cell.segregate(double(height), 1.0, false, INIT_STABILITY);
                return test->cell.pressure.value / 1e5;
            }};
}

/// An owner of characterizations that has no mixture.
class PlainUser final : public Charz_User {};

/// Methane and n single-carbon-number cuts from C7 on, of which only the names are known; gives the
/// last molecular weight.
Work gamma_completion(int n) {
    auto fluid = std::make_shared<Charzation>("Cuts");
    for (const char* heading : {"MW", "SG", "TB", "TC", "PC", "AF", "VTRAN", "LMW"})
        fluid->table.AddColumnOnce(*component_heads().find(heading), nullptr);
    for (int carbon = 6; carbon < 7 + n; ++carbon) {
        Compnent component;
        component.name = UserWord(carbon == 6 ? "C1" : "C" + std::to_string(carbon));
        fluid->add_component(component);
    }
    gamma_state().split_from = gamma_state().split_to = "C7";
    gamma_state().current = {0.8, 211.52, 88.0, 1.0};  // shape, average, bound, origin
    return {1, [fluid] {
                static PlainUser user;
                Charzation charz = *fluid;
                ErrorList errors;
                charz.initialize(user, errors);
                charz.complete(errors);
                return errors.empty() ? charz.comps.back().mw : 0.0;
            }};
}

struct Operation {
    const char* name;
    int size;  ///< if none is given
    std::function<Work(int)> make;
    const char* says;  ///< what size and unit are
};

const std::vector<Operation>& operations() {
    static const std::vector<Operation> all{
        {"flash", 12, flashes, "a cold flash, by components"},
        {"saturation", 12, saturation, "a saturation pressure, by components"},
        {"oil-saturation", 6, saturation_of_oil, "a saturation pressure of an oil, by components"},
        {"depletion", 15, depletion, "a depletion of 12 components, by stages"},
        {"depletion-n", 12, depletion_by_components, "a depletion of 15 stages, by components"},
        {"liberation", 30, liberation, "a liberation of 15 stages, by components"},
        {"evaluation", 3, evaluation, "a regression's evaluation, by experiments of 15 stages"},
        {"study", 45, evaluation_of_study, "an evaluation of a dew point and 45 flashes"},
        {"script", 1, whole_script, "reservoir-oil.dat in memory"},
        {"flash-lines", 100, flash_lines, "a script of printed flashes, by lines"},
        {"silent-lines", 1000, silent_lines, "a script that prints nothing, by lines"},
        {"mmp", 200, miscibility, "a miscibility pressure of 12 components, by cells"},
        {"column", 20, gravity_column, "an oil of 22 components in gravity, by metres of height"},
        {"gamma", 30, gamma_completion, "a gamma completion, by cuts"},
    };
    return all;
}

int list_operations() {
    for (const Operation& operation : operations())
        std::printf("%-16s %6d  %s\n", operation.name, operation.size, operation.says);
    return 0;
}

/// Units a second of processor time, which other programs on the machine do not count in: the
/// median of eleven equal parts of the time.
double rate(const Work& work, double seconds) {
    const auto since = [](std::clock_t start) {
        return double(std::clock() - start) / CLOCKS_PER_SEC;
    };
    std::vector<double> rates;
    for (int part = 0; part < 11; ++part) {
        const std::clock_t start = std::clock();
        long units = 0;
        do {
            work.run();
            units += work.units;
        } while (since(start) < seconds / 11.0);
        rates.push_back(double(units) / since(start));
    }
    std::nth_element(rates.begin(), rates.begin() + 5, rates.end());
    return rates[5];
}

}  // namespace

/// Where callgrind is told to collect; not inlined, so that it can be named.
__attribute__((noinline)) double counted_operation(const std::function<double()>& run) {
    return run();
}

}  // namespace kestrane

int main(int argc, char** argv) {
    using namespace kestrane;
    if (argc < 2) return list_operations();
    const auto& all = operations();
    const auto operation = std::find_if(
        all.begin(), all.end(), [&](const auto& one) { return one.name == std::string(argv[1]); });
    if (operation == all.end()) {
        std::fprintf(stderr, "No operation \"%s\".\n", argv[1]);
        return 1;
    }
    const int size = argc > 2 ? std::atoi(argv[2]) : operation->size;
    const Work work = size > 0 ? operation->make(size) : Work{};
    if (!work.run || work.units == 0) {
        std::fprintf(stderr, "Nothing to do for %s %d.\n", operation->name, size);
        return 1;
    }
    work.run();
    const double found = counted_operation(work.run);
    const double per_second = argc > 3 ? rate(work, std::atof(argv[3])) : 0.0;
    std::printf("%s %d %d %.6g %.6g\n", operation->name, size, work.units, found, per_second);
}
