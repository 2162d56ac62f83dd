// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <string>
#include <vector>

/// The host's interpreter as its applications drive it; plug-ins see ktScript and ktPythonInit. Main thread only,
/// but for interrupt().
class KT_HOST_EXPORT ktScripting {
public:
    /// Starts scripting: the interpreter with it, the first time; then the plug-ins' hooks, and an empty main
    /// namespace. Does nothing when it runs already.
    static void start();
    /// Tears scripting down: the hooks are told, the main namespace is emptied. The interpreter stays until the process
    /// ends.
    static void stop();
    /// Lets the interpreter's other threads run while the main thread waits for workers; part of start(). A program
    /// that is itself run by an interpreter calls only this: it has a main namespace of its own.
    static void attach();
    /// stop() and start().
    static void restart();
    static bool isRunning();

    /// How a script ended.
    struct Result {
        bool succeeded = false;
        int exitCode = 0;  ///< of sys.exit(); 1 after an error
        std::string error; ///< last line of the traceback; empty after success
    };
    /// Runs a file in the main namespace, with sys.argv set to the file and `arguments`. Errors are logged with their
    /// traceback. sys.exit() ends the script, not the host: code 0 or None counts as success.
    static Result runFile(const std::string& path, const std::vector<std::string>& arguments);
    /// The same for statements.
    static Result runStatements(const std::string& statements);

    /// Makes the script under way end with KeyboardInterrupt at its next statement, or while it sleeps; nothing when
    /// none is. Any thread, and signal handlers.
    static void interrupt();
};
