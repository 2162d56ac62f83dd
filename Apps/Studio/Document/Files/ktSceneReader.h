// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktSceneFile.h"

#include <functional>
#include <memory>
#include <QString>
#include <vector>

class QEventLoop;
class QThread;

/// Reads scene files on another thread, while the main thread handles events. Main thread only.
class ktSceneReader {
public:
    struct Request {
        QString path;
        ktOpenOptions options; ///< without functions: this class has its own
        bool hasGroundPlane = false;
        /// Called on the other thread with the root of the scene that was read; `isInterrupted` may be asked on it.
        /// What it returns goes into the result. May be empty; must not use what this thread changes.
        std::function<std::shared_ptr<void>(const osg::NodePtr& root, const std::function<bool()>& isInterrupted)>
            prepare;
    };
    struct Result {
        std::unique_ptr<ktSceneFile> file; ///< null: the report says why, or it was cancelled
        ktFileReport report;
        double diagonal = 0; ///< of the scene; world units
        std::shared_ptr<void> prepared;
    };

    ktSceneReader();
    /// Waits until cancelled readings have ended.
    ~ktSceneReader();
    ktSceneReader(const ktSceneReader&) = delete;
    ktSceneReader& operator=(const ktSceneReader&) = delete;

    /// Reads a file. Handles events until it is read or cancelled. Where no thread starts, reads on this one.
    /// @param progressed called from time to time with the share that is done, 0 to 1
    Result read(const Request& request, const std::function<void(double)>& progressed);
    /// Ends read() at once; it returns no file. What the other thread has begun ends later and leaves nothing.
    void cancel();

    /// Makes memory ready for the next reading. Returns before it is.
    void warmUp();

    /// Destroys a scene on another thread: that takes long if it has millions of triangles.
    void destroy(std::unique_ptr<ktSceneFile> file);

private:
    struct Job;

    void forgetEnded();

    std::shared_ptr<Job> job; ///< of read()
    QEventLoop* loop = nullptr;
    std::vector<std::unique_ptr<QThread>> threads; ///< which nobody waits for
};
