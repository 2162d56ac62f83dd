// SPDX-License-Identifier: LGPL-2.1-or-later
// Makes the services of the window.
#include "ktStudioServices.h"

#include "ktThreadCount.h"

ktStudioServices::ktStudioServices()
    : run(document, selection), scripts(document, run, statistics), edit(document), presets(document.undoStack()),
      recovery(document, run) {
    ktThreadCount::setLowPriority(true); // the window stays live while a bake uses all cores
    connect(&run, &ktStudioRun::runningChanged, this, [this] { emit frozenChanged(isFrozen()); });
    connect(&document, &ktStudioDocument::readingChanged, this, [this] { emit frozenChanged(isFrozen()); });
    connect(&scripts, &ktStudioScripts::runningChanged, this, [this] { emit frozenChanged(isFrozen()); });
    connect(&document, &ktStudioDocument::workChanged, this, [this] { emit frozenChanged(isFrozen()); });
    connect(&document, &ktStudioDocument::opened, this, [this] {
        statistics.describeScene(document.getPath().toStdString(), document.getRoot(), document.getReadSeconds(),
                                 document.getDiagonal())();
    });
    connect(&document, &ktStudioDocument::saved, this,
            [this](const QString& path, double seconds) { statistics.setOutput(path.toStdString(), seconds); });
    connect(&document, &ktStudioDocument::previewDrawn, this,
            [this](double seconds) { statistics.setPreview(seconds); });
}
