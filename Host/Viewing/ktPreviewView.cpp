// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds the view of a preview by its name: a side of the scene, or one of its cameras.
#include "ktPreviewView.h"

#include <algorithm>

const std::vector<std::string>& ktPreviewSideNames() {
    static const std::vector<std::string> names = {"three-quarter", "front", "back", "left", "right", "top", "bottom"};
    return names;
}

std::optional<ktPreviewView> ktFindPreviewView(const std::string& name, const std::vector<ktSceneCamera>& cameras,
                                               std::string& reason) {
    ktPreviewView view;
    const std::vector<std::string>& sides = ktPreviewSideNames();
    const auto side = std::find(sides.begin(), sides.end(), name);
    if (side != sides.end()) {
        view.side = static_cast<ktPreviewView::Side>(side - sides.begin());
        return view;
    }
    const bool isAny = name == "camera";
    const auto camera = std::find_if(cameras.begin(), cameras.end(), [&](const ktSceneCamera& one) {
        return isAny || (!one.name.empty() && one.name == name);
    });
    if (camera != cameras.end()) {
        view.camera = *camera;
        return view;
    }
    reason = isAny ? "the scene has no camera" : "there is no view \"" + name + "\"";
    reason += "; the views are ";
    for (const std::string& one : sides)
        reason += (&one == &sides.front() ? "" : ", ") + one;
    for (const ktSceneCamera& one : cameras)
        if (!one.name.empty())
            reason += ", \"" + one.name + "\"";
    return {};
}
