// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes primitives whose vertices were split at creases: copies all attributes, vertex by vertex.
#include "ktSplitWriter.h"

#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktGltfStore.h"
#include "ktTriangleIndices.h"

#include <algorithm>
#include <cstring>
#include <map>

namespace {

const char* typeName(int components) {
    const char* const names[] = {"", "SCALAR", "VEC2", "VEC3", "VEC4"};
    return components <= 4 ? names[components] : "MAT4";
}

float componentAt(const std::uint8_t* at, ktComponent type) {
    const auto load = [at](auto value) {
        std::memcpy(&value, at, sizeof value);
        return static_cast<float>(value);
    };
    switch (type) {
    case ktComponent::Byte:
        return load(std::int8_t());
    case ktComponent::UnsignedByte:
        return load(std::uint8_t());
    case ktComponent::Short:
        return load(std::int16_t());
    case ktComponent::UnsignedShort:
        return load(std::uint16_t());
    case ktComponent::UnsignedInt:
        return load(std::uint32_t());
    case ktComponent::Float:
        return load(float());
    }
    return 0.0f;
}

class Splitter {
public:
    Splitter(ktGltfDocument& document_, ktGltfStore& store_, const ktPrimitiveLink& link_, ktFileMessages& messages_)
        : document(document_), store(store_), link(link_), messages(messages_) {}

    void write();

private:
    ktJson& primitive() { return document.json["meshes"][link.mesh]["primitives"][link.primitive]; }
    std::size_t copy(std::size_t accessor, bool limits);
    void copyAll(ktJson& attributes, const std::string& object);

    ktGltfDocument& document;
    ktGltfStore& store;
    const ktPrimitiveLink& link;
    ktFileMessages& messages;
    std::map<std::pair<std::size_t, bool>, std::size_t> copies;
};

std::size_t Splitter::copy(std::size_t accessor, bool limits) {
    const auto known = copies.find({accessor, limits});
    if (known != copies.end())
        return known->second;
    const ktGltfAccessor from(document, accessor);
    if (from.count() != link.sourceCount)
        throw ktFileError(ktPointer("accessors", accessor), "has another count than the positions");
    const std::size_t component = ktComponentSize(from.componentType());
    const auto width = static_cast<std::size_t>(from.components());
    const std::size_t stride = (component * width + 3) / 4 * 4;
    ktBytes bytes(stride * link.vertexCount, 0);
    from.readBytes(link.source.data(), link.vertexCount, stride, bytes.data());

    ktGltfNewAccessor to;
    to.byteOffset = 0;
    to.count = link.vertexCount;
    to.component = from.componentType();
    to.type = typeName(from.components());
    to.normalized = from.isNormalized();
    for (std::size_t c = 0; limits && c < width; ++c) {
        const auto at = [&](std::size_t i) { return componentAt(&bytes[i * stride + c * component], to.component); };
        float low = at(0), high = low;
        for (std::size_t i = 1; i < to.count; ++i) {
            low = std::min(low, at(i));
            high = std::max(high, at(i));
        }
        to.min.push_back(low);
        to.max.push_back(high);
    }
    to.view = store.addView(bytes.data(), bytes.size(), stride, ktVertexTarget);
    return copies[{accessor, limits}] = store.addAccessor(to);
}

void Splitter::copyAll(ktJson& attributes, const std::string& object) {
    if (!attributes.is_object())
        return;
    for (auto entry = attributes.begin(); entry != attributes.end();) {
        const std::string name = entry.key();
        try {
            const auto index = ktJsonAsWhole(entry.value());
            if (!index)
                throw ktFileError(object, "is no accessor");
            entry.value() = copy(static_cast<std::size_t>(*index), name == "POSITION");
            ++entry;
        } catch (const ktFileError& error) {
            messages.warn(object, "attribute left out as vertices are split: " + error.reason(), name);
            entry = attributes.erase(entry);
        }
    }
}

void Splitter::write() {
    const std::string object = ktPointer("meshes", link.mesh) + "/primitives/" + std::to_string(link.primitive);
    copyAll(primitive()["attributes"], object + "/attributes");
    for (std::size_t t = 0; t < ktJsonCount(primitive(), "targets"); ++t)
        copyAll(primitive()["targets"][t], object + "/targets/" + std::to_string(t));
    primitive()["indices"] = ktAddTriangleIndices(store, link);
    if (ktJsonMember(primitive(), "mode"))
        primitive()["mode"] = 4;
}

} // namespace

void ktWriteSplit(ktGltfDocument& document, ktGltfStore& store, const ktPrimitiveLink& link, ktFileMessages& messages) {
    Splitter(document, store, link, messages).write();
}
