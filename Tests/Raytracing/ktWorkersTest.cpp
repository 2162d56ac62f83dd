// SPDX-License-Identifier: LGPL-2.1-or-later
// Work on other threads while the event loop runs: exceptions, waiting and thread counts.
#include "ktWorkers.h"
#include "ktEventPump.h"
#include "ktParallel.h"
#include "ktThreadCount.h"

#include <tbb/task_arena.h> // before Qt, because of its macro "emit"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <mutex>
#include <QCoreApplication>
#include <QTimer>
#include <set>
#include <stdexcept>
#include <sys/resource.h>
#include <thread>
#include <vector>
#include <xmmintrin.h>

namespace {

// An application object for the tests that need an event loop.
struct Application {
    int argumentCount = 1;
    char name[5] = "test";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{argumentCount, arguments};
};

struct ThreadCountGuard {
    explicit ThreadCountGuard(unsigned count) { ktThreadCount::set(count); }
    ~ThreadCountGuard() { ktThreadCount::set(0); }
};

} // namespace

TEST(Workers, GivenLongWork_RunsEventLoopMeanwhile) {
    const Application application;
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(1);
    ktEventPump pump;
    ktWorkers::run([] { std::this_thread::sleep_for(std::chrono::milliseconds(200)); }, pump);
    EXPECT_GE(ticks, 10);
}

TEST(Workers, GivenNoApplication_JustWorks) {
    bool worked = false;
    int calls = 0;
    ktEventPump pump([&] { ++calls; });
    ktWorkers::run(
        [&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            worked = true;
        },
        pump);
    EXPECT_TRUE(worked);
    EXPECT_GT(calls, 0);
}

TEST(Workers, GivenNoWork_StartsAllThreadsIfAsked) {
    const ThreadCountGuard threads(4);
    ktWorkers::startAll();
    const std::filesystem::directory_iterator tasks("/proc/self/task"), end;
    EXPECT_GE(std::distance(tasks, end), 5) << "this thread, one that leads, and three more";
}

TEST(Workers, GivenException_RethrowsItToTheCaller) {
    ktEventPump pump;
    EXPECT_THROW(ktWorkers::run([] { throw std::runtime_error("broken"); }, pump), std::runtime_error);
    EXPECT_THROW(ktWorkers::run(
                     [] {
                         ktParallel::forRange(1000, 1, [](std::size_t begin, std::size_t) {
                             if (begin == 500)
                                 throw std::runtime_error("broken");
                         });
                     },
                     pump),
                 std::runtime_error);
}

TEST(Workers, GivenExceptionInEventHandler_EndsTheWorkFirst) {
    bool ended = false;
    ktEventPump pump([] { throw std::runtime_error("handler"); });
    EXPECT_THROW(ktWorkers::run(
                     [&] {
                         std::this_thread::sleep_for(std::chrono::milliseconds(100));
                         ended = true;
                     },
                     pump),
                 std::runtime_error);
    EXPECT_TRUE(ended);
}

TEST(Workers, GivenCallerThatStopsWaiting_LeavesTheWorkRunning) {
    std::atomic<bool> mayEnd{false};
    ktEventPump pump;
    ktWorkers workers([&] {
        while (!mayEnd)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        throw std::runtime_error("late");
    });
    EXPECT_FALSE(workers.wait(pump, [] { return true; }));
    mayEnd = true;
    workers.waitForEnd();
    EXPECT_THROW(workers.wait(pump), std::runtime_error);
}

TEST(Workers, GivenWorkLeftAtTheEndOfTheProcess_EndsItFirst) {
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // workers of earlier tests may still run
    // Never destroyed, so that only the exit of the process waits.
    EXPECT_EXIT(
        {
            new ktWorkers([] {
                std::this_thread::sleep_for(std::chrono::milliseconds(200));
                std::fputs("work ended", stderr);
            });
            std::exit(0);
        },
        testing::ExitedWithCode(0), "work ended");
}

TEST(Workers, GivenOneWorkAfterTheOther_LeadsThemOnOneThread) {
    ktEventPump pump;
    const auto leader = [&pump](const std::function<void()>& also) {
        std::thread::id thread;
        try {
            ktWorkers::run(
                [&] {
                    thread = std::this_thread::get_id();
                    also();
                },
                pump);
        } catch (const std::runtime_error&) {
        }
        return thread;
    };
    const std::thread::id first = leader([] {});
    EXPECT_EQ(leader([] { throw std::runtime_error("ended"); }), first);
    std::thread::id inner;
    EXPECT_EQ(leader([&] {
                  ktEventPump innerPump;
                  ktWorkers::run([&inner] { inner = std::this_thread::get_id(); }, innerPump);
              }),
              first);
    EXPECT_NE(inner, first) << "it has work";
    for (int i = 0; i < 200; ++i) {
        const std::thread::id next = leader([] {});
        EXPECT_TRUE(next == first || next == inner);
    }
}

