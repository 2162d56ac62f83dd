// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// A cube of edge length 1 m, its middle at a place, as a node of its own with a mesh of its own.
struct ktTestBox {
    std::string name;
    std::array<float, 3> middle; ///< metres
};

/// A glTF document with its data inside: one node a box, 24 vertices and 12 triangles each.
nlohmann::json makeBoxes(const std::vector<ktTestBox>& boxes);
