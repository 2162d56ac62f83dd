// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <cstddef>
#include <memory>
#include <QByteArray>
#include <QString>

/// Replaces a file as a whole. At any moment, even after a crash or a power failure, the target holds its old content
/// or all of the new content.
///
/// Writes to a temporary file `<target>.tmp-<process>-<number>` in the same directory. commit() flushes it, renames it
/// to the target and flushes the directory. Replaces the target of a symbolic link, not the link. Keeps the permissions
/// of an existing file. Removes temporary files of killed processes; a lock shows whether the process still lives. Safe
/// if other threads and processes write the same target.
///
/// Paths are in the file system's bytes. After the first failure, all later calls fail too, and the target is
/// unchanged.
class KT_HOST_EXPORT ktSafeFile {
public:
    /// Creates the temporary file. Also fails if an existing target is not writable.
    explicit ktSafeFile(const QByteArray& path);
    /// Removes the temporary file unless it was committed.
    ~ktSafeFile();
    ktSafeFile(const ktSafeFile&) = delete;
    ktSafeFile& operator=(const ktSafeFile&) = delete;

    /// Appends `size` bytes. False on failure, see error().
    bool write(const void* data, std::size_t size);
    /// Replaces the target by the new content. Without this call the old content stays. False on failure, see error().
    /// A failed flush of the directory after renaming does not count as a failure.
    bool commit();
    /// Why the first failed call failed; empty if none did.
    const QString& error() const { return reason; }

    /// All of the above for content in memory. False and the reason on failure.
    static bool replace(const QByteArray& path, const QByteArray& content, QString& why);
    /// As replace(), but a target that is no regular file, for example a pipe, a terminal or the null device, gets the
    /// content as it is. The path of an open file in /dev/fd or /proc gets it at its end. A pipe that no program reads
    /// is a failure.
    static bool replaceOrSend(const QByteArray& path, const QByteArray& content, QString& why);
    /// Resolves the symbolic links of `path`, whether the file exists or not. The path of an open file in
    /// /dev/fd or /proc stays.
    static QByteArray targetOf(const QByteArray& path);

    /// Deletes the temporary files of all objects, for the end of a process that calls no destructors. Needs no memory.
    static void deleteTemporaryFiles() noexcept;

private:
    struct Temporary;

    bool fail(const char* what);

    QByteArray target;
    std::unique_ptr<Temporary> temporary; ///< null: nothing to write to
    QString reason;
};
