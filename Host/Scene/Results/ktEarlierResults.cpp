// SPDX-License-Identifier: LGPL-2.1-or-later
// Copies the results from before a run, and gives them back if the run does not finish.
#include "ktEarlierResults.h"

#include "ktControllerState.h"
#include "ktGeometryInstances.h"
#include "ktLog.h"
#include "ktNodePermission.h"
#include "ktScenegraph.h"
#include "ktSplitEdges.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <set>

namespace {

constexpr qint64 betweenEvents_ms = 8;

const void* firstPosition(const osg::GeometryPtr& geometry) {
    const auto positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
    return positions == osg::NullFC || positions->size() == 0 ? nullptr : &(*positions->getFieldPtr())[0];
}

bool isEqual(const osg::MFVec4f& field, const std::vector<osg::Vec4f>& values) {
    return field.size() == values.size() &&
           (values.empty() || std::memcmp(static_cast<const void*>(&field[0]), static_cast<const void*>(values.data()),
                                          values.size() * sizeof(osg::Vec4f)) == 0);
}

osg::AttachmentPtr findSettings(const osg::NodePtr& node) {
    return node->findAttachment(osg::AmbientOcclusionSettingsAttachment::getClassType());
}

/// The selected nodes that a calculation may change.
std::vector<osg::NodePtr> selectedNodes() {
    std::vector<osg::NodePtr> nodes;
    for (const ktNodePtr& node : ktScenegraph::getSelectedRootNodes())
        if (node != osg::NullFC && ktNodePermission::allows(node, ktNodePermission::ChangeIllumination))
            nodes.push_back(node);
    return nodes;
}

} // namespace

ktEarlierResults::ktEarlierResults() {
    ktHostSignals& host = ktHostSignals::the();
    // Nothing may be thrown through a signal.
    const auto guarded = [this](auto&& copy) {
        try {
            copy();
        } catch (const std::bad_alloc&) {
            forget();
            ktLog::warning("No memory for a copy of the results so far: a cancel would lose them");
        }
    };
    connect(&host, &ktHostSignals::busyChanged, this, [this, guarded](bool busy) {
        if (busy)
            guarded([this] { copySettings(); });
    });
    connect(&host, &ktHostSignals::tracingStarted, this, [this, guarded] { guarded([this] { copyResults(); }); });
    connect(&host, &ktHostSignals::geometryTraced, this, &ktEarlierResults::noteTraced);
    connect(&host, &ktHostSignals::geometryRefined, this,
            [this, guarded](quint32 geometry, const ktSplitEdges& newVertices) {
                guarded([&] { noteRefined(geometry, newVertices); });
            });
    connect(&host, &ktHostSignals::runEnded, this, &ktEarlierResults::end);
}

ktEarlierResults::~ktEarlierResults() = default;

// A calculation first stores its settings on the nodes.
void ktEarlierResults::copySettings() {
    forget();
    std::vector<osg::NodePtr> pending = selectedNodes();
    while (!pending.empty()) {
        const osg::NodePtr node = pending.back();
        pending.pop_back();
        if (node == osg::NullFC)
            continue;
        settings.push_back({osg::NodeRefPtr(node), osg::RefPtr<osg::AttachmentPtr>(findSettings(node))});
        for (osg::UInt32 i = 0; i < node->getNChildren(); ++i)
            pending.push_back(node->getChild(i));
    }
}

void ktEarlierResults::copyResults() {
    const auto copyOf = [](const osg::GeoTexCoordsPtr& property) {
        Channel channel;
        channel.property = property;
        const auto values =
            property == osg::NullFC ? osg::GeoTexCoords4fPtr() : osg::GeoTexCoords4fPtr::dcast(property);
        if (values != osg::NullFC)
            channel.values.assign(values->getField().begin(), values->getField().end());
        return channel;
    };
    entries.clear();
    byPositions.clear();
    std::set<osg::UInt32> seen;
    QElapsedTimer sinceEvents;
    sinceEvents.start();
    for (const osg::NodePtr& root : selectedNodes()) {
        if (const auto used = osg::AmbientOcclusionSettingsAttachmentPtr::dcast(findSettings(root));
            used != osg::NullFC) {
            indirect = used->getIndirectIllumination();
            bounces = used->getNumIndirections();
        }
        ktForEachGeometryInstance(root, ktInstances::All, [&](const ktGeometryInstance& instance) {
            const osg::GeometryPtr& geometry = instance.geometry;
            if (geometry->getPositions() == osg::NullFC || !seen.insert(geometry.getFieldContainerId()).second)
                return true;
            Entry entry;
            entry.geometry = geometry;
            entry.shadows = copyOf(geometry->getTexCoords7());
            entry.bakedLight = copyOf(geometry->getTexCoords5());
            entry.indexMapping.assign(geometry->getMFIndexMapping()->begin(), geometry->getMFIndexMapping()->end());
            entry.vertices = geometry->getPositions()->getSize();
            if (const void* const first = firstPosition(geometry))
                byPositions[first] = entries.size();
            entries.push_back(std::move(entry));
            if (sinceEvents.elapsed() > betweenEvents_ms) { // a window stays live, as while it traces
                QCoreApplication::processEvents();
                sinceEvents.start();
            }
            return true;
        });
    }
}

