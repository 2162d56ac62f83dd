// SPDX-License-Identifier: LGPL-2.1-or-later
// Copies results and settings of a part of the scene, and swaps them with later ones.
#include "ktResultState.h"

#include "ktGeometryInstances.h"
#include "ktScenegraph.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t muchToCopy = std::size_t(1) << 20; // bytes; takes about a millisecond

template <class PropertyPtr>
std::size_t elementSize(const PropertyPtr& property) {
    return static_cast<std::size_t>(property->getFormatSize()) * property->getDimension();
}

template <class PropertyPtr>
Bytes bytesOf(const PropertyPtr& property, std::size_t first = 0) {
    if (property == osg::NullFC || property->getSize() <= first)
        return {};
    const std::uint8_t* const data = property->getData();
    const std::size_t size = elementSize(property);
    return Bytes(data + first * size, data + property->getSize() * size);
}

/// Makes the property `first` elements and the bytes long.
template <class PropertyPtr>
void setBytes(const PropertyPtr& property, std::size_t first, const Bytes& bytes) {
    osg::beginEditCP(property);
    const std::size_t size = elementSize(property);
    property->resize(first + bytes.size() / size);
    if (!bytes.empty())
        std::memcpy(property->getData() + first * size, bytes.data(), bytes.size());
    osg::endEditCP(property);
}

/// Calls visit(property) for each vertex property but the two channels of results.
template <class Visit>
void forEachVertexProperty(const osg::GeometryPtr& geometry, const Visit& visit) {
    const auto visitIfAny = [&](const auto& property) {
        if (property != osg::NullFC)
            visit(property);
    };
    visitIfAny(geometry->getPositions());
    visitIfAny(geometry->getNormals());
    visitIfAny(geometry->getColors());
    visitIfAny(geometry->getSecondaryColors());
    for (const osg::GeoTexCoordsPtr& texCoords :
         {geometry->getTexCoords(), geometry->getTexCoords1(), geometry->getTexCoords2(), geometry->getTexCoords3(),
          geometry->getTexCoords4(), geometry->getTexCoords6()})
        visitIfAny(texCoords);
}

osg::AttachmentPtr findSettings(const osg::NodePtr& node) {
    return node->findAttachment(osg::AmbientOcclusionSettingsAttachment::getClassType());
}

} // namespace

ktResultState::Channel ktResultState::copyOf(const osg::GeoTexCoordsPtr& property) {
    Channel channel;
    channel.property = property;
    channel.content = ktUndoMemory::Block(bytesOf(property));
    return channel;
}

ktResultState::Entry ktResultState::stateOf(const osg::GeometryPtr& geometry) {
    Entry entry;
    entry.geometry = geometry;
    entry.shadows.property = geometry->getTexCoords7();
    entry.bakedLight.property = geometry->getTexCoords5();
    entry.indexMapping.assign(geometry->getMFIndexMapping()->begin(), geometry->getMFIndexMapping()->end());
    forEachVertexProperty(geometry, [&entry](const auto& property) {
        Tail tail;
        tail.property = osg::AttachmentPtr(property);
        tail.size = property->getSize();
        entry.tails.push_back(std::move(tail));
    });
    entry.types = geometry->getTypes();
    entry.lengths = geometry->getLengths();
    entry.indices = geometry->getIndices();
    return entry;
}

void ktResultState::copyChannels(const Aside& aside) {
    struct Copy {
        Channel* channel;
        const std::uint8_t* data;
        std::size_t size;
        Bytes bytes;
    };
    std::vector<Copy> copies;
    std::size_t size = 0;
    for (Entry& entry : geometries)
        for (Channel* const channel : {&entry.shadows, &entry.bakedLight})
            if (const osg::GeoTexCoordsPtr property = channel->property.get();
                property != osg::NullFC && property->getSize() > 0) {
                copies.push_back({channel, property->getData(), property->getSize() * elementSize(property), {}});
                size += copies.back().size;
            }
    const auto copyAll = [&copies] {
        for (Copy& copy : copies)
            copy.bytes.assign(copy.data, copy.data + copy.size);
    };
    if (aside && size > muchToCopy)
        aside(copyAll);
    else
        copyAll();
    for (Copy& copy : copies)
        copy.channel->content = ktUndoMemory::Block(std::move(copy.bytes));
}

