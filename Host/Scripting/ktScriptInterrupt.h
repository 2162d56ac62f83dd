// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Interrupts the script on the main thread, even in an endless loop or in a system call.
namespace ktScriptInterrupt {

/// Prepares the interpreter. Call once, on the main thread, after its initialisation. Leaves the process's signal
/// handlers unchanged. Uses SIGURG to wake up the main thread if SIGURG has no handler.
void prepare();

/// Ends the running script with KeyboardInterrupt. Does nothing if none runs. Thread-safe and signal-safe.
void request();

/// The execution of a script on the main thread. May be nested.
class Execution {
public:
    /// The outermost one discards interrupts that came too late for the previous script. Needs the interpreter's lock.
    Execution();
    ~Execution();
    Execution(const Execution&) = delete;
    Execution& operator=(const Execution&) = delete;
};

} // namespace ktScriptInterrupt
