// SPDX-License-Identifier: LGPL-2.1-or-later
// Geometries that ranks trace as a whole, before a pass asks for them.
#include "ktTestRanks.h"

#include "ktTriangleScene.h"

#include "ktCheckpoint.h"
#include "ktHemisphereSampler.h"
#include "ktPassAhead.h"
#include "ktWorkers.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

constexpr std::chrono::milliseconds soon{5};

/// A floor below spheres, which are the geometries of a pass.
class RankJobs : public testing::Test {
protected:
    RankJobs() {
        floor.addQuad({-5, -5, -2}, {10, 0, 0}, {0, 10, 0});
        tracer.build({floor.view()}, {});
        ktTestMesh sphere;
        sphere.addSphere(1, 8, 16);
        job.positions.assign(sphere.positions.begin(),
                             sphere.positions.begin() + static_cast<std::ptrdiff_t>(sphere.positions.size() / 3 * 3));
        job.normals = job.positions;
        job.triangles = std::make_shared<const std::vector<std::uint32_t>>(sphere.indices);
        job.hasOneRings = true;
        pass.tracer = &tracer;
        pass.directions = directions.get();
        pass.limits = {0.001f, 100, true};
        pass.sceneSize = 15;
    }

    void fit() {
        pass.pointDirections = pass.insideDirections = directions.get();
        pass.density = 20;
        pass.mostPoints = 1000;
    }

    std::shared_ptr<ktRankJob> newJob(float z = 0) const {
        auto made = std::make_shared<ktRankJob>();
        made->geometry = job;
        osg::Matrix matrix;
        matrix.setTranslate(0, 0, z);
        made->geometry.toWorld = ktWorldTransform(matrix);
        return made;
    }

    ktVertexTask taskOf(const ktGeometryJob& geometry) const {
        ktVertexTask task;
        task.setVertices(geometry.toWorld, geometry.vertexCount(), geometry.positions.data(), geometry.normals.data(),
                         nullptr);
        return task;
    }

    ktGeometryResult traceHere(const ktGeometryJob& geometry) {
        ktGeometryResult result;
        ktWorkers::run([&] { result = ktTraceGeometry(pass, geometry); }, pump);
        return result;
    }

    /// Sends the scene; ranks build it.
    void sendScene(ktRankPool& pool) {
        ktWorkers::run([&] { pool.sendScene({floor.view()}, tracer); }, pump);
    }

    /// Waits until a rank has traced the jobs; rank 0 traces none.
    static void waitForRanks(ktRankPool& pool, const std::vector<std::shared_ptr<ktRankJob>>& jobs) {
        for (const auto& each : jobs)
            while (!pool.waitFor(*each, soon)) {
            }
    }

    ktTestMesh floor;
    ktHemisphereTracer tracer{4};
    ktDirectionSet set = ktMakeHemisphereDirections(8, 8, 0.25f, 0.25f, 1);
    std::unique_ptr<ktPreparedDirections> directions = tracer.prepareDirections(set);
    ktGeometryPass pass;
    ktGeometryJob job;
    ktEventPump pump;
};

/// A rank that never has the structure, so that rank 0 traces everything.
void serveNothing(ktTransport& transport) {
    ktWireWriter hello = ktBeginMessage(ktRankMessage::Hello);
    ktPut(hello, ktTestHello("elsewhere"));
    transport.send(0, ktEndMessage(std::move(hello)));
    int from = 0;
    std::vector<char> message;
    while (!transport.receive(from, message, soon) ||
           ktWireReader(message).get<ktRankMessage>() != ktRankMessage::End) {
    }
}

/// A checkpoint that calculations use while the object exists.
class UsedCheckpoint {
public:
    explicit UsedCheckpoint(const std::string& file) : checkpoint(file, "identity") {
        ktCheckpoint::setCurrent(&checkpoint);
    }
    ~UsedCheckpoint() { ktCheckpoint::setCurrent(nullptr); }
    UsedCheckpoint(const UsedCheckpoint&) = delete;
    UsedCheckpoint& operator=(const UsedCheckpoint&) = delete;

    ktCheckpoint checkpoint;
};

/// The name of a file that does not exist; removes what was made there.
struct TemporaryFile {
    TemporaryFile() { std::filesystem::remove(name); }
    ~TemporaryFile() { std::filesystem::remove(name); }
    const std::string name = testing::TempDir() + "ktRankJobsTest." + std::to_string(getpid());
};

