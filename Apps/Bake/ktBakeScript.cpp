// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktBakeScript.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeExit.h"
#include "ktBakeOptions.h"
#include "ktCancelToken.h"
#include "ktHostSignals.h"
#include "ktLog.h"
#include "ktLogOutput.h"
#include "ktScripting.h"
#include "ktThreadCount.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <QCoreApplication>
#include <QFileInfo>
#include <thread>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t interrupted = 0;
int wakeUp[2] = {-1, -1}; // a pipe: the handler writes, a thread reads
std::atomic<bool> isBaking{false};

/// Only what a signal handler may do: the tracing threads stop at once, a thread tells the rest.
void onSignal(int signal) {
    const int error = errno;
    if (interrupted) {
        std::signal(signal, SIG_DFL);
        std::raise(signal);
        return;
    }
    interrupted = 1;
    ktCancelToken::the().cancel();
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(wakeUp[1], &byte, 1);
    errno = error;
}

void waitForInterrupt() {
    char byte;
    while (read(wakeUp[0], &byte, 1) < 0 && errno == EINTR) {
    }
    if (isBaking)
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [] { ktAmbientOcclusion::the()->cancelCalculation(); },
            Qt::QueuedConnection);
    ktScripting::interrupt();
}

/// From here on an interrupt goes to the script.
void handleInterrupts() {
    if (pipe2(wakeUp, O_CLOEXEC) != 0)
        return; // no handler: a signal then ends the process
    QObject::connect(&ktHostSignals::the(), &ktHostSignals::busyChanged, QCoreApplication::instance(),
                     [](bool busy) { isBaking = busy; });
    // Never joined: it may wait for the interpreter, which has ended its work.
    std::thread(waitForInterrupt).detach();
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
}

} // namespace

int runBakeScript(const ktBakeOptions& options) {
    ktThreadCount::set(static_cast<unsigned int>(options.threads));
    ktLogOutput::setQuiet(options.quiet);
    const QFileInfo script(QString::fromStdString(options.script));
    if (!script.isFile() || !script.isReadable()) {
        ktLog::error("%s: there is no such script, or it cannot be read", options.script.c_str());
        return ktBakeExit::badInput;
    }
    ktAmbientOcclusion::the(); // its hook puts the module into the interpreter
    ktScripting::start();
    handleInterrupts();
    const ktScripting::Result result = ktScripting::runFile(options.script, options.scriptArguments);
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    if (result.succeeded)
        return ktBakeExit::done;
    ktLog::error("%s: the script failed: %s", options.script.c_str(), result.error.c_str());
    return interrupted ? ktBakeExit::cancelled : ktBakeExit::scriptFailed;
}
