// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes and reads the messages between ranks, except those about reflected light.
#include "ktRankMessages.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>

namespace {

void demand(bool isTrue, const char* what) {
    if (!isTrue)
        throw ktBadMessage(what);
}

bool hasLights(const ktBatchWork& work) {
    return work.lights && !work.lights->empty();
}

void getFinite(ktWireReader& from, float (&values)[3]) {
    from.get(values);
    demand(std::isfinite(values[0]) && std::isfinite(values[1]) && std::isfinite(values[2]),
           "light that is not finite");
}

// An array that several meshes may share, and its place in the list of all.
template <class T>
class SharedArrays {
public:
    std::uint32_t indexOf(const T* first, std::size_t size) {
        const auto [entry, isNew] = indices.try_emplace(first, static_cast<std::uint32_t>(arrays.size()));
        if (isNew)
            arrays.push_back({first, size});
        else if (arrays[entry->second].second < size)
            arrays[entry->second].second = size;
        return entry->second;
    }
    void put(ktWireWriter& to) const {
        to.put(static_cast<std::uint32_t>(arrays.size()));
        for (const auto& [first, size] : arrays)
            to.putArray(first, size);
    }

private:
    std::map<const T*, std::uint32_t> indices;
    std::vector<std::pair<const T*, std::size_t>> arrays;
};

template <class T>
std::vector<std::vector<T>> getArrays(ktWireReader& from) {
    std::vector<std::vector<T>> arrays;
    for (auto left = from.get<std::uint32_t>(); left > 0; --left)
        arrays.push_back(from.getArray<T>());
    return arrays;
}

// What is sent of a vertex: its origin and its frame.
constexpr std::size_t frameSize = offsetof(ktRayVertex, directions);
static_assert(frameSize == 12 * sizeof(float), "no padding: it is sent as it is");

// A mesh without its arrays.
struct MeshHead {
    std::uint32_t positions, triangles, vertexCount, triangleCount, isInstance;
};

} // namespace

std::uint64_t ktRankBlock::vertexCount() const {
    std::uint64_t sum = 0;
    for (const ktVertexBatch& batch : batches)
        sum += batch.count;
    return sum;
}

ktWireWriter ktBeginMessage(ktRankMessage kind) {
    ktWireWriter writer;
    writer.put(kind);
    return writer;
}

ktMessageBytes ktEndMessage(ktWireWriter&& writer) {
    return std::make_shared<const std::vector<char>>(std::move(writer.bytes));
}

void ktPut(ktWireWriter& to, const ktRankHello& hello) {
    to.putText(hello.version);
    to.put(hello.fingerprints);
    to.putText(hello.host);
    to.put(hello.process);
    to.put(hello.threads);
}

void ktGet(ktWireReader& from, ktRankHello& hello) {
    hello.version = from.getText();
    from.get(hello.fingerprints);
    hello.host = from.getText();
    from.get(hello.process);
    from.get(hello.threads);
    demand(hello.threads > 0, "a rank without threads");
}

void ktPutScene(ktWireWriter& to, const std::vector<ktTracerMesh>& meshes) {
    SharedArrays<float> positions;
    SharedArrays<std::uint32_t> triangles;
    std::vector<MeshHead> heads;
    heads.reserve(meshes.size());
    for (const ktTracerMesh& mesh : meshes)
        heads.push_back({positions.indexOf(mesh.positions, 3 * std::size_t(mesh.vertexCount)),
                         triangles.indexOf(mesh.indices, 3 * std::size_t(mesh.triangleCount)), mesh.vertexCount,
                         mesh.triangleCount, mesh.toWorld != nullptr});
    positions.put(to);
    triangles.put(to);
    to.putArray(heads);
    for (const ktTracerMesh& mesh : meshes)
        if (mesh.toWorld)
            to.putArray(&mesh.toWorld[0][0], 12);
}

void ktGetScene(ktWireReader& from, ktRankScene& scene) {
    scene.positions = getArrays<float>(from);
    for (std::vector<float>& array : scene.positions)
        array.push_back(0); // tracers may read four bytes after the last position
    scene.triangles = getArrays<std::uint32_t>(from);
    const std::vector<MeshHead> heads = from.getArray<MeshHead>();
    scene.matrices.reserve(heads.size());
    for (const MeshHead& head : heads) {
        demand(head.positions < scene.positions.size() && head.triangles < scene.triangles.size() &&
                   3 * std::size_t(head.vertexCount) < scene.positions[head.positions].size() &&
                   3 * std::size_t(head.triangleCount) <= scene.triangles[head.triangles].size(),
               "a mesh without its arrays");
        ktTracerMesh mesh;
        mesh.positions = scene.positions[head.positions].data();
        mesh.indices = scene.triangles[head.triangles].data();
        mesh.vertexCount = head.vertexCount;
        mesh.triangleCount = head.triangleCount;
        if (head.isInstance) {
            scene.matrices.push_back(from.getArray<double>());
            demand(scene.matrices.back().size() == 12, "a matrix without twelve numbers");
            mesh.toWorld = reinterpret_cast<const double(*)[4]>(scene.matrices.back().data());
        }
        scene.meshes.push_back(mesh);
        scene.trianglesOf.push_back(head.triangles);
    }
    from.end();
}

void ktPutDirections(ktWireWriter& to, const ktPreparedDirections& directions) {
    to.put(directions.number);
    to.put(directions.set.count);
    to.putArray(directions.set.tiles);
}

void ktGetDirections(ktWireReader& from, const ktTracer& tracer, ktRankDirectionTable& table) {
    const auto number = from.get<std::uint64_t>();
    auto directions = std::make_unique<ktRankDirections>();
    from.get(directions->set.count);
    directions->set.tiles = from.getArray<ktDirectionTile>();
    from.end();
    demand(directions->set.count > 0 && directions->set.tileCount() == (std::uint64_t(directions->set.count) + 15) / 16,
           "directions without tiles");
    directions->prepared = tracer.prepareDirections(directions->set);
    table[number] = std::move(directions);
}

