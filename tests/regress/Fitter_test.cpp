#include "regress/Fitter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "FitterProblem.h"
#include "equil/AllocationCount.h"
#include "frame/Errors.h"

namespace kestrane {
namespace {

using Values = FitterProblem::Values;

/// Differences of the variables from `answer`, each times a slope of its own.
FitterProblem linear(const Values& answer, const Values& slopes) {
    return FitterProblem([=](const Values& b) {
        Values r;
        for (std::size_t i = 0; i < b.size(); ++i) r.push_back(slopes[i] * (b[i] - answer[i]));
        return r;
    });
}

std::string only_message(const FitterProblem& fitter) {
    return fitter.errors.entries.size() == 1 ? fitter.errors.entries[0]->text : "";
}

TEST(Fitter, BoundsAreTheSmallestAndGreatestOfThree) {
    FitterProblem fitter = linear({0, 0, 0}, {1, 1, 1});
    fitter.addVariable("a", 5.0, 1.0, 3.0);
    fitter.addVariable("b", 2.0, 4.0, 0.0);
    fitter.addVariable("c", 2.0, 2.0, 2.0);
    EXPECT_EQ(fitter.lower_bound(0), 1.0);
    EXPECT_EQ(fitter.upper_bound(0), 5.0);
    EXPECT_EQ(fitter.lower_bound(1), 0.0);
    EXPECT_EQ(fitter.upper_bound(1), 4.0);
    EXPECT_FALSE(fitter.is_active(2));
    EXPECT_EQ(fitter.active_count(), 2u);
    EXPECT_EQ(fitter.variable_count(), 3u);
}

TEST(Fitter, LatestVariableOfANameIsFound) {
    FitterProblem fitter = linear({}, {});
    fitter.addVariable("Shift", 1.0, 1.0, 1.0);
    fitter.addVariable("other", 1.0, 1.0, 1.0);
    fitter.addVariable("SHIFT", 2.0, 2.0, 2.0);
    EXPECT_EQ(fitter.findVariable("shift"), 2);
    EXPECT_EQ(fitter.findVariable("OTHER"), 1);
    EXPECT_EQ(fitter.findVariable("shif"), -1);
}

TEST(Fitter, ResidualWithoutWeightIsDropped) {
    FitterProblem fitter([](const Values&) { return Values{}; });
    fitter.addResidual(3.0, 0.5);
    fitter.addResidual(3.0, 0.0);
    fitter.addResidual(3.0, -1.0);
    fitter.addResidual(3.0, std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(fitter.sum_of_squares(), 2.25);
    EXPECT_EQ(fitter.sum_of_squared_weights(), 0.25);
}

/// Three residuals, linear in three variables from 0 to 1 that begin in the middle. The full step
/// carries the first two past their bounds; where they are stopped in turn, at (1, 0, 1), the sum
/// of squares is 38, more than the 36.25 of the start, and so it is all the way there. The least
/// sum in the box, found by trying all sets of bounds in exact arithmetic, is 20 at (0, 0, 1).
TEST(Fitter, AStepThatBoundsTurnUphillIsNotTaken) {
    FitterProblem fitter([](const Values& b) {
        return Values{-b[0] - b[1] - b[2] + 1.0, 3.0 * b[0] + 3.0 * b[1] + 2.0 * b[2] - 4.0,
                      2.0 * b[0] + 3.0 * b[1] + b[2] + 3.0};
    });
    for (const char* name : {"a", "b", "c"}) fitter.addVariable(name, 0.5, 0.0, 1.0);
    fitter.run();
    EXPECT_TRUE(fitter.errors.empty());
    EXPECT_NEAR(fitter.sum_of_squares(), 20.0, 1e-6);
    EXPECT_NEAR(fitter.variable_value(0), 0.0, 1e-6);
    EXPECT_NEAR(fitter.variable_value(1), 0.0, 1e-6);
    EXPECT_NEAR(fitter.variable_value(2), 1.0, 1e-6);
}

TEST(Fitter, NoActiveVariableIsOneEvaluation) {
    FitterProblem fitter = linear({1.0}, {1.0});
    fitter.addVariable("a", 5.0, 5.0, 5.0);
    fitter.run();
    EXPECT_EQ(fitter.modes, std::vector<EvaluationMode>{EvaluationMode::First});
    EXPECT_EQ(fitter.iteration_count, 0);
    EXPECT_TRUE(fitter.errors.empty());
}

TEST(Fitter, NothingIsDoneWhereNothingIsLeft) {
    FitterProblem fitter = linear({1.0}, {1.0});
    fitter.addVariable("a", 1.0, 0.0, 2.0);
    fitter.run();
    EXPECT_EQ(fitter.evaluation_count, 1);
    EXPECT_EQ(fitter.iteration_count, 0);
}

TEST(Fitter, LinearProblemNeedsOneStepAndOneToSeeIt) {
    FitterProblem fitter = linear({3.0, -0.5}, {1.0, 20.0});
    fitter.addVariable("a", 1.0, -10.0, 10.0);
    fitter.addVariable("b", 1.0, -10.0, 10.0);
    fitter.run();
    EXPECT_NEAR(fitter.variable_value(0), 3.0, 1e-9);
    EXPECT_NEAR(fitter.variable_value(1), -0.5, 1e-9);
    EXPECT_EQ(fitter.iteration_count, 2);
    EXPECT_EQ(fitter.initial_value(0), 1.0);
}

TEST(Fitter, DifferencesGoInsideTheBox) {
    FitterProblem fitter = linear({3.0, 3.0}, {1.0, 1.0});
    fitter.addVariable("at upper", 10.0, 0.0, 10.0);
    fitter.addVariable("at lower", 0.0, 0.0, 10.0);
    fitter.run();
    ASSERT_EQ(fitter.modes[1], EvaluationMode::Jacobian);
    EXPECT_DOUBLE_EQ(fitter.tried[1][0], 10.0 - 1e-4);
    EXPECT_EQ(fitter.tried[1][1], 0.0);
    EXPECT_EQ(fitter.tried[2][0], 10.0);
    EXPECT_DOUBLE_EQ(fitter.tried[2][1], 1e-4);
    for (const Values& values : fitter.tried)
        for (const double value : values) EXPECT_TRUE(value >= 0.0 && value <= 10.0);
}

/// Minimum of (x - 2)^2 + 4 (x + y - 3)^2 under y <= 0.5: dS/dx = 0 at x = 12/5.
TEST(Fitter, BoundActiveAtTheAnswer) {
    FitterProblem fitter([](const Values& b) {
        return Values{b[0] - 2.0, 2.0 * (b[0] + b[1] - 3.0)};
    });
    fitter.addVariable("x", 0.3, 0.0, 10.0);
    fitter.addVariable("y", 0.2, 0.0, 0.5);
    fitter.run();
    EXPECT_EQ(fitter.variable_value(1), 0.5);
    EXPECT_NEAR(fitter.variable_value(0), 2.4, 1e-8);
    EXPECT_TRUE(fitter.errors.empty());
}

TEST(Fitter, AllBoundsActiveAtTheAnswer) {
    FitterProblem fitter = linear({5.0, -5.0, 0.5}, {1.0, 1.0, 1.0});
    fitter.addVariable("a", 0.3, 0.1, 0.7);
    fitter.addVariable("b", 0.3, 0.1, 0.7);
    fitter.addVariable("c", 0.6, 0.1, 0.4);
    fitter.run();
    EXPECT_EQ(fitter.variable_value(0), 0.7);
    EXPECT_EQ(fitter.variable_value(1), 0.1);
    EXPECT_NEAR(fitter.variable_value(2), 0.5, 1e-9);
}

/// A variable that is held at a bound in one iteration is free in the next.
TEST(Fitter, BoundIsLeftAgain) {
    FitterProblem fitter([](const Values& b) {
        return Values{std::exp(3.0 * b[0]) - std::exp(1.5), b[0] + b[1] - 1.0};
    });
    fitter.addVariable("x", 0.0, 0.0, 1.0);
    fitter.addVariable("y", 0.9, 0.0, 1.0);
    fitter.run();
    EXPECT_EQ(fitter.tried[3][0], 1.0);  // the first step overshoots
    EXPECT_NEAR(fitter.variable_value(0), 0.5, 1e-6);
    EXPECT_NEAR(fitter.variable_value(1), 0.5, 1e-6);
}

TEST(Fitter, SecondVariableOfTheSameEffectSharesTheStep) {
    FitterProblem fitter([](const Values& b) { return Values{b[0] + b[1] - 4.0, 0.0, 1.0}; });
    fitter.addVariable("a", 1.0, 0.0, 10.0);
    fitter.addVariable("b", 1.0, 0.0, 10.0);
    fitter.run();
    EXPECT_NEAR(fitter.variable_value(0), 2.0, 1e-9);
    EXPECT_NEAR(fitter.variable_value(1), 2.0, 1e-9);
}

TEST(Fitter, MoreVariablesThanResidualsTakeTheShortestStep) {
    FitterProblem fitter(
        [](const Values& b) { return Values{b[0] + 2.0 * b[1] - 2.0 * b[2] - 9.0}; });
    for (const char* name : {"a", "b", "c"}) fitter.addVariable(name, 0.0, -50.0, 50.0);
    fitter.run();
    EXPECT_NEAR(fitter.variable_value(0), 1.0, 1e-8);
    EXPECT_NEAR(fitter.variable_value(1), 2.0, 1e-8);
    EXPECT_NEAR(fitter.variable_value(2), -2.0, 1e-8);
    EXPECT_EQ(fitter.residuals().size(), 1u);
}

TEST(Fitter, ZeroJacobianEndsAtOnce) {
    FitterProblem fitter([](const Values&) { return Values{1.0, 2.0}; });
    fitter.addVariable("a", 1.0, 0.0, 3.0);
    fitter.addVariable("b", 1.0, 0.0, 3.0);
    fitter.run();
    EXPECT_EQ(fitter.iteration_count, 1);
    EXPECT_EQ(fitter.evaluation_count, 4);  // first, two columns, one step
    EXPECT_EQ(fitter.variable_value(0), 1.0);
    EXPECT_TRUE(fitter.errors.empty());
}

/// The root of atan from 2: a Newton step overshoots to -3.5, its half to -0.8.
TEST(Fitter, StepThatRaisesTheSumIsHalved) {
    FitterProblem fitter([](const Values& b) { return Values{std::atan(b[0])}; });
    fitter.addVariable("x", 2.0, -20.0, 20.0);
    fitter.run();
    EXPECT_EQ(fitter.count(EvaluationMode::Reduction), 1);
    EXPECT_EQ(fitter.modes[3], EvaluationMode::Reduction);
    EXPECT_NEAR(fitter.tried[2][0], 2.0 - 5.0 * std::atan(2.0), 1e-2);
    EXPECT_NEAR(fitter.tried[3][0] - 2.0, 0.5 * (fitter.tried[2][0] - 2.0), 1e-12);
    EXPECT_NEAR(fitter.variable_value(0), 0.0, 1e-6);
}

/// A needle of a minimum exactly at the start: every step away raises the sum, so the fit goes
/// back to where it was, and stops there.
TEST(Fitter, HopelessStepIsTakenBackExactly) {
    FitterProblem fitter([](const Values& b) {
        const double x = b[0] - 0.4;
        return Values{x == 0.0 ? 1.0 : 1.1 - std::abs(x)};
    });
    fitter.addVariable("x", 0.4, 0.0, 1.0);
    fitter.run();
    // The difference says: 1e4 per unit upwards. The step is -1e-4, or a little less.
    EXPECT_EQ(fitter.variable_value(0), 0.4);
    EXPECT_EQ(fitter.sum_of_squares(), 1.0);
    EXPECT_EQ(fitter.iteration_count, 1);
    EXPECT_EQ(fitter.modes.back(), EvaluationMode::Reduction);
    EXPECT_TRUE(fitter.errors.empty());
}

/// From a full step of 0.4 to below 1e-4 takes 12 halvings, then one evaluation at the start.
TEST(Fitter, HalvingsEndInTheStart) {
    FitterProblem fitter([](const Values& b) {
        const double x = b[0] - 0.4;
        return Values{1.0 + (std::abs(x) < 2e-5 ? 2.5 * x : std::abs(x))};
    });
    fitter.addVariable("x", 0.4, 0.0, 1.0);
    fitter.run();
    EXPECT_EQ(fitter.count(EvaluationMode::Reduction), 13);
    EXPECT_EQ(fitter.variable_value(0), 0.4);
}

/// Slow on purpose: a triple root takes a third of the way at each step, 0.6665 of the distance
/// stays, to 1e-4 of the range in the end.
TEST(Fitter, IterationLimitIsTold) {
    const auto cube = [](const Values& b) { return Values{1e6 * b[0] * b[0] * b[0]}; };
    FitterProblem free(cube);
    free.addVariable("x", 1.0, -1.0, 1.0);
    free.run();
    EXPECT_TRUE(free.errors.empty());
    const int needed = free.iteration_count;
    ASSERT_GT(needed, 10);
    ASSERT_LT(needed, 25);

    FitterProblem exact(cube);
    exact.addVariable("x", 1.0, -1.0, 1.0);
    exact.iteration_limit = needed;
    exact.run();
    EXPECT_TRUE(exact.errors.empty());
    EXPECT_EQ(exact.iteration_count, needed);

    FitterProblem short_of(cube);
    short_of.addVariable("x", 1.0, -1.0, 1.0);
    short_of.iteration_limit = needed - 1;
    short_of.run();
    EXPECT_EQ(only_message(short_of), "Regression failed to converge");
    EXPECT_EQ(short_of.errors.severity, WARNING);
    EXPECT_EQ(short_of.iteration_count, needed);
}

/// The same with the limit as it is. Each step leaves 3/4 of x, the first one of at most 1e-4 of
/// the range (0.2, from x = 0.8) is the last: from 700 there are 1 + ln(700 / 0.8) / ln(4/3)
/// = 24.6, from 800 a little more than 25.
TEST(Fitter, TwentyFiveIterationsAreEnough) {
    const auto quartic = [](const Values& b) { return Values{std::pow(b[0], 4.0)}; };
    FitterProblem enough(quartic);
    enough.addVariable("x", 700.0, -1.0, 2000.0);
    enough.run();
    EXPECT_EQ(enough.iteration_count, 25);
    EXPECT_TRUE(enough.errors.empty());

    FitterProblem not_enough(quartic);
    not_enough.addVariable("x", 800.0, -1.0, 2000.0);
    not_enough.run();
    EXPECT_EQ(not_enough.iteration_count, 26);
    EXPECT_EQ(only_message(not_enough), "Regression failed to converge");
}

/// A quartic valley whose evaluation allocates nothing.
class QuietFitter final : public Fitter {
public:
    void evaluate(Reader&, ErrorList&, EvaluationMode) override {
        addResidual(std::pow(variable_value(0), 4.0), 1.0);
        addResidual(std::pow(variable_value(1), 4.0), 1.0);
        addResidual(variable_value(0) * variable_value(1), 1.0);
    }
};

/// However many iterations, a fit allocates the same few arrays.
TEST(Fitter, IterationsAllocateNothing) {
    std::vector<long> made;
    FitterProblem reading([](const Values&) { return Values{}; });
    for (const int limit : {1, 5, 20}) {
        QuietFitter fitter;
        fitter.addVariable("x", 300.0, -1.0, 2000.0);
        fitter.addVariable("y", 200.0, -1.0, 150.0);
        fitter.iteration_limit = limit;
        ErrorList errors;
        const AllocationCount count;
        fitter.fit(reading.reader(), errors);
        // A note that the limit was reached is an object, its count of owners and its text.
        made.push_back(count.made() - static_cast<long>(3 * errors.entries.size()));
        EXPECT_GE(fitter.iteration_count, std::min(limit, 15));
    }
    EXPECT_EQ(made[0], made[1]);
    EXPECT_EQ(made[1], made[2]);
    EXPECT_EQ(made[0], 5);  // one block, residuals, two matrices, column pointers
}

TEST(Fitter, ErrorsInsideAColumnPutTheStartBack) {
    for (const int severity : {ERROR, FATAL_ERROR}) {
        FitterProblem fitter = linear({3.0, 3.0}, {1.0, 1.0});
        fitter.addVariable("a", 1.0, 0.0, 10.0);
        fitter.addVariable("b", 2.0, 0.0, 10.0);
        fitter.before = [severity](ErrorList& list, std::size_t number) {
            if (number != 3) return;
            list.Add("no state", severity);
            list.Add("no state", severity);
            list.Add("no flow", severity);
        };
        fitter.run();
        EXPECT_EQ(fitter.modes.back(), EvaluationMode::Jacobian);
        EXPECT_EQ(fitter.evaluation_count, 3);
        EXPECT_DOUBLE_EQ(fitter.variable_value(0), 1.0);
        EXPECT_DOUBLE_EQ(fitter.variable_value(1), 2.0);
        EXPECT_EQ(fitter.errors.error_count, 3);
    }
}

TEST(Fitter, TwoErrorsAndAnyWarningsDoNotEndAFit) {
    FitterProblem fitter = linear({3.0}, {1.0});
    fitter.addVariable("a", 1.0, 0.0, 10.0);
    fitter.before = [](ErrorList& list, std::size_t number) {
        list.Add("odd", WARNING);
        if (number <= 2) list.Add("wrong", ERROR);
    };
    fitter.run();
    EXPECT_NEAR(fitter.variable_value(0), 3.0, 1e-9);
}

TEST(Fitter, ErrorsEndAFitWhereverTheyCome) {
    // The evaluations of atan: first, column, step, reduction.
    for (std::size_t at = 1; at <= 4; ++at) {
        FitterProblem fitter([](const Values& b) { return Values{std::atan(b[0])}; });
        fitter.addVariable("x", 2.0, -20.0, 20.0);
        fitter.before = [at](ErrorList& list, std::size_t number) {
            if (number == at) list.Add("wrong", FATAL_ERROR);
        };
        fitter.run();
        EXPECT_EQ(fitter.evaluation_count, static_cast<int>(at));
        EXPECT_EQ(only_message(fitter), "wrong");
        const double expected = at <= 2 ? 2.0 : fitter.tried.back()[0];
        EXPECT_DOUBLE_EQ(fitter.variable_value(0), expected);
    }
}

TEST(Fitter, OtherNumberOfResidualsIsAFault) {
    std::size_t size = 2;
    FitterProblem fitter([&size](const Values& b) { return Values(size, b[0]); });
    fitter.addVariable("a", 1.0, 0.0, 10.0);
    fitter.before = [&size](ErrorList&, std::size_t number) { size = number < 3 ? 2 : 3; };
    EXPECT_THROW(fitter.run(), LogicError);
}

TEST(Fitter, VariableDefinedInAnEvaluationIsAFault) {
    FitterProblem fitter = linear({3.0, 1.0}, {1.0, 1.0});
    fitter.addVariable("a", 1.0, 0.0, 10.0);
    fitter.before = [&fitter](ErrorList&, std::size_t) { fitter.addVariable("b", 1.0, 0.0, 2.0); };
    EXPECT_THROW(fitter.run(), LogicError);
}

/// An evaluation that errors cut short has no residuals to count.
TEST(Fitter, EvaluationCutShortIsNoFault) {
    bool cut = false;
    FitterProblem fitter([&cut](const Values& b) { return cut ? Values{} : Values{b[0] - 3.0}; });
    fitter.addVariable("a", 1.0, 0.0, 10.0);
    fitter.before = [&cut](ErrorList& list, std::size_t number) {
        cut = number == 3;
        if (cut) list.Add("wrong", FATAL_ERROR);
    };
    fitter.run();
    EXPECT_EQ(fitter.evaluation_count, 3);
    EXPECT_NO_THROW(fitter.once(EvaluationMode::Final));
}

TEST(Fitter, FinalEvaluationTakesTheValuesAsTheyStand) {
    FitterProblem fitter = linear({3.0}, {1.0});
    fitter.addVariable("a", 1.0, 0.0, 10.0);
    fitter.run();
    const double fitted = fitter.variable_value(0);
    fitter.once(EvaluationMode::Final);
    EXPECT_EQ(fitter.tried.back()[0], fitted);
}

/// Residuals that do not exist beyond a value are a step too far, and no slope.
TEST(Fitter, UndefinedResidualsAreAStepTooFar) {
    FitterProblem fitter([](const Values& b) {
        return Values{std::sqrt(5.0 - b[0]) - 0.5, 0.1 * (b[0] - 4.0)};
    });
    fitter.addVariable("x", -20.0, -21.0, 30.0);
    fitter.run();
    EXPECT_GT(fitter.count(EvaluationMode::Reduction), 0);
    EXPECT_NEAR(fitter.variable_value(0), 4.73, 0.03);
    EXPECT_TRUE(std::isfinite(fitter.sum_of_squares()));

    FitterProblem nowhere(
        [](const Values&) { return Values{std::numeric_limits<double>::quiet_NaN()}; });
    nowhere.addVariable("x", 1.0, 0.0, 2.0);
    nowhere.run();
    EXPECT_EQ(nowhere.evaluation_count, 1);
}

TEST(Fitter, BoundsAsFarApartAsNumbersGo) {
    constexpr double HUGE_BOUND = std::numeric_limits<double>::max();
    FitterProblem fitter = linear({0.25 * HUGE_BOUND}, {1e-300});
    fitter.addVariable("x", -0.5 * HUGE_BOUND, -HUGE_BOUND, HUGE_BOUND);
    fitter.run();
    EXPECT_NEAR(fitter.variable_value(0) / HUGE_BOUND, 0.25, 1e-9);
}

TEST(Fitter, WeightsScaleWhatIsMinimized) {
    FitterProblem fitter = linear({3.0}, {1.0});
    fitter.weight = 0.5;
    fitter.addVariable("a", 1.0, 0.0, 10.0);
    fitter.once(EvaluationMode::First);
    EXPECT_DOUBLE_EQ(fitter.sum_of_squares(), 1.0);
    EXPECT_DOUBLE_EQ(fitter.rms(), 2.0);
}

}  // namespace
}  // namespace kestrane
