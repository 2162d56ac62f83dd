// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakedLight.h"

#include <array>
#include <cstdint>
#include <map>
#include <OpenSG/OSGNode.h>
#include <QString>
#include <QStringList>
#include <set>
#include <vector>

/// What some nodes and all below them hold. Each geometry counts once.
struct ktPartFacts {
    static constexpr int bins = 40;
    static constexpr float dark = 0.1f; ///< bound of darkShare

    std::uint64_t geometries = 0, vertices = 0, triangles = 0;
    std::uint64_t trianglesOfUses = 0;              ///< each use of a geometry counts
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
};

/// Collects the facts in pieces, so that other events are handled between them. Nodes and results must not change
/// before the end; make another collector then. Main thread only.
class ktPartCollector {
public:
    explicit ktPartCollector(const std::vector<osg::NodePtr>& nodes);
    /// Collects for about that time. @return whether all is collected
    bool advance(double budget_ms);
    /// Complete after advance() has returned true.
    const ktPartFacts& getFacts() const { return facts; }

private:
    void visit(const osg::NodePtr& node);
    void countResults();

    ktPartFacts facts;
    std::vector<osg::NodePtr> pending;
    std::map<osg::UInt32, std::uint64_t> trianglesOf; ///< by geometry that was seen
    std::set<osg::UInt32> seenMaterials;
    ktBakedChannels channels; ///< whose values are counted
    osg::UInt32 nextValue = 0;
};
