// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPreviewCamera.h"
#include "ktPreviewScene.h"

#include <QImage>

class ktTracer;

/// Draws a scene as it was baked: the light of the vertices, interpolated, times the surfaces' colours, over a neutral
/// background, sixteen rays a pixel. Works without a display.
/// @param tracer  built here; holds nothing of the scene afterwards
/// @param width, height pixels, at least 1
/// @param exposure scale of the light
/// @return opaque 32-bit image in sRGB; null when the tracer's structure could not be built
/// @throws std::bad_alloc when memory runs out
QImage ktRenderPreview(const ktPreviewScene& scene, const ktPreviewCamera& camera, ktTracer& tracer, int width,
                       int height, float exposure);
