// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <QObject>
#include <QString>

/// Signals of the host for applications. Lives as long as the process. All signals except logged() are emitted on the
/// main thread.
class KT_HOST_EXPORT ktHostSignals : public QObject {
    Q_OBJECT
public:
    static ktHostSignals& the();

signals:
    /// A long operation began (true) or ended (false). Meanwhile the application accepts no input except cancel.
    void busyChanged(bool busy);
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
    /// Refinement began round `round`, counted from 1. The rounds before added `newVertices` vertices.
    void refinementProgress(int round, int rounds, quint64 newVertices);
    /// A line of the log, also when quiet. `level` is a ktLogLevel. Emitted on the thread that logged, so a receiver
    /// must use a queued connection or be thread-safe.
    void logged(int level, const QString& line);

private:
    ktHostSignals() = default;
};
