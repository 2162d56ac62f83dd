// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

struct ktBakeOptions;

/// Runs `options.script` in the host, with its arguments. Ctrl-C ends the bake under way and raises KeyboardInterrupt
/// in the script; a second one ends the process.
/// @return exit code
int runBakeScript(const ktBakeOptions& options);
