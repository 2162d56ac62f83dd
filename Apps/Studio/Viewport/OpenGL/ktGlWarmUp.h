// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGlPicture.h"

#include <vector>

/// Draws small surfaces in the ways that scenes need, step by step, and so ahead of the first scene: drivers compile
/// programs when something is drawn with them, and again for each number of samples. All calls need the current
/// context.
class ktGlWarmUp {
public:
    struct Drawn {
        ktGlPicture* picture;
        ktGlRequest request; ///< the camera does not matter
    };

    /// @param pictures what draws them; each draws all surfaces
    ktGlWarmUp(ktGlMeshes& meshes, std::vector<Drawn> pictures);
    /// Draws the next few surfaces. @return the picture that is done now, or null
    /// @throws as ktGlShaders
    ktGlPicture* advance();
    bool isDone() const { return nextScene == scenes.size(); }

private:
    ktGlMeshes& meshes;
    std::vector<Drawn> pictures;
    std::vector<ktViewScene> scenes; ///< the most common surfaces first
    std::size_t nextScene = 0, nextPicture = 0;
    bool isBegun = false;
};
