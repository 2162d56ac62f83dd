// SPDX-License-Identifier: LGPL-2.1-or-later
// Functions of the module kthost that open, close, save and preview the scene.
#include "ktHostModuleScene.h"

#include "ktCancelToken.h"
#include "ktHostModuleError.h"
#include "ktHostModuleGuard.h"
#include "ktHostModuleText.h"
#include "ktInterruptGuard.h"
#include "ktLengthUnit.h"
#include "ktLog.h"
#include "ktPreview.h"
#include "ktPythonObject.h"
#include "ktSceneFile.h"
#include "ktScenegraph.h"
#include "ktSceneState.h"
#include "ktScriptedPlugin.h"
#include "ktScriptedScene.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <memory>
#include <new>
#include <utility>

namespace python = boost::python;
using ktHostModuleGuard::refuse;
using ktHostModuleGuard::refuseWhileBaking;

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

struct OpenScene {
    std::unique_ptr<ktSceneFile> file;
    std::string name; // as the script gave it
};

OpenScene& scene() {
    // Never destroyed: at the end of the process the scene graph's static objects may be destroyed first.
    static auto& instance = *new OpenScene;
    return instance;
}

void logMessages(const std::string& name, const ktFileReport& report) {
    for (const ktFileWarning& warning : report.messages.warnings())
        ktLog::warning("%s: %s", name.c_str(), warning.text().c_str());
    for (const std::string& note : report.messages.notes())
        ktLog::info("%s: %s", name.c_str(), note.c_str());
}

/// The file of the application whose scene scripts share, else that of this module; null if none is open.
ktSceneFile* currentFile() {
    ktScriptedScene* const shared = ktScriptedScene::get();
    return shared ? shared->getFile() : scene().file.get();
}

ktSceneFile& openFile() {
    ktSceneFile* const file = currentFile();
    if (!file)
        refuse("no scene is open");
    return *file;
}

/// Throws a reason that is not empty.
void check(const std::string& reason) {
    if (!reason.empty())
        throw ktHostModuleError(reason);
}

/// During its lifetime, Ctrl-C does not wait for the end of the call. Interrupts the call also if the handler of a
/// script raises nothing.
class Interrupt {
public:
    ~Interrupt() { ktCancelToken::the().reset(); }

    static bool isRequested() { return ktCancelToken::the().isCanceled(); }
    /// After an interrupt, raises what the interpreter's handler raises: KeyboardInterrupt for Ctrl-C.
    static void raise() {
        if (!isRequested())
            return;
        if (PyErr_CheckSignals() != 0)
            python::throw_error_already_set();
        throw ktHostModuleError("interrupted");
    }

private:
    // The guard ends a run by number: this call is the next one.
    const std::uint64_t run = ktCancelToken::the().beginRun();
    const ktInterruptGuard guard{[] {}};
};

float checkExposure(double exposure) {
    if (!std::isfinite(exposure) || exposure <= 0)
        throw ktHostModuleError("the exposure must be a number above 0");
    return static_cast<float>(exposure);
}

constexpr auto callInterval = std::chrono::milliseconds(50);

/// Calls a function of a script with the progress of a picture. Main thread only, except hasFailed().
class Progress {
public:
    /// @param callback None: nothing is called
    explicit Progress(const python::object& callback_) : callback(callback_) {
        if (callback.is_none() || PyCallable_Check(callback.ptr()))
            return;
        PyErr_SetString(PyExc_TypeError, "progress must be callable or None");
        python::throw_error_already_set();
    }
    ~Progress() {
        Py_XDECREF(errorType);
        Py_XDECREF(errorValue);
        Py_XDECREF(errorTrace);
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void report(double share) {
        if (callback.is_none() || isFailed || (share < 1 && Clock::now() - lastCall < callInterval))
            return;
        const ktPythonLock lock;
        if (ktPythonObject(PyObject_CallFunction(callback.ptr(), const_cast<char*>("d"), share))) {
            lastCall = Clock::now();
            return;
        }
        PyErr_Fetch(&errorType, &errorValue, &errorTrace);
        isFailed = true;
    }

    /// Whether the function has raised an exception. Thread-safe.
    bool hasFailed() const { return isFailed; }
    /// Raises that exception.
    void raise() {
        if (!isFailed)
            return;
        PyErr_Restore(std::exchange(errorType, nullptr), std::exchange(errorValue, nullptr),
                      std::exchange(errorTrace, nullptr));
        python::throw_error_already_set();
    }

private:
    const python::object& callback;
    Clock::time_point lastCall;
    std::atomic<bool> isFailed{false};
    PyObject *errorType = nullptr, *errorValue = nullptr, *errorTrace = nullptr; // owned
};

} // namespace

