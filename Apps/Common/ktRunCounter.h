// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <QObject>

/// Counts the vertices and takes the times of one run. Listens to the plug-in and the host during its lifetime; make
/// one for each run, before the run starts.
class ktRunCounter : public QObject {
    Q_OBJECT
public:
    using Clock = std::chrono::steady_clock;

    ktRunCounter();

    int getMaxSteps() const { return maxSteps; }                             ///< of the run; 0 before it has started
    int getSteps() const { return steps; }                                   ///< begun
    int getNodeCount() const { return nodeCount; }                           ///< geometry that the run worked on
    std::uint64_t getVerticesTraced() const { return callsDone + callDone; } ///< in all passes
    double getStructureSeconds() const { return structureSeconds; }          ///< all builds that have ended
    double getTracingSeconds() const; ///< from the first build's end to the last vertex, without later builds
    Clock::time_point getStart() const { return started; }
    /// When tracing began; the start, if no vertex is traced yet.
    Clock::time_point getTracingStart() const { return tracingBegan; }

private:
    void onStarted(int max);
    void onStep(int counter);
    void onStopped();
    void onTraced(std::uint64_t done, std::uint64_t total);

    int maxSteps = 0, steps = 0, nodeCount = 0;
    std::uint64_t callsDone = 0; // vertices of the finished calls
    std::uint64_t callDone = 0;  // vertices of the current call
    Clock::time_point started, tracingBegan, lastVertex;
    double structureSeconds = 0, firstStructureSeconds = 0;
};

/// Seconds from one time to another.
inline double secondsBetween(ktRunCounter::Clock::time_point from, ktRunCounter::Clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
}
