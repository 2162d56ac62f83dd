// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QList>
#include <QString>
#include <string>

struct ktBakeOptions;

/// Finds a preset by its exact name or by the beginning of exactly one.
/// @param message set when none fits: says what was asked for and lists the names
/// @return index into `names`, -1 when none fits
int findPreset(const QList<QString>& names, const std::string& wanted, std::string& message);

/// Prints the presets' names, one a line, to standard output.
void printPresets();

/// Deletes and saves presets as the options ask. Their settings must have been applied before.
/// @return exit code; on failure the reason is logged
int editPresets(const ktBakeOptions& options);
