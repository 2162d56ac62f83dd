// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs a Python script in the host for ktbake, and lets Ctrl-C interrupt the bake and the script.
#include "ktBakeScript.h"

#include "ktAmbientOcclusion.h"
#include "ktBakeExit.h"
#include "ktBakeMessages.h"
#include "ktBakeOptions.h"
#include "ktBakeOutput.h"
#include "ktBakeRun.h"
#include "ktBakeUsageError.h"
#include "ktScripting.h"

#include <csignal>
#include <cstdio>
#include <QFileInfo>
#include <QString>
#include <string>

namespace {

constexpr int handledSignals[] = {SIGINT, SIGTERM};

volatile std::sig_atomic_t interrupted = 0;

/// The module `kthost` cancels a running bake before it passes the signal on to this handler.
void onSignal(int signal) {
    if (interrupted) {
        std::signal(signal, SIG_DFL);
        std::raise(signal);
        return;
    }
    interrupted = 1;
    ktScripting::interrupt();
}

/// Converts the bytes of a file name to a Python expression for the same file name, in both Python versions.
std::string quoted(const std::string& text) {
    std::string bytes;
    for (const char c : text) {
        char code[8];
        std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned char>(c));
        bytes += code;
    }
    return "getattr(__import__('os'), 'fsdecode', str)(b'" + bytes + "')";
}

std::string quoted(bool value) {
    return value ? "True" : "False";
}

/// Calls a function of `kthost`. Its error is logged. @param call such as "close()"
bool callHost(const std::string& call) {
    return ktScripting::runStatements("def _call():\n"
                                      "    import kthost, sys\n"
                                      "    try:\n"
                                      "        kthost." +
                                      call +
                                      "\n"
                                      "    except kthost.Error as error:\n"
                                      "        sys.exit(str(error))\n"
                                      "try:\n"
                                      "    _call()\n"
                                      "finally:\n"
                                      "    del _call\n")
        .succeeded;
}

int exitCodeOf(const ktBakeOptions& options, const ktScripting::Result& result) {
    if (result.succeeded)
        return ktBakeExit::done;
    ktBakeMessages::logReason(ktLogLevel::Error, options.script, "the script failed: " + result.error);
    if (!interrupted)
        ktBakeMessages::addToResult("result", "scriptFailed");
    if (interrupted)
        return ktBakeExit::cancelled;
    const bool isExitCode = result.hasExited && result.exitCode > 0 && result.exitCode < 256;
    return isExitCode ? result.exitCode : ktBakeExit::scriptFailed;
}

int runInHost(const ktBakeOptions& options) {
    if (!options.scene.empty() && !callHost("open(" + quoted(options.scene) + ", " + quoted(options.unit) + ", " +
                                            quoted(options.uniqueInstances) + ", " + quoted(options.groundPlane) +
                                            ", '" + (options.up ? ktNameOf(*options.up) : "auto") + "', " +
                                            QString::number(options.creaseAngle_deg, 'g', 17).toStdString() + ", " +
                                            quoted(options.keepVertices) + ")"))
        return interrupted ? ktBakeExit::cancelled : ktBakeExit::badInput;
    const ktScripting::Result result = ktScripting::runFile(options.script, options.scriptArguments);
    if (!result.succeeded)
        return exitCodeOf(options, result);
    const std::string exposure = QString::number(options.exposure, 'g', 17).toStdString();
    if (!options.output.empty() &&
        !callHost("save(" + quoted(options.output) + ", '" + (options.multiplyColors ? "multiply" : "none") + "', " +
                  exposure + ", " + QString::number(options.strength, 'g', 17).toStdString() + ", '" +
                  ktNameOf(options.compression) + "')"))
        return ktBakeExit::notWritten;
    ktBakeMessages::addToResult("output", options.output);
    if (!options.preview.empty() &&
        !callHost("preview(" + quoted(options.preview) + ", " + std::to_string(options.previewSize[0]) + ", " +
                  std::to_string(options.previewSize[1]) + ", " + exposure + ", view=" + quoted(options.previewView) +
                  ", headlight=" + quoted(options.previewHeadlight) + ")"))
        return interrupted ? ktBakeExit::cancelled : ktBakeExit::notWritten;
    return ktBakeExit::done;
}

} // namespace

int runBakeScript(const ktBakeOptions& options) {
    beginBakes(options);
    const QFileInfo script(QString::fromStdString(options.script));
    if (!script.isFile() || !script.isReadable()) {
        const std::string reason = "there is no such script, or it cannot be read";
        ktBakeMessages::log(ktLogLevel::Error, "--script " + ktQuoteTyped(options.script) + ": " + reason,
                            {{"option", "--script"}, {"value", options.script}, {"reason", reason}});
        return ktBakeExit::badInput;
    }
    if ((!options.output.empty() && !canBeWritten(options.output, ktBakeTarget::File)) ||
        (!options.preview.empty() && !canBeWritten(options.preview, ktBakeTarget::Anything)))
        return ktBakeExit::notWritten;
    ktAmbientOcclusion::the(); // its hook puts the module into the interpreter
    ktScripting::start();
    // Without SA_RESTART, so that a script that waits for input or for a thread wakes up.
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    for (const int signal : handledSignals)
        sigaction(signal, &action, nullptr);
    int exitCode = runInHost(options);
    if (!ktScripting::end() && exitCode == ktBakeExit::done)
        exitCode = ktBakeExit::cancelled;
    for (const int signal : handledSignals)
        std::signal(signal, SIG_DFL);
    return exitCode;
}
