// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <QString>

class ktSafeFile;

/// A ktSafeFile whose members throw ktFileError (object "file") if writing fails, and ktReadInterrupt::Interrupted.
class ktOutputFile {
public:
    explicit ktOutputFile(const QString& path);
    ~ktOutputFile();
    void write(const void* data, std::size_t size);
    /// Writes a number as four bytes, little-endian.
    void writeWord(std::size_t word);
    /// Replaces the file by the new content. Without this call the old content stays.
    void commit();

private:
    void check(bool isDone) const;

    std::unique_ptr<ktSafeFile> file;
};
