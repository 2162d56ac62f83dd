// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <QString>

class ktSafeFile;

/// A ktSafeFile whose members throw ktFileError (object "file") when the disk refuses.
class ktOutputFile {
public:
    explicit ktOutputFile(const QString& path);
    ~ktOutputFile();
    void write(const void* data, std::size_t size);
    /// Writes a number as four bytes, the lowest first.
    void writeWord(std::size_t word);
    /// Makes the new content the file's. Without this call the old one stays.
    void commit();

private:
    void check(bool isDone) const;

    std::unique_ptr<ktSafeFile> file;
};
