// SPDX-License-Identifier: LGPL-2.1-or-later
// Collects times and counts of the open scene and its last bake for kthost.stats() and the window.
#include "ktSceneStatistics.h"

#include "ktGeometryList.h"
#include "ktHostSignals.h"
#include "ktLengthUnit.h"
#include "ktTracerFactory.h"
#include "ktTracingStatistics.h"

#include <algorithm>

ktSceneStatistics::ktSceneStatistics() {
    connect(&ktHostSignals::the(), &ktHostSignals::busyChanged, this, [this](bool busy) { busy ? begin() : end(); });
}

std::function<void()> ktSceneStatistics::describeScene(const std::string& name, const osg::NodePtr& root,
                                                       double seconds, std::optional<double> diagonal) {
    ktRunStatistics opened;
    opened.scene = name;
    opened.settings = describeSettings();
    opened.tracer = ktNameOf(ktChosenTracer());
    opened.sceneDiagonal = diagonal ? *diagonal : ktSceneDiagonal(root);
    opened.addScene(listGeometries(root));
    opened.readSeconds = seconds;
    return [this, opened] { statistics = opened; };
}

void ktSceneStatistics::setOutput(const std::string& name, double seconds) {
    statistics.output = name;
    statistics.writeSeconds = seconds;
}

void ktSceneStatistics::begin() {
    counter = std::make_unique<ktRunCounter>();
    began = ktRunCounter::Clock::now();
    statistics.settings = describeSettings();
    statistics.tracer = ktNameOf(ktChosenTracer());
}

void ktSceneStatistics::end() {
    if (!counter)
        return;
    const double seconds = secondsBetween(began, ktRunCounter::Clock::now());
    statistics.tracing = ktReadTracingStatistics();
    statistics.geometriesCalculated = counter->getNodeCount();
    statistics.verticesTraced = counter->getVerticesTraced();
    statistics.structureSeconds = counter->getStructureSeconds();
    statistics.tracingSeconds = counter->getTracingSeconds();
    statistics.storingSeconds = std::max(0.0, seconds - statistics.structureSeconds - statistics.tracingSeconds);
    counter.reset();
}

QJsonObject ktSceneStatistics::describe(const osg::NodePtr& root) const {
    ktRunStatistics now = statistics;
    now.addTracing(statistics.tracing, listGeometries(root));
    now.totalSeconds = now.readSeconds + now.structureSeconds + now.tracingSeconds + now.storingSeconds +
                       now.writeSeconds + now.previewSeconds;
    return now.toJson();
}
