// SPDX-License-Identifier: LGPL-2.1-or-later
// Compares two ways to trace parts that are used several times: copies in world space, and Embree instances.
#include "ktBenchmarkScenes.h"
#include "ktCommandLine.h"
#include "ktFlushDenormals.h"
#include "ktHemisphereSampler.h"
#include "ktTileRotation.h"
#include "ktVertexFrames.h"

#include <algorithm>
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <atomic>
#include <cfloat>
#include <chrono>
#include <cstdio>
#include <embree3/rtcore.h>
#include <exception>
#include <stdexcept>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

namespace {

struct Mesh {
    std::vector<float> positions;
    std::vector<unsigned> indices;
};

// Column-major, 3 x 4.
struct Use {
    std::size_t mesh;
    float matrix[12];
};

struct Scene {
    std::vector<Mesh> meshes;
    std::vector<Use> uses;
};

void addUses(const aiNode& node, const aiMatrix4x4& parent, Scene& scene) {
    const aiMatrix4x4 m = parent * node.mTransformation;
    for (unsigned i = 0; i < node.mNumMeshes; ++i)
        scene.uses.push_back(
            {node.mMeshes[i], {m.a1, m.b1, m.c1, m.a2, m.b2, m.c2, m.a3, m.b3, m.c3, m.a4, m.b4, m.c4}});
    for (unsigned i = 0; i < node.mNumChildren; ++i)
        addUses(*node.mChildren[i], m, scene);
}

Scene loadUses(const std::string& path) {
    Assimp::Importer importer;
    const aiScene* const read = importer.ReadFile(path, aiProcess_Triangulate | aiProcess_SortByPType);
    if (!read)
        throw std::runtime_error(path + ": " + importer.GetErrorString());
    Scene scene;
    for (unsigned i = 0; i < read->mNumMeshes; ++i) {
        const aiMesh& from = *read->mMeshes[i];
        Mesh mesh;
        for (unsigned v = 0; v < from.mNumVertices; ++v)
            mesh.positions.insert(mesh.positions.end(),
                                  {from.mVertices[v].x, from.mVertices[v].y, from.mVertices[v].z});
        mesh.positions.push_back(0);
        for (unsigned f = 0; f < from.mNumFaces; ++f)
            if (from.mFaces[f].mNumIndices == 3)
                mesh.indices.insert(mesh.indices.end(), from.mFaces[f].mIndices, from.mFaces[f].mIndices + 3);
        scene.meshes.push_back(std::move(mesh));
    }
    addUses(*read->mRootNode, aiMatrix4x4(), scene);
    return scene;
}

bool countBytes(void* total, ssize_t bytes, bool) {
    *static_cast<std::atomic<ssize_t>*>(total) += bytes;
    return true;
}

// An Embree scene with its device. Counts the memory that it uses.
class Structure {
public:
    Structure() {
        rtcSetDeviceMemoryMonitorFunction(device, countBytes, &bytes);
        scene = rtcNewScene(device);
        rtcSetSceneBuildQuality(scene, RTC_BUILD_QUALITY_HIGH);
    }
    ~Structure() {
        rtcReleaseScene(scene);
        for (RTCScene part : parts)
            rtcReleaseScene(part);
        rtcReleaseDevice(device);
    }
    void addWrittenOut(const ktBenchmarkScene& from) {
        for (const ktBenchmarkMesh& mesh : from.meshes)
            attach(scene, triangles(mesh.positions.data(), mesh.vertexCount(), mesh.indices));
    }
    void addInstances(const Scene& from) {
        for (const Mesh& mesh : from.meshes) {
            parts.push_back(rtcNewScene(device));
            rtcSetSceneBuildQuality(parts.back(), RTC_BUILD_QUALITY_HIGH);
            if (!mesh.indices.empty())
                attach(parts.back(), triangles(mesh.positions.data(), mesh.positions.size() / 3, mesh.indices));
            rtcCommitScene(parts.back());
        }
        for (const Use& use : from.uses) {
            RTCGeometry instance = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_INSTANCE);
            rtcSetGeometryInstancedScene(instance, parts[use.mesh]);
            rtcSetGeometryTransform(instance, 0, RTC_FORMAT_FLOAT3X4_COLUMN_MAJOR, use.matrix);
            rtcCommitGeometry(instance);
            attach(scene, instance);
        }
    }
    void commit() { rtcCommitScene(scene); }

    RTCDevice device = rtcNewDevice(nullptr);
    RTCScene scene;
    std::atomic<ssize_t> bytes{0};

private:
    RTCGeometry triangles(const float* positions, std::size_t count, const std::vector<unsigned>& indices) {
        RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
        rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, positions, 0, 12, count);
        rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, indices.data(), 0, 12,
                                   indices.size() / 3);
        rtcCommitGeometry(geometry);
        return geometry;
    }
    static void attach(RTCScene to, RTCGeometry geometry) {
        rtcAttachGeometry(to, geometry);
        rtcReleaseGeometry(geometry);
    }
    std::vector<RTCScene> parts;
};

