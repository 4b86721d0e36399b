#include "regress/Fitter.h"

#include <gtest/gtest.h>

#include "FitterProblem.h"

namespace kestrane {
namespace {
TEST(Fitter, LineIsFittedInTwoIterations) {
    FitterProblem line([](const FitterProblem::Values& b) {
        FitterProblem::Values r;
        for (double x = 0.0; x < 5.0; ++x) r.push_back(b[0] + b[1] * x - (3.0 - 0.5 * x));
        return r;
    });
    line.addVariable("a", 1.0, -10.0, 10.0);
    line.addVariable("b", 1.0, -10.0, 10.0);
    line.run();
    EXPECT_NEAR(line.variable_value(0), 3.0, 1e-8);
    EXPECT_NEAR(line.variable_value(1), -0.5, 1e-8);
    EXPECT_TRUE(line.errors.empty());
    EXPECT_EQ(line.iteration_count, 2);
}
}
}
