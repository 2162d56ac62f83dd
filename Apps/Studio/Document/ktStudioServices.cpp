// SPDX-License-Identifier: LGPL-2.1-or-later
// Makes the services of the window.
#include "ktStudioServices.h"

ktStudioServices::ktStudioServices()
    : run(document, selection), edit(document), presets(document.undoStack()), recovery(document, run) {
    connect(&run, &ktStudioRun::runningChanged, this, [this] { emit frozenChanged(isFrozen()); });
    connect(&document, &ktStudioDocument::readingChanged, this, [this] { emit frozenChanged(isFrozen()); });
}
