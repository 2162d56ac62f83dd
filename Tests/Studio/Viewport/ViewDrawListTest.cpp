// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests what a picture draws: culling, instances, levels, order.
#include "ktDrawList.h"
#include "ktViewFrustum.h"
#include "ktViewLevels.h"
#include "ktViewParts.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <OSGUShadowMaterial.h>
#include <random>
#include <set>

namespace {

using Box = ktViewCamera::Box;

/// Looks along -z at the origin, from z = 10.
ktViewCamera frontCamera() {
    ktViewCamera camera;
    camera.place({0, 0, 10}, {0, 0, -1}, {0, 1, 0}, 10);
    return camera;
}

ktDrawList listOf(const ktViewScene& scene, const ktDrawChoice& choice = {},
                  const std::vector<std::vector<ktLevelSize>>& levels = {}) {
    return ktMakeDrawList(scene, frontCamera(), choice, levels);
}

} // namespace

TEST(ViewFrustum, GivenBoxes_KeepsAllWithAVisibleCorner) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> place(-20, 20), size(0, 2);
    for (const bool parallel : {false, true}) {
        ktViewCamera camera = frontCamera();
        camera.setParallel(parallel);
        const ktViewFrustum frustum(camera, 1.5);
        int culled = 0;
        for (int i = 0; i < 2000; ++i) {
            Box box;
            const ktViewCamera::Vector low = {place(random), place(random), place(random)};
            box.extend(low);
            box.extend(ktViewCamera::Vector{low[0] + size(random), low[1] + size(random), low[2] + size(random)});
            const auto corner = camera.project(low, 1.5);
            const bool isVisible = corner && std::abs((*corner)[0]) <= 1 && std::abs((*corner)[1]) <= 1;
            EXPECT_TRUE(frustum.touches(box) || !isVisible);
            culled += !frustum.touches(box);
        }
        EXPECT_GT(culled, 1000); // and most of what is outside is left out
    }
}

TEST(ViewDrawList, GivenUsesOutsideTheView_DrawsTheOthers) {
    ktViewParts parts;
    parts.add(ktViewParts::square(), ktViewParts::moved(0, 0, 0));
    parts.add(ktViewParts::square(), ktViewParts::moved(50, 0, 0));
    parts.add(ktViewParts::square(), ktViewParts::moved(0, -50, 0));
    parts.add(ktViewParts::square(), ktViewParts::moved(0, 0, 30)); // behind the eye
    ktViewScene scene;
    scene.read(parts.root);
    ASSERT_EQ(scene.uses.size(), 4u);
    const ktDrawList list = listOf(scene);
    ASSERT_EQ(list.uses.size(), 1u);
    EXPECT_EQ(scene.uses[list.uses[0]].toWorld[3][0], 0);
    EXPECT_EQ(list.triangles, 2u);
}

TEST(ViewDrawList, GivenThreeUsesOfAGeometry_DrawsThemTogether) {
    ktViewParts parts;
    const osg::GeometryPtr shared = ktViewParts::square();
    parts.add(shared, ktViewParts::moved(-1, 0, 0));
    parts.add(ktViewParts::square(), ktViewParts::moved(0, 0, 0));
    parts.add(shared, ktViewParts::moved(1, 0, 0));
    parts.add(shared, ktViewParts::moved(0, 1, 0));
    ktViewScene scene;
    scene.read(parts.root);
    EXPECT_EQ(scene.geometries.size(), 2u);
    const ktDrawList list = listOf(scene);
    ASSERT_EQ(list.batches.size(), 2u);
    EXPECT_EQ(list.batches[0].count + list.batches[1].count, 4u);
    EXPECT_EQ(std::max(list.batches[0].count, list.batches[1].count), 3u);
}

TEST(ViewDrawList, GivenMirroredUse_DrawsItApart) {
    ktViewParts parts;
    const osg::GeometryPtr shared = ktViewParts::square();
    osg::Matrix mirror;
    mirror.setScale(-1, 1, 1);
    parts.add(shared, mirror);
    parts.add(shared);
    ktViewScene scene;
    scene.read(parts.root);
    EXPECT_EQ(listOf(scene).batches.size(), 2u);
}

