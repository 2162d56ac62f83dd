// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds models that stand on a flat side along another axis than y.
#include "ktLyingModel.h"

#include "ktGeometryInstances.h"
#include "OSGUShadowMaterial.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <OpenSG/OSGTriangleIterator.h>

namespace {

using Point = std::array<double, 3>;

constexpr double thickness = 1e-3; // of the extent: what counts as flat
constexpr double noSide = 0.01;    // shares of the box's side
constexpr double flatSide = 0.3;
constexpr double largerSide = 2.0; // than the opposite one

/// Calls visit(triangle) for each triangle with finite corners.
template <class Visit>
void forEachTriangle(const osg::NodePtr& root, const Visit& visit) {
    ktForEachGeometryInstance(root, ktInstances::Visible, [&](const ktGeometryInstance& instance) {
        if (osg::UShadowMaterialPtr::dcast(instance.geometry->getMaterial()) != osg::NullFC ||
            instance.geometry->getPositions() == osg::NullFC)
            return true;
        for (osg::TriangleIterator triangle = instance.geometry->beginTriangles(); !triangle.isAtEnd(); ++triangle) {
            std::array<Point, 3> corners;
            bool isFinite = true;
            for (osg::UInt32 c = 0; c < 3; ++c) {
                const osg::Pnt3f point = triangle.getPosition(static_cast<osg::Int32>(c));
                for (osg::UInt32 axis = 0; axis < 3; ++axis) {
                    double value = instance.toWorld[3][axis];
                    for (osg::UInt32 k = 0; k < 3; ++k)
                        value += double(instance.toWorld[k][axis]) * point[k];
                    corners[c][axis] = value;
                    isFinite = isFinite && std::isfinite(value);
                }
            }
            if (isFinite)
                visit(corners);
        }
        return true;
    });
}

/// Area of the triangle's projection along an axis.
double projectedArea(const std::array<Point, 3>& corners, std::size_t axis) {
    const std::size_t u = (axis + 1) % 3, v = (axis + 2) % 3;
    return 0.5 * std::abs((corners[1][u] - corners[0][u]) * (corners[2][v] - corners[0][v]) -
                          (corners[2][u] - corners[0][u]) * (corners[1][v] - corners[0][v]));
}

/// Shares of the sides of the model's box that flat parts of the model cover.
struct FlatSides {
    Point low{}, high{};
};

FlatSides measureSides(const osg::NodePtr& root) {
    Point low, high;
    low.fill(std::numeric_limits<double>::max());
    high.fill(std::numeric_limits<double>::lowest());
    forEachTriangle(root, [&](const std::array<Point, 3>& corners) {
        for (const Point& corner : corners)
            for (std::size_t axis = 0; axis < 3; ++axis) {
                low[axis] = std::min(low[axis], corner[axis]);
                high[axis] = std::max(high[axis], corner[axis]);
            }
    });
    FlatSides sides;
    forEachTriangle(root, [&](const std::array<Point, 3>& corners) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double slack = thickness * (high[axis] - low[axis]);
            const auto [least, most] = std::minmax({corners[0][axis], corners[1][axis], corners[2][axis]});
            if (most <= low[axis] + slack)
                sides.low[axis] += projectedArea(corners, axis);
            else if (least >= high[axis] - slack)
                sides.high[axis] += projectedArea(corners, axis);
        }
    });
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t u = (axis + 1) % 3, v = (axis + 2) % 3;
        const double area = (high[u] - low[u]) * (high[v] - low[v]);
        sides.low[axis] /= area > 0 ? area : std::numeric_limits<double>::infinity();
        sides.high[axis] /= area > 0 ? area : std::numeric_limits<double>::infinity();
    }
    return sides;
}

} // namespace

std::optional<ktUpAxis> ktFindLyingAxis(const osg::NodePtr& root) {
    const FlatSides sides = measureSides(root);
    std::optional<ktUpAxis> found;
    if (sides.low[1] > noSide)
        return found;
    for (const ktUpAxis axis : {ktUpAxis::X, ktUpAxis::Z}) {
        const auto i = static_cast<std::size_t>(axis);
        if (sides.low[i] < flatSide || sides.low[i] < largerSide * sides.high[i])
            continue;
        if (found)
            return std::nullopt;
        found = axis;
    }
    return found;
}
