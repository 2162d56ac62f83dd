// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <QObject>
#include <string>

/// Shows the progress of a calculation on standard error: on a terminal a bar with rate and remaining time, else a
/// plain line per 10 %. Listens to the plug-in and the host during its lifetime. Also counts for the statistics.
class ktBakeProgress : public QObject {
    Q_OBJECT
public:
    /// @param vertexCount vertices that a pass is expected to trace; 0: unknown, then counts nodes
    /// @param isShown     false: count only
    ktBakeProgress(std::uint64_t vertexCount, bool isShown);
    ~ktBakeProgress() override;

    /// Erases the bar, so that other lines can be written.
    void clearLine();

    int getNodeCount() const { return nodeCount; }                           ///< geometry that the run worked on
    std::uint64_t getVerticesTraced() const { return callsDone + callDone; } ///< in all passes
    double getStructureSeconds() const { return structureSeconds; }          ///< from the start to the first vertex
    double getTracingSeconds() const;                                        ///< from the first vertex to the last

private:
    using Clock = std::chrono::steady_clock;

    void onStarted(int maxSteps);
    void onStep(int counter);
    void onStopped();
    void onTraced(std::uint64_t done, std::uint64_t total);
    void onRefined(int round, int rounds, std::uint64_t newVertices);
    double share() const; ///< 0 to 1
    void show(bool isLast);

    const std::uint64_t vertexCount;
    const bool isShown;
    const bool isTerminal;
    int maxSteps = 0, steps = 0, nodeCount = 0;
    std::uint64_t callsDone = 0; ///< vertices of the finished calls
    std::uint64_t callDone = 0;  ///< vertices of the current call
    Clock::time_point started, firstVertex, lastVertex, lastShown;
    double structureSeconds = 0;
    int lastTenth = -1;
    int lastRound = 0;
    bool isRunning = false, isBarShown = false;
};

/// Minutes and seconds, with hours if needed: "0:07", "12:34", "1:02:03".
std::string formatDuration(double seconds);
/// Three significant digits and a unit: "999", "1.23 k", "45.6 M".
std::string formatCount(double count);
