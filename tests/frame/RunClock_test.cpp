#include "frame/RunClock.h"

#include <gtest/gtest.h>

namespace kestrane {
namespace {

TEST(RunClock, CountsFromItsStartInMilliseconds) {
    const RunClock clock = RunClock::at(5000);
    EXPECT_EQ(clock.seconds(5000), 0.0);
    EXPECT_EQ(clock.seconds(6250), 1.25);
}

TEST(RunClock, PauseIsNotCounted) {
    RunClock clock = RunClock::at(1000);
    clock.pause(2000);
    clock.resume(9000);
    EXPECT_EQ(clock.pauseDepth, 0);
    EXPECT_EQ(clock.pauseTicks, clock.startTicks);
    EXPECT_EQ(clock.seconds(9500), 1.5);
    clock.pause(9500);
    clock.resume(9700);
    EXPECT_EQ(clock.seconds(9800), 1.6);
}

TEST(RunClock, ResumeOutsideAPauseRestarts) {
    RunClock clock = RunClock::at(1000);
    clock.resume(7000);
    EXPECT_EQ(clock.startTicks, 7000U);
    EXPECT_EQ(clock.pauseDepth, 0);
    EXPECT_EQ(clock.seconds(7000), 0.0);
}

TEST(RunClock, InnerPauseKeepsTheOuterBeginning) {
    RunClock clock = RunClock::at(0);
    clock.pause(100);
    clock.pause(200);
    EXPECT_EQ(clock.pauseTicks, 100U);
    EXPECT_EQ(clock.pauseDepth, 2);
    clock.resume(300);
    EXPECT_EQ(clock.startTicks, 200U);
    EXPECT_EQ(clock.pauseDepth, 1);
    // The mark of the outer pause is gone with the inner one: the outer resume restarts.
    clock.resume(400);
    EXPECT_EQ(clock.startTicks, 400U);
    EXPECT_EQ(clock.pauseDepth, 0);
}

TEST(RunClock, SurvivesTheWrapOfTheClock) {
    RunClock clock = RunClock::at(0xFFFFFF00U);
    EXPECT_EQ(clock.seconds(0x00000100U), 0.512);
    clock.pause(0xFFFFFFF0U);
    clock.resume(0x00000010U);
    EXPECT_EQ(clock.seconds(0x00000110U), 0.496);  // 528 ms less the 32 of the pause
}

}  // namespace
}  // namespace kestrane
