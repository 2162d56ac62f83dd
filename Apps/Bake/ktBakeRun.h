// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

struct ktBakeOptions;

/// Runs ktbake with the given options: reads the scene, bakes it, writes it. Needs a QCoreApplication.
/// @return exit code of ktBakeExit; on failure logs the reason and writes nothing
int runBake(const ktBakeOptions& options);
