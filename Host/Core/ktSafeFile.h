// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <cstddef>
#include <memory>
#include <QByteArray>
#include <QString>

/// A file that replaces another one as a whole. At any moment, also after a crash or a power cut, the target holds
/// either what it held or all of the new content.
///
/// The content goes to a temporary file `<target>.tmp-<process>-<number>` in the same directory. commit() flushes it,
/// renames it to the target and flushes the directory. A symbolic link stays one: the file that it names is replaced.
/// The permissions of an existing file are kept. Temporary files of killed processes are removed: a lock shows whether
/// their process still lives. Safe against other threads and processes that write the same target.
///
/// Paths are in the file system's bytes. After the first failure, all later calls fail too, and the target stays as it
/// is.
class KT_HOST_EXPORT ktSafeFile {
public:
    /// Makes the temporary file. Fails also when the existing target may not be written to.
    explicit ktSafeFile(const QByteArray& path);
    /// Removes the temporary file unless it was committed.
    ~ktSafeFile();
    ktSafeFile(const ktSafeFile&) = delete;
    ktSafeFile& operator=(const ktSafeFile&) = delete;

    /// Appends `size` bytes. False on failure, see error().
    bool write(const void* data, std::size_t size);
    /// Makes the new content the target's. Without this call the old content stays. False on failure, see error(). A
    /// failure to flush the directory after renaming is no failure here.
    bool commit();
    /// Why the first failed call failed; empty when none did.
    const QString& error() const { return reason; }

    /// All of the above for content that is at hand. False and the reason on failure.
    static bool replace(const QByteArray& path, const QByteArray& content, QString& why);
    /// The file that `path` names through symbolic links, whether it exists or not.
    static QByteArray targetOf(const QByteArray& path);

private:
    struct Temporary;

    bool fail(const char* what);

    QByteArray target;
    std::unique_ptr<Temporary> temporary; ///< null: nothing to write to
    QString reason;
};
