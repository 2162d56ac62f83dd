// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <string>

class ktMessage;

/// Messages in XML files.
class KT_HOST_EXPORT ktMessageRW {
public:
    /// Writes `message` to the file `path` (UTF-8): beside it first, flushed, then renamed into place, so that a failure
    /// leaves an existing file as it was. Returns false on failure or on a value of a type that has no file form.
    static bool write(const ktMessage& message, const char* path);
    /// Reads the file `path` (UTF-8) into `message`, which is emptied first. A non-empty `filter` reads only the
    /// attribute of that name. Returns false when the file is missing or broken; a broken one is logged with line, column
    /// and reason, and set aside under its name with ".broken" appended.
    static bool read(ktMessage& message, const char* path, const std::string& filter);
};
