// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// One text file of the project.
struct ktHouseFile {
    std::string path;               ///< relative to the project's folder, with '/'
    std::vector<std::string> lines; ///< without line ends

    /// True if the path ends in one of the endings.
    bool endsIn(std::initializer_list<const char*> endings) const;
    /// True if the path begins with the folder or prefix.
    bool isBelow(const std::string& prefix) const { return path.compare(0, prefix.size(), prefix) == 0; }
};

/// Reads every text file below a folder, sorted by path. Leaves out build folders, binary files, and hidden folders
/// except .ci.
std::vector<ktHouseFile> readProject(const std::filesystem::path& folder);

/// Checks which folder may include which headers. Returns one line "path:line: reason" per violation.
/// @param qtIncludeDir folder of Qt's headers, with one folder per module, such as QtWidgets
std::vector<std::string> findIncludeViolations(const std::vector<ktHouseFile>& files,
                                               const std::filesystem::path& qtIncludeDir);

/// Checks length, licence line, name and banned texts of every file. Returns one line "path:line: reason" per
/// violation.
std::vector<std::string> findTextViolations(const std::vector<ktHouseFile>& files);

/// Checks the rooms: each folder below Host/ has at most 25 entries and a README.md of at most 15 lines. Host/Include
/// may have more entries, because plug-ins include its headers by bare name from one folder. Returns one line
/// "path:line: reason" per violation.
std::vector<std::string> findRoomViolations(const std::vector<ktHouseFile>& files);
