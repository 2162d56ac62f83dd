// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktImage.h"

#include <memory>

/// Longest side of a picture in pixels; larger pictures are shrunk by a whole number. This is enough: their colours
/// only tint bounced light and the preview.
const int ktLargestPicture_px = 2048;

/// Decodes an image of a document (PNG, JPEG and other formats with a Qt plug-in). Throws ktFileError that names the
/// image if it cannot be found or decoded, or has more than 2^28 pixels.
std::shared_ptr<const ktImage> ktReadPicture(const ktGltfDocument& document, std::size_t image);
