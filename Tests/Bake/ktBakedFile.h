// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// A .glb or .gltf file, read for tests. Uses no code of the baker.
class ktBakedFile {
public:
    /// If the file cannot be read, the test fails and the object is empty.
    explicit ktBakedFile(const std::string& fileName);

    nlohmann::json json;
    std::vector<std::string> buffers; ///< bytes of each of the document's buffers

    /// All primitives, mesh by mesh.
    std::vector<nlohmann::json> primitives() const;
    /// Values of a vertex attribute of tightly packed floats; empty if the primitive does not have it.
    std::vector<float> floats(const nlohmann::json& primitive, const std::string& attribute) const;
    /// Vertex numbers of the triangles of an indexed primitive.
    std::vector<std::uint32_t> indices(const nlohmann::json& primitive) const;
    /// `_AO` of all primitives, one after the other.
    std::vector<float> allOcclusion() const;

private:
    void openBinary(const std::string& fileName, const std::string& bytes);
    void readBuffers(const std::string& fileName);
};
