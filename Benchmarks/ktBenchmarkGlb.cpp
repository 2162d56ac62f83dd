// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes a benchmark scene as binary glTF, so that ktbake and other programs can bake the same geometry.
#include "ktBenchmarkGlb.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace {

using Json = nlohmann::json;

constexpr int floats = 5126, unsignedInts = 5125; // component types

// Adds an accessor with a separate view. @return its index
template <class T>
std::size_t addAccessor(Json& document, std::uint64_t& length, const T* data, std::size_t count, const char* type,
                        std::size_t components, int componentType) {
    const std::size_t bytes = count * components * sizeof(T);
    document["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", length}, {"byteLength", bytes}});
    length += bytes;
    Json accessor = {{"bufferView", document["bufferViews"].size() - 1},
                     {"componentType", componentType},
                     {"count", count},
                     {"type", type}};
    if (components == 3) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            T lowest = std::numeric_limits<T>::max(), highest = std::numeric_limits<T>::lowest();
            for (std::size_t i = axis; i < 3 * count; i += 3) {
                lowest = std::min(lowest, data[i]);
                highest = std::max(highest, data[i]);
            }
            accessor["min"].push_back(lowest);
            accessor["max"].push_back(highest);
        }
    }
    document["accessors"].push_back(accessor);
    return document["accessors"].size() - 1;
}

void writeWord(std::ofstream& file, std::uint64_t word) {
    const auto value = static_cast<std::uint32_t>(word);
    file.write(reinterpret_cast<const char*>(&value), sizeof value);
}

} // namespace

void ktSaveBenchmarkScene(const ktBenchmarkScene& scene, const std::string& path) {
    Json document = {{"asset", {{"version", "2.0"}}}, {"scene", 0}, {"scenes", {{{"nodes", Json::array()}}}}};
    std::uint64_t length = 0;
    for (const ktBenchmarkMesh& mesh : scene.meshes) {
        const std::size_t vertices = mesh.vertexCount();
        const std::size_t position = addAccessor(document, length, mesh.positions.data(), vertices, "VEC3", 3, floats);
        Json attributes = {{"POSITION", position}};
        if (mesh.writesNormals)
            attributes["NORMAL"] = addAccessor(document, length, mesh.normals.data(), vertices, "VEC3", 3, floats);
        const std::size_t index =
            addAccessor(document, length, mesh.indices.data(), mesh.indices.size(), "SCALAR", 1, unsignedInts);
        document["meshes"].push_back({{"primitives", {{{"attributes", attributes}, {"indices", index}}}}});
        document["nodes"].push_back({{"mesh", document["meshes"].size() - 1}});
        document["scenes"][0]["nodes"].push_back(document["nodes"].size() - 1);
    }
    document["buffers"] = {{{"byteLength", length}}};
    std::string text = document.dump();
    text.resize((text.size() + 3) / 4 * 4, ' ');
    const std::uint64_t whole = 12 + 8 + text.size() + 8 + length;
    if (whole > std::numeric_limits<std::uint32_t>::max())
        throw std::runtime_error(path + ": the scene is too large for a binary glTF file");
    std::ofstream file(path, std::ios::binary);
    for (const std::uint64_t word :
         {std::uint64_t(0x46546C67), std::uint64_t(2), whole, std::uint64_t(text.size()), std::uint64_t(0x4E4F534A)})
        writeWord(file, word);
    file << text;
    writeWord(file, length);
    writeWord(file, 0x004E4942);
    for (const ktBenchmarkMesh& mesh : scene.meshes) {
        const auto bytes = static_cast<std::streamsize>(mesh.normals.size() *
                                                        sizeof(float)); // positions have one more float as padding
        file.write(reinterpret_cast<const char*>(mesh.positions.data()), bytes);
        if (mesh.writesNormals)
            file.write(reinterpret_cast<const char*>(mesh.normals.data()), bytes);
        file.write(reinterpret_cast<const char*>(mesh.indices.data()),
                   static_cast<std::streamsize>(mesh.indices.size() * sizeof(std::uint32_t)));
    }
    file.close();
    if (!file)
        throw std::runtime_error(path + ": cannot be written");
}
