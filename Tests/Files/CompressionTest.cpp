// SPDX-License-Identifier: LGPL-2.1-or-later
// Compressed geometry: what is read and written, against streams that the libraries' encoders made here.
#include "ktCompressedGltf.h"
#include "ktFileMessages.h"
#include "ktGltfAccessor.h"
#include "ktSavedScene.h"

#include <cmath>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class Compression : public testing::Test {
protected:
    static ktSaveOptions as(ktCompressionMode mode) {
        ktSaveOptions options;
        options.compression = mode;
        return options;
    }
    QString path(const std::string& name) const { return folder.path(name); }
    ktJson primitive(const std::string& name) const { return ktJsonOfFile(path(name))["meshes"][0]["primitives"][0]; }
    /// Opens a file, stores results in all its geometry and saves it. Returns the warnings of saving.
    std::vector<std::string> bake(const std::string& from, const std::string& to, const ktSaveOptions& options = {}) {
        const auto file = ktOpenTestScene(path(from));
        ktPretendToBake(*file, true);
        return ktSaveTestScene(*file, path(to), options);
    }
    /// w of channel 7 after reading.
    std::vector<float> occlusion(const std::string& name) const {
        std::vector<float> values;
        for (const osg::Vec4f& value : ktChannelOf(ktGeometriesOf(*ktOpenTestScene(path(name)))[0].geometry, 7))
            values.push_back(value[3]);
        return values;
    }
    std::vector<osg::Pnt3f> positions(const std::string& name) const {
        return ktPositionsOf(ktGeometriesOf(*ktOpenTestScene(path(name)))[0].geometry);
    }
    std::size_t sizeOf(const std::string& name) const { return ktReadTestFile(path(name)).size(); }

    ktTestFolder folder;
};

std::vector<std::string> names(const ktJson& json, const char* list) {
    std::vector<std::string> out;
    for (std::size_t i = 0; i < ktJsonCount(json, list); ++i)
        out.push_back(json[list][i]);
    return out;
}

/// Positions in the order of triangles' corners, which does not depend on the order of the vertices in the file.
std::vector<std::array<float, 4>> sortedVertices(const ktSceneFile& file) {
    std::vector<std::array<float, 4>> vertices;
    for (const ktSeenGeometry& seen : ktGeometriesOf(file)) {
        const auto points = ktPositionsOf(seen.geometry);
        const auto results = ktChannelOf(seen.geometry, 7);
        for (std::size_t i = 0; i < points.size(); ++i)
            vertices.push_back({points[i][0], points[i][1], points[i][2], results.empty() ? 0 : results[i][3]});
    }
    std::sort(vertices.begin(), vertices.end());
    return vertices;
}

} // namespace

TEST_F(Compression, GivenMeshopt_ReadsWhatTheEncoderGot) {
    ktWavyGrid grid(20);
    ktSaveMeshopt(grid, path("in.glb"));
    const auto file = ktOpenTestScene(path("in.glb"));
    const osg::GeometryPtr geometry = ktGeometriesOf(*file)[0].geometry;
    const auto points = ktPositionsOf(geometry);
    ASSERT_THAT(points, SizeIs(grid.positions.size() / 3));
    for (std::size_t i = 0; i < points.size(); ++i)
        for (osg::UInt32 c = 0; c < 3; ++c)
            ASSERT_EQ(points[i][c], grid.positions[3 * i + c]);
    EXPECT_THAT(ktTrianglesOf(geometry), SizeIs(grid.indices.size()));
}

TEST_F(Compression, GivenMeshoptFilters_AppliesThem) {
    // Octahedral normals with 8 and 16 bits, and positions in exponential form.
    for (const int bits : {8, 16}) {
        ktWavyGrid grid(20);
        ktSaveFilteredMeshopt(grid, bits, path("in.glb"));
        const ktSeenGeometry seen = ktGeometriesOf(*ktOpenTestScene(path("in.glb")))[0];
        const osg::GeometryPtr geometry = seen.geometry;
        const auto normals = ktNormalsOf(geometry);
        const auto points = ktPositionsOf(geometry);
        ASSERT_THAT(normals, SizeIs(grid.normals.size() / 3));
        for (std::size_t i = 0; i < normals.size(); ++i)
            for (osg::UInt32 c = 0; c < 3; ++c) {
                ASSERT_NEAR(normals[i][c], grid.normals[3 * i + c], bits == 8 ? 0.02 : 1e-4);
                ASSERT_NEAR(points[i][c], grid.positions[3 * i + c], 1e-3);
            }
    }
}

