// SPDX-License-Identifier: LGPL-2.1-or-later
// Ends the running script with KeyboardInterrupt, even in an endless loop or a system call.
#include "ktScriptInterrupt.h"

#include "ktPythonObject.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <pthread.h>

namespace {

std::atomic<int> depth{0}; // of nested scripts
std::atomic<bool> isPrepared{false};
pthread_t mainThread;

/// Runs on the main thread, where the interpreter notices the interrupt at once.
void onWakeUp(int) {
    const int error = errno;
    if (depth > 0)
        PyErr_SetInterrupt(); // signal-safe
    errno = error;
}

} // namespace

void ktScriptInterrupt::prepare() {
    mainThread = pthread_self();
    // PyErr_SetInterrupt() calls the interpreter's handler for SIGINT: set it, then restore the process's handler.
    struct sigaction former = {};
    sigaction(SIGINT, nullptr, &former);
    const ktPythonObject module(PyImport_ImportModule("signal"));
    const ktPythonObject handler(module ? PyObject_GetAttrString(module.get(), "default_int_handler") : nullptr);
    const ktPythonObject before(handler ? PyObject_CallMethod(module.get(), const_cast<char*>("signal"),
                                                              const_cast<char*>("iO"), SIGINT, handler.get())
                                        : nullptr);
    PyErr_Clear();
    sigaction(SIGINT, &former, nullptr);

    // Without SA_RESTART, so that a script that sleeps or reads wakes up. SIGURG is ignored by default, so a late one
    // does no harm.
    struct sigaction action = {}, urgent = {};
    sigaction(SIGURG, nullptr, &urgent);
    if (!(urgent.sa_flags & SA_SIGINFO) && urgent.sa_handler == SIG_DFL) {
        action.sa_handler = onWakeUp;
        sigemptyset(&action.sa_mask);
        sigaction(SIGURG, &action, nullptr);
        isPrepared = true;
    }
}

void ktScriptInterrupt::request() {
    if (isPrepared && depth > 0)
        pthread_kill(mainThread, SIGURG);
}

ktScriptInterrupt::Execution::Execution() {
    if (depth == 0 && PyErr_CheckSignals() != 0)
        PyErr_Clear();
    ++depth;
}

ktScriptInterrupt::Execution::~Execution() {
    --depth;
}
