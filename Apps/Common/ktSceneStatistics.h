// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRunCounter.h"
#include "ktRunStatistics.h"

#include <functional>
#include <memory>
#include <OpenSG/OSGNode.h>
#include <optional>
#include <QObject>

/// The statistics of the open scene and of its last bake. Listens to the host during its lifetime. Main thread only.
class ktSceneStatistics : public QObject {
public:
    ktSceneStatistics();

    /// Takes the counts of a scene. @return makes it the scene, and forgets the one before
    /// @param diagonal of the scene, if somebody has measured it
    std::function<void()> describeScene(const std::string& name, const osg::NodePtr& root, double seconds,
                                        std::optional<double> diagonal = {});
    void setOutput(const std::string& name, double seconds);
    void setPreview(double seconds) { statistics.previewSeconds = seconds; }

    /// As `ktbake --stats` writes it. What has not happened yet is 0, or null for the output. `root` is the scene now.
    QJsonObject describe(const osg::NodePtr& root) const;

private:
    void begin();
    void end();

    ktRunStatistics statistics;
    std::unique_ptr<ktRunCounter> counter; // of the current bake
    ktRunCounter::Clock::time_point began;
};
