// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

struct ktBakeOptionInfo;

/// A command line, taken apart.
struct ktBakeArguments {
    std::vector<std::string> normalised; ///< the first SCENE if given, then --option or --option=value
    std::vector<std::string> scenes;     ///< all; more than one only with --output-folder
    std::vector<std::string> forScript;  ///< with --script: what follows "--"
};

/// Takes a command line apart. Throws ktBakeUsageError for an unknown option, a missing, empty or superfluous value, an
/// option that is repeated or contradicts another, and a second scene without --output-folder. Names near options. Does
/// not check values.
/// @param typed without the program's name
ktBakeArguments readBakeArguments(const std::vector<std::string>& typed, const std::vector<ktBakeOptionInfo>& options);
