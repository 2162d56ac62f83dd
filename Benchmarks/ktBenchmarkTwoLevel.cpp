// SPDX-License-Identifier: LGPL-2.1-or-later
// Many uses of one part in the hemisphere tracer: traced as instances, and written out. Each way runs in a separate
// process, so that its peak memory is known, and both trace the same rays in turns. Answers are compared.
#include "ktCommandLine.h"
#include "ktFlushDenormals.h"
#include "ktHemisphereSampler.h"
#include "ktHemisphereTracer.h"
#include "ktParallel.h"
#include "ktVertexFrames.h"
#include "ktVertexGroups.h"
#include "ktWorldTransform.h"

#include <algorithm>
#include <cfloat>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <random>
#include <sys/resource.h>
#include <sys/wait.h>
#include <tbb/task_arena.h>
#include <unistd.h>

namespace {

struct Options {
    std::vector<unsigned> uses{500, 1000, 2000};
    std::uint32_t tracedUses = 8;
    unsigned side = 32, threads = 2, repeats = 3;
    bool instancesOnly = false;
};

/// What one way gives.
struct Result {
    double build_s = 0, occlusion_us = 0, nearest_us = 0; // of wall time; of processor time per vertex
    std::size_t structureBytes = 0, peakBytes = 0;
    std::uint64_t answers = 0; ///< hash of all answers
};

struct Part {
    std::vector<float> positions, normals;
    std::vector<std::uint32_t> indices;
};

// A bumpy torus of 5,000 triangles.
Part makePart() {
    constexpr std::uint32_t count = 50;
    const auto point = [](double u, double v) {
        const double a = 2 * M_PI * u / count, b = 2 * M_PI * v / count;
        const double r = 0.3 + 0.03 * std::sin(8 * a) * std::cos(6 * b), ring = 1 + r * std::cos(b);
        return std::array<double, 3>{ring * std::cos(a), ring * std::sin(a), r * std::sin(b)};
    };
    Part part;
    for (std::uint32_t u = 0; u < count; ++u) {
        for (std::uint32_t v = 0; v < count; ++v) {
            const auto p = point(u, v), q = point(u + 1e-3, v), s = point(u, v + 1e-3);
            double n[3], length = 0;
            for (std::size_t i = 0; i < 3; ++i) {
                const std::size_t j = (i + 1) % 3, k = (i + 2) % 3;
                n[i] = (q[j] - p[j]) * (s[k] - p[k]) - (q[k] - p[k]) * (s[j] - p[j]);
                length += n[i] * n[i];
            }
            for (std::size_t i = 0; i < 3; ++i) {
                part.positions.push_back(static_cast<float>(1000 * p[i]));
                part.normals.push_back(static_cast<float>(n[i] / std::sqrt(length)));
            }
            const std::uint32_t nextU = (u + 1) % count, nextV = (v + 1) % count;
            const std::uint32_t a = u * count + v, b = nextU * count + v, c = nextU * count + nextV,
                                d = u * count + nextV;
            part.indices.insert(part.indices.end(), {a, b, c, a, c, d});
        }
    }
    part.positions.push_back(0);
    return part;
}

// Turned by any angle, a little scaled, in a loose grid.
std::vector<ktWorldTransform> makeUses(std::size_t count) {
    std::mt19937 generator(1);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform;
    const auto side = static_cast<std::size_t>(std::max(1.0, std::round(std::cbrt(double(count)))));
    std::vector<ktWorldTransform> uses;
    for (std::size_t i = 0; i < count; ++i) {
        const double w = normal(generator), x = normal(generator), y = normal(generator), z = normal(generator);
        const double s = (0.8 + 0.4 * uniform(generator)) / (w * w + x * x + y * y + z * z);
        const double rows[3][3] = {{w * w + x * x - y * y - z * z, 2 * (x * y - w * z), 2 * (x * z + w * y)},
                                   {2 * (x * y + w * z), w * w - x * x + y * y - z * z, 2 * (y * z - w * x)},
                                   {2 * (x * z - w * y), 2 * (y * z + w * x), w * w - x * x - y * y + z * z}};
        const std::size_t cell[3] = {i % side, i / side % side, i / side / side};
        osg::Matrix matrix;
        for (osg::UInt32 row = 0; row < 3; ++row) {
            for (osg::UInt32 column = 0; column < 3; ++column)
                matrix[column][row] = static_cast<float>(s * rows[row][column]);
            matrix[3][row] = static_cast<float>(2200.0 * static_cast<double>(cell[row]) + 400 * uniform(generator));
        }
        uses.emplace_back(matrix);
    }
    return uses;
}

double threadTime() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Adds up the hits of a vertex; the order of vertices does not matter.
struct Hasher : ktHitReceiver {
    std::uint64_t sum = 0;
    void hits(std::uint32_t vertex, std::uint32_t tile, const ktHitPacket& packet) override {
        for (std::uint32_t i = 0; i < ktHitPacket::width; ++i) {
            if (packet.mesh[i] == ktHitPacket::noMesh)
                continue;
            const std::uint64_t hit = (std::uint64_t(packet.mesh[i]) << 32) + packet.triangle[i];
            sum += (hit + packet.distance[i] * 1e3 + 64 * vertex + tile) * (2 * i + 1);
        }
    }
};

Result measure(const Options& options, std::size_t useCount, bool instances) {
    const Part part = makePart();
    const auto vertexCount = static_cast<std::uint32_t>(part.normals.size() / 3);
    const std::vector<ktWorldTransform> uses = makeUses(useCount);
    std::vector<std::vector<float>> written;
    std::vector<ktTracerMesh> meshes;
    for (const ktWorldTransform& use : uses) {
        ktTracerMesh mesh;
        mesh.positions = part.positions.data();
        mesh.indices = part.indices.data();
        mesh.vertexCount = vertexCount;
        mesh.triangleCount = static_cast<std::uint32_t>(part.indices.size() / 3);
        if (instances) {
            mesh.toWorld = use.rows();
        } else {
            std::vector<float>& world = written.emplace_back(part.positions.size());
            for (std::size_t i = 0; i + 2 < world.size(); i += 3)
                use.position(&part.positions[i], &world[i]);
            mesh.positions = world.data();
        }
        meshes.push_back(mesh);
    }
    tbb::task_arena arena(static_cast<int>(options.threads));
    ktHemisphereTracer tracer;
    Result result;
    const auto start = std::chrono::steady_clock::now();
    arena.execute([&] { tracer.build(meshes, {}); });
    result.build_s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    result.structureBytes = (instances ? tracer.twoLevelBvh().memory() : tracer.wideBvh().memory()) +
                            written.size() * part.positions.size() * sizeof(float);

    const float diagonal = 2200 * std::sqrt(3.0f) * std::cbrt(static_cast<float>(useCount));
    const ktDirectionSet set = ktMakeHemisphereDirections(options.side, options.side, 1, 1, 1);
    const auto prepared = tracer.prepareDirections(set);
    const ktVertexGroups groups = ktGroupVertices(part.positions.data(), part.normals.data(), vertexCount);
    std::vector<ktRayVertex> vertices;
    const std::size_t step = std::max<std::size_t>(1, useCount / options.tracedUses);
    for (std::size_t use = 0; use < useCount; use += step) {
        const ktVertexFrames frames(uses[use], prepared.get(), diagonal);
        for (std::size_t group = 0; group < groups.size(); ++group) {
            const std::size_t first = 3 * std::size_t(groups.first(group));
            ktRayVertex vertex;
            if (frames.make(&part.positions[first], &part.normals[first], ktOneRing(), vertex))
                vertices.push_back(vertex);
        }
    }
    const ktRayLimits limits{ktVertexFrames::minHitDistance(diagonal), FLT_MAX, true};
    for (const bool nearest : {false, true}) {
        std::vector<double> seconds;
        for (unsigned repeat = 0; repeat < options.repeats; ++repeat) {
            std::mutex adding;
            double time = 0;
            std::uint64_t sum = 0;
            arena.execute([&] {
                ktParallel::forRange((vertices.size() + 63) / 64, 1, [&](std::size_t begin, std::size_t end) {
                    const ktFlushDenormals fast;
                    const double before = threadTime();
                    const std::size_t first = begin * 64, last = std::min(end * 64, vertices.size());
                    std::vector<std::uint32_t> visible(last - first);
                    Hasher hasher;
                    if (nearest)
                        tracer.findNearest(&vertices[first], static_cast<std::uint32_t>(last - first), limits, hasher);
                    else
                        tracer.countVisible(&vertices[first], static_cast<std::uint32_t>(last - first), limits,
                                            visible.data(), nullptr);
                    for (std::size_t i = 0; i < visible.size(); ++i)
                        hasher.sum += visible[i] * (first + i + 1);
                    const std::lock_guard<std::mutex> guard(adding);
                    time += threadTime() - before;
                    sum += hasher.sum;
                });
            });
            seconds.push_back(time);
            result.answers = 31 * result.answers + sum;
        }
        std::sort(seconds.begin(), seconds.end());
        (nearest ? result.nearest_us : result.occlusion_us) =
            1e6 * seconds[seconds.size() / 2] / static_cast<double>(vertices.size());
    }
    return result;
}

// In a child process. Returns false if it fails, for instance without memory.
bool measureApart(const Options& options, std::size_t useCount, bool instances, Result& result) {
    int ends[2];
    if (pipe(ends) != 0)
        return false;
    const pid_t child = fork();
    if (child == 0) {
        const Result own = measure(options, useCount, instances);
        _exit(write(ends[1], &own, sizeof own) == sizeof own ? 0 : 1);
    }
    close(ends[1]);
    const bool hasRead = child > 0 && read(ends[0], &result, sizeof result) == sizeof result;
    close(ends[0]);
    rusage usage{};
    int status = 0;
    if (child > 0)
        wait4(child, &status, 0, &usage);
    result.peakBytes = static_cast<std::size_t>(usage.ru_maxrss) * 1024;
    return hasRead && status == 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    Options options;
    ktCommandLine app("Compares many uses of a part of 5,000 triangles as instances and written out");
    app.add("--uses", options.uses, "Numbers of uses");
    app.addPositive("--traced-uses", options.tracedUses, "Uses whose vertices are traced");
    app.addPositive("--sides", options.side, "Rays per vertex and axis");
    app.addPositive("--threads", options.threads, "Threads");
    app.addPositive("--repeats", options.repeats, "Runs of the rays; the median counts");
    app.addFlag("--instances-only", options.instancesOnly, "Do not write out");
    if (const auto code = app.parse(argumentCount, arguments))
        return *code;
    std::printf("%7s %10s %-12s %8s %12s %9s %9s %13s %11s\n", "uses", "triangles", "way", "build s", "structure MB",
                "peak MB", "bytes/tri", "occlusion us", "nearest us");
    int differing = 0;
    for (const unsigned useCount : options.uses) {
        Result results[2];
        for (const bool instances : {false, true}) {
            if (!instances && options.instancesOnly)
                continue;
            Result& result = results[instances];
            if (!measureApart(options, useCount, instances, result)) {
                std::fprintf(stderr, "%u uses, %s: failed\n", useCount, instances ? "instances" : "written out");
                return 1;
            }
            const double triangles = 5000.0 * static_cast<double>(useCount);
            std::printf("%7u %10.0f %-12s %8.2f %12.1f %9.1f %9.2f %13.1f %11.1f\n", useCount, triangles,
                        instances ? "instances" : "written out", result.build_s,
                        static_cast<double>(result.structureBytes) / 1e6, static_cast<double>(result.peakBytes) / 1e6,
                        static_cast<double>(result.structureBytes) / triangles, result.occlusion_us, result.nearest_us);
            std::fflush(stdout);
        }
        if (options.instancesOnly)
            continue;
        const bool equal = results[0].answers == results[1].answers;
        differing += !equal;
        std::printf("%7s answers are %s; time of rays %.2f and %.2f times\n", "", equal ? "equal" : "DIFFERENT",
                    results[1].occlusion_us / results[0].occlusion_us, results[1].nearest_us / results[0].nearest_us);
    }
    return differing ? 1 : 0;
}
