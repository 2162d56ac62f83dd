// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>
#include <OSGUberMaterial.h>
#include <QColor>
#include <vector>

/// Scenes for tests of the viewport.
class ktViewParts {
public:
    /// Makes an application if there is none.
    ktViewParts();
    ~ktViewParts();

    osg::NodePtr root;

    /// A square in the plane z = 0 with corners (0, 0), (side, 0), (side, side), (0, side), front to +z.
    static osg::GeometryPtr square(float side = 1);
    /// A sphere around the origin of 2 * segments * (segments - 1) triangles, front outside.
    static osg::GeometryPtr sphere(float radius, unsigned segments);
    static osg::UberMaterialPtr material(float red, float green, float blue, float alpha = 1);
    static osg::Matrix moved(float x, float y, float z);

    /// Puts the same results on all vertices: channel 7 with bounced light and w, or with `lamps` channel 5.
    static void setResults(const osg::GeometryPtr& geometry, const osg::Vec4f& value);
    static void setLamps(const osg::GeometryPtr& geometry, const osg::Vec4f& value);

    /// Adds a node with a transform above it and a material group, if a material is given. @return the geometry's node
    osg::NodePtr add(const osg::GeometryPtr& geometry, const osg::Matrix& matrix = moved(0, 0, 0),
                     const osg::MaterialPtr& material = osg::NullFC, const char* name = nullptr);
};

/// Bytes of sRGB of a linear colour.
QColor ktSrgbBytes(float red, float green, float blue);
/// Largest difference of a component, 0 to 255.
int ktColorDistance(const QColor& a, const QColor& b);
