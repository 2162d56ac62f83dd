// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs a bake step by step: checks outputs, opens the scene, prepares, calculates and writes.
#include "ktBakeRun.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeCheckpoint.h"
#include "ktBakeExit.h"
#include "ktBakeLastWords.h"
#include "ktBakeMessages.h"
#include "ktBakeOptions.h"
#include "ktBakeOutput.h"
#include "ktBakePresets.h"
#include "ktBakeProgress.h"
#include "ktBakeRankStats.h"
#include "ktBakeScene.h"
#include "ktBakeSettings.h"
#include "ktBakeSignals.h"
#include "ktBakeSpace.h"
#include "ktBakeStats.h"
#include "ktControllerState.h"
#include "ktGeometryInstances.h"
#include "ktGeometryList.h"
#include "ktLog.h"
#include "ktLogOutput.h"
#include "ktRaytracingManager.h"
#include "ktReadRecord.h"
#include "ktResultHint.h"
#include "ktScenegraph.h"
#include "ktSceneLights.h"
#include "ktSettingsCheck.h"
#include "ktThreadCount.h"
#include "ktTracingStatistics.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <new>
#include <sys/stat.h>
#include <system_error>

namespace {

/// After a failure, so that nobody takes the output for the old file.
void sayWritten(const ktBakeOptions& options) {
    if (const std::string output = ktBakeMessages::shown(options.output); output != "-")
        ktBakeMessages::logReason(ktLogLevel::Info, output, "is written and complete");
}

/// Finds out whether a file is replaced. Needs no memory.
class Replacement {
public:
    /// @param path_ must outlive the object
    explicit Replacement(const std::string& path_) : path(path_), before(find()) {}
    bool isDone() const {
        const Identity now = find();
        return now.device != before.device || now.file != before.file;
    }

private:
    struct Identity {
        dev_t device = 0;
        ino_t file = 0;
    };
    Identity find() const {
        struct stat found = {};
        return stat(path.c_str(), &found) == 0 ? Identity{found.st_dev, found.st_ino} : Identity();
    }

    const std::string& path;
    const Identity before;
};

/// One bake. Each step returns an exit code; the first that is not `done` ends the bake.
class Run {
public:
    Run(const ktBakeOptions& options_, ktBakeSignals& interrupts_, ktRunStatistics& stats_)
        : options(options_), interrupts(interrupts_), stats(stats_) {}

    int bake() {
        ktBakeWatch whole;
        interrupts.letThrough();
        for (const auto step : {&Run::checkOutputs, &Run::open, &Run::prepare, &Run::calculate, &Run::write}) {
            const int exitCode = (this->*step)();
            if (interrupts.isInterrupted() && step != &Run::write) {
                ktLog::error("Cancelled; nothing is written.");
                scene.abandon();
                return ktBakeExit::cancelled;
            }
            if (exitCode == ktBakeExit::cancelled)
                scene.abandon();
            if (exitCode == ktBakeExit::failed)
                ktBakeLastWords::endSoon();
            if (exitCode != ktBakeExit::done)
                return exitCode;
        }
        stats.totalSeconds = whole.lap();
        return ktBakeExit::done;
    }

private:
    const ktBakeOptions& options;
    ktBakeSignals& interrupts;
    ktBakeScene scene;
    ktRunStatistics& stats;
    ktBakeWatch watch;
    const ktBakeRankStats rankStats;
    ktBakeCheckpoint checkpoint;

    /// Checks before hours of tracing that the results can be written.
    int checkOutputs() {
        if (!options.output.empty() && !canBeWritten(options.output, ktBakeTarget::File))
            return ktBakeExit::notWritten;
        for (const std::string& file : {options.preview, options.stats})
            if (!file.empty() && !canBeWritten(file, ktBakeTarget::Anything))
                return ktBakeExit::notWritten;
        return ktBakeExit::done;
    }

    /// Picture and statistics must not replace a texture or a buffer of the scene. Knows those that have been read.
    int checkInputs() const {
        for (const std::string& file : {options.preview, options.stats})
            if (ktReadRecord::has(QString::fromStdString(file))) {
                ktBakeMessages::logReason(ktLogLevel::Error, file, "cannot be written: the scene uses this file");
                return ktBakeExit::notWritten;
            }
        return ktBakeExit::done;
    }

