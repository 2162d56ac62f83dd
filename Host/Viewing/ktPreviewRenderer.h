// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPreviewCamera.h"
#include "ktPreviewScene.h"

#include <functional>
#include <QImage>

class ktTracer;

/// Draws a baked scene: surface colour times interpolated vertex light, over a neutral background. Sixteen rays per
/// pixel. Needs no display.
/// @param tracer  its structure is built here; keeps no data of the scene afterwards
/// @param width, height pixels, at least 1
/// @param exposure scale of the light
/// @param isInterrupted asked from time to time, on any thread; true ends the drawing
/// @return opaque 32-bit image in sRGB; null if the tracer's structure could not be built, or if interrupted
/// @throws std::bad_alloc if memory runs out
QImage ktRenderPreview(
    const ktPreviewScene& scene, const ktPreviewCamera& camera, ktTracer& tracer, int width, int height, float exposure,
    const std::function<bool()>& isInterrupted = [] { return false; });
