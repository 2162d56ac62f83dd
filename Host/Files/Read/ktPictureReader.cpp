// SPDX-License-Identifier: LGPL-2.1-or-later
// Decodes an image of a glTF document from a buffer, a data URI or a file, and scales large ones down.
#include "ktPictureReader.h"

#include "ktFileError.h"
#include "ktGltfAccessor.h"

#include <algorithm>
#include <limits>
#include <QBuffer>
#include <QImageReader>
#include <vector>

namespace {

const std::int64_t pixelLimit = std::int64_t(1) << 28;

ktBytes encodedBytes(const ktGltfDocument& document, const ktJson& image, const std::string& object) {
    if (const auto view = ktJsonWhole(image, "bufferView")) {
        const ktGltfViewRange range = ktFindGltfView(document, static_cast<std::size_t>(*view));
        return ktBytes(range.data, range.data + range.size);
    }
    const std::string uri = ktJsonText(image, "uri");
    if (uri.empty())
        throw ktFileError(object, "has no data");
    if (ktIsDataUri(uri))
        return ktDecodeDataUri(uri, object);
    return ktReadWholeFile(ktResolveAssetUri(document.folder(), uri, object), object);
}

// Qt converts and scales large images in its thread pool, and waits for ever for a thread that the system does not
// start. Images of at most this many pixels are converted by the calling thread.
constexpr int convertedPixels = 1 << 13;

// Rows [first, first + count) of an image, as RGBA.
QImage rowsOf(const QImage& image, int first, int count) {
    QImage rows(image.constScanLine(first), image.width(), count, image.bytesPerLine(), image.format());
    if (image.colorCount() > 0)
        rows.setColorTable(image.colorTable());
    return rows.convertToFormat(QImage::Format_RGBA8888);
}

// Copies an image as RGBA. Each pixel becomes the mean of `step` by `step` pixels, fewer at the edges.
void copyShrunk(const QImage& image, int step, ktImage& picture) {
    picture.width_px = (image.width() + step - 1) / step;
    picture.height_px = (image.height() + step - 1) / step;
    const auto rowSize = static_cast<std::size_t>(picture.width_px);
    picture.pixels.resize(4 * rowSize * static_cast<std::size_t>(picture.height_px));
    const int together = std::max(1, convertedPixels / image.width());
    std::vector<std::uint32_t> sums(4 * rowSize);
    QImage rows;
    for (int y = 0; y < image.height(); ++y) {
        if (y % together == 0)
            rows = rowsOf(image, y, std::min(together, image.height() - y));
        const uchar* const row = rows.constScanLine(y % together);
        for (std::size_t x = 0; x < static_cast<std::size_t>(image.width()); ++x)
            for (std::size_t c = 0; c < 4; ++c)
                sums[4 * (x / static_cast<std::size_t>(step)) + c] += row[4 * x + c];
        if ((y + 1) % step != 0 && y + 1 < image.height())
            continue;
        const auto height = static_cast<std::uint32_t>(y % step + 1);
        std::uint8_t* const out = &picture.pixels[4 * rowSize * static_cast<std::size_t>(y / step)];
        for (std::size_t i = 0; i < sums.size(); ++i) {
            const auto left = static_cast<std::uint32_t>(image.width()) - static_cast<std::uint32_t>(i / 4) * step;
            const std::uint32_t count = std::max(1u, height * std::min(static_cast<std::uint32_t>(step), left));
            out[i] = static_cast<std::uint8_t>((sums[i] + count / 2) / count);
            sums[i] = 0;
        }
    }
}

// Lets the JPEG decoder shrink an image, which saves memory. It can do so exactly by 2, 4 and 8.
void shrinkJpeg(QImageReader& reader, const QSize& size, int step) {
    int divisor = 1;
    while (divisor < 8 && 2 * divisor <= step)
        divisor *= 2;
    if (divisor > 1 && reader.format() == "jpeg")
        reader.setScaledSize({(size.width() + divisor - 1) / divisor, (size.height() + divisor - 1) / divisor});
}

int stepOf(const QSize& size) {
    return (std::max(size.width(), size.height()) + ktLargestPicture_px - 1) / ktLargestPicture_px;
}

} // namespace

std::shared_ptr<const ktImage> ktReadPicture(const ktGltfDocument& document, std::size_t index) {
    const std::string object = ktPointer("images", index);
    const ktJson* json = ktJsonElement(document.json, "images", index);
    if (!json)
        throw ktFileError(object, "does not exist");
    const ktBytes bytes = encodedBytes(document, *json, object);
    if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw ktFileError(object, "is too large");
    QByteArray raw =
        QByteArray::fromRawData(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
    QBuffer buffer(&raw);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    if (size.isValid() && std::int64_t(size.width()) * size.height() > pixelLimit)
        throw ktFileError(object, "has too many pixels");
    if (size.isValid())
        shrinkJpeg(reader, size, stepOf(size));
    const QImage decoded = reader.read();
    if (decoded.isNull())
        throw ktFileError(object, "cannot be decoded: " + reader.errorString().toStdString());
    if (std::int64_t(decoded.width()) * decoded.height() > pixelLimit)
        throw ktFileError(object, "has too many pixels");
    auto picture = std::make_shared<ktImage>();
    copyShrunk(decoded, std::max(1, stepOf(decoded.size())), *picture);
    return picture;
}
