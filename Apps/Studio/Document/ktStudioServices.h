// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktNodeSummaries.h"
#include "ktSceneStatistics.h"
#include "ktStudioDocument.h"
#include "ktStudioEdit.h"
#include "ktStudioLog.h"
#include "ktStudioPresets.h"
#include "ktStudioRecovery.h"
#include "ktStudioRun.h"
#include "ktStudioScripts.h"
#include "ktStudioSelection.h"

#include <QObject>

/// All services of the window, which its panels share. Main thread only; make one object.
class ktStudioServices : public QObject {
    Q_OBJECT
public:
    ktStudioServices();

    /// Whether a run, a script, the reading of a file or other work is on. Meanwhile nothing may change the scene, its
    /// selection, the settings or the undo stack.
    bool isFrozen() const { return run.isRunning() || document.isReading() || scripts.isRunning(); }

    ktStudioLog log; ///< first, so that it has the lines of the others
    ktStudioDocument document;
    ktStudioSelection selection;
    ktStudioRun run;
    ktSceneStatistics statistics; ///< of the open file and its last bake
    ktStudioScripts scripts;
    ktStudioEdit edit;
    ktStudioPresets presets;
    ktStudioRecovery recovery;
    ktNodeSummaries summaries;

signals:
    void frozenChanged(bool isFrozen);
};
