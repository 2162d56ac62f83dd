// SPDX-License-Identifier: LGPL-2.1-or-later
// Measures the direct pass of a whole run, as a ratio to bare Embree calls in the same process.
#include "ktAmbientOcclusion.h"
#include "ktBenchmarkSurface.h"
#include "ktCommandLine.h"
#include "ktEmbreeTracer.h"
#include "ktHemisphereTracer.h"
#include "ktRaytracingManager.h"
#include "ktSceneRaytracing.h"
#include "ktSceneState.h"
#include "ktTBBInit.h"
#include "ktThreadCount.h"
#include "ktYardstick.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGroup.h>
#include <QCoreApplication>
#include <sstream>

namespace {

// A value of /proc/self/status, in megabytes.
double statusMegabytes(const std::string& key) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind(key, 0) == 0)
            return std::strtod(line.c_str() + key.size(), nullptr) / 1024.0;
    return 0.0;
}

// The peak memory of an action, in megabytes, above the memory of the process before it.
template <class Action>
double peakOf(Action&& action) {
    std::ofstream("/proc/self/clear_refs") << 5; // resets the peak
    const double before = statusMegabytes("VmRSS:");
    action();
    return statusMegabytes("VmHWM:") - before;
}

// Records standard output during its lifetime.
class OutputCatcher {
public:
    OutputCatcher() : kept(std::cout.rdbuf(text.rdbuf())) {}
    ~OutputCatcher() { std::cout.rdbuf(kept); }
    std::string get() const { return text.str(); }

private:
    std::ostringstream text;
    std::streambuf* kept;
};

// Runs the plug-in over the selection. @return seconds of its direct pass, as the plug-in reports them
double bakeOnce() {
    const OutputCatcher output;
    if (!ktAmbientOcclusion::the()->startCalculation(false))
        throw std::runtime_error("the calculation did not start");
    const std::string text = output.get(), before = "Direct Illumination complete, took ";
    const std::size_t place = text.find(before);
    if (place == std::string::npos)
        throw std::runtime_error("the plug-in did not report its direct pass");
    return std::strtod(text.c_str() + place + before.size(), nullptr);
}

double meanResult(const osg::NodePtr& node) {
    const osg::GeometryPtr geometry = osg::GeometryPtr::dcast(node->getCore());
    const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4fPtr::dcast(geometry->getTexCoords7());
    double sum = 0;
    for (osg::UInt32 i = 0; i < results->getSize(); ++i)
        sum += results->getField()[i][3];
    return sum / results->getSize();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::unique_ptr<ktTracer> makeTracer(const std::string& name) {
    if (name == "embree")
        return std::make_unique<ktEmbreeTracer>();
    return std::make_unique<ktHemisphereTracer>();
}

} // namespace

int main(int argumentCount, char** arguments) {
    osg::osgInit(argumentCount, arguments);
    ktCommandLine options(
        "Compares the direct pass of a whole run with bare Embree calls: million rays per second, ratio");
    std::string file;
    std::vector<std::string> tracers{"embree", "hemisphere"};
    unsigned threads = 2;
    int rounds = 5, quality = 2;
    float maxDistance = 3000.0f;
    options.add("mesh", file, "OBJ file; default: KT_BENCHMARK_MESH or a generated surface");
    options.addChoice("--tracer", tracers, "Tracers to measure", {"embree", "hemisphere"});
    options.addPositive("--threads", threads, "Threads");
    options.addPositive("--rounds", rounds, "Alternating rounds; the median counts");
    options.add("--max-distance", maxDistance, "Maximum distance; the diagonal is 3000");
    options.addRange("--quality", quality, "Shadow quality", 0, 5);
    if (const auto code = options.parse(argumentCount, arguments))
        return *code;

    const std::filesystem::path preferences = std::filesystem::temp_directory_path() / "ktBenchmarkTracing/";
    setenv("KT_PREFERENCES_DIR", preferences.c_str(), 0); // does not use the user's presets
    const QCoreApplication application(argumentCount, arguments);
    try {
        const ktBenchmarkSurface mesh = ktChooseBenchmarkSurface(file);
        ktThreadCount::set(threads);
        const osg::NodePtr root = osg::Node::create(), node = mesh.makeNode();
        root->setCore(osg::Group::create());
        root->addChild(node);
        ktSceneState::setRootNode(root);
        ktSceneState::setSelection({node});
        auto* plugin = ktAmbientOcclusion::the();
        plugin->setShadowQuality(quality);
        plugin->setMinDistance(0.0f);
        plugin->setMaxDistance(maxDistance);
        plugin->setIndirectIlluminationEnabled(false);
        plugin->setSubdivideEnabled(false);

        std::vector<std::unique_ptr<ktSceneRaytracing>> utils;
        std::vector<double> memory;
        for (const std::string& tracer : tracers) {
            utils.push_back(std::make_unique<ktSceneRaytracing>(makeTracer(tracer)));
            ktRaytracingManager::setRaytracingUtils(utils.back().get());
            memory.push_back(peakOf([] { bakeOnce(); })); // this run also warms up
        }

        static const std::uint32_t counts[] = {8, 16, 32, 48, 64, 128};
        const std::uint32_t count = counts[quality];
        ktYardstick yardstick(mesh, count, count, maxDistance);
        yardstick.trace(static_cast<int>(threads));
        std::vector<double> bare;
        std::vector<std::vector<double>> baked(tracers.size());
        std::vector<double> means(tracers.size());
        for (int round = 0; round < rounds; ++round) {
            bare.push_back(yardstick.trace(static_cast<int>(threads)));
            for (std::size_t i = 0; i < tracers.size(); ++i) {
                ktRaytracingManager::setRaytracingUtils(utils[i].get());
                baked[i].push_back(bakeOnce());
                means[i] = meanResult(node);
            }
        }
        const double rays = yardstick.rayCount() / 1e6;
        std::printf("%s: %u triangles, %.0f vertices, %u x %u rays a vertex, %u threads, median of %d\n",
                    mesh.name.c_str(), mesh.triangleCount(), yardstick.rayCount() / (count * count), count, count,
                    threads, rounds);
        std::printf("%-12s %10s %8s %10s\n", "", "Mrays/s", "ratio", "mean w");
        std::printf("%-12s %10.2f %8.3f %10.5f\n", "bare Embree", rays / median(bare), 1.0, yardstick.openShare());
        for (std::size_t i = 0; i < tracers.size(); ++i)
            std::printf("%-12s %10.2f %8.3f %10.5f  (peak %.0f MB above the scene)\n", tracers[i].c_str(),
                        rays / median(baked[i]), median(bare) / median(baked[i]), means[i], memory[i]);
        ktRaytracingManager::setRaytracingUtils(nullptr);
        ktSceneState::setRootNode(osg::NullFC);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ktBenchmarkTracing: %s\n", error.what());
        return 1;
    }
    return 0;
}
