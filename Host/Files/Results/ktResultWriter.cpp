// SPDX-License-Identifier: LGPL-2.1-or-later
// Adds baked results to glTF primitives as vertex attributes, and removes those of earlier bakes.
#include "ktResultWriter.h"

#include "ktGltfStore.h"
#include "ktLightMark.h"
#include "ktResultAttributes.h"
#include "ktResultChannels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <tuple>

namespace {

ktJson* attributesOf(ktGltfDocument& document, const ktPrimitiveLink& link) {
    ktJson* mesh = ktJsonElement(document.json, "meshes", link.mesh);
    ktJson* primitive = mesh ? ktJsonElement(*mesh, "primitives", link.primitive) : nullptr;
    return primitive ? ktJsonMember(*primitive, "attributes") : nullptr;
}

typedef std::array<std::uint16_t, 4> ShadedColor;

std::uint16_t toShort(float value) {
    // NaN becomes 0.
    return value > 0.0f ? static_cast<std::uint16_t>(std::lround(std::min(value, 1.0f) * 65535.0f)) : 0;
}

/// Results of one vertex, as stored in the file.
struct Element {
    float occlusion = 1.0f;
    std::array<float, 3> indirect = {0, 0, 0};
    std::array<float, 4> baked = {1, 1, 1, 3};
    std::array<float, 3> normal = {0, 0, 1};
    ShadedColor color = {65535, 65535, 65535, 65535};

    bool operator==(const Element& other) const {
        // Compares bits, because 0 and -0 are written differently. NOLINTBEGIN(bugprone-suspicious-memory-comparison)
        return std::memcmp(&occlusion, &other.occlusion, sizeof occlusion) == 0 &&
               std::memcmp(&indirect, &other.indirect, sizeof indirect) == 0 &&
               std::memcmp(&baked, &other.baked, sizeof baked) == 0 &&
               std::memcmp(&normal, &other.normal, sizeof normal) == 0 && color == other.color;
        // NOLINTEND(bugprone-suspicious-memory-comparison)
    }
};

/// Which attributes a primitive gets.
struct Parts {
    bool occlusion = false, indirect = false, baked = false, color = false, normal = false;
    bool operator<(const Parts& o) const {
        return std::tie(occlusion, indirect, baked, color, normal) <
               std::tie(o.occlusion, o.indirect, o.baked, o.color, o.normal);
    }
    bool any() const { return occlusion || indirect || baked || color; }
};

/// Results of one set of source vertices. Several primitives can fill a layer if their values agree.
struct Layer {
    std::vector<Element> elements;
    std::vector<bool> isSet;
    std::size_t occlusion = 0, indirect = 0, baked = 0, color = 0, normal = 0; ///< accessors, once written

    explicit Layer(std::size_t count) : elements(count), isSet(count, false) {}

    bool fits(const ktPrimitiveLink& link, const std::vector<Element>& own) const {
        for (std::size_t i = 0; i < own.size(); ++i) {
            const std::size_t source = link.sourceOf(i);
            if (isSet[source] && !(elements[source] == own[i]))
                return false;
        }
        return true;
    }

    void take(const ktPrimitiveLink& link, const std::vector<Element>& own) {
        for (std::size_t i = 0; i < own.size(); ++i) {
            elements[link.sourceOf(i)] = own[i];
            isSet[link.sourceOf(i)] = true;
        }
    }
};

class Writer {
public:
    Writer(ktGltfDocument& document_, ktGltfStore& store_, const ktShading& shading_)
        : document(document_), store(store_), shading(shading_) {}

    void add(const ktPrimitiveLink& link);
    void finish();

private:
    typedef std::tuple<std::size_t, std::int64_t, std::int64_t, Parts> GroupKey; ///< count, positions, colours, parts
    struct Use {
        const ktPrimitiveLink* link;
        GroupKey group;
        std::size_t layer;
        bool hadColor;
    };

