// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests what the viewport finds under points of the view.
#include "ktPointerInfo.h"
#include "ktViewParts.h"
#include "ktViewPicker.h"

#include <gtest/gtest.h>
#include <OSGUShadowMaterial.h>
#include <QCoreApplication>
#include <QElapsedTimer>

namespace {

class ViewPicker : public testing::Test {
protected:
    ktViewParts parts;
    ktViewScene scene;
    ktViewPicker picker{scene};
    ktViewCamera camera;

    /// The eye is at (0.25, 0.25, 10) and looks along -z; the view is 2 high at z = 0.
    ViewPicker() {
        camera.setHeightAngle(2 * std::atan(0.1));
        camera.place({0.25, 0.25, 10}, {0, 0, -1}, {0, 1, 0}, 10);
    }

    void read() {
        scene.read(parts.root);
        bool isDone = false;
        picker.prepare([&isDone] { isDone = true; });
        QElapsedTimer timer;
        for (timer.start(); !isDone && timer.elapsed() < 20000;)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        ASSERT_TRUE(isDone) << picker.failure();
    }

    std::optional<ktViewPicker::Hit> pick(double x = 0, double y = 0, bool withGroundPlanes = true) {
        return picker.pick(camera, 1, x, y, withGroundPlanes);
    }
    osg::NodePtr nodeAt(double x = 0, double y = 0, bool withGroundPlanes = true) {
        const auto hit = pick(x, y, withGroundPlanes);
        return hit ? scene.uses[hit->use].node.get() : osg::NodePtr(osg::NullFC);
    }
};

} // namespace

TEST_F(ViewPicker, GivenTwoSquares_FindsTheNearerAndItsPoint) {
    const osg::NodePtr far = parts.add(ktViewParts::square(), ktViewParts::moved(0, 0, -2));
    const osg::NodePtr near = parts.add(ktViewParts::square(0.5f), ktViewParts::moved(0, 0, 1));
    read();
    EXPECT_TRUE(nodeAt() == near);
    const auto hit = pick();
    ASSERT_TRUE(hit);
    EXPECT_NEAR(hit->point[0], 0.25, 1e-5);
    EXPECT_NEAR(hit->point[1], 0.25, 1e-5);
    EXPECT_NEAR(hit->point[2], 1, 1e-5);
    EXPECT_TRUE(nodeAt(0.5, 0.5) == far);
    EXPECT_FALSE(pick(-0.9, 0));
}

TEST_F(ViewPicker, GivenPointNearACorner_NamesThatVertex) {
    parts.add(ktViewParts::square());
    read();
    EXPECT_EQ(pick(-0.2, -0.2)->vertex, 0u); // at (0.05, 0.05)
    EXPECT_EQ(pick(0.7, 0.7)->vertex, 2u);   // at (0.95, 0.95)
    EXPECT_EQ(pick(0.7, -0.2)->vertex, 1u);
    EXPECT_EQ(pick(-0.2, 0.7)->vertex, 3u);
}

TEST_F(ViewPicker, GivenBackOfASingleSidedSurface_SeesThroughIt) {
    const osg::UberMaterialPtr single = ktViewParts::material(1, 1, 1);
    single->setDoubleSided(false);
    osg::Matrix mirror; // turns the front away, and its winding with it
    mirror.setScale(1, 1, -1);
    const osg::NodePtr behind = parts.add(ktViewParts::square(), ktViewParts::moved(0, 0, -2));
    const osg::NodePtr away = parts.add(ktViewParts::square(), mirror, single);
    read();
    EXPECT_TRUE(nodeAt() == behind);
    single->setDoubleSided(true);
    read();
    EXPECT_TRUE(nodeAt() == away);
}

TEST_F(ViewPicker, GivenHiddenGroundPlanes_IgnoresThem) {
    const osg::NodePtr plane =
        parts.add(ktViewParts::square(), ktViewParts::moved(0, 0, 1), osg::UShadowMaterial::create());
    const osg::NodePtr below = parts.add(ktViewParts::square());
    read();
    EXPECT_TRUE(nodeAt(0, 0, true) == plane);
    EXPECT_TRUE(nodeAt(0, 0, false) == below);
}

TEST_F(ViewPicker, GivenParallelView_FindsWhatIsBehindTheEye) {
    const osg::NodePtr behind = parts.add(ktViewParts::square(), ktViewParts::moved(0, 0, 500));
    read();
    EXPECT_FALSE(pick());
    camera.setParallel(true);
    EXPECT_TRUE(nodeAt() == behind);
}

TEST_F(ViewPicker, GivenRectangle_FindsWhatIsVisibleInIt) {
    const osg::NodePtr front = parts.add(ktViewParts::square(0.4f));
    const osg::NodePtr covered = parts.add(ktViewParts::square(0.3f), ktViewParts::moved(0.05f, 0.05f, -0.1f));
    const osg::NodePtr beside = parts.add(ktViewParts::square(0.4f), ktViewParts::moved(0.5f, 0, 0));
    read();
    const auto found = picker.pickRectangle(camera, 1, -1, -1, 1, 1, true);
    ASSERT_EQ(found.size(), 2u);
    for (const std::uint32_t use : found)
        EXPECT_FALSE(scene.uses[use].node == covered);
    const auto right = picker.pickRectangle(camera, 1, 0.3, -0.2, 0.6, 0.1, true);
    ASSERT_EQ(right.size(), 1u);
    EXPECT_TRUE(scene.uses[right[0]].node == beside);
    EXPECT_FALSE(scene.uses[right[0]].node == front);
}

TEST_F(ViewPicker, GivenSceneReadAgain_AsksForAnotherStructure) {
    parts.add(ktViewParts::square());
    read();
    EXPECT_TRUE(picker.isReady());
    scene.read(osg::NullFC);
    EXPECT_FALSE(picker.isReady());
    EXPECT_FALSE(pick());
}

TEST_F(ViewPicker, GivenResults_TellsThemAtThePoint) {
    const osg::GeometryPtr geometry = ktViewParts::square();
    parts.add(geometry, ktViewParts::moved(0, 0, 0), ktViewParts::material(0.5f, 0.5f, 0.5f), "wheel");
    read();
    EXPECT_EQ(ktPointerInfo::text(scene, *pick()), "wheel, vertex 0, no result");
    ktViewParts::setResults(geometry, {0.05f, 0.1f, 0.15f, 0.25f});
    ASSERT_TRUE(scene.readResults());
    // The stored light was multiplied by the colour 0.5.
    EXPECT_EQ(ktPointerInfo::text(scene, *pick()), "wheel, vertex 0, w 0.250, indirect light 0.100 0.200 0.300");
}
