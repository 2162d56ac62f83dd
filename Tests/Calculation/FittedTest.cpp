// SPDX-License-Identifier: LGPL-2.1-or-later
// Whole calculations with vertex values that are fitted to the surface.
#include "ktAmbientOcclusion.h"
#include "ktCancelToken.h"
#include "ktFitMode.h"
#include "ktRefinedScene.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QTimer>
#include <random>

namespace {

using Scene = std::map<std::string, ktRefinedGeometry>;

Scene read(const ktWholeScene& scene) {
    Scene baked;
    for (const std::string& name : ktRefinedSceneParts())
        baked[name] = ktReadRefined(scene, name);
    return baked;
}

Scene bake(const std::vector<std::string>& order, const ktWholeSettings& settings) {
    const auto scene = ktMakeRefinedScene(order);
    scene->bake(settings);
    return read(*scene);
}

Scene bake(const ktWholeSettings& settings) {
    return bake(ktRefinedSceneParts(), settings);
}

bool isSame(const ktRefinedGeometry& a, const ktRefinedGeometry& b) {
    return a == b && ktBitsOf(a.results) == ktBitsOf(b.results) && ktBitsOf(a.bakedLight) == ktBitsOf(b.bakedLight);
}

bool isSame(const Scene& a, const Scene& b) {
    return std::all_of(a.begin(), a.end(), [&](const auto& part) { return isSame(part.second, b.at(part.first)); });
}

ktWholeSettings settingsOf(int mode, bool subdivide) {
    ktWholeSettings settings = ktRefinedSettings(mode);
    settings.subdivide = subdivide;
    return settings;
}

class Fitted : public ::testing::Test {
protected:
    Fitted() { ktSetFitMode(ktFitMode::Surface); }
    ~Fitted() override { ktSetFitMode(ktFitMode::Vertices); }
};

/// Cancels at one run of the event loop, as an application does.
class Canceler {
public:
    explicit Canceler(int at_) : at(at_) {
        QObject::connect(&timer, &QTimer::timeout, [this] {
            if (count++ == at)
                ktAmbientOcclusion::the()->cancelCalculation();
        });
        timer.start(0);
        canceled = QObject::connect(ktAmbientOcclusion::the(), &ktAmbientOcclusion::calculationCanceled,
                                    [] { ktCancelToken::the().cancel(); });
    }
    ~Canceler() {
        QObject::disconnect(canceled);
        ktCancelToken::the().reset();
    }

    int count = 0;

private:
    const int at;
    QTimer timer;
    QMetaObject::Connection canceled;
};

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

} // namespace

TEST(FitMode, GivenVertices_GivesTheBitsOfARunThatNeverSetIt) {
    for (const bool subdivide : {false, true}) {
        const Scene before = bake(settingsOf(2, subdivide)); // ctest runs each test in an own process
        ktSetFitMode(ktFitMode::Surface);
        const Scene fitted = bake(settingsOf(2, subdivide));
        ktSetFitMode(ktFitMode::Vertices);
        EXPECT_EQ(ktGetFitMode(), ktFitMode::Vertices);
        EXPECT_FALSE(isSame(before, fitted));
        EXPECT_TRUE(isSame(before, bake(settingsOf(2, subdivide))));
    }
}

TEST_F(Fitted, GivenOneTwoOrThreeThreads_GivesEqualBits) {
    for (const bool subdivide : {false, true})
        for (const int mode : {0, 2}) {
            ktWholeSettings settings = settingsOf(mode, subdivide);
            settings.threads = 1;
            const Scene one = bake(settings);
            for (const unsigned threads : {2u, 3u}) {
                settings.threads = threads;
                EXPECT_TRUE(isSame(one, bake(settings))) << threads << " threads, mode " << mode;
            }
        }
}

TEST_F(Fitted, GivenShuffledNodes_GivesEqualBits) {
    std::mt19937 random(12);
    for (const bool subdivide : {false, true}) {
        std::vector<std::string> order = ktRefinedSceneParts();
        const Scene first = bake(order, settingsOf(2, subdivide));
        for (int round = 0; round < 3; ++round) {
            std::shuffle(order.begin(), order.end(), random);
            const Scene other = bake(order, settingsOf(2, subdivide));
            for (const auto& [name, geometry] : first)
                EXPECT_TRUE(isSame(geometry, other.at(name))) << name << ", round " << round;
        }
    }
}

