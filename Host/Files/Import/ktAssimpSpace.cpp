// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds out the unit and the up axis of an imported file, and converts to metres with y up.
#include "ktAssimpSpace.h"

#include <algorithm>
#include <array>
#include <assimp/commonMetaData.h>
#include <cmath>
#include <memory>
#include <minizip/unzip.h>
#include <QString>
#include <regex>
#include <utility>

namespace {

constexpr std::size_t longestStart = 1 << 16; // bytes of a 3MF model in which its first element is

double metaNumber(const aiScene& scene, const char* key, double otherwise) {
    if (!scene.mMetaData)
        return otherwise;
    double asDouble = 0.0;
    float asFloat = 0.0f;
    std::int32_t asInt = 0;
    if (scene.mMetaData->Get(key, asInt))
        return asInt;
    if (scene.mMetaData->Get(key, asDouble))
        return asDouble;
    return scene.mMetaData->Get(key, asFloat) ? static_cast<double>(asFloat) : otherwise;
}

struct CloseArchive {
    void operator()(void* archive) const { unzClose(archive); }
};

/// The beginning of the model in a 3MF package, which is a ZIP archive; empty if there is none.
std::string read3mfStart(const std::string& path) {
    const std::unique_ptr<void, CloseArchive> archive(unzOpen64(path.c_str()));
    for (int found = archive ? unzGoToFirstFile(archive.get()) : UNZ_END_OF_LIST_OF_FILE; found == UNZ_OK;
         found = unzGoToNextFile(archive.get())) {
        char name[1024] = "";
        unzGetCurrentFileInfo64(archive.get(), nullptr, name, sizeof name - 1, nullptr, 0, nullptr, 0);
        if (!QString::fromUtf8(name).endsWith(".model", Qt::CaseInsensitive) ||
            unzOpenCurrentFile(archive.get()) != UNZ_OK)
            continue;
        std::string start(longestStart, '\0');
        const int count = unzReadCurrentFile(archive.get(), &start[0], static_cast<unsigned>(start.size()));
        start.resize(static_cast<std::size_t>(std::max(count, 0)));
        unzCloseCurrentFile(archive.get());
        return start;
    }
    return {};
}

/// Metres per unit of a 3MF package. Assimp does not read the unit. Without one, a unit is a millimetre (3MF Core
/// Specification).
double metresIn3mf(const std::string& path) {
    static const std::pair<const char*, double> units[] = {{"micron", 1e-6}, {"millimeter", 1e-3}, {"centimeter", 1e-2},
                                                           {"inch", 0.0254}, {"foot", 0.3048},     {"meter", 1.0}};
    static const std::regex attribute("<(?:\\w+:)?model\\s[^>]*\\bunit\\s*=\\s*[\"'](\\w+)[\"']");
    const std::string start = read3mfStart(path);
    std::smatch found;
    if (std::regex_search(start, found, attribute))
        for (const auto& [name, metres] : units)
            if (found[1] == name)
                return metres;
    return 1e-3;
}

/// Whether an importer has turned z up to y up: the root's rotation. Several importers do so.
bool hasTurnedZUp(const aiScene& scene) {
    if (!scene.mRootNode)
        return false;
    const aiMatrix4x4& m = scene.mRootNode->mTransformation;
    const ai_real scale = m.a1, slack = ai_real(1e-5) * std::abs(scale);
    const std::array<std::pair<ai_real, ai_real>, 9> entries = {{{m.a1, scale},
                                                                 {m.a2, 0},
                                                                 {m.a3, 0},
                                                                 {m.b1, 0},
                                                                 {m.b2, 0},
                                                                 {m.b3, scale},
                                                                 {m.c1, 0},
                                                                 {m.c2, -scale},
                                                                 {m.c3, 0}}};
    return scale > 0 && std::all_of(entries.begin(), entries.end(),
                                    [&](const auto& entry) { return std::abs(entry.first - entry.second) <= slack; });
}

} // namespace

ktAssimpSpace ktFindAssimpSpace(const aiScene& scene, const ktFileToImport& file, std::optional<ktUpAxis> up) {
    const auto isAny = [&](std::initializer_list<const char*> names) {
        return std::any_of(names.begin(), names.end(), [&](const char* name) { return file.format == name; });
    };
    ktAssimpSpace space;
    space.hasUpAxis = up || !isAny({"obj", "ply", "stl", "off"});
    if (isAny({"dae", "zae"}))
        space.metres = 1.0; // Assimp has converted
    else if (isAny({"ifc", "ifczip", "step", "stp"})) {
        space.metres = 1.0; // likewise
        space.isUnitSure = true;
    } else if (isAny({"3mf"})) {
        space.metres = metresIn3mf(file.path);
        space.isUnitSure = true;
        space.up = ktUpAxis::Z; // the build plate is below
    } else if (isAny({"fbx"})) {
        const double centimetres = metaNumber(scene, "UnitScaleFactor", 0.0);
        space.metres = centimetres > 0.0 && std::isfinite(centimetres) ? centimetres / 100.0 : 0.0;
        const double axis = metaNumber(scene, "UpAxis", 1.0);
        space.up = axis == 0.0 ? ktUpAxis::X : axis == 2.0 ? ktUpAxis::Z : ktUpAxis::Y;
        space.isUpNegative = metaNumber(scene, "UpAxisSign", 1.0) < 0.0;
    }
    if (up) {
        space.up = *up;
        space.isUpNegative = false;
        space.isTurned = hasTurnedZUp(scene);
    }
    return space;
}

void ktConvertAssimpSpace(ktAssimpTarget& target, const ktAssimpSpace& space) {
    const bool isScaled = space.metres > 0.0 && space.metres != 1.0;
    // Angles about x and about z; the up axis is never turned about both.
    double aboutX = space.isTurned ? 90.0 : 0.0;
    const double aboutZ = space.up != ktUpAxis::X ? 0.0 : space.isUpNegative ? -90.0 : 90.0;
    if (space.up == ktUpAxis::Z)
        aboutX += space.isUpNegative ? 90.0 : -90.0;
    else if (space.up == ktUpAxis::Y && space.isUpNegative)
        aboutX += 180.0;
    if ((aboutX == 0.0 && aboutZ == 0.0 && !isScaled) || !target.json.contains("scenes"))
        return;
    // Of half the angle. Multiples of 90 degrees: without the rounding error of a zero.
    const auto exact = [](double value) { return std::abs(value) < 1e-12 ? 0.0 : value; };
    const double radians = 0.5 * 3.14159265358979323846 / 180.0;
    const double sx = std::sin(aboutX * radians), cx = std::cos(aboutX * radians);
    const double sz = std::sin(aboutZ * radians), cz = std::cos(aboutZ * radians);
    ktJson root = {{"name", "unit"}, {"children", target.json["scenes"][0]["nodes"]}};
    if (aboutX != 0.0 || aboutZ != 0.0)
        root["rotation"] = {exact(sx * cz), exact(sx * sz), exact(cx * sz), exact(cx * cz)}; // about x first
    if (isScaled)
        root["scale"] = {space.metres, space.metres, space.metres};
    const std::size_t node = target.add("nodes", std::move(root));
    target.json["scenes"][0]["nodes"] = {node};
}
