// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <functional>
#include <string>
#include <vector>

/// Runs what a person types, in the main namespace of the interpreter, and tells what it prints. Starts scripting if it
/// does not run yet. Main thread only; one object at a time.
class KT_HOST_EXPORT ktScriptConsole {
public:
    enum class Outcome {
        Done,
        Failed,    ///< an exception, an interrupt or a syntax error; its traceback was printed
        Incomplete ///< nothing was run: more lines must follow, such as the body of a loop
    };
    /// @param text UTF-8, any part of a line or several lines
    using Print = std::function<void(const std::string& text, bool isError)>;

    /// @param print  called on the main thread with what statements print
    /// @param onTick called on the main thread several times a second while statements run, also in an endless loop,
    /// but
    ///               not while they sleep: handle events there. ktScripting::interrupt() ends the statements.
    ktScriptConsole(Print print, std::function<void()> onTick);
    ~ktScriptConsole();
    ktScriptConsole(const ktScriptConsole&) = delete;
    ktScriptConsole& operator=(const ktScriptConsole&) = delete;

    /// Runs statements; the value of an expression is printed.
    Outcome run(const std::string& statements);
    /// Runs a file, with sys.argv set to its path.
    Outcome runFile(const std::string& path);
    /// Names that a text can go on with, such as "kthost.bake" for "kthost.b". Calls nothing of the user.
    std::vector<std::string> complete(const std::string& text);

private:
    Outcome call(const char* function, const std::string& text);
};
