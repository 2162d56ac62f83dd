// SPDX-License-Identifier: LGPL-2.1-or-later
// Reading and writing .glb and .gltf files with their buffers and images.
#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktGltfAccessor.h"
#include "ktGltfDocument.h"
#include "ktReadInterrupt.h"
#include "ktTestGltf.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

namespace {

const std::string pngBytes = "\x89PNG\r\n\x1a\nnot really a picture";

ktGltfDocument read(const QString& path) {
    ktFileMessages messages;
    return ktReadGltf(path, messages);
}

std::vector<std::string> warningsOf(const QString& path) {
    ktFileMessages messages;
    ktReadGltf(path, messages);
    std::vector<std::string> texts;
    for (const ktFileWarning& warning : messages.warnings())
        texts.push_back(warning.text());
    return texts;
}

std::vector<std::string> write(ktGltfDocument document, const QString& path) {
    ktFileMessages messages;
    ktWriteGltf(document, path, messages);
    std::vector<std::string> texts;
    for (const ktFileWarning& warning : messages.warnings())
        texts.push_back(warning.text());
    return texts;
}

std::string problemOf(const QString& path) {
    try {
        read(path);
        return std::string();
    } catch (const ktFileError& error) {
        return error.object() + ": " + error.reason();
    }
}

std::string writeProblem(const ktGltfDocument& document, const QString& path) {
    try {
        write(document, path);
        return std::string();
    } catch (const ktFileError& error) {
        return error.object() + ": " + error.reason();
    }
}

// A square with an image in a separate file.
ktTestGltf withImage(const std::string& uri) {
    ktTestGltf file = ktSquare();
    file.json["images"] = ktJson::array({{{"uri", uri}}});
    file.json["textures"] = ktJson::array({{{"source", 0}}});
    return file;
}

} // namespace

TEST(GltfDocument, GivenGlb_IsWrittenByteForByte) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("in.glb"));
    write(read(folder.path("in.glb")), folder.path("out.glb"));
    EXPECT_EQ(ktReadTestFile(folder.path("out.glb")), ktReadTestFile(folder.path("in.glb")));
}

TEST(GltfDocument, GivenFurtherChunk_KeepsIt) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("in.glb"));
    std::string file = ktReadTestFile(folder.path("in.glb"));
    file += std::string("\x04\0\0\0ABCDwxyz", 12);
    const auto size = static_cast<std::uint32_t>(file.size());
    std::memcpy(&file[8], &size, 4);
    ktWriteTestFile(folder.path("in.glb"), file);
    write(read(folder.path("in.glb")), folder.path("out.glb"));
    EXPECT_EQ(ktReadTestFile(folder.path("out.glb")), file);
}

TEST(GltfDocument, GivenBinaryChunkInAWrongPlace_WritesOne) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("in.glb"));
    const std::string good = ktReadTestFile(folder.path("in.glb"));
    std::uint32_t jsonSize = 0;
    std::memcpy(&jsonSize, &good[12], 4);
    const std::size_t binary = 20 + jsonSize;
    const std::string other("\x04\0\0\0ABCDwxyz", 12);
    for (const bool isTwice : {false, true}) {
        std::string file = good.substr(0, binary) + other + good.substr(binary) + (isTwice ? good.substr(binary) : "");
        const auto size = static_cast<std::uint32_t>(file.size());
        std::memcpy(&file[8], &size, 4);
        ktWriteTestFile(folder.path("wrong.glb"), file);
        ktFileMessages messages;
        const ktGltfDocument document = ktReadGltf(folder.path("wrong.glb"), messages);
        ASSERT_EQ(messages.warnings().size(), isTwice ? 2u : 1u);
        EXPECT_THAT(messages.warnings()[0].text(), HasSubstr("binary chunk in a wrong place"));
        write(document, folder.path("out.glb"));
        EXPECT_EQ(ktReadTestFile(folder.path("out.glb")).substr(12), good.substr(12) + other);
    }
}

TEST(GltfDocument, GivenGltf_KeepsTextAndIndentation) {
    const ktTestFolder folder;
    ktSquare().saveGltf(folder.path("in.gltf"), "in.bin");
    write(read(folder.path("in.gltf")), folder.path("out.gltf"));
    EXPECT_EQ(ktReadTestFile(folder.path("out.gltf")), ktReadTestFile(folder.path("in.gltf")) + "\n");
    EXPECT_THAT(folder.names(), ElementsAre("in.bin", "in.gltf", "out.gltf"));
}

