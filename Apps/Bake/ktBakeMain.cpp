// SPDX-License-Identifier: LGPL-2.1-or-later
// The main function of ktbake: reads the options, runs the bake or the script.
#include "ktBakeBatch.h"
#include "ktBakeExit.h"
#include "ktBakeLastWords.h"
#include "ktBakeMessages.h"
#include "ktBakeOptions.h"
#include "ktBakeRanks.h"
#include "ktBakeRun.h"
#include "ktBakeScript.h"
#include "ktBakeStandardStreams.h"
#include "ktLog.h"
#include "ktLogOutput.h"
#include "ktMemoryReserve.h"
#include "ktMemoryShortage.h"
#include "ktPresetStore.h"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <langinfo.h>
#include <new>
#include <OpenSG/OSGBaseFunctions.h>
#include <QCoreApplication>
#include <string>
#include <unistd.h>
#include <vector>

/// Makes file names and messages UTF-8, even if no language is set (as in containers and jobs). In the locale "C", Qt
/// would lose every letter outside ASCII.
static void useUtf8() {
    // No other thread runs yet. NOLINTBEGIN(concurrency-mt-unsafe)
    std::setlocale(LC_CTYPE, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0)
        return;
    unsetenv("LC_ALL");
    setenv("LC_CTYPE", "C.UTF-8", 1);
    // NOLINTEND(concurrency-mt-unsafe)
}

/// Lets Qt handle events without GLib, which ends the process if memory runs out.
static void avoidGlib() {
    setenv("QT_NO_GLIB", "1", 0); // no other thread runs yet. NOLINT(concurrency-mt-unsafe)
}

/// Opens the null device for each closed standard stream. Otherwise files and pipes of the bake would get its number,
/// and messages would go into them.
static void keepStandardDescriptors() {
    for (int file = open("/dev/null", O_RDWR); file >= 0; file = open("/dev/null", O_RDWR))
        if (file > STDERR_FILENO) {
            close(file);
            return;
        }
}

/// Whether an option is given: known before the options are parsed, because that may fail.
static bool isGiven(const std::vector<std::string>& arguments, const char* option) {
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    return std::find(arguments.begin(), end, option) != end;
}

/// Loads the presets. Few bakes need the file, so one warning is enough if it cannot be read or made.
static void loadPresets() {
    ktBakeMessages::hold();
    ktPresetStore::load();
    const std::vector<std::string> lines = ktBakeMessages::release();
    if (!lines.empty())
        ktLog::warning("%s; the built-in presets are used", lines.front().c_str());
}

static int bakeOrRunScript(ktBakeOptions& options, ktBakeRanks& ranks) {
    ktLogOutput::setQuiet(options.quiet);
    if (const std::optional<int> end = ranks.join(options))
        return *end;
    ktBakeStandardStreams streams;
    int exitCode = streams.begin(options);
    if (exitCode != ktBakeExit::done)
        return exitCode;
    if (options.script.empty())
        exitCode = options.outputFolder.empty() ? runBake(options) : runBakeBatch(options);
    else {
#ifdef KT_SCRIPTING
        ktBakeLastWords::letRun();
        exitCode = runBakeScript(options);
#else
        ktLog::error("%s: scripts cannot be run: this ktbake was built without scripting (KT_PYTHON=OFF)",
                     options.script.c_str());
        exitCode = ktBakeExit::usage;
#endif
    }
    return exitCode == ktBakeExit::done ? streams.end() : exitCode;
}

static int run(int argc, char** argv, const ktBakeLauncher& launcher) {
    ktBakeRanks ranks(launcher);
    QCoreApplication application(argc, argv);
    // Qt takes the user's locale, whose numbers may have a decimal comma. NOLINTNEXTLINE(concurrency-mt-unsafe)
    std::setlocale(LC_NUMERIC, "C");
    QCoreApplication::setApplicationName("ktbake");
    osg::osgInit(argc, argv);
    int exitCode = ktBakeExit::failed;
    ktBakeOptions options;
    try {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        ktBakeMessages::begin(isGiven(arguments, "--json"));
        ktLogOutput::setQuiet(isGiven(arguments, "-q") || isGiven(arguments, "--quiet"));
        loadPresets();
        if (const std::optional<int> end = parseBakeOptions(arguments, options)) {
            if (*end == ktBakeExit::done)
                return *end; // help or version
            exitCode = *end;
        } else
            exitCode = bakeOrRunScript(options, ranks);
    } catch (const std::bad_alloc&) {
        ktBakeLastWords::endSoon();
        throw; // destructors free some memory
    } catch (const std::exception& error) {
        ktLog::error("%s", error.what());
    }
    ktBakeMessages::end(exitCode);
    ktBakeLastWords::setResult(exitCode);
    ranks.end();
    // At once, because to release a large scene takes long. A script's interpreter has work at the end.
    if (exitCode == ktBakeExit::cancelled && options.script.empty()) {
        std::cout.flush();
        std::fflush(nullptr);
        std::_Exit(exitCode);
    }
    // If memory ran out, exit handlers of Qt may wait for ever for a lock that stayed locked.
    if ((exitCode != ktBakeExit::done || ktMemoryShortage::count() > 0) && options.script.empty())
        ktBakeLastWords::endSoon();
    return exitCode;
}

int main(int argc, char** argv) {
    ktMemoryReserve::use();
    // Needs no memory, so it cannot use the list of isGiven().
    const auto isJson = [](const char* argument) { return std::strcmp(argument, "--json") == 0; };
    ktBakeLastWords::prepare(std::any_of(argv + 1, argv + argc, isJson));
    try {
        useUtf8();
        avoidGlib();
        std::signal(SIGXFSZ, SIG_IGN); // a file that gets too large for `ulimit -f` is an error of writing
        keepStandardDescriptors();
        const ktBakeLauncher launcher = ktBakeLauncher::find();
        if (launcher.size > 1 && !ktAreRanksOff({argv + 1, argv + argc}))
            ktGuardRank(launcher);
        return run(argc, argv, launcher);
    } catch (const std::bad_alloc&) {
        return ktBakeLastWords::sayOutOfMemory();
    }
}
