// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QString>

/// Reading a message's file, and moving a broken one out of the way. ktSafeFile writes them. Paths are in the file
/// system's own bytes (UTF-8). Safe against other threads and processes that do the same.
namespace ktMessageFile {

/// Tells a file from one that is put in its place later.
struct Identity {
    quint64 device = 0;
    quint64 inode = 0;
    bool operator==(const Identity& other) const { return device == other.device && inode == other.inode; }
};

/// Whether `path` still names the file `identity`.
bool isStill(const QByteArray& path, const Identity& identity);

enum class ReadResult { Done, Missing, Failed };

/// Reads all of the regular file `path`; one larger than `maxBytes` fails. `identity` is set whenever there is a file,
/// `reason` when reading it failed.
ReadResult read(const QByteArray& path, int maxBytes, QByteArray& content, Identity& identity, QString& reason);

/// Renames the file `path` to its name with ".broken" appended, if it is still the file `identity`. An older file of
/// that name is kept under the first free of the names ".broken.1" to ".broken.9"; when all are taken the last one
/// goes. Returns the new name, or an empty one when the file was another one or could not be renamed.
QByteArray setAside(const QByteArray& path, const Identity& identity);

} // namespace ktMessageFile
