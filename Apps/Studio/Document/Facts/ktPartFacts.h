// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <cstdint>
#include <OpenSG/OSGNode.h>
#include <QString>
#include <QStringList>
#include <vector>

/// What some nodes and all below them hold. Each geometry counts once.
struct ktPartFacts {
    static constexpr int bins = 40;
    static constexpr float dark = 0.1f; ///< bound of darkShare

    std::uint64_t geometries = 0, vertices = 0, triangles = 0;
    std::uint64_t withResults = 0;                  ///< vertices of geometry that holds results
    std::array<std::uint64_t, bins> histogram = {}; ///< of w from 0 to 1
    double least = 0, mean = 0, darkShare = 0;      ///< of w; valid if withResults > 0
    struct Material {
        QString name;
        bool isTransparent = false;
    };
    std::vector<Material> materials; ///< in traversal order
    /// Settings of the last bake, as "name: value", of the first node that holds some.
    QStringList settings;
    osg::NodePtr settingsNode; ///< null: there are none

    static ktPartFacts collect(const std::vector<osg::NodePtr>& nodes);
};
