// SPDX-License-Identifier: LGPL-2.1-or-later
// Decodes an image of a glTF document from a buffer, a data URI or a file, and scales large ones down.
#include "ktPictureReader.h"

#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktGltfAccessor.h"
#include "ktPictureFormat.h"
#include "ktPngDecoder.h"

#include <algorithm>
#include <limits>
#include <new>
#include <QBuffer>
#include <QImageReader>
#include <QtGlobal>
#include <vector>

namespace {

// Pixels that a picture may have: a short file must not fill the memory. 512 pixels of one colour are about a byte in
// a PNG file.
const std::int64_t alwaysAllowed = std::int64_t(1) << 24, mostAllowed = std::int64_t(1) << 28;
const std::int64_t pixelsPerByte = 512;
// Pixels of all pictures together, after shrinking.
const std::int64_t allowedTogether = std::int64_t(1) << 27, togetherPerByte = 64;

/// Keeps what Qt and the libraries that it uses print while they decode an image: their words name no file.
class DecoderWords {
public:
    DecoderWords() {
        former = qInstallMessageHandler(keep);
        current = this;
    }
    ~DecoderWords() {
        current = nullptr;
        qInstallMessageHandler(former);
    }
    DecoderWords(const DecoderWords&) = delete;
    DecoderWords& operator=(const DecoderWords&) = delete;
    /// The first line; empty if nothing was printed.
    std::string first() const { return text.toStdString(); }

private:
    static void keep(QtMsgType type, const QMessageLogContext& context, const QString& line) {
        if (!current) // another thread
            return former(type, context, line);
        if (current->text.isEmpty())
            current->text = line;
    }

    static thread_local DecoderWords* current;
    static QtMessageHandler former;
    QString text;
};

thread_local DecoderWords* DecoderWords::current = nullptr;
QtMessageHandler DecoderWords::former = nullptr;

/// What an image is read from; equal for images with the same pixels. Empty: from nothing.
std::string sourceOf(const ktJson& image) {
    if (const auto view = ktJsonWhole(image, "bufferView"))
        return "#" + std::to_string(*view);
    return ktJsonText(image, "uri");
}

// The most pixels that an image of this size may have.
std::int64_t allowedPixels(const ktBytes& bytes) {
    return std::clamp(pixelsPerByte * static_cast<std::int64_t>(bytes.size()), alwaysAllowed, mostAllowed);
}

void checkSize(const QSize& size, const ktBytes& bytes, const std::string& object) {
    if (std::int64_t(size.width()) * size.height() > allowedPixels(bytes))
        throw ktFileError(object, "has " + std::to_string(size.width()) + " x " + std::to_string(size.height()) +
                                      " pixels, too many for its " + std::to_string(bytes.size()) + " bytes");
}

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
    if (divisor > 1)
        reader.setScaledSize({(size.width() + divisor - 1) / divisor, (size.height() + divisor - 1) / divisor});
}

int stepOf(const QSize& size) {
    return (std::max(size.width(), size.height()) + ktLargestPicture_px - 1) / ktLargestPicture_px;
}

struct Decoded {
    QImage image;             // null: it could not be decoded
    QSize size;               // that the data names; invalid: none
    std::string words, error; // of the decoder
};

// Decodes JPEG. Large images are shrunk on the way.
Decoded tryToDecode(const ktBytes& bytes, const std::string& object) {
    QByteArray raw =
        QByteArray::fromRawData(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
    QBuffer buffer(&raw);
    buffer.open(QIODevice::ReadOnly);
    const DecoderWords words;
    QImageReader reader(&buffer, "jpeg");
    reader.setAutoDetectImageFormat(false);
    Decoded decoded;
    decoded.size = reader.size();
    if (!decoded.size.isValid()) {
        decoded.error = reader.canRead() ? "it names no size" : reader.errorString().toStdString();
        return decoded;
    }
    checkSize(decoded.size, bytes, object);
    shrinkJpeg(reader, decoded.size, stepOf(decoded.size));
    decoded.image = reader.read();
    decoded.words = words.first();
    decoded.error = decoded.words.empty() ? reader.errorString().toStdString() : decoded.words;
    return decoded;
}

// Throws std::bad_alloc if there is no memory for an image of that size.
void checkMemory(const QSize& size) {
    constexpr std::size_t ofDecoder_bytes = 1 << 20, perPixel_bytes = 4;
    std::size_t bytes = ofDecoder_bytes;
    if (size.isValid())
        bytes += perPixel_bytes * static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height());
    ::operator delete(::operator new(bytes));
}

// Qt and the libraries that it uses do not tell a lack of memory from a broken image. A lack is over at the second
// attempt, or checkMemory() finds it.
QImage decodeJpeg(const ktBytes& bytes, const std::string& object, std::string& warning) {
    Decoded decoded = tryToDecode(bytes, object);
    if (decoded.image.isNull() || decoded.words.find("memory") != std::string::npos) {
        checkMemory(decoded.size);
        decoded = tryToDecode(bytes, object);
    }
    if (decoded.image.isNull())
        throw ktFileError(object, "cannot be decoded: " + decoded.error);
    warning = decoded.words;
    return decoded.image;
}

// The content says which format it is; glTF allows no others.
QImage decode(const ktBytes& bytes, const std::string& object, ktFileMessages& messages) {
    std::string warning;
    QImage image;
    if (ktIsWebP(bytes))
        image = ktDecodeWebP(bytes, allowedPixels(bytes), object);
    else if (ktIsPng(bytes))
        image = ktDecodePng(
            bytes, object, [&](const QSize& size) { checkSize(size, bytes, object); }, warning);
    else if (ktIsJpeg(bytes))
        image = decodeJpeg(bytes, object, warning);
    else
        throw ktFileError(object, "is none of PNG, JPEG and WebP");
    if (!warning.empty())
        messages.warn(object, "is decoded with a warning: " + warning);
    return image;
}

} // namespace

ktPictureReader::ktPictureReader(const ktGltfDocument& document_)
    : document(document_),
      pixelsLeft(allowedTogether + togetherPerByte * static_cast<std::int64_t>(document_.dataSize())) {}

std::shared_ptr<const ktImage> ktPictureReader::read(std::size_t index, ktFileMessages& messages) {
    const std::string object = ktPointer("images", index);
    const ktJson* json = ktJsonElement(document.json, "images", index);
    if (!json)
        throw ktFileError(object, "does not exist");
    const std::string source = sourceOf(*json);
    if (const auto found = known.find(source); found != known.end())
        return found->second;
    const ktBytes bytes = encodedBytes(document, *json, object);
    if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw ktFileError(object, "is too large");
    if (const char* format = ktUnreadFormat(bytes))
        throw ktFileError(object, std::string("cannot be decoded: the format ") + format +
                                      " cannot be read; the plain colour of the material stands in");
    const QImage decoded = decode(bytes, object, messages);
    checkSize(decoded.size(), bytes, object);
    const int step = std::max(1, stepOf(decoded.size()));
    if (!ktJsonMember(*json, "bufferView"))
        pixelsLeft += togetherPerByte * static_cast<std::int64_t>(bytes.size());
    pixelsLeft -= std::int64_t(decoded.width() / step) * (decoded.height() / step);
    if (pixelsLeft < 0)
        throw ktFileError(object, "has more pixels than a file of this size may have together");
    auto picture = std::make_shared<ktImage>();
    copyShrunk(decoded, step, *picture);
    known.emplace(source, picture);
    return picture;
}
