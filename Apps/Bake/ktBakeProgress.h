// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRunProgress.h"

#include <chrono>
#include <cstdint>
#include <QObject>

/// Shows the progress of a calculation on standard error: on a terminal a bar with rate and remaining time, else a
/// plain line per 10 %. Listens to the plug-in and the host during its lifetime.
class ktBakeProgress : public QObject {
    Q_OBJECT
public:
    /// @param vertexCount vertices that a pass is expected to trace; 0: unknown, then counts nodes
    /// @param isShown     false: count only
    ktBakeProgress(std::uint64_t vertexCount, bool isShown);
    ~ktBakeProgress() override;

    /// Erases the bar, so that other lines can be written.
    void clearLine();

    /// What the run has counted so far.
    const ktRunCounter& getCounter() const { return counter; }

private:
    using Clock = ktRunCounter::Clock;

    void onStarted();
    void onStep();
    void onStopped();
    void onTraced();
    void onRefined(int round, int rounds, std::uint64_t newVertices);
    void show(bool isLast);

    const bool isShown;
    const bool isTerminal;
    ktRunCounter counter; ///< made before this object listens, so it counts before this object shows
    const ktRunProgress progress;
    Clock::time_point lastShown;
    int lastTenth = -1;
    int lastRound = 0;
    bool isRunning = false, isBarShown = false;
};

/// Least time between two changes of a line on a terminal.
constexpr std::chrono::milliseconds ktProgressInterval{100};
/// The phase and a bar: "Shadows   [###---] 50 %".
/// @param share 0 to 1
std::string formatBar(const std::string& phase, double share);
/// Replaces the last line of the terminal, cut to its width.
/// @param isLast whether the line stays
void writeProgressLine(std::string line, bool isLast);
