// SPDX-License-Identifier: LGPL-2.1-or-later
// Collects the nodes that a run calculates, and the geometry and lights that its rays can reach.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"
#include "ktLights.h"
#include "ktNodePermission.h"
#include "ktScenegraph.h"
#include "OSGUEnvironmentMaterial.h"
#include "OSGUEnvironmentSwitchMaterial.h"
#include "OSGUShadowMaterial.h"

#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGSwitch.h>
#include <OpenSG/OSGTransform.h>

using namespace ktAmbientOcclusionInternal;

namespace {

// The child that a switch selects; null for other nodes, and if the choice is not a child.
osg::NodePtr chosenChild(const osg::NodePtr& node) {
    const osg::SwitchPtr switchCore = node == osg::NullFC ? osg::SwitchPtr() : osg::SwitchPtr::dcast(node->getCore());
    if (switchCore == osg::NullFC)
        return osg::NullFC;
    const osg::Int32 choice = switchCore->getChoice();
    const bool isChild = choice >= 0 && static_cast<osg::UInt32>(choice) < node->getNChildren();
    return isChild ? node->getChild(static_cast<osg::UInt32>(choice)) : osg::NodePtr();
}

// Calls `collect` for a node below `root`, unless a switch above it hides it. Switches that select a child are passed
// through: if each began a traversal of its own, deeply nested ones would overflow the stack.
template <class Collect>
osg::Action::ResultE enterUnlessHidden(const osg::NodePtr& node, const osg::NodePtr& root, Collect collect) {
    if (node != root) {
        const osg::NodePtr chosen = chosenChild(node->getParent());
        if (chosen != osg::NullFC && node != chosen)
            return osg::Action::Skip;
    }
    if (chosenChild(node) != osg::NullFC)
        return isHidden(node) ? osg::Action::Skip : osg::Action::Continue;
    return collect();
}

// Passes the lists to the traversal's callbacks, which take only a node.
struct GeometryCollector {
    ktAmbientOcclusion* controller;
    std::vector<osg::NodePtr>* nodes;
    std::set<osg::GeometryPtr>* collectedCores;
    osg::NodePtr root;

    osg::Action::ResultE enter(osg::NodePtr& node) {
        return enterUnlessHidden(node, root,
                                 [&] { return controller->getGeometryNodes(node, *nodes, *collectedCores); });
    }
    void traverse(const osg::NodePtr& newRoot) {
        root = newRoot;
        osg::traverse(root,
                      osg::osgTypedMethodFunctor1ObjPtrCPtrRef<osg::Action::ResultE, GeometryCollector, osg::NodePtr>(
                          this, &GeometryCollector::enter));
    }
};

struct VisibleCollector {
    ktAmbientOcclusion* controller;
    osg::NodePtr root;

    osg::Action::ResultE enter(osg::NodePtr& node) {
        return enterUnlessHidden(node, root, [&] { return controller->getVisibleNodes(node); });
    }
    void traverse(const osg::NodePtr& newRoot) {
        root = newRoot;
        osg::traverse(root,
                      osg::osgTypedMethodFunctor1ObjPtrCPtrRef<osg::Action::ResultE, VisibleCollector, osg::NodePtr>(
                          this, &VisibleCollector::enter));
    }
};

// Traverses the child that a switch selects; false if the choice is not a child.
template <class Collector>
bool enterChoice(const osg::NodePtr& node, osg::Int32 choice, Collector collector) {
    if (choice < 0 || static_cast<osg::UInt32>(choice) >= node->getNChildren())
        return false;
    const osg::NodePtr child = node->getChild(static_cast<osg::UInt32>(choice));
    if (child != osg::NullFC)
        collector.traverse(child);
    return true;
}

bool isMultiIndexed(const osg::GeometryPtr& geometry) {
    return geometry->getMFIndexMapping()->size() >= 2;
}

template <class MaterialPtrType>
bool isMaterial(const osg::MaterialPtr& material) {
    return material != osg::NullFC && MaterialPtrType::dcast(material) != osg::NullFC;
}

bool occludes(const osg::MaterialPtr& material) {
    return material == osg::NullFC || isMaterial<osg::UEnvironmentMaterialPtr>(material) ||
           isMaterial<osg::UEnvironmentSwitchMaterialPtr>(material) || isMaterial<osg::UShadowMaterialPtr>(material) ||
           !material->isTransparent();
}

} // namespace

