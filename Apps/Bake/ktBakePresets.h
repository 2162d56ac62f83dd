// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QList>
#include <QString>
#include <string>

struct ktBakeOptions;

/// Finds the first preset with exactly this name, or the only one that begins with it.
/// @param message set on failure: contains the wanted name and the list of names
/// @return index into `names`, -1 on failure
int findPreset(const QList<QString>& names, const std::string& wanted, std::string& message);

/// Prints the presets' names to standard output, one per line.
void printPresets();

/// Deletes and saves presets as the options say. Saving replaces the presets of that name. Apply the options' settings
/// before.
/// @return exit code; logs the reason of a failure
int editPresets(const ktBakeOptions& options);