// Writing borrows parts of the document.
TEST(GltfDocument, GivenWrittenOrInterruptedDocument_IsAsBefore) {
    const ktTestFolder folder;
    withImage("a.png").saveGltf(folder.path("in.gltf"), "in.bin");
    ktWriteTestFile(folder.path("a.png"), pngBytes);
    ktGltfDocument document = read(folder.path("in.gltf"));
    const std::string before = document.json.dump();
    ktFileMessages messages;
    for (const char* name : {"out.glb", "out.gltf"}) {
        ktWriteGltf(document, folder.path(name), messages);
        EXPECT_EQ(document.json.dump(), before) << name;
        const ktReadInterrupt interruptWhileBorrowed([&] { return document.json.dump() != before; });
        EXPECT_THROW(ktWriteGltf(document, folder.path(name), messages), ktReadInterrupt::Interrupted);
        EXPECT_EQ(document.json.dump(), before) << name;
    }
}

TEST(GltfDocument, GivenGltfInAnotherFolder_CopiesItsResources) {
    const ktTestFolder folder;
    withImage("maps/a%20b.png").saveGltf(folder.path("from/in.gltf"), "in%20data.bin");
    ktWriteTestFile(folder.path("from/maps/a b.png"), pngBytes);
    std::filesystem::create_directory(folder.path("to").toStdString());
    write(read(folder.path("from/in.gltf")), folder.path("to/out.gltf"));
    EXPECT_THAT(folder.names(), UnorderedElementsAre("from/in data.bin", "from/in.gltf", "from/maps/a b.png",
                                                     "to/in data.bin", "to/maps/a b.png", "to/out.gltf"));
    EXPECT_EQ(read(folder.path("to/out.gltf")).json, read(folder.path("from/in.gltf")).json);
    EXPECT_EQ(ktReadTestFile(folder.path("to/maps/a b.png")), pngBytes);
}

TEST(GltfDocument, GivenOtherFileOfTheSameName_NeverReplacesIt) {
    const ktTestFolder folder;
    withImage("a.png").saveGltf(folder.path("from/in.gltf"), "in.bin");
    ktWriteTestFile(folder.path("from/a.png"), pngBytes);
    ktWriteTestFile(folder.path("to/a.png"), "somebody's own picture");
    write(read(folder.path("from/in.gltf")), folder.path("to/out.gltf"));
    EXPECT_EQ(ktReadTestFile(folder.path("to/a.png")), "somebody's own picture");
    const std::string uri = read(folder.path("to/out.gltf")).json["images"][0]["uri"];
    EXPECT_NE(uri, "a.png");
    EXPECT_EQ(ktReadTestFile(folder.path("to/" + uri)), pngBytes);
}

TEST(GltfDocument, GivenGltfWrittenAsGlb_EmbedsBuffersAndImages) {
    const ktTestFolder folder;
    withImage("a.png").saveGltf(folder.path("in.gltf"), "in.bin");
    ktWriteTestFile(folder.path("a.png"), pngBytes);
    EXPECT_THAT(write(read(folder.path("in.gltf")), folder.path("out.glb")), testing::IsEmpty());
    std::filesystem::remove(folder.path("in.bin").toStdString());
    std::filesystem::remove(folder.path("a.png").toStdString());
    const ktGltfDocument out = read(folder.path("out.glb"));
    ASSERT_EQ(out.buffers.size(), 1u);
    EXPECT_FALSE(out.json["buffers"][0].contains("uri"));
    EXPECT_EQ(out.json["images"][0]["mimeType"], "image/png");
    const ktJson& view = out.json["bufferViews"][out.json["images"][0]["bufferView"].get<std::size_t>()];
    const std::size_t offset = view["byteOffset"];
    const std::size_t size = view["byteLength"];
    EXPECT_EQ(std::string(out.buffers[0].bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                          out.buffers[0].bytes.begin() + static_cast<std::ptrdiff_t>(offset + size)),
              pngBytes);
}

