// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QString>

/// Reads the file of a message, and sets a broken one aside. ktSafeFile writes these files. Paths are in the file
/// system's bytes (UTF-8). Safe if other threads and processes do the same.
namespace ktMessageFile {

/// Distinguishes a file from one that replaces it later.
struct Identity {
    quint64 device = 0;
    quint64 inode = 0;
    bool operator==(const Identity& other) const { return device == other.device && inode == other.inode; }
};

/// Whether `path` still names the file `identity`.
bool isStill(const QByteArray& path, const Identity& identity);

enum class ReadResult {
    Done,
    Missing,
    Failed,    ///< its content is of no use
    Unreadable ///< the system does not give its content, which may be good
};

/// Reads all of the regular file `path`; fails if it is larger than `maxBytes`. Sets `identity` if the file exists, and
/// `reason` if reading fails.
ReadResult read(const QByteArray& path, int maxBytes, QByteArray& content, Identity& identity, QString& reason);

/// Appends ".broken" to the name of the file `path` if it is still the file `identity`. An older file of that name is
/// kept: it gets the first free name from ".broken.1" to ".broken.9"; if none is free, it replaces the last one.
/// Returns the new name, or an empty one if `path` is another file or renaming failed.
QByteArray setAside(const QByteArray& path, const Identity& identity);

} // namespace ktMessageFile
