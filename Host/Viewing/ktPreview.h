// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "ktPreviewView.h"

#include <functional>
#include <OpenSG/OSGNode.h>
#include <string>

/// Largest width and height of a preview in pixels.
constexpr int ktLargestPreview_px = 16384;

/// How a preview is drawn.
struct ktPreviewOptions {
    float exposure = 1;                   ///< scale of the light, above 0
    int width_px = 1280, height_px = 960; ///< 1 to ktLargestPreview_px
    ktPreviewView view = {};              ///< where the camera is
    bool hasHeadlight = false;            ///< a soft light at the camera: surfaces that it meets at an angle are darker
    std::function<bool()>
        isInterrupted{}; ///< asked from time to time, on any thread; true ends the drawing. May be empty
    /// Called from time to time on the calling thread with the share that is done: 0 to 1, never decreasing, 1 once
    /// when the file is written. May be empty.
    std::function<void(double)> progressed{};
};

/// Draws the baked scene below a node into a PNG file. Writes a new file and renames it. Meanwhile handles events.
/// Scales the light down if strong lights make it brighter than white.
/// @return empty on success; else the reason, and an existing file is unchanged
KT_HOST_EXPORT std::string ktWritePreview(const osg::NodePtr& root, const std::string& fileName,
                                          const ktPreviewOptions& options = {});