    std::vector<Element> elementsOf(const ktPrimitiveLink& link, const ktResultChannels& baked,
                                    const Parts& parts) const;
    void fillUnused(const ktPrimitiveLink& link, Layer& layer);
    template <class Value, class Get>
    void writePart(bool Parts::*part, std::size_t Layer::*accessor, const char* type, ktComponent component,
                   const Get& get, const char* mark = nullptr);
    std::size_t standInColor(std::size_t count);

    ktGltfDocument& document;
    ktGltfStore& store;
    const ktShading& shading;
    std::map<GroupKey, std::vector<Layer>> groups;
    std::vector<Use> uses;
    std::size_t standInView = static_cast<std::size_t>(-1);
    std::map<std::size_t, std::size_t> standIns; ///< accessor by count
};

// Light as viewers show it. A power keeps black and white, and a power of 2 darkens as if the light were multiplied
// twice.
float strengthen(float light, float strength) {
    return strength == 1.0f || !(light < 1.0f) ? light : std::pow(std::max(light, 0.0f), strength);
}

std::vector<Element> Writer::elementsOf(const ktPrimitiveLink& link, const ktResultChannels& baked,
                                        const Parts& parts) const {
    const std::size_t count = link.geometry->getPositions()->size();
    const osg::GeoColors4fPtr colors = osg::GeoColors4fPtr::dcast(link.geometry->getColors());
    const osg::GeoNormals3fPtr normals = osg::GeoNormals3fPtr::dcast(link.geometry->getNormals());
    std::vector<Element> elements(count);
    for (std::size_t i = 0; i < count; ++i) {
        Element& element = elements[i];
        if (parts.occlusion)
            element.occlusion = baked.working[i][3];
        if (parts.indirect)
            element.indirect = {baked.working[i][0], baked.working[i][1], baked.working[i][2]};
        if (parts.baked)
            element.baked = {baked.light[i][0], baked.light[i][1], baked.light[i][2], baked.light[i][3]};
        if (parts.normal) {
            const bool isTurned = !link.turned.empty() && (link.turned[i] & ktPrimitiveLink::turnedNormal);
            for (osg::UInt32 c = 0; c < 3; ++c) {
                const float value = normals->getField()[static_cast<osg::UInt32>(i)][c];
                element.normal[c] = isTurned ? -value : value;
            }
        }
        if (!parts.color)
            continue;
        if (link.isGroundPlane) {
            const float shadow =
                baked.working.empty() ? 0.0f : 1.0f - strengthen(baked.working[i][3], shading.strength);
            element.color = {0, 0, 0, toShort(shadow)};
            continue;
        }
        const bool hasColor = colors != osg::NullFC && i < colors->size();
        const osg::Color4f own = hasColor ? colors->getField()[static_cast<osg::UInt32>(i)] : osg::Color4f(1, 1, 1, 1);
        for (osg::UInt32 c = 0; c < 3; ++c)
            element.color[c] =
                shading.strength == 1.0f
                    ? toShort(own[c] * baked.arriving[i][c] * shading.exposure)
                    : toShort(own[c] * strengthen(baked.arriving[i][c] * shading.exposure, shading.strength));
        element.color[3] = toShort(own[3]);
    }
    return elements;
}

// Copies the colour of vertices that no primitive uses.
void Writer::fillUnused(const ktPrimitiveLink& link, Layer& layer) {
    const ktJson* attributes = attributesOf(document, link);
    const auto index = attributes ? ktJsonWhole(*attributes, "COLOR_0") : std::nullopt;
    if (!index || link.colorWidth == 0)
        return;
    const ktGltfAccessor accessor(document, static_cast<std::size_t>(*index));
    std::vector<float> colors(4 * layer.elements.size());
    accessor.readFloats(nullptr, layer.elements.size(), 4, 1.0f, colors.data());
    for (std::size_t i = 0; i < layer.elements.size(); ++i)
        for (std::size_t c = 0; c < 4; ++c)
            layer.elements[i].color[c] = toShort(std::isfinite(colors[4 * i + c]) ? colors[4 * i + c] : 0.0f);
}

void Writer::add(const ktPrimitiveLink& link) {
    const ktJson* attributes = attributesOf(document, link);
    if (!attributes)
        return;
    ktResultChannels baked = ktReadResultChannels(link.geometry);
    const bool isRefined = link.isRefined();
    if (link.sharesVertices() && !isRefined)
        ktAverageShared(baked, link);
    Parts parts;
    parts.occlusion = !baked.working.empty();
    parts.indirect = baked.hasIndirect;
    parts.baked = !baked.light.empty();
    parts.color = link.isGroundPlane || (shading.multiply && !baked.arriving.empty());
    if (!parts.any())
        return;
    parts.normal = link.writesNormals() && !isRefined;
    const auto reference = [&](const char* name) {
        const auto index = ktJsonWhole(*attributes, name);
        return index ? static_cast<std::int64_t>(*index) : -1;
    };
    const bool isRewritten = isRefined || link.isSplit();
    const std::size_t count = isRewritten ? link.geometry->getPositions()->size() : link.sourceCount;
    const GroupKey key(count, reference("POSITION"), reference("COLOR_0"), parts);
    const std::vector<Element> own = elementsOf(link, baked, parts);
    ktPrimitiveLink inSequence; // for rewritten primitives: vertex i is source vertex i
    const ktPrimitiveLink& order = isRewritten ? inSequence : link;

    std::vector<Layer>& layers = groups[key];
    const auto found =
        std::find_if(layers.begin(), layers.end(), [&](const Layer& layer) { return layer.fits(order, own); });
    const std::size_t layer = static_cast<std::size_t>(found - layers.begin());
    if (found == layers.end()) {
        layers.emplace_back(count);
        if (parts.color && !link.isGroundPlane)
            fillUnused(link, layers.back());
    }
    layers[layer].take(order, own);
    uses.push_back({&link, key, layer, link.colorWidth > 0});
}

template <class Value, class Get>
void Writer::writePart(bool Parts::*part, std::size_t Layer::*accessor, const char* type, ktComponent component,
                       const Get& get, const char* mark) {
    std::vector<Value> values;
    for (const auto& [key, layers] : groups)
        if (std::get<3>(key).*part)
            for (const Layer& layer : layers)
                for (const Element& element : layer.elements)
                    values.push_back(get(element));
    if (values.empty())
        return;
    const std::size_t view = store.addView(values.data(), values.size() * sizeof(Value), sizeof(Value), ktVertexTarget);
    std::size_t offset = 0;
    for (auto& [key, layers] : groups)
        if (std::get<3>(key).*part)
            for (Layer& layer : layers) {
                ktGltfNewAccessor entry;
                entry.view = view;
                entry.byteOffset = offset;
                entry.count = layer.elements.size();
                entry.component = component;
                entry.type = type;
                entry.normalized = component != ktComponent::Float;
                entry.mark = mark;
                layer.*accessor = store.addAccessor(entry);
                offset += layer.elements.size() * sizeof(Value);
            }
}

// An accessor of `count` white colours. All such accessors share one buffer view.
std::size_t Writer::standInColor(std::size_t count) {
    if (standIns.count(count))
        return standIns[count];
    if (standInView == static_cast<std::size_t>(-1)) {
        std::size_t largest = 0;
        for (const Use& use : uses)
            if (!use.hadColor)
                largest = std::max(largest, std::get<0>(use.group));
        const std::vector<std::uint32_t> white(largest, 0xFFFFFFFFu);
        standInView = store.addView(white.data(), white.size() * sizeof white[0], sizeof white[0], ktVertexTarget);
    }
    ktGltfNewAccessor entry;
    entry.view = standInView;
    entry.byteOffset = 0;
    entry.count = count;
    entry.component = ktComponent::UnsignedByte;
    entry.type = "VEC4";
    entry.normalized = true;
    entry.mark = ktStandInMark;
    return standIns[count] = store.addAccessor(entry);
}

void Writer::finish() {
    writePart<float>(&Parts::occlusion, &Layer::occlusion, "SCALAR", ktComponent::Float,
                     [](const Element& element) { return element.occlusion; });
    writePart<std::array<float, 3>>(&Parts::indirect, &Layer::indirect, "VEC3", ktComponent::Float,
                                    [](const Element& element) { return element.indirect; });
    writePart<std::array<float, 4>>(&Parts::baked, &Layer::baked, "VEC4", ktComponent::Float,
                                    [](const Element& element) { return element.baked; });
    writePart<ShadedColor>(&Parts::color, &Layer::color, "VEC4", ktComponent::UnsignedShort,
                           [](const Element& element) { return element.color; });
    writePart<std::array<float, 3>>(
        &Parts::normal, &Layer::normal, "VEC3", ktComponent::Float,
        [](const Element& element) { return element.normal; }, ktCalculatedNormalsMark);
    for (const Use& use : uses) {
        const Layer& layer = groups[use.group][use.layer];
        const Parts& parts = std::get<3>(use.group);
        ktJson& attributes = *attributesOf(document, *use.link);
        if (parts.occlusion)
            attributes[ktAttributeOcclusion] = layer.occlusion;
        if (parts.indirect)
            attributes[ktAttributeIndirect] = layer.indirect;
        if (parts.baked)
            attributes[ktAttributeBakedLight] = layer.baked;
        if (parts.normal)
            attributes["NORMAL"] = layer.normal;
        if (!parts.color)
            continue;
        attributes[ktAttributeSourceColor] =
            use.hadColor ? attributes["COLOR_0"] : ktJson(standInColor(layer.elements.size()));
        attributes["COLOR_0"] = layer.color;
    }
}

} // namespace

