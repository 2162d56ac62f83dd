// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

struct ktBakeOptions;

/// Bakes many scenes one after the other into `--output-folder`. Each starts from the same settings. Logs one line for
/// each scene and a summary. A scene that fails does not end the others, except with `--stop-on-error`.
/// Needs a QCoreApplication.
/// @return the highest exit code of a scene; 130 after an interrupt
int runBakeBatch(const ktBakeOptions& options);
