// SPDX-License-Identifier: LGPL-2.1-or-later
// Measures how long the event loop waits while one large geometry is built and traced, and how soon a cancel acts.
#include "ktBenchmarkSurface.h"
#include "ktCancelToken.h"
#include "ktCommandLine.h"
#include "ktEmbreeTracer.h"
#include "ktHemisphereTracer.h"
#include "ktSceneRaytracing.h"
#include "ktThreadCount.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGGeometry.h>
#include <QCoreApplication>
#include <QTimer>

namespace {

using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

// Records when the event loop runs. Cancels at a given time, if one is set.
class Watch {
public:
    Watch() {
        QObject::connect(&timer, &QTimer::timeout, [this] { tick(); });
        timer.start(0); // fires at every run of the loop
    }

    void begin(double newCancelAfter = -1.0) {
        started = last = Clock::now();
        longest = Clock::duration::zero();
        cancelAfter = newCancelAfter;
        canceled = false;
    }
    // Milliseconds since begin(). The return to the caller also counts as a gap.
    double end() {
        cancelAfter = -1.0;
        tick();
        return milliseconds(last - started);
    }
    double longestGap() const { return milliseconds(longest); }
    double sinceCancel() const { return canceled ? milliseconds(last - canceledAt) : -1.0; }

private:
    void tick() {
        const auto now = Clock::now();
        longest = std::max(longest, now - last);
        last = now;
        if (!canceled && cancelAfter >= 0.0 && milliseconds(now - started) >= cancelAfter) {
            canceled = true;
            canceledAt = now;
            ktCancelToken::the().cancel();
        }
    }

    QTimer timer;
    Clock::time_point started, last, canceledAt;
    Clock::duration longest{};
    double cancelAfter = -1.0;
    bool canceled = false;
};

// One geometry through the host's utilities, as the plug-in calls them.
class Run {
public:
    Run(std::unique_ptr<ktTracer> tracer, const osg::NodePtr& node_, int count)
        : utils(std::move(tracer)), node(node_), sampler(utils.createSampler(count, count, 0, 1, 0.25f, 0.25f)) {
        const osg::GeometryPtr geometry = osg::GeometryPtr::dcast(node->getCore());
        positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
        normals = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
        results.resize(positions->size());
        utils.configureTracing(count, count, 0.0f, 3000.0f);
    }
    ~Run() { utils.releaseSampler(sampler); }

    void build() { utils.buildAccelerationStructure({node}, {}); }
    void trace() {
        utils.computeVertexOcclusion(static_cast<osg::UInt32>(results.size()), nullptr, &positions->getField()[0],
                                     &normals->getField()[0], results.data(), false, sampler, true, false);
    }
    void forgetResults() { std::fill(results.begin(), results.end(), untouched()); }
    bool isUntouched() const {
        return std::all_of(results.begin(), results.end(), [](const osg::Vec4f& r) { return r == untouched(); });
    }

private:
    static osg::Vec4f untouched() { return osg::Vec4f(-1, -2, -3, -4); }

    ktSceneRaytracing utils;
    osg::NodePtr node;
    ktSampler* sampler;
    osg::GeoPositions3fPtr positions;
    osg::GeoNormals3fPtr normals;
    std::vector<osg::Vec4f> results;
};

} // namespace

int main(int argumentCount, char** arguments) {
    osg::osgInit(argumentCount, arguments);
    ktCommandLine options(
        "Longest wait of the event loop, and time from a cancel to the return, with one large geometry");
    std::string tracer = "embree";
    unsigned threads = 2;
    std::uint32_t side = 1000;
    int count = 8;
    options.addChoice("--tracer", tracer, "Tracer", {"embree", "hemisphere"});
    options.addPositive("--threads", threads, "Threads");
    options.addRange("--side", side, "The geometry has about side x side vertices", 10, 5000);
    options.addRange("--rays", count, "Rays per vertex and axis", 1, 1024);
    if (const auto code = options.parse(argumentCount, arguments))
        return *code;

    const QCoreApplication application(argumentCount, arguments);
    try {
        ktThreadCount::set(threads);
        const ktBenchmarkSurface mesh = ktMakeBenchmarkSurface(side, side);
        const osg::NodeRefPtr node(mesh.makeNode());
        std::unique_ptr<ktTracer> made;
        if (tracer == "embree")
            made = std::make_unique<ktEmbreeTracer>();
        else
            made = std::make_unique<ktHemisphereTracer>();
        Run run(std::move(made), node.get(), count);
        Watch watch;
        std::printf("%u vertices, %u triangles, %d x %d rays a vertex, %u threads, %s\n", mesh.vertexCount(),
                    mesh.triangleCount(), count, count, threads, tracer.c_str());

        const auto measure = [&](const char* name, auto&& action) {
            watch.begin();
            action();
            const double duration = watch.end();
            std::printf("%-6s %8.0f ms, longest gap %6.1f ms\n", name, duration, watch.longestGap());
            return duration;
        };
        bool kept = true;
        const auto cancelDuring = [&](const char* name, double duration, auto&& action) {
            double worst = 0;
            int canceled = 0;
            for (const double share : {0.0, 0.02, 0.05, 0.1, 0.2, 0.35, 0.5, 0.65, 0.8, 0.9}) {
                run.forgetResults();
                watch.begin(share * duration);
                action();
                watch.end();
                if (watch.sinceCancel() >= 0.0) { // otherwise the call ended before the cancel
                    ++canceled;
                    worst = std::max(worst, watch.sinceCancel());
                    kept = kept && run.isUntouched();
                }
                ktCancelToken::the().reset();
            }
            std::printf("%-6s slowest of %d cancels %6.1f ms\n", name, canceled, worst);
        };
        const double building = measure("build", [&] { run.build(); });
        const double tracing = measure("trace", [&] { run.trace(); });
        std::printf("%.2f million rays a second\n", double(mesh.vertexCount()) * count * count / 1e3 / tracing);
        cancelDuring("trace", tracing, [&] { run.trace(); });
        cancelDuring("build", building, [&] { run.build(); });
        std::printf("results after a cancel: %s\n", kept ? "as before" : "CHANGED");
        return kept ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ktBenchmarkResponsiveness: %s\n", error.what());
        return 1;
    }
}
