// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds the scenes of the quality report by name: generated ones, well-known models, test models of Assimp.
#include "ktQualitySceneList.h"

#include "ktBenchmarkGlb.h"
#include "ktQualityModels.h"

#include <filesystem>
#include <map>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

// Below the folder of the models.
const std::map<std::string, std::string> models = {
    {"truck", "CesiumMilkTruck.glb"}, {"nefertiti", "nefertiti.obj"}, {"bunny", "stanford-bunny.obj"}};

// Below the folder of Assimp's test models.
const std::map<std::string, std::string> samples = {
    {"engine", "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"},
    {"clearcoat", "glTF2/ClearCoat-glTF/ClearCoatTest.gltf"},
    {"collada", "Collada/COLLADA.dae"},
    {"cinema4d", "Collada/Cinema4D.dae"},
    {"cubes", "FBX/cubes_with_names.fbx"},
    {"duck", "Collada/duck.dae"},
    {"house", "IFC/AC14-FZK-Haus.ifc"},
    {"jeep", "MS3D/jeep1.ms3d"},
    {"spider", "OBJ/spider.obj"},
    {"suzanne", "BLEND/Suzanne_248.blend"},
    {"wuson", "PLY/Wuson.ply"},
};

// Names that mean several scenes.
const std::map<std::string, std::string> groups = {
    {"generated", "plates,shelf,parts,room"},
    {"models", "engine,truck,nefertiti,bunny"},
    {"samples", "clearcoat,collada,cinema4d,cubes,duck,house,jeep,spider,suzanne,wuson"},
};

ktQualitySceneEntry find(const std::string& name, const ktQualityFolders& folders) {
    if (const std::optional<ktBenchmarkScene> scene = ktMakeQualityModel(name)) {
        const std::string path = folders.generated + "/" + name + ".glb";
        ktSaveBenchmarkScene(*scene, path);
        return {name, path};
    }
    std::string path;
    if (const auto model = models.find(name); model != models.end()) {
        if (folders.models.empty())
            throw std::runtime_error("--scenes " + name + ": needs --models FOLDER");
        path = folders.models + "/" + model->second;
    } else if (const auto sample = samples.find(name); sample != samples.end()) {
        path = folders.samples + "/" + sample->second;
    } else {
        throw std::runtime_error("--scenes " + name + ": there is no such scene");
    }
    if (!fs::exists(path))
        throw std::runtime_error(path + ": does not exist");
    return {name, path};
}

} // namespace

const char* const ktQualitySceneHelp =
    "Scenes by name, separated by commas: plates, shelf, parts, room; engine, truck, nefertiti, bunny; clearcoat, "
    "collada, "
    "cinema4d, cubes, duck, house, jeep, spider, suzanne, wuson; or groups of them: generated, models, samples";

std::vector<ktQualitySceneEntry> ktFindQualityScenes(const std::string& names, const ktQualityFolders& folders) {
    std::vector<ktQualitySceneEntry> entries;
    std::istringstream words(names);
    for (std::string word; std::getline(words, word, ',');) {
        const auto group = groups.find(word);
        std::istringstream members(group == groups.end() ? word : group->second);
        for (std::string name; std::getline(members, name, ',');)
            entries.push_back(find(name, folders));
    }
    return entries;
}
