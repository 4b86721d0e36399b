// Experiments of a laboratory, silent as in a regression.

#include <benchmark/benchmark.h>

#include <sstream>
#include <string>

#include "expt/Depletion.h"
#include "input/Reader.h"

namespace kestrane {
namespace {

constexpr int STAGES = 15;

/// Normal paraffins C1 to Cn, all amounts falling by the same ratio.
std::string paraffins(int n, double ratio) {
    std::ostringstream script;
    script << "CHAR Paraffins\nNAME MW TC(K) PC(bar) AF\n";
    for (int i = 1; i <= n; ++i) script << (i > 3 ? "N-C" : "C") << i << "\n";
    script << "END\nEND\nQMIX FEED";
    double amount = 1.0;
    for (int i = 1; i <= n; ++i, amount *= ratio) script << ' ' << amount;
    script << "\nTEMP 380 K\n";
    return script.str();
}

std::string stages(const std::string& heads) {
    std::ostringstream block;
    block << heads << "\n";
    for (int i = 0; i < STAGES; ++i) block << 300 - 20 * i << "\n";
    block << "END\n";
    return block.str();
}

/// Runs one experiment on a laboratory set up once; the feed is renewed before each run.
template <class Experiment>
void run_experiment(benchmark::State& state, const std::string& fluid, const std::string& block) {
    ErrorCounts counts;
    std::stringbuf setting(fluid), table(block);
    InFile setting_file(setting), table_file(table);
    const Writer silent(counts, nullptr, nullptr);
    Reader setting_reader(silent, setting_file), reader(silent, table_file);
    EOSLab lab;
    lab.runScript(setting_reader);
    Experiment experiment;
    experiment.parse(reader, lab, reader);
    const Tank feed = *lab.cell().feed;
    for (auto _ : state) {
        lab.cell().feed->copy(feed);
        lab.cell().pressure.value = 0.0;
        experiment.run(reader, lab, reader);
        lab.errors().Clear();
    }
}

void depletion_of_12(benchmark::State& state) {
    run_experiment<PVTzCVDG>(state, paraffins(12, 0.7), stages("PRES bar  RMR  LRV  GZ"));
}
BENCHMARK(depletion_of_12)->Unit(benchmark::kMillisecond);

void liberation_of_30(benchmark::State& state) {
    run_experiment<PVTzDFLG>(state, paraffins(30, 0.85), stages("PRES bar  LRV  LVIS cp  GVIS cp"));
}
BENCHMARK(liberation_of_30)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrane
