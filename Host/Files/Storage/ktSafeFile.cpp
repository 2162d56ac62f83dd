// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktSafeFile.h"

#include "ktFileError.h"

ktSafeFile::ktSafeFile(const QString& path) : file(path) {
    // Unbuffered: a buffer that only half fits on the disk at the end would go unnoticed.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        fail();
}

void ktSafeFile::write(const void* data, std::size_t size) {
    const char* at = static_cast<const char*>(data);
    while (size > 0) {
        const qint64 done = file.write(at, static_cast<qint64>(size));
        if (done <= 0)
            fail();
        at += done;
        size -= static_cast<std::size_t>(done);
    }
}

void ktSafeFile::writeWord(std::size_t word) {
    const unsigned char bytes[4] = {static_cast<unsigned char>(word), static_cast<unsigned char>(word >> 8),
                                    static_cast<unsigned char>(word >> 16), static_cast<unsigned char>(word >> 24)};
    write(bytes, sizeof bytes);
}

void ktSafeFile::commit() {
    if (!file.commit())
        fail();
}

void ktSafeFile::fail() const {
    throw ktFileError("file", "cannot be written: " + file.errorString().toStdString());
}
