// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

/// Takes rights away from the calling process, for ever.
namespace ktProcessSandbox {

/// From now on, the process can open files below these folders for reading, and no other files. It can neither create,
/// change nor execute files. Files that are open stay open. Needs Landlock (Linux 5.13).
/// @return whether the kernel does that; if not, nothing changes
bool restrictFiles(const std::vector<std::string>& readableFolders);

/// From now on, the process can create no sockets and start no programs. Needs seccomp.
/// @return whether the kernel does that; if not, nothing changes
bool forbidNetwork();

/// Closes all descriptors from 3 on, except one.
void closeOthers(int kept);

} // namespace ktProcessSandbox
