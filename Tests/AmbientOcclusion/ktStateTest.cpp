// SPDX-License-Identifier: LGPL-2.1-or-later
// Reports of the state, progress, cancel requests and printed times.
#include "ktAmbientOcclusionInternal.h"
#include "ktControllerFixture.h"

#include <chrono>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
using C = ktAmbientOcclusion;
using States = ktControllerFixture;
using Progress = ktControllerFixture;
using Timing = ktControllerFixture;
} // namespace

TEST_F(States, GivenVeryFirstReport_IsDropped) {
    controller.updateState(C::Starting, 0);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(States, GivenSecondAfterFirstCall_AreReported) {
    controller.updateState(C::Starting, 0);
    now_us() += 1000000;
    controller.updateState(C::DirectNode, 77);
    EXPECT_THAT(log, ElementsAre("signal stateChanged(5, 77)"));
}

TEST_F(States, GivenLessThanASecond_AreDroppedNotQueued) {
    controller.updateState(C::Starting, 0);
    now_us() += 999999;
    controller.updateState(C::Preparing, 0);
    EXPECT_THAT(log, IsEmpty());
    now_us() += 1;
    controller.updateState(C::Finishing, 0);
    EXPECT_THAT(log, ElementsAre("signal stateChanged(9, 0)"));
    log.clear();
    now_us() += 500000;
    controller.updateState(C::Idle, 0);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(States, GivenDroppedReports_IntervalCountsFromLastEmission) {
    controller.updateState(C::Starting, 0);
    now_us() += 1000000;
    controller.updateState(C::Preparing, 0);
    for (int i = 0; i < 4; ++i) {
        now_us() += 300000;
        controller.updateState(C::DirectNode, unsigned(i));
    }
    EXPECT_THAT(log, ElementsAre("signal stateChanged(2, 0)", "signal stateChanged(5, 3)"));
}

TEST_F(States, GivenTwoControllers_ShareOneTimestamp) {
    controller.updateState(C::Starting, 0);
    const auto other = Access::make();
    recordSignals(*other);
    log.clear();
    now_us() += 1000000;
    other->updateState(C::Preparing, 0);
    controller.updateState(C::Preparing, 0);
    EXPECT_EQ(log.size(), 1u);
    Access::destroy(other);
}

TEST(Clock, GivenNoReplacement_IsTheWallClock) {
    using namespace std::chrono;
    const auto systemClock_us = [] {
        return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
    };
    // Reads the wall clock directly, because fixtures replace the clock.
    const auto before = systemClock_us();
    const auto reading = ktAmbientOcclusionInternal::readWallClock_us();
    EXPECT_GE(reading, before);
    EXPECT_LE(reading, systemClock_us());
}

TEST_F(Progress, GivenStart_ResetsCounterAndSignals) {
    Access::progressCounter(controller) = 9;
    controller.startProgress(12);
    EXPECT_EQ(Access::progressCounter(controller), 0u);
    controller.stepProgress();
    controller.stepProgress();
    controller.stopProgress();
    EXPECT_THAT(log, ElementsAre("signal progressStarted(12)", "signal progressStep(1)", "signal progressStep(2)",
                                 "signal progressStopped()"));
    EXPECT_EQ(Access::progressCounter(controller), 2u);
}

TEST_F(States, GivenCancelWhileIdle_StillSignals) {
    controller.cancelCalculation();
    EXPECT_THAT(log, ElementsAre("signal calculationCanceled()"));
}

TEST_F(States, GivenCancel_ClearsKeepRunningAndNothingElse) {
    Access::keepRunning(controller) = true;
    Access::calculating(controller) = true;
    controller.cancelCalculation();
    EXPECT_FALSE(Access::keepRunning(controller));
    EXPECT_TRUE(Access::calculating(controller));
}

TEST_F(Timing, GivenDuration_IsLoggedAndPrinted) {
    printTiming("Direct pass", 125042);
    EXPECT_THAT(log, ElementsAre("info: Direct pass: 2 minutes 5 seconds 42 milliseconds",
                                 "out: Direct pass: 2 minutes 5 seconds 42 milliseconds\n"));
}

TEST_F(Timing, GivenShortDuration_HasZeroes) {
    printTiming("x", 7);
    EXPECT_THAT(log, ElementsAre("info: x: 0 minutes 0 seconds 7 milliseconds",
                                 "out: x: 0 minutes 0 seconds 7 milliseconds\n"));
}

TEST(Version, GivenPlugin_IsTen) {
    EXPECT_STREQ(getPluginVersion(), "10.0");
}
