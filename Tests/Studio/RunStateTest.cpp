// SPDX-License-Identifier: LGPL-2.1-or-later
// What the window says while a run is on: state, part, progress, rays a second, time left.
#include "ktAmbientOcclusion.h"
#include "ktBoxScene.h"
#include "ktRunProgress.h"
#include "ktRunRate.h"
#include "ktStudioFixture.h"
#include "ktTracingStatistics.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <QLabel>
#include <QProgressBar>
#include <QRegularExpression>
#include <set>

namespace {

class StudioRunState : public ktStudioFixture {
protected:
    QString phase() { return find<QLabel>("runPhase").text(); }
    QString figures() { return find<QLabel>("runFigures").text(); }
    int progress() { return find<QProgressBar>("runProgress").value(); }
    ktStudioRun& run() { return window->getRun(); }

    /// Bakes, and calls `look` whenever the run has told its state and the window shows it.
    void bake(const std::function<void()>& look) {
        const auto looking = QObject::connect(&run(), &ktStudioRun::stateChanged, look);
        trigger("start");
        QObject::disconnect(looking);
    }

    static std::uint64_t countedRays() {
        const ktTracingStatistics counts = ktReadTracingStatistics();
        return counts.requested.direct + counts.requested.indirect + counts.refining.direct + counts.refining.indirect -
               counts.shared.direct - counts.shared.indirect;
    }
};

} // namespace

TEST_F(StudioRunState, GivenTwoPartsAndABounce_NamesEachStateWithItsPart) {
    open(writeBoxes());
    plugin().setShadowQuality(0);
    plugin().setGatherQuality(0);
    plugin().setIndirectIlluminationEnabled(true);
    run().setUpdateInterval(0);
    std::vector<std::string> phases;
    std::vector<int> values;
    QObject::connect(&run(), &ktStudioRun::runningChanged, window.get(), [&](bool isRunning) {
        if (isRunning)
            phases.push_back(phase().toStdString());
    });
    bake([&] {
        if (phases.empty() || phases.back() != phase().toStdString())
            phases.push_back(phase().toStdString());
        EXPECT_THAT(figures().toStdString(), testing::ContainsRegex("0:[0-9][0-9] so far"));
        values.push_back(progress());
    });
    EXPECT_THAT(phases, testing::ElementsAre("Preparing", "Shadows: left", "Shadows: right", "Bounces: left",
                                             "Bounces: right"));
    EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
    ASSERT_FALSE(values.empty());
    EXPECT_EQ(values.front(), 0);
    EXPECT_THAT(values, testing::Contains(250)) << "one of two parts in one of two passes";
    EXPECT_THAT(values, testing::Contains(500)) << "one of two passes";
    EXPECT_EQ(values.back(), 990) << "the last part is traced; only the end of the run is all";
    EXPECT_FALSE(find<QLabel>("runPhase").isVisible()) << "the run has ended";
    EXPECT_FALSE(find<QProgressBar>("runProgress").isVisible());
}

TEST_F(StudioRunState, GivenUnnamedSurface_SaysTheNameAboveIt) {
    nlohmann::json scene = nlohmann::json::parse(readFile(writeBoxes()));
    scene["nodes"][1]["name"] = "";
    scene["nodes"].push_back({{"name", "car"}, {"children", {1}}});
    scene["scenes"][0]["nodes"] = {0, 2};
    open(folder.write("car.gltf", scene.dump()));
    plugin().setShadowQuality(0);
    run().setUpdateInterval(0);
    std::set<std::string> phases;
    bake([&] { phases.insert(phase().toStdString()); });
    EXPECT_THAT(phases, testing::Contains("Shadows: left"));
    EXPECT_THAT(phases, testing::Contains("Shadows: car"));
}

TEST_F(StudioRunState, GivenRefinement_SaysRoundsAndNewVertices) {
    open(writeBoxes());
    plugin().setSubdivideEnabled(true);
    plugin().setMinEdgeLength(200);
    run().setUpdateInterval(0);
    std::vector<std::string> rounds;
    const QRegularExpression expected("^Refining: round \\d+ of \\d+, [\\d.]+( k)? new vertices: (left|right)$");
    bake([&] {
        if (phase().startsWith("Refining")) {
            EXPECT_TRUE(expected.match(phase()).hasMatch()) << phase().toStdString();
            rounds.push_back(phase().toStdString());
        }
    });
    EXPECT_GT(rounds.size(), 1u);
}