    int open() {
        ktBakeLastWords::setStep(options.scene, "reading");
        watch.lap();
        const int exitCode = scene.open(options, [this] { return interrupts.isInterrupted(); });
        stats.readSeconds = watch.lap();
        if (exitCode != ktBakeExit::done)
            return exitCode;
        stats.scene = options.scene;
        stats.tracer = ktNameOf(options.tracer);
        stats.sceneDiagonal = scene.getDiagonal();
        stats.addScene(scene.getGeometries());
        if (const int found = scene.findPreviewView(options); found != ktBakeExit::done)
            return found;
        if (!options.preview.empty() && !scene.loadPictures([this] { return interrupts.isInterrupted(); }))
            return ktBakeExit::failed;
        if (const int used = checkInputs(); used != ktBakeExit::done)
            return used;
        return scene.addGroundPlane(options);
    }

    int prepare() {
        ktBakeLastWords::setStep(options.scene, "preparing the bake");
        osg::NodePtr settingsNode = osg::NullFC;
        if (const int exitCode = scene.findSettingsNode(options, settingsNode); exitCode != ktBakeExit::done)
            return exitCode;
        const std::uint64_t errors = ktLogOutput::getCount(ktLogLevel::Error);
        if (const int exitCode = applySettings(options, settingsNode, scene.getDiagonal());
            exitCode != ktBakeExit::done)
            return exitCode;
        if (ktLogOutput::getCount(ktLogLevel::Error) != errors)
            return ktBakeExit::failed; // the host logs changes of settings that fail
        if (const int exitCode = editPresets(options); exitCode != ktBakeExit::done)
            return exitCode;
        if (const std::string warning = findUselessSettings(); !warning.empty())
            ktLog::warning("%s", warning.c_str());
        if (options.clear == ktBakeClear::Nothing)
            warnAboutDistances(options, scene.getDiagonal());
        stats.settings = describeSettings();
        return scene.select(options);
    }

    int calculate() {
        ktBakeLastWords::setStep(options.scene, "baking");
        if (options.clear != ktBakeClear::Nothing) {
            clear();
            return ktBakeExit::done;
        }
        if (options.missing && ktScenegraph::getSelectedRootNodes().empty()) {
            ktLog::info("Nothing is missing.");
            return ktBakeExit::done;
        }
        if (ktHasNoTriangles(ktScenegraph::getSelectedRootNodes()))
            return refuse("the selection holds no triangles; points or lines are not baked");
        if (const std::string reason = ktCheckLights(ktScenegraph::getRootNode()); !reason.empty())
            return refuse(reason);
        followScene(options, scene.getDiagonal());
        stats.settings = describeSettings();
        if (ktAmbientOcclusion::the()->isIndirectIlluminationEnabled() && !scene.loadPictures())
            return ktBakeExit::failed;
        const std::uint64_t vertices = countSelectedVertices();
        if (!canHold(vertices))
            return ktBakeExit::notWritten;
        if (const int exitCode = checkpoint.begin(options, stats.settings); exitCode != ktBakeExit::done)
            return exitCode;
        ktBakeProgress progress(vertices, !options.quiet);
        watch.lap();
        const bool hasRun = ktAmbientOcclusion::the()->startCalculation(options.missing);
        std::cout.flush();
        checkpoint.end();
        const double seconds = watch.lap();
        stats.ranks = rankStats.toJson();
        stats.addTracing(ktReadTracingStatistics(), scene.getGeometries());
        stats.geometriesCalculated = progress.getCounter().getNodeCount();
        stats.verticesTraced = progress.getCounter().getVerticesTraced();
        stats.structureSeconds = progress.getCounter().getStructureSeconds();
        stats.tracingSeconds = progress.getCounter().getTracingSeconds();
        stats.storingSeconds = std::max(0.0, seconds - stats.structureSeconds - stats.tracingSeconds);
        if (interrupts.isInterrupted())
            return ktBakeExit::cancelled;
        if (!hasRun && !ktRaytracingManager::getRaytracingUtils())
            return ktBakeExit::failed; // the reason is in the log
        if (!hasRun)
            return refuse("nothing can be calculated: every selected node is locked");
        // Its reason is in the log.
        if (ktControllerState::getLastRunEnd().kind != ktRunEnd::Done)
            return ktBakeExit::failed;
        if (stats.geometriesCalculated == 0)
            ktLog::info("%s",
                        options.missing ? "Nothing is missing." : "The selection holds no geometry to calculate.");
        else
            giveHint();
        return ktBakeExit::done;
    }

