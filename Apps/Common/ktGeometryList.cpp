// SPDX-License-Identifier: LGPL-2.1-or-later
// Lists the geometries below a node, each once, with name, sizes and number of uses; counts vertices to calculate.
#include "ktGeometryList.h"

#include "ktGeometryInstances.h"
#include "ktNodeUtils.h"
#include "ktScenegraph.h"

#include <map>
#include <set>

std::vector<ktListedGeometry> listGeometries(const osg::NodePtr& root) {
    std::vector<ktListedGeometry> list;
    std::map<osg::UInt32, std::size_t> places;
    ktForEachGeometryInstance(root, ktInstances::All, [&](const ktGeometryInstance& instance) {
        const osg::GeometryPtr& geometry = instance.geometry;
        if (geometry->getPositions() == osg::NullFC)
            return true;
        const auto [place, isNew] = places.try_emplace(geometry.getFieldContainerId(), list.size());
        if (isNew) {
            // A part without a name gets the name of its object.
            const char* name = ktNodeUtils::getName(instance.node);
            if (!name)
                name = ktNodeUtils::getName(instance.node->getParent());
            list.push_back(
                {name ? name : "", geometry, geometry->getPositions()->getSize(), ktCountTriangles(geometry), 0});
        }
        ++list[place->second].uses;
        return true;
    });
    return list;
}

std::uint64_t countSelectedVertices() {
    std::set<osg::UInt32> seen;
    std::uint64_t count = 0;
    for (const ktNodePtr& node : ktScenegraph::getSelectedRootNodes())
        ktForEachGeometryInstance(node, ktInstances::Visible, [&](const ktGeometryInstance& instance) {
            const osg::GeometryPtr& geometry = instance.geometry;
            if (geometry->getPositions() != osg::NullFC && seen.insert(geometry.getFieldContainerId()).second)
                count += geometry->getPositions()->getSize();
            return true;
        });
    return count;
}
