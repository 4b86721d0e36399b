// Completion of a characterization whose plus fraction the gamma distribution splits.

#include <benchmark/benchmark.h>

#include <string>

#include "fluid/Charz_User.h"
#include "fluid/GammaState.h"

namespace kestrane {
namespace {

/// An owner of characterizations that has no mixture.
class PlainUser final : public Charz_User {};

/// Methane and n single-carbon-number cuts from C7 on, of which only the names are known.
Charzation unfinished(int n) {
    Charzation charz("Cuts");
    for (const char* heading : {"MW", "SG", "TB", "TC", "PC", "AF", "VTRAN", "LMW"})
        charz.table.AddColumnOnce(*component_heads().find(heading), nullptr);
    const auto add = [&charz](const std::string& name) {
        Compnent component;
        component.name = UserWord(name);
        charz.add_component(component);
    };
    add("C1");
    for (int carbon = 7; carbon < 7 + n; ++carbon) add("C" + std::to_string(carbon));
    return charz;
}

/// Gamma molecular weights, library and correlations, boiling points and translations fitted to the
/// equation of state. The copy of the unfinished characterization is a small part of it.
void gamma_completion(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const Charzation fluid = unfinished(n);
    PlainUser user;
    gamma_state() = GammaState{};
    gamma_state().split_from = gamma_state().split_to = "C7";
    gamma_state().current = {0.8, 211.52, 88.0, 1.0};  // shape, average, bound, origin
    double heaviest = 0.0;
    for (auto step : state) {
        Charzation charz = fluid;
        ErrorList errors;
        charz.initialize(user, errors);
        charz.complete(errors);
        if (!errors.empty()) state.SkipWithError("completion failed");
        heaviest = charz.comps.back().mw;
    }
    gamma_state() = GammaState{};
    state.counters["last MW"] = heaviest;
}
BENCHMARK(gamma_completion)->Arg(7)->Arg(30)->Arg(48)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrane
