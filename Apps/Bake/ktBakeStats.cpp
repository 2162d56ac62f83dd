// SPDX-License-Identifier: LGPL-2.1-or-later
// Collects the times and counts of a bake and writes them to a JSON file.
#include "ktBakeStats.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeGeometryList.h"
#include "ktBakeMessages.h"
#include "ktLogOutput.h"
#include "ktSafeFile.h"
#include "ktThreadCount.h"

#include <QFile>
#include <QJsonDocument>
#include <sys/resource.h>

namespace {

// JSON numbers are exact up to 2^53.
double count(std::uint64_t value) {
    return static_cast<double>(value);
}

QJsonObject byLight(const ktRayCounts& rays) {
    return {{"direct", count(rays.direct)}, {"indirect", count(rays.indirect)}};
}

} // namespace

void ktBakeStats::addTracing(const ktTracingStatistics& counts, const std::vector<ktBakeGeometry>& sceneGeometries) {
    tracing = counts;
    for (const ktBakeGeometry& entry : sceneGeometries) {
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

bool ktBakeStats::write(const std::string& fileName) const {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const QJsonObject all = {
        {"version", getPluginVersion()},
        {"scene", QString::fromStdString(ktBakeMessages::shown(scene))},
        {"output", output.empty() ? QJsonValue() : QJsonValue(QString::fromStdString(ktBakeMessages::shown(output)))},
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
    QString reason;
    if (ktSafeFile::replace(QFile::encodeName(QString::fromStdString(fileName)), QJsonDocument(all).toJson(), reason))
        return true;
    const std::string why = "the statistics cannot be written: " + reason.toStdString();
    ktBakeMessages::log(ktLogLevel::Error, fileName + ": " + why, {{"file", fileName}, {"reason", why}});
    return false;
}
