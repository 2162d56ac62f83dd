// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktBakedFile.h"

#include "ktBakeProcess.h"

#include <cstring>
#include <gtest/gtest.h>

ktBakedFile::ktBakedFile(const std::string& fileName) {
    const std::string bytes = readFile(fileName);
    const auto word = [&](size_t offset) {
        std::uint32_t value = 0;
        if (offset + 4 <= bytes.size())
            std::memcpy(&value, bytes.data() + offset, 4);
        return value;
    };
    if (bytes.compare(0, 4, "glTF") != 0 || word(8) != bytes.size()) {
        ADD_FAILURE() << fileName << " is no whole .glb file";
        return;
    }
    const size_t jsonLength = word(12);
    json = nlohmann::json::parse(bytes.substr(20, jsonLength));
    const size_t binaryStart = 20 + jsonLength;
    binary = bytes.substr(std::min(binaryStart + 8, bytes.size()), word(binaryStart));
}

std::vector<nlohmann::json> ktBakedFile::primitives() const {
    std::vector<nlohmann::json> all;
    for (const auto& mesh : json.value("meshes", nlohmann::json::array()))
        for (const auto& primitive : mesh.at("primitives"))
            all.push_back(primitive);
    return all;
}

std::vector<float> ktBakedFile::floats(const nlohmann::json& primitive, const std::string& attribute) const {
    if (!primitive.at("attributes").contains(attribute))
        return {};
    const auto& accessor = json.at("accessors").at(primitive.at("attributes").at(attribute).get<size_t>());
    const auto& view = json.at("bufferViews").at(accessor.at("bufferView").get<size_t>());
    const std::string type = accessor.at("type");
    const size_t width = type == "SCALAR" ? 1 : static_cast<size_t>(type.back() - '0');
    const size_t count = accessor.at("count").get<size_t>() * width;
    const size_t start = view.value("byteOffset", size_t(0)) + accessor.value("byteOffset", size_t(0));
    EXPECT_EQ(accessor.at("componentType"), 5126);
    EXPECT_EQ(view.value("byteStride", 4 * width), 4 * width);
    EXPECT_LE(start + 4 * count, binary.size());
    std::vector<float> values(count);
    if (start + 4 * count <= binary.size())
        std::memcpy(values.data(), binary.data() + start, 4 * count);
    return values;
}

std::vector<float> ktBakedFile::allOcclusion() const {
    std::vector<float> all;
    for (const auto& primitive : primitives())
        for (const float value : floats(primitive, "_AO"))
            all.push_back(value);
    return all;
}
