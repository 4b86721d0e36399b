// Key tie-lines of displacements: judged by the textbook equation of state and by geometry.

#include "misc/KeyTieLines.h"

#include <gtest/gtest.h>

#include "misc/BandSolver.h"
#include "misc/ConstantKTieLines.h"
#include "misc/MiscFluids.h"
#include "misc/reference/KeyTieLines.h"

namespace kestrane {
namespace {

using fluids::Fluid;
using fluids::GAS_DRIVE_T;
using Composition = std::vector<double>;

TEST(BandSolver, SolvesForTwoRightSides) {
    constexpr std::size_t N = 30, BELOW = 3, ABOVE = 2;
    BandSolver matrix;
    matrix.resize(N, BELOW, ABOVE);
    Composition x(N), y(N), b(N, 0.0), c(N, 0.0);
    for (std::size_t i = 0; i < N; ++i) {
        x[i] = std::sin(1.0 + static_cast<double>(i));
        y[i] = std::cos(2.0 * static_cast<double>(i));
    }
    for (std::size_t i = 0; i < N; ++i)
        for (std::size_t j = i > BELOW ? i - BELOW : 0; j <= std::min(i + ABOVE, N - 1); ++j) {
            // Zeros on the diagonal: only pivoting gets past them.
            const double a =
                i == j && i % 3 == 0 ? 0.0 : std::sin(7.0 * static_cast<double>(i * N + j));
            matrix.add(i, j, 0.5 * a);
            matrix.add(i, j, 0.5 * a);
            b[i] += a * x[j];
            c[i] += a * y[j];
        }
    ASSERT_TRUE(matrix.solve(b, c));
    for (std::size_t i = 0; i < N; ++i) {
        EXPECT_NEAR(b[i], x[i], 1e-10);
        EXPECT_NEAR(c[i], y[i], 1e-10);
    }
}

TEST(BandSolver, SaysThatAMatrixIsSingular) {
    BandSolver matrix;
    matrix.resize(3, 1, 1);
    matrix.add(0, 0, 1.0);
    matrix.add(2, 2, 1.0);
    Composition b(3, 1.0);
    EXPECT_FALSE(matrix.solve(b));
}

/// Each tie-line meets the next, the first one the gas, the last one the oil, all between positive
/// phases.
TEST(ConstantKTieLines, MeetEachOther) {
    const Composition K{0.3, 12.0, 2.5, 1e-3, 1.4, 0.02},
        gas{1e-8, 0.6 - 1.11e-7, 0.3, 1e-9, 0.1, 1e-7}, oil{0.2, 0.1, 0.05, 0.35, 0.1, 0.2};
    Composition ln_K;
    for (double k : K) ln_K.push_back(std::log(k));
    const ConstantKTieLines lines(ln_K, gas, oil);
    ASSERT_TRUE(lines.valid());
    ASSERT_EQ(lines.count(), 5u);
    std::vector<Composition> x(5, Composition(6));
    for (std::size_t line = 0; line < 5; ++line) {
        lines.liquid(line, x[line]);
        double sum_x = 0.0, sum_y = 0.0;
        for (std::size_t i = 0; i < 6; ++i) {
            EXPECT_GT(x[line][i], 0.0);
            sum_x += x[line][i];
            sum_y += x[line][i] * K[i];
        }
        EXPECT_NEAR(sum_x, 1.0, 1e-12);
        EXPECT_NEAR(sum_y, 1.0, 1e-9) << line;
    }
    double place[2], p[4];
    for (const bool at_gas : {true, false}) {
        const Composition& fluid = at_gas ? gas : oil;
        const Composition& liquid = at_gas ? x.front() : x.back();
        lines.place(fluid, place);
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_NEAR(liquid[i] * (place[0] + place[1] * K[i]), fluid[i], 1e-9) << i;
    }
    for (std::size_t line = 0; line + 1 < 5; ++line) {
        lines.intersection(line, p);
        double distance = 0.0;
        for (std::size_t i = 0; i < 6; ++i) {
            const double here = x[line][i] * (p[0] + p[1] * K[i]);
            EXPECT_NEAR(here, x[line + 1][i] * (p[2] + p[3] * K[i]), 1e-9) << line << " " << i;
            distance += std::abs(x[line + 1][i] - x[line][i]);
        }
        EXPECT_GT(distance, 1e-3) << line;
    }
}

TEST(ConstantKTieLines, NeedComponentsOnBothSidesOfOne) {
    const Composition z{0.5, 0.5};
    EXPECT_FALSE(ConstantKTieLines(Composition{0.2, 0.1}, z, z).valid());
    EXPECT_FALSE(ConstantKTieLines(Composition{0.2, 0.2, -1.0}, Composition{0.3, 0.3, 0.4},
                                   Composition{0.3, 0.3, 0.4})
                     .valid());
    EXPECT_TRUE(ConstantKTieLines(Composition{0.2, -0.1}, z, z).valid());
}

/// The lines of a displacement of the textbook fluid, by a characterization of the program.
struct Displacement {
    Displacement(const Fluid& given, double temperature, Composition o, Composition g)
        : fluid(given),
          T(temperature),
          oil(std::move(o)),
          gas(std::move(g)),
          charz(fluids::characterization(fluid)),
          lines(charz, T, gas, oil) {}
    Fluid fluid;
    double T;
    Composition oil, gas;
    Charzation charz;
    KeyTieLines lines;
};

struct Quaternary {
    const char* name;
    Composition oil, gas;
};

void PrintTo(const Quaternary& drive, std::ostream* out) {
    *out << drive.name;
}

class QuaternaryCrossover : public testing::TestWithParam<Quaternary> {};

/// At all pressures at which the reference finds the crossover. It stands between the two ends
/// unless one of these is shorter, as for pure methane: there the crossover is still long where the
/// tie-line through the oil vanishes.
TEST_P(QuaternaryCrossover, IsTheReferences) {
    const Quaternary& drive = GetParam();
    Displacement d(fluids::gas_drive_fluid(), GAS_DRIVE_T, drive.oil, drive.gas);
    const Composition oil = fluids::with_traces(drive.oil, 2),
                      gas = fluids::with_traces(drive.gas, 2);
    textbook::CrossoverTieLine crossover(d.fluid, d.T, oil, gas);
    std::optional<textbook::TieLine> last;
    int compared = 0;
    for (double P = 85e5; P < 400e5; P *= 1.02) {
        last = crossover.at(P, last ? &*last : nullptr);
        const auto shortest = d.lines.at(P);
        if (!last || !shortest || d.lines.phase(1, true).empty()) break;
        const Composition x = d.lines.phase(1, false), y = d.lines.phase(1, true);
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_NEAR(x[i], last->x[i], 2e-6) << P << " " << i;
            EXPECT_NEAR(y[i], last->y[i], 2e-6) << P << " " << i;
        }
        ++compared;
    }
    EXPECT_GT(compared, 15);
}

INSTANTIATE_TEST_SUITE_P(
    Drives, QuaternaryCrossover,
    testing::Values(Quaternary{"published", {0.2, 0.15, 0.65, 0.0}, {0.2, 0.0, 0.0, 0.8}},
                    Quaternary{"light oil", {0.3, 0.2, 0.5, 0.0}, {0.0, 0.0, 0.0, 1.0}},
                    Quaternary{"lean gas", {0.2, 0.15, 0.65, 0.0}, {0.95, 0.0, 0.0, 0.05}},
                    Quaternary{"pure methane", {0.2, 0.15, 0.55, 0.1}, {1.0, 0.0, 0.0, 0.0}},
                    Quaternary{"butane oil", {0.1, 0.3, 0.5, 0.1}, {1.0, 0.0, 0.0, 0.0}}));

/// Two pure-methane drives: the line through the oil is the first to vanish, with the crossover
/// far from it.
TEST(KeyTieLines, OilsTieLineVanishesFirstInVaporizingDrives) {
    for (const Composition& oil :
         {Composition{0.2, 0.15, 0.55, 0.1}, Composition{0.1, 0.3, 0.5, 0.1}}) {
        Displacement d(fluids::gas_drive_fluid(), GAS_DRIVE_T, oil, {1.0, 0.0, 0.0, 0.0});
        const auto end = d.lines.vanishing_pressure(1e9);
        ASSERT_TRUE(end);
        const double expected = textbook::critical_tie_line_pressure(
            d.fluid, d.T, fluids::from_psia(1200.0), fluids::with_traces(oil, 2));
        EXPECT_NEAR(*end / expected, 1.0, 1e-3);
        const auto shortest = d.lines.at(0.99 * *end);
        ASSERT_TRUE(shortest);
        EXPECT_EQ(shortest->line + 1, shortest->lines);
        const Composition x = d.lines.phase(1, false), y = d.lines.phase(1, true);
        double length = 0.0;
        for (std::size_t i = 0; i < 4; ++i) length += std::abs(y[i] - x[i]);
        EXPECT_GT(length * length, 0.09);
    }
}

/// Share of `v` that no combination of the columns reaches; all components relative to `scale`.
double unreached(std::vector<Composition> columns, Composition v, const Composition& scale) {
    const auto dot = [](const Composition& a, const Composition& b) {
        double sum = 0.0;
        for (std::size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
        return sum;
    };
    columns.push_back(std::move(v));
    for (Composition& column : columns)
        for (std::size_t i = 0; i < scale.size(); ++i) column[i] /= scale[i];
    const double size = std::sqrt(dot(columns.back(), columns.back()));
    for (std::size_t k = 0; k < columns.size(); ++k) {
        for (int pass = 0; pass < 2; ++pass)
            for (std::size_t j = 0; j < k; ++j) {
                const double share = dot(columns[k], columns[j]);
                for (std::size_t i = 0; i < scale.size(); ++i)
                    columns[k][i] -= share * columns[j][i];
            }
        const double norm = std::sqrt(dot(columns[k], columns[k]));
        if (k + 1 == columns.size()) return norm / size;
        for (double& value : columns[k]) value /= norm;
    }
    return 0.0;
}

Composition largest(const std::vector<Composition>& all) {
    Composition scale(all[0].size(), 0.0);
    for (const Composition& one : all)
        for (std::size_t i = 0; i < scale.size(); ++i) scale[i] = std::max(scale[i], one[i]);
    return scale;
}

void expect_equal_fugacities(const Displacement& d, double P, const Composition& x,
                             const Composition& y) {
    const textbook::Mixture<double> mixture(d.fluid, d.T);
    const auto liquid = mixture.phase(P, x), vapor = mixture.phase(P, y);
    for (std::size_t i = 0; i < x.size(); ++i)
        EXPECT_NEAR(std::log(x[i]) + liquid.ln_phi[i], std::log(y[i]) + vapor.ln_phi[i], 1e-7) << i;
}

/// All conditions of all lines, one by one: eleven components, to within 1 % of the pressure at
/// which the first line vanishes.
TEST(KeyTieLines, ElevenComponentsFulfilAllConditions) {
    struct Drive {
        double T;
        Composition gas;
        bool fold;
    };
    const Drive drives[] = {
        {393.15, {0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0}, false},
        {350.0, {0, 0, 0.7, 0.15, 0.1, 0.05, 0, 0, 0, 0, 0}, false},
        {330.0, {0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0}, true},
    };
    for (const Drive& drive : drives) {
        const Fluid fluid = fluids::volatile_oil();
        Displacement d(fluid, drive.T, fluid.z, drive.gas);
        const auto end = d.lines.vanishing_pressure(1e9);
        ASSERT_TRUE(end) << drive.T;
        const double P = 0.99 * *end;
        const auto shortest = d.lines.at(P);
        ASSERT_TRUE(shortest);
        EXPECT_LT(shortest->immiscibility, 0.03);
        EXPECT_EQ(shortest->lines, 10u);
        Composition gas = drive.gas;
        for (double& z : gas) z = std::max(z, 1e-10);
        Composition x = d.lines.phase(0, false), y = d.lines.phase(0, true);
        ASSERT_EQ(x.size(), 11u);
        EXPECT_LT(unreached({x, y}, gas, largest({x, y, gas})), 1e-7);
        for (std::size_t line = 1; line < 10; ++line) {
            expect_equal_fugacities(d, P, x, y);
            const Composition next_x = d.lines.phase(line, false),
                              next_y = d.lines.phase(line, true);
            const Composition scale = largest({x, y, next_x, next_y});
            EXPECT_LT(unreached({x, y, next_x}, next_y, scale), 1e-6) << drive.T << " " << line;
            EXPECT_GT(unreached({x, y}, next_y, scale), 1e-4) << drive.T << " " << line;
            x = next_x;
            y = next_y;
        }
        expect_equal_fugacities(d, P, x, y);
        EXPECT_LT(unreached({x, y}, fluid.z, largest({x, y, fluid.z})), 1e-7);
    }
}

TEST(KeyTieLines, TwinsChangeNothing) {
    Fluid fluid = fluids::gas_drive_fluid();
    Displacement plain(fluid, GAS_DRIVE_T, {0.2, 0.15, 0.65, 0.0}, {0.2, 0.0, 0.0, 0.8});
    fluid.components.push_back(fluid.components[2]);
    fluid.components.back().name = "C10B";
    for (std::size_t i = 0; i < 4; ++i) fluid.kij[i].push_back(fluid.kij[i][2]);
    fluid.kij.push_back(fluid.kij[2]);
    fluid.kij[4][2] = fluid.kij[2][4] = 0.0;
    Displacement twins(fluid, GAS_DRIVE_T, {0.2, 0.15, 0.4, 0.0, 0.25}, {0.2, 0.0, 0.0, 0.8, 0.0});
    const auto expected = plain.lines.vanishing_pressure(1e9),
               found = twins.lines.vanishing_pressure(1e9);
    ASSERT_TRUE(expected && found);
    EXPECT_NEAR(*found / *expected, 1.0, 1e-5);
}

TEST(KeyTieLines, OnlyComponentsThatThereAreCount) {
    Displacement d(fluids::gas_drive_fluid(), GAS_DRIVE_T, {0.2, 0.15, 0.65, 0.0},
                   {0.7, 0.3, 0.0, 0.0});
    const auto shortest = d.lines.at(100e5);
    ASSERT_TRUE(shortest);
    EXPECT_EQ(shortest->lines, 2u);
    EXPECT_EQ(d.lines.phase(0, true)[3], 0.0);
}

/// Work grows with the fourth power of the number of components.
TEST(KeyTieLines, FluidsOfManyComponentsAreLeftAlone) {
    std::vector<double> gas(40, 0.0);
    gas[0] = 1.0;
    const Fluid fluid = fluids::paraffins(40);
    EXPECT_FALSE(Displacement(fluid, 380.0, fluid.z, gas).lines.at(100e5));
    gas.resize(22);
    const Fluid fewer = fluids::gas_cap_oil();
    std::ranges::fill(gas, 0.0);
    gas[2] = 1.0;
    EXPECT_TRUE(Displacement(fewer, 366.15, fewer.z, gas).lines.at(100e5));
}

TEST(KeyTieLines, NothingWhereNoneAreKnown) {
    const Fluid fluid = fluids::gas_drive_fluid();
    const Composition methane{1.0, 0.0, 0.0, 0.0}, oil{0.2, 0.15, 0.65, 0.0};
    EXPECT_FALSE(Displacement(fluid, GAS_DRIVE_T, methane, methane).lines.at(100e5));
    EXPECT_FALSE(Displacement(fluid, GAS_DRIVE_T, oil, oil).lines.at(100e5));
    Displacement d(fluid, GAS_DRIVE_T, oil, {0.2, 0.0, 0.0, 0.8});
    EXPECT_FALSE(d.lines.at(1.0));
    EXPECT_TRUE(d.lines.phase(0, true).empty());
    EXPECT_FALSE(d.lines.vanishing_pressure(100e5));
    EXPECT_TRUE(d.lines.vanishing_pressure(200e5));
    const auto beyond = d.lines.at(300e5);
    ASSERT_TRUE(beyond);
    EXPECT_EQ(beyond->immiscibility, 0.0);
    EXPECT_EQ(beyond->line, 1u);
}

}  // namespace
}  // namespace kestrane
