// SPDX-License-Identifier: LGPL-2.1-or-later
// Measures gaps of the event loop: how long, on whose account, and in which calls.
#include "ktLoopGaps.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <execinfo.h>
#include <fstream>
#include <pthread.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int beat_ms = 1;
constexpr double longGap_ms = 50;
constexpr std::size_t mostListed = 12; // long gaps that print() lists

void printCalls(int) {
    void* calls[48];
    const int count = backtrace(calls, 48);
    const char head[] = "-- calls of the main thread in a gap\n";
    if (write(STDERR_FILENO, head, sizeof head - 1) > 0)
        backtrace_symbols_fd(calls, count, STDERR_FILENO);
}

} // namespace

ktThreadTimes ktThreadTimes::now() {
    std::ifstream file("/proc/thread-self/schedstat"); // nanoseconds
    ktThreadTimes times;
    file >> times.ran_ms >> times.waited_ms;
    times.ran_ms *= 1e-6;
    times.waited_ms *= 1e-6;
    return times;
}

/// Looks at the main thread from another one.
class ktLoopGaps::Watchdog {
public:
    explicit Watchdog(double trace_ms) : limit_ms(trace_ms), main(pthread_self()) {
        void* warm[1];
        backtrace(warm, 1); // loads a library the first time, which a signal handler must not
        std::signal(SIGUSR2, printCalls);
        thread = std::thread([this] { watch(); });
    }
    ~Watchdog() {
        hasEnded = true;
        thread.join();
    }
    /// Returns whether the gap that ends was looked at.
    bool beat(double gap_ms) {
        ++beats;
        return gap_ms > limit_ms;
    }

private:
    void watch() {
        QElapsedTimer since;
        since.start();
        unsigned seen = beats;
        double next_ms = limit_ms;
        while (!hasEnded) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            const double now_ms = static_cast<double>(since.nsecsElapsed()) * 1e-6;
            if (const unsigned now = beats; now != seen) {
                seen = now;
                since.start();
                next_ms = limit_ms;
            } else if (now_ms > next_ms) {
                next_ms = 1.3 * now_ms; // a look itself takes its time
                pthread_kill(main, SIGUSR2);
            }
        }
    }

    const double limit_ms;
    const pthread_t main;
    std::atomic<unsigned> beats{0};
    std::atomic<bool> hasEnded{false};
    std::thread thread;
};

ktLoopGaps::ktLoopGaps(std::function<std::string()> phase_, double trace_ms) : phaseNow(std::move(phase_)) {
    if (trace_ms > 0)
        watchdog = std::make_unique<Watchdog>(trace_ms);
    phase = phaseNow();
    QObject::connect(&timer, &QTimer::timeout, [this] { note(); });
    timer.start(beat_ms);
    last = ktThreadTimes::now();
    clock.start();
}

ktLoopGaps::~ktLoopGaps() = default;

void ktLoopGaps::note() {
    const double wall_ms = static_cast<double>(clock.nsecsElapsed()) * 1e-6;
    const ktThreadTimes now = ktThreadTimes::now();
    gaps.push_back({wall_ms, now - last, phase});
    last = now;
    phase = phaseNow();
    clock.start();
    if (watchdog && watchdog->beat(wall_ms))
        std::fprintf(stderr, "-- end of a gap of %.1f ms, %.1f ms on a processor\n", wall_ms, gaps.back().times.ran_ms);
}

void ktLoopGaps::print(const char* what) {
    note();
    std::sort(gaps.begin(), gaps.end(), [](const Gap& a, const Gap& b) { return a.wall_ms < b.wall_ms; });
    const auto at = [this](double share) {
        return gaps[static_cast<std::size_t>(share * static_cast<double>(gaps.size() - 1))].wall_ms;
    };
    // By time, not by number: half a second that is one gap counts as much as half a second of many gaps.
    double all = 0, sum = 0, byTime = 0, mostRun = 0;
    for (const Gap& gap : gaps) {
        all += gap.wall_ms;
        mostRun = std::max(mostRun, gap.times.ran_ms);
    }
    for (const Gap& gap : gaps)
        if ((sum += gap.wall_ms) <= 0.95 * all)
            byTime = gap.wall_ms;
    std::printf("%s: gaps of the event loop: median %.1f ms, 95 %% %.1f ms (by time %.1f ms), longest %.1f ms, longest "
                "processor time %.1f ms\n",
                what, at(0.5), at(0.95), byTime, at(1), mostRun);
    std::size_t listed = 0;
    for (auto gap = gaps.rbegin(); gap != gaps.rend() && gap->wall_ms > longGap_ms && listed < mostListed;
         ++gap, ++listed)
        std::printf("    %s: %.1f ms, of which %.1f ms on a processor, %.1f ms waiting for one\n", gap->phase.c_str(),
                    gap->wall_ms, gap->times.ran_ms, gap->times.waited_ms);
}
