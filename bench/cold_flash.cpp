// Cold flashes over a grid of 20 temperatures by 100 pressures, three quarters of them in the
// two-phase region: what bench/instructions counts under callgrind.
//
//   cold_flash COMPONENTS

#include <cstdio>
#include <cstdlib>

#include "equil/Fluids.h"

namespace kestrane {
namespace {

constexpr int TEMPERATURES = 20, PRESSURES = 100;

struct Grid {
    double T_low, T_high;  ///< K
    double P_low, P_high;  ///< Pa
};

}  // namespace

/// The flashes counted; not inlined, so that callgrind can be told to collect here.
__attribute__((noinline)) int cold_flash_grid(fluids::TestCell& test, const Grid& grid) {
    int two_phase = 0;
    for (int i = 0; i < TEMPERATURES; ++i)
        for (int j = 0; j < PRESSURES; ++j) {
            test.forget();
            test.flash(grid.T_low + (grid.T_high - grid.T_low) * i / (TEMPERATURES - 1.0),
                       grid.P_low + (grid.P_high - grid.P_low) * j / (PRESSURES - 1.0));
            two_phase += test.cell.phase_count >= 2;
        }
    return two_phase;
}

}  // namespace kestrane

int main(int argc, char** argv) {
    using namespace kestrane;
    const int n = argc > 1 ? std::atoi(argv[1]) : 6;
    const auto count = static_cast<std::size_t>(n > 0 ? n : 6);
    fluids::TestCell test(count == 6 ? fluids::comparative_project_oil()
                                     : fluids::paraffins(count));
    if (argc > 2) test.always_test();
    const Grid grid = count == 6   ? Grid{270.0, 550.0, 2e5, 215e5}
                      : count < 20 ? Grid{250.0, 450.0, 2e5, 170e5}
                                   : Grid{280.0, 560.0, 2e5, 240e5};
    test.flash(400.0, 50e5);
    const int two_phase = cold_flash_grid(test, grid);
    std::printf("%d components: %d flashes, %.1f %% two-phase\n", n, TEMPERATURES * PRESSURES,
                100.0 * two_phase / (TEMPERATURES * PRESSURES));
}
