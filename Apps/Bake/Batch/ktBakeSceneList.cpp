// SPDX-License-Identifier: LGPL-2.1-or-later
// Lists the scenes of a command line with many, and names their outputs.
#include "ktBakeSceneList.h"

#include "ktBakeExit.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>
#include <system_error>

namespace fs = std::filesystem;

namespace {

/// Appends the lines of a list. @return the reason of a failure; empty: none
std::string readList(const std::string& file, std::vector<std::string>& names) {
    if (std::error_code error; fs::is_directory(file, error))
        return file + ": the list cannot be read: it is a folder";
    std::ifstream lines(file, std::ios::binary);
    if (!lines)
        return file + ": the list cannot be read: " + std::generic_category().message(errno);
    const size_t before = names.size();
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (!line.empty() && line[0] != '#')
            names.push_back(line);
    }
    if (lines.bad())
        return file + ": the list cannot be read: " + std::generic_category().message(errno);
    return names.size() == before ? file + ": the list names no scene" : std::string();
}

} // namespace

int ktListBakeScenes(const std::vector<std::string>& scenes, const std::string& outputFolder,
                     std::vector<ktBakeSceneEntry>& entries, std::string& reason) {
    std::vector<std::string> names;
    for (const std::string& scene : scenes) {
        if (scene[0] != '@')
            names.push_back(scene);
        else if (reason = readList(scene.substr(1), names); !reason.empty())
            return ktBakeExit::badInput;
    }
    std::map<std::string, std::string> sceneOf; // by output
    for (const std::string& name : names) {
        const std::string base = (fs::path(outputFolder) / fs::path(name).stem()).string() + "-baked";
        entries.push_back({name, base + ".glb", base + ".ktbake.json"});
        const auto [other, isNew] = sceneOf.emplace(entries.back().output, name);
        if (!isNew) {
            reason = name + ": its output " + entries.back().output + " is also that of " + other->second;
            return ktBakeExit::usage;
        }
    }
    return ktBakeExit::done;
}
