// SPDX-License-Identifier: LGPL-2.1-or-later
// Measures the window with a large scene: time to open, gaps of the event loop while it bakes, time to cancel, memory;
// opening and memory also as ratios to ktbake's. Needs a display (xvfb-run).
#include "ktAmbientOcclusion.h"
#include "ktCommandLine.h"
#include "ktHostSignals.h"
#include "ktLoopGaps.h"
#include "ktPresetStore.h"
#include "ktSceneView.h"
#include "ktStudioWindow.h"
#include "ktThreadCount.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <OpenSG/OSGBaseFunctions.h>
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <vector>

namespace {

double milliseconds(const QElapsedTimer& timer) {
    return static_cast<double>(timer.nsecsElapsed()) * 1e-6;
}

/// Most memory that the process has used so far, in MiB.
double peakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmHWM:", 0) == 0)
            return std::atof(line.c_str() + 6) / 1024;
    return 0;
}

double load() {
    double one = 0;
    return getloadavg(&one, 1) == 1 ? one : 0;
}

/// What `ktbake --stats` tells about a bake of the scene; empty if it fails.
QJsonObject runBake(const std::string& ktbake, const std::string& scene, int quality) {
    const QTemporaryDir folder;
    const QString stats = folder.filePath("stats.json");
    QProcess process;
    process.start(QString::fromStdString(ktbake),
                  {QString::fromStdString(scene), "-o", folder.filePath("baked.glb"), "--shadow-quality",
                   QString::number(quality), "--no-indirect", "--quiet", "--stats", stats});
    process.waitForFinished(-1);
    QFile file(stats);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "%s\n", process.readAllStandardError().constData());
        return {};
    }
    return QJsonDocument::fromJson(file.readAll()).object();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Median time of processes of ktbake that only read the scene: it has no node of the name they ask for. Milliseconds.
double timeReadingProcess(const std::string& ktbake, const std::string& scene) {
    std::vector<double> times;
    for (int i = 0; i < 5; ++i) {
        const QTemporaryDir folder;
        QElapsedTimer timer;
        timer.start();
        QProcess process;
        process.start(QString::fromStdString(ktbake), {QString::fromStdString(scene), "-o", folder.filePath("none.glb"),
                                                       "--quiet", "--select", "no node has this name"});
        process.waitForFinished(-1);
        times.push_back(milliseconds(timer));
    }
    return median(times);
}

/// Opens the scene some times and measures the time to the first picture.
class Openings {
public:
    Openings(ktStudioWindow& window_, ktSceneView& view_) : window(window_), view(view_) {
        QObject::connect(&window.getDocument(), &ktStudioDocument::opened, [this] { isOpen = true; });
        QObject::connect(&view, &ktSceneView::pictureShown, [this] {
            if (!isOpen || isShown)
                return;
            isShown = true;
            pictures_ms.push_back(milliseconds(timer));
            spent = ktThreadTimes::now() - before;
        });
    }

    /// Returns whether it was opened.
    bool open(const QString& scene) {
        isOpen = isShown = false;
        before = ktThreadTimes::now();
        timer.start();
        window.openFile(scene);
        while (isOpen && !isShown)
            QApplication::processEvents(QEventLoop::WaitForMoreEvents, 10);
        if (isOpen)
            std::printf("opened to the first picture: %.0f ms, of which %.0f ms to read it; the main thread was %.0f "
                        "ms on a processor and waited %.0f ms for one\n",
                        pictures_ms.back(), 1000 * window.getDocument().getReadSeconds(), spent.ran_ms,
                        spent.waited_ms);
        return isOpen;
    }
    double first() const { return pictures_ms.front(); }
    double middle() const { return median(pictures_ms); }

private:
    ktStudioWindow& window;
    ktSceneView& view;
    QElapsedTimer timer;
    ktThreadTimes before, spent;
    bool isOpen = false, isShown = false;
    std::vector<double> pictures_ms;
};

/// Handles events until the full picture is on the screen.
void settle(const ktSceneView& view) {
    while (!view.isSettled())
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 10);
    QApplication::processEvents();
}

/// Reads the file again and cancels that at several moments.
void measureCancels(ktStudioWindow& window, const QString& scene) {
    ktStudioDocument& document = window.getDocument();
    const double read_ms = 1000 * document.getReadSeconds();
    double longest_ms = 0;
    int count = 0;
    for (const double share : {0.02, 0.2, 0.4, 0.6, 0.8, 0.95}) {
        QElapsedTimer timer;
        QTimer cancel;
        cancel.setSingleShot(true);
        cancel.setTimerType(Qt::PreciseTimer);
        QObject::connect(&cancel, &QTimer::timeout, [&] {
            timer.start();
            document.cancelReading();
        });
        cancel.start(static_cast<int>(share * read_ms));
        if (!document.open(scene)) {
            longest_ms = std::max(longest_ms, milliseconds(timer));
            ++count;
        }
        QApplication::processEvents();
    }
    std::printf("cancelled %d times while it was read: idle after at most %.1f ms\n", count, longest_ms);
}

} // namespace