ktTestRanks::Serve serveFourLanes() {
    ktRankHello hello = ktTestHello("elsewhere");
    hello.fingerprints[1] = hello.fingerprints[2] = 0; // as the tracer of rank 0
    return ktTestRanks::serveAs(hello);
}

/// A plan of eight spheres above each other.
class PassAhead : public RankJobs {
protected:
    PassAhead() {
        for (std::uint32_t i = 0; i < 8; ++i)
            planned.push_back({100 + i, job.vertexCount()});
        ahead.begin(*ranks.pool, planned, [this](std::size_t index) {
            made.push_back(index);
            return newJob(0.02f * static_cast<float>(index));
        });
    }
    ~PassAhead() override { ahead.end(); }

    /// Asks for a geometry as the pass does.
    std::optional<ktGeometryResult> ask(std::uint32_t index, float moved = 0) {
        const std::shared_ptr<ktRankJob> asked = newJob(0.02f * static_cast<float>(index) + moved);
        return ahead.take(100 + index, pass, taskOf(asked->geometry), nullptr, pump);
    }
    static ktRankPool::Limits limits() {
        ktRankPool::Limits anySize = ktTestLimits();
        anySize.jobsPerRank = 0;
        return anySize;
    }

    ktTestRanks ranks{2, serveNothing, limits()};
    std::vector<ktPassAhead::Planned> planned;
    std::vector<std::size_t> made;
    ktPassAhead ahead;
};

} // namespace

TEST_F(RankJobs, GivenJobsThatNobodyTakesBack_RanksTraceThemToTheSameBits) {
    for (const bool isFitted : {false, true}) {
        if (isFitted)
            fit();
        const ktTestRanks ranks(3, serveFourLanes());
        sendScene(*ranks.pool);
        ranks.pool->beginPass(pass);
        std::vector<std::shared_ptr<ktRankJob>> jobs;
        for (int i = 0; i < 20; ++i) {
            jobs.push_back(newJob(0.02f * static_cast<float>(i)));
            ranks.pool->addJob(jobs.back());
        }
        waitForRanks(*ranks.pool, jobs);
        EXPECT_FALSE(ranks.pool->hasJobs());
        for (const auto& each : jobs) {
            const ktGeometryResult here = traceHere(each->geometry);
            EXPECT_GT(each->rank, 0u);
            EXPECT_EQ(each->result.values, here.values);
            EXPECT_EQ(each->result.counts.rays(), here.counts.rays());
            EXPECT_EQ(each->result.samples.values, here.samples.values);
            EXPECT_EQ(each->result.samples.isValid, here.samples.isValid);
            EXPECT_EQ(here.samples.isValid.empty(), !isFitted);
        }
        ranks.pool->endPass();
    }
}

TEST_F(RankJobs, GivenPassThatEnds_ItsJobsAreDroppedAndTheNextPassHasRanks) {
    const ktTestRanks ranks(2, serveFourLanes());
    sendScene(*ranks.pool);
    for (int round = 0; round < 5; ++round) {
        ranks.pool->beginPass(pass);
        for (int i = 0; i < 10; ++i)
            ranks.pool->addJob(newJob());
        ranks.pool->endPass();
        EXPECT_FALSE(ranks.pool->hasJobs());
    }
    ranks.pool->beginPass(pass);
    const std::shared_ptr<ktRankJob> last = newJob();
    ranks.pool->addJob(last);
    waitForRanks(*ranks.pool, {last});
    EXPECT_EQ(last->result.values, traceHere(last->geometry).values);
}

