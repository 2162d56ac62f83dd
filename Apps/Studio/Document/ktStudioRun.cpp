// SPDX-License-Identifier: LGPL-2.1-or-later
// Starts, watches and cancels runs, and puts each on the undo stack.
#include "ktStudioRun.h"

#include "ktAmbientOcclusion.h"
#include "ktBackgroundWork.h"
#include "ktBakedLight.h"
#include "ktCancelToken.h"
#include "ktControllerState.h"
#include "ktGeometryInstances.h"
#include "ktGeometryList.h"
#include "ktHostSentences.h"
#include "ktHostSignals.h"
#include "ktLog.h"
#include "ktNodePermission.h"
#include "ktNodeUtils.h"
#include "ktResultHint.h"
#include "ktRunProgress.h"
#include "ktRunRate.h"
#include "ktSceneCommands.h"
#include "ktScenegraph.h"
#include "ktSceneLights.h"
#include "ktStudioDocument.h"
#include "ktStudioSelection.h"
#include "ktThreadCount.h"
#include "ktTracingStatistics.h"
#include "ktTriangleBudget.h"
#include "ktUndoStack.h"

#include <algorithm>
#include <iostream>
#include <new>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <QCoreApplication>
#include <QLocale>

namespace {

constexpr double raysInterval_s = 1;
constexpr double leastMeasured_s = 0.3; ///< shorter runs say little about the speed

/// A failure is in the log already.
void logEnd(ktRunEnd::Kind kind, int geometries, double seconds) {
    if (kind == ktRunEnd::Done)
        ktLog::info("Baked: %d geometries in %s", geometries, formatDuration(seconds).c_str());
    else if (kind == ktRunEnd::Cancelled)
        ktLog::info("The bake was cancelled after %s", formatDuration(seconds).c_str());
}

double tracedRays() {
    const ktTracingStatistics counts = ktReadTracingStatistics();
    return static_cast<double>(counts.requested.direct + counts.requested.indirect + counts.refining.direct +
                               counts.refining.indirect) -
           static_cast<double>(counts.shared.direct + counts.shared.indirect);
}

/// The name of the first node that uses a geometry, or the nearest name above it.
QString partName(quint32 geometryId) {
    const auto geometry = osg::GeometryPtr::dcast(osg::FieldContainerFactory::the()->getContainer(geometryId));
    if (geometry == osg::NullFC || geometry->getParents().empty())
        return {};
    for (osg::NodePtr node = geometry->getParents()[0]; node != osg::NullFC; node = node->getParent())
        if (const char* const name = ktNodeUtils::getName(node); name && *name)
            return QString::fromUtf8(name);
    return {};
}

/// Rays of a vertex by the present settings.
ktRunRate::PerVertex raysPerVertex() {
    constexpr double shadowRays[] = {64, 256, 1024, 2304, 4096, 16384}, gatherRays[] = {64, 256, 576, 1024, 2304};
    const ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
    const int shadow = plugin.getShadowQuality(), gather = plugin.getGatherQuality();
    return {shadow >= 0 && shadow <= 5 ? shadowRays[shadow] : shadowRays[2],
            gather >= 0 && gather <= 4 ? gatherRays[gather] : gatherRays[4]};
}

bool haveResults(const std::vector<osg::NodePtr>& nodes) {
    bool isFound = false;
    for (const osg::NodePtr& node : nodes)
        ktForEachGeometryInstance(node, ktInstances::All, [&isFound](const ktGeometryInstance& instance) {
            isFound = isFound || ktFindBakedChannels(instance.geometry).results;
            return !isFound;
        });
    return isFound;
}

} // namespace

ktStudioRun::ktStudioRun(ktStudioDocument& document_, ktStudioSelection& selection_, QObject* parent)
    : QObject(parent), document(document_), selection(selection_) {}

ktStudioRun::~ktStudioRun() = default;

bool ktStudioRun::refuse(Refusal why) {
    emit refused(why);
    return false;
}

QString ktStudioRun::countText(double count) {
    return QString::fromStdString(formatCount(count)).replace('.', QLocale().decimalPoint());
}

