// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGColor.h>
#include <string>

/// A named set of calculation parameters. It has no direct-light mode: applying a preset does not change the mode.
struct AOPreset {
    std::string name;        ///< shown to the user, UTF-8; need not be unique
    int quality = 0;         ///< shadow quality in preset units, four times the controller's
    float minDistance = 0;   ///< world units
    float maxDistance = 0;   ///< world units
    bool indirect = false;   ///< indirect illumination enabled
    int indirectQuality = 0; ///< gather quality in preset units, four times the controller's
    bool materialOverride = false;
    osg::Color3f materialColor; ///< override colour: red, green, blue, linear
    bool colorBleeding = false;
    int numIndirections = 0; ///< number of bounces
    bool subdivision = false;
    int subdivisionQuality = 0;
    float minEdgeLength = 0; ///< world units
    float intensityThreshold = 0;
};