TEST_F(RankJobs, GivenRankThatReturnsNonsense_PassFailsWithItsHost) {
    const ktTestRanks ranks(2, [](ktTransport& transport) {
        ktWireWriter hello = ktBeginMessage(ktRankMessage::Hello);
        ktPut(hello, ktTestHello("elsewhere"));
        transport.send(0, ktEndMessage(std::move(hello)));
        int from = 0;
        std::vector<char> message;
        while (static_cast<ktThreadTransport&>(transport).abortCode() < 0) {
            if (!transport.receive(from, message, soon))
                continue;
            ktWireReader reader(message);
            const auto kind = reader.get<ktRankMessage>();
            if (kind == ktRankMessage::End)
                return;
            if (kind != ktRankMessage::Scene && kind != ktRankMessage::Geometry)
                continue;
            ktWireWriter answer =
                ktBeginMessage(kind == ktRankMessage::Scene ? ktRankMessage::Built : ktRankMessage::GeometryDone);
            answer.put(reader.get<std::uint64_t>());
            if (kind == ktRankMessage::Geometry) {
                answer.put(reader.get<std::uint32_t>());
                ktGeometryResult result;
                result.values.assign(4 * ktGetJob(reader).vertexCount(), 1.5f);
                ktPutResult(answer, result);
            }
            transport.send(0, ktEndMessage(std::move(answer)));
        }
    });
    sendScene(*ranks.pool);
    ranks.pool->beginPass(pass);
    const std::shared_ptr<ktRankJob> asked = newJob();
    ranks.pool->addJob(asked);
    try {
        waitForRanks(*ranks.pool, {asked});
        FAIL() << "nonsense is light";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "rank 1 on elsewhere returned nonsense: more open rays than rays");
    }
    EXPECT_TRUE(ranks.pool->hasFailed());
}

TEST_F(RankJobs, GivenShortenedMessages_ReaderRefusesThem) {
    fit();
    ktWireWriter ofJob, ofResult;
    ktPutJob(ofJob, job);
    ktPutResult(ofResult, traceHere(job));
    const auto part = [](const ktWireWriter& writer, std::size_t size) {
        return std::vector<char>(writer.bytes.begin(), writer.bytes.begin() + static_cast<std::ptrdiff_t>(size));
    };
    for (std::size_t size = 0; size < ofJob.bytes.size(); size += 7) {
        const std::vector<char> bytes = part(ofJob, size);
        ktWireReader reader(bytes);
        EXPECT_THROW(ktGetJob(reader), ktBadMessage) << size;
    }
    for (std::size_t size = 0; size < ofResult.bytes.size(); size += 7) {
        const std::vector<char> bytes = part(ofResult, size);
        ktWireReader reader(bytes);
        EXPECT_THROW(ktGetResult(reader, job.vertexCount(), 4, 1), ktBadMessage) << size;
    }
    ktWireReader reader(ofResult.bytes);
    EXPECT_EQ(ktGetResult(reader, job.vertexCount(), 4, 1).values, traceHere(job).values);
}

