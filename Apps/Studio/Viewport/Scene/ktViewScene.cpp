// SPDX-License-Identifier: LGPL-2.1-or-later
// Copies the visible geometry of the scene graph for the viewport, and finds out what changed.
#include "ktViewScene.h"

#include "ktBakedLight.h"
#include "ktGeometryInstances.h"
#include "ktGeometryView.h"
#include "ktNodeLocator.h"
#include "ktPreviewMaterial.h"
#include "ktSurfaceColors.h"
#include "ktTexCoordChannel.h"
#include "OSGUShadowMaterial.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <tuple>
#include <unordered_set>

namespace {

using Box = ktViewCamera::Box;

/// What must be equal for a geometry to look the same, besides results: containers and sizes of its properties.
std::vector<osg::UInt32> signatureOf(const osg::GeometryPtr& geometry) {
    std::vector<osg::UInt32> signature;
    const auto add = [&signature](const auto& property) {
        signature.push_back(property == osg::NullFC ? 0 : property.getFieldContainerId());
        signature.push_back(property == osg::NullFC ? 0 : static_cast<osg::UInt32>(property->size()));
    };
    add(geometry->getPositions());
    add(geometry->getIndices());
    add(geometry->getLengths());
    add(geometry->getTypes());
    add(geometry->getNormals());
    add(geometry->getColors());
    for (int channel = 0; channel < 8; ++channel)
        if (!ktIsResultChannel(channel))
            add(ktGetTexCoords(geometry, channel));
    return signature;
}

ktShownGeometry readGeometry(const osg::GeometryPtr& geometry) {
    ktShownGeometry result;
    result.geometry = osg::GeometryRefPtr(geometry);
    const ktGeometryView view = ktViewGeometry(geometry);
    auto positions = std::make_shared<std::vector<float>>(3 * static_cast<std::size_t>(view.positionCount) + 1);
    if (view.positionCount > 0)
        std::copy_n(view.positions(), 3 * static_cast<std::size_t>(view.positionCount), positions->begin());
    std::uint64_t badTriangles = 0; // the file's reader has named them
    auto triangles = std::make_shared<std::vector<std::uint32_t>>(ktReadTriangles(view, badTriangles));
    triangles->shrink_to_fit();
    for (const std::uint32_t corner : *triangles) {
        const float* p = &(*positions)[3 * static_cast<std::size_t>(corner)];
        result.bounds.extend(ktViewCamera::Vector{p[0], p[1], p[2]});
    }
    result.positions = std::move(positions);
    result.triangles = std::move(triangles);
    return result;
}

Box transformed(const Box& box, const osg::Matrix& matrix) {
    Box result;
    for (unsigned corner = 0; corner < 8 && !box.isEmpty(); ++corner) {
        ktViewCamera::Vector point;
        for (osg::UInt32 axis = 0; axis < 3; ++axis) {
            point[axis] = matrix[3][axis];
            for (osg::UInt32 i = 0; i < 3; ++i)
                point[axis] += double(matrix[i][axis]) * (corner >> i & 1 ? box.high : box.low)[i];
        }
        result.extend(point);
    }
    return result;
}

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

/// FNV-1a over words. Source: G. Fowler, L. Noll and K.-P. Vo, The FNV Non-Cryptographic Hash Algorithm, 1991.
std::uint64_t hash(const osg::Vec4f* values, std::size_t count, std::uint64_t state) {
    for (std::size_t i = 0; values && i < count; ++i) {
        std::uint64_t words[2];
        std::memcpy(words, values[i].getValues(), sizeof words);
        for (const std::uint64_t word : words)
            state = (state ^ word) * 1099511628211u;
    }
    return state;
}

/// A number that differs between different results; 0 for no result.
std::uint64_t hashResults(const osg::GeometryPtr& geometry) {
    const ktBakedChannels channels = ktFindBakedChannels(geometry);
    if (!channels.results)
        return 0;
    const std::uint64_t results = hash(channels.results, channels.count, 14695981039346656037u + channels.count);
    return std::max<std::uint64_t>(1, hash(channels.lamps, channels.count, results));
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

void ktViewScene::addUse(const osg::NodePtr& node, const osg::GeometryPtr& geometry, const osg::Matrix& toWorld) {
    const osg::MaterialPtr material = ktMaterialInEffect(node);
    if (geometry->getPositions() == osg::NullFC || ktIsEnvironment(material))
        return;
    const auto [entry, isNew] =
        geometryIndices.emplace(geometry.getFieldContainerId(), static_cast<std::uint32_t>(geometries.size()));
    if (isNew) {
        std::vector<osg::UInt32> signature = signatureOf(geometry);
        auto& [knownSignature, record] = known[geometry.getFieldContainerId()];
        if (knownSignature != signature) {
            record = readGeometry(geometry);
            record.shape = ++lastShape;
            knownSignature = std::move(signature);
        }
        record.results = hashResults(geometry);
        geometries.push_back(record);
    }
    ktViewUse use;
    use.geometry = entry->second;
    use.bounds = transformed(geometries[use.geometry].bounds, toWorld);
    if (use.bounds.isEmpty() || !isFinite(use.bounds))
        return;
    use.node = osg::NodeRefPtr(node);
    use.material = materialIndex(material);
    use.toWorld = toWorld;
    use.isMirrored = toWorld.det3() < 0;
    use.perGathered = perGathered(node);
    uses.push_back(std::move(use));
}

void ktViewScene::read(const osg::NodePtr& newRoot) {
    ++stamp;
    geometries.clear(), materials.clear(), uses.clear();
    geometryIndices.clear(), materialIndices.clear();
    root = osg::NodeRefPtr(newRoot);
    ktForEachGeometryInstance(newRoot, ktInstances::Visible, [this](const ktGeometryInstance& instance) {
        addUse(instance.node, instance.geometry, instance.toWorld);
        return true;
    });
    for (auto entry = known.begin(); entry != known.end();)
        entry = newRoot == osg::NullFC || entry->second.second.geometry->getParents().empty() ? known.erase(entry)
                                                                                              : std::next(entry);
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

bool ktViewScene::readResults() {
    bool isSame = true;
    for (ktShownGeometry& geometry : geometries) {
        auto& [signature, record] = known[geometry.geometry.get().getFieldContainerId()];
        isSame = isSame && signature == signatureOf(geometry.geometry);
        record.results = geometry.results = hashResults(geometry.geometry);
    }
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
