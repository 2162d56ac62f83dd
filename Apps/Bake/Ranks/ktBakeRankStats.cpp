// SPDX-License-Identifier: LGPL-2.1-or-later
// Describes what the ranks of one bake did.
#include "ktBakeRankStats.h"

#include <QJsonObject>
#include <QString>

namespace {

std::vector<ktRankStatistics> statisticsNow() {
    const ktRankPool* const pool = ktRankPool::current();
    return pool ? pool->statistics() : std::vector<ktRankStatistics>();
}

} // namespace

ktBakeRankStats::ktBakeRankStats() : before(statisticsNow()) {}

QJsonArray ktBakeRankStats::toJson() const {
    QJsonArray entries;
    const std::vector<ktRankStatistics> now = statisticsNow();
    for (std::size_t rank = 0; rank < now.size(); ++rank) {
        const ktRankStatistics& end = now[rank];
        const ktRankStatistics begin = rank < before.size() ? before[rank] : ktRankStatistics();
        QJsonObject entry{
            {"rank", static_cast<int>(rank)},
            {"host", QString::fromStdString(end.host)},
            {"threads", static_cast<int>(end.threads)},
            {"vertices", static_cast<double>(end.vertices - begin.vertices)},
            {"geometries", static_cast<double>(end.geometries - begin.geometries)},
            {"seconds", QJsonObject{{"tracing", end.tracingSeconds - begin.tracingSeconds},
                                    {"waiting", end.waitingSeconds - begin.waitingSeconds}}},
        };
        if (rank > 0) {
            QJsonObject seconds = entry["seconds"].toObject();
            seconds["structure"] = end.buildSeconds - begin.buildSeconds;
            seconds["sending"] = end.sendingSeconds - begin.sendingSeconds;
            entry["seconds"] = seconds;
            entry["structureBytes"] = static_cast<double>(end.structureBytes - begin.structureBytes);
            entry["bytesSent"] = static_cast<double>(end.bytesSent - begin.bytesSent);
            entry["bytesReceived"] = static_cast<double>(end.bytesReceived - begin.bytesReceived);
            entry["peakMemoryMiB"] = static_cast<double>(end.peakMemory_bytes) / (1 << 20);
        }
        entries.append(entry);
    }
    return entries;
}
