// SPDX-License-Identifier: LGPL-2.1-or-later
// Checks which folder includes which headers and libraries; holds the table of what is allowed.
#include "ktHouseTree.h"

#include <algorithm>
#include <map>
#include <regex>
#include <set>

namespace fs = std::filesystem;

namespace {

using Folders = std::vector<std::string>;

bool isBelowOne(const ktHouseFile& file, const Folders& folders) {
    return std::any_of(folders.begin(), folders.end(), [&](const std::string& folder) { return file.isBelow(folder); });
}

/// A folder, and the other folders whose headers its files may include. Subfolders do not count.
struct Arrow {
    std::string from;
    Folders to;
};

// Folders with a row may also include headers of OpenSG/ and Host/Include/. Files below OpenSG/, Host/,
// AmbientOcclusion/ or Apps/Studio/ need a row; other files may include everything.
const std::vector<Arrow> arrows = {
    {"OpenSG/", {}},
    {"Host/Include/", {}},
    {"AmbientOcclusion/", {}},
    {"Host/Core/Messages/", {"Host/Core/"}},
    {"Host/Core/", {}},
    {"Host/Scene/Types/", {}},
    {"Host/Scene/Surfaces/", {}},
    {"Host/Scene/", {"Host/Scene/Types/", "Host/Core/"}},
    {"Host/Scene/Results/", {"Host/Scene/", "Host/Scene/Surfaces/", "Host/Core/"}},
    {"Host/Raytracing/Threads/", {"Host/Core/"}},
    {"Host/Raytracing/Settings/", {}},
    {"Host/Raytracing/Sampling/", {}},
    {"Host/Raytracing/Tracer/", {"Host/Raytracing/Sampling/"}},
    {"Host/Raytracing/Embree/", {"Host/Raytracing/Tracer/", "Host/Raytracing/Threads/"}},
    {"Host/Raytracing/Hemisphere/Layout/", {"Host/Raytracing/Tracer/"}},
    {"Host/Raytracing/Hemisphere/Build/",
     {"Host/Raytracing/Hemisphere/Layout/", "Host/Raytracing/Tracer/", "Host/Raytracing/Threads/"}},
    {"Host/Raytracing/Hemisphere/TwoLevel/",
     {"Host/Raytracing/Hemisphere/Build/", "Host/Raytracing/Hemisphere/Layout/", "Host/Raytracing/Tracer/",
      "Host/Raytracing/Threads/"}},
    {"Host/Raytracing/Hemisphere/Kernel/", {"Host/Raytracing/Hemisphere/Layout/"}},
    {"Host/Raytracing/Hemisphere/",
     {"Host/Raytracing/Hemisphere/TwoLevel/", "Host/Raytracing/Hemisphere/Build/", "Host/Raytracing/Hemisphere/Kernel/",
      "Host/Raytracing/Hemisphere/Layout/", "Host/Raytracing/Tracer/"}},
    {"Host/Raytracing/Scene/",
     {"Host/Raytracing/Tracer/", "Host/Raytracing/Sampling/", "Host/Raytracing/Threads/", "Host/Scene/Surfaces/"}},
    {"Host/Raytracing/Light/",
     {"Host/Raytracing/Scene/", "Host/Raytracing/Tracer/", "Host/Raytracing/Sampling/", "Host/Raytracing/Threads/",
      "Host/Scene/Surfaces/"}},
    {"Host/Raytracing/Ranks/",
     {"Host/Raytracing/Fit/", "Host/Raytracing/Light/", "Host/Raytracing/Scene/", "Host/Raytracing/Tracer/",
      "Host/Raytracing/Sampling/", "Host/Raytracing/Threads/", "Host/Core/"}},
    {"Host/Raytracing/Ranks/Mpi/", {"Host/Raytracing/Ranks/"}},
    {"Host/Raytracing/Fit/",
     {"Host/Raytracing/Light/", "Host/Raytracing/Scene/", "Host/Raytracing/Tracer/", "Host/Raytracing/Sampling/",
      "Host/Raytracing/Threads/"}},
    {"Host/Raytracing/Contacts/", {"Host/Raytracing/Scene/", "Host/Raytracing/Tracer/", "Host/Raytracing/Threads/"}},
    {"Host/Raytracing/Refinement/",
     {"Host/Raytracing/Contacts/", "Host/Raytracing/Fit/", "Host/Raytracing/Light/", "Host/Raytracing/Scene/",
      "Host/Raytracing/Sampling/", "Host/Raytracing/Threads/", "Host/Scene/", "Host/Scene/Surfaces/", "Host/Core/"}},
    {"Host/Raytracing/",
     {"Host/Raytracing/Settings/", "Host/Raytracing/Refinement/", "Host/Raytracing/Fit/", "Host/Raytracing/Ranks/",
      "Host/Raytracing/Light/", "Host/Raytracing/Scene/", "Host/Raytracing/Hemisphere/", "Host/Raytracing/Embree/",
      "Host/Raytracing/Tracer/", "Host/Raytracing/Sampling/", "Host/Raytracing/Threads/", "Host/Scene/",
      "Host/Scene/Surfaces/", "Host/Core/"}},
    {"Host/Files/Storage/", {"Host/Core/"}},
    {"Host/Files/Gltf/", {"Host/Files/Storage/"}},
    {"Host/Files/Compression/", {"Host/Files/Gltf/", "Host/Files/Storage/"}},
    {"Host/Files/Meshes/", {"Host/Files/Gltf/", "Host/Files/Storage/", "Host/Scene/Surfaces/"}},
    {"Host/Files/Read/",
     {"Host/Files/Meshes/", "Host/Files/Gltf/", "Host/Files/Storage/", "Host/Scene/", "Host/Scene/Types/"}},
    {"Host/Files/Import/", {"Host/Files/Meshes/", "Host/Files/Gltf/", "Host/Files/Storage/", "Host/Core/"}},
    {"Host/Files/Results/", {"Host/Files/Meshes/", "Host/Files/Gltf/", "Host/Files/Storage/", "Host/Scene/Surfaces/"}},
    {"Host/Files/",
     {"Host/Files/Compression/", "Host/Files/Results/", "Host/Files/Import/", "Host/Files/Read/", "Host/Files/Gltf/",
      "Host/Files/Storage/", "Host/Scene/", "Host/Scene/Types/"}},
    {"Host/Viewing/",
     {"Host/Raytracing/", "Host/Raytracing/Tracer/", "Host/Raytracing/Threads/", "Host/Scene/", "Host/Scene/Types/",
      "Host/Scene/Surfaces/", "Host/Core/"}},
    {"Host/Scripting/", {"Host/Core/"}},
    {"Host/Scripting/Module/",
     {"Host/Scripting/", "Host/Core/", "Host/Scene/", "Host/Scene/Results/", "Host/Scene/Surfaces/", "Host/Files/",
      "Host/Viewing/", "Host/Raytracing/", "Host/Raytracing/Settings/"}},
    {"Apps/Studio/Document/Facts/", {"Host/Core/", "Host/Scene/", "Host/Scene/Surfaces/"}},
    {"Apps/Studio/Document/Undo/", {"Host/Core/", "Host/Scene/"}},
    {"Apps/Studio/Document/Kept/", {"Apps/Common/", "AmbientOcclusion/", "Host/Core/"}},
    {"Apps/Studio/Document/Files/", {"Host/Files/", "Host/Files/Storage/", "Host/Scene/Surfaces/"}},
    {"Apps/Studio/Document/",
     {"Apps/Studio/Document/Facts/", "Apps/Studio/Document/Files/", "Apps/Studio/Document/Kept/",
      "Apps/Studio/Document/Undo/", "Host/Scripting/", "Apps/Common/", "AmbientOcclusion/", "Host/Core/", "Host/Scene/",
      "Host/Scene/Results/", "Host/Scene/Surfaces/", "Host/Files/", "Host/Files/Storage/", "Host/Raytracing/",
      "Host/Raytracing/Settings/", "Host/Viewing/"}},
    {"Apps/Studio/Viewport/Scene/", {"Host/Raytracing/Scene/", "Host/Scene/", "Host/Scene/Surfaces/", "Host/Viewing/"}},
    {"Apps/Studio/Viewport/OpenGL/",
     {"Apps/Studio/Viewport/Scene/", "Host/Raytracing/Threads/", "Host/Scene/Surfaces/", "Host/Viewing/"}},
    {"Apps/Studio/Viewport/Tracing/",
     {"Apps/Studio/Viewport/Scene/", "Host/Raytracing/", "Host/Raytracing/Scene/", "Host/Raytracing/Threads/",
      "Host/Raytracing/Tracer/", "Host/Scene/Surfaces/", "Host/Viewing/"}},
    {"Apps/Studio/Viewport/",
     {"Apps/Studio/Viewport/Scene/", "Apps/Studio/Viewport/OpenGL/", "Apps/Studio/Viewport/Tracing/",
      "Host/Scene/Types/", "Host/Scene/Surfaces/"}},
    {"Apps/Studio/Panels/Calculation/",
     {"Apps/Studio/Document/", "Apps/Studio/Document/Facts/", "Apps/Common/", "AmbientOcclusion/"}},
    {"Apps/Studio/Panels/History/", {"Apps/Studio/Document/"}},
    {"Apps/Studio/Panels/Log/", {"Apps/Studio/Document/", "Host/Core/"}},
    {"Apps/Studio/Panels/Part/",
     {"Apps/Studio/Document/", "Apps/Studio/Document/Facts/", "AmbientOcclusion/", "Host/Core/"}},
    {"Apps/Studio/Panels/Run/",
     {"Apps/Studio/Document/", "Apps/Studio/Document/Kept/", "Apps/Studio/Document/Undo/", "Apps/Common/",
      "Host/Raytracing/Settings/"}},
    {"Apps/Studio/Panels/Script/", {"Apps/Studio/Document/", "Apps/Studio/Document/Kept/"}},
    {"Apps/Studio/Panels/Scene/", {"Apps/Studio/Document/", "Apps/Studio/Document/Facts/", "AmbientOcclusion/"}},
    {"Apps/Studio/Translations/", {}},
    {"Apps/Studio/Window/Guards/", {}},
    {"Apps/Studio/Window/Pages/", {"Apps/Studio/Document/Kept/"}},
    {"Apps/Studio/Window/",
     {"Apps/Studio/Window/Guards/", "Apps/Studio/Window/Pages/", "Apps/Studio/Document/", "Apps/Studio/Document/Kept/",
      "Apps/Studio/Viewport/", "Apps/Studio/Panels/Calculation/", "Apps/Studio/Panels/History/",
      "Apps/Studio/Panels/Log/", "Apps/Studio/Panels/Part/", "Apps/Studio/Panels/Run/", "Apps/Studio/Panels/Scene/",
      "Apps/Studio/Panels/Script/", "Apps/Common/", "AmbientOcclusion/", "Host/Core/", "Host/Files/",
      "Host/Files/Storage/", "Host/Scene/Types/", "Host/Viewing/"}},
};

/// The folder of a file, with a trailing '/'.
std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

bool needsRow(const ktHouseFile& file) {
    return isBelowOne(file, {"OpenSG/", "Host/", "AmbientOcclusion/", "Apps/Studio/"});
}

/// Whether files of the folder `from` may include headers of the folder `to`.
bool sees(const Arrow& from, const std::string& to) {
    return to == from.from || to == "OpenSG/" || (to == "Host/Include/" && from.from != "OpenSG/") ||
           std::find(from.to.begin(), from.to.end(), to) != from.to.end();
}

/// Headers of a library, and the folders that may include them.
struct Library {
    std::string name;
    std::regex header;
    Folders allowed;
};

// Tests and benchmarks may use any of these libraries to compare with.
const std::vector<Library> libraries = {
    {"Eigen", std::regex("Eigen/.*"), {"Host/Raytracing/Fit/", "Host/Files/Import/"}},
    {"Embree", std::regex("embree[34]/.*"), {"Host/Raytracing/", "Tests/", "Benchmarks/"}},
    {"TBB", std::regex("(oneapi/)?tbb/.*"), {"Host/Raytracing/", "Tests/", "Benchmarks/"}},
    {"nlohmann-json", std::regex("nlohmann/.*"), {"Host/Files/", "Tests/", "Benchmarks/"}},
    {"Assimp", std::regex("assimp/.*"), {"Host/Files/", "Tests/", "Benchmarks/"}},
    {"minizip", std::regex("minizip/.*"), {"Host/Files/Import/", "Tests/"}},
    {"Draco", std::regex("draco/.*"), {"Host/Files/Compression/", "Tests/"}},
    {"meshoptimizer", std::regex("meshoptimizer.h"), {"Host/Files/Compression/", "Tests/"}},
    {"libpng", std::regex("png\\.h"), {"Host/Files/Read/"}},
    {"WebP", std::regex("webp/.*"), {"Host/Files/Read/", "Tests/"}},
    {"Python",
     std::regex("(boost/python.*|Python\\.h)"),
     {"AmbientOcclusion/ktAmbientOcclusionPython", "Host/Scripting/", "Tests/"}},
};

bool isWindowHeader(const std::string& header, const fs::path& qtIncludeDir) {
    const std::string name = fs::path(header).filename().string();
    return name[0] == 'Q' && name.rfind("QUndo", 0) != 0 && fs::exists(qtIncludeDir / "QtWidgets" / name);
}

} // namespace

