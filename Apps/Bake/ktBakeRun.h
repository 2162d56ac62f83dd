// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

struct ktBakeOptions;

/// Does what the options ask for: reads the scene, bakes it, writes it. Needs a QCoreApplication.
/// @return exit code of ktBakeExit; on failure the reason is logged and nothing was written
int runBake(const ktBakeOptions& options);
