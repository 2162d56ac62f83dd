// SPDX-License-Identifier: LGPL-2.1-or-later
// Copies geometries for the viewport, and finds out which changed.
#include "ktViewShapes.h"

#include "ktBakedLight.h"
#include "ktGeometryInstances.h"
#include "ktGeometryView.h"
#include "ktPreviewMaterial.h"
#include "ktSurfaceColors.h"
#include "ktTexCoordChannel.h"
#include "ktViewLevels.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <thread>
#include <utility>

namespace {

constexpr unsigned mostThreads = 8;
constexpr double firstCells = 75; // along the diagonal of the scene, of the level for the first picture

/// Containers and sizes of the properties of a geometry.
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

/// Reads the arrays of a geometry. On any thread.
void readArrays(const osg::GeometryPtr& geometry, ktShownGeometry& result) {
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
}

/// Calls work(i) for 0 to count - 1 on some threads, until `isInterrupted`. @throws std::bad_alloc if one of them does
template <class Work>
void forEachOnThreads(std::size_t count, const std::function<bool()>& isInterrupted, const Work& work) {
    std::atomic<std::size_t> next{0};
    std::atomic<bool> hasMemory{true};
    const auto loop = [&] {
        try {
            for (std::size_t i = next++; i < count && hasMemory && !(isInterrupted && isInterrupted()); i = next++)
                work(i);
        } catch (const std::bad_alloc&) {
            hasMemory = false;
        }
    };
    std::vector<std::thread> helpers;
    try {
        const std::size_t most =
            std::min<std::size_t>(count, std::min(mostThreads, std::thread::hardware_concurrency()));
        while (helpers.size() + 1 < most)
            helpers.emplace_back(loop);
    } catch (const std::exception&) { // then there are fewer
    }
    loop();
    for (std::thread& helper : helpers)
        helper.join();
    if (!hasMemory)
        throw std::bad_alloc();
}

/// A number that differs between different results; 0 for no result.
std::uint64_t hashResults(const osg::GeometryPtr& geometry) {
    const ktBakedChannels channels = ktFindBakedChannels(geometry);
    if (!channels.results)
        return 0;
    return std::max<std::uint64_t>(1, ktHashBakedChannels(channels, ktBakedHashBegin + channels.count));
}

} // namespace

ktViewCamera::Box ktTransformedBox(const ktViewCamera::Box& box, const osg::Matrix& matrix) {
    ktViewCamera::Box result;
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

void ktViewShapes::readAll(const osg::NodePtr& root, const std::function<bool()>& isInterrupted) {
    std::vector<Entry*> entries; // of new geometries; they keep their addresses
    std::vector<std::pair<Entry*, osg::Matrix>> uses;
    ktForEachGeometryInstance(root, ktInstances::Visible, [&](const ktGeometryInstance& instance) {
        if (isInterrupted && isInterrupted())
            return false;
        if (instance.geometry->getPositions() == osg::NullFC || ktIsEnvironment(ktMaterialInEffect(instance.node)))
            return true;
        const auto [entry, isNew] = known.try_emplace(instance.geometry.getFieldContainerId());
        uses.emplace_back(&entry->second, instance.toWorld);
        if (!isNew)
            return true;
        entry->second.shown.geometry = osg::GeometryRefPtr(instance.geometry);
        entries.push_back(&entry->second);
        return true;
    });
    forEachOnThreads(entries.size(), isInterrupted, [&](std::size_t i) {
        readArrays(entries[i]->shown.geometry, entries[i]->shown);
        entries[i]->shown.results = hashResults(entries[i]->shown.geometry);
    });
    const auto isMissing = [](const Entry* entry) { return !entry->shown.triangles; };
    if (std::any_of(entries.begin(), entries.end(), isMissing)) // interrupted
        return forgetAll();
    for (Entry* entry : entries) {
        entry->shown.shape = ++lastShape;
        entry->signature = signatureOf(entry->shown.geometry);
        entry->isNew = true;
    }
    ktViewCamera::Box scene;
    for (const auto& [entry, toWorld] : uses) {
        const ktViewCamera::Box box = ktTransformedBox(entry->shown.bounds, toWorld);
        if (box.isEmpty() || !(box.diagonal() < 1e18))
            continue;
        scene.extend(box);
        entry->scale = std::max(entry->scale, box.diagonal() / std::max(entry->shown.bounds.diagonal(), 1e-30));
    }
    sceneSize = scene.isEmpty() ? 0 : scene.diagonal();
}

void ktViewShapes::makeFirstLevels(const std::function<bool()>& isInterrupted) {
    std::vector<Entry*> entries;
    for (auto& [id, entry] : known)
        entries.push_back(&entry);
    try {
        forEachOnThreads(entries.size(), isInterrupted, [&](std::size_t i) {
            const double cellSize = sceneSize / firstCells / std::max(entries[i]->scale, 1e-30);
            ktShownGeometry& shown = entries[i]->shown;
            auto levels = std::make_shared<std::vector<ktViewLevel>>();
            ktViewLevel level = ktMakeQuickLevel(*shown.positions, *shown.triangles, shown.bounds, cellSize);
            if (!level.triangles.empty())
                levels->push_back(std::move(level));
            shown.levels = std::move(levels);
        });
    } catch (const std::bad_alloc&) { // the viewport makes others later, and says so
    }
}

std::size_t ktViewShapes::triangleCount() const {
    std::size_t count = 0;
    for (const auto& [id, entry] : known)
        count += entry.shown.triangleCount();
    return count;
}

const ktShownGeometry& ktViewShapes::read(const osg::GeometryPtr& geometry, bool withResults) {
    std::vector<osg::UInt32> signature = signatureOf(geometry);
    Entry& entry = known[geometry.getFieldContainerId()];
    const bool isSame = entry.signature == signature;
    if (!isSame) {
        entry.shown = {};
        entry.shown.geometry = osg::GeometryRefPtr(geometry);
        readArrays(geometry, entry.shown);
        entry.shown.shape = ++lastShape;
        entry.signature = std::move(signature);
    }
    if (withResults && (!std::exchange(entry.isNew, false) || !isSame))
        entry.shown.results = hashResults(geometry);
    return entry.shown;
}

bool ktViewShapes::readResults(ktShownGeometry& geometry) {
    Entry& entry = known[geometry.geometry.get().getFieldContainerId()];
    entry.isNew = false;
    entry.shown.results = geometry.results = hashResults(geometry.geometry);
    return entry.signature == signatureOf(geometry.geometry);
}

void ktViewShapes::take(ktViewShapes&& others) {
    for (auto& [id, entry] : others.known)
        if (!isKnown(id)) {
            entry.shown.shape = ++lastShape;
            known.emplace(id, std::move(entry));
        }
    others.known.clear();
}

void ktViewShapes::forgetUnused(const osg::NodePtr& root) {
    for (auto entry = known.begin(); entry != known.end();)
        entry = root == osg::NullFC || entry->second.shown.geometry->getParents().empty() ? known.erase(entry)
                                                                                          : std::next(entry);
}
