// SPDX-License-Identifier: LGPL-2.1-or-later
// Rays per second of a bounce of indirect light in the host, compared with a bare Embree loop of nearest hits. The loop
// traces packets of 16 neighbouring directions with the coherent flag, for vertices along a space-filling curve. Both
// trace the same rays on the same threads, in turns in one process. The result is the median of the ratios of all
// rounds, because other load on the machine slows both runs of a round alike.
#include <tbb/task_arena.h> // before Qt, whose macro `emit` is a name inside TBB

#include "ktBenchmarkScenes.h"
#include "ktCommandLine.h"
#include "ktEmbreeLoop.h"
#include "ktFlushDenormals.h"
#include "ktHemisphereSampler.h"
#include "ktParallel.h"
#include "ktSceneRaytracing.h"
#include "ktThreadCount.h"
#include "ktTracerFactory.h"
#include "ktVertexFrames.h"
#include "ktVertexGroups.h"
#include "OSGUberMaterial.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <map>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGGroup.h>
#include <QCoreApplication>

namespace {

struct Options {
    std::string models = "models";
    std::string engine = "/usr/share/assimp/models/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb";
    std::vector<std::string> scenes{"bunny", "engine"};
    unsigned threads = 2, rounds = 5, samples = 32;
};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

template <class Action>
double secondsOf(const Action& action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// A bounce by Embree alone. Only the tracing of rays is measured.
class BareLoop {
public:
    BareLoop(const ktBenchmarkScene& scene, const Options& options, float maxDistance)
        : threads(static_cast<int>(options.threads)),
          directions(ktMakeHemisphereDirections(options.samples, options.samples, 0.25f, 0.25f, 1)) {
        std::vector<ktTracerMesh> meshes;
        const float size = scene.diagonal();
        const ktWorldTransform identity;
        const ktVertexFrames frames(identity, &prepared, size);
        for (const ktBenchmarkMesh& mesh : scene.meshes) {
            meshes.push_back({mesh.positions.data(), mesh.indices.data(), mesh.vertexCount(), mesh.triangleCount()});
            const ktVertexGroups groups =
                ktGroupVertices(mesh.positions.data(), mesh.normals.data(), mesh.vertexCount());
            const std::vector<ktOneRing> oneRings =
                ktMakeOneRings(mesh.positions.data(), mesh.vertexCount(), mesh.indices);
            for (std::size_t group = 0; group < groups.size(); ++group) {
                const std::size_t first = 3 * std::size_t(groups.first(group));
                ktRayVertex vertex;
                if (frames.make(&mesh.positions[first], &mesh.normals[first], groups.oneRingOf(group, oneRings.data()),
                                vertex))
                    vertices.push_back(vertex);
            }
        }
        limits.minDistance = ktVertexFrames::minHitDistance(size);
        limits.maxDistance = maxDistance;
        loop.build(meshes);
    }

    double rayCount() const { return static_cast<double>(vertices.size()) * directions.count; }
    /// Traces all rays once. @return seconds
    double trace() {
        std::atomic<std::uint64_t> hits{0};
        tbb::task_arena arena(threads);
        const double seconds = secondsOf([&] {
            arena.execute([&] {
                ktParallel::forRange(vertices.size(), 64, [&](std::size_t begin, std::size_t end) {
                    const ktFlushDenormals fast;
                    std::uint64_t sum = 0;
                    for (std::size_t i = begin; i < end; ++i)
                        sum += loop.nearest(vertices[i], limits);
                    hits += sum;
                });
            });
        });
        hitShare = static_cast<double>(hits) / rayCount();
        return seconds;
    }
    double hitShare = 0; ///< of the last trace()

private:
    int threads;
    ktDirectionSet directions;
    ktPreparedDirections prepared{directions};
    std::vector<ktRayVertex> vertices;
    ktRayLimits limits;
    ktEmbreeLoop loop;
};

/// The host's bounces over a scene graph, called as a plug-in calls them.
class Bounces {
public:
    Bounces(const ktBenchmarkScene& scene, const Options& options, float maxDistance_)
        : samples(static_cast<int>(options.samples)), maxDistance(maxDistance_) {
        osg::beginEditCP(root.get());
        root->setCore(osg::Group::create());
        for (const ktBenchmarkMesh& mesh : scene.meshes) {
            nodes.push_back(makeNode(mesh));
            root->addChild(nodes.back());
        }
        osg::endEditCP(root.get());
        sampler = utils.createSampler(samples, samples, 0, 1, 0.25f, 0.25f);
    }
    ~Bounces() { utils.releaseSampler(sampler); }
    Bounces(const Bounces&) = delete;
    Bounces& operator=(const Bounces&) = delete;

    /// The direct pass. After it, every bounce costs the same.
    void prepare(bool overrideColor) {
        const float grey[3] = {0.7f, 0.7f, 0.7f};
        utils.setMaterialOverride(!overrideColor, overrideColor, grey);
        utils.configureTracing(samples, samples, 0.0f, maxDistance);
        utils.buildAccelerationStructure(nodes, {});
        for (const osg::NodePtr& node : nodes) {
            const Arrays arrays(node);
            utils.computeVertexOcclusion(arrays.count, nullptr, arrays.positions, arrays.normals, arrays.results, false,
                                         sampler, true, false);
        }
        utils.finishPass();
    }
    /// One bounce. @return seconds
    double gather() {
        const osg::Color3f white(1, 1, 1);
        return secondsOf([&] {
            for (const osg::NodePtr& node : nodes) {
                const Arrays arrays(node);
                utils.gatherVertexIllumination(arrays.count, nullptr, arrays.positions, arrays.normals, arrays.results,
                                               &white, false, sampler, 1, false);
            }
            utils.finishPass();
        });
    }
    /// Mean light of the last bounce; it must not be zero.
    double meanLight() const {
        double sum = 0, count = 0;
        for (const osg::NodePtr& node : nodes) {
            const Arrays arrays(node);
            for (osg::UInt32 i = 0; i < arrays.count; ++i)
                sum += arrays.results[i][1];
            count += arrays.count;
        }
        return sum / count;
    }

private:
    struct Arrays {
        osg::UInt32 count;
        osg::Pnt3f* positions;
        osg::Vec3f* normals;
        osg::Vec4f* results;

        explicit Arrays(const osg::NodePtr& node) {
            const osg::GeometryPtr geometry = osg::GeometryPtr::dcast(node->getCore());
            count = geometry->getPositions()->getSize();
            positions = &osg::GeoPositions3fPtr::dcast(geometry->getPositions())->getField()[0];
            normals = &osg::GeoNormals3fPtr::dcast(geometry->getNormals())->getField()[0];
            results = &osg::GeoTexCoords4fPtr::dcast(geometry->getTexCoords7())->getField()[0];
        }
    };

    static osg::NodePtr makeNode(const ktBenchmarkMesh& mesh) {
        const osg::GeometryPtr geometry = osg::Geometry::create();
        const osg::GeoPTypesUI8Ptr types = osg::GeoPTypesUI8::create();
        const osg::GeoPLengthsUI32Ptr lengths = osg::GeoPLengthsUI32::create();
        const osg::GeoIndicesUI32Ptr indices = osg::GeoIndicesUI32::create();
        const osg::GeoPositions3fPtr positions = osg::GeoPositions3f::create();
        const osg::GeoNormals3fPtr normals = osg::GeoNormals3f::create();
        const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4f::create();
        const osg::UberMaterialPtr material = osg::UberMaterial::create();
        types->push_back(GL_TRIANGLES);
        lengths->push_back(static_cast<osg::UInt32>(mesh.indices.size()));
        for (std::uint32_t index : mesh.indices)
            indices->push_back(index);
        for (std::size_t i = 0; i < mesh.normals.size(); i += 3) {
            positions->push_back(osg::Pnt3f(mesh.positions[i], mesh.positions[i + 1], mesh.positions[i + 2]));
            normals->push_back(osg::Vec3f(mesh.normals[i], mesh.normals[i + 1], mesh.normals[i + 2]));
        }
        results->getField().resize(mesh.vertexCount());
        material->setColor(osg::Color3f(0.8f, 0.6f, 0.4f));
        osg::beginEditCP(geometry);
        geometry->setTypes(types);
        geometry->setLengths(lengths);
        geometry->setIndices(indices);
        geometry->setPositions(positions);
        geometry->setNormals(normals);
        geometry->setTexCoords7(results);
        geometry->setMaterial(material);
        osg::endEditCP(geometry);
        const osg::NodePtr node = osg::Node::create();
        osg::beginEditCP(node);
        node->setCore(geometry);
        osg::endEditCP(node);
        return node;
    }

    int samples;
    float maxDistance;
    osg::NodeRefPtr root{osg::Node::create()};
    std::vector<osg::NodePtr> nodes;
    ktSceneRaytracing utils;
    ktSampler* sampler;
};

void measure(const Options& options, const ktBenchmarkScene& scene) {
    const float maxDistance = scene.diagonal();
    BareLoop bare(scene, options, maxDistance);
    Bounces bounces(scene, options, maxDistance);
    std::printf(
        "%s: %zu triangles in %zu meshes, %zu vertices, %.0f traced, %u x %u rays each, %u threads, median of %u\n",
        scene.name.c_str(), scene.triangleCount(), scene.meshes.size(), scene.vertexCount(),
        bare.rayCount() / (options.samples * options.samples), options.samples, options.samples, options.threads,
        options.rounds);
    std::printf("%-30s %10s %8s\n", "", "Mrays/s", "ratio");
    for (const bool overrideColor : {true, false}) {
        bounces.prepare(overrideColor);
        bare.trace();
        bounces.gather();
        std::vector<double> plain, gathered, ratios;
        for (unsigned round = 0; round < options.rounds; ++round) {
            plain.push_back(bare.trace());
            gathered.push_back(bounces.gather());
            ratios.push_back(plain.back() / gathered.back());
        }
        const double million = bare.rayCount() / 1e6;
        std::printf("%-30s %10.2f %8.3f   (share of hits %.4f)\n", "bare Embree", million / median(plain), 1.0,
                    bare.hitShare);
        std::printf("%-30s %10.2f %8.3f   (mean light %.4f)\n",
                    overrideColor ? "gathering, one colour" : "gathering, surface colours", million / median(gathered),
                    median(ratios), bounces.meanLight());
        std::fflush(stdout);
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    osg::osgInit(argumentCount, arguments);
    Options options;
    ktCommandLine app(
        "Compares a bounce of indirect light with a bare Embree loop of nearest hits: million rays per second");
    app.add("--models", options.models, "Folder with stanford-bunny.obj");
    app.add("--engine", options.engine, "The engine assembly");
    app.addChoice("--scenes", options.scenes, "Scenes to measure", {"bunny", "engine"});
    app.addRange("--samples", options.samples, "Rays per vertex and axis", 1, 256);
    app.addPositive("--threads", options.threads, "Threads");
    app.addPositive("--rounds", options.rounds, "Runs of each, in turns; the median counts");
    const std::map<std::string, ktTracerKind> kinds{{"embree", ktTracerKind::Embree},
                                                    {"hemisphere", ktTracerKind::Hemisphere}};
    std::string tracer = "hemisphere";
    app.addChoice("--tracer", tracer, "Tracer of the host", {"embree", "hemisphere"});
    if (const auto code = app.parse(argumentCount, arguments))
        return *code;
    ktChooseTracer(kinds.at(tracer));
    const QCoreApplication application(argumentCount, arguments);
    ktThreadCount::set(options.threads);
    try {
        for (const std::string& name : options.scenes)
            measure(options, ktLoadBenchmarkScene(name, name == "bunny" ? options.models + "/stanford-bunny.obj"
                                                                        : options.engine));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ktBenchmarkGathering: %s\n", error.what());
        return 1;
    }
    return 0;
}