TEST_F(PassAhead, GivenPlannedOrder_EachGeometryIsCopiedAndTracedOnce) {
    for (std::uint32_t i = 0; i < 8; ++i) {
        const std::optional<ktGeometryResult> result = ask(i);
        ASSERT_TRUE(result) << i;
        EXPECT_EQ(result->values, traceHere(newJob(0.02f * static_cast<float>(i))->geometry).values);
    }
    EXPECT_THAT(made, testing::ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
    EXPECT_EQ(ranks.pool->statistics()[0].geometries, 8u);
}

TEST_F(PassAhead, GivenOtherVerticesThanPlanned_GivesNothing) {
    EXPECT_TRUE(ask(0));
    EXPECT_FALSE(ask(1, 0.5f));
    EXPECT_TRUE(ask(2));
}

TEST_F(PassAhead, GivenOtherWayToTrace_NothingMoreIsTracedAhead) {
    EXPECT_TRUE(ask(0));
    pass.limits.maxDistance = 3;
    EXPECT_FALSE(ask(1));
    EXPECT_FALSE(ask(2));
    EXPECT_FALSE(ranks.pool->hasJobs());
}

TEST_F(PassAhead, GivenUnknownGeometry_GivesNothingAndGoesOn) {
    EXPECT_TRUE(ask(0));
    EXPECT_FALSE(ask(50));
    EXPECT_TRUE(ask(1));
}

TEST_F(PassAhead, GivenFirstGeometryInTheMiddle_BeginsWhenTheOrderHolds) {
    EXPECT_FALSE(ask(3));
    EXPECT_TRUE(made.empty());
    EXPECT_TRUE(ask(4));
    EXPECT_THAT(made, testing::ElementsAre(4, 5, 6, 7));
}

TEST_F(PassAhead, GivenAnotherOrder_NothingIsTracedAhead) {
    for (const std::uint32_t i : {6u, 4u, 2u, 0u, 1u, 3u})
        EXPECT_FALSE(ask(i)) << i;
    EXPECT_TRUE(made.empty());
}

// A bake that ends after three geometries, and one that goes on.
TEST_F(PassAhead, GivenCheckpoint_TracesEachGeometryInOneProcessOnly) {
    for (const bool isFitted : {false, true}) {
        const TemporaryFile file;
        if (isFitted)
            fit();
        const auto askAll = [&](std::uint32_t first, std::uint32_t last) {
            ktPassAhead again;
            again.begin(*ranks.pool, planned, [this](std::size_t i) { return newJob(0.02f * static_cast<float>(i)); });
            for (std::uint32_t i = first; i < last; ++i) {
                const std::shared_ptr<ktRankJob> asked = newJob(0.02f * static_cast<float>(i));
                const std::optional<ktGeometryResult> result =
                    again.take(100 + i, pass, taskOf(asked->geometry), nullptr, pump);
                ASSERT_TRUE(result) << i;
                const ktGeometryResult here = traceHere(asked->geometry);
                EXPECT_EQ(result->values, here.values);
                EXPECT_EQ(result->counts.rays(), here.counts.rays());
                EXPECT_EQ(result->samples.values, here.samples.values);
            }
            again.end();
        };
        const std::uint64_t before = ranks.pool->statistics()[0].geometries;
        {
            const UsedCheckpoint used(file.name);
            askAll(0, 3);
            EXPECT_EQ(used.checkpoint.restoredVertices(), 0u);
        }
        const UsedCheckpoint used(file.name);
        EXPECT_TRUE(used.checkpoint.hasGeometries());
        askAll(0, 8);
        EXPECT_EQ(used.checkpoint.restoredVertices(), 3 * traceHere(newJob()->geometry).verticesTraced(pass));
        EXPECT_EQ(ranks.pool->statistics()[0].geometries, before + 8);
    }
}

TEST_F(RankJobs, GivenCheckpoint_KeepsWhatRanksHaveTraced) {
    const TemporaryFile file;
    std::vector<std::shared_ptr<ktRankJob>> jobs;
    {
        UsedCheckpoint used(file.name);
        const ktTestRanks ranks(3, serveFourLanes());
        sendScene(*ranks.pool);
        ranks.pool->beginPass(pass);
        for (int i = 0; i < 5; ++i) {
            jobs.push_back(newJob(0.02f * static_cast<float>(i)));
            jobs.back()->keep = [&used, hash = used.checkpoint.hashOf(pass, jobs.back()->geometry)](
                                    const ktGeometryResult& result) { used.checkpoint.keep(hash, result); };
            ranks.pool->addJob(jobs.back());
        }
        waitForRanks(*ranks.pool, jobs);
        ranks.pool->endPass();
    }
    ktCheckpoint checkpoint(file.name, "identity");
    for (const auto& each : jobs) {
        const std::optional<ktGeometryResult> kept =
            checkpoint.restore(checkpoint.hashOf(pass, each->geometry), pass, each->geometry);
        ASSERT_TRUE(kept);
        EXPECT_EQ(kept->values, each->result.values);
    }
    pass.limits.maxDistance = 3;
    EXPECT_FALSE(checkpoint.restore(checkpoint.hashOf(pass, job), pass, job));
}

TEST_F(RankJobs, GivenShortenedGeometryInCheckpoint_SaysThatItIsDamaged) {
    const TemporaryFile file;
    ktGeometryResult cut = traceHere(job);
    cut.values.resize(4);
    ktCheckpoint(file.name, "identity").keep(7, cut);
    ktCheckpoint checkpoint(file.name, "identity");
    try {
        checkpoint.restore(7, pass, job);
        FAIL() << "light of another geometry is accepted";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "the checkpoint is damaged; delete it");
    }
}

TEST_F(PassAhead, GivenLargeGeometry_IsLeftToTheLoops) {
    planned[2].vertices = 1u << 30;
    const ktTestRanks limited(2, serveNothing);
    ktPassAhead other;
    other.begin(*limited.pool, planned, [this](std::size_t) { return newJob(); });
    const auto askOther = [&](std::uint32_t index) {
        const std::shared_ptr<ktRankJob> asked = newJob();
        return other.take(100 + index, pass, taskOf(asked->geometry), nullptr, pump).has_value();
    };
    EXPECT_TRUE(askOther(0));
    EXPECT_TRUE(askOther(1));
    EXPECT_FALSE(askOther(2));
    EXPECT_TRUE(askOther(3));
    other.end();
}
