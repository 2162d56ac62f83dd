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
#include <system_error>
#include <thread>
#include <utility>

namespace {

constexpr unsigned mostThreads = 8;

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

/// A number that differs between different results; 0 for no result.
std::uint64_t hashResults(const osg::GeometryPtr& geometry) {
    const ktBakedChannels channels = ktFindBakedChannels(geometry);
    if (!channels.results)
        return 0;
    return std::max<std::uint64_t>(1, ktHashBakedChannels(channels, ktBakedHashBegin + channels.count));
}

} // namespace

void ktViewShapes::readAll(const osg::NodePtr& root, const std::function<bool()>& isInterrupted) {
    ktForEachGeometryInstance(root, ktInstances::Visible, [&](const ktGeometryInstance& instance) {
        if (isInterrupted && isInterrupted())
            return false;
        if (instance.geometry->getPositions() == osg::NullFC || isKnown(instance.geometry.getFieldContainerId()) ||
            ktIsEnvironment(ktMaterialInEffect(instance.node)))
            return true;
        read(instance.geometry);
        known[instance.geometry.getFieldContainerId()].isNew = true;
        return true;
    });
}

void ktViewShapes::makeLevels(const std::function<bool()>& isInterrupted) {
    std::vector<ktShownGeometry*> copies;
    for (auto& [id, entry] : known)
        copies.push_back(&entry.shown);
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        try {
            for (std::size_t i = next++; i < copies.size() && !(isInterrupted && isInterrupted()); i = next++)
                copies[i]->levels = std::make_shared<const std::vector<ktViewLevel>>(
                    ktMakeViewLevels(*copies[i]->positions, *copies[i]->triangles, copies[i]->bounds));
        } catch (const std::bad_alloc&) { // the viewport makes them later, and says so
        }
    };
    std::vector<std::thread> helpers;
    try {
        while (helpers.size() + 1 < std::min(mostThreads, std::thread::hardware_concurrency()))
            helpers.emplace_back(work);
    } catch (const std::system_error&) { // then there are fewer
    }
    work();
    for (std::thread& helper : helpers)
        helper.join();
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
        entry.shown = readGeometry(geometry);
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