    /// Checks before hours of tracing that the results have space. Refinement may need more than this finds.
    bool canHold(std::uint64_t vertices) const {
        const ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
        const bool hasIndirect = plugin.isIndirectIlluminationEnabled();
        std::vector<ktBakeSpaceNeed> needs;
        needs.push_back({options.output, scene.leastDataSize(options) + leastSizeOfResults(vertices, hasIndirect)});
        if (!options.checkpoint.empty()) {
            std::error_code error;
            const std::uintmax_t before = std::filesystem::file_size(options.checkpoint, error);
            const std::uint64_t size = leastSizeOfCheckpoint(vertices, plugin.getMode() != ktAmbientOcclusion::Classic,
                                                             hasIndirect ? plugin.getNumOfIndirections() : 0);
            needs.push_back({options.checkpoint, error ? size : size - std::min<std::uint64_t>(before, size)});
        }
        return hasSpace(needs);
    }

    /// Logs why the scene cannot be baked like this.
    int refuse(const std::string& reason) const {
        ktBakeMessages::logReason(ktLogLevel::Error, options.scene, reason);
        return ktBakeExit::badInput;
    }

    void giveHint() const {
        const std::string hint = ktHintAtResult(ktScenegraph::getSelectedRootNodes(), scene.getDiagonal());
        if (!hint.empty())
            ktBakeMessages::logReason(ktLogLevel::Info, options.scene, hint);
    }

    void clear() const {
        ktAmbientOcclusion* plugin = ktAmbientOcclusion::the();
        if (options.clear == ktBakeClear::Shadows)
            options.activeOnly ? plugin->clearActiveShadows() : plugin->clearAllShadows();
        else
            options.activeOnly ? plugin->clearActiveIndirect() : plugin->clearAllIndirect();
    }

    int write() {
        interrupts.holdBack();
        watch.lap();
        ktBakeLastWords::setStep(options.output, "writing");
        ktBakeLastWords::prepareStep(options.output, "ending; this file is written");
        const Replacement replacement(options.output);
        try {
            const int exitCode = scene.save(options, [this] { return interrupts.isInterrupted(); });
            if (exitCode == ktBakeExit::cancelled)
                ktLog::error("Cancelled; nothing is written.");
            else if (exitCode != ktBakeExit::done && replacement.isDone())
                sayWritten(options);
            if (exitCode != ktBakeExit::done)
                return exitCode;
        } catch (const std::bad_alloc&) { // perhaps only a message about the file
            if (replacement.isDone())
                ktBakeLastWords::beginPreparedStep();
            throw;
        }
        ktBakeLastWords::beginPreparedStep();
        checkpoint.remove();
        stats.output = options.output;
        ktBakeMessages::addToResult("output", options.output);
        stats.writeSeconds = watch.lap();
        if (options.preview.empty())
            return ktBakeExit::done;
        interrupts.letThrough();
        const bool isDrawn = scene.drawPreview(options, [this] { return interrupts.isInterrupted(); });
        interrupts.holdBack(); // for the statistics
        stats.previewSeconds = watch.lap();
        if (isDrawn)
            return ktBakeExit::done;
        if (!interrupts.isInterrupted()) {
            sayWritten(options);
            return ktBakeExit::notWritten;
        }
        const std::string output = ktBakeMessages::shown(options.output);
        ktLog::error("Cancelled; %s",
                     output == "-" ? "nothing is written." : (output + " is written, the picture is not.").c_str());
        return ktBakeExit::cancelled;
    }
};

} // namespace

void beginBakes(const ktBakeOptions& options) {
    ktThreadCount::set(static_cast<unsigned int>(options.threads));
    ktChooseTracer(options.tracer);
    ktSetFitMode(options.fit);
    ktSetTriangleBudget(options.maxTriangles);
    if (options.quiet)
        ktBakeMessages::dropCalculationOutput();
}

int bakeScene(const ktBakeOptions& options, ktBakeSignals& interrupts, ktRunStatistics& stats) {
    return Run(options, interrupts, stats).bake();
}

int runBake(const ktBakeOptions& options) {
    if (options.scene.empty()) {
        int exitCode = applySettings(options, osg::NullFC, 0);
        if (exitCode == ktBakeExit::done)
            exitCode = editPresets(options);
        if (exitCode == ktBakeExit::done && options.listPresets)
            printPresets();
        return exitCode;
    }
    if (options.listPresets)
        printPresets();
    beginBakes(options);
    const ktReadRecord read;
    ktBakeSignals interrupts;
    ktRunStatistics stats;
    if (const int exitCode = bakeScene(options, interrupts, stats); exitCode != ktBakeExit::done)
        return exitCode;
    if (!options.stats.empty() && !writeStats(stats, options.stats)) {
        sayWritten(options);
        return ktBakeExit::notWritten;
    }
    ktBakeMessages::logReason(ktLogLevel::Info, options.output, "written in " + formatDuration(stats.totalSeconds));
    return ktBakeExit::done;
}
