// SPDX-License-Identifier: LGPL-2.1-or-later
// Indirect light of whole calculations, compared with closed forms.
#include "ktFitMode.h"
#include "ktWholeScene.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

constexpr float darkest = 2e-6f; // smallest stored value of a calculated component

/// A closed sphere of radius 1 m whose normals point to its centre.
ktWholeMesh sphereFromInside() {
    constexpr int rings = 32, segments = 64;
    ktWholeMesh mesh;
    for (int ring = 0; ring <= rings; ++ring)
        for (int segment = 0; segment < segments; ++segment) {
            const double polar = M_PI * ring / rings, azimuth = 2 * M_PI * segment / segments;
            const osg::Vec3f out(static_cast<float>(std::sin(polar) * std::cos(azimuth)),
                                 static_cast<float>(std::sin(polar) * std::sin(azimuth)),
                                 static_cast<float>(std::cos(polar)));
            mesh.positions.push_back(osg::Pnt3f(1000 * out[0], 1000 * out[1], 1000 * out[2]));
            mesh.normals.push_back(-out);
        }
    for (std::uint32_t ring = 0; ring < rings; ++ring)
        for (std::uint32_t segment = 0; segment < segments; ++segment) {
            const std::uint32_t next = (segment + 1) % segments, a = ring * segments, b = a + segments;
            mesh.indices.insert(mesh.indices.end(),
                                {a + segment, a + next, b + next, a + segment, b + next, b + segment});
        }
    return mesh;
}

/// A red wall and a white box 20 cm in front of it, under the sky.
class RedWall : public testing::Test {
protected:
    RedWall() {
        ktWholeMesh wall, box;
        wall.addGrid(osg::Pnt3f(0, 0, -1000), osg::Vec3f(0, 2000, 0), osg::Vec3f(0, 0, 2000), 10, 10,
                     osg::Vec3f(1, 0, 0));
        box.addGrid(osg::Pnt3f(200, 0, -300), osg::Vec3f(0, 0, 600), osg::Vec3f(0, 600, 0), 4, 4, osg::Vec3f(-1, 0, 0));
        facing = box.positions.size();
        box.addGrid(osg::Pnt3f(200, 600, -300), osg::Vec3f(0, 0, 600), osg::Vec3f(600, 0, 0), 4, 4,
                    osg::Vec3f(0, 1, 0));
        scene.add("wall", wall, osg::Color3f(0.8f, 0.1f, 0.05f));
        scene.add("box", box, osg::Color3f(0.9f, 0.9f, 0.9f));
    }

    ktWholeScene scene;
    ktWholeSettings settings;
    std::size_t facing; // number of vertices that face the wall; they come first
};

} // namespace

TEST(IndirectClosedForm, GivenSphereLitFromItsCentre_SumsTheSeries) {
    const osg::Color3f lamp(2.0f, 1.0f, 0.5f), albedo(0.3f, 0.6f, 0.9f), surface(0.5f, 0.25f, 1.0f);
    ktWholeScene scene;
    scene.add("sphere", sphereFromInside(), surface);
    scene.addLamp(osg::Pnt3f(0, 0, 0), lamp);
    ktWholeSettings settings;
    settings.mode = 2;
    settings.shadowQuality = 0;
    settings.colorBleeding = settings.overrideColor = true;
    settings.color = albedo;
    for (const int bounces : {1, 2, 5}) {
        settings.bounces = bounces;
        scene.bake(settings);
        const auto results = scene.results("sphere"), light = scene.bakedLight("sphere");
        ASSERT_EQ(results.size(), light.size());
        ASSERT_FALSE(results.empty());
        for (osg::UInt32 c = 0; c < 3; ++c) {
            double series = 0;
            for (int i = 0; i < bounces; ++i)
                series = albedo[c] * (1 + series);
            double least = 1e9, most = 0;
            for (std::size_t i = 0; i < results.size(); ++i) {
                EXPECT_NEAR(light[i][c], lamp[c], 1e-4) << "direct light at a distance of one metre";
                const double received = results[i][c] / surface[c] / (lamp[c] * series);
                least = std::min(least, received);
                most = std::max(most, received);
            }
            EXPECT_GT(least, 0.99) << bounces << " bounces, component " << c;
            EXPECT_LT(most, 1.01) << bounces << " bounces, component " << c;
        }
    }
}

TEST(IndirectClosedForm, GivenSphereWithoutColorBleeding_BouncesTheLuminance) {
    const osg::Color3f albedo(0.3f, 0.6f, 0.9f);
    ktWholeScene scene;
    scene.add("sphere", sphereFromInside(), osg::Color3f(1, 1, 1));
    scene.addLamp(osg::Pnt3f(0, 0, 0), osg::Color3f(1, 1, 1));
    ktWholeSettings settings;
    settings.mode = 2;
    settings.shadowQuality = settings.gatherQuality = 0;
    settings.overrideColor = true;
    settings.color = albedo;
    scene.bake(settings);
    const double luminance = 0.212671 * 0.3 + 0.71516 * 0.6 + 0.072169 * 0.9;
    for (const osg::Vec4f& result : scene.results("sphere"))
        for (osg::UInt32 c = 0; c < 3; ++c)
            ASSERT_NEAR(result[c], luminance, 0.01 * luminance);
}

