// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <string>

class ktMessage;

/// Messages in XML files that a person can read and edit. Values have the type bool, int, unsigned long, float, double
/// or std::string, or are std::vectors of these. They are read back with the same type and bit for bit. A file holds at
/// most 4 MiB, 4,096 values and 200,000 list entries.
class KT_HOST_EXPORT ktMessageRW {
public:
    /// Writes `message` to the file `path` (UTF-8): writes a new file beside it, flushes it and renames it, so that a
    /// failure leaves an existing file unchanged. On failure, or if a value has no file form, logs the reason and
    /// returns false.
    static bool write(const ktMessage& message, const char* path);
    /// Empties `message`, then reads the file `path` (UTF-8) into it. A non-empty `filter` keeps only the value of
    /// that name. Returns false, without a log line, if the file is missing. If it cannot be read or is broken, logs
    /// line, column and reason, renames the file by appending ".broken", so that it is not overwritten, and returns
    /// false.
    static bool read(ktMessage& message, const char* path, const std::string& filter);
};