TEST(GltfDocument, GivenSeveralBuffersWrittenAsGlb_MovesTheirViews) {
    const ktTestFolder folder;
    ktTestGltf file = ktSquare();
    file.saveGltf(folder.path("in.gltf"), "in.bin");
    ktJson json = ktJson::parse(ktReadTestFile(folder.path("in.gltf")));
    json["buffers"].push_back({{"byteLength", 3}, {"uri", "data:;base64,AQID"}});
    json["bufferViews"].push_back({{"buffer", 1}, {"byteOffset", 1}, {"byteLength", 2}});
    ktWriteTestFile(folder.path("in.gltf"), json.dump());
    write(read(folder.path("in.gltf")), folder.path("out.glb"));
    const ktGltfDocument out = read(folder.path("out.glb"));
    ASSERT_EQ(out.buffers.size(), 1u);
    const ktJson& view = out.json["bufferViews"].back();
    EXPECT_EQ(view["buffer"], 0);
    EXPECT_EQ(out.buffers[0].bytes.at(view["byteOffset"].get<std::size_t>()), 2);
}

TEST(GltfDocument, GivenViewsBeyondTheirBufferWrittenAsGlb_DoNotReadTheNextOne) {
    const ktTestFolder folder;
    ktTestGltf file = ktSquare();
    const std::size_t first = file.json["bufferViews"].size(), end = file.bytes.size();
    file.json["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", end - 2}, {"byteLength", 4}});
    file.json["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", "2"}, {"byteLength", 1}});
    file.saveGltf(folder.path("in.gltf"), "in.bin");
    ktJson json = ktJson::parse(ktReadTestFile(folder.path("in.gltf")));
    json["buffers"].push_back({{"byteLength", 3}, {"uri", "data:;base64,AQID"}});
    json["bufferViews"].push_back({{"buffer", 1}, {"byteOffset", "1"}, {"byteLength", 1}});
    ktWriteTestFile(folder.path("in.gltf"), json.dump());
    write(read(folder.path("in.gltf")), folder.path("out.glb"));
    const ktGltfDocument out = read(folder.path("out.glb"));
    EXPECT_NO_THROW(ktFindGltfView(out, 0));
    for (std::size_t view = first; view < first + 3; ++view)
        EXPECT_THROW(ktFindGltfView(out, view), ktFileError) << view;
    const ktJson same = ktJson::parse(ktReadTestFile(folder.path("in.gltf")))["bufferViews"];
    write(read(folder.path("in.gltf")), folder.path("out.gltf"));
    EXPECT_EQ(read(folder.path("out.gltf")).json["bufferViews"], same) << "nothing is moved";
}

TEST(GltfDocument, GivenGlbWrittenAsGltf_NamesItsBufferByContent) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("in.glb"));
    const ktGltfDocument document = read(folder.path("in.glb"));
    write(document, folder.path("out.gltf"));
    const std::string first = read(folder.path("out.gltf")).json["buffers"][0]["uri"];
    EXPECT_THAT(first, testing::MatchesRegex("out-[0-9a-f]+\\.bin"));
    EXPECT_EQ(read(folder.path("out.gltf")).buffers[0].bytes, document.buffers[0].bytes);

    // Writing other content deletes the old buffer and nothing else.
    ktWriteTestFile(folder.path("out-0123456789ab.bin"), "not what the name says");
    ktGltfDocument changed = document;
    changed.buffers[0].bytes[0] ^= 1;
    write(changed, folder.path("out.gltf"));
    const std::string second = read(folder.path("out.gltf")).json["buffers"][0]["uri"];
    EXPECT_NE(first, second);
    EXPECT_THAT(folder.names(), UnorderedElementsAre("in.glb", "out.gltf", second, "out-0123456789ab.bin"));
}

TEST(GltfDocument, GivenOwnBufferThatAnEarlierWriteDeleted_WritesItAgain) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("in.glb"));
    write(read(folder.path("in.glb")), folder.path("out.gltf"));
    const ktGltfDocument document = read(folder.path("out.gltf"));
    ktGltfDocument changed = document;
    changed.json["buffers"][0].erase("uri");
    changed.buffers[0].bytes[0] ^= 1;
    write(changed, folder.path("out.gltf"));
    ASSERT_FALSE(
        std::filesystem::exists(folder.path(ktJsonText(document.json["buffers"][0], "uri").c_str()).toStdString()));

    std::filesystem::create_directory(folder.path("other").toStdString());
    for (const char* name : {"other/out.gltf", "out.gltf"}) { // the second one would bring the buffer back
        EXPECT_THAT(write(document, folder.path(name)), testing::IsEmpty()) << name;
        const ktGltfDocument written = read(folder.path(name));
        EXPECT_EQ(written.buffers[0].problem, "") << name;
        EXPECT_EQ(written.buffers[0].bytes, document.buffers[0].bytes) << name;
    }
}

