// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QList>
#include <QString>
#include <string>

struct ktBakeOptions;

/// Finds a preset by its exact name, or by a prefix of exactly one name.
/// @param message set on failure: contains the wanted name and the list of names
/// @return index into `names`, -1 on failure
int findPreset(const QList<QString>& names, const std::string& wanted, std::string& message);

/// Prints the presets' names to standard output, one per line.
void printPresets();

/// Deletes and saves presets as the options say. Apply the options' settings before.
/// @return exit code; logs the reason of a failure
int editPresets(const ktBakeOptions& options);