// For the run that begins. After the counter's own connections, so that it has counted before.
void ktStudioRun::watch() {
    const ktHostSignals& host = ktHostSignals::the();
    connect(&host, &ktHostSignals::geometryStarted, counter.get(), [this](quint32 geometry, bool isBounce) {
        rate->begin(isBounce);
        state.phase = isBounce ? tr("Bounces") : tr("Shadows");
        state.part = partName(geometry);
        update();
    });
    connect(&host, &ktHostSignals::tracingProgress, counter.get(), [this] { update(); });
    connect(&host, &ktHostSignals::geometryTraced, counter.get(),
            [this] { rate->finish(counter->getVerticesTraced()); });
    connect(&host, &ktHostSignals::refinementProgress, counter.get(),
            [this](int round, int rounds, quint64 newVertices) {
                if (round > 0)
                    state.phase = tr("Refining: round %1 of %2, %3 new vertices")
                                      .arg(round)
                                      .arg(rounds)
                                      .arg(countText(static_cast<double>(newVertices)));
                update();
            });
}

void ktStudioRun::update() {
    const double now = secondsBetween(counter->getStart(), ktRunCounter::Clock::now());
    if (now >= lastUpdate_s && now - lastUpdate_s < updateInterval_s)
        return;
    lastUpdate_s = now;
    state.share = progress->share();
    state.seconds = now;
    state.secondsLeft = progress->secondsLeft();
    const double tracing = secondsBetween(counter->getTracingStart(), ktRunCounter::Clock::now());
    if (tracing > 0.5 && (now < lastRays_s || now - lastRays_s > raysInterval_s)) {
        lastRays_s = now;
        state.raysPerSecond = rate->measure(counter->getVerticesTraced(), tracedRays(), tracing);
        state.isRateLow = rate->isLow();
    }
    emit stateChanged();
}

bool ktStudioRun::start(bool missingOnly) {
    if (running)
        return false;
    if (!document.isOpen())
        return refuse(NothingOpen);
    const ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
    const std::vector<osg::NodePtr> selected = selection.get();
    if (selected.empty())
        return refuse(NothingSelected);
    if (std::none_of(selected.begin(), selected.end(), [](const osg::NodePtr& node) {
            return ktNodePermission::allows(node, ktNodePermission::ChangeIllumination);
        }))
        return refuse(AllLocked);
    if (!(plugin.getMinDistance() < plugin.getMaxDistance()))
        return refuse(WrongDistances);
    if (!ktCheckLights(document.getRoot()).empty())
        return refuse(NoLight);
    // So that the other nodes keep the settings that they were baked with.
    if (missingOnly && !selection.selectMissing(selected))
        return refuse(NothingMissing);
    running = true;
    isCancelled = false;
    state = {};
    state.phase = tr("Preparing");
    selection.setFrozen(true);
    emit runningChanged(true);
    const bool hasRun = calculate(missingOnly);
    running = false;
    selection.setFrozen(false);
    if (missingOnly)
        selection.set(selected);
    emit runningChanged(false);
    return hasRun;
}

bool ktStudioRun::calculate(bool missingOnly) {
    ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
    const ktStudioOptions& options = document.getOptions();
    ktThreadCount::set(static_cast<unsigned int>(options.threads));
    ktChooseTracer(options.tracer);
    ktSetFitMode(options.fit);
    ktTriangleBudget budget;
    ktParseTriangleBudget(options.maxTriangles.toStdString(), budget);
    ktSetTriangleBudget(budget);
    const auto started = ktRunCounter::Clock::now();
    const auto seconds = [started] { return secondsBetween(started, ktRunCounter::Clock::now()); };
    if (plugin.isIndirectIlluminationEnabled() && !document.loadPictures()) {
        emit ended(Ending::Failed, tr("Memory runs out while pictures are read."), seconds());
        return false;
    }
    QCoreApplication::processEvents(); // the window says what begins
    ktResultState before(selection.get(), ktRunInBackground);
    if (isCancelled) {
        emit ended(Ending::Cancelled, {}, seconds());
        return false;
    }
    counter = std::make_unique<ktRunCounter>();
    progress = std::make_unique<ktRunProgress>(*counter, countSelectedVertices());
    const bool isFitted = options.fit == ktFitMode::Surface;
    rate = std::make_unique<ktRunRate>(raysPerVertex(), isFitted ? surfaceRayFactor : 1);
    watch();
    lastUpdate_s = lastRays_s = 0;
    const double vertexRays = countVertexRays();
    const bool hasRun = plugin.startCalculation(missingOnly);
    std::cout.flush();
    const ktRunEnd end = ktControllerState::getLastRunEnd();
    const int geometries = counter->getNodeCount();
    const double tracing = counter->getTracingSeconds();
    progress.reset();
    counter.reset();
    if (!hasRun) {
        emit ended(Ending::Failed, tr("Ray tracing is not available. The log says why."), seconds());
        return false;
    }
    if (tracing > leastMeasured_s)
        measuredRaysPerSecond = tracedRays() / tracing;
    if (end.kind == ktRunEnd::Done && vertexRays > 0 && isFitted && !plugin.isSubdivideEnabled())
        surfaceRayFactor = tracedRays() / vertexRays;
    QCoreApplication::processEvents(); // what follows takes its time, too
    before.keepChanges();
    const bool isDone = end.kind == ktRunEnd::Done;
    if (!before.isEmpty())
        document.undoStack().add(new ktResultsCommand(isDone && missingOnly ? tr("Bake what is missing")
                                                      : isDone              ? tr("Bake")
                                                                            : tr("Bake, not to its end"),
                                                      std::move(before)));
    if (isDone && geometries == 0)
        return refuse(missingOnly ? NothingMissing : NoGeometry);
    logEnd(end.kind, geometries, seconds());
    emit ended(isDone                            ? Ending::Done
               : end.kind == ktRunEnd::Cancelled ? Ending::Cancelled
                                                 : Ending::Failed,
               QString::fromStdString(end.reason), seconds());
    if (isDone)
        giveHint();
    return true;
}

