// SPDX-License-Identifier: LGPL-2.1-or-later
// Adding data to glTF documents and replacing data that an earlier run added.
#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktGltfStore.h"
#include "ktTestGltf.h"

#include <gmock/gmock.h>

namespace {

ktGltfDocument squareFrom(const ktTestFolder& folder, const std::string& name) {
    ktFileMessages messages;
    return ktReadGltf(folder.path(name), messages);
}

ktJson& attributes(ktGltfDocument& document) {
    return document.json["meshes"][0]["primitives"][0]["attributes"];
}

void addScalars(ktGltfDocument& document, std::size_t count) {
    attributes(document).erase("_AO");
    ktGltfStore store(document);
    const std::vector<float> data(count, 0.5f);
    const std::size_t view = store.addView(data.data(), data.size() * sizeof(float), 0, 34962);
    ktGltfNewAccessor accessor{view, 0, count};
    attributes(document)["_AO"] = store.addAccessor(accessor);
    store.finish();
}

std::vector<float> read(const ktGltfDocument& document, std::size_t index) {
    const ktGltfAccessor accessor(document, index);
    std::vector<float> out(accessor.count() * static_cast<std::size_t>(accessor.components()));
    accessor.readFloats(nullptr, accessor.count(), accessor.components(), 0.0f, out.data());
    return out;
}

} // namespace

TEST(GltfStore, GivenGlb_AppendsToItsBinaryChunk) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("a.glb"));
    ktGltfDocument document = squareFrom(folder, "a.glb");
    const ktBytes before = document.buffers[0].bytes;
    addScalars(document, 4);
    ASSERT_EQ(document.buffers.size(), 1u);
    EXPECT_EQ(document.json["buffers"][0]["byteLength"], document.buffers[0].bytes.size());
    EXPECT_TRUE(std::equal(before.begin(), before.end(), document.buffers[0].bytes.begin()));
    EXPECT_THAT(read(document, attributes(document)["_AO"]), testing::ElementsAre(0.5f, 0.5f, 0.5f, 0.5f));
}

TEST(GltfStore, GivenGltf_AddsASeparateBuffer) {
    const ktTestFolder folder;
    ktSquare().saveGltf(folder.path("a.gltf"), "a.bin");
    ktGltfDocument document = squareFrom(folder, "a.gltf");
    const ktJson before = document.json["buffers"][0];
    addScalars(document, 4);
    ASSERT_EQ(document.buffers.size(), 2u);
    EXPECT_EQ(document.json["buffers"][0], before);
    EXPECT_EQ(document.json["buffers"][1]["byteLength"], 16);
}

TEST(GltfStore, GivenReferencesToNothing_DoNotFindTheNewData) {
    const ktTestFolder folder;
    ktTestGltf gltf = ktSquare();
    const std::size_t accessors = gltf.json["accessors"].size(), views = gltf.json["bufferViews"].size();
    gltf.json["meshes"][0]["primitives"][0]["attributes"]["_LOST"] = accessors;
    gltf.json["accessors"][0]["bufferView"] = views;
    gltf.json["images"] = {{{"bufferView", views}, {"mimeType", "image/png"}}};
    gltf.json["bufferViews"][0]["buffer"] = 1;
    gltf.saveGlb(folder.path("a.glb"));
    ktGltfDocument document = squareFrom(folder, "a.glb");
    addScalars(document, 4);
    EXPECT_GE(attributes(document)["_LOST"], document.json["accessors"].size());
    EXPECT_GE(document.json["accessors"][0]["bufferView"], document.json["bufferViews"].size());
    EXPECT_GE(document.json["images"][0]["bufferView"], document.json["bufferViews"].size());
    EXPECT_GE(document.json["bufferViews"][0]["buffer"], document.json["buffers"].size());
    EXPECT_EQ(attributes(document)["_AO"], accessors) << "a reference to the new data is as usual";
}

TEST(GltfStore, GivenViewsBeyondTheEnd_DoNotReadTheNewData) {
    const ktTestFolder folder;
    ktTestGltf gltf = ktSquare();
    const std::size_t first = gltf.json["bufferViews"].size(), end = gltf.bytes.size();
    const ktJson beyond = {{"buffer", 0}, {"byteOffset", end - 4}, {"byteLength", 8}};
    gltf.json["bufferViews"].push_back(beyond);
    gltf.json["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", end}, {"byteLength", 4}});
    gltf.json["bufferViews"].push_back(
        {{"buffer", 0}, {"byteLength", 4}, {"extensions", {{"EXT_compressed", beyond}}}});
    gltf.json["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", end - 4}, {"byteLength", 4}});
    gltf.saveGlb(folder.path("a.glb"));
    ktGltfDocument document = squareFrom(folder, "a.glb");
    for (int times = 0; times < 2; ++times) {
        addScalars(document, 4);
        EXPECT_THROW(ktFindGltfView(document, first), ktFileError);
        EXPECT_THROW(ktFindGltfView(document, first + 1), ktFileError);
        const ktJson& views = document.json["bufferViews"];
        EXPECT_GE(views[first + 2]["extensions"]["EXT_compressed"]["buffer"], document.buffers.size());
        EXPECT_NO_THROW(ktFindGltfView(document, first + 2));
        EXPECT_NO_THROW(ktFindGltfView(document, first + 3));
        EXPECT_EQ(document.buffers[0].bytes.size(), end + 16) << "the data of the first time are replaced";
    }
}

