// SPDX-License-Identifier: LGPL-2.1-or-later
// Functions of the module kthost that report the progress of a bake to callbacks and cancel it.
#include "ktHostModuleWatch.h"

#include "ktCancelToken.h"
#include "ktEarlierResults.h"
#include "ktHostModuleScene.h"
#include "ktHostSignals.h"
#include "ktInterruptGuard.h"
#include "ktLog.h"
#include "ktPythonObject.h"
#include "ktScenegraph.h"
#include "ktScriptedPlugin.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <QCoreApplication>
#include <utility>

namespace python = boost::python;

namespace {

constexpr auto callInterval = std::chrono::milliseconds(50);

/// The current bake, as scripts see it. Main thread only, except `run`.
class Watch : public QObject {
public:
    Watch() {
        ktScriptedPlugin::the().listen({[this](int count) {
                                            steps = count;
                                            step = 0;
                                            highest = 0;
                                            report(0, true);
                                        },
                                        [this](int begun) {
                                            step = begun;
                                            report(share(0), false);
                                        },
                                        [this] {
                                            if (!ktCancelToken::the().isCanceled())
                                                report(1, true);
                                        },
                                        [this] {
                                            // Whoever cancelled: the run did not reach its end.
                                            ktCancelToken::the().cancel(run);
                                            if (!std::exchange(isCancelTold, true))
                                                call(cancelCallback, python::tuple());
                                        },
                                        [](const char* reason) {
                                            const bool isOpen = ktScenegraph::getRootNode() != osg::NullFC;
                                            ktLog::error("%s", isOpen ? reason : "no scene is open");
                                        }});
        ktHostSignals& host = ktHostSignals::the();
        connect(&host, &ktHostSignals::tracingProgress, this, [this](quint64 done, quint64 total) {
            report(share(total == 0 ? 0 : static_cast<double>(done) / static_cast<double>(total)), false);
        });
        connect(&host, &ktHostSignals::busyChanged, this, [this](bool busy) { busy ? begin() : end(); });
    }

    // Objects of the interpreter, which may end first; so this object is never destroyed.
    python::object progressCallback, cancelCallback;
    ktEarlierResults earlierResults;
    std::atomic<std::uint64_t> run{0}; // number of the current bake; 0: none

    // Whether the current or last bake had geometry to calculate.
    bool hasGeometry() const { return steps > 0; }

    // Raises the exception of a callback in the call that baked.
    void raise() {
        if (!errorType)
            return;
        PyErr_Restore(std::exchange(errorType, nullptr), std::exchange(errorValue, nullptr),
                      std::exchange(errorTrace, nullptr));
        python::throw_error_already_set();
    }

private:
    void begin() {
        run = ktCancelToken::the().getRun();
        steps = 0;
        isCancelTold = false;
        // What the interpreter never came to raise is not for this run.
        Py_CLEAR(errorType);
        Py_CLEAR(errorValue);
        Py_CLEAR(errorTrace);
        guard = std::make_unique<ktInterruptGuard>([] { ktScriptedPlugin::the().cancel(); });
        if (ktScriptedPlugin::the().needsPictures() && !ktHostModuleScene::loadPictures()) {
            const ktPythonLock lock;
            PyErr_NoMemory();
            keepError();
        }
    }

    void end() {
        run = 0;
        guard.reset();
        if (!errorType)
            return;
        // An exception from a callback is raised after the call that baked has returned. kthost.bake() raises it
        // itself, the functions of the plug-in do not know of it.
        const auto raiseLater = [](void* self) {
            try {
                static_cast<Watch*>(self)->raise();
            } catch (const python::error_already_set&) {
                return -1;
            }
            return 0;
        };
        // The list of calls may be held by another thread for a moment.
        for (int attempt = 0; attempt < 1000 && Py_AddPendingCall(raiseLater, this) != 0; ++attempt) {
        }
    }

    double share(double ofStep) const {
        // Each step is the beginning of a geometry.
        return steps <= 0 ? 0 : std::min(0.999, (std::max(0, step - 1) + ofStep) / steps);
    }

    // Never decreases, although refinement traces a geometry again.
    void report(double share, bool always) {
        const Clock::time_point now = Clock::now();
        if (!always && (share <= highest || now - lastCall < callInterval))
            return;
        highest = std::max(highest, share);
        lastCall = now;
        if (!ktCancelToken::the().isCanceled())
            call(progressCallback, python::make_tuple(highest));
    }

    void call(const python::object& callback, const python::tuple& arguments) {
        const ktPythonLock lock;
        // An interrupt ends the bake. Handle it here, because the callback would not even start.
        if (PyErr_CheckSignals() != 0)
            keepError();
        if (callback.is_none())
            return;
        const ktPythonObject result(PyObject_CallObject(callback.ptr(), arguments.ptr()));
        if (!result)
            keepError();
    }

    // Keeps the current error and ends the bake.
    void keepError() {
        if (errorType) {
            PyErr_Clear(); // the first one counts
            return;
        }
        PyErr_Fetch(&errorType, &errorValue, &errorTrace);
        ktHostModuleWatch::cancel();
    }

    using Clock = std::chrono::steady_clock;

    int steps = 0, step = 0;
    double highest = 0;
    bool isCancelTold = false;
    Clock::time_point lastCall;
    PyObject *errorType = nullptr, *errorValue = nullptr, *errorTrace = nullptr; // owned
    std::unique_ptr<ktInterruptGuard> guard;
};

Watch& watch() {
    static auto& instance = *new Watch;
    return instance;
}

void setCallback(python::object& slot, const python::object& callback) {
    if (!callback.is_none() && !PyCallable_Check(callback.ptr())) {
        PyErr_SetString(PyExc_TypeError, "callback must be callable or None");
        python::throw_error_already_set();
    }
    slot = callback;
}

} // namespace

void ktHostModuleWatch::start() {
    watch();
}

void ktHostModuleWatch::onProgress(const python::object& callback) {
    setCallback(watch().progressCallback, callback);
}

void ktHostModuleWatch::onCancel(const python::object& callback) {
    setCallback(watch().cancelCallback, callback);
}

bool ktHostModuleWatch::hasGeometry() {
    return watch().hasGeometry();
}

void ktHostModuleWatch::raise() {
    watch().raise();
}

ktHostModuleWatch::Keep::Keep(bool finished) {
    watch().earlierResults.setKeep(finished ? ktEarlierResults::Finished : ktEarlierResults::None);
}

ktHostModuleWatch::Keep::~Keep() {
    watch().earlierResults.setKeep(ktEarlierResults::Finished);
}

void ktHostModuleWatch::cancel() {
    const std::uint64_t run = watch().run;
    if (run == 0 || !ktCancelToken::the().cancel(run))
        return;
    // Through the event loop, because the plug-in must be called on the main thread. The next run may be under way when
    // the call arrives.
    QMetaObject::invokeMethod(
        &watch(),
        [run] {
            if (watch().run == run)
                ktScriptedPlugin::the().cancel();
        },
        Qt::QueuedConnection);
}
