// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps the lines of the host's log as a Qt model.
#include "ktStudioLog.h"

#include "ktHostSignals.h"

#include <QDateTime>

static constexpr std::size_t mostLines = 10000;

ktStudioLog::ktStudioLog(QObject* parent) : QAbstractListModel(parent) {
    // Other threads log, too: their lines arrive through the event loop.
    connect(&ktHostSignals::the(), &ktHostSignals::logged, this, &ktStudioLog::add);
}

int ktStudioLog::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(lines.size());
}

QVariant ktStudioLog::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const Line& line = lines[static_cast<std::size_t>(index.row())];
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(line.time_ms);
    switch (role) {
    case Qt::DisplayRole:
        return time.toString("hh:mm:ss  ") + line.text;
    case Qt::ToolTipRole:
        return line.text;
    case Level:
        return line.level;
    case Time:
        return time;
    default:
        return {};
    }
}

void ktStudioLog::clear() {
    beginResetModel();
    lines.clear();
    endResetModel();
}

void ktStudioLog::add(int level, const QString& text) {
    if (lines.size() >= mostLines) {
        const auto gone = static_cast<int>(mostLines / 10);
        beginRemoveRows({}, 0, gone - 1);
        lines.erase(lines.begin(), lines.begin() + gone);
        endRemoveRows();
    }
    beginInsertRows({}, rowCount(), rowCount());
    lines.push_back({level, QDateTime::currentMSecsSinceEpoch(), text});
    endInsertRows();
}
