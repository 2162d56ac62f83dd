// SPDX-License-Identifier: LGPL-2.1-or-later
// Checks that each folder below Host and Apps/Studio has few entries and a short README.
#include "ktHouseTree.h"

#include <map>
#include <set>

namespace {

constexpr size_t maxEntries = 25;
constexpr size_t maxReadmeLines = 15;

} // namespace

std::vector<std::string> findRoomViolations(const std::vector<ktHouseFile>& files) {
    std::map<std::string, std::set<std::string>> entries; // by folder
    std::vector<std::string> violations;
    for (const ktHouseFile& file : files) {
        const bool isStudio = file.isBelow("Apps/Studio/");
        if (!file.isBelow("Host/") && !isStudio)
            continue;
        for (size_t slash = file.path.find('/', isStudio ? std::string("Apps/").size() : 0); slash != std::string::npos;
             slash = file.path.find('/', slash + 1)) {
            const size_t next = file.path.find('/', slash + 1);
            entries[file.path.substr(0, slash + 1)].insert(file.path.substr(slash + 1, next - slash - 1));
        }
        if (file.endsIn({"/README.md"}) && file.lines.size() > maxReadmeLines)
            violations.push_back(file.path + ":" + std::to_string(maxReadmeLines + 1) + ": over 15 lines");
    }
    for (const auto& [folder, names] : entries) {
        if (folder == "Host/" && names.size() == 1)
            continue; // only in tests, which check a part of a project
        if (names.size() > maxEntries && folder != "Host/Include/")
            violations.push_back(folder + ":1: " + std::to_string(names.size()) + " entries, more than 25");
        if (names.count("README.md") == 0)
            violations.push_back(folder + ":1: no README.md");
    }
    return violations;
}