TEST(GltfDocument, GivenBrokenContainer_SaysWhat) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("good.glb"));
    const std::string good = ktReadTestFile(folder.path("good.glb"));
    const auto problemWith = [&](const std::string& content) {
        ktWriteTestFile(folder.path("bad.glb"), content);
        return problemOf(folder.path("bad.glb"));
    };
    for (std::size_t size : {std::size_t(5), std::size_t(12), std::size_t(19), std::size_t(100), good.size() - 1})
        EXPECT_THAT(problemWith(good.substr(0, size)), HasSubstr("truncated")) << size;
    EXPECT_THAT(problemWith("not a glTF file"), HasSubstr("JSON is broken"));
    EXPECT_THAT(problemWith(""), HasSubstr("is empty"));
    std::string version = good;
    version[4] = 3;
    EXPECT_THAT(problemWith(version), HasSubstr("version 3"));
    std::string chunk = good;
    chunk[16] = 'X';
    EXPECT_THAT(problemWith(chunk), HasSubstr("JSON chunk"));
    EXPECT_THAT(problemOf(folder.path("absent.glb")), HasSubstr("does not exist"));
    EXPECT_THAT(problemOf(folder.root()), HasSubstr("not a regular file"));
}

TEST(GltfDocument, GivenTruncationAtAnyByte_NeverCrashes) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("good.glb"));
    const std::string good = ktReadTestFile(folder.path("good.glb"));
    for (std::size_t size = 0; size < good.size(); ++size) {
        ktWriteTestFile(folder.path("bad.glb"), good.substr(0, size));
        EXPECT_NE(problemOf(folder.path("bad.glb")), "") << size;
    }
}

TEST(GltfDocument, GivenNoGltf_SaysWhy) {
    const ktTestFolder folder;
    const auto problemWith = [&](const std::string& content) {
        ktWriteTestFile(folder.path("bad.gltf"), content);
        return problemOf(folder.path("bad.gltf"));
    };
    EXPECT_THAT(problemWith("[]"), HasSubstr("not an object"));
    EXPECT_THAT(problemWith("{}"), HasSubstr("/asset: is missing"));
    EXPECT_THAT(problemWith(R"({"asset":{"version":"1.0"}})"), HasSubstr("'1.0'"));
    EXPECT_THAT(problemWith(R"({"asset":{"version":"2.1","minVersion":"2.1"}})"), HasSubstr("2.1"));
    EXPECT_EQ(problemWith(R"({"asset":{"version":"2.1"}})"), "");
}

TEST(GltfDocument, GivenCollectionThatIsNoArray_RefusesItWhenRead) {
    const ktTestFolder folder;
    for (const std::string key : {"accessors", "buffers", "bufferViews", "extensionsRequired", "extensionsUsed",
                                  "materials", "meshes", "nodes"})
        for (const nlohmann::json& value : {nlohmann::json::object(), nlohmann::json(5), nlohmann::json("x")}) {
            ktTestGltf file = ktSquare();
            file.saveGltf(folder.path("a.gltf"));
            EXPECT_EQ(problemOf(folder.path("a.gltf")), "");
            file.json[key] = value;
            ktWriteTestFile(folder.path("a.gltf"), file.json.dump());
            EXPECT_EQ(problemOf(folder.path("a.gltf")), "/" + key + ": is not an array") << value;
        }
}

TEST(GltfDocument, GivenRequiredExtension_RefusesUnsupportedOnesByName) {
    const ktTestFolder folder;
    const auto problemWith = [&](const char* name) {
        ktTestGltf file = ktSquare();
        file.json["extensionsRequired"] = {name};
        file.saveGltf(folder.path("a.gltf"));
        return problemOf(folder.path("a.gltf"));
    };
    for (const char* name : {"EXT_structural_metadata", "X_Y"})
        EXPECT_THAT(problemWith(name), HasSubstr(std::string("/extensionsRequired/0: requires the extension ") + name));
    for (const char* name :
         {"KHR_mesh_quantization", "KHR_lights_punctual", "KHR_materials_unlit", "KHR_texture_transform",
          "KHR_texture_basisu", "KHR_draco_mesh_compression", "EXT_meshopt_compression", "EXT_mesh_gpu_instancing"})
        EXPECT_EQ(problemWith(name), "");
}

