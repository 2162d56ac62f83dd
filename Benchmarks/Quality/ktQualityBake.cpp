// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs ktbake as a child process and reads the statistics that it writes.
#include "ktQualityBake.h"

#include <algorithm>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <stdexcept>

ktQualityBake ktRunQualityBake(const std::string& program, const std::string& scene, const std::string& options,
                               const std::string& folder, const std::string& name) {
    ktQualityBake bake;
    bake.output = folder + "/" + name + ".glb";
    const std::string stats = folder + "/" + name + ".json";
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("KT_PREFERENCES_DIR", QString::fromStdString(folder + "/preferences/"));
    QStringList arguments;
    for (const std::string& argument : {scene, std::string("-o"), bake.output, std::string("--stats"), stats})
        arguments << QString::fromStdString(argument);
    arguments << "--quiet" << QProcess::splitCommand(QString::fromStdString(options));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QString::fromStdString(program), arguments);
    if (!process.waitForStarted(-1))
        throw std::runtime_error(program + ": does not start: " + process.errorString().toStdString());
    process.waitForFinished(-1);
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        throw std::runtime_error(scene + ": ktbake " + options +
                                 " failed: " + process.readAllStandardError().trimmed().toStdString());
    QFile file(QString::fromStdString(stats));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(stats + ": cannot be read");
    const QJsonObject all = QJsonDocument::fromJson(file.readAll()).object();
    const QJsonObject settings = all["settings"].toObject();
    bake.seconds = all["seconds"].toObject()["total"].toDouble();
    bake.bytes = static_cast<std::uint64_t>(QFileInfo(QString::fromStdString(bake.output)).size());
    bake.diagonal_mm = all["sceneDiagonalMm"].toDouble();
    bake.minDistance_mm = settings["min-distance"].toDouble();
    bake.maxDistance_mm = settings["max-distance"].toDouble();
    if (settings["indirect"].toBool())
        bake.bounces = static_cast<unsigned>(std::max(0, settings["bounces"].toInt()));
    bake.reflection.isColored = settings["color-bleeding"].toBool();
    const QJsonArray color = settings["override-color"].toArray();
    if (settings["override"].toBool() && color.size() == 3)
        bake.reflection.color = {static_cast<float>(color[0].toDouble()), static_cast<float>(color[1].toDouble()),
                                 static_cast<float>(color[2].toDouble())};
    bake.mode = settings["mode"].toString().toStdString();
    return bake;
}
