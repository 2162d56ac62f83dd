// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktBakeStats.h"

#include "ktAmbientOcclusion.h"
#include "ktLog.h"
#include "ktLogOutput.h"
#include "ktThreadCount.h"

#include <QJsonDocument>
#include <QSaveFile>
#include <sys/resource.h>

bool ktBakeStats::write(const std::string& fileName) const {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const auto count = [](std::uint64_t value) { return static_cast<double>(value); }; // exact up to 2^53
    const QJsonObject all = {
        {"version", getPluginVersion()},
        {"scene", QString::fromStdString(scene)},
        {"output", output.empty() ? QJsonValue() : QJsonValue(QString::fromStdString(output))},
        {"settings", settings},
        {"tracer", QString::fromStdString(tracer)},
        {"sceneVertices", count(sceneVertices)},
        {"sceneTriangles", count(sceneTriangles)},
        {"sceneDiagonalMm", sceneDiagonal},
        {"geometriesCalculated", geometriesCalculated},
        {"verticesTraced", count(verticesTraced)},
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
    QSaveFile file(QString::fromStdString(fileName));
    const QByteArray text = QJsonDocument(all).toJson();
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit()) {
        ktLog::error("%s: the statistics cannot be written: %s", fileName.c_str(), qPrintable(file.errorString()));
        return false;
    }
    return true;
}
