// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGNode.h>
#include <string>

/// A camera of a scene file. It stands at the origin of its node, looks along the node's -z and has y up.
struct ktSceneCamera {
    std::string name;  ///< of the camera, else of its node; may be empty
    osg::NodePtr node; ///< node->getToWorld() places it
    bool isPerspective = true;
    double heightAngle_rad = 0.8; ///< perspective: angle between the upper and the lower border
    double aspectRatio = 0.0;     ///< width by height; 0: that of the picture
    double height = 1.0;          ///< orthographic: height of the view, in units of the node
    double width = 1.0;           ///< orthographic
};
