// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes the statistics of a bake to a JSON file.
#include "ktBakeStats.h"

#include "ktBakeMessages.h"
#include "ktLogOutput.h"
#include "ktSafeFile.h"

#include <QFile>
#include <QJsonDocument>

bool writeStats(ktRunStatistics stats, const std::string& fileName) {
    stats.scene = ktBakeMessages::shown(stats.scene);
    if (!stats.output.empty())
        stats.output = ktBakeMessages::shown(stats.output);
    QString reason;
    if (ktSafeFile::replaceOrSend(QFile::encodeName(QString::fromStdString(fileName)),
                                  QJsonDocument(stats.toJson()).toJson(), reason))
        return true;
    ktBakeMessages::logReason(ktLogLevel::Error, fileName, "the statistics cannot be written: " + reason.toStdString());
    return false;
}