void ktStudioRun::giveHint() {
    QString hint;
    ktRunInBackground([&hint, nodes = selection.get(), diagonal = document.getDiagonal()] {
        try {
            hint = QString::fromStdString(ktHintAtResult(nodes, diagonal)); // reads all results
        } catch (const std::bad_alloc&) {                                   // then there is no hint
        }
    });
    if (hint.isEmpty())
        return;
    // The sentence names options of ktbake.
    hint.replace("--max-distance", "maximum distance");
    hint.replace("--exposure", "exposure");
    hint.replace("--ground-plane", "A ground plane (File, Reading options)");
    ktLog::info("%s", qUtf8Printable(hint));
    emit hinted(ktTranslateSentences(hint));
}

void ktStudioRun::cancel() {
    if (!running)
        return;
    isCancelled = true;
    document.cancelReading();
    ktCancelToken::the().cancel();
    ktAmbientOcclusion::the()->cancelCalculation();
}

void ktStudioRun::clear(Clear what, bool activeOnly) {
    if (running)
        return;
    const std::vector<osg::NodePtr> selected = selection.get();
    if (selected.empty()) {
        refuse(document.isOpen() ? NothingSelected : NothingOpen);
        return;
    }
    if (!haveResults(selected)) { // the plug-in would mark the geometry all the same
        refuse(NothingToClear);
        return;
    }
    ktResultState before(selected);
    ktAmbientOcclusion* plugin = ktAmbientOcclusion::the();
    if (what == Clear::Shadows)
        activeOnly ? plugin->clearActiveShadows() : plugin->clearAllShadows();
    else
        activeOnly ? plugin->clearActiveIndirect() : plugin->clearAllIndirect();
    before.keepChanges();
    if (before.isEmpty()) {
        refuse(NothingToClear);
        return;
    }
    document.undoStack().add(new ktResultsCommand(
        what == Clear::Shadows ? tr("Clear shadows") : tr("Clear indirect light"), std::move(before)));
    ktScenegraph::update(true);
}

void ktStudioRun::useSettings() {
    if (running)
        return;
    if (selection.isEmpty()) {
        refuse(document.isOpen() ? NothingSelected : NothingOpen);
        return;
    }
    const int step = document.undoStack().index();
    ktAmbientOcclusion::the()->loadSettings();
    if (document.undoStack().index() == step)
        refuse(NoSettings);
}

double ktStudioRun::estimateRays() const {
    const bool isFitted = document.getOptions().fit == ktFitMode::Surface;
    return countVertexRays() * (isFitted && surfaceRayFactor > 0 ? surfaceRayFactor : 1);
}

bool ktStudioRun::isEstimateLow() const {
    return document.getOptions().fit == ktFitMode::Surface && surfaceRayFactor == 0;
}

double ktStudioRun::countVertexRays() const {
    const ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
    const ktRunRate::PerVertex perVertex = raysPerVertex();
    double rays = perVertex.shadows;
    if (plugin.isIndirectIlluminationEnabled())
        rays += plugin.getNumOfIndirections() * perVertex.bounce;
    return rays * static_cast<double>(countSelectedVertices());
}

double ktStudioRun::estimateSeconds() const {
    return measuredRaysPerSecond > 0 ? estimateRays() / measuredRaysPerSecond : -1;
}
