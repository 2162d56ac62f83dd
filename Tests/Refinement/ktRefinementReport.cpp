// SPDX-License-Identifier: LGPL-2.1-or-later
// Refines a model and reports the quality: the accuracy on its ground plane compared with a dense grid, and the flaws
// of the mesh. Not part of the tests, because dense grids take long.
#include "ktCancelToken.h"
#include "ktMeshFlaws.h"
#include "ktPlaneAccuracy.h"

#include <algorithm>
#include <chrono>
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <memory>
#include <OpenSG/OSGBaseFunctions.h>
#include <QCoreApplication>
#include <QTimer>
#include <sys/resource.h>

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point time) {
    return std::chrono::duration<double, std::milli>(Clock::now() - time).count();
}

// Measures how long the event loop waits to be run. Cancels after a given time, if one is set.
class Watch {
public:
    explicit Watch(double cancelAfter_ms_) : cancelAfter_ms(cancelAfter_ms_) {
        QObject::connect(&timer, &QTimer::timeout, [this] { tick(); });
        timer.start(0); // fires at every run of the loop
    }
    void tick() {
        longest_ms = std::max(longest_ms, millisecondsSince(last));
        last = Clock::now();
        if (cancelAfter_ms > 0 && millisecondsSince(start) > cancelAfter_ms && !ktCancelToken::the().isCanceled()) {
            ktCancelToken::the().cancel();
            canceled = Clock::now();
        }
    }

    double longest_ms = 0;
    Clock::time_point canceled;

private:
    const double cancelAfter_ms;
    QTimer timer;
    const Clock::time_point start = Clock::now();
    Clock::time_point last = start;
};

double peakMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

void reportPlane(ktRefinedModel& model, int squares) {
    const ktPlaneAccuracy plane = ktMeasurePlane(model, squares);
    std::printf("ground plane: %zu vertices after refinement, against %d x %d squares\n"
                "  root mean square difference: unrefined %.5f, refined %.5f, uniform grid %.5f\n"
                "  unrefined by refined %.2f, uniform by refined %.2f\n"
                "  refinement %.2f s of all cores, %.2f times the tracing of its vertices\n",
                plane.vertices, squares, squares, plane.unrefined, plane.refined, plane.uniform,
                plane.unrefined / plane.refined, plane.uniform / plane.refined, plane.refineSeconds,
                plane.refineSeconds / plane.traceSeconds);
}

bool reportMesh(ktRefinedModel& model, bool checksMesh, double cancelAfter_ms) {
    const ktWorldTriangles before = ktReadWorldTriangles(model.nodes);
    std::size_t verticesBefore = 0, verticesAfter = 0;
    for (const osg::NodePtr& node : model.nodes)
        verticesBefore += ktRefinedModel::vertexCount(node);
    std::unique_ptr<Watch> watch;
    const double memoryBefore = peakMegabytes();
    const double seconds = model.refine(model.nodes, [&] { watch = std::make_unique<Watch>(cancelAfter_ms); });
    watch->tick();
    std::printf("event loop: waited at most %.1f ms\n", watch->longest_ms);
    if (ktCancelToken::the().isCanceled()) {
        std::printf("cancelled: back after %.1f ms\n", millisecondsSince(watch->canceled));
        ktCancelToken::the().reset();
        return true;
    }
    const double memoryAfter = peakMegabytes();
    for (const osg::NodePtr& node : model.nodes)
        verticesAfter += ktRefinedModel::vertexCount(node);
    std::printf("all geometry: %zu nodes, vertices %zu to %zu\n", model.nodes.size(), verticesBefore, verticesAfter);
    double traceSeconds = 0;
    for (const osg::NodePtr& node : model.nodes)
        traceSeconds += model.trace(node);
    std::printf("  refinement %.2f s of all cores, %.2f times the tracing of its vertices\n"
                "  peak memory %+.1f MB, %.0f bytes a new vertex\n",
                seconds, seconds / traceSeconds, memoryAfter - memoryBefore,
                (memoryAfter - memoryBefore) * 1048576 / std::max<double>(1, double(verticesAfter - verticesBefore)));
    if (!checksMesh)
        return true;
    const ktWorldTriangles after = ktReadWorldTriangles(model.nodes);
    const ktMeshFlaws flaws = ktFindFlaws(before, after);
    std::printf("  triangles %zu to %zu; hanging vertices %zu, flipped %zu, flat %zu, lost %zu, area %+.2g\n",
                before.corners.size(), after.corners.size(), flaws.hanging, flaws.flipped, flaws.flat, flaws.lost,
                flaws.areaChange);
    return !flaws.any();
}

} // namespace

// An error may end the report. NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv) {
    osg::osgInit(argc, argv);
    CLI::App options{"Refines a model and reports the quality of the result"};
    std::string path;
    ktRefinementSettings settings;
    int squares = 512;
    double cancelAfter = 0;
    bool onlyPlane = false, onlyMesh = false, withPlane = false, withoutCheck = false;
    options.add_option("MODEL", path, "scene file")->required();
    options.add_option("--samples", settings.samples, "rays along each axis of the pattern")->capture_default_str();
    options.add_option("--subdivision-quality", settings.quality)->capture_default_str();
    options.add_option("--min-edge-length", settings.minEdgeLength)->capture_default_str();
    options.add_option("--intensity-threshold", settings.threshold)->capture_default_str();
    options.add_option("--dense", squares, "squares along each side of the dense grid")->capture_default_str();
    options.add_option("--cancel-after", cancelAfter, "seconds after which the refinement of the mesh is cancelled");
    options.add_flag("--only-plane", onlyPlane, "refine the ground plane alone");
    options.add_flag("--only-mesh", onlyMesh, "refine the model alone, without a ground plane");
    options.add_flag("--with-plane", withPlane, "with --only-mesh: the model and a ground plane together");
    options.add_flag("--no-check", withoutCheck, "do not look for flaws of the mesh");
    CLI11_PARSE(options, argc, argv);
    const QCoreApplication application(argc, argv);
    try {
        if (!onlyMesh) {
            ktRefinedModel model(path, true, settings);
            reportPlane(model, squares);
        }
        if (onlyPlane)
            return 0;
        ktRefinedModel model(path, withPlane, settings);
        return reportMesh(model, !withoutCheck, 1000 * cancelAfter) ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
