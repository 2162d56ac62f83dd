// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

/// Scenes of many kinds for tests that look at what comes out: paths of the distribution's glTF test models that are
/// not broken, and of all glTF files in the folder that KT_MORE_MODELS in the environment names.
std::vector<std::string> ktGoodModels();

/// A way to bake, as arguments of ktbake; quick ones, since the numbers do not matter.
struct ktWayToBake {
    std::string name;
    std::vector<std::string> arguments;
};
/// Between them they write every attribute except `_BAKED_LIGHT`, refined meshes, copies of shared meshes and a ground
/// plane.
std::vector<ktWayToBake> ktWaysToBake();
