// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktHostModuleWatch.h"

#include "ktCancelToken.h"
#include "ktHostModuleScene.h"
#include "ktHostSignals.h"
#include "ktInterruptGuard.h"
#include "ktPythonObject.h"
#include "ktScriptedPlugin.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <QCoreApplication>
#include <utility>

namespace python = boost::python;

namespace {

constexpr auto callInterval = std::chrono::milliseconds(50);

/// The current bake, as scripts see it. Main thread only, except `isBusy`.
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
                                            if (!std::exchange(isCancelTold, true))
                                                call(cancelCallback, python::tuple());
                                        }});
        ktHostSignals& host = ktHostSignals::the();
        connect(&host, &ktHostSignals::tracingProgress, this, [this](quint64 done, quint64 total) {
            report(share(total == 0 ? 0 : static_cast<double>(done) / static_cast<double>(total)), false);
        });
        connect(&host, &ktHostSignals::busyChanged, this, [this](bool busy) { busy ? begin() : end(); });
    }

    // Objects of the interpreter, which may end first; so this object is never destroyed.
    python::object progressCallback, cancelCallback;
    std::atomic<bool> isBusy{false};

private:
    void begin() {
        isBusy = true;
        isCancelTold = false;
        guard = std::make_unique<ktInterruptGuard>([] { ktScriptedPlugin::the().cancel(); });
        if (ktScriptedPlugin::the().needsPictures())
            ktHostModuleScene::loadPictures();
    }

    void end() {
        isBusy = false;
        guard.reset();
        if (!errorType)
            return;
        // An exception from a callback is raised after the call that baked has returned.
        const auto raise = [](void* self) {
            auto& watch = *static_cast<Watch*>(self);
            PyErr_Restore(watch.errorType, watch.errorValue, watch.errorTrace);
            watch.errorType = watch.errorValue = watch.errorTrace = nullptr;
            return -1;
        };
        Py_AddPendingCall(raise, this);
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

void ktHostModuleWatch::cancel() {
    if (!watch().isBusy)
        return;
    ktCancelToken::the().cancel();
    // Through the event loop, because the plug-in must be called on the main thread.
    QMetaObject::invokeMethod(
        &watch(),
        [] {
            if (watch().isBusy)
                ktScriptedPlugin::the().cancel();
        },
        Qt::QueuedConnection);
}