TEST_F(Compression, GivenDraco_ReadsWhatTheEncoderGot) {
    ktWavyGrid grid(20);
    ktSaveDraco(grid, path("in.glb"));
    const auto file = ktOpenTestScene(path("in.glb"));
    const auto vertices = sortedVertices(*file);
    std::vector<std::array<float, 4>> wanted;
    for (std::size_t i = 0; i < grid.positions.size(); i += 3)
        wanted.push_back({grid.positions[i], grid.positions[i + 1], grid.positions[i + 2], 0});
    std::sort(wanted.begin(), wanted.end());
    ASSERT_EQ(vertices.size(), wanted.size());
    // x and z are multiples of a binary fraction that the grid of Draco holds; y is rounded.
    for (std::size_t i = 0; i < wanted.size(); ++i)
        for (std::size_t c = 0; c < 3; ++c)
            ASSERT_NEAR(vertices[i][c], wanted[i][c], 20.0 / (1 << 14));
    EXPECT_THAT(ktTrianglesOf(ktGeometriesOf(*file)[0].geometry), SizeIs(grid.indices.size()));
}

TEST_F(Compression, GivenNothingChanged_WritesTheStreamsOfTheInput) {
    ktWavyGrid grid(20);
    ktSaveMeshopt(grid, path("m.glb"));
    ktSaveDraco(grid, path("d.glb"));
    for (const std::string name : {"m", "d"}) {
        ktSaveTestScene(*ktOpenTestScene(path(name + ".glb")), path(name + "2.glb"));
        const std::string in = ktReadTestFile(path(name + ".glb")), out = ktReadTestFile(path(name + "2.glb"));
        const ktJson json = ktJsonOfFile(path(name + ".glb"));
        for (const std::string& stream : ktStreamsOf(json, in))
            EXPECT_NE(out.find(stream), std::string::npos);
        EXPECT_EQ(names(ktJsonOfFile(path(name + "2.glb")), "extensionsRequired"), names(json, "extensionsRequired"));
        EXPECT_LT(out.size(), in.size() + 200);
    }
}

TEST_F(Compression, GivenMeshoptInput_CompressesResultsWithoutLoss) {
    ktWavyGrid grid(20);
    ktSaveMeshopt(grid, path("in.glb"));
    EXPECT_THAT(bake("in.glb", "out.glb"), IsEmpty());
    EXPECT_THAT(bake("in.glb", "plain.glb", as(ktCompressionMode::None)), IsEmpty());
    const ktJson json = ktJsonOfFile(path("out.glb"));
    EXPECT_THAT(names(json, "extensionsRequired"), ElementsAre("EXT_meshopt_compression"));
    EXPECT_THAT(names(ktJsonOfFile(path("plain.glb")), "extensionsRequired"), IsEmpty());
    for (const ktJson& view : json["bufferViews"])
        EXPECT_TRUE(view["extensions"].contains("EXT_meshopt_compression")) << view;
    EXPECT_EQ(occlusion("out.glb"), occlusion("plain.glb"));
    EXPECT_THAT(occlusion("plain.glb"), SizeIs(grid.positions.size() / 3));
    EXPECT_EQ(positions("out.glb"), positions("in.glb"));
    EXPECT_LT(sizeOf("out.glb"), sizeOf("plain.glb"));
}

