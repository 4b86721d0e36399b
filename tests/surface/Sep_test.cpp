#include <cmath>

#include "surface/SurfaceRun.h"

namespace kestrane {
namespace {

/// Every component is in oil and gas what it is in the feed.
void expect_balance(const Tank& feed, const Tank& oil, const Tank& gas) {
    ASSERT_EQ(oil.n(), feed.n());
    for (std::size_t i = 0; i < static_cast<std::size_t>(feed.n()); ++i) {
        EXPECT_NEAR(oil.moles()[i] + gas.moles()[i], feed.moles()[i], 1e-12 * feed.moles()[i]);
        EXPECT_NEAR(oil.masses()[i] + gas.masses()[i], feed.masses()[i], 1e-12 * feed.masses()[i]);
        EXPECT_GE(oil.moles()[i], 0.0);
        EXPECT_GE(gas.moles()[i], 0.0);
    }
    EXPECT_NEAR(oil.total_mass() + gas.total_mass(), feed.total_mass(), 1e-12 * feed.total_mass());
}

TEST(Sep, WithoutATableItIsAFlash) {
    LabRun run(FED + "SEP S 300 psia 80 F\nEND\nFLASH 80 F 300 psia\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const Separated out(run, "S");
    const PVTCell& cell = run.lab.cell();
    ASSERT_EQ(cell.phase_count, 2);
    EXPECT_NEAR(out.split.vapor, cell.y_state.fraction, 1e-12);
    EXPECT_NEAR(out.split.liquid_density, cell.x_state.density, 1e-9 * cell.x_state.density);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(out.gas.moles()[i], cell.y_state.fraction * cell.eq_vapor->moles()[i], 1e-12);
    expect_balance(*cell.feed, out.oil, out.gas);
}

TEST(Sep, OnePhaseGoesToOneSide) {
    LabRun run(FED + "SEP OIL 5000 psia 80 F\nEND\nSEP GAS 600 F 14.7 psia\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const Separated oil(run, "OIL");
    EXPECT_EQ(oil.split.liquid, 1.0);
    EXPECT_EQ(oil.gas.total_moles(), 0.0);
    const Separated gas(run, "GAS");
    EXPECT_EQ(gas.split.vapor, 1.0);
    EXPECT_EQ(gas.oil.total_moles(), 0.0);
}

// What is not given is the laboratory's when the separator is executed.
TEST(Sep, ConditionsOfTheLaboratory) {
    LabRun run(FED + "SEP A\nEND\nTEMP 60 F\nPRES 50 psia\nSEP B 70 F\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_NEAR(separator(run, "A").bound_pressure().value, 2000 * 6894.757293168361, 1e-6);
    EXPECT_NEAR(separator(run, "B").bound_pressure().value, 50 * 6894.757293168361, 1e-6);
    EXPECT_NEAR(separator(run, "B").bound_temperature().value, (70 + 459.67) / 1.8, 1e-12);
}

TEST(Sep, ConditionsThatTheLaboratoryGetsLater) {
    LabRun run(LIGHT_FLUID +
               "MIX FEED C1 0.5 C3 0.3 N-C10 0.2\nSEP S\nEND\n"
               "TEMP 80 F\nPRES 300 psia\nAPPLY SEP S\n");
    ASSERT_FALSE(run.stopped) << run.report();
    EXPECT_NEAR(Separated(run, "S").split.pressure.value, 300 * 6894.757293168361, 1e-6);
}

TEST(Sep, LeavesTheLaboratoryAsItIs) {
    const std::string use = "SEP S 300 psia 80 F\nEND\nAPPLY SEP S\n";
    LabRun with(FED + "FLASH 90 F 700 psia\n" + use + "FLASH\n");
    LabRun without(FED + "FLASH 90 F 700 psia\nFLASH\n");
    ASSERT_FALSE(with.stopped) << with.report();
    EXPECT_EQ(with.lab.cell().k, without.lab.cell().k);
    EXPECT_EQ(with.lab.cell().pressure.value, without.lab.cell().pressure.value);
    EXPECT_EQ(with.lab.cell().eos_evaluations, without.lab.cell().eos_evaluations);
    LabRun unused(FED + "FLASH 90 F 700 psia\n" + use);
    EXPECT_EQ(unused.lab.cell().y_state.fraction, with.lab.cell().y_state.fraction);
}

TEST(Sep, KValuesAsGiven) {
    // z = .5 .3 .2, K = 8 2 .01
    LabRun run(FED + "SEP S\nKVAL 8 2 .01\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const Separated out(run, "S");
    const double V = out.split.vapor;
    const double K[]{8, 2, .01}, z[]{.5, .3, .2};
    double g = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        g += z[i] * (K[i] - 1) / (1 + (K[i] - 1) * V);
        const double x = out.oil.moles()[i] / out.oil.total_moles();
        const double y = out.gas.moles()[i] / out.gas.total_moles();
        EXPECT_NEAR(y, K[i] * x, 1e-12);
    }
    EXPECT_NEAR(g, 0.0, 1e-12);
    expect_balance(*run.lab.cell().feed, out.oil, out.gas);
}

TEST(Sep, KValuesOnOneSideOfOne) {
    LabRun run(FED +
               "SEP G\nKVAL 8 2 1\nEND\nSEP L\nKVAL 1 .5 .1\nEND\nSEP N\nKVAL 1.1 1.1 .99\nEND\n"
               "SEP ONES\nKVAL 3*1\nEND\n");
    EXPECT_EQ(Separated(run, "G").split.vapor, 1.0);
    EXPECT_EQ(Separated(run, "L").split.liquid, 1.0);
    // The tie-line's vapor share is above 1 there: all is gas.
    EXPECT_EQ(Separated(run, "N").split.vapor, 1.0);
    EXPECT_EQ(Separated(run, "ONES").split.vapor, 1.0);
}

TEST(Sep, OilFactorsAloneHaveTheirComplements) {
    for (const char* rule : {"LIN", "INV", "LOG"}) {
        LabRun run(FED + "SEP S\nINTERP " + rule + "\nOIL .1 .7 1\nEND\nSEP T\nINTERP " + rule +
                   "\nGAS .9 .3 1E-12\nEND\n");
        ASSERT_FALSE(run.stopped) << run.report();
        const Separated s(run, "S"), t(run, "T");
        const double oil[]{.1, .7, 1};
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(s.split.oil_factors[i], oil[i], 1e-14);
            EXPECT_NEAR(t.split.oil_factors[i], oil[i], 1e-11);
            for (const Separated* out : {&s, &t})
                EXPECT_NEAR(out->split.oil_factors[i] + out->split.gas_factors[i], 1.0, 1e-15);
        }
        EXPECT_NEAR(t.split.gas_factors[2], 1e-12, 1e-24);
        expect_balance(*run.lab.cell().feed, s.oil, s.gas);
        expect_balance(*run.lab.cell().feed, t.oil, t.gas);
    }
}

TEST(Sep, OfTwoFactorsTheSmallerGivesWay) {
    LabRun run(FED + "SEP S\nOIL .1 .6 .5\nGAS .7 .3 .5\nEND\n");
    const Separated out(run, "S");
    EXPECT_NEAR(out.split.gas_factors[0], .7, 1e-15);
    EXPECT_NEAR(out.split.oil_factors[0], .3, 1e-15);
    EXPECT_NEAR(out.split.oil_factors[1], .6, 1e-15);
    EXPECT_NEAR(out.split.gas_factors[1], .4, 1e-15);
    expect_balance(*run.lab.cell().feed, out.oil, out.gas);
}

// One point has oil factors, the other gas factors.
TEST(Sep, SidesGivenAtDifferentPoints) {
    LabRun run(FED + "SEP S\nMOL C1 PER MOL .4\nOIL 3*.2\nMOL C1 PER MOL .6\nGAS 3*.4\nEND\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const Separated out(run, "S");
    // Half way between .2 and .6.
    EXPECT_NEAR(out.split.oil_factors[0], .4, 1e-14);
    EXPECT_NEAR(out.split.gas_factors[0], .6, 1e-14);
}

TEST(Sep, RecoveriesAreClamped) {
    LabRun run(FED + "SEP S\nOIL 1.5 .5 .5\nEND\n");
    const Separated out(run, "S");
    EXPECT_EQ(out.split.oil_factors[0], 1.0);
    EXPECT_EQ(out.split.gas_factors[0], 0.0);
}

TEST(Sep, ATypedZeroIsReplacedWithAWarning) {
    LabRun run(FED + "SEP S\nOIL 0 .5 1\nEND\n");
    EXPECT_EQ(run.counts.warnings, 1);
    EXPECT_TRUE(run.reports("Input value too small")) << run.report();
    EXPECT_EQ(Separated(run, "S").split.oil_factors[0], smallestFactor);
}

TEST(Sep, OmittedValuesKeepTheSmallestFactor) {
    LabRun run(FED + "SEP S\nOIL .5 .25\nEND\nSEP T\nOIL 3*.5\nOIL .25\nEND\n");
    EXPECT_EQ(Separated(run, "S").split.oil_factors[2], smallestFactor);
    const Separated again(run, "T");
    EXPECT_EQ(again.split.oil_factors[0], .25);
    EXPECT_EQ(again.split.oil_factors[2], .5);
}

/// K of the first component at z(C1) = .5 between two points, for a space of K and of z.
double k_between(const std::string& z_rule, const std::string& k_rule, double z0, double k0,
                 double z1, double k1) {
    const auto text = [](double value) { return std::to_string(value); };
    LabRun run(FED + "SEP S\nINTERP " + z_rule + "\nMOL C1 PER MOL " + text(z0) + "\nINTERP " +
               k_rule + "\nKVAL " + text(k0) + " 2 .1\nMOL C1 PER MOL " + text(z1) + "\nKVAL " +
               text(k1) + " 2 .1\nEND\n");
    EXPECT_FALSE(run.stopped) << run.report();
    return Separated(run, "S").split.k_values[0];
}

TEST(Sep, OneVariableInEachSpace) {
    // t = .5 in z, and where 1/z and ln z stand
    const double linear = .5;
    const double inverse = (1 / .5 - 1 / .25) / (1 / .75 - 1 / .25);
    const double log = std::log(.5 / .25) / std::log(.75 / .25);
    const struct {
        const char* rule;
        double t;
    } spaces[]{{"LIN", linear}, {"INV", inverse}, {"LOG", log}};
    for (const auto& [rule, t] : spaces) {
        EXPECT_NEAR(k_between(rule, "LIN", .25, 4, .75, 16), 4 + t * 12, 1e-12) << rule;
        EXPECT_NEAR(k_between(rule, "LOG", .25, 4, .75, 16), 4 * std::pow(4, t), 1e-12) << rule;
        EXPECT_NEAR(k_between(rule, "INV", .25, 4, .75, 16), 1 / (.25 + t * (1. / 16 - .25)), 1e-12)
            << rule;
        // at a point, and outside on either side: the end stands
        EXPECT_NEAR(k_between(rule, "LOG", .5, 4, .75, 16), 4, 1e-13) << rule;
        EXPECT_NEAR(k_between(rule, "LOG", .6, 4, .75, 16), 4, 1e-13) << rule;
        EXPECT_NEAR(k_between(rule, "LOG", .1, 4, .4, 16), 16, 1e-12) << rule;
    }
}

/// Looks up in a table of K-values f(point) on a grid, linear in each variable.
template <class F>
double looked_up(const std::vector<std::vector<double>>& grid, const ValArray<double>& point, F f) {
    Sep sep;
    sep.componentCount = sep.tableWidth = 1;
    sep.oilRule = RULE_LINEAR;
    for (const auto& at : grid) sep.points[at].factors = {f(at)};
    ValArray<double> result;
    sep.Lookup(point, 0, result);
    return result[0];
}

TEST(Sep, TwoAndThreeVariablesAreMultilinear) {
    // What is linear in each variable is found exactly.
    const auto f = [](const ValArray<double>& x) { return 2 + x[0] - 3 * x[1] + 5 * x[0] * x[1]; };
    std::vector<std::vector<double>> grid;
    for (const double a : {0., 1., 4.})
        for (const double b : {-1., 2.}) grid.push_back({a, b});
    for (const double a : {0., .3, 1., 2.5, 4.})
        for (const double b : {-1., 0., 1.7, 2.})
            EXPECT_NEAR(looked_up(grid, {a, b}, f), f({a, b}), 1e-13) << a << " " << b;
    // Outside the end entries stand.
    EXPECT_NEAR(looked_up(grid, {9, 0}, f), f({4, 0}), 1e-13);
    EXPECT_NEAR(looked_up(grid, {-9, 7}, f), f({0, 2}), 1e-13);

    const auto g = [](const ValArray<double>& x) {
        return (1 + x[0]) * (2 - x[1]) * (3 + 2 * x[2]);
    };
    grid.clear();
    for (const double a : {0., 2.})
        for (const double b : {0., 1.})
            for (const double c : {-1., 0., 5.}) grid.push_back({a, b, c});
    for (const double c : {-1., -.4, 0., 2.})
        EXPECT_NEAR(looked_up(grid, {.5, .25, c}, g), g({.5, .25, c}), 1e-12) << c;
}

// The second variable has points of its own at each point of the first.
TEST(Sep, ARaggedTable) {
    const auto f = [](const ValArray<double>& x) { return 10 * x[0] + x[1]; };
    const std::vector<std::vector<double>> grid{{0, 0}, {0, 4}, {1, 1}, {1, 2}, {1, 3}, {2, 7}};
    EXPECT_NEAR(looked_up(grid, {.5, 2}, f), .5 * 2 + .5 * 12, 1e-13);
    EXPECT_NEAR(looked_up(grid, {.5, 4}, f), .5 * 4 + .5 * 13, 1e-13);
    EXPECT_NEAR(looked_up(grid, {1.5, 2}, f), .5 * 12 + .5 * 27, 1e-13);
    EXPECT_NEAR(looked_up({{1, 1}}, {5, 5}, f), 11, 1e-13);
    EXPECT_NEAR(looked_up({{-1e308, 0}, {1e308, 0}}, {0, 0},
                          [](const auto& x) { return x[0] > 0 ? 3.0 : 1.0; }),
                2, 1e-13);
}

double value_of(const std::string& spec) {
    LabRun run(FED + "LUMP HEAVY C3 0.5 N-C10\nSEP S\n" + spec + " 1\nKVAL 8 2 .1\nEND\n");
    EXPECT_FALSE(run.stopped) << run.report();
    return Separated(run, "S").split.point.at(0);
}

TEST(Sep, VariablesOfTheFeed) {
    LabRun run(FED);
    const Tank& feed = *run.lab.cell().feed;
    const auto mw = [&](std::size_t i) { return feed.charz()->comps[i].mw; };
    const double mass = .5 * mw(0) + .3 * mw(1) + .2 * mw(2);
    EXPECT_NEAR(value_of("MOL"), 1.0, 1e-15);
    EXPECT_NEAR(value_of("MOLES C3"), .3, 1e-15);
    EXPECT_NEAR(value_of("MOL HEAVY"), .4, 1e-15);
    EXPECT_NEAR(value_of("MOL C3 PER MOL C1"), .6, 1e-15);
    EXPECT_NEAR(value_of("MASS C3 PER MASS"), .3 * mw(1) / mass, 1e-14);
    EXPECT_NEAR(value_of("MASS PER MOL"), mass, 1e-12);
    EXPECT_NEAR(value_of("MW"), mass, 1e-12);
    EXPECT_NEAR(value_of("MW HEAVY"), (.3 * mw(1) + .1 * mw(2)) / .4, 1e-12);
    EXPECT_NEAR(value_of("MW N-C10 PER MW"), mw(2) / mass, 1e-14);
}

TEST(Sep, RatiosToNothing) {
    const std::string fluid =
        LIGHT_FLUID + "MIX FEED C1 1\nTEMP 100 F\nPRES 20 psia\nLUMP NEG C3 -1 C1\n";
    const auto value = [&](const std::string& spec) {
        LabRun run(fluid + "SEP S\n" + spec + " 1\nKVAL 8 2 .1\nEND\n");
        return Separated(run, "S").split.point.at(0);
    };
    EXPECT_EQ(value("MOL C1 PER MOL C3"), largestFactor);
    EXPECT_EQ(value("MOL NEG PER MOL C3"), -largestFactor);
    EXPECT_EQ(value("MOL C3 PER MOL N-C10"), 1.0);
    // An absent component still has a molecular weight.
    EXPECT_NEAR(value("MW C3"), 44.0956, 1e-2);
}

TEST(Sep, Refusals) {
    EXPECT_NE(report_of("SEP S 80 F 20 psia\n").find("FATAL ERROR"), std::string::npos);
    const std::string none = report_of("SEP S 80 F 20 psia\n");
    EXPECT_NE(none.find("Illegal \"SEP\" command"), std::string::npos) << none;
    EXPECT_NE(none.find("Separators cannot be defined without a prior fluid characterization."),
              std::string::npos);
    const std::string oil = report_of(FED + "SEP S\nKVAL 3*2\nOIL 3*.5\n");
    EXPECT_NE(oil.find("Oil factors not allowed for separator \"S\""), std::string::npos) << oil;
    const std::string gas = report_of(FED + "SEP S\nKVAL 3*2\nGAS 3*.5\n");
    EXPECT_NE(gas.find("Gas factors not allowed for separator \"S\""), std::string::npos) << gas;
    const std::string k = report_of(FED + "SEP S\nOIL 3*.5\nKVAL 3*2\n");
    EXPECT_NE(k.find("K-values not allowed for separator \"S\""), std::string::npos) << k;
    const std::string late = report_of(FED + "SEP S\nMOL .5\nKVAL 3*2\nMASS 3\nEND\n");
    EXPECT_NE(late.find("Illegal interpolation variable for separator \"S\""), std::string::npos);
    EXPECT_NE(late.find("New interpolation variables cannot be defined after the first table "
                        "entry."),
              std::string::npos)
        << late;
    const std::string per = report_of(FED + "SEP S\nMW PER MOL 3\nKVAL 3*2\nEND\n");
    EXPECT_NE(per.find("Keyword \"MOL\" not recognized"), std::string::npos) << per;
    const std::string value = report_of(FED + "SEP S\nMOL C1\nKVAL 3*2\nEND\n");
    EXPECT_NE(value.find("No value was given for interpolation variable \"Moles C1\""),
              std::string::npos)
        << value;
    const std::string name = report_of(FED + "SEP\nEND\n");
    EXPECT_NE(name.find("A name was expected for a separator"), std::string::npos) << name;
    const std::string apply = report_of(FED + "APPLY SEP X\nAPPLY PROC Y\nAPPLY\n");
    EXPECT_NE(apply.find("Cannot apply undefined separator \"X\""), std::string::npos) << apply;
    EXPECT_NE(apply.find("Cannot apply undefined process \"Y\""), std::string::npos) << apply;
    EXPECT_NE(apply.find("Incomplete \"APPLY\" command"), std::string::npos) << apply;
}

TEST(Sep, AnUnknownRuleIsGivenBack) {
    const std::string report = report_of(FED + "SEP S\nINTERP SPLINE\nEND\n");
    EXPECT_NE(report.find("Keyword \"SPLINE\" not recognized"), std::string::npos) << report;
}

// Later characterizations: the table belongs to the number of components it was written for, and
// the feed is converted to the separator's own.
TEST(Sep, AFeedOfAnotherCharacterization) {
    LabRun run(FED +
               "SEP S 80 F 300 psia\nEND\n"
               "CHAR Two\nNAME MW TC(K) PC(bar) AF\nC1\nC3\nEND\nEND\n"
               "MIX FEED C1 0.5 C3 0.5\nAPPLY SEP S\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const Separated out(run, "S");
    EXPECT_EQ(out.oil.n(), 3);
    EXPECT_NEAR(out.oil.total_moles() + out.gas.total_moles(), 1.0, 1e-12);
}

// A characterization changed behind the separator's back.
TEST(Sep, ATableThatDoesNotFitIsRefused) {
    const auto refused = [](const std::string& other, const std::string& reason) {
        LabRun run(other + FED +
                   "LUMP HEAVY C3 0.5 N-C10\n"
                   "SEP S 80 F 300 psia\nMOL HEAVY .5\nKVAL 8 2 .1\nEND\n");
        ASSERT_FALSE(run.stopped) << run.report();
        run.lab.current(run.lab.find_charzation("Other"));
        EXPECT_THROW(run.repeat_last(), FatalError);
        EXPECT_EQ(run.counts.fatals, 1);
        const std::string report = run.report();
        const std::size_t at =
            report.find("Separator \"S\" does not fit the fluid characterization");
        ASSERT_NE(at, std::string::npos) << report;
        const std::size_t place = report.find("Problem for keyword \"SEP\"", at);
        const std::size_t why = report.find(reason, at);
        EXPECT_LT(at, place) << report;
        EXPECT_LT(place, why) << report;
        EXPECT_NE(why, std::string::npos) << report;
    };
    const std::string head = "CHAR Other\nNAME MW TC(K) PC(bar) AF\nC1\nC3\n";
    refused(head + "END\nEND\n", "Its table was given for 3 components, where there are 2.");
    refused(head + "N-C10\nEND\nEND\n", "A component or lump of its variables is missing.");
}

TEST(Sep, ASecondEvaluationGivesTheSame) {
    LabRun run(FED +
               "SEP S 300 psia 80 F\nEND\nSEP T\nMOL C1 .4\nINTERP LOG\nKVAL 6 2 .1\n"
               "MOL C1 .6\nKVAL 3 1 .01\nEND\nAPPLY SEP S SEP T\n");
    ASSERT_FALSE(run.stopped) << run.report();
    const std::string first = run.evaluate(EvaluationMode::Final);
    EXPECT_EQ(run.evaluate(EvaluationMode::Final), first);
    EXPECT_NE(first.find("Separation 2 (Separator: \"T\")"), std::string::npos) << first;
}

}  // namespace
}  // namespace kestrane
