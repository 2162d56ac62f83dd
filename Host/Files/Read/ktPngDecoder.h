// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAssetResource.h"

#include <functional>
#include <QImage>
#include <string>

/// Decodes a PNG image with 8 bits per channel: Grayscale8, Indexed8 or RGBA8888. Colour profiles and gamma are
/// ignored, as glTF demands. `checkSize` gets the size before memory is requested, and may throw. `warning` gets
/// libpng's first warning. Throws ktFileError that names `object` if the image is damaged, and std::bad_alloc if there
/// is no memory.
QImage ktDecodePng(const ktBytes& image, const std::string& object, const std::function<void(const QSize&)>& checkSize,
                   std::string& warning);
