// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGNode.h>
#include <optional>
#include <string>

/// The length of one unit of a file's positions.
struct ktLengthUnit {
    double millimetres = 0.0; ///< per unit; 0: choose by the scene's size

    bool isAutomatic() const { return millimetres == 0.0; }
};

/// Parses "auto", "m", "cm", "mm", "inch", "foot" or a number above 0, which is millimetres per unit. Empty for
/// anything else.
KT_HOST_EXPORT std::optional<ktLengthUnit> ktParseLengthUnit(const std::string& text);

/// Diagonal of the bounding box of the scene's geometry, in the units of `root`'s parent. Includes hidden nodes,
/// excludes ground planes.
KT_HOST_EXPORT double ktSceneDiagonal(const osg::NodePtr& root);

/// What a file says about its unit. A file that names it has been converted to metres.
enum class ktFileUnit {
    Unnamed,
    Assumed, ///< metres because the format says so, as in glTF; exporters often ignore it
    Named    ///< the file itself names its unit
};

/// Chooses the millimetres per unit of a scene.
/// @param unit     the requested unit
/// @param diagonal of the scene, in the file's units
/// @param note     receives a sentence if the user should know about the choice; else unchanged
/// If the unit is automatic: metres if the file names its unit, or if metres are assumed and the diagonal is 1 cm to
/// 100 m; else the diagonal becomes 3 m.
KT_HOST_EXPORT double ktDecideUnit(const ktLengthUnit& unit, double diagonal, ktFileUnit fileUnit, std::string& note);
