// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds the user's preferences directory from the environment, and creates it if needed.
#include "ktPreferences.h"

#include "ktLog.h"

#include <exception>
#include <filesystem>
#include <new>
#include <QByteArray>
#include <QDir>
#include <QStandardPaths>
#include <system_error>

namespace {

namespace fs = std::filesystem;

constexpr const char* appName = "ktAmbientOcclusion";

// Keeps the bytes unchanged. Under the POSIX locale, usual in containers and on build machines, Qt's own conversion of
// environment variables and file names loses everything beyond ASCII.
fs::path pathFromEnvironment(const char* variable) {
    return fs::path(qgetenv(variable).toStdString());
}

fs::path userConfigDir() {
    fs::path xdg = pathFromEnvironment("XDG_CONFIG_HOME");
    if (xdg.is_absolute()) // a relative path is invalid and ignored (XDG Base Directory Specification)
        return xdg;
    const fs::path home = pathFromEnvironment("HOME");
    if (home.is_absolute())
        return home / ".config";
    const QString fallback = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return fs::path(fallback.toUtf8().toStdString());
}

fs::path preferencesDir() {
    const fs::path override = pathFromEnvironment("KT_PREFERENCES_DIR");
    const fs::path dir = override.empty() ? userConfigDir() / appName : override;
    return fs::absolute(dir).lexically_normal() / "";
}

} // namespace

QString ktPreferences::getPreferencesDir() {
    try {
        const fs::path dir = preferencesDir();
        std::error_code error;
        fs::create_directories(dir, error);
        if (error)
            ktLog::error("%s: the preferences directory cannot be made: %s", dir.c_str(), error.message().c_str());
        return QString::fromUtf8(dir.c_str());
    } catch (const std::bad_alloc&) {
        throw; // presets must not go to another folder only because memory is short
    } catch (const std::exception& e) {
        ktLog::error("No preferences directory: %s", e.what());
        return QDir::tempPath() + QLatin1Char('/');
    }
}
