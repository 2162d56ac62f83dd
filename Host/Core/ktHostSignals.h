// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <cstdint>
#include <QObject>
#include <QString>
#include <vector>

struct ktRunEnd;
struct ktSplitEdge;
using ktSplitEdges = std::vector<ktSplitEdge>; ///< see ktSplitEdges.h

/// Signals of the host for applications. Lives as long as the process. All signals except logged() are emitted on the
/// main thread.
class KT_HOST_EXPORT ktHostSignals : public QObject {
    Q_OBJECT
public:
    static ktHostSignals& the();

signals:
    /// A long operation began (true) or ended (false). Meanwhile the application accepts no input except cancel. The
    /// end is announced after runEnded(), when all results are in place.
    void busyChanged(bool busy);
    /// A long operation ended, and how (see ktControllerState.h). Other receivers may still give back results.
    void runEnded(const ktRunEnd& end);
    /// The scene was changed (true) or saved (false).
    void modifiedChanged(bool modified);
    /// Drawing in the render widget was turned on or off.
    void renderEnabledChanged(bool enabled);
    /// Updates of the scene were turned on or off.
    void updateEnabledChanged(bool enabled);
    /// The selection changed.
    void selectionChanged();
    /// The scene was opened, closed or changed. Views and derived data are out of date.
    void sceneChanged();
    /// Number of finished vertices, and of all vertices, in the current ray-tracing call.
    void tracingProgress(quint64 done, quint64 total);
    /// A calculation begins to trace. Its geometry has its final form and still holds the earlier results.
    void tracingStarted();
    /// A pass begins a geometry, of which it has at least one vertex to trace.
    /// @param geometry id of its field container; 0 if no calculation has announced it
    void geometryStarted(quint32 geometry, bool indirect);
    /// A pass has traced a geometry to the end and written its results: the occlusion pass, or one bounce.
    /// @param positions address of its first position
    void geometryTraced(const void* positions, bool indirect);
    /// A geometry got new vertices after its old ones.
    /// @param geometry id of its field container
    void geometryRefined(quint32 geometry, const ktSplitEdges& newVertices);
    /// Refinement began round `round`, counted from 1. The rounds before added `newVertices` vertices.
    void refinementProgress(int round, int rounds, quint64 newVertices);
    /// A line of the log, also when quiet. `level` is a ktLogLevel. Emitted on the thread that logged, so a receiver
    /// must use a queued connection or be thread-safe.
    void logged(int level, const QString& line);

private:
    ktHostSignals() = default;
};
