// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <QElapsedTimer>
#include <QTimer>
#include <string>
#include <vector>

/// Where a thread's time went, in milliseconds. What is left of the wall time, the thread slept.
struct ktThreadTimes {
    double ran_ms = 0;    ///< on a processor
    double waited_ms = 0; ///< for a processor that other threads or programs had

    /// Of the calling thread since it began. `waited_ms` is 0 where the system does not tell it.
    static ktThreadTimes now();
    ktThreadTimes operator-(const ktThreadTimes& other) const {
        return {ran_ms - other.ran_ms, waited_ms - other.waited_ms};
    }
};

/// Measures the times between two rounds of the main thread's event loop, from its construction to its destruction.
class ktLoopGaps {
public:
    /// @param phase what goes on now, in words
    /// @param trace_ms prints the main thread's calls in gaps that are longer, some times in each; 0: never
    explicit ktLoopGaps(std::function<std::string()> phase, double trace_ms = 0);
    ~ktLoopGaps();

    /// Prints the statistics of the gaps, and of those above 50 ms where their time went.
    void print(const char* what);

private:
    struct Gap {
        double wall_ms;
        ktThreadTimes times;
        std::string phase;
    };
    class Watchdog;

    void note();

    std::function<std::string()> phaseNow;
    QTimer timer;
    QElapsedTimer clock;
    ktThreadTimes last;
    std::string phase;
    std::vector<Gap> gaps;
    std::unique_ptr<Watchdog> watchdog;
};
