// SPDX-License-Identifier: LGPL-2.1-or-later
// Ranks that are silent, hang, return nonsense, or run something else; and cancelled loops.
#include "ktTestRanks.h"

#include "ktTriangleScene.h"

#include "ktCancelPoint.h"
#include "ktEventPump.h"
#include "ktHemisphereSampler.h"
#include "ktWorkers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

ktMessageBytes helloMessage(const ktRankHello& hello) {
    ktWireWriter writer = ktBeginMessage(ktRankMessage::Hello);
    ktPut(writer, hello);
    return ktEndMessage(std::move(writer));
}

/// A rank that says hello and hands every other message to `answer` until rank 0 ends.
ktTestRanks::Serve fake(const std::function<void(ktTransport&, ktRankMessage, ktWireReader&)>& answer) {
    return [answer](ktTransport& transport) {
        transport.send(0, helloMessage(ktTestHello("elsewhere")));
        int from = 0;
        std::vector<char> message;
        while (static_cast<ktThreadTransport&>(transport).abortCode() < 0) {
            if (!transport.receive(from, message, std::chrono::milliseconds(5)))
                continue;
            ktWireReader reader(message);
            const auto kind = reader.get<ktRankMessage>();
            if (kind == ktRankMessage::End)
                return;
            answer(transport, kind, reader);
        }
    };
}

void sayBuilt(ktTransport& transport, ktWireReader& reader) {
    ktWireWriter writer = ktBeginMessage(ktRankMessage::Built);
    writer.put(reader.get<std::uint64_t>());
    transport.send(0, ktEndMessage(std::move(writer)));
}

