// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGNode.h>
#include <optional>
#include <string>

/// What one unit of a file's positions means.
struct ktLengthUnit {
    double millimetres = 0.0; ///< per unit; 0: decide by the scene's size

    bool isAutomatic() const { return millimetres == 0.0; }
};

/// Understands "auto", "m", "cm", "mm", "inch", "foot" and a number above 0, which is millimetres per unit. Empty for
/// anything else.
KT_HOST_EXPORT std::optional<ktLengthUnit> ktParseLengthUnit(const std::string& text);

/// Diagonal of the box around the scene's geometry in the units of `root`'s parent, hidden nodes included, ground
/// planes left out.
KT_HOST_EXPORT double ktSceneDiagonal(const osg::NodePtr& root);

/// Millimetres per unit to show a scene in.
/// @param unit     as asked for
/// @param diagonal of the scene, in the file's units
/// @param isMetres the file is in metres, or claims to be
/// @param note     receives a sentence where the decision needs to be told; else it is left alone
/// An automatic unit believes metres when the diagonal is between 1 cm and 100 m, and else takes the diagonal for 3 m.
KT_HOST_EXPORT double ktDecideUnit(const ktLengthUnit& unit, double diagonal, bool isMetres, std::string& note);
