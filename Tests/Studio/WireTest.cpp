// SPDX-License-Identifier: LGPL-2.1-or-later
// The edges over surfaces, before and after refinement, on a display with software OpenGL.
#include "ktAmbientOcclusion.h"
#include "ktGeometryInstances.h"
#include "ktSceneView.h"
#include "ktStudioFixture.h"
#include "ktViewCamera.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <OpenSG/OSGTriangleIterator.h>
#include <QImage>
#include <set>
#include <utility>

namespace {

class StudioWires : public ktStudioFixture {
protected:
    static constexpr int size = 800;                          // pixels
    static constexpr int mostDiffering = size * size / 10000; // at borders of triangles
    using Point = std::array<float, 3>;
    using Edge = std::pair<Point, Point>;

    ktSceneView& view() { return *window->findChild<ktSceneView*>(); }

    /// The edges of all triangles, in the world.
    std::set<Edge> edges() {
        std::set<Edge> found;
        ktForEachGeometryInstance(window->getDocument().getRoot(), ktInstances::All,
                                  [&](const ktGeometryInstance& instance) {
                                      for (osg::TriangleIterator it(instance.geometry); !it.isAtEnd(); ++it)
                                          for (osg::UInt32 corner = 0; corner < 3; ++corner) {
                                              Point a = inWorld(instance, it.getPosition(osg::Int32(corner)));
                                              Point b = inWorld(instance, it.getPosition(osg::Int32((corner + 1) % 3)));
                                              found.insert({std::min(a, b), std::max(a, b)});
                                          }
                                      return true;
                                  });
        return found;
    }

    static Point inWorld(const ktGeometryInstance& instance, osg::Pnt3f point) {
        instance.toWorld.multMatrixPnt(point);
        return {point[0], point[1], point[2]};
    }

    /// A quarter of the way along an edge: no other edge goes through it.
    static Point quarterOf(const Edge& edge) {
        Point point;
        for (std::size_t axis = 0; axis < 3; ++axis)
            point[axis] = 0.75f * edge.first[axis] + 0.25f * edge.second[axis];
        return point;
    }

    static float distance(const Point& a, const Point& b) { return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]); }
    static bool isOn(const Point& point, const Edge& edge) {
        constexpr float most = 0.5f; // millimetres that the way over the point is longer
        return distance(edge.first, point) + distance(point, edge.second) - distance(edge.first, edge.second) < most;
    }

    QPoint placeOn(const Edge& edge) {
        const Point point = quarterOf(edge);
        const auto place = view().camera().project({point[0], point[1], point[2]}, 1);
        if (!place)
            return {-1, -1};
        return {static_cast<int>(((*place)[0] + 1) / 2 * size), static_cast<int>((1 - (*place)[1]) / 2 * size)};
    }

    static int differing(const QImage& a, const QImage& b) {
        int count = 0;
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x)
                count += a.pixel(x, y) != b.pixel(x, y);
        return count;
    }

    /// How much darker the wires make a place, at most: 0 to 255. Looks one pixel around it.
    static int darkened(const QImage& with, const QImage& without, const QPoint& place) {
        int most = 0;
        for (int y = -1; y <= 1; ++y)
            for (int x = -1; x <= 1; ++x) {
                const QPoint pixel = place + QPoint(x, y);
                if (with.rect().contains(pixel))
                    most = std::max(most, qGray(without.pixel(pixel)) - qGray(with.pixel(pixel)));
            }
        return most;
    }
};

} // namespace

TEST_F(StudioWires, GivenRefinedSurface_DrawsTheEdgesThatRefinementAdded) {
    ASSERT_TRUE(view().usesOpenGL());
    open(writeBoxes());
    view().setViewMode(ktViewMode::SurfaceColours);
    view().setStandardView(ktStandardView::Top); // the upper faces of both boxes
    const auto picture = [this](bool hasWires) {
        view().setWireOverlay(hasWires);
        return view().renderPicture({size, size});
    };
    const QImage plain = picture(false), coarse = picture(true);
    const std::set<Edge> before = edges();

    plugin().setShadowQuality(2);
    plugin().setIndirectIlluminationEnabled(false);
    plugin().setSubdivideEnabled(true);
    plugin().setMinEdgeLength(150);
    trigger("start");
    ASSERT_TRUE(waitFor([this] { return view().isSettled(); }));
    const QImage refined = picture(true);
    EXPECT_LE(differing(picture(false), plain), mostDiffering) << "the colours of the surfaces are the same";

    float top = 0;
    for (const Edge& edge : before)
        top = std::max(top, edge.first[1]);
    constexpr int clear = 40; // steps of grey; a wire over white takes more
    int added = 0, seen = 0, seenBefore = 0;
    for (const Edge& edge : edges()) {
        const bool isOnTop = edge.first[1] > top - 1 && edge.second[1] > top - 1; // nothing hides these
        const bool isPartOfOld = std::any_of(before.begin(), before.end(), [&](const Edge& old) {
            return isOn(quarterOf(edge), old); // half of an edge that was split
        });
        if (!isOnTop || isPartOfOld)
            continue;
        const QPoint place = placeOn(edge);
        ++added;
        seen += darkened(refined, plain, place) > clear;
        seenBefore += darkened(coarse, plain, place) > clear;
    }
    ASSERT_GT(added, 10);
    EXPECT_EQ(seen, added);
    EXPECT_EQ(seenBefore, 0);
}
