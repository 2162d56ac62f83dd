// SPDX-License-Identifier: LGPL-2.1-or-later
// Functions of the module kthost for bakes, presets, threads, tracers, undo and redo.
#include "ktHostModuleRun.h"

#include "ktControllerState.h"
#include "ktHostModuleError.h"
#include "ktHostModuleGuard.h"
#include "ktHostModuleText.h"
#include "ktHostModuleWatch.h"
#include "ktHostSignals.h"
#include "ktLogOutput.h"
#include "ktNodePermission.h"
#include "ktScenegraph.h"
#include "ktScriptedPlugin.h"
#include "ktThreadCount.h"
#include "ktTracerFactory.h"
#include "ktUndoStack.h"

#include <algorithm>
#include <mutex>

namespace python = boost::python;
using ktHostModuleGuard::refuse;
using ktHostModuleGuard::refuseWhileBaking;

namespace {

/// Stores the first error that is logged during its lifetime.
class FirstError {
public:
    FirstError() {
        connection = QObject::connect(
            &ktHostSignals::the(), &ktHostSignals::logged, &ktHostSignals::the(),
            [this](int level, const QString& line) {
                const std::lock_guard<std::mutex> guard(mutex);
                if (level == static_cast<int>(ktLogLevel::Error) && text.empty())
                    text = line.toStdString();
            },
            Qt::DirectConnection);
    }
    ~FirstError() { QObject::disconnect(connection); }

    std::string get() const {
        const std::lock_guard<std::mutex> guard(mutex);
        return text;
    }

private:
    QMetaObject::Connection connection;
    mutable std::mutex mutex;
    std::string text;
};

int findPreset(const std::string& name) {
    const std::vector<std::string> names = ktScriptedPlugin::the().getPresetNames();
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end())
        throw ktHostModuleError("no preset is called \"" + name + "\"");
    return static_cast<int>(found - names.begin());
}

} // namespace

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
    const ktHostModuleWatch::Keep choice(kept == "finished");
    const bool hasRun = ktScriptedPlugin::the().start(missing);
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

python::dict ktHostModuleRun::settings() {
    python::dict dict;
    for (const ktScriptedPlugin::Setting& setting : ktScriptedPlugin::the().getSettings()) {
        if (setting.kind == ktScriptedPlugin::Setting::Switch)
            dict[setting.name] = setting.value != 0;
        else if (setting.kind == ktScriptedPlugin::Setting::Integer)
            dict[setting.name] = static_cast<long>(setting.value);
        else
            dict[setting.name] = setting.value;
    }
    return dict;
}

python::list ktHostModuleRun::presets() {
    python::list list;
    for (const std::string& name : ktScriptedPlugin::the().getPresetNames())
        list.append(ktTextResult(name));
    return list;
}

void ktHostModuleRun::applyPreset(const python::object& name) {
    refuseWhileBaking();
    ktScriptedPlugin::the().applyPreset(findPreset(ktTextArgument(name, "name")));
}

void ktHostModuleRun::savePreset(const python::object& name) {
    const std::string text = ktTextArgument(name, "name");
    if (text.empty())
        throw ktHostModuleError("a preset needs a name");
    const FirstError error;
    ktScriptedPlugin::the().addPreset(text);
    if (!error.get().empty())
        throw ktHostModuleError(error.get());
}

void ktHostModuleRun::deletePreset(const python::object& name) {
    const int index = findPreset(ktTextArgument(name, "name"));
    const FirstError error;
    ktScriptedPlugin::the().deletePreset(index);
    if (!error.get().empty())
        throw ktHostModuleError(error.get());
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
    if (text != "embree" && text != "hemisphere")
        throw ktHostModuleError("a tracer is \"embree\" or \"hemisphere\", not \"" + text + "\"");
    ktChooseTracer(text == "embree" ? ktTracerKind::Embree : ktTracerKind::Hemisphere);
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