TEST_F(Compression, GivenDracoInput_RoundsOnlyResults) {
    ktWavyGrid grid(20);
    ktSaveDraco(grid, path("in.glb"));
    EXPECT_THAT(bake("in.glb", "out.glb"), IsEmpty());
    EXPECT_THAT(bake("in.glb", "plain.glb", as(ktCompressionMode::None)), IsEmpty());
    const ktJson ids = primitive("out.glb")["extensions"]["KHR_draco_mesh_compression"]["attributes"];
    for (const char* name : {"POSITION", "NORMAL", "_AO", "_INDIRECT", "COLOR_0", "_SOURCE_COLOR_0"})
        EXPECT_TRUE(ids.contains(name)) << name;
    const auto packed = sortedVertices(*ktOpenTestScene(path("out.glb")));
    const auto plain = sortedVertices(*ktOpenTestScene(path("plain.glb")));
    ASSERT_EQ(packed.size(), plain.size());
    for (std::size_t i = 0; i < plain.size(); ++i) {
        for (std::size_t c = 0; c < 3; ++c)
            ASSERT_EQ(packed[i][c], plain[i][c]); // the grid of the input
        ASSERT_NEAR(packed[i][3], plain[i][3], 1.0 / (1 << 16));
    }
    EXPECT_LT(sizeOf("out.glb"), sizeOf("plain.glb"));
}

TEST_F(Compression, GivenBakedFile_BakesAgainWithoutGrowing) {
    ktWavyGrid grid(20);
    ktSaveMeshopt(grid, path("m.glb"));
    ktSaveDraco(grid, path("d.glb"));
    for (const std::string name : {"m", "d"}) {
        bake(name + ".glb", name + "1.glb");
        bake(name + "1.glb", name + "2.glb");
        bake(name + "2.glb", name + "3.glb");
        // Draco changes the order of the vertices, and with it the results of this pretended bake.
        EXPECT_NEAR(sizeOf(name + "3.glb"), sizeOf(name + "1.glb"), 0.1 * sizeOf(name + "1.glb"));
        EXPECT_EQ(ktJsonOfFile(path(name + "3.glb"))["accessors"].size(),
                  ktJsonOfFile(path(name + "1.glb"))["accessors"].size());
        EXPECT_EQ(ktJsonOfFile(path(name + "3.glb"))["bufferViews"].size(),
                  ktJsonOfFile(path(name + "1.glb"))["bufferViews"].size());
    }
}

TEST_F(Compression, GivenPlainInput_CompressesItWhenAsked) {
    ktWavyGrid grid(40);
    ktSavePlain(grid, path("in.glb"));
    EXPECT_THAT(bake("in.glb", "plain.glb"), IsEmpty());
    EXPECT_THAT(bake("in.glb", "d.glb", as(ktCompressionMode::Draco)), IsEmpty());
    EXPECT_THAT(bake("in.glb", "m.glb", as(ktCompressionMode::Meshopt)), IsEmpty());
    EXPECT_LT(3 * sizeOf("d.glb"), sizeOf("plain.glb"));
    EXPECT_LT(sizeOf("m.glb"), sizeOf("plain.glb"));
    EXPECT_EQ(positions("m.glb"), positions("plain.glb"));
    EXPECT_EQ(occlusion("m.glb"), occlusion("plain.glb"));
    const auto packed = sortedVertices(*ktOpenTestScene(path("d.glb")));
    const auto plain = sortedVertices(*ktOpenTestScene(path("plain.glb")));
    ASSERT_EQ(packed.size(), plain.size());
    for (std::size_t i = 0; i < plain.size(); ++i)
        for (std::size_t c = 0; c < 4; ++c)
            ASSERT_NEAR(packed[i][c], plain[i][c], (c < 3 ? 40.0 : 1.0) / (1 << 16));
}

TEST_F(Compression, GivenViewsThatCannotBeRead_CompressesTheOthers) {
    ktSavePlain(ktWavyGrid(20), path("plain.glb"));
    ktEditJson(path("plain.glb"), path("in.glb"), [](ktJson& json) {
        for (const ktJson& length : {ktJson(1000000), ktJson("12"), ktJson(48)}) {
            json["bufferViews"].push_back({{"buffer", 0}, {"byteLength", length}});
            json["accessors"].push_back({{"bufferView", json["bufferViews"].size() - 1},
                                         {"componentType", 5126},
                                         {"count", 441},
                                         {"type", length == 48 ? "unknown" : "VEC3"}});
            json["meshes"][0]["primitives"][0]["attributes"]["_A" + std::to_string(json["accessors"].size())] =
                json["accessors"].size() - 1;
        }
    });
    bake("in.glb", "out.glb", as(ktCompressionMode::Meshopt));
    EXPECT_THAT(names(ktJsonOfFile(path("out.glb")), "extensionsRequired"), ElementsAre("EXT_meshopt_compression"));
    EXPECT_THAT(occlusion("out.glb"), SizeIs(441));
    bake("in.glb", "out.glb", as(ktCompressionMode::Draco));
    EXPECT_THAT(occlusion("out.glb"), SizeIs(441));
}

