// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

/// Whether a file of this name can be made or replaced: its folder exists and can be written, and no folder is in its
/// place. A file that is there is not touched. If not, the reason is logged.
bool canBeWritten(const std::string& fileName);