ktResultState::ktResultState(const std::vector<osg::NodePtr>& roots, const Aside& aside) {
    std::set<osg::UInt32> seen;
    std::vector<osg::NodePtr> pending = roots;
    while (!pending.empty()) {
        const osg::NodePtr node = pending.back();
        pending.pop_back();
        if (node == osg::NullFC)
            continue;
        settings.push_back({osg::NodeRefPtr(node), osg::RefPtr<osg::AttachmentPtr>(findSettings(node))});
        for (osg::UInt32 i = 0; i < node->getNChildren(); ++i)
            pending.push_back(node->getChild(i));
        const auto geometry = osg::GeometryPtr::dcast(node->getCore());
        if (geometry != osg::NullFC && geometry->getPositions() != osg::NullFC &&
            seen.insert(geometry.getFieldContainerId()).second)
            geometries.push_back(stateOf(geometry));
    }
    copyChannels(aside);
}

bool ktResultState::isAsNow(const Entry& entry) {
    const osg::GeometryPtr geometry = entry.geometry.get();
    const auto isSame = [](const Channel& channel, const osg::GeoTexCoordsPtr& now) {
        if (channel.property.get() != now)
            return false;
        return now == osg::NullFC || channel.content.isEqual(now->getData(), now->getSize() * elementSize(now));
    };
    return isSame(entry.shadows, geometry->getTexCoords7()) && isSame(entry.bakedLight, geometry->getTexCoords5()) &&
           entry.indices.get() == geometry->getIndices() &&
           std::equal(entry.indexMapping.begin(), entry.indexMapping.end(), geometry->getMFIndexMapping()->begin(),
                      geometry->getMFIndexMapping()->end());
}

void ktResultState::keepChanges() {
    geometries.erase(std::remove_if(geometries.begin(), geometries.end(), isAsNow), geometries.end());
    settings.erase(std::remove_if(settings.begin(), settings.end(),
                                  [](const Settings& before) {
                                      return findSettings(before.node.get()) == before.attachment.get();
                                  }),
                   settings.end());
}

void ktResultState::swap(Entry& entry) {
    const osg::GeometryPtr geometry = entry.geometry.get();
    Entry now = stateOf(geometry);
    now.shadows = copyOf(geometry->getTexCoords7());
    now.bakedLight = copyOf(geometry->getTexCoords5());
    osg::beginEditCP(geometry);
    std::size_t number = 0;
    forEachVertexProperty(geometry, [&](const auto& property) {
        if (number >= entry.tails.size() || entry.tails[number].property.get() != property)
            return;
        Tail& then = entry.tails[number];
        if (then.size < now.tails[number].size)
            now.tails[number].added = ktUndoMemory::Block(bytesOf(property, then.size));
        if (then.size != now.tails[number].size)
            setBytes(property, std::min(then.size, now.tails[number].size), then.added.take());
        ++number;
    });
    for (Channel* const channel : {&entry.shadows, &entry.bakedLight})
        if (channel->property.get() != osg::NullFC)
            setBytes(channel->property.get(), 0, channel->content.take());
    geometry->setTexCoords7(entry.shadows.property.get());
    geometry->setTexCoords5(entry.bakedLight.property.get());
    geometry->setTypes(entry.types.get());
    geometry->setLengths(entry.lengths.get());
    geometry->setIndices(entry.indices.get());
    osg::MFUInt16& mapping = *geometry->getMFIndexMapping();
    mapping.resize(static_cast<osg::UInt32>(entry.indexMapping.size()));
    std::copy(entry.indexMapping.begin(), entry.indexMapping.end(), mapping.begin());
    osg::endEditCP(geometry);
    entry = std::move(now);
}

void ktResultState::swap() {
    for (Entry& entry : geometries)
        swap(entry);
    for (Settings& before : settings) {
        const osg::NodePtr node = before.node.get();
        const osg::RefPtr<osg::AttachmentPtr> now(findSettings(node));
        osg::beginEditCP(node, osg::Node::AttachmentsFieldMask);
        if (now.get() != osg::NullFC)
            node->subAttachment(now.get());
        if (before.attachment.get() != osg::NullFC)
            node->addAttachment(before.attachment.get());
        osg::endEditCP(node, osg::Node::AttachmentsFieldMask);
        before.attachment = now;
    }
    ktScenegraph::update(true);
}
