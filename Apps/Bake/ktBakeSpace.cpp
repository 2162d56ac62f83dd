// SPDX-License-Identifier: LGPL-2.1-or-later
// Checks before a bake that the file systems have space for what it writes.
#include "ktBakeSpace.h"

#include "ktBakeMessages.h"
#include "ktSafeFile.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <map>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <system_error>

namespace fs = std::filesystem;

namespace {

std::string formatSize(std::uint64_t size_bytes) {
    if (size_bytes < 1 << 20)
        return std::to_string(size_bytes) + " bytes";
    char text[64];
    std::snprintf(text, sizeof text, "%.1f MiB", static_cast<double>(size_bytes) / (1 << 20));
    return text;
}

} // namespace

std::optional<ktBakeSpace> findSpace(const std::string& fileName) {
    std::error_code error;
    const std::string named = fs::absolute(fileName, error).string();
    const std::string folder =
        fs::path(ktSafeFile::targetOf(QByteArray::fromStdString(named)).toStdString()).parent_path().string();
    struct stat found = {};
    struct statvfs space = {};
    int result = 0;
    while ((result = statvfs(folder.c_str(), &space)) != 0 && errno == EINTR) {
    }
    // Some file systems of networks say that they have no blocks at all.
    if (result != 0 || space.f_blocks == 0 || stat(folder.c_str(), &found) != 0)
        return {};
    return ktBakeSpace{found.st_dev, std::uint64_t(space.f_bavail) * space.f_frsize};
}

bool hasSpace(const std::vector<ktBakeSpaceNeed>& needs,
              const std::function<std::optional<ktBakeSpace>(const std::string&)>& find) {
    std::map<std::uint64_t, std::uint64_t> taken; // by file system
    for (const ktBakeSpaceNeed& need : needs) {
        const std::optional<ktBakeSpace> space = find(need.fileName);
        if (!space)
            continue;
        const std::uint64_t before = taken[space->system];
        taken[space->system] += need.size_bytes;
        if (before + need.size_bytes <= space->free_bytes)
            continue;
        const std::string file = ktBakeMessages::shown(need.fileName);
        std::string reason = "cannot be written: it needs at least " + formatSize(need.size_bytes);
        if (before > 0)
            reason.append(", other files of this bake ").append(formatSize(before));
        reason.append(", and the file system has ").append(formatSize(space->free_bytes));
        ktBakeMessages::logReason(ktLogLevel::Error, file, reason);
        return false;
    }
    return true;
}

// _AO and _INDIRECT are floats. Colours are not counted: vertices of several primitives of a file share results.
std::uint64_t leastSizeOfResults(std::uint64_t vertices, bool hasIndirect) {
    return vertices * (hasIndirect ? 16 : 4);
}

std::uint64_t leastSizeOfCheckpoint(std::uint64_t vertices, bool hasLights, int bounces) {
    return vertices * ((hasLights ? 28u : 4u) + 12u * static_cast<std::uint64_t>(bounces));
}
