// SPDX-License-Identifier: LGPL-2.1-or-later
// Passes lines of the log to a callback, and silences standard output and warnings.
#include "ktHostModuleLog.h"

#include "ktHostModuleText.h"
#include "ktHostSignals.h"
#include "ktLogOutput.h"
#include "ktPythonObject.h"

#include <iostream>
#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <streambuf>

namespace python = boost::python;

namespace {

/// Receives the lines on the main thread: those of other threads through its event queue.
class Receiver : public QObject {
public:
    Receiver() { connect(&ktHostSignals::the(), &ktHostSignals::logged, this, &Receiver::receive); }

    python::object callback; // None: no callback

private:
    void receive(int level, const QString& line) {
        static const char* const names[] = {"error", "warning", "info"};
        const ktPythonLock lock;
        if (callback.is_none())
            return;
        // An error that is on its way must not be lost.
        PyObject *type = nullptr, *value = nullptr, *trace = nullptr;
        PyErr_Fetch(&type, &value, &trace);
        {
            const ktPythonObject text(ktPythonText(line.toStdString()));
            const python::object called = callback; // it may set another one
            const ktPythonObject result(PyObject_CallFunction(called.ptr(), const_cast<char*>("sO"),
                                                              names[static_cast<std::size_t>(level)], text.get()));
            if (!result && PyErr_ExceptionMatches(PyExc_KeyboardInterrupt)) {
                PyErr_Clear();
                PyErr_SetInterrupt(); // again, where the interpreter can raise it
            } else if (!result) {
                PyErr_WriteUnraisable(called.ptr());
            }
        }
        PyErr_Restore(type, value, trace);
    }
};

Receiver& receiver() {
    static auto& instance = *new Receiver; // never destroyed: it holds an object of the interpreter
    return instance;
}

/// Where standard output goes when quiet.
class Nowhere : public std::streambuf {
    int overflow(int character) override { return traits_type::not_eof(character); }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

} // namespace

void ktHostModuleLog::onLog(const python::object& callback) {
    if (!callback.is_none() && !PyCallable_Check(callback.ptr())) {
        PyErr_SetString(PyExc_TypeError, "callback must be callable or None");
        python::throw_error_already_set();
    }
    receiver().callback = callback;
}

void ktHostModuleLog::deliver() {
    const QCoreApplication* const application = QCoreApplication::instance();
    if (!application || application->thread() != QThread::currentThread())
        return;
    QCoreApplication::sendPostedEvents(&receiver(), QEvent::MetaCall);
}

void ktHostModuleLog::setQuiet(bool quiet) {
    static std::streambuf* before = nullptr; // of standard output, while quiet
    static auto& nowhere = *new Nowhere;
    ktLogOutput::setQuiet(quiet);
    if (quiet && !before)
        before = std::cout.rdbuf(&nowhere);
    else if (!quiet && before)
        std::cout.rdbuf(std::exchange(before, nullptr));
}
