// SPDX-License-Identifier: LGPL-2.1-or-later
// Loops that are interrupted and restored from a checkpoint.
#include "ktCheckpoint.h"
#include "ktCancelPoint.h"
#include "ktEventPump.h"
#include "ktHemisphereSampler.h"
#include "ktHemisphereTracer.h"
#include "ktTestMesh.h"
#include "ktTestRanks.h"
#include "ktThreadCount.h"
#include "ktTriangleScene.h"
#include "ktWorkers.h"

#include <array>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

/// Counts the vertices that it has traced, in all objects.
class CountingTracer : public ktHemisphereTracer {
public:
    using ktHemisphereTracer::ktHemisphereTracer;
    void countVisible(const ktRayVertex* vertices, std::uint32_t number, const ktRayLimits& limits,
                      std::uint32_t* visible, std::uint64_t* const* masks) const override {
        ktHemisphereTracer::countVisible(vertices, number, limits, visible, masks);
        traced += number;
    }
    static std::atomic<std::size_t> traced;
};
std::atomic<std::size_t> CountingTracer::traced{0};

/// Two loops over points above a sphere, as a bake.
class Checkpoint : public testing::Test {
protected:
    static constexpr std::size_t count = 20'000;

    Checkpoint() : set(ktMakeHemisphereDirections(8, 8, 0.25f, 0.25f, 1)), directions(tracer.prepareDirections(set)) {
        std::filesystem::remove(file);
        mesh.addSphere(1, 12, 24);
        mesh.positions.push_back(0);
        view.positions = mesh.positions.data();
        view.indices = mesh.indices.data();
        view.vertexCount = static_cast<std::uint32_t>(mesh.positions.size() / 3);
        view.triangleCount = static_cast<std::uint32_t>(mesh.indices.size() / 3);
    }
    ~Checkpoint() override { std::filesystem::remove(file); }

    /// @param stopAfter vertices; then the bake is cancelled
    /// @param heights   of the points of both loops
    std::vector<std::uint32_t> bake(ktLoopHelpers* helpers, std::size_t stopAfter = ~std::size_t(0),
                                    std::array<float, 2> heights = {2, 2}) {
        std::vector<std::uint32_t> visible(2 * count);
        traced = 0;
        ktEventPump pump;
        ktWorkers::run(
            [&] {
                tracer.build({view}, {});
                if (ktRankPool* const ranks = ktRankPool::current())
                    ranks->sendScene({view}, tracer);
                for (std::size_t loopNumber = 0; loopNumber < 2; ++loopNumber) {
                    ktBatchLoop loop;
                    loop.work.tracer = &tracer;
                    loop.work.directions = directions.get();
                    loop.work.limits = {0, 10, true};
                    loop.count = count;
                    loop.make = [&](ktVertexBatch& batch) {
                        for (std::size_t i = batch.begin; i < batch.end; ++i) {
                            batch.slot[i - batch.begin] = static_cast<int>(batch.count);
                            const float x = static_cast<float>(i) / count - 0.5f;
                            batch.vertices[batch.count++] = {
                                {x, 0, heights[loopNumber]}, {1, 0, 0}, {0, -1, 0}, {0, 0, -1}, directions.get()};
                        }
                    };
                    loop.finish = [&](const ktVertexBatch& batch) {
                        for (std::size_t i = batch.begin; i < batch.end; ++i)
                            visible[loopNumber * count + i] = batch.light[i - batch.begin].visible;
                        if ((traced += batch.count) > stopAfter)
                            ktCancelToken::the().cancel();
                        if (atBatch)
                            atBatch();
                    };
                    ktRunLoop(loop, helpers);
                }
            },
            pump);
        return visible;
    }
    std::string refusal(const std::string& identity) {
        try {
            const ktCheckpoint checkpoint(file, identity);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "nothing is refused";
    }
    /// A bake that ends in its second loop.
    void interrupt() {
        ktCheckpoint checkpoint(file, "identity");
        EXPECT_THROW(bake(&checkpoint, count + 2000), ktCanceled);
        ktCancelToken::the().reset();
    }

    const std::string file = testing::TempDir() + "ktCheckpointTest." + std::to_string(getpid());
    const ktTestLog log; // resets the cancel token
    ktTestMesh mesh;
    ktTracerMesh view;
    CountingTracer tracer;
    std::function<void()> atBatch; // called by the thread that stores a batch
    const ktDirectionSet set;
    const std::unique_ptr<ktPreparedDirections> directions;
    std::atomic<std::size_t> traced{0};
};

} // namespace

TEST_F(Checkpoint, GivenInterruptedBake_NextOneGoesOnToTheSameBits) {
    const std::vector<std::uint32_t> undisturbed = bake(nullptr);
    interrupt();
    const std::size_t kept = traced;
    ktCheckpoint checkpoint(file, "identity");
    EXPECT_EQ(bake(&checkpoint), undisturbed);
    EXPECT_EQ(checkpoint.restoredVertices(), kept);
    EXPECT_GE(kept, count + 2000);
    EXPECT_EQ(checkpoint.writeError(), "");
}

