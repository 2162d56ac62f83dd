// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

enum class ktBakeTarget {
    File,    ///< must be a regular file or a new one
    Anything ///< a pipe or a device will do
};

/// Whether a file of this name, or the one that it links to, can be created or replaced: its folder exists and is
/// writable, and the name is not a folder. If not, logs the reason. Does not touch an existing file.
bool canBeWritten(const std::string& fileName, ktBakeTarget target);
