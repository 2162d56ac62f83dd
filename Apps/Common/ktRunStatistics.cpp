// SPDX-License-Identifier: LGPL-2.1-or-later
// Collects the times and counts of a run and describes them as JSON.
#include "ktRunStatistics.h"

#include "ktAmbientOcclusion.h"
#include "ktGeometryList.h"
#include "ktLogOutput.h"
#include "ktThreadCount.h"
#include "ktVersion.h"

#include <sys/resource.h>
#include <type_traits>

namespace {

namespace Settings = ktAmbientOcclusionSettings;

// JSON numbers are exact up to 2^53.
double count(std::uint64_t value) {
    return static_cast<double>(value);
}

QJsonObject byLight(const ktRayCounts& rays) {
    return {{"direct", count(rays.direct)}, {"indirect", count(rays.indirect)}};
}

/// A value for the statistics.
template <class Row>
QJsonValue describe(Row row, const typename Row::Value& value) {
    if constexpr (std::is_base_of_v<Settings::Choice, Row>)
        return row.choices[value];
    else if constexpr (std::is_base_of_v<Settings::Color, Row>)
        return QJsonArray{static_cast<double>(value[0]), static_cast<double>(value[1]), static_cast<double>(value[2])};
    else
        return value;
}

} // namespace

void ktRunStatistics::addTracing(const ktTracingStatistics& counts,
                                 const std::vector<ktListedGeometry>& sceneGeometries) {
    tracing = counts;
    geometries = QJsonArray();
    for (const ktListedGeometry& entry : sceneGeometries) {
        const auto found = tracing.geometries.find(ktGetGeometryNumber(entry.geometry));
        const auto traced = found != tracing.geometries.end() ? found->second : ktTracingStatistics::Geometry();
        geometries.append(QJsonObject{{"node", QString::fromStdString(entry.name)},
                                      {"uses", count(entry.uses)},
                                      {"vertices", count(entry.vertices)},
                                      {"triangles", count(entry.triangles)},
                                      {"traced", traced.vertices > 0},
                                      {"raysTraced", count(traced.rays)}});
    }
}

QJsonObject ktRunStatistics::toJson() const {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    QJsonObject all{
        {"version", ktProjectVersion()},
        {"scene", QString::fromStdString(scene)},
        {"output", output.empty() ? QJsonValue() : QJsonValue(QString::fromStdString(output))},
        {"settings", settings},
        {"tracer", QString::fromStdString(tracer)},
        {"sceneVertices", count(sceneVertices)},
        {"sceneTriangles", count(sceneTriangles)},
        {"instancedTriangles", count(instancedTriangles)},
        {"occludingTriangles", count(tracing.occludingTriangles)},
        {"sceneDiagonalMm", sceneDiagonal},
        {"geometriesCalculated", geometriesCalculated},
        {"verticesTraced", count(verticesTraced)},
        {"raysTraced", byLight(tracing.requested)},
        {"raysShared", byLight(tracing.shared)},
        {"refinement",
         QJsonObject{{"addedVertices", count(tracing.addedVertices)}, {"raysTraced", byLight(tracing.refining)}}},
        {"geometries", geometries},
        {"seconds", QJsonObject{{"read", readSeconds},
                                {"structure", structureSeconds},
                                {"tracing", tracingSeconds},
                                {"storing", storingSeconds},
                                {"write", writeSeconds},
                                {"preview", previewSeconds},
                                {"total", totalSeconds}}},
        {"threads", static_cast<int>(ktThreadCount::get())},
        {"warnings", count(ktLogOutput::getCount(ktLogLevel::Warning))},
        {"peakMemoryMiB", static_cast<double>(usage.ru_maxrss) / 1024},
    };
    if (!ranks.isEmpty())
        all.insert("ranks", ranks);
    return all;
}

void ktRunStatistics::addScene(const std::vector<ktListedGeometry>& sceneGeometries) {
    for (const ktListedGeometry& entry : sceneGeometries) {
        sceneVertices += entry.vertices;
        sceneTriangles += entry.triangles;
        instancedTriangles += entry.triangles * entry.uses;
    }
}

QJsonObject describeSettings() {
    const ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
    QJsonObject settings;
    Settings::forEachSetting([&](auto row) { settings.insert(row.names.option, describe(row, row.get(plugin))); });
    return settings;
}