/// A square below rays, traced by a loop of the pool until the pool has used its ranks or failed.
std::string traceUntilFailure(ktRankPool& pool) {
    ktTestMesh mesh;
    mesh.addQuad({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    mesh.positions.push_back(0);
    ktTracerMesh view;
    view.positions = mesh.positions.data();
    view.indices = mesh.indices.data();
    view.vertexCount = 4;
    view.triangleCount = 2;
    ktHemisphereTracer tracer;
    const ktDirectionSet set = ktMakeHemisphereDirections(8, 8, 0.25f, 0.25f, 1);
    const auto directions = tracer.prepareDirections(set);
    ktBatchLoop loop;
    loop.work.tracer = &tracer;
    loop.work.directions = directions.get();
    loop.work.limits = {0, 10, true};
    loop.count = 100'000;
    loop.make = [&](ktVertexBatch& batch) {
        for (std::size_t i = batch.begin; i < batch.end; ++i)
            batch.vertices[batch.count++] = {{0.5f, 0.5f, 1}, {1, 0, 0}, {0, 1, 0}, {0, 0, -1}, directions.get()};
    };
    loop.finish = [](const ktVertexBatch&) {};
    std::string reason;
    ktEventPump pump;
    ktWorkers::run(
        [&] {
            tracer.build({view}, {});
            pool.sendScene({view}, tracer);
            while (reason.empty())
                try {
                    pool.run(loop);
                } catch (const std::runtime_error& error) {
                    reason = error.what();
                }
        },
        pump);
    return reason;
}

std::string refusalOf(const ktRankHello& hello) {
    try {
        const ktTestRanks ranks(2, [&](ktTransport& transport) { transport.send(0, helloMessage(hello)); });
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing is refused";
}

} // namespace

TEST(RankFaults, GivenBadPieceOfStructure_RankSaysSo) {
    for (const bool hasBegun : {false, true}) {
        std::vector<std::unique_ptr<ktThreadTransport>> transports = ktThreadTransport::makeAll(2);
        std::thread rank([&] { ktTestRanks::serveRank(*transports[1]); });
        const auto sendTo = [&](ktWireWriter&& writer) { transports[0]->send(1, ktEndMessage(std::move(writer))); };
        ktWireWriter start = ktBeginMessage(ktRankMessage::Start);
        start.put(std::uint32_t(4));
        sendTo(std::move(start));
        ktWireWriter scene = ktBeginMessage(ktRankMessage::Scene);
        scene.put(std::uint64_t(1));
        scene.put(std::uint32_t(1)); // the structure follows
        ktPutScene(scene, {});
        sendTo(std::move(scene));
        if (hasBegun) {
            ktHemisphereTracer tracer;
            ktTestMesh mesh;
            mesh.addQuad({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
            tracer.build({mesh.view()}, {});
            ktWireWriter head = ktBeginMessage(ktRankMessage::Structure);
            head.put(std::uint64_t(1));
            head.putArray(tracer.structureImage().head);
            sendTo(std::move(head));
        }
        ktWireWriter piece = ktBeginMessage(ktRankMessage::StructurePiece);
        piece.put(std::uint64_t(1));
        piece.put(std::uint32_t(1));     // part
        piece.put(std::uint64_t(~0ull)); // first byte
        piece.putArray(std::vector<char>(64));
        sendTo(std::move(piece));
        std::string reason;
        int from = 0;
        for (std::vector<char> message; reason.empty();) {
            if (!transports[0]->receive(from, message, std::chrono::milliseconds(5)))
                continue;
            ktWireReader reader(message);
            if (reader.get<ktRankMessage>() == ktRankMessage::Failed)
                reason = reader.getText();
        }
        EXPECT_THAT(reason, HasSubstr("a piece that is not of the structure"));
        sendTo(ktBeginMessage(ktRankMessage::End));
        rank.join();
    }
}

TEST(RankFaults, GivenRankOfAnotherVersion_IsRefusedWithItsHost) {
    ktRankHello other = ktTestHello("elsewhere");
    other.version = "2";
    EXPECT_EQ(refusalOf(other), "rank 1 on elsewhere runs version 2, but rank 0 on here runs version 1");
}

TEST(RankFaults, GivenRankThatCalculatesOtherBits_IsRefusedWithItsHost) {
    ktRankHello other = ktTestHello("elsewhere");
    for (std::uint64_t& fingerprint : other.fingerprints)
        fingerprint = 43;
    EXPECT_THAT(refusalOf(other), HasSubstr("rank 1 on elsewhere finds other bits than rank 0 on here"));
}

TEST(RankFaults, GivenRankWithNarrowerVectors_AllUseItsWidth) {
    ktRankHello other = ktTestHello("elsewhere");
    other.fingerprints[2] = 0;
    EXPECT_EQ(ktTestRanks(2, ktTestRanks::serveAs(other)).pool->lanes(), 8u);
    other.fingerprints[1] = 43;
    EXPECT_EQ(ktTestRanks(2, ktTestRanks::serveAs(other)).pool->lanes(), 4u);
    EXPECT_EQ(ktTestRanks(2).pool->lanes(), 16u);
}

TEST(RankFaults, GivenRankThatNeverAnswers_IsNamed) {
    ktRankPool::Limits limits = ktTestLimits();
    limits.silence = std::chrono::milliseconds(100);
    try {
        const ktTestRanks ranks(
            2, [](ktTransport&) {}, limits);
        FAIL() << "the pool waits for no rank";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "rank 1 does not answer");
    }
}

TEST(RankFaults, GivenRankThatFallsSilent_LoopFailsWithItsHost) {
    ktRankPool::Limits limits = ktTestLimits();
    limits.silence = std::chrono::milliseconds(1000);
    const ktTestRanks ranks(2, fake([](ktTransport& transport, ktRankMessage kind, ktWireReader& reader) {
                                if (kind == ktRankMessage::Scene)
                                    sayBuilt(transport, reader);
                            }),
                            limits);
    EXPECT_THAT(traceUntilFailure(*ranks.pool), HasSubstr("rank 1 on elsewhere has ended or hangs"));
    EXPECT_TRUE(ranks.pool->hasFailed());
}

TEST(RankFaults, GivenRankThatBeatsButFinishesNothing_LoopFailsWithItsHost) {
    ktRankPool::Limits limits = ktTestLimits();
    limits.progress = std::chrono::milliseconds(1000);
    const ktTestRanks ranks(2, fake([](ktTransport& transport, ktRankMessage kind, ktWireReader& reader) {
                                if (kind == ktRankMessage::Scene)
                                    sayBuilt(transport, reader);
                                ktWireWriter beat = ktBeginMessage(ktRankMessage::Beat);
                                beat.put(ktRankBeat());
                                transport.send(0, ktEndMessage(std::move(beat)));
                            }),
                            limits);
    EXPECT_THAT(traceUntilFailure(*ranks.pool), HasSubstr("rank 1 on elsewhere hangs: it has finished nothing"));
}

TEST(RankFaults, GivenRankThatReturnsNonsense_LoopFailsWithItsHost) {
    const ktTestRanks ranks(2, fake([](ktTransport& transport, ktRankMessage kind, ktWireReader& reader) {
                                if (kind == ktRankMessage::Scene)
                                    sayBuilt(transport, reader);
                                if (kind != ktRankMessage::Block)
                                    return;
                                ktRankBlock block;
                                ktGetBlockName(reader, block.generation, block.number);
                                ktWireWriter writer = ktBeginMessage(ktRankMessage::Done);
                                ktPutBlockName(writer, block);
                                writer.put(std::uint32_t(65)); // of 64 rays
                                transport.send(0, ktEndMessage(std::move(writer)));
                            }));
    EXPECT_EQ(traceUntilFailure(*ranks.pool), "rank 1 on elsewhere returned nonsense: more open rays than rays");
}

TEST(RankFaults, GivenRankThatFails_LoopFailsWithItsReason) {
    const ktTestRanks ranks(2, fake([](ktTransport& transport, ktRankMessage kind, ktWireReader& reader) {
                                if (kind == ktRankMessage::Scene)
                                    sayBuilt(transport, reader);
                                if (kind != ktRankMessage::Block)
                                    return;
                                ktWireWriter writer = ktBeginMessage(ktRankMessage::Failed);
                                writer.putText("out of memory");
                                transport.send(0, ktEndMessage(std::move(writer)));
                            }));
    EXPECT_EQ(traceUntilFailure(*ranks.pool), "rank 1 on elsewhere cannot go on: out of memory");
}

TEST(RankFaults, GivenShortenedMessages_ReaderRefusesThem) {
    ktTestMesh mesh;
    mesh.addQuad({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    ktTracerMesh view;
    view.positions = mesh.positions.data();
    view.indices = mesh.indices.data();
    view.vertexCount = 4;
    view.triangleCount = 2;
    ktWireWriter writer;
    ktPutScene(writer, {view});
    for (std::size_t size = 0; size < writer.bytes.size(); ++size) {
        const std::vector<char> part(writer.bytes.begin(), writer.bytes.begin() + static_cast<std::ptrdiff_t>(size));
        ktWireReader reader(part);
        ktRankScene scene;
        EXPECT_THROW(ktGetScene(reader, scene), ktBadMessage) << size;
    }
    ktWireReader reader(writer.bytes);
    ktRankScene scene;
    ktGetScene(reader, scene);
    EXPECT_EQ(scene.meshes.size(), 1u);
    EXPECT_EQ(scene.triangles[0], mesh.indices);
}

TEST(RankFaults, GivenCancelledLoop_NextLoopHasRanksAgain) {
    const ktTestLog log; // resets the cancel token
    const ktTestRanks ranks(3);
    ktHemisphereTracer tracer;
    const ktDirectionSet set = ktMakeHemisphereDirections(8, 8, 0.25f, 0.25f, 1);
    const auto directions = tracer.prepareDirections(set);
    std::atomic<std::size_t> finished{0};
    std::atomic<bool> cancels{true};
    ktBatchLoop loop;
    loop.work.tracer = &tracer;
    loop.work.directions = directions.get();
    loop.work.limits = {0, 10, true};
    loop.count = 50'000;
    loop.make = [&](ktVertexBatch& batch) {
        for (std::size_t i = batch.begin; i < batch.end; ++i)
            batch.vertices[batch.count++] = {{0.5f, 0.5f, 1}, {1, 0, 0}, {0, 1, 0}, {0, 0, -1}, directions.get()};
    };
    loop.finish = [&](const ktVertexBatch& batch) {
        finished += batch.count;
        if (cancels && finished > 1000)
            ktCancelToken::the().cancel();
    };
    ktEventPump pump;
    ranks.pool->sendScene({}, ktHemisphereTracer());
    EXPECT_THROW(ktWorkers::run([&] { ranks.pool->run(loop); }, pump), ktCanceled);
    EXPECT_LT(finished, loop.count);

    ktCancelToken::the().reset();
    cancels = false;
    const auto received = [&] { return ranks.pool->statistics()[1].bytesReceived; };
    const auto wasReceived = received();
    while (received() < wasReceived + 100'000) { // until the rank has built its structure and takes part
        finished = 0;
        ktWorkers::run([&] { ranks.pool->run(loop); }, pump);
        ASSERT_EQ(finished, loop.count);
    }
}
