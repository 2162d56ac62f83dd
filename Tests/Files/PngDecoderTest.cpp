// SPDX-License-Identifier: LGPL-2.1-or-later
// PNG images of each kind of pixels, damaged ones, and ones with something that libpng warns about.
#include "ktFileError.h"
#include "ktPngDecoder.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <QBuffer>

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

ktBytes encode(const QImage& image) {
    QBuffer buffer;
    EXPECT_TRUE(image.save(&buffer, "PNG"));
    return ktBytes(buffer.data().begin(), buffer.data().end());
}

QImage decode(const ktBytes& bytes, std::string& warning) {
    return ktDecodePng(
        bytes, "/images/0", [](const QSize&) {}, warning);
}

/// Colours and alphas that are all different.
QImage colorful() {
    QImage image(37, 23, QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgba(7 * x % 256, 11 * y % 256, (x * y) % 256, 255 - 3 * x));
    return image;
}

int greatestDifference(const QImage& a, const QImage& b) {
    const QImage first = a.convertToFormat(QImage::Format_RGBA8888),
                 second = b.convertToFormat(QImage::Format_RGBA8888);
    EXPECT_EQ(first.size(), second.size());
    int greatest = 0;
    for (int y = 0; y < first.height(); ++y)
        for (int i = 0; i < 4 * first.width(); ++i)
            greatest = std::max(greatest, std::abs(int(first.constScanLine(y)[i]) - int(second.constScanLine(y)[i])));
    return greatest;
}

} // namespace

TEST(PngDecoder, GivenAnyKindOfPixels_AgreesWithQt) {
    for (const auto format :
         {QImage::Format_Mono, QImage::Format_Indexed8, QImage::Format_Grayscale8, QImage::Format_RGB888,
          QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_RGBA64}) {
        const ktBytes bytes = encode(colorful().convertToFormat(format));
        std::string warning;
        const QImage decoded = decode(bytes, warning);
        EXPECT_THAT(warning, IsEmpty());
        const QImage expected = QImage::fromData(bytes.data(), static_cast<int>(bytes.size()));
        EXPECT_EQ(greatestDifference(decoded, expected), 0) << "format " << format;
    }
}

TEST(PngDecoder, GivenSizeThatIsRefused_DecodesNothing) {
    std::string warning;
    const auto refuse = [](const QSize& size) {
        EXPECT_EQ(size, QSize(37, 23));
        throw ktFileError("/images/0", "is refused");
    };
    EXPECT_THROW(ktDecodePng(encode(colorful()), "/images/0", refuse, warning), ktFileError);
}

TEST(PngDecoder, GivenDataThatEndsAnywhere_SaysWhyAndPrintsNothing) {
    const ktBytes whole = encode(colorful());
    testing::internal::CaptureStderr();
    for (std::size_t size = 0; size < whole.size(); size += 13) {
        std::string warning;
        try {
            decode(ktBytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)), warning);
            ADD_FAILURE() << "decoded from " << size << " bytes";
        } catch (const ktFileError& error) {
            EXPECT_THAT(error.what(), HasSubstr("cannot be decoded: libpng: "));
        }
    }
    EXPECT_THAT(testing::internal::GetCapturedStderr(), IsEmpty());
}

TEST(PngDecoder, GivenDamagedComment_DecodesWithAWarning) {
    const ktBytes whole = encode(colorful());
    const char comment[] = "\0\0\0\3tEXta\0bXXXX";    // its length, its checksum is wrong
    ktBytes bytes(whole.begin(), whole.begin() + 33); // signature and header
    bytes.insert(bytes.end(), comment, comment + sizeof comment - 1);
    bytes.insert(bytes.end(), whole.begin() + 33, whole.end());
    std::string warning;
    EXPECT_EQ(greatestDifference(decode(bytes, warning), colorful()), 0);
    EXPECT_THAT(warning, HasSubstr("tEXt"));
}
