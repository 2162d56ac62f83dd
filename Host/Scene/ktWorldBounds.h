// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGeometryInstances.h"
#include "ktHostExport.h"

#include <OpenSG/OSGVector.h>

/// An axis-aligned box in world space, in world units.
struct KT_HOST_EXPORT ktWorldBounds {
    osg::Pnt3f min; ///< undefined if isEmpty
    osg::Pnt3f max;
    bool isEmpty = true;

    void extend(const osg::Pnt3f& point);
    /// Length of the diagonal; 0 for an empty box.
    double diagonal() const;
};

/// The bounding box of all vertices of the tree's geometry. Ignores vertices that are NaN or infinite.
KT_HOST_EXPORT ktWorldBounds ktMeasureWorldBounds(const osg::NodePtr& root, ktInstances which = ktInstances::All);