TEST_F(Compression, GivenMembersOfWrongTypes_WritesThemPlain) {
    const std::vector<std::function<void(ktJson&)>> edits = {
        [](ktJson& json) { json["meshes"][0]["primitives"][0]["extensions"] = "x"; },
        [](ktJson& json) { json["meshes"][0]["primitives"][0]["extensions"] = ktJson::array({1}); },
        [](ktJson& json) { json["bufferViews"][0]["extensions"] = ktJson::array({1}); },
        [](ktJson& json) {
            ktJson copy = json["meshes"][0]["primitives"][0];
            copy["indices"] = "VEC4";
            json["meshes"][0]["primitives"].push_back(copy);
        }};
    ktSavePlain(ktWavyGrid(8), path("plain.glb"));
    for (std::size_t i = 0; i < edits.size(); ++i)
        for (const ktCompressionMode mode : {ktCompressionMode::Draco, ktCompressionMode::Meshopt}) {
            ktEditJson(path("plain.glb"), path("in.glb"), edits[i]);
            bake("in.glb", "out.glb", as(mode));
            EXPECT_EQ(positions("out.glb").size(), 81u) << i;
        }
}

TEST_F(Compression, GivenSmallModel_RoundsItToItsSize) {
    ktWavyGrid grid(20);
    for (float& value : grid.positions)
        value = 5 + 1e-4f * value;
    ktSavePlain(grid, path("in.glb"));
    bake("in.glb", "d.glb", as(ktCompressionMode::Draco));
    const auto packed = sortedVertices(*ktOpenTestScene(path("d.glb")));
    const auto plain = sortedVertices(*ktOpenTestScene(path("in.glb")));
    ASSERT_EQ(packed.size(), plain.size());
    for (std::size_t i = 0; i < plain.size(); ++i)
        ASSERT_NEAR(packed[i][0], plain[i][0], 20e-4 / (1 << 16) + 1e-6);
}

TEST_F(Compression, GivenSharedAccessorsAndModesThatDracoLacks_KeepsThemReadable) {
    ktWavyGrid grid(10);
    ktTestGltf gltf = ktPlainGltf(grid);
    ktJson part = gltf.json["meshes"][0]["primitives"][0];
    part["indices"] = gltf.indices({0, 1, 11, 1, 12, 11}); // the same vertices, other triangles
    gltf.mesh(part);
    part["mode"] = 5;
    part["indices"] = gltf.indices({0, 1, 11, 12});
    gltf.mesh(part);
    gltf.saveGlb(path("in.glb"));
    bake("in.glb", "plain.glb");
    for (const ktCompressionMode mode : {ktCompressionMode::Draco, ktCompressionMode::Meshopt}) {
        bake("in.glb", "out.glb", as(mode));
        const auto packed = ktGeometriesOf(*ktOpenTestScene(path("out.glb")));
        const auto plain = ktGeometriesOf(*ktOpenTestScene(path("plain.glb")));
        ASSERT_EQ(packed.size(), 3u);
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_EQ(ktTrianglesOf(packed[i].geometry).size(), ktTrianglesOf(plain[i].geometry).size());
        EXPECT_EQ(ktPositionsOf(packed[2].geometry).size(), ktPositionsOf(plain[2].geometry).size());
    }
}

TEST_F(Compression, GivenMorphTargets_KeepsTheOrderOfTheVertices) {
    ktWavyGrid grid(10);
    ktTestGltf gltf = ktPlainGltf(grid);
    std::vector<float> moved(grid.positions.size());
    for (std::size_t i = 0; i < moved.size(); ++i)
        moved[i] = static_cast<float>(i);
    gltf.json["meshes"][0]["primitives"][0]["targets"] = {{{"POSITION", gltf.floats(moved, 3)}}};
    gltf.saveGlb(path("in.glb"));
    bake("in.glb", "out.glb", as(ktCompressionMode::Draco));
    const auto before = positions("in.glb"), after = positions("out.glb");
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t i = 0; i < before.size(); ++i)
        for (osg::UInt32 c = 0; c < 3; ++c)
            ASSERT_NEAR(after[i][c], before[i][c], 10.0 / (1 << 16));
}

