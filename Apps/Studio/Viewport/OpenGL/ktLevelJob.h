// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktViewLevels.h"

#include <atomic>
#include <functional>

class ktWorkers;

/// Makes the levels of all geometries of a scene on worker threads.
class ktLevelJob {
public:
    struct Result {
        osg::UInt32 geometryId = 0;
        std::uint64_t shape = 0;
        std::vector<ktViewLevel> levels; ///< empty until the end of the job
    };

    /// @param whenDone called at the end, on another thread; not called after the job was destroyed
    ktLevelJob(const ktViewScene& scene, std::function<void()> whenDone);
    /// Ends the job early.
    ~ktLevelJob();
    ktLevelJob(const ktLevelJob&) = delete;
    ktLevelJob& operator=(const ktLevelJob&) = delete;

    bool isDone() const { return done; }
    /// Once isDone().
    const std::vector<Result>& results() const { return list; }

private:
    std::vector<ktShownGeometry> geometries;
    std::vector<Result> list;
    std::atomic<bool> done{false}, isAbandoned{false};
    std::unique_ptr<ktWorkers> workers;
};
