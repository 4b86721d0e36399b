#include "lab/NumberText.h"

#include <gtest/gtest.h>

namespace kestrane {
namespace {

TEST(NumberText, AmountsKeepTheirDigitsInTenColumns) {
    EXPECT_EQ(amount_text(0.0), "0.000000");
    EXPECT_EQ(amount_text(0.5), "0.500000");
    EXPECT_EQ(amount_text(-0.25), "-0.250000");
    EXPECT_EQ(amount_text(999.5), "999.500000");
    EXPECT_EQ(amount_text(1278.265), "1278.26500");
    EXPECT_EQ(amount_text(12345678.0), "12345678.0");
    EXPECT_EQ(amount_text(1.5e9), "1.500e+09");
}

TEST(NumberText, TracesAreScientificAndAbsentComponentsZero) {
    EXPECT_EQ(amount_text(9.9e-5), "9.900e-05");
    EXPECT_EQ(amount_text(1e-12), "1.000e-12");
    EXPECT_EQ(amount_text(1.5e-154), "0.000000");
}

TEST(NumberText, ValuesStandInTheirOwnOrTheDefaultUnit) {
    const Units& psia = unit_of(UnitKind::Pressure, "psia");
    EXPECT_EQ(value_text({6894.757293168361, &psia}, UnitKind::Pressure), "1 psia");
    EXPECT_EQ(value_text({2.5e6, nullptr}, UnitKind::Pressure), "25 bar");
    EXPECT_EQ(value_text({}, UnitKind::Temperature), "0 C");
}

}  // namespace
}  // namespace kestrane
