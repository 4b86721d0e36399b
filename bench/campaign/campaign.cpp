// Draws fluids and states from a seed, calculates, judges every answer apart from the solver, and
// counts what was wrong.
//
//   campaign [flash|saturation|depletion|column|all] [--seed S] [--count N] [--seconds T] [--kinds
//   light,sour,...]
//            [--case N] [--starts R] [--iterations I]
//
// --count is the number of flashes, of saturation pressures, of experiments and of columns. --case
// runs one case again and tells each step and the fluid, as source. Ends with status 1 if an answer
// was wrong without a warning, or more than 20 of a million flashes or of 100,000 other answers ended
// in a warning of convergence or in a false "could not be found".

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Campaign.h"

namespace kestrane::campaign {
namespace {

struct Request {
    Options options;
    std::string what = "all";
    long count = 3000;
};

constexpr std::array<std::string_view, 4> WHATS{"flash", "saturation", "depletion", "column"};

unsigned kinds_named(const std::string& list) {
    unsigned kinds = 0;
    std::istringstream names(list);
    for (std::string name; std::getline(names, name, ',');) {
        const auto found = std::find(FLUID_KINDS.begin(), FLUID_KINDS.end(), name);
        if (found == FLUID_KINDS.end()) throw std::invalid_argument("no fluids of kind " + name);
        kinds |= 1u << (found - FLUID_KINDS.begin());
    }
    if (kinds == 0) throw std::invalid_argument("no kinds of fluids");
    return kinds;
}

Request request_of(int argc, char** argv) {
    Request request;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "all" || std::ranges::find(WHATS, word) != WHATS.end()) {
            request.what = word;
            continue;
        }
        if (i + 1 == argc) throw std::invalid_argument("a value is missing after " + word);
        const std::string value = argv[++i];
        if (word == "--seed") {
            request.options.seed = std::stoull(value);
        } else if (word == "--count") {
            request.count = std::stol(value);
        } else if (word == "--seconds") {
            request.options.seconds = std::stod(value);
        } else if (word == "--kinds") {
            request.options.kinds = kinds_named(value);
        } else if (word == "--case") {
            request.options.first = std::stoull(value);
            request.options.verbose = true;
        } else if (word == "--starts") {
            request.options.effort.random_starts = std::stoi(value);
        } else if (word == "--iterations") {
            request.options.effort.iterations = std::stoi(value);
        } else {
            throw std::invalid_argument("unknown option " + word);
        }
    }
    return request;
}

/// True if the campaign met its bars.
bool report(const Tally& tally, const Options& options, bool flashes) {
    tally.print(std::cout);
    std::cout << "\nWrong without a warning: " << tally.silent() << '\n';
    tally.print_cases(std::cout, 60);
    std::cout << "Run a case again with: --seed " << options.seed << " --case N\n\n";
    const long warnings =
        tally.of(UNCONVERGED) + tally.of(FALSELY_NOT_FOUND) + tally.of(FALSELY_ABOVE_LIMIT);
    const double rate = flashes ? 20e-6 : 200e-6;
    const double allowed = std::max(1.0, rate * static_cast<double>(tally.answers()));
    return tally.silent() == 0 && static_cast<double>(warnings) <= allowed;
}

/// One kind of campaign; `answers` come with each case.
struct Campaign {
    std::string_view what;
    Tally (*run)(const Options&);
    long answers;
};

bool run(Request request) {
    constexpr Campaign CAMPAIGNS[] = {{"flash", flash_campaign, 3},
                                      {"saturation", saturation_campaign, 2},
                                      {"depletion", depletion_campaign, 1},
                                      {"column", column_campaign, 1}};
    bool passed = true;
    Options& options = request.options;
    for (const Campaign& each : CAMPAIGNS) {
        if (request.what != "all" && request.what != each.what) continue;
        options.cases = options.verbose ? 1 : (request.count + each.answers - 1) / each.answers;
        passed = report(each.run(options), options, each.what == "flash") && passed;
    }
    return passed;
}

}  // namespace
}  // namespace kestrane::campaign

int main(int argc, char** argv) {
    try {
        return kestrane::campaign::run(kestrane::campaign::request_of(argc, argv)) ? 0 : 1;
    } catch (const std::exception& problem) {
        std::cerr << "campaign: " << problem.what() << '\n';
        return 2;
    }
}
