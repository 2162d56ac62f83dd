// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktBakeScript.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeExit.h"
#include "ktBakeOptions.h"
#include "ktLog.h"
#include "ktLogOutput.h"
#include "ktScripting.h"
#include "ktThreadCount.h"
#include "ktTracerFactory.h"

#include <csignal>
#include <QFileInfo>

namespace {

constexpr int handledSignals[] = {SIGINT, SIGTERM};

volatile std::sig_atomic_t interrupted = 0;

/// The module `kthost` ends a bake under way before it passes a signal on to here.
void onSignal(int signal) {
    if (interrupted) {
        std::signal(signal, SIG_DFL);
        std::raise(signal);
        return;
    }
    interrupted = 1;
    ktScripting::interrupt();
}

} // namespace

int runBakeScript(const ktBakeOptions& options) {
    ktThreadCount::set(static_cast<unsigned int>(options.threads));
    ktChooseTracer(options.tracer);
    ktLogOutput::setQuiet(options.quiet);
    const QFileInfo script(QString::fromStdString(options.script));
    if (!script.isFile() || !script.isReadable()) {
        ktLog::error("%s: there is no such script, or it cannot be read", options.script.c_str());
        return ktBakeExit::badInput;
    }
    ktAmbientOcclusion::the(); // its hook puts the module into the interpreter
    ktScripting::start();
    for (const int signal : handledSignals)
        std::signal(signal, onSignal);
    const ktScripting::Result result = ktScripting::runFile(options.script, options.scriptArguments);
    for (const int signal : handledSignals)
        std::signal(signal, SIG_DFL);
    if (result.succeeded)
        return ktBakeExit::done;
    ktLog::error("%s: the script failed: %s", options.script.c_str(), result.error.c_str());
    return interrupted ? ktBakeExit::cancelled : ktBakeExit::scriptFailed;
}
