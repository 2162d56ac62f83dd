// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QObject>
#include <QStringList>
#include <QVariant>

/// What ktstudio keeps from one start to the next, in `ktstudio.ini` in the user's preferences folder. Main thread
/// only.
class ktStudioPreferences : public QObject {
    Q_OBJECT
public:
    static ktStudioPreferences& the();

    /// Files that were opened, the newest first, without those that are gone.
    QStringList getRecentFiles() const;
    void addRecentFile(const QString& path);
    void clearRecentFiles();

    QVariant get(const QString& key, const QVariant& fallback = {}) const;
    void set(const QString& key, const QVariant& value);
    void setAll(const QVariantMap& values); ///< by key, in one write

signals:
    void recentFilesChanged();

private:
    ktStudioPreferences() = default;
};
