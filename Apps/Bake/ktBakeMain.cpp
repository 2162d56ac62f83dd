// SPDX-License-Identifier: LGPL-2.1-or-later
// The main function of ktbake: reads the options, runs the bake or the script.
#include "ktBakeExit.h"
#include "ktBakeOptions.h"
#include "ktBakeRun.h"
#include "ktBakeScript.h"
#include "ktLog.h"
#include "ktPresetStore.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <langinfo.h>
#include <QCoreApplication>

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

int main(int argc, char** argv) {
    useUtf8();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName("ktbake");
    try {
        ktPresetStore::load();
        ktBakeOptions options;
        if (const std::optional<int> exitCode = parseBakeOptions({argv + 1, argv + argc}, options))
            return *exitCode;
        if (!options.script.empty()) {
#ifdef KT_SCRIPTING
            return runBakeScript(options);
#else
            ktLog::error("%s: scripts cannot be run: this ktbake was built without scripting (KT_PYTHON=OFF)",
                         options.script.c_str());
            return ktBakeExit::usage;
#endif
        }
        return runBake(options);
    } catch (const std::exception& error) {
        ktLog::error("%s", error.what());
        return ktBakeExit::failed;
    }
}
