// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <string>
#include <vector>

/// Controls the host's interpreter, for applications. Plug-ins use ktScript and ktPythonInit. Main thread only, except
/// interrupt().
class KT_HOST_EXPORT ktScripting {
public:
    /// Starts scripting: initialises the interpreter (the first time), calls the plug-ins' hooks, and provides an empty
    /// main namespace. Does nothing if scripting already runs.
    static void start();
    /// Stops scripting: calls the hooks and empties the main namespace. The interpreter stays until the process
    /// ends.
    static void stop();
    /// Lets the interpreter's other threads run while the main thread waits for workers. start() includes it. A program
    /// that an interpreter runs calls only this, because it has a main namespace already.
    static void attach();
    /// stop() at the end of the process. First waits for the threads of scripts (except daemons) and calls what they
    /// registered with atexit. Afterwards writes out open files. interrupt() ends the waiting. Does not finalize the
    /// interpreter, because Boost.Python does not support that.
    /// @return false if interrupted
    static bool end();
    /// stop() and start().
    static void restart();
    static bool isRunning();

    /// Result of a script.
    struct Result {
        bool succeeded = false;
        int exitCode = 0;       ///< argument of sys.exit(); 1 after an error
        bool hasExited = false; ///< it called sys.exit() with a number or None
        std::string error;      ///< last line of the traceback; empty after success
    };
    /// Runs a file in the main namespace with sys.argv set to the file and `arguments`. Logs errors with their
    /// traceback. sys.exit() ends the script, not the host; exit code 0 or None counts as success.
    static Result runFile(const std::string& path, const std::vector<std::string>& arguments);
    /// The same for statements.
    static Result runStatements(const std::string& statements);

    /// Ends the running script with KeyboardInterrupt at its next statement, or while it sleeps. Does nothing if none
    /// runs. Thread-safe and signal-safe.
    static void interrupt();
};
