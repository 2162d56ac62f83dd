// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs Blender's vertex bake as a child process, as a peer of ktbake.
#include "ktQualityBlender.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <stdexcept>

std::string ktFindBlender(const std::string& program) {
    return QStandardPaths::findExecutable(QString::fromStdString(program)).toStdString();
}

double ktRunBlenderBake(const std::string& program, const std::string& input, const std::string& output, unsigned rays,
                        double distance_units) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QString::fromStdString(program),
                  {"--background", "--factory-startup", "--python-exit-code", "1", "--python", KT_QUALITY_BLENDER, "--",
                   QString::fromStdString(input), QString::fromStdString(output), QString::number(rays),
                   QString::number(distance_units, 'g', 9)});
    if (!process.waitForStarted(-1))
        throw std::runtime_error(program + ": does not start: " + process.errorString().toStdString());
    process.waitForFinished(-1);
    const QByteArray messages = process.readAll();
    const QByteArray mark = "\nktQualityBlender ";
    const int found = messages.indexOf(mark);
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0 || found < 0 ||
        !QFile::exists(QString::fromStdString(output)))
        throw std::runtime_error(input + ": Blender failed: " + messages.right(500).toStdString());
    return messages.mid(found + mark.size()).split('\n')[0].toDouble();
}
