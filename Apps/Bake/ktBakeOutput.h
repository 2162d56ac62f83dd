// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

/// Whether a file of this name can be created or replaced: its folder exists and is writable, and the name is not a
/// folder. If not, logs the reason. Does not touch an existing file.
bool canBeWritten(const std::string& fileName);
