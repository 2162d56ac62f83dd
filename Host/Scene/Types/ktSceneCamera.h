// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGNode.h>
#include <string>

/// A camera of a scene file. It is at the origin of its node and looks along the node's -z; y is up.
struct ktSceneCamera {
    std::string name;  ///< of the camera, else of its node, or empty
    osg::NodePtr node; ///< node->getToWorld() places it
    bool isPerspective = true;
    double heightAngle_rad = 0.8; ///< perspective: vertical angle of view
    double aspectRatio = 0.0;     ///< width / height; 0: that of the picture
    double height = 1.0;          ///< orthographic: height of the view, in units of the node
    double width = 1.0;           ///< orthographic
};
