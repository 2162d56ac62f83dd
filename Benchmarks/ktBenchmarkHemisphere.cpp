// SPDX-License-Identifier: LGPL-2.1-or-later
// Rays per second of the hemisphere tracer, compared with the best plain Embree loop. The loop traces packets of 16
// neighbouring directions, with the incoherent flag for occlusion and the coherent flag for nearest hits, for vertices
// along a space-filling curve. Both trace the same rays on the same threads, in turns in one process; medians count.
// Hits are compared with Embree's robust mode, and differing rays are checked in double precision. "wrong" counts rays
// where the hemisphere tracer errs by more than rounding; the last column counts those of Embree.
#include "ktBenchmarkGlb.h"
#include "ktCommandLine.h"
#include "ktEmbreeLoop.h"
#include "ktHemisphereSampler.h"
#include "ktHemisphereTracer.h"
#include "ktParallel.h"
#include "ktRoundingJudge.h"
#include "ktVertexFrames.h"
#include "ktVertexGroups.h"

#include <algorithm>
#include <atomic>
#include <cfloat>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <tbb/task_arena.h>

namespace {

struct Options {
    std::string models = "models";
    std::string engine = "/usr/share/assimp/models/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb";
    std::vector<std::string> scenes{"bunny", "nefertiti", "engine", "assembly"};
    std::string save;
    std::vector<unsigned> sides{32, 16, 8};
    std::size_t assembly = 5000000;
    std::size_t vertices = 16384;
    unsigned threads = 2, repeats = 5, lanes = 16;
    float minDistance = -1; // share of the diagonal; -1: the host's minimum
    bool cpuTime = false, occlusionOnly = false;
};

constexpr std::size_t taskVertices = 64;
constexpr std::size_t runVertices = 512; // in large scenes; long enough to warm the caches as in a bake

/// Vertices in the order of a bake: by mesh, along a space-filling curve. Large scenes: evenly spaced runs of them.
std::vector<ktRayVertex> makeVertices(const ktBenchmarkScene& scene, std::size_t limit) {
    const float diagonal = scene.diagonal();
    const ktWorldTransform identity;
    const ktVertexFrames frames(identity, nullptr, diagonal);
    std::vector<ktRayVertex> all, vertices;
    for (const ktBenchmarkMesh& mesh : scene.meshes) {
        const float *positions = mesh.positions.data(), *normals = mesh.normals.data();
        const ktVertexGroups groups = ktGroupVertices(positions, normals, mesh.vertexCount());
        const std::vector<ktOneRing> oneRings = ktMakeOneRings(positions, mesh.vertexCount(), mesh.indices);
        for (std::size_t group = 0; group < groups.size(); ++group) {
            const std::size_t first = 3 * std::size_t(groups.first(group));
            ktRayVertex vertex;
            if (frames.make(positions + first, normals + first, groups.oneRingOf(group, oneRings.data()), vertex))
                all.push_back(vertex);
        }
    }
    const std::size_t length = all.size() < 16 * runVertices ? taskVertices : runVertices, runs = all.size() / length;
    const std::size_t step = std::max<std::size_t>(1, runs / std::max<std::size_t>(1, limit / length));
    for (std::size_t run = 0; run < runs; run += step)
        vertices.insert(vertices.end(), all.begin() + static_cast<std::ptrdiff_t>(run * length),
                        all.begin() + static_cast<std::ptrdiff_t>((run + 1) * length));
    return vertices;
}

double threadTime() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Runs `body` over all vertices, 64 at a time. @return seconds
template <class Body>
double seconds(const Options& options, tbb::task_arena& arena, std::size_t count, const Body& body) {
    std::atomic<std::int64_t> nanoseconds{0};
    const auto start = std::chrono::steady_clock::now();
    arena.execute([&] {
        ktParallel::forRange(count / taskVertices, 1, [&](std::size_t begin, std::size_t end) {
            const double before = threadTime();
            body(begin * taskVertices, end * taskVertices);
            nanoseconds += static_cast<std::int64_t>(1e9 * (threadTime() - before));
        });
    });
    const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return options.cpuTime ? 1e-9 * static_cast<double>(nanoseconds) / options.threads : wall;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Nothing : ktHitReceiver {
    std::uint32_t met = 0;
    void hits(std::uint32_t, std::uint32_t, const ktHitPacket& packet) override {
        for (std::uint32_t mesh : packet.mesh)
            met += mesh != ktHitPacket::noMesh;
    }
};

void row(const char* scene, const char* what, std::size_t rays, const char* distance, double total,
         const std::vector<double>& embree, const std::vector<double>& ours, double differ, std::uint64_t wrong,
         std::uint64_t embreeWrong) {
    const double plain = median(embree), hemisphere = median(ours);
    std::printf("%-10s %-9s %5zu %-9s %9.1f %9.1f %7.2f %9.2f %10.1e %7zu %7zu\n", scene, what, rays, distance,
                total / plain / 1e6, total / hemisphere / 1e6, plain / hemisphere,
                1e6 * hemisphere / (total / static_cast<double>(rays)), differ, static_cast<std::size_t>(wrong),
                static_cast<std::size_t>(embreeWrong));
    std::fflush(stdout);
}

void measure(const Options& options, const ktBenchmarkScene& scene) {
    tbb::task_arena arena(static_cast<int>(options.threads));
    std::vector<ktTracerMesh> meshes;
    for (const ktBenchmarkMesh& mesh : scene.meshes)
        meshes.push_back({mesh.positions.data(), mesh.indices.data(), mesh.vertexCount(), mesh.triangleCount()});
    ktHemisphereTracer tracer(options.lanes);
    ktEmbreeLoop plain;
    const auto start = std::chrono::steady_clock::now();
    arena.execute([&] { tracer.build(meshes, {}); });
    const auto between = std::chrono::steady_clock::now();
    arena.execute([&] { plain.build(meshes); });
    const auto end = std::chrono::steady_clock::now();
    ktEmbreeLoop oracle(ktEmbreeLoop::Mode::Robust);
    arena.execute([&] { oracle.build(meshes); });
    std::vector<ktRayVertex> vertices = makeVertices(scene, options.vertices);
    std::printf("# %s: %zu triangles, %zu of %zu vertices, %u lanes; structure %.2f s (Embree %.2f s), %.1f bytes a "
                "triangle, depth %u\n",
                scene.name.c_str(), scene.triangleCount(), vertices.size(), scene.vertexCount(), tracer.laneCount(),
                std::chrono::duration<double>(between - start).count(),
                std::chrono::duration<double>(end - between).count(),
                static_cast<double>(tracer.wideBvh().memory()) / static_cast<double>(scene.triangleCount()),
                tracer.wideBvh().depth());
    const float diagonal = scene.diagonal();
    const ktRoundingJudge judge(meshes);
    for (unsigned side : options.sides) {
        const ktDirectionSet set = ktMakeHemisphereDirections(side, side, 1.0f, 1.0f, 1);
        const auto prepared = tracer.prepareDirections(set);
        for (ktRayVertex& vertex : vertices)
            vertex.directions = prepared.get();
        for (float share : {0.0f, 0.03f}) {
            const ktRayLimits limits{options.minDistance < 0 ? ktVertexFrames::minHitDistance(diagonal)
                                                             : options.minDistance * diagonal,
                                     share > 0 ? share * diagonal : FLT_MAX, true};
            const char* distance = share > 0 ? "3 %" : "any";
            const double total = static_cast<double>(vertices.size()) * set.count;
            for (bool nearest : {false, true}) {
                if (nearest && options.occlusionOnly)
                    continue;
                std::vector<double> embree, ours;
                std::vector<std::vector<std::uint64_t>> masksA(vertices.size()), masksB(vertices.size());
                for (unsigned repeat = 0; repeat < options.repeats; ++repeat) {
                    ours.push_back(seconds(options, arena, vertices.size(), [&](std::size_t first, std::size_t last) {
                        const auto count = static_cast<std::uint32_t>(last - first);
                        Nothing nothing;
                        std::uint32_t visible[taskVertices];
                        if (nearest)
                            tracer.findNearest(&vertices[first], count, limits, nothing);
                        else
                            tracer.countVisible(&vertices[first], count, limits, visible, nullptr);
                    }));
                    embree.push_back(seconds(options, arena, vertices.size(), [&](std::size_t first, std::size_t last) {
                        for (std::size_t v = first; v < last; ++v)
                            nearest ? plain.nearest(vertices[v], limits) : plain.visible(vertices[v], limits, nullptr);
                    }));
                }
                // Traces the same rays again, without timing, and compares them one by one.
                std::atomic<std::uint64_t> different{0}, wrong{0}, embreeWrong{0};
                seconds(options, arena, nearest ? 0 : vertices.size(), [&](std::size_t first, std::size_t last) {
                    std::vector<std::uint64_t> a(set.wordCount()), b(set.wordCount());
                    std::uint64_t* const masks[] = {a.data()};
                    for (std::size_t v = first; v < last; ++v) {
                        std::uint32_t visible = 0;
                        tracer.countVisible(&vertices[v], 1, limits, &visible, masks);
                        oracle.visible(vertices[v], limits, b.data());
                        for (std::uint32_t ray = 0; ray < set.count; ++ray) {
                            if (!((a[ray / 64] ^ b[ray / 64]) >> ray % 64 & 1))
                                continue;
                            float direction[3];
                            ktRoundingJudge::directionOf(vertices[v], ray, direction);
                            const auto verdict = judge.judge(vertices[v].origin, direction, limits);
                            const bool met = (b[ray / 64] >> ray % 64 & 1) != 0; // bits of rays that hit nothing
                            ++different;
                            wrong += !verdict.isOpenToRounding() && verdict.certain != met;
                            embreeWrong += !verdict.isOpenToRounding() && verdict.certain == met;
                        }
                    }
                });
                row(scene.name.c_str(), nearest ? "nearest" : "occlusion", set.count, distance, total, embree, ours,
                    nearest ? NAN : static_cast<double>(different) / total, wrong, embreeWrong);
            }
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    ktCommandLine app("Compares the rays per second of the hemisphere tracer and of the best plain Embree loop");
    app.add("--models", options.models, "Folder with stanford-bunny.obj and nefertiti.obj");
    app.add("--engine", options.engine, "The engine assembly");
    app.add("--scenes", options.scenes, "bunny, nefertiti, engine, assembly, or scene files");
    app.add("--sides", options.sides, "Rays per vertex and axis");
    app.add("--assembly", options.assembly, "Triangles of the generated assembly");
    app.add("--vertices", options.vertices, "Approximate number of traced vertices");
    app.add("--min-distance", options.minDistance,
            "Minimum distance, as a share of the diagonal; default: the host's minimum");
    app.add("--threads", options.threads, "Threads");
    app.add("--repeats", options.repeats, "Runs of each, in turns; the median counts");
    app.add("--lanes", options.lanes, "Maximum number of lanes: 4, 8, 16");
    app.addFlag("--cpu-time", options.cpuTime, "Measure processor time of the threads, for machines with other load");
    app.addFlag("--occlusion-only", options.occlusionOnly, "Do not measure nearest hits");
    app.add("--save-assembly", options.save, "Write the generated assembly to a .glb file and do nothing else");
    if (const auto code = app.parse(argc, argv))
        return *code;
    std::printf("%-10s %-9s %5s %-9s %9s %9s %7s %9s %10s %7s %7s\n", "scene", "what", "rays", "distance", "Embree",
                "ours", "ratio", "us/vertex", "differ", "wrong", "Embree");
    std::printf("%-10s %-9s %5s %-9s %9s %9s %7s %9s %10s %7s %7s\n", "", "", "", "", "Mray/s", "Mray/s", "", "",
                "share", "rays", "wrong");
    if (!options.save.empty())
        options.scenes = {"assembly"};
    for (const std::string& name : options.scenes) {
        try {
            if (!options.save.empty()) {
                ktSaveBenchmarkScene(ktMakeAssembly(options.assembly), options.save);
                return 0;
            }
            const std::string path = name == "bunny"       ? options.models + "/stanford-bunny.obj"
                                     : name == "nefertiti" ? options.models + "/nefertiti.obj"
                                     : name == "engine"    ? options.engine
                                                           : name;
            if (name != "assembly" && !std::filesystem::exists(path)) {
                std::printf("# %s: %s does not exist\n", name.c_str(), path.c_str());
                continue;
            }
            measure(options, name == "assembly" ? ktMakeAssembly(options.assembly) : ktLoadBenchmarkScene(name, path));
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s: %s\n", name.c_str(), error.what());
            return 3;
        }
    }
    return 0;
}
