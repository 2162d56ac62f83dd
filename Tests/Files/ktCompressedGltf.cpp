// SPDX-License-Identifier: LGPL-2.1-or-later
// Compressed glTF files for tests, made with the encoders of libdraco and libmeshoptimizer.
#include "ktCompressedGltf.h"

#include <cmath>
#include <draco/compression/encode.h>
#include <draco/mesh/triangle_soup_mesh_builder.h>
#include <meshoptimizer.h>

namespace {

constexpr int positionBits = 14, normalBits = 10;

struct View {
    std::string stream;
    std::size_t stride, count;
    const char* mode;
    const char* filter;
};

template <class T>
View encodeVertices(const std::vector<T>& data, std::size_t stride, const char* filter = nullptr) {
    const std::size_t count = data.size() * sizeof(T) / stride;
    std::vector<unsigned char> out(meshopt_encodeVertexBufferBound(count, stride));
    out.resize(meshopt_encodeVertexBuffer(out.data(), out.size(), data.data(), count, stride));
    return {std::string(out.begin(), out.end()), stride, count, "ATTRIBUTES", filter};
}

View encodeTriangles(const ktWavyGrid& grid) {
    meshopt_encodeIndexVersion(1);
    std::vector<unsigned char> out(meshopt_encodeIndexBufferBound(grid.indices.size(), grid.positions.size() / 3));
    out.resize(meshopt_encodeIndexBuffer(out.data(), out.size(), grid.indices.data(), grid.indices.size()));
    return {std::string(out.begin(), out.end()), 2, grid.indices.size(), "TRIANGLES", nullptr};
}

ktTestGltf withViews(const std::vector<View>& views) {
    ktTestGltf gltf;
    gltf.json["extensionsUsed"] = {"EXT_meshopt_compression"};
    gltf.json["extensionsRequired"] = {"EXT_meshopt_compression"};
    std::size_t size = 0;
    for (const View& view : views) {
        gltf.bytes.resize((gltf.bytes.size() + 3) / 4 * 4);
        ktJson extension = {{"buffer", 0},
                            {"byteOffset", gltf.bytes.size()},
                            {"byteLength", view.stream.size()},
                            {"byteStride", view.stride},
                            {"count", view.count},
                            {"mode", view.mode}};
        if (view.filter)
            extension["filter"] = view.filter;
        ktJson entry = {{"buffer", 1},
                        {"byteOffset", size},
                        {"byteLength", view.stride * view.count},
                        {"extensions", {{"EXT_meshopt_compression", extension}}}};
        if (view.stride > 2)
            entry["byteStride"] = view.stride;
        gltf.json["bufferViews"].push_back(entry);
        gltf.bytes += view.stream;
        size += (view.stride * view.count + 3) / 4 * 4;
    }
    return gltf;
}

// Adds the mesh, and the buffer that is the place of the decoded data.
void finish(ktTestGltf& gltf, const ktWavyGrid& grid, const ktJson& normals, const QString& path) {
    const std::size_t count = grid.positions.size() / 3;
    gltf.accessor({{"bufferView", 0}, {"componentType", 5126}, {"count", count}, {"type", "VEC3"}});
    gltf.accessor(normals);
    gltf.accessor({{"bufferView", 2}, {"componentType", 5123}, {"count", grid.indices.size()}, {"type", "SCALAR"}});
    gltf.mesh({{"attributes", {{"POSITION", 0}, {"NORMAL", 1}}}, {"indices", 2}});
    gltf.saveGlb(path);
    ktEditJson(path, path, [&](ktJson& json) {
        json["buffers"].push_back({{"byteLength", 24 * count + 4 * grid.indices.size()},
                                   {"extensions", {{"EXT_meshopt_compression", {{"fallback", true}}}}}});
    });
}

// Calls `visit` with the place of each stream.
void forEachStream(ktJson& json, const std::function<void(ktJson&)>& visit) {
    for (ktJson& view : json["bufferViews"])
        if (view.contains("extensions"))
            visit(view["extensions"]["EXT_meshopt_compression"]);
    for (ktJson& mesh : json["meshes"])
        for (ktJson& primitive : mesh["primitives"])
            if (primitive.contains("extensions"))
                visit(json["bufferViews"]
                          [primitive["extensions"]["KHR_draco_mesh_compression"]["bufferView"].get<std::size_t>()]);
}

std::uint32_t wordAt(const std::string& file, std::size_t at) {
    std::uint32_t word = 0;
    std::memcpy(&word, file.data() + at, sizeof word);
    return word;
}

} // namespace

