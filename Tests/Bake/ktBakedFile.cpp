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
    const size_t count = accessor.at("count").get<size_t>();
    const size_t start = view.value("byteOffset", size_t(0)) + accessor.value("byteOffset", size_t(0));
    // Floats, or colours as fractions of 65,535.
    const bool isFloat = accessor.at("componentType") == 5126;
    EXPECT_TRUE(isFloat || (accessor.at("componentType") == 5123 && accessor.value("normalized", false)));
    const size_t size = isFloat ? 4 : 2;
    const size_t stride = view.value("byteStride", size * width);
    EXPECT_LE(start + stride * (count - 1) + size * width, binary.size());
    std::vector<float> values;
    for (size_t i = 0; i < count * width; ++i) {
        const char* const place = binary.data() + start + stride * (i / width) + size * (i % width);
        float value = 0;
        std::uint16_t fraction = 0;
        std::memcpy(isFloat ? static_cast<void*>(&value) : &fraction, place, size);
        values.push_back(isFloat ? value : static_cast<float>(fraction) / 65535);
    }
    return values;
}

std::vector<std::uint32_t> ktBakedFile::indices(const nlohmann::json& primitive) const {
    const auto& accessor = json.at("accessors").at(primitive.at("indices").get<size_t>());
    const auto& view = json.at("bufferViews").at(accessor.at("bufferView").get<size_t>());
    const size_t size = accessor.at("componentType") == 5125 ? 4 : accessor.at("componentType") == 5123 ? 2 : 1;
    const size_t start = view.value("byteOffset", size_t(0)) + accessor.value("byteOffset", size_t(0));
    std::vector<std::uint32_t> values(accessor.at("count").get<size_t>());
    EXPECT_LE(start + size * values.size(), binary.size());
    for (size_t i = 0; i < values.size(); ++i)
        std::memcpy(&values[i], binary.data() + start + size * i, size);
    return values;
}

std::vector<float> ktBakedFile::allOcclusion() const {
    std::vector<float> all;
    for (const auto& primitive : primitives())
        for (const float value : floats(primitive, "_AO"))
            all.push_back(value);
    return all;
}
