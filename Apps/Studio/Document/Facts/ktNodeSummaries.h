// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>
#include <QObject>
#include <unordered_map>
#include <vector>

class QTimer;

/// Counts what is below the nodes of the scene, in short pieces between other events. Main thread only.
class ktNodeSummaries : public QObject {
    Q_OBJECT
public:
    /// What is at a node and below it; a geometry counts once per use.
    struct Summary {
        std::uint64_t triangles = 0;
        std::uint32_t geometries = 0;  ///< with triangles
        std::uint32_t withResults = 0; ///< of these
    };

    ktNodeSummaries();

    /// Null if the node is not counted yet.
    const Summary* find(const osg::NodePtr& node) const;
    bool isComplete() const { return frames.empty() && !isOutdated; }

signals:
    /// More nodes are counted, or all are out of date.
    void changed();

private:
    struct Frame {
        osg::NodePtr node;
        osg::UInt32 nextChild = 0;
        Summary sum;
    };
    void restart();
    void work();
    Summary summaryOf(const osg::GeometryPtr& geometry);

    QTimer* timer;
    bool isOutdated = false;
    std::vector<Frame> frames;                                   ///< from the root to the node that is being counted
    std::unordered_map<osg::UInt32, Summary> byNode, byGeometry; ///< by container id
};