TEST(GltfStore, GivenRepeatedUse_DoesNotGrow) {
    for (const char* name : {"a.glb", "a.gltf"}) {
        const ktTestFolder folder;
        ktSquare().saveGlb(folder.path("a.glb"));
        ktSquare().saveGltf(folder.path("a.gltf"));
        ktGltfDocument document = squareFrom(folder, name);
        addScalars(document, 4);
        const ktJson json = document.json;
        const std::size_t size = document.buffers.back().bytes.size();
        for (int i = 0; i < 3; ++i)
            addScalars(document, 4);
        EXPECT_EQ(document.json, json) << name;
        EXPECT_EQ(document.buffers.back().bytes.size(), size) << name;
    }
}

TEST(GltfStore, GivenNothingAdded_LeavesTheDocumentUnchanged) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("a.glb"));
    ktSquare().saveGltf(folder.path("a.gltf"), "a.bin");
    for (const char* name : {"a.glb", "a.gltf"}) {
        ktGltfDocument document = squareFrom(folder, name);
        const ktJson json = document.json;
        const ktBytes bytes = document.buffers[0].bytes;
        addScalars(document, 100);
        attributes(document).erase("_AO");
        ktGltfStore(document).finish();
        EXPECT_EQ(document.json, json) << name;
        EXPECT_EQ(document.buffers.size(), 1u) << name;
        EXPECT_EQ(document.buffers[0].bytes, bytes) << name;
    }
}

TEST(GltfStore, GivenOwnDataStillInUse_MovesItTogether) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("a.glb"));
    ktGltfDocument document = squareFrom(folder, "a.glb");
    addScalars(document, 1000);
    {
        ktGltfStore store(document);
        const float kept[] = {1, 2, 3, 4};
        attributes(document)["_KEPT"] = store.addAccessor({store.addView(kept, sizeof kept, 0, 34962), 0, 4});
        store.finish();
    }
    const std::size_t before = document.buffers[0].bytes.size();
    addScalars(document, 4);
    EXPECT_THAT(read(document, attributes(document)["_KEPT"]), testing::ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(read(document, attributes(document)["_AO"]), testing::ElementsAre(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_EQ(document.buffers[0].bytes.size(), before - 4000 + 16);
    EXPECT_THAT(read(document, attributes(document)["POSITION"]).size(), 12u);
}

TEST(GltfStore, GivenForeignDataBehindOurs_LeavesItAlone) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("a.glb"));
    ktGltfDocument document = squareFrom(folder, "a.glb");
    addScalars(document, 4);
    // Another program appends its data.
    ktBytes& bytes = document.buffers[0].bytes;
    const std::size_t offset = bytes.size();
    const float foreign[] = {9, 8};
    bytes.insert(bytes.end(), reinterpret_cast<const std::uint8_t*>(foreign),
                 reinterpret_cast<const std::uint8_t*>(foreign + 2));
    document.json["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", offset}, {"byteLength", 8}});
    document.json["accessors"].push_back({{"bufferView", document.json["bufferViews"].size() - 1},
                                          {"componentType", 5126},
                                          {"count", 2},
                                          {"type", "SCALAR"}});
    const std::size_t theirs = document.json["accessors"].size() - 1;
    attributes(document)["_THEIRS"] = theirs;
    addScalars(document, 4);
    const std::size_t size = document.buffers[0].bytes.size();
    addScalars(document, 4);
    EXPECT_EQ(document.buffers[0].bytes.size(), size);
    EXPECT_EQ(attributes(document)["_THEIRS"], theirs);
    EXPECT_THAT(read(document, theirs), testing::ElementsAre(9, 8));
    // Without any of our data, the freed entries stay and are harmless.
    attributes(document).erase("_AO");
    ktGltfStore(document).finish();
    for (std::size_t i = 0; i < document.json["accessors"].size(); ++i)
        EXPECT_NO_THROW(ktGltfAccessor(document, i)) << document.json["accessors"][i];
}

TEST(GltfStore, GivenOurViewOfABufferThatIsNoObject_LeavesTheEntry) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("a.glb"));
    ktGltfDocument document = squareFrom(folder, "a.glb");
    document.json["buffers"].push_back("text");
    document.buffers.emplace_back().problem = "is not an object";
    ktJson view = {{"buffer", 1}, {"byteLength", 4}};
    ktMarkAsOwn(view);
    document.json["bufferViews"].push_back(view);
    addScalars(document, 4);
    EXPECT_EQ(document.json["buffers"][1], "text");
    EXPECT_THAT(read(document, attributes(document)["_AO"]), testing::ElementsAre(0.5f, 0.5f, 0.5f, 0.5f));
}
