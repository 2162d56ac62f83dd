// SPDX-License-Identifier: LGPL-2.1-or-later
// Decodes PNG images. Qt's decoder lets libpng print errors without the name of the file, and hides a lack of memory.
#include "ktPngDecoder.h"

#include "ktFileError.h"

#include <array>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <png.h>
#include <vector>

namespace {

/// What libpng reads, and what it says.
struct PngData {
    const std::uint8_t* next = nullptr;
    std::size_t left = 0;
    bool isOutOfMemory = false;
    std::array<char, 200> error = {}, warning = {}; // an error must not need memory
};

void readBytes(png_structp png, png_bytep out, std::size_t count) {
    auto* const data = static_cast<PngData*>(png_get_io_ptr(png));
    if (data->left < count)
        png_error(png, "the data ends too early");
    std::memcpy(out, data->next, count);
    data->next += count;
    data->left -= count;
}

[[noreturn]] void keepError(png_structp png, png_const_charp text) {
    auto* const data = static_cast<PngData*>(png_get_error_ptr(png));
    std::snprintf(data->error.data(), data->error.size(), "%s", text);
    png_longjmp(png, 1);
}

void keepWarning(png_structp png, png_const_charp text) {
    auto* const data = static_cast<PngData*>(png_get_error_ptr(png));
    if (!data->warning[0])
        std::snprintf(data->warning.data(), data->warning.size(), "%s", text);
}

png_voidp allocate(png_structp png, png_alloc_size_t size) {
    void* const memory = std::malloc(size);
    if (!memory)
        static_cast<PngData*>(png_get_mem_ptr(png))->isOutOfMemory = true;
    return memory;
}

void release(png_structp, png_voidp memory) {
    std::free(memory);
}

/// libpng's structures.
class PngReader {
public:
    explicit PngReader(PngData& data)
        : png(png_create_read_struct_2(PNG_LIBPNG_VER_STRING, &data, keepError, keepWarning, &data, allocate, release)),
          info(png ? png_create_info_struct(png) : nullptr) {
        if (info)
            png_set_read_fn(png, &data, readBytes);
    }
    ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;

    bool isGood() const { return info != nullptr; }
    /// Reads all before the pixels, and asks for channels of 8 bits. Returns false after an error.
    bool readHeader() const;
    /// Returns false after an error.
    bool readPixels(png_bytepp rows) const;
    QImage::Format format() const;
    QSize size() const {
        return {static_cast<int>(png_get_image_width(png, info)), static_cast<int>(png_get_image_height(png, info))};
    }
    QVector<QRgb> palette() const;

private:
    png_structp png;
    png_infop info;
};

// An error of libpng jumps back to setjmp() past all destructors, so these two functions have no objects.
bool PngReader::readHeader() const {
    if (setjmp(png_jmpbuf(png)))
        return false;
    png_read_info(png, info);
    png_set_scale_16(png);
    const bool isTransparent = png_get_valid(png, info, PNG_INFO_tRNS) != 0;
    const int colors = png_get_color_type(png, info);
    if (colors == PNG_COLOR_TYPE_PALETTE)
        png_set_packing(png); // transparency is in the palette
    else if (colors == PNG_COLOR_TYPE_GRAY && !isTransparent)
        png_set_expand_gray_1_2_4_to_8(png);
    else {
        png_set_expand(png);
        png_set_gray_to_rgb(png);
        png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
    }
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    return true;
}

bool PngReader::readPixels(png_bytepp rows) const {
    if (setjmp(png_jmpbuf(png)))
        return false;
    png_read_image(png, rows);
    png_read_end(png, nullptr);
    return true;
}

QImage::Format PngReader::format() const {
    switch (png_get_color_type(png, info)) {
    case PNG_COLOR_TYPE_PALETTE:
        return QImage::Format_Indexed8;
    case PNG_COLOR_TYPE_GRAY:
        return QImage::Format_Grayscale8;
    default:
        return QImage::Format_RGBA8888;
    }
}

QVector<QRgb> PngReader::palette() const {
    png_colorp colors = nullptr;
    png_bytep alphas = nullptr;
    int colorCount = 0, alphaCount = 0;
    png_get_PLTE(png, info, &colors, &colorCount);
    png_get_tRNS(png, info, &alphas, &alphaCount, nullptr);
    QVector<QRgb> palette;
    for (int i = 0; i < colorCount; ++i)
        palette.append(qRgba(colors[i].red, colors[i].green, colors[i].blue, i < alphaCount ? alphas[i] : 0xFF));
    return palette;
}

} // namespace

QImage ktDecodePng(const ktBytes& image, const std::string& object, const std::function<void(const QSize&)>& checkSize,
                   std::string& warning) {
    PngData data;
    data.next = image.data();
    data.left = image.size();
    const PngReader reader(data);
    const auto check = [&](bool isGood) {
        if (data.isOutOfMemory)
            throw std::bad_alloc();
        if (!isGood)
            throw ktFileError(object, std::string("cannot be decoded: libpng: ") + data.error.data());
    };
    check(reader.isGood());
    check(reader.readHeader());
    checkSize(reader.size());
    QImage decoded(reader.size(), reader.format());
    if (decoded.isNull())
        throw std::bad_alloc();
    if (decoded.format() == QImage::Format_Indexed8)
        decoded.setColorTable(reader.palette());
    std::vector<png_bytep> rows(static_cast<std::size_t>(decoded.height()));
    for (int y = 0; y < decoded.height(); ++y)
        rows[static_cast<std::size_t>(y)] = decoded.scanLine(y);
    check(reader.readPixels(rows.data()));
    warning = data.warning.data();
    return decoded;
}
