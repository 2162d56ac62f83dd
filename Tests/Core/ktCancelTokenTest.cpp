// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests that a cancel request lasts until reset, and that threads and signal handlers may set it.
#include "ktCancelToken.h"

#include <csignal>
#include <gtest/gtest.h>
#include <thread>

namespace {

class CancelToken : public testing::Test {
protected:
    void SetUp() override { ktCancelToken::the().reset(); }
    void TearDown() override { ktCancelToken::the().reset(); }
};

} // namespace

TEST_F(CancelToken, GivenNoRequest_IsNotCanceled) {
    EXPECT_FALSE(ktCancelToken::the().isCanceled());
}

TEST_F(CancelToken, GivenRequest_StaysCanceledUntilReset) {
    ktCancelToken::the().cancel();
    EXPECT_TRUE(ktCancelToken::the().isCanceled());
    EXPECT_TRUE(ktCancelToken::the().isCanceled());
    ktCancelToken::the().reset();
    EXPECT_FALSE(ktCancelToken::the().isCanceled());
}

TEST_F(CancelToken, GivenRequestInSignalHandler_IsCanceled) {
    const auto previous = std::signal(SIGUSR1, [](int) { ktCancelToken::the().cancel(); });
    std::raise(SIGUSR1);
    std::signal(SIGUSR1, previous);
    EXPECT_TRUE(ktCancelToken::the().isCanceled());
}

TEST_F(CancelToken, GivenRequestOnOtherThread_IsSeenByPollingThread) {
    std::thread other([] { ktCancelToken::the().cancel(); });
    while (!ktCancelToken::the().isCanceled())
        std::this_thread::yield();
    other.join();
    EXPECT_TRUE(ktCancelToken::the().isCanceled());
}

TEST_F(CancelToken, GivenACancelOfAnotherRun_DropsIt) {
    ktCancelToken& token = ktCancelToken::the();
    const std::uint64_t first = token.beginRun();
    const std::uint64_t second = token.beginRun();
    EXPECT_EQ(second, first + 1);
    EXPECT_EQ(token.getRun(), second);
    EXPECT_FALSE(token.cancel(first));
    EXPECT_FALSE(token.cancel(second + 1));
    EXPECT_FALSE(token.isCanceled());
    EXPECT_TRUE(token.cancel(second));
    EXPECT_TRUE(token.cancel(second)) << "twice";
    EXPECT_TRUE(token.isCanceled());
    EXPECT_EQ(token.getRun(), second);
    token.beginRun();
    EXPECT_FALSE(token.isCanceled());
}
