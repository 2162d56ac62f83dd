// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <QSaveFile>
#include <QString>

/// A file written beside its target, flushed to the disk and renamed into place, so that there is always either the old
/// content or the whole new one. Each member throws ktFileError (object "file") when the disk refuses.
class ktSafeFile {
public:
    explicit ktSafeFile(const QString& path);
    void write(const void* data, std::size_t size);
    /// Writes a number as four bytes, the lowest first.
    void writeWord(std::size_t word);
    /// Makes the new content the file's. Without this call the old one stays.
    void commit();

private:
    [[noreturn]] void fail() const;

    QSaveFile file;
};
