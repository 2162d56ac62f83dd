// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPreviewScene.h"
#include "ktViewLook.h"
#include "ktViewScene.h"

/// The meshes of a scene for the ray tracer: positions and triangles of its uses, in their order. Colours are white.
ktPreviewScene ktMakeTracedScene(const ktViewScene& scene);

/// Sets colours, light and materials of the meshes, so that the picture has this look. Leaves out wires and comparison;
/// the headlight is an option of the renderer. Main thread.
/// @param traced of ktMakeTracedScene() for the same scene
void ktSetTracedLook(ktPreviewScene& traced, const ktViewScene& scene, const ktViewLook& look);