TEST(ViewDrawList, GivenTransparentUses_DrawsThemLastFromBackToFront) {
    ktViewParts parts;
    const osg::UberMaterialPtr glass = ktViewParts::material(1, 1, 1, 0.5f);
    parts.add(ktViewParts::square(), ktViewParts::moved(0, 0, 2), glass);
    parts.add(ktViewParts::square(), ktViewParts::moved(0, 0, -2), glass);
    parts.add(ktViewParts::square(), ktViewParts::moved(0, 0, 4));
    parts.add(ktViewParts::square(), ktViewParts::moved(0, 0, 0), glass);
    ktViewScene scene;
    scene.read(parts.root);
    const ktDrawList list = listOf(scene);
    ASSERT_EQ(list.uses.size(), 4u);
    EXPECT_EQ(list.opaqueBatches, 1u);
    const float depths[] = {4, -2, 0, 2};
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(scene.uses[list.uses[i]].toWorld[3][2], depths[i]) << i;
}

TEST(ViewDrawList, GivenLevels_TakesTheCoarsestThatIsFineEnough) {
    ktViewParts parts;
    parts.add(ktViewParts::sphere(1, 16), ktViewParts::moved(0, 0, 0));
    parts.add(ktViewParts::sphere(1, 16), ktViewParts::moved(0, 0, -1000));
    ktViewScene scene;
    scene.read(parts.root);
    ktDrawChoice choice;
    choice.height_px = 1000;
    choice.detail_px = 2;
    // 10 in front of the eye, a pixel is about 0.005.
    const std::vector<ktLevelSize> sizes = {{0.007, 100}, {0.05, 10}};
    const ktDrawList list = listOf(scene, choice, {sizes, sizes});
    ASSERT_EQ(list.batches.size(), 2u);
    for (const ktDrawBatch& batch : list.batches) {
        const bool isFar = scene.uses[list.uses[batch.first]].toWorld[3][2] < -1;
        EXPECT_EQ(batch.level, isFar ? 2u : 1u);
        EXPECT_EQ(batch.triangles, isFar ? 10u : 100u);
    }
    choice.detail_px = 0;
    EXPECT_EQ(listOf(scene, choice, {sizes, sizes}).triangles, scene.triangleCount());
    choice.detail_px = 5000; // both are smaller than half of that
    EXPECT_TRUE(listOf(scene, choice, {sizes, sizes}).uses.empty());
}

TEST(ViewDrawList, GivenLimit_DrawsTheLargestAndAPartOfTheNext) {
    ktViewParts parts;
    parts.add(ktViewParts::sphere(0.2f, 16), ktViewParts::moved(-1, 0, 0));
    parts.add(ktViewParts::sphere(1, 16), ktViewParts::moved(0, 0, 0));
    parts.add(ktViewParts::sphere(0.5f, 16), ktViewParts::moved(1, 0, 0));
    ktViewScene scene;
    scene.read(parts.root);
    ktDrawChoice choice;
    choice.mostTriangles = 700; // each has 480
    const ktDrawList list = listOf(scene, choice);
    EXPECT_EQ(list.triangles, 700u);
    ASSERT_EQ(list.batches.size(), 2u);
    for (const ktDrawBatch& batch : list.batches)
        EXPECT_EQ(batch.triangles, scene.uses[list.uses[batch.first]].toWorld[3][0] == 0 ? 480u : 220u);
}

TEST(ViewDrawList, GivenChoice_LeavesOutGroundPlanesAndUnmarkedUses) {
    ktViewParts parts;
    parts.add(ktViewParts::square(), ktViewParts::moved(0, 0, 0), osg::UShadowMaterial::create());
    const osg::NodePtr marked = parts.add(ktViewParts::square());
    parts.add(ktViewParts::square());
    ktViewScene scene;
    scene.read(parts.root);
    ktDrawChoice choice;
    EXPECT_EQ(listOf(scene, choice).uses.size(), 3u);
    choice.withGroundPlanes = false;
    EXPECT_EQ(listOf(scene, choice).uses.size(), 2u);
    scene.select({marked});
    choice.onlySelected = true;
    const ktDrawList list = listOf(scene, choice);
    ASSERT_EQ(list.uses.size(), 1u);
    EXPECT_TRUE(scene.uses[list.uses[0]].node == marked);
}