void ktEarlierResults::noteTraced(const void* positions, bool isIndirect) {
    const auto found = byPositions.find(positions);
    if (found == byPositions.end())
        return;
    Entry& entry = entries[found->second];
    ++(isIndirect ? entry.bounces : entry.directPasses);
}

void ktEarlierResults::noteRefined(quint32 id, const ktSplitEdges& newVertices) {
    const auto entry = std::find_if(entries.begin(), entries.end(), [id](const Entry& candidate) {
        return candidate.geometry.get().getFieldContainerId() == id;
    });
    if (entry == entries.end())
        return;
    for (Channel* channel : {&entry->shadows, &entry->bakedLight}) {
        std::vector<osg::Vec4f>& values = channel->values;
        if (values.size() < entry->vertices)
            continue;
        values.resize(entry->vertices);
        values.reserve(entry->vertices + newVertices.size());
        for (const ktSplitEdge& edge : newVertices)
            values.push_back(edge.interpolate(values[edge.a], values[edge.b]));
    }
    entry->vertices += static_cast<osg::UInt32>(newVertices.size());
    // Its positions lie elsewhere now.
    const std::size_t number = static_cast<std::size_t>(entry - entries.begin());
    for (auto known = byPositions.begin(); known != byPositions.end();)
        known = known->second == number ? byPositions.erase(known) : std::next(known);
    byPositions[firstPosition(entry->geometry.get())] = number;
}

void ktEarlierResults::end(const ktRunEnd& end) {
    if (end.kind != ktRunEnd::Done) {
        bool isAnyFinished = false;
        for (const Entry& entry : entries) {
            if (isFinished(entry))
                isAnyFinished = true;
            else
                giveBack(entry);
        }
        giveBackSettings(!isAnyFinished);
    }
    forget();
}

// A calculation with indirect light stores nothing before its direct pass is over. Without a bounce that comes after
// it, the passes do not tell whether it came so far.
bool ktEarlierResults::isFinished(const Entry& entry) const {
    if (keep == None || entry.directPasses == 0)
        return false;
    return !indirect || (bounces > 0 && entry.bounces >= bounces);
}

void ktEarlierResults::giveBack(const Entry& entry) const {
    const osg::GeometryPtr geometry = entry.geometry.get();
    if (geometry->getPositions() == osg::NullFC || geometry->getPositions()->getSize() != entry.vertices)
        return; // another shape, on which the results of before do not lie
    const auto write = [](const Channel& channel) {
        const osg::GeoTexCoordsPtr property = channel.property.get();
        const auto values =
            property == osg::NullFC ? osg::GeoTexCoords4fPtr() : osg::GeoTexCoords4fPtr::dcast(property);
        if (values == osg::NullFC || isEqual(*values->getFieldPtr(), channel.values))
            return;
        osg::beginEditCP(values);
        osg::MFVec4f& field = *values->getFieldPtr();
        field.resize(static_cast<osg::UInt32>(channel.values.size()));
        std::copy(channel.values.begin(), channel.values.end(), field.begin());
        osg::endEditCP(values);
    };
    write(entry.shadows);
    write(entry.bakedLight);
    osg::beginEditCP(geometry);
    geometry->setTexCoords7(entry.shadows.property.get());
    geometry->setTexCoords5(entry.bakedLight.property.get());
    osg::MFUInt16& mapping = *geometry->getMFIndexMapping();
    if (mapping.size() == entry.indexMapping.size())
        std::copy(entry.indexMapping.begin(), entry.indexMapping.end(), mapping.begin());
    osg::endEditCP(geometry);
}

// Nodes without geometry stand for all below them, so they keep the new settings if any geometry keeps its new results.
void ktEarlierResults::giveBackSettings(bool toAll) const {
    std::set<osg::UInt32> finished;
    for (const Entry& entry : entries)
        if (isFinished(entry))
            finished.insert(entry.geometry.get().getFieldContainerId());
    for (const Settings& before : settings) {
        const osg::NodePtr node = before.node.get();
        const osg::AttachmentPtr now = findSettings(node), then = before.attachment.get();
        const osg::NodeCorePtr core = node->getCore();
        const bool isGeometry = core != osg::NullFC && osg::GeometryPtr::dcast(core) != osg::NullFC;
        if (now == then || (!toAll && (!isGeometry || finished.count(core.getFieldContainerId()) > 0)))
            continue;
        osg::beginEditCP(node, osg::Node::AttachmentsFieldMask);
        node->subAttachment(now);
        node->addAttachment(then);
        osg::endEditCP(node, osg::Node::AttachmentsFieldMask);
    }
}

void ktEarlierResults::forget() {
    entries.clear();
    byPositions.clear();
    settings.clear();
}