void ktHostModuleScene::open(const python::object& path, const python::object& unit, bool uniqueInstances,
                             bool groundPlane, const python::object& up, double creaseAngle_deg, bool keepVertices) {
    refuseWhileBaking();
    const std::string name = ktTextArgument(path, "path");
    const std::string unitText =
        ktIsPythonString(unit) ? ktTextArgument(unit, "unit") : ktTextArgument(python::str(unit), "unit");
    const std::optional<ktLengthUnit> length = ktParseLengthUnit(unitText);
    if (!length)
        throw ktHostModuleError("a unit is auto, mm, cm, m, inch, foot or a length in millimetres, not " + unitText);
    const std::string axis = ktTextArgument(up, "up");
    if (!(creaseAngle_deg >= 0 && creaseAngle_deg <= 180))
        throw ktHostModuleError("the crease angle must be from 0 to 180 degrees");
    ktOpenOptions options;
    options.unit = *length;
    options.up = ktParseUpAxis(axis);
    if (!options.up && axis != "auto")
        throw ktHostModuleError("up is \"auto\", \"x\", \"y\" or \"z\", not \"" + axis + "\"");
    options.uniqueInstances = uniqueInstances;
    options.creaseAngle_deg = creaseAngle_deg;
    options.keepVertices = keepVertices;
    if (ktScriptedScene* const shared = ktScriptedScene::get()) {
        ktScriptedScene::OpenOptions given;
        given.unit = unitText;
        given.up = options.up ? axis : "";
        given.uniqueInstances = uniqueInstances;
        given.groundPlane = groundPlane;
        given.keepVertices = keepVertices;
        given.creaseAngle_deg = creaseAngle_deg;
        check(shared->open(name, given));
        return;
    }
    options.isInterrupted = &Interrupt::isRequested;
    const Interrupt interrupt;
    const auto begin = Clock::now();
    ktFileReport report;
    std::unique_ptr<ktSceneFile> file = ktSceneFile::open(QString::fromStdString(name), options, report);
    interrupt.raise();
    logMessages(name, report);
    if (!file)
        throw ktHostModuleError(report.error);
    const auto describe = ktScriptedPlugin::the().describeScene(name, file->getRoot(), secondsSince(begin));
    if (groundPlane) {
        ktFileReport planeReport;
        const bool isThere = file->addGroundPlane(planeReport) != osg::NullFC;
        logMessages(name, planeReport);
        if (!isThere)
            throw ktHostModuleError(name + ": the scene has no extent that a ground plane could lie below");
    }
    interrupt.raise();
    ktSceneState::setRootNode(file->getRoot());
    scene().file = std::move(file);
    scene().name = name;
    describe();
    selectTopNodes();
}

void ktHostModuleScene::close() {
    refuseWhileBaking();
    if (ktScriptedScene::get())
        refuse("the scene belongs to the window: open another one instead");
    if (!scene().file)
        return;
    ktSceneState::setRootNode(osg::NullFC);
    scene().file.reset();
}