TEST_F(Fitted, GivenRefinement_FitsTheOriginalVerticesAgain) {
    for (const int mode : {0, 2}) {
        const Scene coarse = bake(settingsOf(mode, false)), fine = bake(settingsOf(mode, true));
        int refined = 0;
        for (const auto& [name, before] : coarse) {
            const ktRefinedGeometry& after = fine.at(name);
            const std::size_t count = before.positions.size();
            ASSERT_EQ(after.results.size(), after.positions.size());
            ASSERT_EQ(after.bakedLight.size(), mode == 2 ? after.positions.size() : 0);
            if (after.positions.size() == count)
                continue;
            ++refined;
            std::size_t changedDirect = 0, changedIndirect = 0, changedBaked = 0;
            for (std::size_t i = 0; i < count; ++i) {
                changedDirect += std::abs(after.results[i][3] - before.results[i][3]) > 1e-4f;
                changedIndirect += std::abs(after.results[i][0] - before.results[i][0]) > 1e-4f;
                changedBaked += mode == 2 && std::abs(after.bakedLight[i][0] - before.bakedLight[i][0]) > 1e-4f;
            }
            EXPECT_GT(2 * changedDirect, count) << name << ", mode " << mode;
            EXPECT_GT(2 * changedIndirect, count) << name << ", mode " << mode;
            if (mode == 2) {
                EXPECT_GT(changedBaked, 0u) << name;
            }
            for (const osg::Vec4f& result : after.results) {
                EXPECT_GT(result[3], 0.0f) << name;
                EXPECT_LE(result[3], 1.0f) << name;
                EXPECT_GT(result[0], 0.0f) << name;
            }
        }
        EXPECT_GT(refined, 1) << "mode " << mode;
    }
}

TEST_F(Fitted, GivenACancel_LeavesEachGeometryAsItWasOrComplete) {
    static int argc = 1;
    static char name[] = "tests", *argv[] = {name, nullptr};
    const QCoreApplication application(argc, argv);
    ktWholeSettings settings = settingsOf(0, false);
    settings.shadowQuality = 3;
    settings.indirect = false;
    const Scene before = read(*ktMakeRefinedScene(ktRefinedSceneParts()));
    Scene whole;
    int runs = 0;
    {
        const auto scene = ktMakeRefinedScene(ktRefinedSceneParts());
        const Canceler counter(-1);
        scene->bake(settings);
        runs = counter.count;
        whole = read(*scene);
    }
    ASSERT_GT(runs, 5);
    int asBefore = 0, complete = 0;
    for (int trial = 0; trial < 20; ++trial) {
        const auto scene = ktMakeRefinedScene(ktRefinedSceneParts());
        {
            const Canceler canceler(runs * trial / 20);
            scene->bake(settings);
        }
        for (const auto& [part, left] : read(*scene)) {
            const bool isEmpty =
                left.results.empty() || std::all_of(left.results.begin(), left.results.end(),
                                                    [](const osg::Vec4f& value) { return value[3] == 0.0f; });
            const bool isComplete = ktBitsOf(left.results) == ktBitsOf(whole.at(part).results);
            EXPECT_TRUE(isEmpty || isComplete) << part << ", trial " << trial;
            EXPECT_EQ(left.positions, before.at(part).positions) << part;
            EXPECT_EQ(left.triangles, before.at(part).triangles) << part;
            asBefore += isEmpty;
            complete += isComplete;
        }
        scene->bakeAgain(settings);
        EXPECT_TRUE(isSame(read(*scene), whole)) << "trial " << trial;
    }
    EXPECT_GT(asBefore, 0);
    EXPECT_GT(complete, 0);
}

TEST_F(Fitted, GivenSphereLitFromItsCentre_SumsTheSeries) {
    const osg::Color3f lamp(2.0f, 1.0f, 0.5f), albedo(0.3f, 0.6f, 0.9f), surface(0.5f, 0.25f, 1.0f);
    ktWholeScene scene;
    scene.add("sphere", sphereFromInside(), surface);
    scene.addLamp(osg::Pnt3f(0, 0, 0), lamp);
    ktWholeSettings settings;
    settings.mode = 2;
    settings.shadowQuality = 0;
    settings.gatherQuality = 1;
    settings.colorBleeding = settings.overrideColor = true;
    settings.color = albedo;
    for (const int bounces : {1, 3}) {
        settings.bounces = bounces;
        scene.bake(settings);
        const auto results = scene.results("sphere");
        ASSERT_FALSE(results.empty());
        for (osg::UInt32 c = 0; c < 3; ++c) {
            double series = 0;
            for (int i = 0; i < bounces; ++i)
                series = albedo[c] * (1 + series);
            double least = 1e9, most = 0;
            for (const osg::Vec4f& result : results) {
                const double received = result[c] / surface[c] / (lamp[c] * series);
                least = std::min(least, received);
                most = std::max(most, received);
            }
            EXPECT_GT(least, 0.99) << bounces << " bounces, component " << c;
            EXPECT_LT(most, 1.01) << bounces << " bounces, component " << c;
        }
    }
}
