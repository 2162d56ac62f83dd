// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Ends the script that the main thread runs, wherever it is: in a loop, or waiting in a system call.
namespace ktScriptInterrupt {

/// Prepares the interpreter; once, on the main thread, after it was initialised. The process's own handling of signals
/// stays as it is, but for SIGURG, which is used to wake the main thread up where nobody else handles it.
void prepare();

/// Makes the script under way end with KeyboardInterrupt; nothing when none is. Any thread, and signal handlers.
void request();

/// A script on the main thread; nests.
class Execution {
public:
    /// The outermost forgets interrupts that came too late for the script before. The interpreter's lock must be held.
    Execution();
    ~Execution();
    Execution(const Execution&) = delete;
    Execution& operator=(const Execution&) = delete;
};

} // namespace ktScriptInterrupt