std::vector<std::string> findIncludeViolations(const std::vector<ktHouseFile>& files, const fs::path& qtIncludeDir) {
    // Every header of the project, by its name without the folder.
    std::map<std::string, std::set<std::string>> owners;
    for (const ktHouseFile& file : files)
        if (file.endsIn({".h"}))
            owners[fs::path(file.path).filename().string()].insert(file.path);

    static const std::regex include(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"])");
    std::vector<std::string> violations;
    for (const ktHouseFile& file : files) {
        if (!file.endsIn({".h", ".cpp"}))
            continue;
        const auto arrow =
            std::find_if(arrows.begin(), arrows.end(), [&](const Arrow& a) { return folderOf(file.path) == a.from; });
        if (arrow == arrows.end() && needsRow(file))
            violations.push_back(file.path + ":1: its folder has no row in `arrows` (Tests/House/ktHouseIncludes.cpp)");
        for (size_t number = 0; number < file.lines.size(); ++number) {
            std::smatch match;
            if (!std::regex_search(file.lines[number], match, include))
                continue;
            const bool isQuoted = match[1] == "\"";
            const std::string header = match[2];
            const auto report = [&](const std::string& reason) {
                violations.push_back(file.path + ":" + std::to_string(number + 1) + ": " + reason);
            };

            for (const Library& library : libraries)
                if (std::regex_match(header, library.header) && !isBelowOne(file, library.allowed))
                    report("files in this folder may not include headers of " + library.name + ": " + header);
            if (isWindowHeader(header, qtIncludeDir) &&
                !isBelowOne(file, {"Apps/Studio/", "Tests/Studio/", "Benchmarks/ktBenchmarkViewport",
                                   "Benchmarks/ktBenchmarkStudio"}))
                report("files in this folder may not include headers of QtWidgets: " + header);
            if (isQuoted && header.find('/') != std::string::npos)
                report("include headers by bare name, without a folder: " + header);
            if (header.rfind("OpenSG/", 0) == 0 && isQuoted)
                report("include scene graph headers as <OpenSG/...>: " + header);

            const auto owner = owners.find(fs::path(header).filename().string());
            if (arrow == arrows.end() || owner == owners.end())
                continue;
            const bool isAllowed = std::any_of(owner->second.begin(), owner->second.end(),
                                               [&](const std::string& path) { return sees(*arrow, folderOf(path)); });
            if (!isAllowed)
                report("files in " + arrow->from + " may not include " + *owner->second.begin());
        }
    }
    return violations;
}
