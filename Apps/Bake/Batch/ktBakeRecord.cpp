// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps and compares what the outputs of many scenes were made from.
#include "ktBakeRecord.h"

#include "ktBakeOptions.h"
#include "ktFileHash.h"
#include "ktRunStatistics.h"
#include "ktSafeFile.h"
#include "ktVersion.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

QString asPath(const std::string& name) {
    return QString::fromStdString(name);
}

/// The folder that the names of files in the record start from: records survive moving a tree of scenes.
QDir folderOf(const ktBakeSceneEntry& entry) {
    return QFileInfo(asPath(entry.scene)).absoluteDir();
}

} // namespace

ktBakeRecord::ktBakeRecord(const ktBakeOptions& options) {
    QJsonArray typed;
    for (const std::string& option : options.typed)
        typed.append(QString::fromStdString(option));
    made = {{"version", ktProjectVersion()}, {"options", typed}, {"settings", describeSettings()}};
}

bool ktBakeRecord::isUpToDate(const ktBakeSceneEntry& entry) const {
    QFile file(asPath(entry.record));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QJsonObject record = QJsonDocument::fromJson(file.readAll()).object();
    for (auto field = made.begin(); field != made.end(); ++field)
        if (record[field.key()] != field.value())
            return false;
    const QJsonObject inputs = record["inputs"].toObject();
    const QString output = ktHashOfFile(asPath(entry.output));
    if (!inputs.contains(QFileInfo(asPath(entry.scene)).fileName()) || output.isEmpty() || record["output"] != output)
        return false;
    const QDir folder = folderOf(entry);
    for (auto input = inputs.begin(); input != inputs.end(); ++input)
        if (ktHashOfFile(folder.absoluteFilePath(input.key())) != input.value().toString())
            return false;
    return true;
}

std::string ktBakeRecord::write(const ktBakeSceneEntry& entry, const std::set<QString>& filesRead) const {
    const QDir folder = folderOf(entry);
    QJsonObject record = made, inputs;
    for (const QString& file : filesRead)
        inputs[folder.relativeFilePath(file)] = ktHashOfFile(file);
    record["inputs"] = inputs;
    record["output"] = ktHashOfFile(asPath(entry.output));
    QString reason;
    ktSafeFile::replace(QFile::encodeName(asPath(entry.record)), QJsonDocument(record).toJson(), reason);
    return reason.toStdString();
}