TEST_F(Checkpoint, GivenTornEnd_RestoresTheRest) {
    const std::vector<std::uint32_t> undisturbed = bake(nullptr);
    interrupt();
    const std::size_t kept = traced;
    std::filesystem::resize_file(file, std::filesystem::file_size(file) - 5);
    ktCheckpoint checkpoint(file, "identity");
    EXPECT_EQ(bake(&checkpoint), undisturbed);
    EXPECT_LT(checkpoint.restoredVertices(), kept);
    EXPECT_GE(checkpoint.restoredVertices(), kept - 64);
}

TEST_F(Checkpoint, GivenOtherIdentity_IsRefused) {
    interrupt();
    EXPECT_THAT(refusal("identitx"), HasSubstr("is a checkpoint of another scene, of other settings"));
    EXPECT_THAT(refusal("identity and more"), HasSubstr("is a checkpoint of another scene, of other settings"));
    EXPECT_EQ(refusal("identity"), "nothing is refused");
}

TEST_F(Checkpoint, GivenOtherVertices_TracesThem) {
    interrupt();
    ktCheckpoint checkpoint(file, "identity");
    EXPECT_EQ(bake(&checkpoint, ~std::size_t(0), {2.5f, 2.5f}), bake(nullptr, ~std::size_t(0), {2.5f, 2.5f}));
    EXPECT_EQ(checkpoint.restoredVertices(), 0u);
}

TEST_F(Checkpoint, GivenLoopsInAnotherOrder_RestoresThem) {
    const auto all = ~std::size_t(0);
    {
        ktCheckpoint checkpoint(file, "identity");
        bake(&checkpoint, all, {2, 3});
    }
    ktCheckpoint checkpoint(file, "identity");
    const std::vector<std::uint32_t> restored = bake(&checkpoint, all, {3, 2});
    EXPECT_EQ(checkpoint.restoredVertices(), 2 * count);
    EXPECT_EQ(restored, bake(nullptr, all, {3, 2}));
}

TEST_F(Checkpoint, GivenAnotherSceneAtTheBeginning_IsRefused) {
    ktTracerMesh smaller = view;
    --smaller.triangleCount;
    {
        ktCheckpoint checkpoint(file, "identity");
        checkpoint.beginScene({view});
        checkpoint.beginScene({smaller}); // after a refinement
    }
    ktCheckpoint(file, "identity").beginScene({view});
    ktCheckpoint checkpoint(file, "identity");
    try {
        checkpoint.beginScene({smaller});
        FAIL() << "another scene is accepted";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("the checkpoint is of another scene"));
    }
}

TEST_F(Checkpoint, GivenAnotherFile_IsRefusedAndKept) {
    std::ofstream(file) << "my notes";
    EXPECT_EQ(refusal("identity"), "is not a checkpoint");
    std::ifstream kept(file);
    std::string text;
    std::getline(kept, text);
    EXPECT_EQ(text, "my notes");
}

// A killed process leaves the file as it is at that moment: a copy.
TEST_F(Checkpoint, GivenRanksThatAreKilled_LosesAtMostWhatIsInWork) {
    const std::string left = file + ".left";
    // A rank has at most two blocks of 16 batches per thread; rank 0 has a batch per thread, and as many not yet
    // flushed as there are ranks and threads.
    constexpr std::size_t ranks = 3, threadsOfRank = 2, batch = ktVertexBatch::mostItems;
    const std::size_t threads = ktThreadCount::get();
    const std::size_t mostLost = (ranks - 1) * 2 * 16 * threadsOfRank * batch + (2 * threads + ranks) * batch;
    ASSERT_LT(mostLost, count);
    ktTestRanks shared(ranks, [](ktTransport& transport) {
        ktRankServerOptions options;
        options.self = ktTestHello("host");
        options.makeTracer = [](std::uint32_t lanes) { return std::make_unique<CountingTracer>(lanes); };
        options.setCanceled = [](bool) {};
        options.beat = std::chrono::milliseconds(20);
        ktServeRank(transport, options);
    });
    for (const std::size_t killAt : {count / 10, count / 2, count, count + count / 2, 2 * count - batch}) {
        std::filesystem::remove(file);
        CountingTracer::traced = 0;
        std::size_t tracedBefore = 0;
        std::atomic<bool> isKilled{false};
        atBatch = [&] {
            if (traced < killAt || isKilled.exchange(true))
                return;
            tracedBefore = CountingTracer::traced;
            std::filesystem::copy_file(file, left, std::filesystem::copy_options::overwrite_existing);
        };
        std::vector<std::uint32_t> undisturbed;
        {
            ktCheckpoint checkpoint(file, "identity");
            undisturbed = bake(&checkpoint);
        }
        atBatch = {};
        ASSERT_TRUE(isKilled);
        ktCheckpoint checkpoint(left, "identity");
        EXPECT_EQ(bake(&checkpoint), undisturbed);
        EXPECT_LE(tracedBefore, checkpoint.restoredVertices() + mostLost) << killAt;
        std::filesystem::remove(left);
    }
}