TEST(ViewLevels, GivenSphere_ApproximatesItCoarserAndCoarser) {
    ktViewParts parts;
    parts.add(ktViewParts::sphere(1, 64));
    ktViewScene scene;
    scene.read(parts.root);
    const ktShownGeometry& full = scene.geometries[0];
    const std::vector<ktViewLevel> levels = ktMakeViewLevels(*full.positions, *full.triangles, full.bounds);
    ASSERT_GE(levels.size(), 3u);
    std::size_t finer = full.triangles->size();
    for (const ktViewLevel& level : levels) {
        EXPECT_LE(static_cast<double>(level.triangles.size()), 0.6 * static_cast<double>(finer));
        EXPECT_FALSE(level.triangles.empty());
        finer = level.triangles.size();
        for (std::size_t i = 0; i < level.triangles.size(); i += 3) {
            double middle[3] = {0, 0, 0};
            for (std::size_t corner = 0; corner < 3; ++corner) {
                ASSERT_LT(level.triangles[i + corner], full.vertexCount());
                for (std::size_t axis = 0; axis < 3; ++axis)
                    middle[axis] += (*full.positions)[3 * std::size_t(level.triangles[i + corner]) + axis] / 3.0;
            }
            // Corners are on the sphere; the middle sinks in by less than a cell.
            EXPECT_GT(std::hypot(middle[0], middle[1], middle[2]), 1 - level.cellSize);
        }
    }
}

TEST(ViewLevels, GivenCellSize_QuickLevelHasOneVertexOfEachCell) {
    ktViewParts parts;
    parts.add(ktViewParts::sphere(1, 64));
    ktViewScene scene;
    scene.read(parts.root);
    const ktShownGeometry& full = scene.geometries[0];
    constexpr double cellSize = 0.2;
    const ktViewLevel level = ktMakeQuickLevel(*full.positions, *full.triangles, full.bounds, cellSize);
    EXPECT_EQ(level.cellSize, cellSize);
    ASSERT_FALSE(level.triangles.empty());
    std::map<std::array<int, 3>, std::set<std::uint32_t>> cells;
    for (const std::uint32_t vertex : level.triangles) {
        ASSERT_LT(vertex, full.vertexCount());
        std::array<int, 3> cell{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            cell[axis] = static_cast<int>(
                (double((*full.positions)[3 * std::size_t(vertex) + axis]) - full.bounds.low[axis]) * (1 / cellSize));
        cells[cell].insert(vertex);
    }
    EXPECT_GT(cells.size(), 200u); // of about 4 pi / cellSize^2
    for (const auto& [cell, vertices] : cells)
        EXPECT_EQ(vertices.size(), 1u);
    const ktViewLevel fine = ktMakeQuickLevel(*full.positions, *full.triangles, full.bounds, 1e-3);
    EXPECT_TRUE(fine.triangles.empty()) << "hardly coarser";
}

TEST(ViewLevels, GivenCopiesOfAScene_FirstLevelsFollowItsSize) {
    ktViewParts parts;
    const osg::GeometryPtr sphere = ktViewParts::sphere(1, 64);
    parts.add(sphere, ktViewParts::moved(-9, 0, 0));
    parts.add(sphere, ktViewParts::moved(9, 0, 0));
    ktViewShapes shapes;
    shapes.readAll(parts.root);
    ktViewScene scene;
    scene.read(parts.root);
    EXPECT_EQ(shapes.triangleCount(), scene.geometries[0].triangleCount());
    shapes.makeFirstLevels();
    const ktShownGeometry& shown = shapes.read(sphere);
    EXPECT_EQ(*shown.positions, *scene.geometries[0].positions);
    ASSERT_TRUE(shown.levels);
    ASSERT_EQ(shown.levels->size(), 1u);
    EXPECT_GT(shown.levels->front().cellSize, scene.bounds.diagonal() / 200);
    EXPECT_LT(shown.levels->front().cellSize, scene.bounds.diagonal() / 50);
}

TEST(ViewLevels, GivenFewTriangles_MakesNone) {
    ktViewParts parts;
    parts.add(ktViewParts::square());
    ktViewScene scene;
    scene.read(parts.root);
    const ktShownGeometry& full = scene.geometries[0];
    EXPECT_TRUE(ktMakeViewLevels(*full.positions, *full.triangles, full.bounds).empty());
}
