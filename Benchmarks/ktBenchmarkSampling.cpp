// SPDX-License-Identifier: LGPL-2.1-or-later
// Measures the error of occlusion with a given number of rays, for several ways to place the rays.
#include "ktBenchmarkSurface.h"
#include "ktCommandLine.h"
#include "ktEmbreeTracer.h"
#include "ktHemisphereSampler.h"
#include "ktSampleCandidates.h"
#include "ktVertexFrames.h"

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <exception>
#include <OpenSG/OSGBaseFunctions.h>
#include <tbb/parallel_for.h>

namespace {

constexpr std::uint32_t referenceCount = 256; // 65,536 rays

// The occlusion of every `step`th vertex of a surface.
class Measure {
public:
    Measure(const ktBenchmarkSurface& surface_, std::uint32_t step) : surface(surface_), size(surface_.diagonal()) {
        ktTracerMesh mesh;
        mesh.positions = surface.positions.data();
        mesh.indices = surface.indices.data();
        mesh.vertexCount = surface.vertexCount();
        mesh.triangleCount = surface.triangleCount();
        tracer.build({mesh}, {});
        for (std::uint32_t i = 0; i < surface.vertexCount(); i += step)
            vertices.push_back(i);
    }

    // @param isTurned each vertex has a different azimuth, as in the tracer
    std::vector<double> trace(const ktDirectionSet& set, bool isTurned) const {
        const ktPreparedDirections prepared(set);
        const ktVertexFrames frames(identity, &prepared, size);
        const float still[3] = {0, 0, 0};
        std::vector<double> open(vertices.size());
        tbb::parallel_for(std::size_t(0), vertices.size(), [&](std::size_t i) {
            const std::size_t first = 3 * std::size_t(vertices[i]);
            ktRayVertex vertex, turned;
            frames.make(&surface.positions[first], &surface.normals[first], ktOneRing(), turned);
            // All vertices at one position share one azimuth.
            frames.make(still, &surface.normals[first], ktOneRing(), vertex);
            std::copy(turned.origin, turned.origin + 3, vertex.origin);
            ktRayLimits limits;
            limits.maxDistance = FLT_MAX;
            std::uint32_t visible = 0;
            tracer.countVisible(isTurned ? &turned : &vertex, 1, limits, &visible, nullptr);
            open[i] = static_cast<double>(visible) / set.count;
        });
        return open;
    }

private:
    const ktBenchmarkSurface& surface;
    float size;
    ktWorldTransform identity;
    ktEmbreeTracer tracer;
    std::vector<std::uint32_t> vertices;
};

} // namespace

int main(int argumentCount, char** arguments) {
    osg::osgInit(argumentCount, arguments);
    ktCommandLine options("Error of occlusion compared with 65,536 rays per vertex: root mean square, mean, largest");
    std::string file;
    std::vector<std::uint32_t> counts{8, 16, 32, 64};
    std::uint32_t step = 17, seeds = 4;
    options.add("surface", file, "OBJ file; default: KT_BENCHMARK_MESH or a generated surface");
    options.add("--counts", counts, "Rays per vertex and axis");
    options.addPositive("--step", step, "Measure every n-th vertex");
    options.addPositive("--seeds", seeds, "Number of patterns of each kind");
    if (const auto code = options.parse(argumentCount, arguments))
        return *code;
    try {
        const ktBenchmarkSurface surface = ktChooseBenchmarkSurface(file);
        const Measure measure(surface, step);
        const auto reference =
            measure.trace(ktMakeHemisphereDirections(referenceCount, referenceCount, 0.25f, 0.25f, 1000), true);
        std::printf("%s, %zu vertices, mean of %u patterns\n", surface.name.c_str(), reference.size(), seeds);
        for (std::uint32_t count : counts) {
            std::printf("%u x %u rays\n", count, count);
            const auto report = [&](const ktSampleCandidate& candidate, bool isTurned) {
                double squares = 0, sum = 0, largest = 0;
                for (std::uint32_t seed = 1; seed <= seeds; ++seed) {
                    const auto open = measure.trace(candidate.make(count, seed), isTurned);
                    for (std::size_t i = 0; i < open.size(); ++i) {
                        const double error = open[i] - reference[i];
                        squares += error * error;
                        sum += error;
                        largest = std::max(largest, std::fabs(error));
                    }
                }
                const double total = static_cast<double>(seeds) * static_cast<double>(reference.size());
                std::printf("  %-42s %s  rms %.5f  mean %+.5f  largest %.4f\n", candidate.name.c_str(),
                            isTurned ? "turned" : "      ", std::sqrt(squares / total), sum / total, largest);
            };
            const auto candidates = ktSampleCandidates();
            for (const ktSampleCandidate& candidate : candidates)
                report(candidate, true);
            report(candidates.front(), false);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ktBenchmarkSampling: %s\n", error.what());
        return 1;
    }
    return 0;
}
