// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes an output file that replaces the old one only when complete; write errors become ktFileError.
#include "ktOutputFile.h"

#include "ktFileError.h"
#include "ktReadInterrupt.h"
#include "ktSafeFile.h"

#include <algorithm>
#include <QFile>

static constexpr std::size_t writtenAtOnce = 4 << 20; // bytes; an interrupt waits for them

ktOutputFile::ktOutputFile(const QString& path) : file(std::make_unique<ktSafeFile>(QFile::encodeName(path))) {
    check(file->error().isEmpty());
}

ktOutputFile::~ktOutputFile() = default;

void ktOutputFile::write(const void* data, std::size_t size) {
    const char* const bytes = static_cast<const char*>(data);
    for (std::size_t at = 0; at < size; at += writtenAtOnce) {
        ktReadInterrupt::check();
        check(file->write(bytes + at, std::min(writtenAtOnce, size - at)));
    }
}

void ktOutputFile::writeWord(std::size_t word) {
    const unsigned char bytes[4] = {static_cast<unsigned char>(word), static_cast<unsigned char>(word >> 8),
                                    static_cast<unsigned char>(word >> 16), static_cast<unsigned char>(word >> 24)};
    write(bytes, sizeof bytes);
}

void ktOutputFile::commit() {
    ktReadInterrupt::check();
    check(file->commit());
}

void ktOutputFile::check(bool isDone) const {
    if (!isDone)
        throw ktFileError("file", "cannot be written: " + file->error().toStdString());
}
