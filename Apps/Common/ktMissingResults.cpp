// SPDX-License-Identifier: LGPL-2.1-or-later
// Selects the topmost nodes that lack results and contain none, for a bake of missing results only.
#include "ktMissingResults.h"

#include "ktAmbientOcclusion.h"

#include <OpenSG/OSGGeometry.h>

namespace {

struct Entry {
    osg::NodePtr node;
    size_t parent;           // index of the entry above; its own index at the top
    bool isMissing = false;  // the node, or one below it, lacks results
    bool isResult = false;   // the node, or one below it, has results
    bool isSelected = false; // the node, or one above it
};

void judge(Entry& entry) {
    const osg::GeometryPtr geometry = osg::GeometryPtr::dcast(entry.node->getCore());
    if (geometry == osg::NullFC)
        return;
    ktAmbientOcclusion* plugin = ktAmbientOcclusion::the();
    if (plugin->isCalculationMissing(geometry, true, plugin->isIndirectIlluminationEnabled()))
        entry.isMissing = true;
    else // geometry that never gets results has no channel for them
        entry.isResult = osg::GeoTexCoords4fPtr::dcast(geometry->getTexCoords7()) != osg::NullFC;
}

} // namespace

std::vector<osg::NodePtr> findMissing(const std::vector<osg::NodePtr>& roots) {
    std::vector<osg::NodePtr> found;
    for (const osg::NodePtr& root : roots) {
        // All nodes, parents first.
        std::vector<Entry> entries = {{root, 0}};
        for (size_t i = 0; i < entries.size(); ++i) {
            judge(entries[i]);
            const osg::NodePtr node = entries[i].node;
            for (osg::UInt32 child = 0; child < node->getNChildren(); ++child)
                entries.push_back({node->getChild(child), i});
        }
        for (size_t i = entries.size(); i-- > 1;) {
            Entry& above = entries[entries[i].parent];
            above.isMissing = above.isMissing || entries[i].isMissing;
            above.isResult = above.isResult || entries[i].isResult;
        }
        for (size_t i = 0; i < entries.size(); ++i) {
            Entry& entry = entries[i];
            const bool isAboveSelected = entries[entry.parent].isSelected;
            entry.isSelected = isAboveSelected || (entry.isMissing && !entry.isResult);
            if (entry.isSelected && !isAboveSelected)
                found.push_back(entry.node);
        }
    }
    return found;
}
