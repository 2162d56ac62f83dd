// SPDX-License-Identifier: LGPL-2.1-or-later
// Converts glTF primitives to geometries: shape, normals, colours, other attributes and earlier baked results.
#include "ktPrimitiveReader.h"

#include "ktCreaseNormals.h"
#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktReadInterrupt.h"
#include "ktResultAttributes.h"
#include "ktSharedVertices.h"
#include "ktSmoothNormals.h"
#include "ktTexCoordChannel.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

namespace {

template <class PropertyPtr, class Value>
PropertyPtr fill(const std::vector<Value>& values) {
    typedef typename PropertyPtr::StoredObjectType Property;
    const PropertyPtr property = Property::create();
    osg::beginEditCP(property);
    property->resize(values.size() * sizeof(Value) / sizeof(typename Property::StoredFieldType::StoredType));
    if (!values.empty())
        std::memcpy(property->getData(), values.data(), values.size() * sizeof(Value));
    osg::endEditCP(property);
    return property;
}

// Limits the vertices and indices without data: a short file must not describe an endless scene.
std::size_t zerosBudgetOf(const ktGltfDocument& document) {
    return (std::size_t(1) << 20) + 16 * document.dataSize();
}

// The same for those with data, which many meshes may share: thousands of copies of a part are usual.
std::size_t budgetOf(const ktGltfDocument& document) {
    return (std::size_t(1) << 25) + 16 * document.dataSize();
}

// Positions or indices of one primitive that may be zero because they have no data. Does not depend on the size of the
// document, see ktGltfAccessor.cpp.
constexpr std::size_t zerosLimit = std::size_t(1) << 16;

bool isUnit(const float* v) {
    const float square = v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
    return square > 0.999f && square < 1.001f;
}

bool normalize(float* v) {
    const float length = std::hypot(v[0], v[1], v[2]);
    if (!(length > 1e-20f) || !std::isfinite(length))
        return false;
    for (int c = 0; c < 3; ++c)
        v[c] /= length;
    return true;
}

} // namespace

/// One primitive while it is being read.
struct ktPrimitiveReader::Open {
    const ktJson& json;
    const ktJson& attributes;
    std::string object;
    ktPrimitiveLink link;
    ktPrimitiveShape shape;
};

ktPrimitiveReader::ktPrimitiveReader(const ktGltfDocument& document_, const ktSurfaceOptions& options_,
                                     ktFileMessages& messages_)
    : document(document_), options(options_), messages(messages_), lightMark(ktReadLightMark(document_)),
      hasResultAttributes(ktHasResultAttributes(document_)), budget(budgetOf(document_)),
      zerosBudget(zerosBudgetOf(document_)) {}

void ktPrimitiveReader::spend(const ktGltfAccessor& accessor, const std::string& object) {
    const std::size_t elements = accessor.count();
    if (!accessor.hasData() && elements > zerosLimit)
        throw ktFileError(object, "has " + std::to_string(elements) + " vertices or indices without data");
    std::size_t& left = accessor.hasAllData() ? budget : zerosBudget;
    if (elements > left)
        throw ktFileError("/meshes", "describe far more vertices than the file has data for");
    left -= elements;
}

