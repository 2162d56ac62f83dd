// SPDX-License-Identifier: LGPL-2.1-or-later
// Checks before a bake that an output file can be written, so that no long run ends without its result.
#include "ktBakeOutput.h"

#include "ktBakeMessages.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

bool canBeWritten(const std::string& fileName) {
    std::error_code error;
    const fs::path file = fs::absolute(fileName, error), folder = file.parent_path();
    std::string reason;
    if (fs::is_directory(file, error))
        reason = "a folder is in its place";
    else if (!fs::is_directory(folder, error))
        reason = "the folder " + folder.string() + " does not exist";
    else if (access(folder.c_str(), W_OK | X_OK) != 0)
        reason = "the folder " + folder.string() + " cannot be written: " + std::generic_category().message(errno);
    else if (fs::exists(file, error) && access(file.c_str(), W_OK) != 0)
        reason = "it cannot be replaced: " + std::generic_category().message(errno);
    if (!reason.empty())
        ktBakeMessages::log(ktLogLevel::Error, fileName + ": cannot be written: " + reason,
                            {{"file", fileName}, {"reason", "cannot be written: " + reason}});
    return reason.empty();
}
