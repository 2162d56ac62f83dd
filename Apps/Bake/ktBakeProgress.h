// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRunProgress.h"

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
