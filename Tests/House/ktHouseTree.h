// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// One text file of the project.
struct ktHouseFile {
    std::string path;               ///< relative to the project's folder, with '/'
    std::vector<std::string> lines; ///< without line ends

    /// True when the path ends in one of the endings.
    bool endsIn(std::initializer_list<const char*> endings) const;
    /// True when the path begins with the folder or prefix.
    bool isBelow(const std::string& prefix) const { return path.compare(0, prefix.size(), prefix) == 0; }
};

/// Reads every text file below a folder, sorted by path; build folders, hidden folders but .ci, and binary files are
/// left out.
std::vector<ktHouseFile> readHouse(const std::filesystem::path& folder);

/// Which folder may include what: one line "path:line: reason" for each breach.
/// @param qtIncludeDir folder that holds Qt's own module folders, QtWidgets among them
std::vector<std::string> findIncludeBreaches(const std::vector<ktHouseFile>& house,
                                             const std::filesystem::path& qtIncludeDir);

/// Length, licence line, names and words of every file: one line "path:line: reason" for each breach.
std::vector<std::string> findTextBreaches(const std::vector<ktHouseFile>& house);

/// Rooms of the host: each folder below Host/ has at most 25 entries and a README.md of at most 15 lines. Host/Include
/// may have more entries: plug-ins include its headers by bare name from one folder. One line "path:line: reason" for
/// each breach.
std::vector<std::string> findRoomBreaches(const std::vector<ktHouseFile>& house);
