// SPDX-License-Identifier: LGPL-2.1-or-later
// Replaces Draco streams of primitives by plain accessors.
#include "ktBufferRebuild.h"
#include "ktDecompress.h"
#include "ktDracoStreamReader.h"
#include "ktExtensionNames.h"
#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktGltfReferences.h"
#include "ktGltfStore.h"
#include "ktReadProgress.h"

#include <algorithm>

namespace {

/// A primitive with a stream.
struct StreamUse {
    std::size_t mesh, primitive, view;
    std::string object;
    std::map<std::string, unsigned> ids; ///< of the attributes that the primitive names, too
};

class DracoDecoder {
public:
    DracoDecoder(ktGltfDocument& document_, ktCompressedInput& input_, ktFileMessages& messages_)
        : document(document_), input(input_), messages(messages_) {}

    void run();

private:
    static constexpr std::int64_t indicesId = -1;
    typedef std::pair<std::size_t, std::int64_t> Source; ///< stream's view, attribute's id

    void findUses();
    void want(const StreamUse& use);
    void fill(const StreamUse& use, ktBufferRebuild& rebuild);
    void fillIndices(const StreamUse& use, const ktDracoMesh& mesh, ktJson& primitive, ktBufferRebuild& rebuild);
    bool claim(ktJson& reference, const Source& source, bool& isNew);
    ktJson& primitiveOf(const StreamUse& use) { return document.json["meshes"][use.mesh]["primitives"][use.primitive]; }