ktWavyGrid::ktWavyGrid(int n) {
    for (int row = 0; row <= n; ++row)
        for (int column = 0; column <= n; ++column) {
            const auto x = static_cast<float>(column), z = static_cast<float>(row);
            positions.insert(positions.end(), {x, std::sin(0.7f * x) + std::sin(0.9f * z), z});
            const float dx = 0.7f * std::cos(0.7f * x), dz = 0.9f * std::cos(0.9f * z);
            const float length = std::sqrt(dx * dx + 1 + dz * dz);
            normals.insert(normals.end(), {-dx / length, 1 / length, -dz / length});
        }
    for (int row = 0; row < n; ++row)
        for (int column = 0; column < n; ++column) {
            const int a = row * (n + 1) + column, b = a + n + 1;
            for (const int corner : {a, b, b + 1, a, b + 1, a + 1})
                indices.push_back(static_cast<std::uint16_t>(corner));
        }
}

ktTestGltf ktPlainGltf(const ktWavyGrid& grid) {
    ktTestGltf gltf;
    const std::size_t positions = gltf.floats(grid.positions, 3), normals = gltf.floats(grid.normals, 3);
    gltf.mesh(
        {{"attributes", {{"POSITION", positions}, {"NORMAL", normals}}}, {"indices", gltf.indices(grid.indices)}});
    return gltf;
}

void ktSavePlain(const ktWavyGrid& grid, const QString& path) {
    ktPlainGltf(grid).saveGlb(path);
}

void ktSaveMeshopt(const ktWavyGrid& grid, const QString& path) {
    ktTestGltf gltf =
        withViews({encodeVertices(grid.positions, 12), encodeVertices(grid.normals, 12), encodeTriangles(grid)});
    finish(gltf, grid,
           {{"bufferView", 1}, {"componentType", 5126}, {"count", grid.normals.size() / 3}, {"type", "VEC3"}}, path);
}

void ktSaveFilteredMeshopt(const ktWavyGrid& grid, int bits, const QString& path) {
    const std::size_t count = grid.positions.size() / 3, size = bits == 8 ? 4 : 8;
    std::vector<float> four;
    for (std::size_t i = 0; i < count; ++i)
        four.insert(four.end(), {grid.normals[3 * i], grid.normals[3 * i + 1], grid.normals[3 * i + 2], 0});
    std::vector<unsigned char> normals(size * count), positions(12 * count);
    meshopt_encodeFilterOct(normals.data(), count, size, bits, four.data());
    meshopt_encodeFilterExp(positions.data(), count, 12, 16, grid.positions.data());
    ktTestGltf gltf = withViews({encodeVertices(positions, 12, "EXPONENTIAL"),
                                 encodeVertices(normals, size, "OCTAHEDRAL"), encodeTriangles(grid)});
    finish(gltf, grid,
           {{"bufferView", 1},
            {"componentType", bits == 8 ? 5120 : 5122},
            {"normalized", true},
            {"count", count},
            {"type", "VEC3"}},
           path);
    ktEditJson(path, path, [](ktJson& json) {
        json["extensionsUsed"].push_back("KHR_mesh_quantization");
        json["extensionsRequired"].push_back("KHR_mesh_quantization");
    });
}