TEST_F(Compression, GivenGltfWithFiles_WritesOneBufferWithoutOldData) {
    ktWavyGrid grid(20);
    ktPlainGltf(grid).saveGltf(path("in.gltf"), "in.bin");
    bake("in.gltf", "out.gltf", as(ktCompressionMode::Draco));
    EXPECT_THAT(ktJsonOfFile(path("out.gltf"))["buffers"], SizeIs(1));
    bake("out.gltf", "again.gltf");
    EXPECT_EQ(occlusion("again.gltf").size(), occlusion("out.gltf").size());
    EXPECT_TRUE(primitive("again.gltf").contains("extensions"));
}

TEST_F(Compression, GivenSceneSavedOverItsFile_CanBeSavedAgainWithoutCompression) {
    ktWavyGrid grid(20);
    ktPlainGltf(grid).saveGlb(path("in.glb"));
    bake("in.glb", "out.gltf");
    const auto expected = occlusion("out.gltf");
    ktFileReport report;
    const auto file = ktSceneFile::open(path("out.gltf"), {}, report);
    ASSERT_TRUE(file) << report.error;
    for (const ktCompressionMode mode : {ktCompressionMode::Draco, ktCompressionMode::None}) {
        ktFileReport saving;
        ASSERT_TRUE(file->save(path("out.gltf"), as(mode), saving)) << saving.error;
        ktFileReport opening;
        EXPECT_TRUE(ktSceneFile::open(path("out.gltf"), {}, opening)) << opening.error;
    }
    EXPECT_EQ(occlusion("out.gltf"), expected);
}

TEST_F(Compression, GivenElementBeyondItsView_StaysUnusable) {
    ktTestGltf gltf = ktSquare();
    const std::size_t colors = gltf.floats(std::vector<float>(16, 0.5f), 4);
    gltf.json["meshes"][0]["primitives"][0]["attributes"]["COLOR_0"] = colors;
    ktJson& view = gltf.json["bufferViews"][static_cast<std::size_t>(gltf.json["accessors"][colors]["bufferView"])];
    view["byteLength"] = 60; // four elements need 64; meshopt's elements are whole
    gltf.saveGlb(path("in.glb"));
    const auto expected = ElementsAre(HasSubstr("attribute left out: reaches beyond the end of its bufferView"));
    EXPECT_THAT(ktOpeningSays(path("in.glb")), expected);
    for (const ktCompressionMode mode :
         {ktCompressionMode::None, ktCompressionMode::Meshopt, ktCompressionMode::Draco}) {
        ktSaveTestScene(*ktOpenTestScene(path("in.glb")), path("out.glb"), as(mode));
        EXPECT_THAT(ktOpeningSays(path("out.glb")), expected);
    }
}

TEST_F(Compression, GivenViewThatCannotBeRead_LeavesItUnreadable) {
    ktWavyGrid grid(20);
    ktTestGltf file = ktPlainGltf(grid);
    const std::vector<ktJson> bad = {{{"buffer", 0}, {"byteOffset", -1}, {"byteLength", 4}},
                                     {{"buffer", 0}, {"byteOffset", 0}, {"byteLength", 1e9}},
                                     {{"buffer", 0}, {"byteOffset", 1e9}, {"byteLength", 0}}};
    const std::size_t first = file.json["bufferViews"].size();
    for (const ktJson& view : bad)
        file.json["bufferViews"].push_back(view);
    file.saveGltf(path("in.gltf"));
    ktFileMessages messages;
    const auto isReadable = [&](const std::string& name, std::size_t view) {
        const ktGltfDocument document = ktReadGltf(path(name), messages);
        try {
            ktFindGltfView(document, view);
            return true;
        } catch (const ktFileError&) {
            return false;
        }
    };
    for (const ktCompressionMode mode : {ktCompressionMode::Draco, ktCompressionMode::Meshopt}) {
        bake("in.gltf", "out.glb", as(mode));
        const ktJson views = ktJsonOfFile(path("out.glb"))["bufferViews"];
        std::size_t found = 0;
        for (std::size_t i = 0; i < views.size(); ++i)
            found += !views[i].contains("extensions") && !isReadable("out.glb", i);
        EXPECT_EQ(found, bad.size()) << views;
    }
    EXPECT_FALSE(isReadable("in.gltf", first));
}

