// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <string>

class ktMessage;

/// Messages in XML files that a person can read and edit. Values may be of the types bool, int, unsigned long, float,
/// double and std::string, and std::vector of these; they come back with the same type and bit for bit. A file holds at
/// most 4 MiB, 4,096 values and 200,000 list entries.
class KT_HOST_EXPORT ktMessageRW {
public:
    /// Writes `message` to the file `path` (UTF-8): beside it first, flushed, then renamed into place, so that a
    /// failure leaves an existing file as it was. Returns false, with a line in the log that says why, on failure or
    /// when a value has no file form.
    static bool write(const ktMessage& message, const char* path);
    /// Reads the file `path` (UTF-8) into `message`, which is emptied first. A non-empty `filter` keeps only the
    /// value of that name. Returns false when the file is missing, without a word, or when it cannot be read or is
    /// broken: that is logged with line, column and reason, and the file is set aside, under its name with ".broken"
    /// appended, so that nothing written in its place destroys it.
    static bool read(ktMessage& message, const char* path, const std::string& filter);
};