TEST(Workers, GivenThreadCount_UsesThatMany) {
    for (const unsigned wanted : {1u, 2u, 3u}) {
        const ThreadCountGuard guard(wanted);
        std::mutex mutex;
        std::condition_variable changed;
        std::set<std::thread::id> threads;
        ktEventPump pump;
        ktWorkers::run(
            [&] {
                ktParallel::forRange(60, 1, [&](std::size_t, std::size_t) {
                    // Waits until all threads have started, also on a busy machine. With too few threads it times out.
                    std::unique_lock<std::mutex> lock(mutex);
                    threads.insert(std::this_thread::get_id());
                    changed.notify_all();
                    changed.wait_for(lock, std::chrono::seconds(10), [&] { return threads.size() >= wanted; });
                });
            },
            pump);
        EXPECT_EQ(threads.size(), wanted);
        EXPECT_EQ(threads.count(std::this_thread::get_id()), 0u);
    }
}

#ifdef __linux__
TEST(Workers, GivenLowPriority_LowersThatOfTheWorkersOnly) {
    constexpr int lowest = 19;
    const auto niceOfThread = [] { return getpriority(PRIO_PROCESS, 0); };
    const auto niceOfWorkers = [&] {
        std::mutex mutex;
        std::set<int> values;
        ktEventPump pump;
        ktWorkers::run(
            [&] {
                ktParallel::forEach(50, [&](std::size_t) {
                    const std::lock_guard<std::mutex> lock(mutex);
                    values.insert(niceOfThread());
                });
            },
            pump);
        return values;
    };
    const ThreadCountGuard guard(2);
    const int before = niceOfThread();
    EXPECT_EQ(niceOfWorkers(), std::set<int>{before});
    ktThreadCount::setLowPriority(true);
    // Twice: a thread that stays for the next work is not lowered again.
    EXPECT_EQ(niceOfWorkers(), std::set<int>{std::min(lowest, before + 10)});
    EXPECT_EQ(niceOfWorkers(), std::set<int>{std::min(lowest, before + 10)});
    EXPECT_EQ(niceOfThread(), before);
    ktThreadCount::setLowPriority(false);
}
#endif

TEST(Parallel, GivenRange_VisitsEachElementOnceInPiecesOfGrain) {
    std::vector<std::atomic<int>> visits(1003);
    ktParallel::forRange(visits.size(), 64, [&](std::size_t begin, std::size_t end) {
        EXPECT_LE(end - begin, 64u);
        for (std::size_t i = begin; i < end; ++i)
            ++visits[i];
    });
    EXPECT_TRUE(std::all_of(visits.begin(), visits.end(), [](const auto& count) { return count == 1; }));
    ktParallel::forRange(0, 64, [](std::size_t, std::size_t) { FAIL(); });
}

TEST(Parallel, GivenBody_RunsWithDenormalsOffAndRestoresTheThread) {
    const unsigned before = _mm_getcsr();
    std::atomic<int> off{0};
    ktParallel::forRange(100, 1, [&](std::size_t, std::size_t) { off += (_mm_getcsr() & 0x8040u) == 0x8040u; });
    EXPECT_EQ(off, 100);
    EXPECT_EQ(_mm_getcsr() & 0x8040u, before & 0x8040u);
}

TEST(EventPump, GivenShortTime_DoesNotRunTheLoop) {
    int calls = 0;
    ktEventPump pump([&] { ++calls; });
    pump.handleEventsIfDue();
    EXPECT_EQ(calls, 0);
    std::this_thread::sleep_for(2 * ktEventPump::interval);
    pump.handleEventsIfDue();
    EXPECT_EQ(calls, 1);
}

TEST(Workers, GivenBorrowedThreads_UsesThemToo) {
    const ThreadCountGuard guard(1);
    const auto threads = [] {
        ktEventPump pump;
        int count = 0;
        ktWorkers::run([&] { count = tbb::this_task_arena::max_concurrency(); }, pump);
        return count;
    };
    ktWorkers::borrowThreads(2);
    EXPECT_EQ(threads(), 3);
    ktWorkers::borrowThreads(0);
    EXPECT_EQ(threads(), 1);
}
