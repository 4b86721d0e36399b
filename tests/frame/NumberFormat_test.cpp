// Numbers as text, against the streams of the standard library.

#include "frame/NumberFormat.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <iomanip>
#include <limits>
#include <random>
#include <sstream>
#include <vector>

namespace kestrane {
namespace {

using Append = void (*)(std::string&, double, int);
using Manipulator = std::ios_base& (*)(std::ios_base&);

std::ios_base& general_pointed(std::ios_base& stream) {
    return std::showpoint(std::defaultfloat(stream));
}

std::string streamed(double value, int precision, Manipulator form) {
    std::ostringstream text;
    text << form << std::setprecision(precision) << value;
    return text.str();
}

/// Marks, borders of notations, ties of rounding, and doubles of every size.
std::vector<double> numbers() {
    std::vector<double> values{0.0,
                               -0.0,
                               1.0,
                               0.5,
                               2.5,
                               -1.5,
                               0.125,
                               9.5,
                               99999.5,
                               999999.5,
                               9.9999995e-5,
                               1e-4,
                               9.99999e-5,
                               1e15,
                               1e16,
                               1e22,
                               1e23,
                               std::numeric_limits<double>::max(),
                               -std::numeric_limits<double>::max(),
                               std::numeric_limits<double>::min(),
                               std::numeric_limits<double>::denorm_min(),
                               std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN(),
                               -std::numeric_limits<double>::quiet_NaN()};
    std::mt19937_64 random(7);
    for (int i = 0; i < 1000; ++i) values.push_back(std::bit_cast<double>(random()));
    std::uniform_real_distribution<double> exponent(-8.0, 9.0);
    for (int i = 0; i < 1000; ++i) values.push_back(std::pow(10.0, exponent(random)));
    for (int i = 0; i < 1000; ++i)
        values.push_back(static_cast<double>(static_cast<std::int32_t>(random())) / 64.0);
    return values;
}

void expect_as_streamed(Append append, Manipulator form) {
    for (double value : numbers()) {
        for (int precision : {0, 1, 2, 3, 4, 5, 6, 9, 15, 17, 40}) {
            std::string text = "|";
            append(text, value, precision);
            ASSERT_EQ(text, "|" + streamed(value, precision, form))
                << std::hexfloat << value << ", precision " << precision;
        }
    }
}

TEST(NumberFormat, FixedAsStreamed) {
    expect_as_streamed(append_fixed, std::fixed);
}

TEST(NumberFormat, ScientificAsStreamed) {
    expect_as_streamed(append_scientific, std::scientific);
}

TEST(NumberFormat, GeneralAsStreamed) {
    expect_as_streamed(append_general, std::defaultfloat);
}

/// Streams that print through glibc drop the zeros where the rounding of a number carries to the
/// first power of ten in scientific form: "1.e+05", where C asks for "1.0000e+05".
bool zeros_are_dropped(const std::string& text, int digits) {
    const std::size_t mark = text.find(".e");
    return digits > 1 && mark != std::string::npos;
}

TEST(NumberFormat, GeneralWithPointAsStreamed) {
    for (double value : numbers()) {
        for (int digits : {1, 2, 3, 5, 6, 9, 15, 17, 40}) {
            const std::string expected = streamed(value, digits, general_pointed);
            if (zeros_are_dropped(expected, digits)) continue;
            std::string text;
            append_general_pointed(text, value, digits);
            ASSERT_EQ(text, expected) << std::hexfloat << value << ", digits " << digits;
        }
    }
}

TEST(NumberFormat, GeneralWithPointKeepsItsDigitsAtAPowerOfTen) {
    const auto general = [](double value, int digits) {
        std::string text;
        append_general_pointed(text, value, digits);
        return text;
    };
    EXPECT_EQ(general(99999.5, 5), "1.0000e+05");
    EXPECT_EQ(general(99999.4, 5), "99999.");
    EXPECT_EQ(general(0.99999999, 5), "1.0000");
    EXPECT_EQ(general(9.99999999e-5, 5), "0.00010000");
    EXPECT_EQ(general(9.99999999e-6, 5), "1.0000e-05");
    EXPECT_EQ(general(9.5, 1), "1.e+01");
}

TEST(NumberFormat, ManyDigitsNeedMoreRoom) {
    const double value = std::numeric_limits<double>::max() / 3.0;
    for (int decimals : {80, 81, 400}) {
        std::string text;
        append_fixed(text, value, decimals);
        EXPECT_EQ(text, streamed(value, decimals, std::fixed)) << decimals;
    }
}

TEST(NumberFormat, NegativePrecisionIsNone) {
    std::string text;
    append_fixed(text, 12.7, -3);
    EXPECT_EQ(text, "13");
}

TEST(NumberFormat, CellsAreFilledToTheirWidthAndNeverCut) {
    std::string text = "|";
    append_right(text, "ab", 4);
    text += '|';
    append_left(text, "ab", 4);
    text += '|';
    append_right(text, "abcde", 4);
    append_left(text, "abcde", 4);
    EXPECT_EQ(text, "|  ab|ab  |abcdeabcde");
}

}  // namespace
}  // namespace kestrane
