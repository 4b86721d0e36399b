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

// Nine fluids stored by the stages of a differential liberation: each oil saturates where it was
// left, and each gas is in equilibrium with the oil beside it.
TEST(BlackOilTable, OfADepletion) {
    const ProgramRun run = run_program(std::string(KESTRANE_SOURCE_DIR) + "/examples",
                                       {"black-oil-depletion.dat", "REPORT"});
    EXPECT_EQ(run.exit_status, 0);
    const std::vector<std::string> lines = split(run.table, '\n');
    // The first oil is stored above its bubble point: three pressures. All others have two.
    constexpr std::size_t HEADER = 13, ROWS = 3 + 8 * 2, FIELDS = 19 + 3 * 11;
    ASSERT_EQ(lines.size(), HEADER + 2 + ROWS);
    std::vector<std::vector<std::string>> oils, gases;
    for (std::size_t i = HEADER + 2; i < lines.size(); ++i) {
        const std::vector<std::string> cells = split(lines[i], '\t');
        ASSERT_EQ(cells.size(), FIELDS) << lines[i];
        EXPECT_EQ(cells[1], cells[0].starts_with("EQL") ? "BP" : "DP") << lines[i];
        const double oil = number(cells[9]), gas = number(cells[14]);
        EXPECT_NEAR(oil + gas, 1.0, 1.1e-5);
        for (std::size_t k = 0; k < 11; ++k)
            EXPECT_NEAR(oil * number(cells[19 + k]) + gas * number(cells[30 + k]),
                        number(cells[41 + k]), 2e-5)
                << lines[i];
        if (cells[8] != "-999999") (cells[1] == "BP" ? oils : gases).push_back(cells);
    }
    ASSERT_EQ(oils.size(), 5u);
    ASSERT_EQ(gases.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(oils[i + 1][5], gases[i][5]);  // pressure
        EXPECT_EQ(oils[i + 1][8], gases[i][8]);  // tension
        EXPECT_GT(number(oils[i + 1][9]), number(oils[i][9]));
        EXPECT_GT(number(oils[i + 1][6]), number(oils[i][6]));
    }
}

// A regression evaluates its tables many times, and writes them once: with the value found, at
// which the bubble point is the measured one.
TEST(BlackOilTable, AfterARegression) {
    const ProgramRun run = run_program(std::string(KESTRANE_SOURCE_DIR) + "/tests/scripts/surface",
                                       {"black-oil-regression.in", "REPORT"});
    EXPECT_EQ(run.exit_status, 0);
    const std::size_t opened = run.report.find("Now opening black oil table file");
    ASSERT_NE(opened, std::string::npos);
    EXPECT_GT(opened, run.report.find("Final Variable Definitions"));
    EXPECT_EQ(run.report.find("Now opening black oil table file", opened + 1), std::string::npos);
    const std::vector<std::string> lines = split(run.table, '\n');
    std::vector<std::string> titles;
    std::vector<std::vector<std::string>> rows;
    for (const std::string& line : lines) {
        if (line.starts_with("Black Oil Table")) titles.push_back(line);
        if (line.starts_with("EQL_Line")) rows.push_back(split(line, '\t'));
    }
    EXPECT_EQ(titles, (std::vector<std::string>{"Black Oil Table: Fitted",
                                                "Black Oil Table: Fitted, once more"}));
    ASSERT_EQ(rows.size(), 2u + 3u);
    EXPECT_EQ(rows[0], rows[2]);
    EXPECT_EQ(rows[1], rows[3]);
    EXPECT_EQ(rows[0][5], "1.20000e+02");
}

}  // namespace
}  // namespace kestrane
