// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes small glTF files byte by byte for tests, and keeps the temporary folders for them.
#include "ktTestGltf.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <QByteArray>
#include <sstream>

std::vector<std::string> ktTestFolder::names() const {
    std::vector<std::string> found;
    const std::filesystem::path base = dir.path().toStdString();
    for (const auto& entry : std::filesystem::recursive_directory_iterator(base))
        if (!entry.is_directory())
            found.push_back(std::filesystem::relative(entry.path(), base).string());
    std::sort(found.begin(), found.end());
    return found;
}

void ktWriteTestFile(const QString& path, const std::string& content) {
    const std::filesystem::path file = path.toStdString();
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
}

std::string ktReadTestFile(const QString& path) {
    std::ifstream file(path.toStdString(), std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

std::size_t ktTestGltf::floats(const std::vector<float>& data, int width) {
    static const char* const types[] = {"", "SCALAR", "VEC2", "VEC3", "VEC4"};
    ktJson entry = {{"bufferView", view(data)},
                    {"componentType", 5126},
                    {"count", data.size() / static_cast<std::size_t>(width)},
                    {"type", width == 16 ? "MAT4" : types[width]}};
    for (int c = 0; c < width && width == 3; ++c) {
        float low = data[c], high = data[c];
        for (std::size_t i = c; i < data.size(); i += 3) {
            low = std::min(low, data[i]);
            high = std::max(high, data[i]);
        }
        entry["min"].push_back(static_cast<double>(low));
        entry["max"].push_back(static_cast<double>(high));
    }
    return accessor(std::move(entry));
}

std::size_t ktTestGltf::indices(const std::vector<std::uint16_t>& data) {
    return accessor({{"bufferView", view(data)}, {"componentType", 5123}, {"count", data.size()}, {"type", "SCALAR"}});
}

std::size_t ktTestGltf::node(ktJson entry) {
    json["nodes"].push_back(std::move(entry));
    const std::size_t index = json["nodes"].size() - 1;
    if (!json.contains("scenes"))
        json["scenes"].push_back({{"nodes", ktJson::array()}});
    json["scenes"][0]["nodes"].push_back(index);
    return index;
}

std::size_t ktTestGltf::mesh(ktJson primitive) {
    json["meshes"].push_back({{"primitives", ktJson::array({std::move(primitive)})}});
    const std::size_t index = json["meshes"].size() - 1;
    node({{"mesh", index}});
    return index;
}

void ktTestGltf::saveGlb(const QString& path) const {
    ktJson whole = json;
    std::string data = bytes;
    data.resize((data.size() + 3) / 4 * 4);
    if (!data.empty())
        whole["buffers"] = ktJson::array({{{"byteLength", bytes.size()}}});
    std::string text = whole.dump();
    text.resize((text.size() + 3) / 4 * 4, ' ');
    std::string file;
    const auto word = [&](std::size_t value) {
        const auto bits = static_cast<std::uint32_t>(value);
        file.append(reinterpret_cast<const char*>(&bits), 4);
    };
    word(0x46546C67);
    word(2);
    word(20 + text.size() + (data.empty() ? 0 : 8 + data.size()));
    word(text.size());
    word(0x4E4F534A);
    file += text;
    if (!data.empty()) {
        word(data.size());
        word(0x004E4942);
        file += data;
    }
    ktWriteTestFile(path, file);
}

void ktTestGltf::saveGltf(const QString& path, const std::string& name) const {
    ktJson whole = json;
    if (!bytes.empty()) {
        const std::string uri = name.empty() ? "data:application/octet-stream;base64," +
                                                   QByteArray::fromStdString(bytes).toBase64().toStdString()
                                             : name;
        whole["buffers"] = ktJson::array({{{"byteLength", bytes.size()}, {"uri", uri}}});
        if (!name.empty()) {
            const QByteArray plain = QByteArray::fromPercentEncoding(QByteArray::fromStdString(name));
            ktWriteTestFile(path.left(path.lastIndexOf('/') + 1) + QString::fromUtf8(plain), bytes);
        }
    }
    ktWriteTestFile(path, whole.dump(2));
}

ktTestGltf ktSquare() {
    ktTestGltf file;
    const std::size_t positions = file.floats({0, 0, 0, 0, 0, 1, 1, 0, 1, 1, 0, 0}, 3);
    const std::size_t normals = file.floats({0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0}, 3);
    const std::size_t triangles = file.indices({0, 1, 2, 0, 2, 3});
    file.mesh({{"attributes", {{"POSITION", positions}, {"NORMAL", normals}}}, {"indices", triangles}});
    return file;
}