    ktGltfDocument& document;
    ktCompressedInput& input;
    ktFileMessages& messages;
    std::vector<StreamUse> uses;
    std::vector<ktDracoMesh> meshes;
    std::map<std::size_t, std::size_t> meshOfView; ///< index in `meshes`
    std::map<std::size_t, Source> sourceOf;        ///< by accessor
};

// Whether an accessor of the primitive has plain data. Then the stream is only a copy.
bool hasPlainPositions(const ktGltfDocument& document, const ktJson& primitive) {
    const ktJson* attributes = ktJsonMember(primitive, "attributes");
    const auto index = attributes ? ktJsonWhole(*attributes, "POSITION") : std::nullopt;
    const ktJson* accessor =
        index ? ktJsonElement(document.json, "accessors", static_cast<std::size_t>(*index)) : nullptr;
    return !accessor || ktJsonMember(*accessor, "bufferView") || ktJsonMember(*accessor, "sparse");
}

void DracoDecoder::findUses() {
    for (std::size_t m = 0; m < ktJsonCount(document.json, "meshes"); ++m) {
        const ktJson& mesh = *ktJsonElement(document.json, "meshes", m);
        for (std::size_t p = 0; p < ktJsonCount(mesh, "primitives"); ++p) {
            const ktJson& primitive = *ktJsonElement(mesh, "primitives", p);
            const ktJson* extension = ktFindExtension(primitive, ktDracoExtension);
            if (!extension || hasPlainPositions(document, primitive))
                continue;
            StreamUse use = {m, p, 0, ktPointer("meshes", m) + "/primitives/" + std::to_string(p), {}};
            const auto view = ktJsonWhole(*extension, "bufferView");
            const ktJson* ids = ktJsonMember(*extension, "attributes");
            if (!view || !ids || !ids->is_object())
                throw ktFileError(use.object + "/extensions/" + ktDracoExtension,
                                  "has no valid bufferView or attributes");
            use.view = static_cast<std::size_t>(*view);
            for (const auto& attribute : primitive["attributes"].items())
                if (const auto id = ktJsonWhole(*ids, attribute.key().c_str()); id && *id <= 0xFFFFFFFFu)
                    use.ids[attribute.key()] = static_cast<unsigned>(*id);
            if (use.ids.count("POSITION") == 0)
                throw ktFileError(use.object + "/extensions/" + ktDracoExtension, "holds no positions");
            want(use);
            uses.push_back(std::move(use));
        }
    }
}

// Adds the attributes of a primitive to what is read from its stream.
void DracoDecoder::want(const StreamUse& use) {
    const auto [place, isNew] = meshOfView.emplace(use.view, meshes.size());
    if (isNew) {
        const ktGltfViewRange range = ktFindGltfView(document, use.view);
        meshes.push_back({use.object, range.data, range.size, {}});
    }
    ktDracoMesh& mesh = meshes[place->second];
    const ktJson& attributes = primitiveOf(use)["attributes"];
    for (const auto& [name, id] : use.ids) {
        const auto index = ktJsonWhole(attributes, name.c_str());
        const std::string object = use.object + "/attributes/" + name;
        if (!index)
            throw ktFileError(object, "is no accessor");
        const ktJson* accessor = ktJsonElement(document.json, "accessors", static_cast<std::size_t>(*index));
        const int width = accessor ? ktComponentCount(ktJsonText(*accessor, "type")) : 0;
        const auto component = accessor ? ktJsonWhole(*accessor, "componentType") : std::nullopt;
        if (width == 0 || !component || *component < 5120 || *component > 5126 || *component == 5124)
            throw ktFileError(object, "is no accessor of a known type");
        const auto known = std::find_if(mesh.attributes.begin(), mesh.attributes.end(),
                                        [id = id](const ktDracoAttribute& wanted) { return wanted.id == id; });
        if (known == mesh.attributes.end())
            mesh.attributes.push_back({id, static_cast<ktComponent>(*component), width});
        else if (known->component != static_cast<ktComponent>(*component) || known->width != width)
            throw ktFileError(object, "has another type than in a primitive with the same stream");
    }
}

// Makes a reference name an accessor for data of this source. False if the accessor is filled already.
bool DracoDecoder::claim(ktJson& reference, const Source& source, bool& isNew) {
    ktJson& accessors = document.json["accessors"];
    const std::size_t index = static_cast<std::size_t>(reference);
    const auto [known, isFree] = sourceOf.emplace(index, source);
    isNew = isFree;
    if (isFree)
        return true;
    if (known->second == source)
        return false;
    accessors.push_back(ktJson(accessors[index]));
    reference = accessors.size() - 1;
    sourceOf[accessors.size() - 1] = source;
    return true;
}

void DracoDecoder::fillIndices(const StreamUse& use, const ktDracoMesh& mesh, ktJson& primitive,
                               ktBufferRebuild& rebuild) {
    ktJson& accessors = document.json["accessors"];
    const auto given = ktJsonWhole(primitive, "indices");
    if (!given || *given >= accessors.size() || !accessors[static_cast<std::size_t>(*given)].is_object()) {
        accessors.push_back({{"componentType", 5125}, {"count", 0}, {"type", "SCALAR"}});
        primitive["indices"] = accessors.size() - 1;
    }
    bool isNew = false;
    if (!claim(primitive["indices"], {use.view, indicesId}, isNew))
        return;
    ktJson& accessor = accessors[static_cast<std::size_t>(primitive["indices"])];
    const bool isShort = mesh.vertices <= 0xFFFF && ktJsonWhole(accessor, "componentType") != 5125;
    ktBytes bytes(mesh.indices.size() * (isShort ? 2 : 4));
    for (std::size_t i = 0; i < mesh.indices.size(); ++i)
        for (std::size_t b = 0; b < (isShort ? 2u : 4u); ++b)
            bytes[i * (isShort ? 2 : 4) + b] = static_cast<std::uint8_t>(mesh.indices[i] >> (8 * b));
    ktJson view = {{"target", 34963}};
    if (ktIsOwnData(accessor))
        ktMarkAsOwn(view);
    accessor["bufferView"] = rebuild.add(view, std::move(bytes));
    input.decodedViews.insert(static_cast<std::size_t>(accessor["bufferView"]));
    accessor["componentType"] = isShort ? 5123 : 5125;
    accessor["count"] = mesh.indices.size();
    for (const char* key : {"byteOffset", "min", "max"})
        accessor.erase(key);
}

void DracoDecoder::fill(const StreamUse& use, ktBufferRebuild& rebuild) {
    const ktDracoMesh& mesh = meshes[meshOfView[use.view]];
    ktJson& accessors = document.json["accessors"];
    ktJson& primitive = primitiveOf(use);
    if (mesh.vertices == 0 || mesh.indices.empty())
        throw ktFileError(use.object, "its compressed data (KHR_draco_mesh_compression) holds no triangles");
    for (const auto& [name, id] : use.ids) {
        ktJson& reference = primitive["attributes"][name];
        bool isNew = false;
        if (!claim(reference, {use.view, id}, isNew))
            continue;
        const std::size_t index = static_cast<std::size_t>(reference);
        ktJson& accessor = accessors[index];
        if (isNew && ktJsonWhole(accessor, "count") != mesh.vertices)
            messages.warn(ktPointer("accessors", index),
                          "has another count than its compressed data, whose count is used");
        const auto attribute = std::find_if(mesh.attributes.begin(), mesh.attributes.end(),
                                            [id = id](const ktDracoAttribute& read) { return read.id == id; });
        ktJson view = ktJson::object();
        const std::size_t size = static_cast<std::size_t>(attribute->width) * ktComponentSize(attribute->component);
        if (attribute->stride() != size)
            view["byteStride"] = attribute->stride();
        view["target"] = 34962;
        if (ktIsOwnData(accessor))
            ktMarkAsOwn(view);
        accessor["bufferView"] = rebuild.add(view, attribute->values);
        input.decodedViews.insert(static_cast<std::size_t>(accessor["bufferView"]));
        accessor["count"] = mesh.vertices;
        accessor.erase("byteOffset");
    }
    fillIndices(use, mesh, primitive, rebuild);
    if (ktJsonMember(primitive, "mode"))
        primitive["mode"] = 4; // strips are decoded to triangles
    ktRemoveExtension(primitive, ktDracoExtension);
}

void DracoDecoder::run() {
    findUses();
    if (uses.empty())
        return;
    ktReadDracoStreams(meshes);
    for (const StreamUse& use : uses) {
        const ktDracoMesh& mesh = meshes[meshOfView[use.view]];
        ktDracoStream stream;
        stream.bytes.assign(mesh.data, mesh.data + mesh.size);
        stream.ids = use.ids;
        for (const auto& [name, id] : use.ids)
            for (const ktDracoAttribute& attribute : mesh.attributes)
                if (attribute.id == id)
                    stream.quantization[name] = attribute.quantization;
        input.draco.push_back(std::move(stream));
    }
    // Streams that nothing else shows make room for what they held.
    std::vector<bool> isUsed = ktFindUsedViews(document.json);
    ktBufferRebuild rebuild(document);
    for (const auto& entry : meshOfView)
        if (!isUsed[entry.first]) {
            ktJson& view = document.json["bufferViews"][entry.first];
            rebuild.remove(entry.first);
            view = ktJson::object();
        }
    for (std::size_t i = 0; i < uses.size(); ++i) {
        ktReadProgress::tell(i, uses.size());
        fill(uses[i], rebuild);
        const ktJson& primitive = primitiveOf(uses[i]);
        ktDracoStream& stream = input.draco[i];
        stream.attributes = primitive["attributes"];
        stream.indices = static_cast<std::size_t>(primitive["indices"]);
        input.dracoOfPrimitive[{uses[i].mesh, uses[i].primitive}] = i;
        input.dracoOfPositions[static_cast<std::size_t>(primitive["attributes"]["POSITION"])] = i;
    }
    rebuild.finish();
    bool isLeft = false;
    for (const ktJson& mesh : document.json["meshes"])
        for (std::size_t p = 0; p < ktJsonCount(mesh, "primitives"); ++p)
            isLeft = isLeft || ktFindExtension(*ktJsonElement(mesh, "primitives", p), ktDracoExtension);
    if (!isLeft)
        ktForgetExtension(document.json, ktDracoExtension);
}

} // namespace

void ktDecodeDraco(ktGltfDocument& document, ktCompressedInput& input, ktFileMessages& messages) {
    DracoDecoder(document, input, messages).run();
}
