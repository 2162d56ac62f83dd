// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "ktSceneCamera.h"

#include <optional>
#include <string>
#include <vector>

/// Where the camera of a preview is. The front of a scene is at +z and its right side at +x.
struct ktPreviewView {
    enum class Side {
        ThreeQuarter, ///< from the front, the right and above
        Front,
        Back,
        Left,
        Right,
        Top,   ///< the front is below in the picture
        Bottom ///< the front is above in the picture
    };
    Side side = Side::ThreeQuarter; ///< the camera looks at the whole scene from here
    double turn_degrees = 0;        ///< turns the camera around the scene, counterclockwise seen from above; finite
    std::optional<ktSceneCamera> camera = {}; ///< this camera instead of a side
};

/// The names of the sides, in their order: "three-quarter", "front" and so on.
KT_HOST_EXPORT const std::vector<std::string>& ktPreviewSideNames();

/// The view of a name: the name of a side, "camera" for the first camera, or the name of a camera.
/// @param cameras of the scene
/// @param reason  set if there is no such view: says so, and lists the views
/// @return empty if there is no such view
KT_HOST_EXPORT std::optional<ktPreviewView>
ktFindPreviewView(const std::string& name, const std::vector<ktSceneCamera>& cameras, std::string& reason);
