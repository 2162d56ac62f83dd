// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads .glb and .gltf files for tests, without any code of the baker.
#include "ktBakedFile.h"

#include "ktBakeProcess.h"

#include <cstring>
#include <gtest/gtest.h>
#include <QByteArray>

namespace {

std::uint32_t wordAt(const std::string& bytes, size_t offset) {
    std::uint32_t value = 0;
    if (offset + 4 <= bytes.size())
        std::memcpy(&value, bytes.data() + offset, 4);
    return value;
}

} // namespace

ktBakedFile::ktBakedFile(const std::string& fileName) {
    const std::string bytes = readFile(fileName);
    if (bytes.compare(0, 4, "glTF") == 0)
        openBinary(fileName, bytes);
    else
        json = nlohmann::json::parse(bytes, nullptr, false);
    if (json.is_object())
        readBuffers(fileName);
    else
        ADD_FAILURE() << fileName << " is not a complete scene file";
}

void ktBakedFile::openBinary(const std::string& fileName, const std::string& bytes) {
    EXPECT_EQ(wordAt(bytes, 4), 2u) << fileName;
    EXPECT_EQ(wordAt(bytes, 8), bytes.size()) << fileName;
    size_t chunk = 12;
    while (chunk + 8 <= bytes.size()) {
        const size_t length = wordAt(bytes, chunk);
        EXPECT_EQ(length % 4, 0u) << fileName << ": a chunk is not aligned";
        const std::string content = bytes.substr(chunk + 8, length);
        EXPECT_EQ(content.size(), length) << fileName;
        if (chunk == 12)
            json = nlohmann::json::parse(content, nullptr, false);
        else if (buffers.empty())
            buffers.push_back(content);
        chunk += 8 + length;
    }
}

void ktBakedFile::readBuffers(const std::string& fileName) {
    const auto all = json.value("buffers", nlohmann::json::array());
    for (size_t i = 0; i < all.size(); ++i) {
        const std::string uri = all[i].value("uri", "");
        const auto length = all[i].at("byteLength").get<size_t>();
        if (uri.rfind("data:", 0) == 0)
            buffers.push_back(
                QByteArray::fromBase64(QByteArray::fromStdString(uri.substr(uri.find(',') + 1))).toStdString());
        else if (!uri.empty())
            buffers.push_back(readFile(std::filesystem::path(fileName).parent_path() /
                                       QByteArray::fromPercentEncoding(QByteArray::fromStdString(uri)).toStdString()));
        if (i >= buffers.size() || buffers[i].size() < length)
            ADD_FAILURE() << fileName << ": buffer " << i << " is too short";
        buffers.resize(std::max(buffers.size(), i + 1));
        EXPECT_LE(buffers[i].size(), uri.empty() ? length + 3 : buffers[i].size())
            << fileName << ": extra bytes that are no padding";
        buffers[i].resize(length);
    }
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
    // Floats, or colours as 16-bit fractions of 65,535.
    const bool isFloat = accessor.at("componentType") == 5126;
    EXPECT_TRUE(isFloat || (accessor.at("componentType") == 5123 && accessor.value("normalized", false)));
    const size_t size = isFloat ? 4 : 2;
    const size_t stride = view.value("byteStride", size * width);
    const std::string& binary = buffers.at(view.at("buffer").get<size_t>());
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
    const std::string& binary = buffers.at(view.at("buffer").get<size_t>());
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
