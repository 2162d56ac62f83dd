// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktImage.h"

#include <memory>

/// Longest side, in pixels, that a picture is kept at; larger ones are reduced. Their colours only tint bounced light
/// and the preview.
const int ktLargestPicture_px = 2048;

/// Decodes an image of a document (PNG, JPEG and what else Qt has plug-ins for). Throws ktFileError that names the
/// image when it cannot be found or decoded, or has more than 2^28 pixels.
std::shared_ptr<const ktImage> ktReadPicture(const ktGltfDocument& document, std::size_t image);
