// SPDX-License-Identifier: LGPL-2.1-or-later
// Builds small scenes for tests of the viewport.
#include "ktViewParts.h"

#include "ktSrgb.h"

#include <algorithm>
#include <cmath>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGMaterialGroup.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGTransform.h>
#include <QApplication>

namespace {

osg::GeometryPtr geometryOf(const std::vector<osg::Pnt3f>& points, const std::vector<osg::UInt32>& corners) {
    osg::GeoPTypesUI8Ptr types = osg::GeoPTypesUI8::create();
    osg::GeoPLengthsUI32Ptr lengths = osg::GeoPLengthsUI32::create();
    osg::GeoPositions3fPtr positions = osg::GeoPositions3f::create();
    osg::GeoIndicesUI32Ptr indices = osg::GeoIndicesUI32::create();
    types->getFieldPtr()->push_back(GL_TRIANGLES);
    lengths->getFieldPtr()->push_back(static_cast<osg::UInt32>(corners.size()));
    for (const osg::Pnt3f& point : points)
        positions->getFieldPtr()->push_back(point);
    for (const osg::UInt32 corner : corners)
        indices->getFieldPtr()->push_back(corner);
    osg::GeometryPtr geometry = osg::Geometry::create();
    geometry->setTypes(types);
    geometry->setLengths(lengths);
    geometry->setPositions(positions);
    geometry->setIndices(indices);
    return geometry;
}

osg::GeoTexCoords4fPtr sameEverywhere(const osg::GeometryPtr& geometry, const osg::Vec4f& value) {
    osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4f::create();
    for (osg::UInt32 i = 0; i < geometry->getPositions()->size(); ++i)
        results->getFieldPtr()->push_back(value);
    return results;
}

} // namespace

static void makeApplication() {
    static int count = 1;
    static char name[] = "ktViewportTest";
    static char* arguments[] = {name, nullptr};
    if (!QCoreApplication::instance())
        new QApplication(count, arguments); // lives as long as the process
}

ktViewParts::ktViewParts() : root(osg::Node::create()) {
    makeApplication();
    osg::addRefCP(root);
    root->setCore(osg::Group::create());
}

ktViewParts::~ktViewParts() {
    osg::subRefCP(root);
}

osg::GeometryPtr ktViewParts::square(float side) {
    return geometryOf({{0, 0, 0}, {side, 0, 0}, {side, side, 0}, {0, side, 0}}, {0, 1, 2, 0, 2, 3});
}

osg::GeometryPtr ktViewParts::sphere(float radius, unsigned segments) {
    std::vector<osg::Pnt3f> points;
    std::vector<osg::UInt32> corners;
    const float pi = std::acos(-1.0f);
    for (unsigned ring = 0; ring <= segments; ++ring)
        for (unsigned step = 0; step < segments; ++step) {
            const float down = pi * static_cast<float>(ring) / static_cast<float>(segments);
            const float around = 2 * pi * static_cast<float>(step) / static_cast<float>(segments);
            points.emplace_back(radius * std::sin(down) * std::sin(around), radius * std::cos(down),
                                radius * std::sin(down) * std::cos(around));
        }
    for (unsigned ring = 0; ring < segments; ++ring)
        for (unsigned step = 0; step < segments; ++step) {
            const unsigned a = ring * segments + step, b = ring * segments + (step + 1) % segments;
            if (ring > 0)
                corners.insert(corners.end(), {a, a + segments, b});
            if (ring + 1 < segments)
                corners.insert(corners.end(), {b, a + segments, b + segments});
        }
    return geometryOf(points, corners);
}

osg::UberMaterialPtr ktViewParts::material(float red, float green, float blue, float alpha) {
    osg::UberMaterialPtr result = osg::UberMaterial::create();
    result->setColor(osg::Color3f(red, green, blue));
    result->setAlpha(alpha);
    result->setAlphaMode(alpha < 1 ? osg::UberMaterial::Blend : osg::UberMaterial::Opaque);
    result->setDoubleSided(true);
    return result;
}

osg::Matrix ktViewParts::moved(float x, float y, float z) {
    osg::Matrix matrix;
    matrix.setTranslate(x, y, z);
    return matrix;
}

void ktViewParts::setResults(const osg::GeometryPtr& geometry, const osg::Vec4f& value) {
    geometry->setTexCoords7(sameEverywhere(geometry, value));
}

void ktViewParts::setLamps(const osg::GeometryPtr& geometry, const osg::Vec4f& value) {
    geometry->setTexCoords5(sameEverywhere(geometry, value));
}

osg::NodePtr ktViewParts::add(const osg::GeometryPtr& geometry, const osg::Matrix& matrix,
                              const osg::MaterialPtr& material, const char* name) {
    osg::NodePtr parent = root;
    const auto below = [&parent](const osg::NodeCorePtr& core) {
        osg::NodePtr node = osg::Node::create();
        node->setCore(core);
        parent->addChild(node);
        parent = node;
    };
    osg::TransformPtr transform = osg::Transform::create();
    transform->setMatrix(matrix);
    below(transform);
    if (material != osg::NullFC) {
        osg::MaterialGroupPtr group = osg::MaterialGroup::create();
        group->setMaterial(material);
        below(group);
    }
    below(geometry);
    if (name)
        osg::setName(parent, name);
    return parent;
}

QColor ktSrgbBytes(float red, float green, float blue) {
    const auto byte = [](float value) { return static_cast<int>(std::lround(255 * ktToSrgb(value))); };
    return {byte(red), byte(green), byte(blue)};
}

int ktColorDistance(const QColor& a, const QColor& b) {
    return std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()), std::abs(a.blue() - b.blue())});
}
