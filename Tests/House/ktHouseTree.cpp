// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads the project's text files for the checks of the house rules.
#include "ktHouseTree.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

bool ktHouseFile::endsIn(std::initializer_list<const char*> endings) const {
    return std::any_of(endings.begin(), endings.end(), [this](const std::string& ending) {
        return path.size() >= ending.size() && path.compare(path.size() - ending.size(), ending.size(), ending) == 0;
    });
}

static bool isLeftOut(const fs::path& folder) {
    const std::string name = folder.filename().string();
    return name.rfind("build", 0) == 0 || name == "__pycache__" || name == "bake-results" || name == "Testing" ||
           (name[0] == '.' && name != ".ci");
}

std::vector<ktHouseFile> readProject(const fs::path& folder) {
    std::vector<ktHouseFile> files;
    for (auto entry = fs::recursive_directory_iterator(folder); entry != fs::recursive_directory_iterator(); ++entry) {
        if (entry->is_directory()) {
            if (isLeftOut(entry->path()))
                entry.disable_recursion_pending();
            continue;
        }
        if (!entry->is_regular_file() || entry->path().filename() == ".git")
            continue;
        std::ifstream stream(entry->path(), std::ios::binary);
        std::stringstream text;
        text << stream.rdbuf();
        if (text.str().find('\0') != std::string::npos)
            continue;
        ktHouseFile file;
        file.path = fs::relative(entry->path(), folder).generic_string();
        for (std::string line; std::getline(text, line);)
            file.lines.push_back(line);
        files.push_back(std::move(file));
    }
    std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) { return a.path < b.path; });
    return files;
}
