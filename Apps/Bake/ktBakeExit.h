// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Exit codes of ktbake.
namespace ktBakeExit {
constexpr int done = 0;
constexpr int failed = 1; ///< out of memory or internal error; the reason is in the log
constexpr int usage = 2;
constexpr int badInput = 3;
constexpr int notWritten = 4;
constexpr int scriptFailed = 5;
constexpr int cancelled = 130;

/// A code with its texts, for the help, the manual page and the last line of `--json`.
struct Description {
    int code;
    const char* name;    ///< as `--json` prints it
    const char* inShort; ///< as the help prints it
    const char* meaning;
};
constexpr Description descriptions[] = {
    {done, "done", "done", "done, also if nothing was missing"},
    {failed, "failed", "failed", "out of memory, or an internal error; the log gives the reason"},
    {usage, "usage", "wrong usage", "wrong usage: an unknown option, a value out of range, an unknown preset"},
    {badInput, "badInput", "bad input",
     "bad input: a file that cannot be read, a name that fits no node or camera, a selection in which every node is "
     "locked, or a "
     "mode that needs a light in a scene without one"},
    {notWritten, "notWritten", "could not write",
     "an output file or the presets file cannot be written; if only the preview or the statistics fail, the output is "
     "new, "
     "and a line says so"},
    {scriptFailed, "scriptFailed", "the script failed", "the script failed; it may also end with a code that it chose"},
    {cancelled, "cancelled", "cancelled", "cancelled by Ctrl-C or SIGTERM; a second signal ends the process at once"},
};
} // namespace ktBakeExit
