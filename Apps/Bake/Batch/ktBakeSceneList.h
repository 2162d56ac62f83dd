// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

/// A scene of many, and where it is written.
struct ktBakeSceneEntry {
    std::string scene;  ///< as given
    std::string output; ///< NAME-baked.glb in the output folder
    std::string record; ///< NAME-baked.ktbake.json beside the output: what it was made from
};

/// Lists the scenes of a command line. `@LIST` stands for the lines of the file LIST: one scene a line; empty lines and
/// lines that begin with `#` are left out. Names are taken as they are: wildcards are the shell's affair.
/// @param scenes       as typed
/// @param outputFolder folder of the outputs
/// @param reason       set on failure: names the list or the scenes, and the reason
/// @return exit code: bad input if a list cannot be read or is empty, wrong usage if two scenes have one output
int ktListBakeScenes(const std::vector<std::string>& scenes, const std::string& outputFolder,
                     std::vector<ktBakeSceneEntry>& entries, std::string& reason);
