// SPDX-License-Identifier: LGPL-2.1-or-later
// Sends the scene and the structure that rank 0 has built to the other ranks.
#include "ktCancelPoint.h"
#include "ktRankPeer.h"

#include <algorithm>
#include <thread>

namespace {

constexpr std::size_t pieceSize = 1 << 20; // of a structure, bytes; small enough that its memory is used again
constexpr std::size_t mostPieces = 16;     // on their way; rank 0 has a copy of each

} // namespace

// The mutex is locked.
void ktRankPool::sendToAll(const ktMessageBytes& message) {
    for (const auto& peer : peers)
        peer->statistics.bytesSent += message->size();
    transport->broadcast(message);
}

void ktRankPool::sendScene(const std::vector<ktTracerMesh>& meshes, const ktTracer& tracer) {
    std::uint64_t sent = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        sent = sceneGeneration = ++generation;
        sendsStructure = (borrowedThreads > 0 || isOneMachine) && tracer.copiesStructures();
        lightVersion = 0;
        for (const auto& peer : peers)
            peer->directions.clear();
    }
    ktWireWriter writer = ktBeginMessage(ktRankMessage::Scene);
    writer.put(sent);
    writer.put(static_cast<std::uint32_t>(sendsStructure));
    ktPutScene(writer, meshes);
    const ktMessageBytes message = ktEndMessage(std::move(writer));
    const std::lock_guard<std::mutex> lock(mutex);
    sendToAll(message);
}

void ktRankPool::sendStructure(ktTracer& tracer) {
    std::uint64_t sent = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        sent = sceneGeneration;
        if (!sendsStructure || sent == 0) // 0: it was cancelled meanwhile
            return;
    }
    const ktStructureImage image = tracer.structureImage();
    std::vector<std::weak_ptr<const std::vector<char>>> onTheWay;
    const auto sendWhenReady = [&](ktWireWriter&& writer) {
        const ktMessageBytes message = ktEndMessage(std::move(writer));
        onTheWay.push_back(message);
        const std::lock_guard<std::mutex> lock(mutex);
        sendToAll(message);
    };
    const auto isFull = [&] {
        onTheWay.erase(
            std::remove_if(onTheWay.begin(), onTheWay.end(), [](const auto& each) { return each.expired(); }),
            onTheWay.end());
        return onTheWay.size() >= mostPieces;
    };
    ktWireWriter head = ktBeginMessage(ktRankMessage::Structure);
    head.put(sent);
    head.putArray(image.head);
    sendWhenReady(std::move(head));
    for (std::size_t part = 0; part < image.parts.size(); ++part)
        for (std::size_t begin = 0; begin < image.parts[part].size; begin += pieceSize) {
            while (isFull() && !isLost) {
                ktThrowIfCanceled();
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
            if (isLost)
                return; // the next loop says so
            const std::size_t size = std::min(pieceSize, image.parts[part].size - begin);
            ktWireWriter piece = ktBeginMessage(ktRankMessage::StructurePiece);
            piece.put(sent);
            piece.put(static_cast<std::uint32_t>(part));
            piece.put(static_cast<std::uint64_t>(begin));
            piece.putArray(image.parts[part].first + begin, size);
            sendWhenReady(std::move(piece));
        }
    const std::lock_guard<std::mutex> lock(mutex);
    for (const auto& peer : peers)
        for (const ktStructureImage::Part& part : image.parts)
            peer->statistics.structureBytes += part.size;
}

void ktRankPool::cancelScene() {
    const std::lock_guard<std::mutex> lock(mutex);
    sceneGeneration = 0;
    ktWireWriter writer = ktBeginMessage(ktRankMessage::Cancel);
    writer.put(++generation);
    const ktMessageBytes message = ktEndMessage(std::move(writer));
    for (const auto& peer : peers)
        send(*peer, message);
}
