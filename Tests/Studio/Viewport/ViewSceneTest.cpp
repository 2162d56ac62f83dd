// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests which parts the viewport shows, and how it finds out what changed.
#include "ktFalseColours.h"
#include "ktViewParts.h"
#include "ktViewScene.h"

#include <gtest/gtest.h>

TEST(ViewScene, GivenNothing_IsEmpty) {
    ktViewScene scene;
    scene.read(osg::NullFC);
    EXPECT_TRUE(scene.uses.empty());
    EXPECT_TRUE(scene.bounds.isEmpty());
    EXPECT_TRUE(scene.readResults());
}

TEST(ViewScene, GivenHiddenNode_LeavesItOutAndKeepsItsArrays) {
    ktViewParts parts;
    const osg::NodePtr node = parts.add(ktViewParts::square());
    parts.add(ktViewParts::square());
    ktViewScene scene;
    scene.read(parts.root);
    ASSERT_EQ(scene.uses.size(), 2u);
    const auto arrays = scene.geometries[0].positions;
    const std::uint64_t shape = scene.geometries[0].shape;
    node->setActive(false);
    scene.read(parts.root);
    EXPECT_EQ(scene.uses.size(), 1u);
    node->setActive(true);
    scene.read(parts.root);
    ASSERT_EQ(scene.uses.size(), 2u);
    EXPECT_EQ(scene.geometries[0].positions, arrays);
    EXPECT_EQ(scene.geometries[0].shape, shape);
}

TEST(ViewScene, GivenNewResults_ChangesOnlyTheirStamp) {
    ktViewParts parts;
    const osg::GeometryPtr geometry = ktViewParts::square();
    parts.add(geometry);
    ktViewScene scene;
    scene.read(parts.root);
    EXPECT_EQ(scene.geometries[0].results, 0u);
    const std::uint64_t shape = scene.geometries[0].shape;
    ktViewParts::setResults(geometry, {0, 0, 0, 0.5f});
    EXPECT_TRUE(scene.readResults());
    const std::uint64_t first = scene.geometries[0].results;
    EXPECT_NE(first, 0u);
    EXPECT_TRUE(scene.readResults());
    EXPECT_EQ(scene.geometries[0].results, first);
    ktViewParts::setResults(geometry, {0, 0, 0, 0.51f});
    EXPECT_TRUE(scene.readResults());
    EXPECT_NE(scene.geometries[0].results, first);
    EXPECT_EQ(scene.geometries[0].shape, shape);
}

TEST(ViewScene, GivenRefinedGeometry_AsksToReadAgain) {
    ktViewParts parts;
    const osg::GeometryPtr geometry = ktViewParts::square();
    parts.add(geometry);
    ktViewScene scene;
    scene.read(parts.root);
    const std::uint64_t shape = scene.geometries[0].shape;
    osg::GeoPositions3fPtr::dcast(geometry->getPositions())->getFieldPtr()->push_back(osg::Pnt3f(0.5f, 0.5f, 0));
    EXPECT_FALSE(scene.readResults());
    scene.readAgain();
    EXPECT_NE(scene.geometries[0].shape, shape);
    EXPECT_EQ(scene.geometries[0].vertexCount(), 5u);
}

TEST(ViewScene, GivenMarkedGroup_MarksAllBelow) {
    ktViewParts parts;
    const osg::NodePtr first = parts.add(ktViewParts::square(), ktViewParts::moved(5, 0, 0));
    parts.add(ktViewParts::square());
    ktViewScene scene;
    scene.read(parts.root);
    scene.select({first->getParent()}); // the transform above
    EXPECT_TRUE(scene.hasSelection());
    const auto boxes = scene.framedBoxes(true);
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].low[0], 5);
    scene.readAgain();
    EXPECT_EQ(scene.framedBoxes(true).size(), 1u);
    scene.select({});
    EXPECT_FALSE(scene.hasSelection());
}

TEST(ViewScene, GivenDarkMaterial_DividesStoredLightByItsColour) {
    ktViewParts parts;
    parts.add(ktViewParts::square(), ktViewParts::moved(0, 0, 0), ktViewParts::material(0.5f, 0.5f, 0.5f));
    ktViewScene scene;
    scene.read(parts.root);
    for (const float factor : scene.uses[0].perGathered)
        EXPECT_NEAR(factor, 2, 1e-5f);
}

TEST(FalseColours, GivenHigherValue_IsBrighter) {
    float before = -1;
    for (int step = 0; step <= 100; ++step) {
        const auto color = ktFalseColours::at(static_cast<float>(step) / 100);
        const float luminance = 0.2126f * color[0] + 0.7152f * color[1] + 0.0722f * color[2];
        EXPECT_GT(luminance, before) << step;
        before = luminance;
    }
    EXPECT_EQ(ktFalseColours::srgbAt(-1), ktFalseColours::srgbAt(0));
    EXPECT_EQ(ktFalseColours::srgbAt(2), ktFalseColours::srgbAt(1));
}
