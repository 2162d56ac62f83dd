// SPDX-License-Identifier: LGPL-2.1-or-later
// Makes glTF documents with cubes for tests of ktbake.
#include "ktBoxScene.h"

#include <QByteArray>

nlohmann::json makeBoxes(const std::vector<ktTestBox>& boxes) {
    std::vector<float> positions, normals;
    std::vector<std::uint16_t> indices;
    for (int axis = 0; axis < 3; ++axis)
        for (int side = -1; side <= 1; side += 2) {
            const auto first = static_cast<std::uint16_t>(positions.size() / 3);
            for (int corner = 0; corner < 4; ++corner) {
                const float u = corner == 1 || corner == 2 ? 0.5f : -0.5f, v = corner >= 2 ? 0.5f : -0.5f;
                float position[3] = {0, 0, 0}, normal[3] = {0, 0, 0};
                position[axis] = 0.5f * static_cast<float>(side);
                position[(axis + 1) % 3] = u;
                position[(axis + 2) % 3] = v;
                normal[axis] = static_cast<float>(side);
                positions.insert(positions.end(), position, position + 3);
                normals.insert(normals.end(), normal, normal + 3);
            }
            for (const int corner :
                 side > 0 ? std::array<int, 6>{0, 1, 2, 0, 2, 3} : std::array<int, 6>{0, 2, 1, 0, 3, 2})
                indices.push_back(static_cast<std::uint16_t>(first + corner));
        }
    QByteArray bytes;
    bytes.append(reinterpret_cast<const char*>(positions.data()), static_cast<int>(4 * positions.size()));
    bytes.append(reinterpret_cast<const char*>(normals.data()), static_cast<int>(4 * normals.size()));
    bytes.append(reinterpret_cast<const char*>(indices.data()), static_cast<int>(2 * indices.size()));

    nlohmann::json scene = {
        {"asset", {{"version", "2.0"}}},
        {"scene", 0},
        {"scenes", {{{"nodes", nlohmann::json::array()}}}},
        {"buffers",
         {{{"byteLength", bytes.size()},
           {"uri", "data:application/octet-stream;base64," + bytes.toBase64().toStdString()}}}},
        {"bufferViews",
         {{{"buffer", 0}, {"byteOffset", 0}, {"byteLength", 288}},
          {{"buffer", 0}, {"byteOffset", 288}, {"byteLength", 288}},
          {{"buffer", 0}, {"byteOffset", 576}, {"byteLength", 72}}}},
        {"accessors",
         {{{"bufferView", 0},
           {"componentType", 5126},
           {"count", 24},
           {"type", "VEC3"},
           {"min", {-0.5, -0.5, -0.5}},
           {"max", {0.5, 0.5, 0.5}}},
          {{"bufferView", 1}, {"componentType", 5126}, {"count", 24}, {"type", "VEC3"}},
          {{"bufferView", 2}, {"componentType", 5123}, {"count", 36}, {"type", "SCALAR"}}}},
    };
    for (const ktTestBox& box : boxes) {
        const size_t index = scene["scenes"][0]["nodes"].size();
        scene["scenes"][0]["nodes"].push_back(index);
        scene["nodes"].push_back({{"name", box.name}, {"mesh", index}, {"translation", box.middle}});
        scene["meshes"].push_back(
            {{"primitives", {{{"attributes", {{"POSITION", 0}, {"NORMAL", 1}}}, {"indices", 2}}}}});
    }
    return scene;
}

void addLamp(nlohmann::json& scene, double intensity) {
    const size_t index = scene["nodes"].size();
    scene["extensionsUsed"] = {"KHR_lights_punctual"};
    scene["extensions"]["KHR_lights_punctual"]["lights"] = {{{"type", "point"}, {"intensity", intensity}}};
    scene["nodes"].push_back(
        {{"name", "lamp"}, {"translation", {0.3, 2, 0.2}}, {"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}}});
    scene["scenes"][0]["nodes"].push_back(index);
}
