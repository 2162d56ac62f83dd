// SPDX-License-Identifier: LGPL-2.1-or-later
// Copies the visible geometry of the scene graph for the viewport, and finds out what changed.
#include "ktViewScene.h"

#include "ktBakedLight.h"
#include "ktGeometryInstances.h"
#include "ktNodeLocator.h"
#include "ktPreviewMaterial.h"
#include "ktSurfaceColors.h"
#include "OSGUShadowMaterial.h"

#include <algorithm>
#include <cmath>
#include <QElapsedTimer>
#include <tuple>
#include <unordered_set>

namespace {

using Box = ktViewCamera::Box;

bool isFinite(const Box& box) {
    return std::all_of(box.low.begin(), box.low.end(), [](double value) { return std::abs(value) < 1e18; }) &&
           std::all_of(box.high.begin(), box.high.end(), [](double value) { return std::abs(value) < 1e18; });
}

std::array<float, 3> perGathered(const osg::NodePtr& node) {
    const osg::Color3f color = ktGatheredColor(node);
    std::array<float, 3> factors;
    for (osg::UInt32 i = 0; i < 3; ++i)
        factors[i] = color[i] > 1e-6f ? 1 / color[i] : 0; // light that was multiplied by black is lost
    return factors;
}

} // namespace

std::uint32_t ktViewScene::materialIndex(const osg::MaterialPtr& material) {
    const osg::UInt32 id = material == osg::NullFC ? 0 : material.getFieldContainerId();
    const auto [entry, isNew] = materialIndices.emplace(id, static_cast<std::uint32_t>(materials.size()));
    if (!isNew)
        return entry->second;
    ktViewMaterial result;
    result.look = ktReadPreviewMaterial(material);
    result.base = ktReadSurfaceColors(osg::NullFC, material).base;
    if (const osg::UberMaterialPtr uber = osg::UberMaterialPtr::dcast(material); uber != osg::NullFC) {
        result.hasVertexColors = uber->getVertexColors();
        result.texture = uber->getTexture();
    }
    result.isGroundPlane = osg::UShadowMaterialPtr::dcast(material) != osg::NullFC;
    if (result.isGroundPlane)
        result.look.alpha = ktPreviewMaterial::Alpha::Blend;
    materials.push_back(std::move(result));
    return entry->second;
}

void ktViewScene::addUse(const osg::NodePtr& node, const osg::GeometryPtr& geometry, const osg::Matrix& toWorld,
                         bool hasTime) {
    const osg::MaterialPtr material = ktMaterialInEffect(node);
    if (geometry->getPositions() == osg::NullFC || ktIsEnvironment(material))
        return;
    const auto [entry, isNew] =
        geometryIndices.emplace(geometry.getFieldContainerId(), static_cast<std::uint32_t>(geometries.size()));
    if (isNew) {
        geometries.push_back(shapes.read(geometry, hasTime));
        if (!hasTime)
            due.push_back(entry->second);
    }
    ktViewUse use;
    use.geometry = entry->second;
    use.bounds = ktTransformedBox(geometries[use.geometry].bounds, toWorld);
    if (use.bounds.isEmpty() || !isFinite(use.bounds))
        return;
    use.node = osg::NodeRefPtr(node);
    use.material = materialIndex(material);
    use.toWorld = toWorld;
    use.isMirrored = toWorld.det3() < 0;
    use.perGathered = perGathered(node);
    uses.push_back(std::move(use));
}

void ktViewScene::read(const osg::NodePtr& newRoot, bool hasTime) {
    ++stamp;
    due.clear();
    geometries.clear(), materials.clear(), uses.clear();
    geometryIndices.clear(), materialIndices.clear();
    root = osg::NodeRefPtr(newRoot);
    ktForEachGeometryInstance(newRoot, ktInstances::Visible, [&](const ktGeometryInstance& instance) {
        addUse(instance.node, instance.geometry, instance.toWorld, hasTime);
        return true;
    });
    shapes.forgetUnused(newRoot);
    bounds = allBounds = {};
    for (const ktViewUse& use : uses) {
        allBounds.extend(use.bounds);
        if (!materials[use.material].isGroundPlane)
            bounds.extend(use.bounds);
    }
    if (bounds.isEmpty())
        bounds = allBounds;
    std::stable_sort(uses.begin(), uses.end(), [](const ktViewUse& a, const ktViewUse& b) {
        return std::tie(a.material, a.geometry, a.isMirrored) < std::tie(b.material, b.geometry, b.isMirrored);
    });
    select(std::vector<osg::NodePtr>(selected));
}

bool ktViewScene::readDueResults(double budget_ms) {
    QElapsedTimer timer;
    timer.start();
    while (!due.empty() && static_cast<double>(timer.nsecsElapsed()) * 1e-6 < budget_ms) {
        shapes.readResults(geometries[due.back()]);
        due.pop_back();
    }
    return due.empty();
}

bool ktViewScene::hasLevels() const {
    return std::all_of(geometries.begin(), geometries.end(),
                       [](const ktShownGeometry& geometry) { return geometry.levels != nullptr; });
}

bool ktViewScene::readResults() {
    due.clear();
    bool isSame = true;
    for (ktShownGeometry& geometry : geometries)
        isSame = shapes.readResults(geometry) && isSame;
    for (ktViewUse& use : uses)
        use.perGathered = perGathered(use.node);
    return isSame;
}

void ktViewScene::select(const std::vector<osg::NodePtr>& nodes) {
    selected = nodes;
    selectedCount = 0;
    std::vector<osg::UInt32> ids;
    for (const osg::NodePtr& node : nodes)
        if (node != osg::NullFC)
            ids.push_back(node.getFieldContainerId());
    const std::unordered_set<osg::UInt32> isIn(ids.begin(), ids.end());
    ktNodeLocator locator(root, ids);
    for (ktViewUse& use : uses) {
        use.isSelected = !ids.empty() && (isIn.count(use.node.get().getFieldContainerId()) > 0 ||
                                          locator.find(use.node) == ktNodeLocation::BelowSelected);
        selectedCount += use.isSelected;
    }
}

std::vector<Box> ktViewScene::framedBoxes(bool onlySelected) const {
    std::vector<Box> boxes;
    for (const ktViewUse& use : uses)
        if (onlySelected ? use.isSelected : !materials[use.material].isGroundPlane)
            boxes.push_back(use.bounds);
    if (boxes.empty() && !onlySelected)
        boxes.push_back(allBounds);
    return boxes;
}

std::size_t ktViewScene::triangleCount() const {
    std::size_t count = 0;
    for (const ktViewUse& use : uses)
        count += geometries[use.geometry].triangleCount();
    return count;
}
