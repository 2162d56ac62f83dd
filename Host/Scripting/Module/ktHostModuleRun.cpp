// SPDX-License-Identifier: LGPL-2.1-or-later
// Functions of the module kthost for bakes, presets, threads, tracers, undo and redo.
#include "ktHostModuleRun.h"

#include "ktControllerState.h"
#include "ktFitMode.h"
#include "ktHostModuleError.h"
#include "ktHostModuleGuard.h"
#include "ktHostModuleNodes.h"
#include "ktHostModuleText.h"
#include "ktHostModuleWatch.h"
#include "ktNodePermission.h"
#include "ktScenegraph.h"
#include "ktScriptedPlugin.h"
#include "ktScriptedScene.h"
#include "ktThreadCount.h"
#include "ktTracerFactory.h"
#include "ktTriangleBudget.h"
#include "ktUndoStack.h"

#include <algorithm>

namespace python = boost::python;
using ktHostModuleGuard::refuse;
using ktHostModuleGuard::refuseWhileBaking;

bool ktHostModuleRun::bake(bool missing, const python::object& keep) {
    refuseWhileBaking();
    const std::string kept = ktTextArgument(keep, "keep");
    if (kept != "finished" && kept != "none")
        throw ktHostModuleError("keep is \"finished\" or \"none\", not \"" + kept + "\"");
    if (ktScenegraph::getRootNode() == osg::NullFC)
        refuse("no scene is open");
    const std::vector<ktNodePtr> selected = ktScenegraph::getSelectedRootNodes();
    if (std::all_of(selected.begin(), selected.end(), [](const ktNodePtr& node) { return node == osg::NullFC; }))
        refuse("nothing is selected");
    if (std::none_of(selected.begin(), selected.end(), [](const ktNodePtr& node) {
            return node != osg::NullFC && ktNodePermission::allows(node, ktNodePermission::ChangeIllumination);
        }))
        refuse("every selected node is locked");
    ktHostModuleNodes::refusePointsAndLines();
    if (const std::string obstacle = ktScriptedPlugin::the().findObstacle(); !obstacle.empty())
        refuse(obstacle);
    const ktHostModuleWatch::Keep choice(kept == "finished");
    bool hasRun = false;
    if (ktScriptedScene* const shared = ktScriptedScene::get()) {
        std::string reason;
        const ktScriptedScene::Bake end = shared->bake(missing, reason);
        if (end == ktScriptedScene::Bake::NothingToDo)
            return true;
        if (end == ktScriptedScene::Bake::Refused)
            refuse(reason);
        hasRun = true;
    } else
        hasRun = ktScriptedPlugin::the().start(missing);
    ktHostModuleWatch::raise();
    if (!hasRun)
        throw ktHostModuleError("ray tracing is not available");
    const ktRunEnd& end = ktControllerState::getLastRunEnd();
    if (end.kind == ktRunEnd::Failed)
        throw ktHostModuleError(end.reason);
    if (!missing && end.kind == ktRunEnd::Done && !ktHostModuleWatch::hasGeometry())
        refuse("the selection holds no geometry to calculate");
    return end.kind == ktRunEnd::Done;
}

python::object ktHostModuleRun::stats() {
    if (ktScenegraph::getRootNode() == osg::NullFC)
        refuse("no scene is open");
    ktScriptedScene* const shared = ktScriptedScene::get();
    return python::import("json").attr("loads")(shared ? shared->getStatistics()
                                                       : ktScriptedPlugin::the().getStatistics());
}

python::list ktHostModuleRun::presets() {
    python::list list;
    for (const std::string& name : ktScriptedPlugin::the().getPresetNames())
        list.append(ktTextResult(name));
    return list;
}

void ktHostModuleRun::applyPreset(const python::object& name) {
    refuseWhileBaking();
    const std::string text = ktTextArgument(name, "name");
    if (!ktScriptedPlugin::the().applyPreset(text))
        throw ktHostModuleError("no preset is called \"" + text + "\"");
}

void ktHostModuleRun::savePreset(const python::object& name, bool replace) {
    const std::string text = ktTextArgument(name, "name");
    if (text.empty())
        throw ktHostModuleError("a preset needs a name");
    if (const std::string reason = ktScriptedPlugin::the().savePreset(text, replace); !reason.empty())
        throw ktHostModuleError(reason);
}

void ktHostModuleRun::deletePreset(const python::object& name) {
    const std::string reason = ktScriptedPlugin::the().deletePreset(ktTextArgument(name, "name"));
    if (!reason.empty())
        throw ktHostModuleError(reason);
}

void ktHostModuleRun::setThreads(int count) {
    refuseWhileBaking();
    if (count < 0 || count > static_cast<int>(ktThreadCount::maxThreadCount))
        throw ktHostModuleError("threads are 1 to " + std::to_string(ktThreadCount::maxThreadCount) +
                                ", or 0 for one a core");
    ktThreadCount::set(static_cast<unsigned int>(count));
}

void ktHostModuleRun::setTracer(const python::object& name) {
    refuseWhileBaking();
    const std::string text = ktTextArgument(name, "name");
    const std::optional<ktTracerKind> kind = ktParseTracerKind(text);
    if (!kind)
        throw ktHostModuleError("a tracer is \"embree\" or \"hemisphere\", not \"" + text + "\"");
    ktChooseTracer(*kind);
}

void ktHostModuleRun::setFit(const python::object& name) {
    refuseWhileBaking();
    const std::string text = ktTextArgument(name, "name");
    const std::optional<ktFitMode> mode = ktParseFitMode(text);
    if (!mode)
        throw ktHostModuleError("a fit is \"surface\" or \"vertices\", not \"" + text + "\"");
    ktSetFitMode(*mode);
}

void ktHostModuleRun::setMaxTriangles(const python::object& budget) {
    refuseWhileBaking();
    ktTriangleBudget parsed;
    if (!budget.is_none()) {
        const std::string text = ktTextArgument(python::str(budget), "budget");
        if (!ktParseTriangleBudget(text, parsed))
            throw ktHostModuleError("a budget is a number of triangles, a factor such as \"4x\", or None, not \"" +
                                    text + "\"");
    }
    ktSetTriangleBudget(parsed);
}

bool ktHostModuleRun::undo() {
    refuseWhileBaking();
    ktUndoStack* const stack = ktUndoStack::get(0);
    const bool canUndo = stack->canUndo();
    stack->undo();
    return canUndo;
}

bool ktHostModuleRun::redo() {
    refuseWhileBaking();
    ktUndoStack* const stack = ktUndoStack::get(0);
    const bool canRedo = stack->canRedo();
    stack->redo();
    return canRedo;
}
