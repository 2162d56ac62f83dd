// SPDX-License-Identifier: LGPL-2.1-or-later
// Pictures that take far more memory than their data warrants or than there is, of other formats, and with words of the
// decoder.
#include "ktMemoryLimit.h"
#include "ktSavedScene.h"

#include <gmock/gmock.h>
#include <QBuffer>
#include <QImage>
#include <webp/encode.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

int printedByQt = 0;

/// Opens a square with the textures.
std::unique_ptr<ktSceneFile> open(const std::vector<QByteArray>& pictures) {
    const ktTestFolder folder;
    ktTestGltf gltf = ktSquare();
    const ktJson primitive = gltf.json["meshes"][0]["primitives"][0];
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        gltf.json["images"].push_back({{"uri", "data:image/png;base64," + pictures[i].toBase64().toStdString()}});
        gltf.json["textures"].push_back({{"source", i}});
        gltf.json["materials"].push_back({{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", i}}}}}});
        ktJson textured = primitive;
        textured["material"] = i;
        gltf.mesh(textured);
    }
    gltf.saveGlb(folder.path("a.glb"));
    return ktOpenTestScene(folder.path("a.glb"));
}

/// Opens a square with the textures and decodes them. The warnings.
std::vector<std::string> decode(const std::vector<QByteArray>& pictures) {
    const auto file = open(pictures);
    ktFileReport report;
    const QtMessageHandler former =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) { ++printedByQt; });
    printedByQt = 0;
    file->loadPictures(report);
    qInstallMessageHandler(former);
    EXPECT_TRUE(report.isGood()) << report.error;
    std::vector<std::string> texts;
    for (const ktFileWarning& warning : report.messages.warnings())
        texts.push_back(warning.text());
    return texts;
}

QByteArray png(const QImage& image) {
    QBuffer buffer;
    EXPECT_TRUE(image.save(&buffer, "PNG"));
    return buffer.data();
}

/// One colour, one bit per pixel.
QImage blank(int side) {
    QImage image(side, side, QImage::Format_Mono);
    image.fill(0);
    return image;
}

} // namespace

TEST(PictureLimits, GivenFormatThatGltfDoesNotAllow_DoesNotDecodeIt) {
    const QByteArray xbm = "#define a_width 16384\n#define a_height 16384\nstatic char a_bits[] = {\n0x00};\n";
    const QByteArray ppm = "P6 2 1 255 abcdef";
    for (const QByteArray& picture : {xbm, ppm})
        EXPECT_THAT(decode({picture}), ElementsAre(HasSubstr("is none of PNG, JPEG and WebP")));
}

TEST(PictureLimits, GivenFarMorePixelsThanData_DoesNotDecodeIt) {
    const QByteArray large = png(blank(12000));
    ASSERT_LT(large.size(), 40000);
    EXPECT_THAT(decode({large}), ElementsAre(testing::ContainsRegex("has 12000 x 12000 pixels, too many for its "
                                                                    "[0-9]+ bytes")));
    EXPECT_THAT(decode({png(blank(4096))}), IsEmpty()) << "a usual size";
}

TEST(PictureLimits, GivenBrokenPicture_NamesItAndPrintsNothingElse) {
    QImage image(64, 64, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray cut = png(image);
    cut.truncate(cut.size() - 30);
    QByteArray wrong = png(image);
    wrong[wrong.size() - 20] = static_cast<char>(wrong[wrong.size() - 20] ^ 0x55);
    for (const QByteArray& picture : {cut, wrong}) {
        testing::internal::CaptureStderr();
        EXPECT_THAT(decode({picture}), ElementsAre(HasSubstr("/images/0: ")));
        EXPECT_EQ(printedByQt, 0);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), IsEmpty()) << "not by libpng either";
    }
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // without them, memory can be limited
TEST(PictureLimits, GivenTooLittleMemory_FailsInsteadOfLeavingThePictureOut) {
    const int side = 1024;
    const std::vector<std::uint8_t> pixels(4 * side * side);
    std::uint8_t* encoded = nullptr;
    const std::size_t size = WebPEncodeLosslessRGBA(pixels.data(), side, side, 4 * side, &encoded);
    const QByteArray webP(reinterpret_cast<const char*>(encoded), static_cast<int>(size));
    WebPFree(encoded);
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    ASSERT_TRUE(blank(4096).save(&buffer, "JPEG"));
    for (const QByteArray& picture : {png(blank(4096)), jpeg, webP}) {
        const auto file = open({picture});
        ktFileReport report;
        {
            const ktMemoryLimit limit(1 << 20);
            file->loadPictures(report);
        }
        EXPECT_TRUE(report.isOutOfMemory) << report.error;
        EXPECT_THAT(report.messages.warnings(), IsEmpty());
        EXPECT_TRUE(file->hasPicturesToLoad());
        ktFileReport later;
        file->loadPictures(later);
        EXPECT_TRUE(later.isGood());
        EXPECT_THAT(later.messages.warnings(), IsEmpty());
    }
}
#endif
