// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the number of cores from the affinity mask, and the limits of a requested thread count.
#include "ktTBBInit.h"

#include "ktThreadCount.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

TEST(TBBInit, GivenAffinityMask_CountsItsCores) {
    cpu_set_t before;
    ASSERT_EQ(sched_getaffinity(getpid(), sizeof before, &before), 0);
    EXPECT_EQ(ktTBBInit::the()->getNumLogicalCores(), static_cast<unsigned int>(CPU_COUNT(&before)));

    int firstCore = 0;
    while (!CPU_ISSET(firstCore, &before))
        ++firstCore;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(firstCore, &one);
    ASSERT_EQ(sched_setaffinity(getpid(), sizeof one, &one), 0);
    const unsigned int counted = ktTBBInit::the()->getNumLogicalCores();
    sched_setaffinity(getpid(), sizeof before, &before);
    EXPECT_EQ(counted, 1u);
}

TEST(TBBInit, GivenRequestedThreadCount_ReportsIt) {
    ktThreadCount::set(3);
    EXPECT_EQ(ktThreadCount::get(), 3u);
    ktThreadCount::set(0);
    EXPECT_EQ(ktThreadCount::get(), ktTBBInit::the()->getNumLogicalCores());
}

TEST(TBBInit, GivenAbsurdThreadCount_LimitsIt) {
    ktThreadCount::set(4000000000u);
    EXPECT_EQ(ktThreadCount::get(), ktThreadCount::maxThreadCount);
    ktThreadCount::set(0);
}
