// SPDX-License-Identifier: LGPL-2.1-or-later
// Makes the services of the window.
#include "ktStudioServices.h"

#include "ktAmbientOcclusion.h"
#include "ktUndoPause.h"

ktStudioServices::ktStudioServices()
    : run(document, selection), edit(document), presets(document.undoStack()), recovery(document, run) {
    // As ktbake: viewers add light of their own, and with bounces on top little is left of the shadows.
    const ktUndoPause pause;
    ktAmbientOcclusion::the()->setIndirectIlluminationEnabled(false);
    connect(&run, &ktStudioRun::runningChanged, this, [this] { emit frozenChanged(isFrozen()); });
    connect(&document, &ktStudioDocument::readingChanged, this, [this] { emit frozenChanged(isFrozen()); });
}
