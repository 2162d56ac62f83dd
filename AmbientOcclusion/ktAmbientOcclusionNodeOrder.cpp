// SPDX-License-Identifier: LGPL-2.1-or-later
// Lookups for the scene collection and the passes: the effective material of a node, and node order by geometry.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"
#include "ktScenegraph.h"

#include <OpenSG/OSGMaterialDrawable.h>
#include <OpenSG/OSGMaterialGroup.h>
#include <OpenSG/OSGMaterialGroups.h>

using namespace ktAmbientOcclusionInternal;

osg::MaterialPtr ktAmbientOcclusion::getRealMaterial(const osg::NodePtr& node) {
    if (node == osg::NullFC || node->getCore() == osg::NullFC)
        return osg::NullFC;
    // A group's material overrides all materials below it. The scene's root is not asked: it belongs to the host.
    const osg::NodePtr root = ktScenegraph::getRootNode();
    for (osg::NodePtr ancestor = osg::materialGroupsExist() ? node : osg::NodePtr();
         ancestor != osg::NullFC && ancestor != root; ancestor = ancestor->getParent()) {
        if (ancestor->getCore() == osg::NullFC)
            continue;
        const osg::MaterialGroupPtr group = osg::MaterialGroupPtr::dcast(ancestor->getCore());
        if (group != osg::NullFC && group->getMaterial() != osg::NullFC)
            return group->getMaterial();
    }
    const osg::MaterialGroupPtr group = osg::MaterialGroupPtr::dcast(node->getCore());
    if (group != osg::NullFC)
        return group->getMaterial();
    const osg::MaterialDrawablePtr drawable = osg::MaterialDrawablePtr::dcast(node->getCore());
    if (drawable != osg::NullFC)
        return drawable->getMaterial();
    return osg::NullFC;
}

// A null geometry has the lowest address, so nodes without geometry come first.
bool geomPtrLess(const osg::NodePtr& a, const osg::NodePtr& b) {
    return geometryOf(a) < geometryOf(b);
}

bool geomPtrEqual(const osg::NodePtr& a, const osg::NodePtr& b) {
    return geometryOf(a) == geometryOf(b);
}
