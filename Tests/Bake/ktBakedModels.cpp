// SPDX-License-Identifier: LGPL-2.1-or-later
// Lists the test models and the sets of ktbake options that tests of the output bake with.
#include "ktBakedModels.h"

#include "ktBakeProcess.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

std::vector<std::string> ktGoodModels() {
    std::vector<std::string> models;
    for (const char* name :
         {"2CylinderEngine-glTF-Binary/2CylinderEngine.glb", "BoxTextured-glTF-Binary/BoxTextured.glb",
          "BoxTextured-glTF/BoxTextured.gltf", "BoxTextured-glTF-Embedded/BoxTextured.gltf",
          "BoxTexcoords-glTF/boxTexcoords.gltf", "BoxTextured-glTF-pbrSpecularGlossiness/BoxTextured.gltf",
          "ClearCoat-glTF/ClearCoatTest.gltf", "textureTransform/TextureTransformTest.gltf", "cameras/Cameras.gltf",
          "glTF-Sample-Models/AnimatedMorphCube-glTF/AnimatedMorphCube.gltf", "simple_skin/simple_skin.gltf",
          "glTF-Asset-Generator/Mesh_PrimitiveMode/Mesh_PrimitiveMode_05.gltf",
          "glTF-Asset-Generator/Mesh_PrimitiveMode/Mesh_PrimitiveMode_06.gltf",
          "glTF-Asset-Generator/Mesh_PrimitiveMode/Mesh_PrimitiveMode_12.gltf",
          "glTF-Asset-Generator/Mesh_PrimitiveMode/Mesh_PrimitiveMode_13.gltf"})
        models.push_back(model(std::string("glTF2/") + name));
    if (const char* const more = std::getenv("KT_MORE_MODELS"))
        for (const auto& entry : std::filesystem::directory_iterator(more))
            if (entry.path().extension() == ".glb" || entry.path().extension() == ".gltf")
                models.push_back(entry.path().string());
    return models;
}

std::vector<ktWayToBake> ktWaysToBake() {
    return {{"plain", {"--shadow-quality", "0", "--no-indirect"}},
            {"indirect", {"--shadow-quality", "0", "--gather-quality", "0", "--color-bleeding", "--shade", "none"}},
            {"everything",
             {"--shadow-quality", "2", "--no-indirect", "--subdivide", "--min-edge-length", "10%", "--unique-instances",
              "--ground-plane"}}};
}
