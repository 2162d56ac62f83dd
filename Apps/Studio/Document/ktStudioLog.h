// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QAbstractListModel>
#include <QString>
#include <vector>

/// The lines of the host's log as a list, the oldest first; the role Level is a ktLogLevel. Keeps the last 10,000.
class ktStudioLog : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role { Level = Qt::UserRole, Time };

    explicit ktStudioLog(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    void clear();

private:
    struct Line {
        int level;
        qint64 time_ms; ///< since 1970
        QString text;
    };
    void add(int level, const QString& text);

    std::vector<Line> lines;
};
