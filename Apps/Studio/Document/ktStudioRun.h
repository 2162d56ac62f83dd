// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktEarlierResults.h"

#include <cstdint>
#include <memory>
#include <OpenSG/OSGNode.h>
#include <QObject>
#include <QString>
#include <vector>

class ktRunCounter;
class ktRunProgress;
class ktRunRate;
class ktStudioDocument;
class ktStudioSelection;

/// What a run is doing now.
struct ktStudioRunState {
    QString phase; ///< in words
    QString part;  ///< name of the geometry under way, or the nearest name above it; may be empty
    double share = 0;
    double raysPerSecond = 0; ///< 0: not known yet
    bool isRateLow = false;   ///< there are more rays a second, and how many more is not known yet
    double seconds = 0;
    double secondsLeft = -1; ///< negative: not known yet
};

/// Bakes and clears the host's selection. Each run and each clearing is one undo step. Main thread only.
class ktStudioRun : public QObject {
    Q_OBJECT
public:
    /// Why nothing was calculated, cleared or loaded.
    enum Refusal {
        NothingOpen,
        NothingSelected,
        AllLocked,
        WrongDistances,
        NoLight,
        NothingMissing,
        NoGeometry,
        NothingToClear,
        NoSettings
    };
    Q_ENUM(Refusal)
    enum class Ending { Done, Cancelled, Failed };
    Q_ENUM(Ending)
    enum class Clear { Shadows, Indirect };

    ktStudioRun(ktStudioDocument& document, ktStudioSelection& selection, QObject* parent = nullptr);
    ~ktStudioRun() override;

    /// From start() until it has ended. Meanwhile the scene, the selection, the settings and the undo stack must not
    /// change.
    bool isRunning() const { return running; }
    const ktStudioRunState& getState() const { return state; }
    /// formatCount() with the decimal point of the language.
    static QString countText(double count);
    /// Least time between two stateChanged(); 0.1 s in a new object.
    void setUpdateInterval(double seconds) { updateInterval_s = seconds; }

    /// Bakes the selection, or only what has no results below it. Handles events meanwhile. A cancelled or failed run
    /// keeps the new results of geometry that it has finished; the rest is as before.
    /// @return whether a run took place
    bool start(bool missingOnly);
    void cancel();
    /// Removes results of the selection, or only of its visible parts.
    void clear(Clear what, bool activeOnly);
    /// Loads the settings that the first selected node was baked with.
    void useSettings();

    /// Rays that start() would trace, without refinement. Fitting light to surfaces takes more rays than the vertices
    /// alone; how many more is known from the last bake.
    double estimateRays() const;
    /// Whether estimateRays() knows no bake with the same fit, and is a lower limit.
    bool isEstimateLow() const;
    /// Their time by the rate of the runs so far; negative: not known.
    double estimateSeconds() const;

signals:
    void runningChanged(bool isRunning);
    void stateChanged();
    void refused(ktStudioRun::Refusal why);
    void ended(ktStudioRun::Ending how, const QString& reason, double seconds);
    /// A sentence about a result that is nearly all black or white.
    void hinted(const QString& hint);

private:
    bool refuse(Refusal why);
    bool calculate(bool missingOnly);
    double countVertexRays() const;
    void watch();
    void update();
    void giveHint();

    ktStudioDocument& document;
    ktStudioSelection& selection;
    ktEarlierResults earlierResults; ///< listens for the whole life
    bool running = false, isCancelled = false;
    ktStudioRunState state;
    std::unique_ptr<ktRunCounter> counter;
    std::unique_ptr<ktRunProgress> progress;
    std::unique_ptr<ktRunRate> rate;
    double updateInterval_s = 0.1, lastUpdate_s = 0, lastRays_s = 0;
    double measuredRaysPerSecond = 0; ///< of the last run that was long enough to measure
    double surfaceRayFactor = 0;      ///< rays of the last fitted bake to those of its vertices alone; 0: none yet
};