void ktRemoveResults(ktGltfDocument& document, const std::vector<ktPrimitiveLink>& primitives) {
    for (const ktPrimitiveLink& link : primitives) {
        ktJson* attributes = attributesOf(document, link);
        if (!attributes || !attributes->is_object())
            continue;
        if (ktJsonMember(*attributes, ktAttributeSourceColor)) {
            if (ktIsStandInColor(document, *attributes))
                attributes->erase("COLOR_0");
            else
                (*attributes)["COLOR_0"] = ktJson((*attributes)[ktAttributeSourceColor]);
        }
        for (const char* name :
             {ktAttributeOcclusion, ktAttributeIndirect, ktAttributeBakedLight, ktAttributeSourceColor})
            attributes->erase(name);
        if (link.hasLostLight && ktHasResults(link.geometry))
            attributes->erase("COLOR_0");
        if (ktHasCalculatedNormals(document, *attributes))
            attributes->erase("NORMAL");
    }
}

std::vector<const ktPrimitiveLink*> ktChooseGeometries(const std::vector<ktPrimitiveLink>& primitives) {
    std::map<std::pair<std::size_t, std::size_t>, std::size_t> places;
    std::vector<const ktPrimitiveLink*> chosen;
    for (const ktPrimitiveLink& link : primitives) {
        const auto [entry, isNew] = places.emplace(std::make_pair(link.mesh, link.primitive), chosen.size());
        if (isNew)
            chosen.push_back(&link);
        else if (!ktHasResults(chosen[entry->second]->geometry) && ktHasResults(link.geometry))
            chosen[entry->second] = &link;
    }
    return chosen;
}

void ktWriteResults(ktGltfDocument& document, ktGltfStore& store, const std::vector<ktPrimitiveLink>& primitives,
                    const ktShading& shading) {
    Writer writer(document, store, shading);
    for (const ktPrimitiveLink* link : ktChooseGeometries(primitives))
        writer.add(*link);
    writer.finish();
    ktWriteLightMark(document);
}
