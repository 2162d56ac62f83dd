// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktNodeSummaries.h"
#include "ktStudioDocument.h"
#include "ktStudioEdit.h"
#include "ktStudioLog.h"
#include "ktStudioPresets.h"
#include "ktStudioRecovery.h"
#include "ktStudioRun.h"
#include "ktStudioSelection.h"

#include <QObject>

/// All services of the window, which its panels share. Main thread only; make one object.
class ktStudioServices : public QObject {
    Q_OBJECT
public:
    ktStudioServices();

    /// Whether a run or the reading of a file is on. Meanwhile nothing may change the scene, its selection, the
    /// settings or the undo stack.
    bool isFrozen() const { return run.isRunning() || document.isReading(); }

    ktStudioLog log; ///< first, so that it has the lines of the others
    ktStudioDocument document;
    ktStudioSelection selection;
    ktStudioRun run;
    ktStudioEdit edit;
    ktStudioPresets presets;
    ktStudioRecovery recovery;
    ktNodeSummaries summaries;

signals:
    void frozenChanged(bool isFrozen);
};
