// SPDX-License-Identifier: LGPL-2.1-or-later
// Images of glTF extensions: WebP is decoded, others are named.
#include "ktSavedScene.h"
#include "OSGUberMaterial.h"

#include <gmock/gmock.h>
#include <QByteArray>
#include <webp/encode.h>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string webP() {
    const std::uint8_t pixels[] = {255, 0, 0, 255, 0, 255, 0, 128};
    std::uint8_t* out = nullptr;
    const std::size_t size = WebPEncodeLosslessRGBA(pixels, 2, 1, 8, &out);
    const std::string bytes(reinterpret_cast<const char*>(out), size);
    WebPFree(out);
    return bytes;
}

class PictureFormat : public testing::Test {
protected:
    /// Opens a square whose material has these images, one material each, and loads them. Returns the warnings.
    std::vector<std::string> load(const std::vector<std::string>& images, const char* extension) {
        ktTestGltf gltf = ktSquare();
        const ktJson primitive = gltf.json["meshes"][0]["primitives"][0];
        gltf.json["meshes"] = ktJson::array();
        gltf.json["nodes"] = ktJson::array();
        gltf.json["scenes"] = ktJson::array();
        gltf.json["extensionsUsed"] = {extension};
        gltf.json["extensionsRequired"] = {extension};
        for (std::size_t i = 0; i < images.size(); ++i) {
            const QByteArray bytes(images[i].data(), static_cast<int>(images[i].size()));
            gltf.json["images"].push_back(
                {{"uri", "data:application/octet-stream;base64," + bytes.toBase64().toStdString()}});
            gltf.json["textures"].push_back({{"extensions", {{extension, {{"source", i}}}}}});
            gltf.json["materials"].push_back({{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", i}}}}}});
            ktJson part = primitive;
            part["material"] = i;
            gltf.mesh(part);
        }
        gltf.saveGltf(folder.path("in.gltf"));
        file = ktOpenTestScene(folder.path("in.gltf"));
        ktFileReport report;
        file->loadPictures(report);
        std::vector<std::string> warnings;
        for (const ktFileWarning& warning : report.messages.warnings())
            warnings.push_back(warning.text());
        return warnings;
    }

    ktTestFolder folder;
    std::unique_ptr<ktSceneFile> file;
};

} // namespace

TEST_F(PictureFormat, GivenWebP_DecodesIt) {
    EXPECT_THAT(load({webP()}, "EXT_texture_webp"), ElementsAre());
    const auto seen = ktGeometriesOf(*file);
    const auto image = osg::UberMaterialPtr::dcast(seen[0].geometry->getMaterial())->getTexture().image;
    ASSERT_TRUE(image);
    EXPECT_EQ(image->width_px, 2);
    EXPECT_THAT(image->pixels, ElementsAre(255, 0, 0, 255, 0, 255, 0, 128));
}

TEST_F(PictureFormat, GivenDamagedWebP_LeavesItOut) {
    const std::string good = webP();
    EXPECT_THAT(load({good.substr(0, good.size() / 2)}, "EXT_texture_webp"), ElementsAre(HasSubstr("WebP")));
    EXPECT_THAT(load({good.substr(0, 13)}, "EXT_texture_webp"), ElementsAre(HasSubstr("no valid WebP image")));
}

TEST_F(PictureFormat, GivenKtx2_SaysOnceThatItCannotBeRead) {
    const std::string ktx = std::string("\xABKTX 20\xBB\r\n\x1A\n") + std::string(100, '\0');
    EXPECT_THAT(load({ktx, ktx, ktx}, "KHR_texture_basisu"),
                ElementsAre(AllOf(HasSubstr("KTX 2 (KHR_texture_basisu)"), HasSubstr("plain colour"),
                                  HasSubstr("and 2 more"))));
}
