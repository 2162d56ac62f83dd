// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes refined geometry back to its glTF primitive: new triangles and all interpolated attributes.
#include "ktRefinedWriter.h"

#include "ktFileMessages.h"
#include "ktGltfStore.h"
#include "ktTexCoordChannel.h"
#include "ktTriangleIndices.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

const char* const vectorTypes[] = {"", "SCALAR", "VEC2", "VEC3", "VEC4"};

ktJson& primitiveOf(ktGltfDocument& document, const ktPrimitiveLink& link) {
    return document.json["meshes"][link.mesh]["primitives"][link.primitive];
}

// The first `width` floats of each element of a property; missing ones become 1.
template <class PropertyPtr>
std::vector<float> floatsOf(const PropertyPtr& property, int width) {
    const auto stored = static_cast<std::size_t>(property->getDimension());
    const std::size_t count = property->size();
    const auto* data = reinterpret_cast<const float*>(property->getData());
    std::vector<float> out;
    out.reserve(count * static_cast<std::size_t>(width));
    for (std::size_t i = 0; i < count; ++i)
        for (int c = 0; c < width; ++c)
            out.push_back(static_cast<std::size_t>(c) < stored ? data[i * stored + static_cast<std::size_t>(c)] : 1.0f);
    return out;
}

// Normalises the first three of every `width` floats.
void normalize(std::vector<float>& values, std::size_t width) {
    for (std::size_t i = 0; i + 2 < values.size(); i += width) {
        const float length = std::hypot(values[i], values[i + 1], values[i + 2]);
        const bool usable = length > 0.0f && std::isfinite(length);
        for (std::size_t c = 0; c < 3; ++c)
            values[i + c] = usable ? values[i + c] / length : (c == 0 ? 1.0f : 0.0f);
    }
}

class MeshWriter {
public:
    MeshWriter(ktGltfDocument& document_, ktGltfStore& store_, const ktPrimitiveLink& link_)
        : document(document_), store(store_), link(link_), geometry(link_.geometry) {}

    void write(ktFileMessages& messages);

private:
    std::size_t add(const std::vector<float>& values, int width, bool limits);
    void set(const char* name, const std::vector<float>& values, int width);
    void writeNormals();

    ktGltfDocument& document;
    ktGltfStore& store;
    const ktPrimitiveLink& link;
    osg::GeometryPtr geometry;
};

std::size_t MeshWriter::add(const std::vector<float>& values, int width, bool limits) {
    ktGltfNewAccessor accessor;
    accessor.view = store.addView(values.data(), values.size() * sizeof(float), 0, ktVertexTarget);
    accessor.byteOffset = 0;
    accessor.count = values.size() / static_cast<std::size_t>(width);
    accessor.type = vectorTypes[width];
    for (int c = 0; limits && c < width; ++c) {
        accessor.min.push_back(values[static_cast<std::size_t>(c)]);
        accessor.max.push_back(values[static_cast<std::size_t>(c)]);
    }
    for (std::size_t i = 0; limits && i < values.size(); ++i) {
        const std::size_t c = i % static_cast<std::size_t>(width);
        accessor.min[c] = std::min(accessor.min[c], values[i]);
        accessor.max[c] = std::max(accessor.max[c], values[i]);
    }
    return store.addAccessor(accessor);
}

void MeshWriter::set(const char* name, const std::vector<float>& values, int width) {
    const std::size_t accessor = add(values, width, std::strcmp(name, "POSITION") == 0);
    primitiveOf(document, link)["attributes"][name] = accessor;
}

// Calculated normals are written if viewers need them. Those of turned parts would not say that they were turned.
void MeshWriter::writeNormals() {
    const std::vector<std::uint8_t> turned = ktTurnedVertices(link);
    if (geometry->getNormals() == osg::NullFC || (!link.hasNormals && (link.isFlat || !turned.empty())))
        return;
    std::vector<float> normals = floatsOf(geometry->getNormals(), 3);
    normalize(normals, 3);
    for (std::size_t i = 0; i < turned.size(); ++i)
        for (std::size_t c = 0; c < 3 && (turned[i] & ktPrimitiveLink::turnedNormal); ++c)
            normals[3 * i + c] = -normals[3 * i + c];
    set("NORMAL", normals, 3);
}

void MeshWriter::write(ktFileMessages& messages) {
    set("POSITION", floatsOf(geometry->getPositions(), 3), 3);
    writeNormals();
    if (link.colorWidth && geometry->getColors() != osg::NullFC)
        set("COLOR_0", floatsOf(geometry->getColors(), link.colorWidth), link.colorWidth);
    for (const ktAttributeSlot& slot : link.attributeSlots) {
        const osg::GeoTexCoordsPtr property = ktGetTexCoords(geometry, slot.channel);
        if (property == osg::NullFC || property->size() != geometry->getPositions()->size()) {
            messages.warn(ktPointer("meshes", link.mesh), "loses an attribute as it is refined", slot.name);
            continue;
        }
        std::vector<float> values = floatsOf(property, slot.width);
        if (slot.name == "TANGENT" && slot.width == 4) {
            normalize(values, 4);
            for (std::size_t i = 3; i < values.size(); i += 4)
                values[i] = values[i] < 0.0f ? -1.0f : 1.0f;
        }
        set(slot.name.c_str(), values, slot.width);
    }
    for (const std::string& name : link.lostWhenRefined)
        messages.warn(ktPointer("meshes", link.mesh), "loses an attribute as it is refined", name);

    ktJson& attributes = primitiveOf(document, link)["attributes"];
    for (auto entry = attributes.begin(); entry != attributes.end();)
        entry = entry->is_null() ? attributes.erase(entry) : std::next(entry);
    primitiveOf(document, link)["indices"] = ktAddTriangleIndices(store, link);
}

} // namespace

void ktForgetRefined(ktGltfDocument& document, const ktPrimitiveLink& link) {
    ktJson& primitive = primitiveOf(document, link);
    for (ktJson& reference : primitive["attributes"])
        reference = nullptr;
    primitive["indices"] = nullptr;
    if (ktJsonMember(primitive, "mode"))
        primitive["mode"] = 4;
}

void ktWriteRefined(ktGltfDocument& document, ktGltfStore& store, const ktPrimitiveLink& link,
                    ktFileMessages& messages) {
    MeshWriter(document, store, link).write(messages);
}