std::optional<ktPrimitiveLink> ktPrimitiveReader::read(std::size_t mesh, std::size_t primitive,
                                                       const ktRestPose& pose) {
    const ktJson& json = *ktJsonElement(*ktJsonElement(document.json, "meshes", mesh), "primitives", primitive);
    const std::string object = ktPointer("meshes", mesh) + "/primitives/" + std::to_string(primitive);
    const ktJson* attributes = ktJsonMember(json, "attributes");
    if (!attributes || !ktJsonMember(*attributes, "POSITION")) {
        messages.warn(object, "left out: it has no positions");
        return std::nullopt;
    }
    Open open = {json, *attributes, object, {}, {}};
    open.link.mesh = mesh;
    open.link.primitive = primitive;
    std::vector<float> normals;
    try {
        open.shape = readShape(open);
        ktReadInterrupt::check();
        warnAboutShape(open);
        if (open.shape.positions.empty()) {
            messages.warn(object, "left out: nothing of it can be used");
            return std::nullopt;
        }
        readNormals(open, normals);
        if (!pose.isEmpty())
            ktApplyRestPose(document, json, pose, open.shape.sourceOrNull(), open.shape.positions, normals);
    } catch (const ktFileError& error) {
        if (error.object() == "/meshes")
            throw;
        messages.warn(object, "left out: " + error.reason(), error.object());
        return std::nullopt;
    }
    ktPrimitiveLink& link = open.link;
    link.isAnimated = ktJsonCount(json, "targets") > 0 || pose.skin;
    if (normals.empty())
        makeNormals(open, normals);
    else
        mendNormals(open, normals);

    link.source = open.shape.source;
    link.vertexCount = open.shape.vertexCount();
    link.geometry = osg::Geometry::create();
    const osg::GeometryPtr geometry = link.geometry;
    osg::beginEditCP(geometry);
    const ktPrimitiveShape& shape = open.shape;
    geometry->setTypes(fill<osg::GeoPTypesUI8Ptr>(std::vector<std::uint8_t>{static_cast<std::uint8_t>(shape.mode)}));
    const std::size_t length = shape.indices.empty() ? shape.vertexCount() : shape.indices.size();
    geometry->setLengths(fill<osg::GeoPLengthsUI32Ptr>(std::vector<std::uint32_t>{static_cast<std::uint32_t>(length)}));
    if (!shape.indices.empty())
        geometry->setIndices(fill<osg::GeoIndicesUI32Ptr>(shape.indices));
    geometry->setPositions(fill<osg::GeoPositions3fPtr>(shape.positions));
    if (!normals.empty())
        geometry->setNormals(fill<osg::GeoNormals3fPtr>(normals));
    if (link.sharesVertices())
        ktSetSharedVertices(geometry, link.firstVertices());
    readColors(open);
    readSlots(open);
    readResults(open);
    osg::endEditCP(geometry);
    return std::move(open.link);
}

ktPrimitiveShape ktPrimitiveReader::readShape(Open& open) {
    std::uint64_t mode = 4;
    if (ktJsonMember(open.json, "mode")) {
        const auto given = ktJsonWhole(open.json, "mode");
        if (!given || *given > 6)
            throw ktFileError(open.object + "/mode", "its mode is none of 0 to 6");
        mode = *given;
    }
    const auto positionIndex = ktJsonWhole(open.attributes, "POSITION");
    if (!positionIndex)
        throw ktFileError(open.object + "/attributes/POSITION", "its positions are no accessor");
    const ktGltfAccessor positions(document, static_cast<std::size_t>(*positionIndex));
    const ktJson* extensions = ktJsonMember(open.json, "extensions");
    if (extensions && ktJsonMember(*extensions, "KHR_draco_mesh_compression") && !positions.hasData())
        throw ktFileError(open.object, "it is compressed (KHR_draco_mesh_compression)");
    if (positions.components() != 3)
        throw ktFileError(open.object + "/attributes/POSITION", "its positions are no VEC3");
    open.link.sourceCount = positions.count();
    if (!ktJsonMember(open.json, "indices")) {
        spend(positions, open.object);
        return packer.pack(static_cast<int>(mode), nullptr, positions);
    }
    const auto index = ktJsonWhole(open.json, "indices");
    if (!index)
        throw ktFileError(open.object + "/indices", "its indices are no accessor");
    const ktGltfAccessor accessor(document, static_cast<std::size_t>(*index));
    spend(accessor, open.object);
    std::vector<std::uint32_t> indices = accessor.readIndices();
    return packer.pack(static_cast<int>(mode), &indices, positions);
}

void ktPrimitiveReader::warnAboutShape(const Open& open) {
    const ktPrimitiveShape& shape = open.shape;
    const auto warn = [&](std::size_t count, const char* reason) {
        if (count)
            messages.warn(open.object, reason, std::to_string(count));
    };
    warn(shape.badIndices, "has indices out of range; what uses them is left out");
    warn(shape.badPositions, "has positions that are not finite; what uses them is left out");
    warn(shape.incomplete, "has vertices at its end that make no whole primitive");
    if (shape.mode == 4)
        warn(ktCountDegenerate(shape.positions, ktTriangulate(shape)), "has triangles without an area");
}

