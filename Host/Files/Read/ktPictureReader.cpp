// SPDX-License-Identifier: LGPL-2.1-or-later
// Decodes an image of a glTF document from a buffer, a data URI or a file, and scales large ones down.
#include "ktPictureReader.h"

#include "ktFileError.h"
#include "ktGltfAccessor.h"

#include <cstring>
#include <limits>
#include <QBuffer>
#include <QImageReader>

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
    if (size.isValid() && std::max(size.width(), size.height()) > ktLargestPicture_px)
        reader.setScaledSize(
            size.scaled(ktLargestPicture_px, ktLargestPicture_px, Qt::KeepAspectRatio).expandedTo({1, 1}));
    const QImage decoded = reader.read().convertToFormat(QImage::Format_RGBA8888);
    if (decoded.isNull())
        throw ktFileError(object, "cannot be decoded: " + reader.errorString().toStdString());

    auto picture = std::make_shared<ktImage>();
    picture->width_px = decoded.width();
    picture->height_px = decoded.height();
    const std::size_t row = 4 * static_cast<std::size_t>(decoded.width());
    picture->pixels.resize(row * static_cast<std::size_t>(decoded.height()));
    for (int y = 0; y < decoded.height(); ++y)
        std::memcpy(&picture->pixels[row * static_cast<std::size_t>(y)], decoded.constScanLine(y), row);
    return picture;
}
