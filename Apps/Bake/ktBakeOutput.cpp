// SPDX-License-Identifier: LGPL-2.1-or-later
// Checks before a bake that an output file can be written, so that no long run ends without its result.
#include "ktBakeOutput.h"

#include "ktBakeMessages.h"
#include "ktSafeFile.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

bool canBeWritten(const std::string& fileName, ktBakeTarget target) {
    std::error_code error;
    const std::string named = fs::absolute(fileName, error).string();
    const fs::path file = ktSafeFile::targetOf(QByteArray::fromStdString(named)).toStdString(),
                   folder = file.parent_path();
    const fs::file_status status = fs::status(file, error);
    const bool isSpecial = fs::exists(status) && !fs::is_regular_file(status);
    std::string reason;
    if (fs::is_directory(status))
        reason = "a folder is in its place";
    else if (isSpecial && target == ktBakeTarget::File)
        reason = "it is not a regular file";
    else if (isSpecial)
        reason = access(file.c_str(), W_OK) != 0 ? std::generic_category().message(errno) : "";
    else if (status.type() == fs::file_type::none)
        reason = error.message();
    else if (!fs::is_directory(folder, error))
        reason = "the folder " + folder.string() + " does not exist";
    else if (access(folder.c_str(), W_OK | X_OK) != 0)
        reason = "the folder " + folder.string() + " cannot be written: " + std::generic_category().message(errno);
    else if (fs::exists(status) && access(file.c_str(), W_OK) != 0)
        reason = "it cannot be replaced: " + std::generic_category().message(errno);
    if (!reason.empty())
        ktBakeMessages::logReason(ktLogLevel::Error, fileName, "cannot be written: " + reason);
    return reason.empty();
}
