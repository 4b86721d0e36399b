#include "input/Table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "input/SampleTable.h"

namespace kestrane {
namespace {

using testing::print;
using testing::Sample;

// ---------------------------------------------------------------- number formats

/// How a column with these figures prints its cells, joined by bars.
std::string formatted(PrintFigures figures, const std::vector<double>& cells,
                      const Units* unit = nullptr) {
    const TableHead<double> head{&Sample::mw, {"X"}, {"X"}, nullptr, 0, figures};
    Table table;
    auto column = head.MakeColumn(unit, 0);
    dynamic_cast<DataColumn<double>&>(*column).cells = cells;
    table.AddColumn(std::move(column));
    table.rowCount = static_cast<int>(cells.size());
    std::string text = print(table, 0, 0);
    text = text.substr(text.find('\n') + 1);
    text = text.substr(text.find('\n') + 1);
    for (char& c : text) c = c == '\n' ? '|' : c;
    return text;
}

TEST(PrintFigures, NegativeDecimalsAskForScientificForm) {
    EXPECT_EQ(formatted({-4, 7, 5}, {1234.5, -0.5}), " 1.234e+03|-5.000e-01|");
    EXPECT_EQ(formatted({-1, 7, 5}, {3.0}), "3.e+00|");
}

TEST(PrintFigures, AMaximumBelowTheDecimalsAsksForFixedForm) {
    EXPECT_EQ(formatted({3, -1, 6}, {16.043, 1e-9, 215.0}), " 16.043|  0.000|215.000|");
    EXPECT_EQ(formatted({5, 4, 6}, {1.5}), "1.50000|");
}

TEST(PrintFigures, DecimalsAreChosenForTheSmallestWithoutCrowdingTheLargest) {
    // Four digits for the smallest, five wanted for the largest.
    EXPECT_EQ(formatted({}, {14.7}), "14.700|");
    EXPECT_EQ(formatted({}, {14.7, 2302.3}), "  14.70|2302.30|");
    EXPECT_EQ(formatted({}, {0.5}), "0.50000|");
    EXPECT_EQ(formatted({}, {0.25, -100.0}), "   0.2500|-100.0000|");
    EXPECT_EQ(formatted({}, {12345.0}), "12345.|");
    EXPECT_EQ(formatted({}, {123456.0}), "123456.|");
}

TEST(PrintFigures, WithoutRoomForBothTheFormIsScientific) {
    EXPECT_EQ(formatted({}, {0.001, 5000.0}), "1.0000e-03|5.0000e+03|");
    EXPECT_EQ(formatted({}, {1e7}), "1.0000e+07|");
    EXPECT_EQ(formatted({}, {9999999.0}), "9999999.|");
}

TEST(PrintFigures, WhatRoundsUpToADigitMoreCountsAsHavingIt) {
    // 9999999.5 would print as eight digits; 9999999.4 as seven.
    EXPECT_EQ(formatted({}, {9999999.5}), "1.0000e+07|");
    EXPECT_EQ(formatted({}, {9999999.4}), "9999999.|");
    // 9.99951 rounds to 10.000 and so has its four digits with two decimals.
    EXPECT_EQ(formatted({4, 7, 4}, {9.99951}), "10.00|");
    EXPECT_EQ(formatted({4, 7, 4}, {9.9994}), "9.999|");
}

TEST(PrintFigures, AColumnOfZerosIsFixedWithItsDecimals) {
    EXPECT_EQ(formatted({}, {0.0, UNSET, 0.0}), "0.0000|      |0.0000|");
    EXPECT_EQ(formatted({5, 8, 6}, {0.0}), "0.00000|");
    EXPECT_EQ(formatted({}, {273.15}, &unit_of(UnitKind::Temperature, "C")), "0.0000|");
}

TEST(PrintFigures, MarksStayOutOfTheExtremes) {
    EXPECT_EQ(formatted({}, {UNSET, 14.7, UNDEFINED}), "      |14.700|     -|");
    EXPECT_EQ(formatted({}, {14.7, UNDEFINED}, &unit_of(UnitKind::Temperature, "R")),
              "26.460|     -|");
}

TEST(PrintFigures, WidthsHoldEveryCell) {
    // Three-digit exponents, both signs, and what is no finite number.
    EXPECT_EQ(formatted({-3, 0, 0}, {1e-120, -2.0, 5.0}), "1.00e-120|-2.00e+00| 5.00e+00|");
    EXPECT_EQ(formatted({1, 0, 0}, {1.0, -HUGE_VAL}), " 1.0|-inf|");
    std::mt19937 random(7);
    std::uniform_real_distribution<double> exponent(-12, 12), sign(-1, 1);
    for (int trial = 0; trial < 500; ++trial) {
        std::vector<double> cells(6);
        for (double& cell : cells)
            cell = std::copysign(std::pow(10.0, exponent(random)), sign(random));
        const std::string text = formatted({}, cells);
        const std::size_t width = text.find('|');
        for (std::size_t at = 0; at < text.size(); at += width + 1)
            EXPECT_EQ(text.find('|', at), at + width) << text;
    }
}

/// The stated digits hold for every column: within six decimals of the smallest magnitude at least
/// four digits show, and no magnitude has more than seven digits altogether.
TEST(PrintFigures, FixedFormsKeepTheirPromises) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> exponent(-4, 8), ratio(0, 4);
    for (int trial = 0; trial < 2000; ++trial) {
        const double smallest = std::pow(10.0, exponent(random));
        const double largest = smallest * std::pow(10.0, ratio(random));
        const std::string text = formatted({}, {smallest, largest});
        if (text.find('e') != std::string::npos) continue;
        const std::string small = text.substr(0, text.find('|'));
        const std::string large = text.substr(text.find('|') + 1);
        const auto digits = [](const std::string& number) {
            return std::count_if(
                number.begin() + static_cast<long>(number.find_first_of("123456789")), number.end(),
                [](char c) { return c >= '0' && c <= '9'; });
        };
        EXPECT_GE(digits(small), 4) << text;
        EXPECT_LE(digits(large), 7) << text;
    }
}

}  // namespace
}  // namespace kestrane
