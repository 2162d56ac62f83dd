// SPDX-License-Identifier: LGPL-2.1-or-later
// Recognises image formats, and decodes WebP.
#include "ktPictureFormat.h"

#include "ktFileError.h"

#include <cstring>
#include <new>
#include <webp/decode.h>

namespace {

bool hasText(const ktBytes& image, std::size_t at, const char* text) {
    const std::size_t size = std::strlen(text);
    return image.size() >= at + size && std::memcmp(image.data() + at, text, size) == 0;
}

} // namespace

bool ktIsPng(const ktBytes& image) {
    return hasText(image, 0, "\x89PNG\r\n\x1a\n");
}

bool ktIsJpeg(const ktBytes& image) {
    return hasText(image, 0, "\xFF\xD8\xFF");
}

bool ktIsWebP(const ktBytes& image) {
    return hasText(image, 0, "RIFF") && hasText(image, 8, "WEBP");
}

QImage ktDecodeWebP(const ktBytes& image, std::int64_t most, const std::string& object) {
    WebPBitstreamFeatures features;
    if (WebPGetFeatures(image.data(), image.size(), &features) != VP8_STATUS_OK)
        throw ktFileError(object, "cannot be decoded: it is no valid WebP image");
    if (features.has_animation)
        throw ktFileError(object, "cannot be decoded: it is an animated WebP image");
    if (std::int64_t(features.width) * features.height > most)
        throw ktFileError(object, "has too many pixels");
    QImage out(features.width, features.height, QImage::Format_RGBA8888);
    WebPDecoderConfig config;
    if (out.isNull() || !WebPInitDecoderConfig(&config))
        throw std::bad_alloc();
    config.output.colorspace = MODE_RGBA;
    config.output.is_external_memory = 1;
    config.output.u.RGBA.rgba = out.bits();
    config.output.u.RGBA.stride = out.bytesPerLine();
    config.output.u.RGBA.size = static_cast<std::size_t>(out.sizeInBytes());
    const VP8StatusCode status = WebPDecode(image.data(), image.size(), &config);
    if (status == VP8_STATUS_OUT_OF_MEMORY)
        throw std::bad_alloc();
    if (status != VP8_STATUS_OK)
        throw ktFileError(object, "cannot be decoded: the WebP image is damaged");
    return out;
}

const char* ktUnreadFormat(const ktBytes& image) {
    if (hasText(image, 0, "\xABKTX 20"))
        return "KTX 2 (KHR_texture_basisu)";
    if (hasText(image, 0, "DDS "))
        return "DDS (MSFT_texture_dds)";
    if (hasText(image, 4, "ftypavif"))
        return "AVIF (EXT_texture_avif)";
    return nullptr;
}
