// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// A file that a bake will write.
struct ktBakeSpaceNeed {
    std::string fileName;
    std::uint64_t size_bytes = 0; ///< that it takes at least, besides what is there now
};

/// The space on the file system of a file.
struct ktBakeSpace {
    std::uint64_t system = 0;     ///< which file system; equal numbers are equal file systems
    std::uint64_t free_bytes = 0; ///< that this process may use. Quotas are not counted
};

/// The space for a file, which need not exist: that of its folder. Follows links. Empty if the file system does not
/// tell.
std::optional<ktBakeSpace> findSpace(const std::string& fileName);

/// Whether there is space for all of these files. If not, logs the first that does not fit, and how much it needs.
/// @param find for tests
bool hasSpace(const std::vector<ktBakeSpaceNeed>& needs,
              const std::function<std::optional<ktBakeSpace>(const std::string&)>& find = findSpace);

/// Least size of results in the output file. @param vertices with results
std::uint64_t leastSizeOfResults(std::uint64_t vertices, bool hasIndirect);
/// Least size of a checkpoint. @param bounces 0: only direct light
std::uint64_t leastSizeOfCheckpoint(std::uint64_t vertices, bool hasLights, int bounces);