std::optional<ktGltfAccessor> ktPrimitiveReader::openAttribute(Open& open, const std::string& name) {
    if (!ktJsonMember(open.attributes, name.c_str()))
        return std::nullopt;
    const std::string object = open.object + "/attributes/" + name;
    const auto index = ktJsonWhole(open.attributes, name.c_str());
    try {
        if (!index)
            throw ktFileError(object, "is no accessor");
        ktGltfAccessor accessor(document, static_cast<std::size_t>(*index));
        if (accessor.count() != open.link.sourceCount)
            throw ktFileError(object, "has another count than the positions");
        return accessor;
    } catch (const ktFileError& error) {
        messages.warn(object, "attribute left out: " + error.reason(), error.object());
        return std::nullopt;
    }
}

bool ktPrimitiveReader::readAttribute(Open& open, const std::string& name, int width, float missing,
                                      std::vector<float>& values) {
    const auto accessor = openAttribute(open, name);
    if (!accessor)
        return false;
    values.resize(open.shape.vertexCount() * static_cast<std::size_t>(width));
    accessor->readFloats(open.shape.sourceOrNull(), open.shape.vertexCount(), width, missing, values.data());
    return true;
}

void ktPrimitiveReader::readNormals(Open& open, std::vector<float>& normals) {
    open.link.hasNormals =
        !ktHasCalculatedNormals(document, open.attributes) && readAttribute(open, "NORMAL", 3, 0.0f, normals);
}

void ktPrimitiveReader::makeNormals(Open& open, std::vector<float>& normals) {
    ktPrimitiveShape& shape = open.shape;
    if (shape.mode < 4)
        return;
    ktPrimitiveLink& link = open.link;
    ktCreasedSurface surface =
        ktFindCreaseNormals(shape.positions.data(), shape.vertexCount(), ktTriangulate(shape), options.creaseAngle_deg);
    normals = std::move(surface.normals);
    link.splitVertices = surface.added.size();
    link.keepsVertices = options.keepVertices;
    link.isFlat = surface.isFlat;
    if (surface.added.empty())
        return;
    shape.mode = 4;
    shape.indices = std::move(surface.triangles);
    if (shape.source.empty()) {
        shape.source.resize(shape.vertexCount());
        std::iota(shape.source.begin(), shape.source.end(), 0u);
    }
    shape.positions.reserve(shape.positions.size() + 3 * surface.added.size());
    for (const std::uint32_t vertex : surface.added) {
        shape.source.push_back(shape.source[vertex]);
        for (std::size_t c = 0; c < 3; ++c)
            shape.positions.push_back(shape.positions[3 * std::size_t(vertex) + c]);
    }
}

void ktPrimitiveReader::mendNormals(Open& open, std::vector<float>& normals) {
    const std::vector<float>& positions = open.shape.positions;
    std::vector<float> smooth;
    std::size_t bad = 0;
    for (std::size_t i = 0; i < normals.size(); i += 3) {
        if (isUnit(&normals[i]) || normalize(&normals[i]))
            continue;
        if (smooth.empty())
            smooth = ktMakeSmoothNormals(positions.data(), open.shape.vertexCount(), ktTriangulate(open.shape));
        std::copy_n(&smooth[i], 3, &normals[i]);
        ++bad;
    }
    if (bad)
        messages.warn(open.object, "has normals without direction; smooth ones stand in", std::to_string(bad));
}

// Whether COLOR_0 holds nothing but light of an earlier bake. Warns if it holds light.
bool ktPrimitiveReader::isLostLight(Open& open) {
    if (!ktJsonMember(open.attributes, "COLOR_0"))
        return false;
    if (lightMark == ktLightMark::Light) {
        messages.warn(open.object,
                      "a tool dropped the exact results of an earlier bake; COLOR_0, which holds its light, "
                      "is not taken for colours");
        return true;
    }
    if (lightMark == ktLightMark::LightAndColors && !hasResultAttributes)
        messages.warn(open.object,
                      "a tool dropped the exact results of an earlier bake; COLOR_0 holds its light and is "
                      "multiplied again; bake the file as it was before that tool");
    return false;
}