TEST(IndirectClosedForm, GivenOpenPlane_GathersNothing) {
    ktWholeMesh plane;
    plane.addGrid(osg::Pnt3f(-1000, 0, -1000), osg::Vec3f(0, 0, 2000), osg::Vec3f(2000, 0, 0), 8, 8,
                  osg::Vec3f(0, 1, 0));
    ktWholeScene scene;
    scene.add("plane", plane, osg::Color3f(0.8f, 0.8f, 0.8f));
    scene.addLamp(osg::Pnt3f(0, 700, 0), osg::Color3f(1, 1, 1));
    for (const int mode : {0, 1, 2}) {
        ktWholeSettings settings;
        settings.mode = mode;
        settings.bounces = 2;
        scene.bake(settings);
        const auto results = scene.results("plane");
        const std::vector<osg::Vec4f> dark(results.size(), osg::Vec4f(darkest, darkest, darkest, 1.0f));
        EXPECT_EQ(results.size(), 81u);
        EXPECT_EQ(ktBitsOf(results), ktBitsOf(dark)) << "mode " << mode;
    }
}

TEST(IndirectClosedForm, GivenSealedShellOfSingleWalls_StaysDarkInside) {
    ktWholeMesh shell, inside;
    const osg::Vec3f x(1000, 0, 0), y(0, 1000, 0), z(0, 0, 1000);
    for (int side = 0; side < 3; ++side) {
        const osg::Vec3f a = side == 0   ? x
                             : side == 1 ? y
                                         : z,
                         b = side == 0   ? y
                             : side == 1 ? z
                                         : x,
                         out = side == 0   ? z
                               : side == 1 ? x
                                           : y;
        const osg::Pnt3f near(-500, -500, -500);
        shell.addGrid(near + out, a, b, 4, 4, out * 0.001f);
        shell.addGrid(near, b, a, 4, 4, out * -0.001f);
    }
    inside.addGrid(osg::Pnt3f(-100, 0, -100), osg::Vec3f(0, 0, 200), osg::Vec3f(200, 0, 0), 4, 4, osg::Vec3f(0, 1, 0));
    ktWholeScene scene;
    scene.add("shell", shell, osg::Color3f(0.9f, 0.9f, 0.9f));
    scene.add("inside", inside, osg::Color3f(0.9f, 0.9f, 0.9f));
    ktWholeSettings settings;
    settings.bounces = 3;
    for (const bool fits : {false, true}) {
        ktSetFitMode(fits ? ktFitMode::Surface : ktFitMode::Vertices);
        scene.bake(settings);
        for (const osg::Vec4f& result : scene.results("shell"))
            EXPECT_GT(result[3], 0.95f) << "the shell is lit from outside";
        for (const osg::Vec4f& result : scene.results("inside"))
            for (osg::UInt32 c = 0; c < 4; ++c)
                EXPECT_LT(result[c], 1e-3f) << (fits ? "fitted" : "at vertices") << ", component " << c;
    }
    ktSetFitMode(ktFitMode::Vertices);
}

TEST_F(RedWall, GivenColorBleeding_TintsTheWhiteBoxBesideIt) {
    settings.colorBleeding = true;
    scene.bake(settings);
    const auto box = scene.results("box");
    for (std::size_t i = 0; i < facing; ++i) {
        EXPECT_GT(box[i][0], 0.05f);
        // One bounce, only from the wall: the light has the wall's colour, the box only makes it darker.
        EXPECT_NEAR(box[i][1] / box[i][0], 0.1f / 0.8f, 1e-4f);
        EXPECT_NEAR(box[i][2] / box[i][0], 0.05f / 0.8f, 1e-4f);
    }
}

TEST_F(RedWall, GivenNoColorBleeding_TintsNothing) {
    for (const bool overrideColor : {false, true}) {
        settings.overrideColor = overrideColor;
        settings.color = osg::Color3f(0.8f, 0.1f, 0.05f);
        settings.bounces = 3;
        scene.bake(settings);
        for (const char* name : {"wall", "box"}) {
            float most = 0;
            for (const osg::Vec4f& result : scene.results(name)) {
                EXPECT_EQ(result[0], result[1]);
                EXPECT_EQ(result[0], result[2]);
                most = std::max(most, result[0]);
            }
            EXPECT_GT(most, 0.01f) << name << ": the light is not black, only grey";
        }
    }
}

TEST_F(RedWall, GivenOverrideColor_TintsWithItInsteadOfTheWall) {
    settings.colorBleeding = settings.overrideColor = true;
    settings.color = osg::Color3f(0.2f, 0.4f, 0.8f);
    scene.bake(settings);
    const auto box = scene.results("box");
    for (std::size_t i = 0; i < facing; ++i) {
        EXPECT_NEAR(box[i][1] / box[i][0], 2.0f, 1e-4f);
        EXPECT_NEAR(box[i][2] / box[i][0], 4.0f, 1e-4f);
    }
}
