// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// A cube with edges of 1 m, as one node with a separate mesh.
struct ktTestBox {
    std::string name;
    std::array<float, 3> middle; ///< metres
};

/// A glTF document with embedded data: one node per box, 24 vertices and 12 triangles each.
nlohmann::json makeBoxes(const std::vector<ktTestBox>& boxes);
/// Adds a lamp 2 m above the origin, as the last node. @param intensity candela
void addLamp(nlohmann::json& scene, double intensity);