std::uint64_t countOpen(RTCScene scene, const ktRayVertex& vertex, const ktRayLimits& limits, ktRotateTile rotateTile) {
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    context.flags = RTC_INTERSECT_CONTEXT_FLAG_INCOHERENT;
    alignas(64) RTCRay16 ray = {};
    alignas(64) int valid[16];
    std::fill(valid, valid + 16, -1);
    std::uint64_t open = 0;
    const ktDirectionSet& set = vertex.directions->set;
    for (std::uint32_t tile = 0; tile < set.tileCount(); ++tile) {
        rotateTile(set.tiles[tile], vertex, ray.dir_x, ray.dir_y, ray.dir_z);
        for (int i = 0; i < 16; ++i) {
            ray.org_x[i] = vertex.origin[0];
            ray.org_y[i] = vertex.origin[1];
            ray.org_z[i] = vertex.origin[2];
            ray.tnear[i] = limits.minDistance;
            ray.tfar[i] = limits.maxDistance;
            ray.mask[i] = 0xFFFFFFFFu;
        }
        rtcOccluded16(valid, scene, &context, &ray);
        for (const float reach : ray.tfar)
            open += reach >= 0;
    }
    return open;
}

} // namespace

int main(int argumentCount, char** arguments) {
    ktCommandLine options("Compares repeated parts as Embree instances and as copies: rays per second, memory");
    std::string file;
    std::uint32_t count = 32, limit = 20000;
    int threads = 2, rounds = 5;
    options.addRequired("scene", file, "Scene with parts that are used more than once");
    options.add("--sides", count, "Rays per vertex and axis, a multiple of 4");
    options.addPositive("--vertices", limit, "Maximum number of traced vertices");
    options.addPositive("--threads", threads, "Threads");
    options.addPositive("--rounds", rounds, "Alternating rounds; the median counts");
    if (const auto code = options.parse(argumentCount, arguments))
        return *code;
    try {
        const ktBenchmarkScene writtenOut = ktLoadBenchmarkScene(file, file);
        const Scene used = loadUses(file);
        const ktDirectionSet set = ktMakeHemisphereDirections(count, count, 0.25f, 0.25f, 1);
        const ktPreparedDirections prepared(set);
        const ktWorldTransform identity;
        const ktVertexFrames frames(identity, &prepared, writtenOut.diagonal());
        std::vector<ktRayVertex> vertices;
        const std::size_t step = std::max<std::size_t>(1, writtenOut.vertexCount() / limit);
        std::size_t number = 0;
        for (const ktBenchmarkMesh& mesh : writtenOut.meshes)
            for (std::size_t i = 0; i < mesh.vertexCount(); ++i, ++number) {
                ktRayVertex vertex;
                if (number % step == 0 &&
                    frames.make(&mesh.positions[3 * i], &mesh.normals[3 * i], ktOneRing(), vertex))
                    vertices.push_back(vertex);
            }
        ktRayLimits limits;
        limits.minDistance = ktVertexFrames::minHitDistance(writtenOut.diagonal());
        limits.maxDistance = FLT_MAX;

        Structure structures[2];
        double build_s[2];
        for (int kind = 0; kind < 2; ++kind) {
            const auto begin = std::chrono::steady_clock::now();
            if (kind == 0)
                structures[0].addWrittenOut(writtenOut);
            else
                structures[1].addInstances(used);
            structures[kind].commit();
            build_s[kind] = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        }
        const ktRotateTile rotateTile = ktChooseRotateTile();
        tbb::task_arena arena(threads);
        std::vector<double> seconds[2];
        double open[2] = {0, 0};
        for (int round = 0; round < rounds; ++round)
            for (int kind = 0; kind < 2; ++kind) {
                std::atomic<std::uint64_t> sum{0};
                const auto begin = std::chrono::steady_clock::now();
                arena.execute([&] {
                    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, vertices.size(), 64), [&](const auto& range) {
                        const ktFlushDenormals fast;
                        for (std::size_t i = range.begin(); i < range.end(); ++i)
                            sum += countOpen(structures[kind].scene, vertices[i], limits, rotateTile);
                    });
                });
                seconds[kind].push_back(
                    std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
                open[kind] = static_cast<double>(sum) / (static_cast<double>(vertices.size()) * set.count);
            }
        std::printf("%s: %zu triangles in %zu uses of %zu parts, %zu vertices, %u rays each, median of %d\n",
                    file.c_str(), writtenOut.triangleCount(), used.uses.size(), used.meshes.size(), vertices.size(),
                    set.count, rounds);
        double rate[2];
        for (int kind = 0; kind < 2; ++kind) {
            std::nth_element(seconds[kind].begin(), seconds[kind].begin() + rounds / 2, seconds[kind].end());
            rate[kind] =
                static_cast<double>(vertices.size()) * set.count / seconds[kind][static_cast<std::size_t>(rounds / 2)];
            std::printf("%-12s %7.2f Mrays/s  ratio %.3f  mean w %.4f  build %.2f s  structure %.1f MB\n",
                        kind == 0 ? "written out" : "instances", rate[kind] / 1e6, rate[kind] / rate[0], open[kind],
                        build_s[kind], static_cast<double>(structures[kind].bytes) / 1e6);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ktBenchmarkInstances: %s\n", error.what());
        return 1;
    }
    return 0;
}