osg::NodePtr ktAmbientOcclusion::buildGeometryNodeList(const std::vector<ktNodePtr>& selectedNodes,
                                                       std::vector<osg::NodePtr>& nodes, bool onlyMissing) {
    nodes.clear();
    missingOnly = onlyMissing;

    const osg::NodePtr workingRoot = osg::Node::create();
    osg::addRefCP(workingRoot);
    osg::beginEditCP(workingRoot, osg::Node::CoreFieldMask | osg::Node::ChildrenFieldMask);
    workingRoot->setCore(osg::Group::create());
    for (const ktNodePtr& selected : selectedNodes) {
        if (selected == osg::NullFC)
            continue; // no longer in the scene
        const osg::NodePtr clone = osg::cloneTree(selected);
        osg::Matrix parentToWorld;
        if (selected->getParent() != osg::NullFC)
            parentToWorld = selected->getParent()->getToWorld();

        const osg::TransformPtr transform = osg::Transform::create();
        osg::beginEditCP(transform, osg::Transform::MatrixFieldMask);
        transform->setMatrix(parentToWorld);
        osg::endEditCP(transform, osg::Transform::MatrixFieldMask);
        const osg::NodePtr placed = osg::Node::create();
        osg::beginEditCP(placed, osg::Node::CoreFieldMask | osg::Node::ChildrenFieldMask);
        placed->setCore(transform);
        placed->addChild(clone);
        osg::endEditCP(placed, osg::Node::CoreFieldMask | osg::Node::ChildrenFieldMask);
        workingRoot->addChild(placed);
    }
    osg::endEditCP(workingRoot, osg::Node::CoreFieldMask | osg::Node::ChildrenFieldMask);

    std::set<osg::GeometryPtr> collectedCores;
    GeometryCollector{this, &nodes, &collectedCores, {}}.traverse(workingRoot);
    return workingRoot;
}

void ktAmbientOcclusion::buildVisibleNodeList() {
    visibleGeometryNodes.clear();
    visibleLightNodes.clear();
    const osg::NodePtr root = ktScenegraph::getRootNode();
    if (root != osg::NullFC)
        VisibleCollector{this, {}}.traverse(root);
}

osg::Action::ResultE ktAmbientOcclusion::getGeometryNodes(const osg::NodePtr& node, std::vector<osg::NodePtr>& nodes,
                                                          std::set<osg::GeometryPtr>& collectedCores) {
    if (node == osg::NullFC || node->getCore() == osg::NullFC)
        return osg::Action::Continue;
    if (isHidden(node))
        return osg::Action::Skip;

    const osg::SwitchPtr switchCore = osg::SwitchPtr::dcast(node->getCore());
    if (switchCore != osg::NullFC) {
        const osg::Int32 choice = switchCore->getChoice();
        if (enterChoice(node, choice, GeometryCollector{this, &nodes, &collectedCores, {}}))
            return osg::Action::Skip;
        // A choice that is not a child enters all children, unlike in the visible scene.
        return choice == osg::Switch::NONE ? osg::Action::Skip : osg::Action::Continue;
    }

    const osg::GeometryPtr geometry = osg::GeometryPtr::dcast(node->getCore());
    if (geometry == osg::NullFC)
        return osg::Action::Continue;
    if (!ktNodePermission::allows(node, ktNodePermission::ChangeIllumination))
        return osg::Action::Continue;
    if (isMaterial<osg::UEnvironmentMaterialPtr>(getRealMaterial(node)))
        return osg::Action::Continue;

    // Per-vertex results need unshared properties and one index for all of them.
    osg::separateProperties(geometry);
    if (isMultiIndexed(geometry))
        osg::createSingleIndex(geometry);

    if (missingOnly && !isCalculationMissing(geometry, true, indirectIllumination))
        return osg::Action::Continue;
    if (geometry->getParents().size() >= 2 && collectedCores.count(geometry) > 0)
        return osg::Action::Continue;
    collectedCores.insert(geometry);
    nodes.push_back(node);
    return osg::Action::Continue;
}

osg::Action::ResultE ktAmbientOcclusion::getVisibleNodes(const osg::NodePtr& node) {
    if (node == osg::NullFC || node->getCore() == osg::NullFC)
        return osg::Action::Continue;
    if (isHidden(node))
        return osg::Action::Skip;

    const osg::SwitchPtr switchCore = osg::SwitchPtr::dcast(node->getCore());
    if (switchCore != osg::NullFC) {
        const osg::Int32 choice = switchCore->getChoice();
        if (enterChoice(node, choice, VisibleCollector{this, {}}))
            return osg::Action::Skip;
        return choice == osg::Switch::ALL ? osg::Action::Continue : osg::Action::Skip;
    }

    const osg::GeometryPtr geometry = osg::GeometryPtr::dcast(node->getCore());
    if (geometry == osg::NullFC) {
        if (ktLights::isLight(node) && !ktLights::isRayFileLight(node))
            visibleLightNodes.push_back(node);
        return osg::Action::Continue;
    }
    if (isLinesOrPoints(geometry) || !occludes(getRealMaterial(node)))
        return osg::Action::Continue;
    if (isMultiIndexed(geometry)) {
        osg::separateProperties(geometry);
        osg::createSingleIndex(geometry);
    }
    visibleGeometryNodes.push_back(node);
    return osg::Action::Continue;
}
