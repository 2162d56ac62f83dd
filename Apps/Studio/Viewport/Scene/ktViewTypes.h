// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// What the viewport shows on the surfaces.
enum class ktViewMode {
    Baked,          ///< surface colours with textures, times the baked light, as viewers show a saved file
    Occlusion,      ///< w alone, as grey
    IndirectLight,  ///< the bounced light that arrives, without the surface's colour
    BakedLight,     ///< direct and bounced light that arrives, without the surface's colour
    SurfaceColours, ///< colours and textures, without light
    FalseColours    ///< w as a colour scale with a legend
};

/// A view along an axis of the world. y is up; the front is at +z.
enum class ktStandardView { Front, Back, Left, Right, Top, Bottom };

/// What the mouse does. Both: wheel zooms to the pointer, double click moves the centre of rotation to the pointer.
enum class ktMouseStyle {
    MeshLab, ///< left drag orbits, middle or Ctrl + left drag pans, Shift + left drag selects by a rectangle
    Blender  ///< middle drag orbits, Shift + middle drag pans, Ctrl + middle drag zooms, left drag selects by a
             ///< rectangle
};

/// What the picture shows left of a divider that the mouse can drag.
enum class ktComparison {
    None,
    WithoutLight,  ///< surface colours without light
    EarlierResults ///< the results that ktSceneView::keepResultsForComparison() kept
};
