// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktImage.h"

#include <map>
#include <memory>
#include <string>

/// Longest side of a picture in pixels; larger pictures are shrunk by a whole number. This is enough: their colours
/// only tint bounced light and the preview.
const int ktLargestPicture_px = 2048;

/// Decodes the images of a document: PNG, JPEG and WebP. The format follows from the content.
class ktPictureReader {
public:
    /// The document must outlive the reader.
    explicit ktPictureReader(const ktGltfDocument& document);
    /// Decodes an image; images with the same source once. Throws ktFileError that names the image if it cannot be
    /// found or decoded, or has far more pixels than its data warrants; std::bad_alloc if there is no memory for it.
    std::shared_ptr<const ktImage> read(std::size_t image, ktFileMessages& messages);

private:
    const ktGltfDocument& document;
    std::int64_t pixelsLeft; ///< that pictures may have together
    std::map<std::string, std::shared_ptr<const ktImage>> known;
};
