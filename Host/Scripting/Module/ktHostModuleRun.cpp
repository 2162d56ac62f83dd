// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktHostModuleRun.h"

#include "ktCancelToken.h"
#include "ktControllerState.h"
#include "ktHostModuleError.h"
#include "ktHostModuleText.h"
#include "ktHostSignals.h"
#include "ktLogOutput.h"
#include "ktScenegraph.h"
#include "ktScriptedPlugin.h"
#include "ktThreadCount.h"
#include "ktTracerFactory.h"
#include "ktUndoStack.h"

#include <algorithm>
#include <mutex>

namespace python = boost::python;

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

void refuseWhileBaking() {
    if (ktControllerState::isBusy())
        throw ktHostModuleError("a bake is under way");
}

} // namespace

bool ktHostModuleRun::bake(bool missing) {
    refuseWhileBaking();
    if (ktScenegraph::getSelectedRootNodes().empty())
        throw ktHostModuleError("nothing is selected");
    const FirstError error;
    const bool hasRun = ktScriptedPlugin::the().start(missing);
    if (!error.get().empty())
        throw ktHostModuleError(error.get());
    if (!hasRun)
        throw ktHostModuleError("every selected node is locked");
    return !ktCancelToken::the().isCanceled();
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
