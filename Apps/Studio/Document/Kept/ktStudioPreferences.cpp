// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps recent files, layout and options of ktstudio in a file.
#include "ktStudioPreferences.h"

#include "ktPreferences.h"

#include <algorithm>
#include <QFileInfo>
#include <QSettings>

namespace {

constexpr int mostRecentFiles = 10;
const char* const recentKey = "recentFiles";

QString fileName() {
    return ktPreferences::getPreferencesDir() + "ktstudio.ini";
}

} // namespace

ktStudioPreferences& ktStudioPreferences::the() {
    static auto& preferences = *new ktStudioPreferences;
    return preferences;
}

QVariant ktStudioPreferences::get(const QString& key, const QVariant& fallback) const {
    return QSettings(fileName(), QSettings::IniFormat).value(key, fallback);
}

void ktStudioPreferences::set(const QString& key, const QVariant& value) {
    QSettings(fileName(), QSettings::IniFormat).setValue(key, value);
}

void ktStudioPreferences::setAll(const QVariantMap& values) {
    QSettings settings(fileName(), QSettings::IniFormat);
    for (auto value = values.begin(); value != values.end(); ++value)
        settings.setValue(value.key(), value.value());
}

QStringList ktStudioPreferences::getRecentFiles() const {
    QStringList files = get(recentKey).toStringList();
    files.erase(
        std::remove_if(files.begin(), files.end(), [](const QString& file) { return !QFileInfo::exists(file); }),
        files.end());
    return files;
}

void ktStudioPreferences::addRecentFile(const QString& path) {
    QStringList files = getRecentFiles();
    files.removeAll(path);
    files.prepend(path);
    set(recentKey, QStringList(files.mid(0, mostRecentFiles)));
    emit recentFilesChanged();
}

void ktStudioPreferences::clearRecentFiles() {
    set(recentKey, QStringList());
    emit recentFilesChanged();
}