TEST(GltfDocument, GivenResourceOutsideTheFolder_RefusesIt) {
    const ktTestFolder folder;
    ktWriteTestFile(folder.path("secret.bin"), std::string(1000, 'x'));
    std::filesystem::create_directory(folder.path("in").toStdString());
    const auto warningFor = [&](const std::string& uri) {
        ktSquare().saveGltf(folder.path("in/a.gltf"));
        ktJson json = ktJson::parse(ktReadTestFile(folder.path("in/a.gltf")));
        json["buffers"][0]["uri"] = uri;
        ktWriteTestFile(folder.path("in/a.gltf"), json.dump());
        const auto warnings = warningsOf(folder.path("in/a.gltf"));
        EXPECT_EQ(warnings.size(), 1u);
        return warnings.empty() ? std::string() : warnings[0];
    };
    EXPECT_THAT(warningFor("../secret.bin"), HasSubstr("/buffers/0: URI '../secret.bin' leads outside"));
    EXPECT_THAT(warningFor("sub/../../secret.bin"), HasSubstr("leads outside"));
    EXPECT_THAT(warningFor("%2e%2e/secret.bin"), HasSubstr("leads outside"));
    EXPECT_THAT(warningFor("..\\\\secret.bin"), HasSubstr("leads outside"));
    EXPECT_THAT(warningFor(folder.path("secret.bin").toStdString()), HasSubstr("absolute"));
    EXPECT_THAT(warningFor("file://" + folder.path("secret.bin").toStdString()), HasSubstr("not relative"));
    EXPECT_THAT(warningFor("http://example.org/a.bin"), HasSubstr("not relative"));
    EXPECT_THAT(warningFor("absent.bin"), HasSubstr("does not exist"));
    EXPECT_THAT(warningFor("."), HasSubstr("link"));
    std::filesystem::create_symlink(folder.path("secret.bin").toStdString(), folder.path("in/link.bin").toStdString());
    EXPECT_THAT(warningFor("link.bin"), HasSubstr("link"));
    std::filesystem::create_directory_symlink(folder.root().toStdString(), folder.path("in/up").toStdString());
    EXPECT_THAT(warningFor("up/secret.bin"), HasSubstr("link"));
}

TEST(GltfDocument, GivenShortOrBadBuffer_KeepsWhatIsThere) {
    const ktTestFolder folder;
    const auto readWith = [&](const char* key, const ktJson& value) {
        ktSquare().saveGltf(folder.path("a.gltf"), "a.bin");
        ktJson json = ktJson::parse(ktReadTestFile(folder.path("a.gltf")));
        json["buffers"][0][key] = value;
        ktWriteTestFile(folder.path("a.gltf"), json.dump());
        return read(folder.path("a.gltf"));
    };
    const std::size_t whole = ktSquare().bytes.size();
    EXPECT_EQ(readWith("byteLength", 1e15).buffers[0].bytes.size(), whole);
    EXPECT_EQ(readWith("byteLength", "x").buffers[0].bytes.size(), whole);
    EXPECT_EQ(readWith("byteLength", 8).buffers[0].bytes.size(), 8u);
    EXPECT_NE(readWith("uri", "data:;base64,!!!").buffers[0].problem, "");
    EXPECT_NE(readWith("uri", "data:").buffers[0].problem, "");
    EXPECT_NE(readWith("uri", 7).buffers[0].problem, "");
}

TEST(GltfDocument, GivenTargetThatCannotBeWritten_KeepsTheOldFile) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("in.glb"));
    const ktGltfDocument document = read(folder.path("in.glb"));
    EXPECT_THAT(writeProblem(document, folder.path("absent/out.glb")), HasSubstr("no folder"));
    EXPECT_THAT(writeProblem(document, folder.path("out.obj")), HasSubstr(".glb and .gltf"));
    std::filesystem::create_directory(folder.path("dir.glb").toStdString());
    EXPECT_THAT(writeProblem(document, folder.path("dir.glb")), HasSubstr("regular file"));

    // Simulates a full disk: no file may grow beyond 100 bytes.
    ktWriteTestFile(folder.path("out.glb"), "the old file");
    ktWriteTestFile(folder.path("out.gltf"), "the old file");
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit tiny = {100, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &tiny);
    const std::string glb = writeProblem(document, folder.path("out.glb"));
    const std::string gltf = writeProblem(document, folder.path("out.gltf"));
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_THAT(glb, HasSubstr("cannot be written"));
    EXPECT_THAT(gltf, HasSubstr("cannot be written"));
    EXPECT_EQ(ktReadTestFile(folder.path("out.glb")), "the old file");
    EXPECT_EQ(ktReadTestFile(folder.path("out.gltf")), "the old file");
    EXPECT_THAT(folder.names(), ElementsAre("in.glb", "out.glb", "out.gltf"));
}