int main(int count, char** arguments) {
    osg::osgInit(count, arguments);
    std::string scene, ktbake;
    const int quality = 0;
    int trace_ms = 0;
    bool opensOnly = false, hasSamePriority = false;
    ktCommandLine line("The window with a large scene");
    line.addRequired("scene", scene, "scene file");
    line.add("--ktbake", ktbake, "ktbake to compare with");
    line.addPositive("--trace", trace_ms, "prints the calls in gaps that are longer, milliseconds");
    line.addFlag("--open-only", opensOnly, "measures only opening");
    line.addFlag("--same-priority", hasSamePriority, "tracing threads have the priority of the main thread");
    if (const auto code = line.parse(count, arguments))
        return *code;

    const QJsonObject baker = ktbake.empty() ? QJsonObject() : runBake(ktbake, scene, quality);
    const double readingProcess_ms = ktbake.empty() ? 0 : timeReadingProcess(ktbake, scene);
    const QTemporaryDir preferences;
    qputenv("KT_PREFERENCES_DIR", (preferences.path() + "/").toUtf8());
    QApplication application(count, arguments);
    ktPresetStore::load();
    ktStudioWindow window;
    if (hasSamePriority)
        ktThreadCount::setLowPriority(false);
    window.resize(1280, 800);
    window.show();
    window.begin();
    auto* const view = window.findChild<ktSceneView*>();
    QElapsedTimer beforeOpening; // OpenGL starts beside the empty page
    for (beforeOpening.start(); beforeOpening.elapsed() < 1000 || view->isWarmingUp();)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 10);
    std::printf("load %.1f\n", load());

    const auto phase = [&window] {
        const ktStudioRun& run = window.getRun();
        return (run.isRunning() ? run.getState().phase : QString("idle")).toStdString();
    };
    const auto measureGaps = [&] { return std::make_unique<ktLoopGaps>(phase, static_cast<double>(trace_ms)); };
    QElapsedTimer timer;
    Openings openings(window, *view);
    {
        const auto gaps = measureGaps();
        if (!openings.open(QString::fromStdString(scene)))
            return 1;
        gaps->print("opening");
    }
    {
        const auto gaps = measureGaps();
        settle(*view);
        gaps->print("full picture");
    }
    // Later, because two scenes exist for a moment.
    const auto openAgain = [&] {
        for (int again = 0; again < 4; ++again) {
            openings.open(QString::fromStdString(scene));
            settle(*view);
        }
        if (!baker.isEmpty()) {
            const double read = 1000 * baker["seconds"].toObject()["read"].toDouble();
            std::printf(
                "ktbake reads it in %.0f ms: the first opening takes %.2f times as long, the median of five %.2f "
                "times\n",
                read, openings.first() / read, openings.middle() / read);
            std::printf(
                "a process of ktbake that only reads it takes %.0f ms: the first opening takes %.2f times as long, "
                "the median of five %.2f times\n",
                readingProcess_ms, openings.first() / readingProcess_ms, openings.middle() / readingProcess_ms);
        }
    };
    measureCancels(window, QString::fromStdString(scene));
    if (opensOnly) {
        openAgain();
        return 0;
    }
    ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
    plugin.setShadowQuality(quality);
    plugin.setIndirectIlluminationEnabled(false);

    {
        const auto gaps = measureGaps();
        timer.start();
        window.getRun().start(false);
        std::printf("baked in %.1f s\n", milliseconds(timer) / 1000);
        gaps->print("baking");
    }
    const double memory = peakMemory();
    {
        bool isCancelled = false;
        ktThreadTimes before;
        double tracingEnd = 0;
        const auto connection = QObject::connect(&window.getRun(), &ktStudioRun::stateChanged, [&] {
            if (!isCancelled && window.getRun().getState().share > 0.3) {
                isCancelled = true;
                QTimer::singleShot(0, [&] {
                    timer.start();
                    before = ktThreadTimes::now();
                    window.getRun().cancel();
                });
            }
        });
        const auto end = QObject::connect(&ktHostSignals::the(), &ktHostSignals::runEnded,
                                          [&] { tracingEnd = milliseconds(timer); });
        const auto gaps = measureGaps();
        window.getRun().start(false);
        const double idle = milliseconds(timer);
        const ktThreadTimes spent = ktThreadTimes::now() - before;
        std::printf("cancel to idle: %.0f ms, of which %.0f ms to the end of the tracing; the main thread was %.0f ms "
                    "on a processor and waited %.0f ms for one%s\n",
                    idle, tracingEnd, spent.ran_ms, spent.waited_ms, isCancelled ? "" : " (it was not cancelled)");
        QObject::disconnect(connection);
        QObject::disconnect(end);
        gaps->print("cancelled bake");
    }
    {
        const auto gaps = measureGaps();
        timer.start();
        const QTemporaryDir folder;
        window.getDocument().saveAs(folder.filePath("saved.glb"));
        std::printf("saved in %.1f s\n", milliseconds(timer) / 1000);
        gaps->print("saving");
    }
    if (!baker.isEmpty()) {
        const double bakerMemory = baker["peakMemoryMiB"].toDouble();
        std::printf("memory: %.0f MiB, ktbake %.0f MiB: %.2f times as much\n", memory, bakerMemory,
                    memory / bakerMemory);
    } else
        std::printf("memory: %.0f MiB\n", memory);
    openAgain();
    std::printf("load %.1f\n", load());
    return 0;
}
