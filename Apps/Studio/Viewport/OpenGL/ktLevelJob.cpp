// SPDX-License-Identifier: LGPL-2.1-or-later
// Makes coarser triangles in the background.
#include "ktParallel.h" // before Qt, whose macro `emit` is a name inside TBB

#include "ktLevelJob.h"

#include "ktWorkers.h"

ktLevelJob::ktLevelJob(const ktViewScene& scene, std::function<void()> whenDone)
    : geometries(scene.geometries), list(scene.geometries.size()) {
    for (std::size_t i = 0; i < list.size(); ++i) {
        list[i].geometryId = geometries[i].geometry.get().getFieldContainerId();
        list[i].shape = geometries[i].shape;
    }
    workers = std::make_unique<ktWorkers>([this, whenDone = std::move(whenDone)] {
        ktParallel::forEach(list.size(), [this](std::size_t i) {
            if (!isAbandoned)
                list[i].levels =
                    ktMakeViewLevels(*geometries[i].positions, *geometries[i].triangles, geometries[i].bounds);
        });
        if (isAbandoned)
            return;
        done = true;
        whenDone();
    });
}

ktLevelJob::~ktLevelJob() {
    isAbandoned = true;
}