void ktHostModuleScene::save(const python::object& path, const python::object& shade, double exposure, double strength,
                             const python::object& compress) {
    refuseWhileBaking();
    const std::string name = ktTextArgument(path, "path");
    const std::string how = ktTextArgument(shade, "shade");
    if (how != "multiply" && how != "none")
        throw ktHostModuleError("shade is \"multiply\" or \"none\", not \"" + how + "\"");
    ktSaveOptions options;
    options.multiplyColors = how == "multiply";
    options.exposure = checkExposure(exposure);
    if (!(strength >= 0 && strength <= 10))
        throw ktHostModuleError("the strength must be a number from 0 to 10");
    options.strength = static_cast<float>(strength);
    const std::string mode = ktTextArgument(compress, "compress");
    const std::optional<ktCompressionMode> compression = ktParseCompressionMode(mode);
    if (!compression)
        throw ktHostModuleError("compress is \"as-input\", \"draco\", \"meshopt\" or \"none\", not \"" + mode + "\"");
    options.compression = *compression;
    if (ktScriptedScene* const shared = ktScriptedScene::get()) {
        openFile();
        check(shared->save(name, {options.multiplyColors, exposure, strength, mode}));
        return;
    }
    ktFileReport report;
    const auto begin = Clock::now();
    const bool isSaved = openFile().save(QString::fromStdString(name), options, report);
    logMessages(name, report);
    if (!isSaved)
        throw ktHostModuleError(report.error);
    ktScriptedPlugin::the().sceneSaved(name, secondsSince(begin));
}

void ktHostModuleScene::preview(const python::object& path, int width, int height, double exposure, double turn_degrees,
                                const python::object& view, bool headlight, const python::object& progress) {
    refuseWhileBaking();
    const std::string name = ktTextArgument(path, "path"), viewName = ktTextArgument(view, "view");
    if (width < 1 || height < 1 || width > ktLargestPreview_px || height > ktLargestPreview_px)
        throw ktHostModuleError("a picture has 1 to " + std::to_string(ktLargestPreview_px) + " pixels a side");
    if (!std::isfinite(turn_degrees))
        throw ktHostModuleError("the turn must be a number of degrees");
    ktPreviewOptions options;
    options.exposure = checkExposure(exposure);
    options.width_px = width;
    options.height_px = height;
    options.hasHeadlight = headlight;
    std::string reason;
    const std::optional<ktPreviewView> found = ktFindPreviewView(viewName, openFile().getCameras(), reason);
    if (!found)
        throw ktHostModuleError(reason);
    if (found->camera && turn_degrees != 0)
        throw ktHostModuleError("a turn needs a side, not the camera \"" + viewName + "\"");
    options.view = *found;
    options.view.turn_degrees = turn_degrees;
    Progress called(progress);
    const auto isInterrupted = [&called] { return Interrupt::isRequested() || called.hasFailed(); };
    options.isInterrupted = isInterrupted;
    options.progressed = [&called](double share) { called.report(share); };
    const auto begin = Clock::now();
    const Interrupt interrupt;
    {
        const ktHostModuleGuard::Drawing drawing;
        ktFileReport report;
        openFile().loadPictures(report, isInterrupted);
        if (!isInterrupted()) {
            logMessages(scene().name, report);
            if (report.isOutOfMemory)
                throw std::bad_alloc();
            reason = ktWritePreview(ktScenegraph::getRootNode(), name, options);
        }
    }
    called.raise();
    interrupt.raise();
    if (!reason.empty())
        throw ktHostModuleError(name + ": the picture cannot be written: " + reason);
    if (ktScriptedScene* const shared = ktScriptedScene::get())
        shared->previewDrawn(secondsSince(begin));
    else
        ktScriptedPlugin::the().previewDrawn(secondsSince(begin));
}

void ktHostModuleScene::selectTopNodes() {
    ktSceneState::setSelection(openFile().getNodesToBake());
}

bool ktHostModuleScene::loadPictures() {
    ktSceneFile* const file = currentFile();
    if (!file)
        return true;
    ktFileReport report;
    file->loadPictures(report);
    logMessages(scene().name, report);
    return !report.isOutOfMemory;
}