void ktSaveDraco(const ktWavyGrid& grid, const QString& path) {
    draco::TriangleSoupMeshBuilder builder;
    builder.Start(static_cast<int>(grid.indices.size() / 3));
    const int positions = builder.AddAttribute(draco::GeometryAttribute::POSITION, 3, draco::DT_FLOAT32);
    const int normals = builder.AddAttribute(draco::GeometryAttribute::NORMAL, 3, draco::DT_FLOAT32);
    for (std::size_t i = 0; i < grid.indices.size(); i += 3) {
        const draco::FaceIndex face(static_cast<std::uint32_t>(i / 3));
        const auto at = [&](const std::vector<float>& values, std::size_t corner) {
            return &values[3 * std::size_t(grid.indices[i + corner])];
        };
        builder.SetAttributeValuesForFace(positions, face, at(grid.positions, 0), at(grid.positions, 1),
                                          at(grid.positions, 2));
        builder.SetAttributeValuesForFace(normals, face, at(grid.normals, 0), at(grid.normals, 1), at(grid.normals, 2));
    }
    const std::unique_ptr<draco::Mesh> mesh = builder.Finalize();
    draco::Encoder encoder;
    encoder.SetAttributeQuantization(draco::GeometryAttribute::POSITION, positionBits);
    encoder.SetAttributeQuantization(draco::GeometryAttribute::NORMAL, normalBits);
    draco::EncoderBuffer buffer;
    ASSERT_TRUE(encoder.EncodeMeshToBuffer(*mesh, &buffer).ok());

    ktTestGltf gltf;
    const std::size_t view = gltf.view(std::vector<char>(buffer.data(), buffer.data() + buffer.size()));
    const std::size_t count = mesh->num_points();
    for (int i = 0; i < 2; ++i)
        gltf.accessor({{"componentType", 5126}, {"count", count}, {"type", "VEC3"}});
    gltf.accessor({{"componentType", 5123}, {"count", grid.indices.size()}, {"type", "SCALAR"}});
    const ktJson extension = {
        {"bufferView", view},
        {"attributes",
         {{"POSITION", mesh->attribute(positions)->unique_id()}, {"NORMAL", mesh->attribute(normals)->unique_id()}}}};
    gltf.mesh({{"attributes", {{"POSITION", 0}, {"NORMAL", 1}}},
               {"indices", 2},
               {"extensions", {{"KHR_draco_mesh_compression", extension}}}});
    gltf.json["extensionsUsed"] = {"KHR_draco_mesh_compression"};
    gltf.json["extensionsRequired"] = {"KHR_draco_mesh_compression"};
    gltf.saveGlb(path);
}

std::vector<std::string> ktStreamsOf(const ktJson& json, const std::string& file) {
    const std::size_t begin = 20 + std::size_t(wordAt(file, 12)) + 8;
    std::vector<std::string> streams;
    ktJson copy = json;
    forEachStream(copy, [&](ktJson& place) {
        streams.push_back(file.substr(begin + place.value("byteOffset", std::size_t(0)), place["byteLength"]));
    });
    return streams;
}

void ktEditJson(const QString& from, const QString& to, const std::function<void(ktJson&)>& edit) {
    const std::string file = ktReadTestFile(from);
    const std::size_t size = wordAt(file, 12);
    ktJson json = ktJson::parse(file.substr(20, size));
    edit(json);
    std::string text = json.dump();
    text.resize((text.size() + 3) / 4 * 4, ' ');
    std::string out = file.substr(0, 20) + text + file.substr(20 + size);
    const auto put = [&out](std::size_t at, std::size_t number) {
        const auto word = static_cast<std::uint32_t>(number);
        std::memcpy(&out[at], &word, sizeof word);
    };
    put(8, out.size());
    put(12, text.size());
    ktWriteTestFile(to, out);
}

void ktCutStreams(const QString& from, const QString& to, double share) {
    ktEditJson(from, to, [&](ktJson& json) {
        forEachStream(json, [&](ktJson& place) {
            place["byteLength"] = static_cast<std::size_t>(share * place["byteLength"].get<double>());
        });
    });
}
