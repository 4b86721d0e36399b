// The file of black oil tables that a whole run leaves.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "scripts/ProgramRun.h"

namespace kestrane {
namespace {

std::vector<std::string> split(const std::string& text, char at) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, at);) parts.push_back(part);
    return parts;
}

double number(const std::string& text) {
    return std::strtod(text.c_str(), nullptr);
}

// Eleven components: 19 fields and three compositions in each line.
TEST(BlackOilTable, OfTheExample) {
    const ProgramRun run = run_program(std::string(KESTRANE_SOURCE_DIR) + "/examples",
                                       {"black-oil-table.dat", "REPORT"});
    EXPECT_EQ(run.exit_status, 0);
    const std::vector<std::string> lines = split(run.table, '\n');
    constexpr std::size_t HEADER = 13, ROWS = 21, FIELDS = 19 + 3 * 11;
    ASSERT_EQ(lines.size(), HEADER + 2 + ROWS);
    EXPECT_EQ(std::ranges::count(lines[HEADER], '\t'), 9 + 5 + 5 + 11 + 11);
    for (std::size_t i = HEADER + 1; i < lines.size(); ++i)
        EXPECT_EQ(std::ranges::count(lines[i], '\t'), FIELDS - 1) << lines[i];
    for (std::size_t i = HEADER + 2; i < lines.size(); ++i) {
        const std::vector<std::string> cells = split(lines[i], '\t');
        EXPECT_NEAR(number(cells[9]) + number(cells[14]), 1.0, 1.1e-5);
        for (const std::size_t first : {19u, 30u, 41u}) {
            double sum = 0.0;
            for (std::size_t k = 0; k < 11; ++k) sum += number(cells[first + k]);
            EXPECT_NEAR(sum, 1.0, 1e-4) << lines[i];
        }
    }
    // Oil and gas in equilibrium have one tension.
    const auto cell = [&](std::size_t row, std::size_t at) {
        return split(lines[HEADER + 2 + row], '\t')[at];
    };
    EXPECT_EQ(cell(3, 0).substr(0, 3), "EQL");
    EXPECT_EQ(cell(12, 0).substr(0, 3), "EQV");
    EXPECT_EQ(cell(3, 8), cell(12, 8));
}

}  // namespace
}  // namespace kestrane
