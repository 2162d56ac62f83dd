// SPDX-License-Identifier: LGPL-2.1-or-later
// Measures the frames of the viewport while the camera orbits, and writes its pictures. Needs a display (xvfb-run).
#include "ktCommandLine.h"
#include "ktGlCanvas.h"
#include "ktSceneFile.h"
#include "ktSceneState.h"
#include "ktSceneView.h"
#include "ktViewCamera.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>
#include <OpenSG/OSGBaseFunctions.h>
#include <QApplication>
#include <QElapsedTimer>
#include <QScreen>

namespace {

const std::map<std::string, ktViewMode> modes = {
    {"baked", ktViewMode::Baked},      {"occlusion", ktViewMode::Occlusion},    {"indirect", ktViewMode::IndirectLight},
    {"light", ktViewMode::BakedLight}, {"colours", ktViewMode::SurfaceColours}, {"false", ktViewMode::FalseColours}};

double milliseconds(const QElapsedTimer& timer) {
    return static_cast<double>(timer.nsecsElapsed()) * 1e-6;
}

/// Handles events until the view shows the full picture; returns the longest time of one round of the event loop.
double settle(const ktSceneView& view) {
    double longest = 0;
    QElapsedTimer all;
    all.start();
    bool wasSettled = false; // the last picture still has to reach the screen
    while (!(wasSettled && view.isSettled()) && all.elapsed() < 300000) {
        wasSettled = view.isSettled();
        QElapsedTimer round;
        round.start();
        QApplication::processEvents(QEventLoop::AllEvents);
        longest = std::max(longest, milliseconds(round));
    }
    return longest;
}

double share(std::vector<double> times, double part) {
    std::sort(times.begin(), times.end());
    return times[static_cast<std::size_t>(part * static_cast<double>(times.size() - 1))];
}

} // namespace

int main(int count, char** arguments) {
    osg::osgInit(count, arguments);
    std::string scene, mode = "baked", picture, moving;
    int width = 1280, height = 800, frames = 100;
    bool wires = false, headlight = false, parallel = false, marks = false, traced = false;
    ktCommandLine line("Frames of the viewport while the camera orbits");
    line.addRequired("scene", scene, "scene file");
    line.addPositive("--width", width, "of the view, pixels");
    line.addPositive("--height", height, "of the view, pixels");
    line.addPositive("--frames", frames, "pictures while moving");
    line.addChoice("--mode", mode, "what surfaces show",
                   {"baked", "occlusion", "indirect", "light", "colours", "false"});
    line.add("--picture", picture, "file for the full picture");
    line.add("--moving", moving, "file for the last picture while moving");
    line.addFlag("--wires", wires, "with wires");
    line.addFlag("--headlight", headlight, "with headlight");
    line.addFlag("--parallel", parallel, "parallel projection");
    line.addFlag("--marks", marks, "marks the first part");
    line.addFlag("--traced", traced, "draws with the ray tracer");
    if (const auto code = line.parse(count, arguments))
        return *code;

    QApplication application(count, arguments);
    ktFileReport report;
    const std::unique_ptr<ktSceneFile> file = ktSceneFile::open(QString::fromStdString(scene), {}, report);
    if (!file) {
        std::fprintf(stderr, "%s\n", report.error.c_str());
        return 1;
    }
    file->loadPictures(report);
    ktSceneState::setRootNode(file->getRoot());
    {
        ktSceneView view(nullptr, traced ? ktSceneView::Drawing::RayTracer : ktSceneView::Drawing::Automatic);
        view.resize(width, height);
        view.setViewMode(modes.at(mode));
        view.setWireOverlay(wires);
        view.setHeadlight(headlight);
        view.setParallelProjection(parallel);
        view.show();
        QElapsedTimer timer;
        timer.start();
        view.setScene(file->getRoot());
        if (marks)
            view.setSelection({file->getTopNodes().front()});
        std::printf("scene read: %.0f ms\n", milliseconds(timer));
        const double longest = settle(view);
        std::printf("full picture after %.0f ms, longest round of the event loop %.0f ms\n", milliseconds(timer),
                    longest);
        const auto* canvas = dynamic_cast<ktGlCanvas*>(view.findChild<QOpenGLWidget*>());
        for (QElapsedTimer wait; canvas && !canvas->statistics().hasLevels && (wait.start(), timer.elapsed() < 20000);)
            QApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);

        std::vector<double> times, processorTimes;
        for (int i = 0; i < frames; ++i) {
            QElapsedTimer frame;
            frame.start();
            const std::clock_t before = std::clock();
            ktViewCamera camera = view.camera();
            camera.orbit(0.05, 0);
            view.setCamera(camera);
            view.repaint();
            QApplication::processEvents();
            if (i < frames / 4)
                continue; // the first ones find the quality
            times.push_back(milliseconds(frame));
            processorTimes.push_back(1000.0 * static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC);
        }
        std::printf(
            "frame while moving: median %.1f ms, 95 %% %.1f ms, slowest %.1f ms; processor time of all threads: "
            "median %.1f ms\n",
            share(times, 0.5), share(times, 0.95), share(times, 1), share(processorTimes, 0.5));
        if (canvas) {
            const ktGlCanvas::Statistics last = canvas->statistics();
            std::printf("last: picture %.1f ms, scale 1/%d, detail %.1f pixels, %zu triangles, %zu batches; uploaded "
                        "%.1f MB of shapes, %.1f MB of results\n",
                        last.movingPicture_ms, last.movingQuality.scale, last.movingQuality.detail_px,
                        last.movingTriangles, last.movingBatches, static_cast<double>(last.uploaded.shapes) * 1e-6,
                        static_cast<double>(last.uploaded.results) * 1e-6);
        }
        if (!moving.empty())
            view.screen()->grabWindow(view.winId()).save(QString::fromStdString(moving));
        timer.restart();
        std::printf("longest round of the event loop until the full picture: %.0f ms; ", settle(view));
        std::printf("full picture after %.0f ms\n", milliseconds(timer));
        if (!picture.empty())
            view.screen()->grabWindow(view.winId()).save(QString::fromStdString(picture));
        view.setScene(OSG::NullFC);
    }
    ktSceneState::setRootNode(OSG::NullFC);
    return 0;
}
