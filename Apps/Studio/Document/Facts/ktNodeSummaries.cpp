// SPDX-License-Identifier: LGPL-2.1-or-later
// Counts triangles and results below the nodes of the scene, a few milliseconds at a time.
#include "ktNodeSummaries.h"

#include "ktBakedLight.h"
#include "ktControllerState.h"
#include "ktGeometryInstances.h"
#include "ktHostSignals.h"
#include "ktScenegraph.h"

#include <chrono>
#include <QTimer>

namespace {

constexpr auto longestWork = std::chrono::milliseconds(8);

} // namespace

ktNodeSummaries::ktNodeSummaries() : timer(new QTimer(this)) {
    timer->setInterval(0);
    connect(timer, &QTimer::timeout, this, &ktNodeSummaries::work);
    connect(&ktHostSignals::the(), &ktHostSignals::sceneChanged, this, &ktNodeSummaries::restart);
}

const ktNodeSummaries::Summary* ktNodeSummaries::find(const osg::NodePtr& node) const {
    const auto found = byNode.find(node.getFieldContainerId());
    return isOutdated || found == byNode.end() ? nullptr : &found->second;
}

// Nodes may be gone already, so the frames must not live on.
void ktNodeSummaries::restart() {
    frames.clear();
    isOutdated = true;
    timer->start(0);
}

ktNodeSummaries::Summary ktNodeSummaries::summaryOf(const osg::GeometryPtr& geometry) {
    const auto [place, isNew] = byGeometry.try_emplace(geometry.getFieldContainerId());
    Summary& sum = place->second;
    if (isNew && geometry->getPositions() != osg::NullFC) {
        sum.triangles = ktCountTriangles(geometry);
        sum.geometries = sum.triangles > 0;
        sum.withResults = sum.triangles > 0 && ktFindBakedChannels(geometry).results;
    }
    return sum;
}

void ktNodeSummaries::work() {
    if (ktControllerState::isBusy()) {
        timer->start(100);
        return;
    }
    timer->setInterval(0);
    if (isOutdated) {
        isOutdated = false;
        byNode.clear();
        byGeometry.clear();
        if (ktScenegraph::getRootNode() != osg::NullFC)
            frames.push_back({ktScenegraph::getRootNode(), 0, {}});
    }
    const auto end = std::chrono::steady_clock::now() + longestWork;
    for (int count = 0; !frames.empty() && (count % 64 != 0 || std::chrono::steady_clock::now() < end); ++count) {
        Frame& frame = frames.back();
        if (frame.nextChild == 0)
            if (const auto geometry = osg::GeometryPtr::dcast(frame.node->getCore()); geometry != osg::NullFC)
                frame.sum = summaryOf(geometry);
        if (frame.nextChild < frame.node->getNChildren()) {
            const osg::NodePtr child = frame.node->getChild(frame.nextChild++);
            frames.push_back({child, 0, {}});
            continue;
        }
        const Summary sum = frame.sum;
        byNode[frame.node.getFieldContainerId()] = sum;
        frames.pop_back();
        if (!frames.empty()) {
            frames.back().sum.triangles += sum.triangles;
            frames.back().sum.geometries += sum.geometries;
            frames.back().sum.withResults += sum.withResults;
        }
    }
    if (frames.empty())
        timer->stop();
    emit changed();
}