// The longest bake of the settings, which ends when everything was seen.
TEST_F(StudioRunState, GivenLongRun_SaysRaysASecondAndTheTimeLeft) {
    open(writeBoxes());
    plugin().setShadowQuality(5);
    plugin().setGatherQuality(4);
    plugin().setIndirectIlluminationEnabled(true);
    plugin().setNumOfIndirections(1000);
    const QRegularExpression all("^([\\d.]+( [kMG])?) rays/s, [\\d:]+ so far, [\\d:]+ left$");
    QString seen;
    ktStudioRunState state;
    double rays = 0;
    bool wasUnknown = false;
    bake([&] {
        wasUnknown = wasUnknown || !figures().contains("left");
        if (!seen.isEmpty() || !all.match(figures()).hasMatch())
            return;
        seen = figures();
        state = run().getState();
        rays = static_cast<double>(countedRays());
        trigger("cancel");
    });
    ASSERT_FALSE(seen.isEmpty()) << "last: " << figures().toStdString();
    EXPECT_TRUE(wasUnknown) << "nothing is claimed before it is measured";
    EXPECT_EQ(all.match(seen).captured(1).toStdString(), formatCount(state.raysPerSecond));
    EXPECT_THAT(seen.toStdString(), testing::EndsWith(formatDuration(state.secondsLeft) + " left"));
    EXPECT_THAT(seen.toStdString(), testing::HasSubstr(formatDuration(state.seconds) + " so far"));
    // The scene is built in no time, so nearly all of the time traces.
    EXPECT_GE(state.raysPerSecond * state.seconds, rays) << "none is forgotten";
    constexpr double mostEstimated = 0.5; // the rays of the geometry under way are not counted yet
    EXPECT_LE(state.raysPerSecond * state.seconds, (1 + mostEstimated) * rays);
    EXPECT_NEAR(state.secondsLeft, state.seconds / state.share * (1 - state.share), 0.5 * state.secondsLeft);
}

TEST_F(StudioRunState, GivenFirstGeometryOfTheFirstFit_SaysTheLeastRaysASecond) {
    std::string grid; // large enough to be under way for long
    constexpr int side = 150;
    for (int i = 0; i < side * side; ++i)
        grid += "v " + std::to_string(i % side) + " " + std::to_string(i / side) + " " + std::to_string(i % 7) + "\n";
    for (int i = 1; i < side * (side - 1); ++i)
        if (i % side != 0)
            grid += "f " + std::to_string(i) + " " + std::to_string(i + 1) + " " + std::to_string(i + side) + "\n";
    open(folder.write("grid.obj", grid));
    ASSERT_EQ(window->getDocument().getOptions().fit, ktFitMode::Surface);
    plugin().setShadowQuality(5);
    const QRegularExpression all("^(At least ([\\d.]+( [kMG])?) rays/s, )?[\\d:]+ so far(, [\\d:]+ left)?$");
    QString seen;
    ktStudioRunState state;
    bake([&] {
        EXPECT_TRUE(all.match(figures()).hasMatch() || !seen.isEmpty()) << figures().toStdString();
        if (!seen.isEmpty() || !figures().startsWith("At least"))
            return;
        seen = figures();
        state = run().getState();
        trigger("cancel");
    });
    ASSERT_FALSE(seen.isEmpty()) << "last: " << figures().toStdString();
    EXPECT_EQ(all.match(seen).captured(2).toStdString(), formatCount(state.raysPerSecond));
}

TEST(StudioRunRate, GivenGeometryUnderWay_EstimatesItsRaysFromItsVertices) {
    ktRunRate rate({100, 10}, 0);
    rate.begin(false);
    EXPECT_EQ(rate.measure(50, 0, 1), 5000) << "a fit takes more rays, and how many more is not known yet";
    EXPECT_TRUE(rate.isLow());
    rate.finish(100);
    EXPECT_FALSE(rate.isLow());
    EXPECT_EQ(rate.measure(100, 30000, 2), 15000);
    rate.begin(false);
    EXPECT_EQ(rate.measure(150, 30000, 3), 15000) << "three times the rays of the vertices";
    rate.finish(200);
    rate.begin(true);
    EXPECT_EQ(rate.measure(300, 60000, 7), 9000) << "3000 more in a pass with fewer rays";
}

TEST(StudioRunRate, GivenRayFactorOfAnEarlierRun_KnowsTheRateInTheFirstGeometry) {
    ktRunRate rate({100, 10}, 3);
    rate.begin(false);
    EXPECT_EQ(rate.measure(50, 0, 1), 15000);
    EXPECT_FALSE(rate.isLow());
    EXPECT_EQ(rate.measure(50, 0, 0), 0);
}