TEST_F(Compression, GivenDamagedStreams_RefusesOrReadsButNeverFails) {
    ktWavyGrid grid(12);
    ktSaveMeshopt(grid, path("m.glb"));
    ktSaveDraco(grid, path("d.glb"));
    for (const std::string name : {"m", "d"}) {
        const std::string good = ktReadTestFile(path(name + ".glb"));
        const ktJson json = ktJsonOfFile(path(name + ".glb"));
        int refused = 0;
        for (int round = 0; round < 60; ++round) {
            std::string bad = good;
            std::uint32_t random = 12345u + static_cast<std::uint32_t>(round) * 2654435761u;
            for (const std::string& stream : ktStreamsOf(json, good)) {
                random = random * 1664525u + 1013904223u;
                const std::size_t at = good.find(stream) + (random >> 8) % stream.size();
                bad[at] = static_cast<char>(bad[at] ^ (1 + (random >> 4) % 255));
            }
            ktWriteTestFile(path("bad.glb"), bad);
            ktFileReport report;
            const auto file = ktSceneFile::open(path("bad.glb"), {}, report);
            if (!file) {
                ++refused;
                EXPECT_THAT(report.error, HasSubstr("bad.glb: /"));
            }
        }
        EXPECT_GT(refused, 10) << name;
    }
}

TEST_F(Compression, GivenTruncatedStreams_RefusesThemByName) {
    ktWavyGrid grid(12);
    ktSaveMeshopt(grid, path("m.glb"));
    ktSaveDraco(grid, path("d.glb"));
    for (const double share : {0.0, 0.02, 0.3, 0.9}) {
        ktCutStreams(path("m.glb"), path("bad.glb"), share);
        EXPECT_THAT(ktOpeningSays(path("bad.glb")), ElementsAre(HasSubstr("/bufferViews/0/extensions/")));
        ktCutStreams(path("d.glb"), path("bad.glb"), share);
        EXPECT_THAT(ktOpeningSays(path("bad.glb")), ElementsAre(HasSubstr("/meshes/0/primitives/0: ")));
    }
}

TEST_F(Compression, GivenHugeCounts_RefusesThemBeforeItAllocates) {
    ktWavyGrid grid(12);
    ktSaveMeshopt(grid, path("in.glb"));
    ktEditJson(path("in.glb"), path("bad.glb"), [](ktJson& json) {
        json["bufferViews"][0]["extensions"]["EXT_meshopt_compression"]["count"] = 3000000000u;
    });
    EXPECT_THAT(ktOpeningSays(path("bad.glb")), ElementsAre(HasSubstr("far more data than its size justifies")));
    ktEditJson(path("in.glb"), path("bad.glb"), [](ktJson& json) {
        json["bufferViews"][0]["extensions"]["EXT_meshopt_compression"]["mode"] = "VOXELS";
    });
    EXPECT_THAT(ktOpeningSays(path("bad.glb")), ElementsAre(HasSubstr("the unknown mode 'VOXELS'")));
    ktEditJson(path("in.glb"), path("bad.glb"), [](ktJson& json) {
        json["bufferViews"][0]["extensions"]["EXT_meshopt_compression"]["filter"] = "QUATERNION";
    });
    EXPECT_THAT(ktOpeningSays(path("bad.glb")), ElementsAre(HasSubstr("filter 'QUATERNION'")));
}

TEST_F(Compression, GivenNewerCodec_NamesIt) {
    ktWavyGrid grid(12);
    ktSaveMeshopt(grid, path("in.glb"));
    std::string bytes = ktReadTestFile(path("in.glb"));
    const std::string stream = ktStreamsOf(ktJsonOfFile(path("in.glb")), bytes).front();
    bytes[bytes.find(stream)] = static_cast<char>(0xA1);
    ktWriteTestFile(path("bad.glb"), bytes);
    EXPECT_THAT(ktOpeningSays(path("bad.glb")), ElementsAre(HasSubstr("version 1 of the codec, which cannot be read")));
}
