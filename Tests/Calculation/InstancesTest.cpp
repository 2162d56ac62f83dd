// SPDX-License-Identifier: LGPL-2.1-or-later
// A calculation gives the same bits whether parts are traced as instances or written out: with refinement, bounces and
// fit, and after a cancel.
#include "ktAmbientOcclusion.h"
#include "ktCancelToken.h"
#include "ktFitMode.h"
#include "ktInstancing.h"
#include "ktRefinedScene.h"

#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QTimer>

namespace {

osg::Matrix matrix(const float (&rows)[3][4]) {
    osg::Matrix m;
    for (osg::UInt32 row = 0; row < 3; ++row)
        for (osg::UInt32 column = 0; column < 4; ++column)
            m[column][row] = rows[row][column];
    return m;
}

// The blocks are used several times: turned, mirrored, sheared, and scaled to a point. The floor is used once.
std::unique_ptr<ktWholeScene> makeScene() {
    auto scene = ktMakeRefinedScene(ktRefinedSceneParts());
    scene->addUse("red", matrix({{0.8f, -0.6f, 0, 100}, {0.6f, 0.8f, 0, -600}, {0, 0, 1, 0}}));
    scene->addUse("red", matrix({{-1, 0, 0, 1500}, {0, 1, 0, 0}, {0, 0, 0.5f, 0}}));
    scene->addUse("red", matrix({{1, 0.4f, 0, 500}, {0, 1, 0, 200}, {0, 0.3f, 1.2f, 0}}));
    scene->addUse("white", matrix({{0, 0, 0, 700}, {0, 0, 0, 300}, {0, 0, 0, 50}}));
    scene->addUse("white", matrix({{0.5f, 0, 0, 0}, {0, -0.5f, 0, 500}, {0, 0, 0.5f, 300}}));
    scene->addUse("wall", matrix({{0, 0, 1, 0}, {1, 0, 0, -1000}, {0, 1, 0, 0}}));
    return scene;
}

class Instances : public testing::Test {
protected:
    ~Instances() override {
        ktSetInstancing(ktInstancing::ByCost);
        ktSetFitMode(ktFitMode::Vertices);
    }

    static std::map<std::string, ktRefinedGeometry> read(const ktWholeScene& scene) {
        std::map<std::string, ktRefinedGeometry> parts;
        for (const std::string& name : ktRefinedSceneParts())
            parts[name] = ktReadRefined(scene, name);
        return parts;
    }
    static std::map<std::string, ktRefinedGeometry> bake(ktInstancing instancing, const ktWholeSettings& settings) {
        ktSetInstancing(instancing);
        const auto scene = makeScene();
        scene->bake(settings);
        return read(*scene);
    }
};

} // namespace

TEST_F(Instances, GivenRefinementAndBounces_GiveTheBitsOfTheWrittenOutScene) {
    for (const ktFitMode fit : {ktFitMode::Vertices, ktFitMode::Surface}) {
        ktSetFitMode(fit);
        for (const int mode : {0, 2}) {
            const auto writtenOut = bake(ktInstancing::Never, ktRefinedSettings(mode));
            std::size_t vertices = 0;
            for (const auto& [name, part] : writtenOut)
                vertices += part.positions.size();
            EXPECT_GT(vertices, 9 + 9 + 8 + 20 + 20u) << "something was refined";
            EXPECT_TRUE(bake(ktInstancing::Always, ktRefinedSettings(mode)) == writtenOut) << "mode " << mode;
        }
    }
}

TEST_F(Instances, GivenCancel_TheNextRunGivesTheSameBits) {
    if (!QCoreApplication::instance()) {
        static int argc = 1;
        static char name[] = "tests", *argv[] = {name, nullptr};
        static const QCoreApplication application(argc, argv);
    }
    ktWholeSettings settings = ktRefinedSettings();
    settings.subdivide = false;
    const auto writtenOut = bake(ktInstancing::Never, settings);
    ktSetInstancing(ktInstancing::Always);
    const auto connection = QObject::connect(ktAmbientOcclusion::the(), &ktAmbientOcclusion::calculationCanceled,
                                             [] { ktCancelToken::the().cancel(); });
    for (const int at : {0, 1, 2, 4, 7}) {
        const auto scene = makeScene();
        int count = 0;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            if (count++ == at)
                ktAmbientOcclusion::the()->cancelCalculation();
        });
        timer.start(0); // fires at every run of the loop
        scene->bake(settings);
        timer.stop();
        EXPECT_GT(count, at);
        ktCancelToken::the().reset();
        scene->bakeAgain(settings);
        EXPECT_TRUE(read(*scene) == writtenOut) << at;
    }
    QObject::disconnect(connection);
}
