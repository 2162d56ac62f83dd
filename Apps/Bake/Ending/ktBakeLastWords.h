// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <string>

/// How ktbake ends if memory runs out or the program fails: with a message that was prepared before, and exit code
/// ktBakeExit::failed. If destructors cannot run, as after std::terminate() or a signal such as SIGSEGV, temporary
/// files are deleted first. If core dumps are on (`ulimit -c`), such a signal ends the process as usual.
namespace ktBakeLastWords {

/// Installs the handlers, also those of listen(). Needs no memory. @param isJson messages are JSON objects
void prepare(bool isJson) noexcept;

/// From now on SIGINT and SIGTERM end the process with a message and exit code ktBakeExit::cancelled; temporary files
/// are deleted first. For the time in which ktBakeSignals does not handle them. Signals that are ignored stay ignored.
void listen() noexcept;
/// Deletes temporary files and those of deleteAtEnd(). May be called by a signal handler.
void deleteFiles() noexcept;

/// Prepares the message "FILE: out of memory while WHAT".
/// @param what a verb, such as "reading". May end with what is already written.
void setStep(const std::string& file, const std::string& what);
/// Prepares the message of the next step. Until then the current one holds.
void prepareStep(const std::string& file, const std::string& what);
/// The prepared step begins. Needs no memory.
void beginPreparedStep() noexcept;

/// From now on the result is known, and nothing after it changes the exit code.
void setResult(int exitCode) noexcept;

/// Ends the process after five seconds unless it ends before. For the way out after a failure: a library may wait or
/// loop for ever if it had no memory. If memory runs out (ktMemoryShortage), the time begins by itself; a new step or
/// progress in the last three of the seconds shows that the bake goes on, and ends it.
void endSoon() noexcept;
/// Takes endSoon() back, for the next of several bakes.
void goOn() noexcept;
/// The bake has got on, if this is another amount than the last one. Any thread.
void noteProgress(std::uint64_t amount) noexcept;
/// From now on the time is a minute: the way out of one of several bakes may take longer than five seconds.
void waitLonger() noexcept;
/// From now on the process decides itself when it ends, even without memory: it runs a user's script. Takes listen()
/// back.
void letRun() noexcept;

/// A file or an empty folder to delete if the process ends without calling destructors. At most 4; the last is deleted
/// first.
void deleteAtEnd(const std::string& path) noexcept;

/// Writes the message, unless it is written already. Needs no memory. @return exit code
int sayOutOfMemory() noexcept;

} // namespace ktBakeLastWords
