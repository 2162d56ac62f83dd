// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

struct ktBakeOptions;
class ktBakeSignals;
struct ktRunStatistics;

/// Runs ktbake with the given options: reads the scene, bakes it, writes it. Needs a QCoreApplication.
/// @return exit code of ktBakeExit; on failure logs the reason and writes nothing
int runBake(const ktBakeOptions& options);

/// Passes on the options that hold for all bakes of this process, such as the number of threads.
void beginBakes(const ktBakeOptions& options);
/// Bakes one scene after beginBakes(), with the plug-in's current settings where the options give none.
/// @param stats times and counts, of a failed bake as far as it came
/// @return as runBake()
int bakeScene(const ktBakeOptions& options, ktBakeSignals& interrupts, ktRunStatistics& stats);
