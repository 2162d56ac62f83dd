// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAssetResource.h"

#include <QImage>

/// Whether an image is in the PNG format.
bool ktIsPng(const ktBytes& image);
/// Whether an image is in the JPEG format.
bool ktIsJpeg(const ktBytes& image);
/// Whether an image is in the WebP format.
bool ktIsWebP(const ktBytes& image);
/// Decodes a WebP image. Throws ktFileError that names `object` if it is damaged or has more than `most` pixels.
QImage ktDecodeWebP(const ktBytes& image, std::int64_t most, const std::string& object);

/// The name of a format that cannot be read, with the glTF extension that it comes with; null for any other content.
const char* ktUnreadFormat(const ktBytes& image);
