#include "equil/WorkStack.h"

#include <gtest/gtest.h>

#include <cmath>

#include "frame/Errors.h"

namespace kestrane {
namespace {

TEST(WorkStack, FramesGiveBackWhatWasTakenUnderThem) {
    WorkStack stack(10);
    const auto outer = stack.take(4);
    outer[3] = 7.0;
    {
        const WorkStack::Frame frame(stack);
        stack.take(3);
        {
            const WorkStack::Frame inner(stack);
            stack.take(3);
            EXPECT_EQ(stack.used(), 10u);
        }
        EXPECT_EQ(stack.used(), 7u);
    }
    EXPECT_EQ(stack.used(), 4u);
    EXPECT_EQ(outer[3], 7.0);
}

TEST(WorkStack, OverflowIsAFaultOfTheProgram) {
    WorkStack stack(5);
    stack.take(5);
    EXPECT_EQ(stack.take(0).size(), 0u);
    EXPECT_THROW(stack.take(1), LogicError);
    EXPECT_EQ(stack.used(), 5u);
}

#ifndef NDEBUG
TEST(WorkStack, ReleasedSpaceShowsStaleReads) {
    WorkStack stack(4);
    std::span<double> taken;
    {
        const WorkStack::Frame frame(stack);
        taken = stack.take(2);
        taken[1] = 1.0;
    }
    EXPECT_TRUE(std::isnan(taken[0]) && std::isnan(taken[1]));
}
#endif

}  // namespace
}  // namespace kestrane
