// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <QObject>
#include <QString>

/// What happens in the host, for applications to listen to. Lives as long as the process. All signals but logged() are
/// emitted on the main thread.
class KT_HOST_EXPORT ktHostSignals : public QObject {
    Q_OBJECT
public:
    static ktHostSignals& the();

signals:
    /// A long operation began (true) or ended (false); while it runs the application takes no input but cancel.
    void busyChanged(bool busy);
    /// The scene was changed (true) or saved (false).
    void modifiedChanged(bool modified);
    /// The render widget was told to draw or to stop drawing.
    void renderEnabledChanged(bool enabled);
    /// Updates of the scene were let through or held back.
    void updateEnabledChanged(bool enabled);
    /// Another set of nodes is selected.
    void selectionChanged();
    /// The scene was opened, closed or changed; views and derived data are out of date.
    void sceneChanged();
    /// Vertices finished of those that the ray-tracing call under way works on.
    void tracingProgress(quint64 done, quint64 total);
    /// Refinement is in this of its rounds, counted from 1, and has added so many vertices in the rounds before.
    void refinementProgress(int round, int rounds, quint64 newVertices);
    /// A line of the log, quiet or not; `level` is a ktLogLevel. Emitted on the thread that logged: receivers outside
    /// the main thread's event loop must use a queued connection or be thread-safe.
    void logged(int level, const QString& line);

private:
    ktHostSignals() = default;
};