// One by one: between the members are bytes of any value.
void ktPutLimits(ktWireWriter& to, const ktRayLimits& limits) {
    to.put(limits.minDistance);
    to.put(limits.maxDistance);
    to.put(static_cast<std::uint32_t>(limits.bothSides));
}

ktRayLimits ktGetLimits(ktWireReader& from) {
    ktRayLimits limits;
    from.get(limits.minDistance);
    from.get(limits.maxDistance);
    limits.bothSides = from.get<std::uint32_t>() != 0;
    return limits;
}

void ktPutLoop(ktWireWriter& to, std::uint64_t generation, const ktBatchWork& work) {
    to.put(generation);
    to.put(work.kind);
    ktPutLimits(to, work.limits);
    to.put(work.directions->number);
    to.put(static_cast<std::uint32_t>(work.countsSides));
    to.putArray(work.lights ? *work.lights : std::vector<ktSceneLight>());
}

std::unique_ptr<ktRankLoop> ktGetLoop(ktWireReader& from, const ktTracer& tracer, const ktRankDirectionTable& table,
                                      const ktReflectedLight* light) {
    auto loop = std::make_unique<ktRankLoop>();
    from.get(loop->generation);
    from.get(loop->work.kind);
    loop->work.limits = ktGetLimits(from);
    const auto directions = table.find(from.get<std::uint64_t>());
    demand(directions != table.end(), "unknown directions");
    loop->work.directions = directions->second->prepared.get();
    loop->work.countsSides = from.get<std::uint32_t>() != 0;
    loop->lights = from.getArray<ktSceneLight>();
    from.end();
    loop->work.tracer = &tracer;
    loop->work.lights = &loop->lights;
    loop->work.light = light;
    demand(loop->work.kind != ktBatchKind::Gather || light, "a bounce without light");
    return loop;
}

void ktPutBlock(ktWireWriter& to, const ktRankBlock& block, const ktBatchWork& work) {
    to.put(static_cast<std::uint32_t>(block.batches.size()));
    const std::size_t pointSize = hasLights(work) ? sizeof block.batches[0].points[0] : 0;
    for (const ktVertexBatch& batch : block.batches) {
        to.put(batch.count);
        char* at = to.grow(batch.count * (frameSize + pointSize));
        for (std::uint32_t i = 0; i < batch.count; ++i, at += frameSize + pointSize) {
            std::memcpy(at, &batch.vertices[i], frameSize);
            std::memcpy(at + frameSize, batch.points[i], pointSize);
        }
    }
}

void ktGetBlock(ktWireReader& from, ktRankBlock& block, const ktBatchWork& work) {
    block.batches.resize(from.get<std::uint32_t>());
    const std::size_t pointSize = hasLights(work) ? sizeof block.batches[0].points[0] : 0;
    for (ktVertexBatch& batch : block.batches) {
        from.get(batch.count);
        demand(batch.count <= ktVertexBatch::mostItems, "a batch of too many vertices");
        const char* at = from.getBytes(batch.count * (frameSize + pointSize));
        for (std::uint32_t i = 0; i < batch.count; ++i, at += frameSize + pointSize) {
            std::memcpy(static_cast<void*>(&batch.vertices[i]), at, frameSize);
            batch.vertices[i].directions = work.directions;
            std::memcpy(batch.points[i], at + frameSize, pointSize);
        }
    }
    from.end();
}

void ktPutBlockName(ktWireWriter& to, const ktRankBlock& block) {
    to.put(block.generation);
    to.put(block.number);
}

void ktGetBlockName(ktWireReader& from, std::uint64_t& generation, std::uint32_t& number) {
    from.get(generation);
    from.get(number);
}

void ktPutBatchResults(ktWireWriter& to, const ktVertexBatch& batch, const ktBatchWork& work) {
    for (std::uint32_t i = 0; i < batch.count; ++i) {
        const ktVertexLight& light = batch.light[i];
        if (work.kind == ktBatchKind::Direct) {
            to.put(light.visible);
            if (hasLights(work)) {
                to.put(light.arriving);
                to.put(light.unshadowed);
            }
            continue;
        }
        if (work.kind == ktBatchKind::Gather)
            to.put(light.arriving);
        if (work.kind == ktBatchKind::Sides || work.countsSides)
            to.put(light.sides);
    }
}

void ktPutResults(ktWireWriter& to, const ktRankBlock& block, const ktBatchWork& work) {
    for (const ktVertexBatch& batch : block.batches)
        ktPutBatchResults(to, batch, work);
}

void ktGetResults(ktWireReader& from, ktRankBlock& block, const ktBatchWork& work) {
    const std::uint32_t rays = work.directions->set.count;
    for (ktVertexBatch& batch : block.batches)
        for (std::uint32_t i = 0; i < batch.count; ++i) {
            ktVertexLight& light = batch.light[i];
            if (work.kind == ktBatchKind::Direct) {
                from.get(light.visible);
                demand(light.visible <= rays, "more open rays than rays");
                if (hasLights(work)) {
                    getFinite(from, light.arriving);
                    getFinite(from, light.unshadowed);
                }
                continue;
            }
            if (work.kind == ktBatchKind::Gather)
                getFinite(from, light.arriving);
            if (work.kind == ktBatchKind::Sides || work.countsSides) {
                from.get(light.sides);
                demand(light.sides.hits <= rays && light.sides.backSides <= light.sides.hits, "more hits than rays");
            }
        }
    from.end();
}