void ktPrimitiveReader::readColors(Open& open) {
    const bool wasBaked = ktJsonMember(open.attributes, ktAttributeSourceColor) != nullptr;
    if (!wasBaked && isLostLight(open)) {
        open.link.hasLostLight = true;
        return;
    }
    const std::string name = wasBaked ? ktAttributeSourceColor : "COLOR_0";
    const auto accessor = openAttribute(open, name);
    if (!accessor || (wasBaked && ktIsStandInColor(document, open.attributes)))
        return;
    open.link.colorWidth = std::clamp(accessor->components(), 3, 4);
    std::vector<float> colors(4 * open.shape.vertexCount());
    accessor->readFloats(open.shape.sourceOrNull(), open.shape.vertexCount(), 4, 1.0f, colors.data());
    for (float& component : colors)
        component = std::isfinite(component) ? component : 0.0f;
    open.link.geometry->setColors(fill<osg::GeoColors4fPtr>(colors));
}

void ktPrimitiveReader::readSlots(Open& open) {
    std::vector<bool> taken(8, false);
    std::vector<std::string> others;
    const auto keep = [&](const std::string& name, int channel) {
        const auto accessor = openAttribute(open, name);
        if (!accessor || accessor->components() > 4)
            return;
        std::vector<float> values;
        readAttribute(open, name, accessor->components(), 0.0f, values);
        ktSetTexCoords(open.link.geometry, channel, ktMakeTexCoords(accessor->components(), values));
        open.link.attributeSlots.push_back({name, channel, accessor->components()});
        taken[static_cast<std::size_t>(channel)] = true;
    };
    for (const auto& attribute : open.attributes.items()) {
        const std::string& name = attribute.key();
        if (!ktNeedsSlot(name))
            continue;
        std::optional<int> channel;
        if (name.size() == 10 && name.compare(0, 9, "TEXCOORD_") == 0 &&
            std::isdigit(static_cast<unsigned char>(name[9])))
            channel = ktFindTexCoordChannel(static_cast<std::uint64_t>(name[9] - '0'));
        if (channel)
            keep(name, *channel);
        else
            others.push_back(name);
    }
    if (open.link.isAnimated)
        return; // never refined, so no attribute needs a slot
    for (const std::string& name : others) {
        const int channels[] = {6, 4, 3, 2, 1, 0};
        const auto* const free = std::find_if(std::begin(channels), std::end(channels),
                                              [&](int channel) { return !taken[static_cast<std::size_t>(channel)]; });
        if (free != std::end(channels))
            keep(name, *free);
        else
            open.link.lostWhenRefined.push_back(name);
    }
}

void ktPrimitiveReader::readResults(Open& open) {
    const std::size_t count = open.shape.vertexCount();
    std::vector<float> occlusion, indirect, baked;
    const bool hasOcclusion = readAttribute(open, ktAttributeOcclusion, 1, 0.0f, occlusion);
    const bool hasIndirect = readAttribute(open, ktAttributeIndirect, 3, 0.0f, indirect);
    const auto makeFinite = [](std::vector<float>& values) {
        for (float& value : values)
            value = std::isfinite(value) ? value : 0.0f;
    };
    if (hasOcclusion || hasIndirect) {
        std::vector<float> channel(4 * count, 0.0f);
        for (std::size_t i = 0; i < count; ++i) {
            for (std::size_t c = 0; c < 3 && hasIndirect; ++c)
                channel[4 * i + c] = indirect[3 * i + c];
            channel[4 * i + 3] = hasOcclusion ? occlusion[i] : 0.0f;
        }
        makeFinite(channel);
        open.link.geometry->setTexCoords7(ktMakeTexCoords(4, channel));
    }
    if (readAttribute(open, ktAttributeBakedLight, 4, 0.0f, baked)) {
        makeFinite(baked);
        open.link.geometry->setTexCoords5(ktMakeTexCoords(4, baked));
    }
}
