// SPDX-License-Identifier: LGPL-2.1-or-later
// Replaces plain accessors of primitives by Draco streams.
#include "ktBufferRebuild.h"
#include "ktCompress.h"
#include "ktDracoStreamWriter.h"
#include "ktExtensionNames.h"
#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktGltfReferences.h"
#include "ktGltfStore.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <optional>

namespace {

/// A primitive to compress.
struct Target {
    std::size_t mesh, primitive;
    const ktDracoStream* input; ///< null: the input did not hold it compressed
};

class DracoEncoder {
public:
    DracoEncoder(ktGltfDocument& document_, bool all_, const ktCompressedInput& input_, ktFileMessages& messages_)
        : document(document_), all(all_), input(input_), messages(messages_) {}

    void run();

private:
    struct Box {
        std::vector<float> least;
        float range = 0;
    };

    void findTargets();
    void countUses();
    std::optional<Box> boxOf(std::size_t mesh);
    bool isUnchanged(const Target& target) const;
    std::vector<ktDracoNewAttribute> attributesOf(const Target& target, std::size_t& vertices);
    ktDracoQuantization gridFor(const Target& target, const std::string& name, const ktDracoNewAttribute& attribute);
    std::vector<std::uint32_t> indicesOf(const ktJson& primitive, std::size_t vertices) const;
    ktDracoNewStream compress(const Target& target, std::vector<std::string>& names);
    void apply(const Target& target, const ktDracoNewStream& stream, const std::vector<std::string>& names);
    void applyInput(const Target& target);
    ktJson& detach(ktJson& reference, std::size_t count);
    void dropUnusedData(ktBufferRebuild& rebuild);
    ktJson& primitiveOf(const Target& target) {
        return document.json["meshes"][target.mesh]["primitives"][target.primitive];
    }
    const ktJson& primitiveOf(const Target& target) const {
        return document.json.at("meshes").at(target.mesh).at("primitives").at(target.primitive);
    }

    ktGltfDocument& document;
    const bool all;
    const ktCompressedInput& input;
    ktFileMessages& messages;
    std::vector<Target> targets;
    std::vector<std::pair<const Target*, ktBytes>> streams;
    std::vector<std::size_t> useCount; ///< by accessor
    std::map<std::size_t, std::optional<Box>> boxes;
    std::vector<bool> wasUsed; ///< by view, before
};

bool isTriangles(const ktJson& primitive) {
    return ktJsonWhole(primitive, "mode").value_or(4) == 4 && primitive.is_object();
}

void DracoEncoder::findTargets() {
    for (std::size_t m = 0; m < ktJsonCount(document.json, "meshes"); ++m) {
        const ktJson& mesh = *ktJsonElement(document.json, "meshes", m);
        for (std::size_t p = 0; p < ktJsonCount(mesh, "primitives"); ++p) {
            const ktJson& primitive = *ktJsonElement(mesh, "primitives", p);
            const ktJson* attributes = ktJsonMember(primitive, "attributes");
            const auto positions = attributes ? ktJsonWhole(*attributes, "POSITION") : std::nullopt;
            if (!positions || !isTriangles(primitive))
                continue;
            const ktDracoStream* stream = nullptr;
            if (const auto own = input.dracoOfPrimitive.find({m, p}); own != input.dracoOfPrimitive.end())
                stream = &input.draco[own->second];
            else if (const auto copied = input.dracoOfPositions.find(static_cast<std::size_t>(*positions));
                     copied != input.dracoOfPositions.end())
                stream = &input.draco[copied->second];
            if (stream || all)
                targets.push_back({m, p, stream});
        }
    }
}

// How many places name each accessor.
void DracoEncoder::countUses() {
    useCount.assign(ktJsonCount(document.json, "accessors"), 0);
    const std::vector<bool> isUsed = ktFindUsedAccessors(document.json);
    const auto use = [&](const ktJson& reference) {
        if (const auto index = ktJsonAsWhole(reference); index && *index < useCount.size())
            ++useCount[static_cast<std::size_t>(*index)];
    };
    for (std::size_t m = 0; m < ktJsonCount(document.json, "meshes"); ++m) {
        const ktJson& mesh = *ktJsonElement(document.json, "meshes", m);
        for (std::size_t p = 0; p < ktJsonCount(mesh, "primitives"); ++p) {
            const ktJson& primitive = *ktJsonElement(mesh, "primitives", p);
            if (const ktJson* attributes = ktJsonMember(primitive, "attributes"); attributes && attributes->is_object())
                for (const ktJson& reference : *attributes)
                    use(reference);
            if (const ktJson* indices = ktJsonMember(primitive, "indices"))
                use(*indices);
            for (std::size_t t = 0; t < ktJsonCount(primitive, "targets"); ++t)
                for (const ktJson& reference : *ktJsonElement(primitive, "targets", t))
                    use(reference);
        }
    }
    // Other users count, too: without this, their accessors look free.
    for (std::size_t i = 0; i < useCount.size(); ++i)
        if (useCount[i] == 0 && isUsed[i])
            useCount[i] = 2;
}

// The box of all positions of a mesh, so that primitives which touch are rounded to one grid. Empty: not finite.
std::optional<DracoEncoder::Box> DracoEncoder::boxOf(std::size_t mesh) {
    const auto known = boxes.find(mesh);
    if (known != boxes.end())
        return known->second;
    std::vector<float> least(3, std::numeric_limits<float>::max()), most(3, std::numeric_limits<float>::lowest());
    bool isFinite = true;
    const ktJson& json = *ktJsonElement(document.json, "meshes", mesh);
    for (std::size_t p = 0; p < ktJsonCount(json, "primitives"); ++p) {
        const ktJson* attributes = ktJsonMember(*ktJsonElement(json, "primitives", p), "attributes");
        const auto index = attributes ? ktJsonWhole(*attributes, "POSITION") : std::nullopt;
        if (!index)
            continue;
        const ktGltfAccessor accessor(document, static_cast<std::size_t>(*index));
        if (!accessor.hasData())
            continue; // not compressed either
        std::vector<float> values(3 * accessor.count());
        accessor.readFloats(nullptr, accessor.count(), 3, 0, values.data());
        for (std::size_t i = 0; i < values.size(); ++i) {
            isFinite = isFinite && std::isfinite(values[i]);
            least[i % 3] = std::min(least[i % 3], values[i]);
            most[i % 3] = std::max(most[i % 3], values[i]);
        }
    }
    std::optional<Box> box;
    const float range = std::max({most[0] - least[0], most[1] - least[1], most[2] - least[2]});
    if (isFinite && std::isfinite(range))
        box = Box{least, range > 0 ? range : 1.0f};
    return boxes[mesh] = box;
}

// Whether the stream of the input still holds the primitive.
bool DracoEncoder::isUnchanged(const Target& target) const {
    if (!target.input)
        return false;
    const ktJson& primitive = primitiveOf(target);
    if (primitive["attributes"] != target.input->attributes ||
        ktJsonWhole(primitive, "indices") != target.input->indices)
        return false;
    const auto isOwn = [&](const ktJson& reference) {
        const ktJson& accessor = document.json.at("accessors").at(static_cast<std::size_t>(reference));
        const auto view = ktJsonWhole(accessor, "bufferView");
        return ktIsOwnData(accessor) ||
               (view && ktIsOwnData(document.json.at("bufferViews").at(static_cast<std::size_t>(*view))));
    };
    return std::none_of(primitive["attributes"].begin(), primitive["attributes"].end(), isOwn);
}

bool fits(const ktDracoQuantization& grid, const ktDracoNewAttribute& attribute) {
    const auto width = static_cast<std::size_t>(attribute.width);
    if (grid.least.size() < width)
        return false;
    const auto* values = reinterpret_cast<const float*>(attribute.values.data());
    // A quarter of a step: values beyond the ends by a rounding error still become the first or the last step.
    const float slack = 0.25f * grid.range / static_cast<float>((std::uint32_t(1) << std::min(grid.bits, 30)) - 1);
    for (std::size_t i = 0; i < attribute.values.size() / sizeof(float); ++i) {
        const float above = values[i] - grid.least[i % width];
        if (!(above >= -slack && above <= grid.range + slack))
            return false;
    }
    return true;
}

/// Chooses how the values of an attribute are rounded.
ktDracoQuantization DracoEncoder::gridFor(const Target& target, const std::string& name,
                                          const ktDracoNewAttribute& attribute) {
    if (attribute.component != ktComponent::Float)
        return {};
    if (target.input) {
        // The grid of the input gives its values again, exactly.
        const auto known = target.input->quantization.find(name);
        if (known != target.input->quantization.end() &&
            (known->second.bits == 0 || !known->second.isDirect() || fits(known->second, attribute)))
            return known->second;
    }
    const auto* values = reinterpret_cast<const float*>(attribute.values.data());
    const std::size_t count = attribute.values.size() / sizeof(float);
    if (!std::all_of(values, values + count, [](float value) { return std::isfinite(value); }))
        return {};
    if (name == "POSITION") {
        const std::optional<Box> box = boxOf(target.mesh);
        return box ? ktDracoQuantization{ktDracoBits, box->least, box->range} : ktDracoQuantization{};
    }
    if (name == "NORMAL")
        return {ktDracoNormalBits};
    // Others' own attributes may hold numbers that are no measures, and so does the marker in _BAKED_LIGHT.
    const bool isRounded = name == "_AO" || name == "_INDIRECT" || name == "_SOURCE_COLOR_0" || name[0] != '_';
    if (!isRounded)
        return {};
    const auto width = static_cast<std::size_t>(attribute.width);
    ktDracoQuantization grid = {ktDracoBits, std::vector<float>(values, values + width)};
    std::vector<float> most = grid.least;
    for (std::size_t i = 0; i < count; ++i) {
        grid.least[i % width] = std::min(grid.least[i % width], values[i]);
        most[i % width] = std::max(most[i % width], values[i]);
    }
    for (std::size_t c = 0; c < width; ++c)
        grid.range = std::max(grid.range, most[c] - grid.least[c]);
    if (!(grid.range > 0))
        grid.range = 1;
    return std::isfinite(grid.range) ? grid : ktDracoQuantization{};
}

std::vector<ktDracoNewAttribute> DracoEncoder::attributesOf(const Target& target, std::size_t& vertices) {
    const ktJson& json = primitiveOf(target)["attributes"];
    std::vector<std::string> names = {"POSITION"};
    for (const auto& attribute : json.items())
        if (attribute.key() != "POSITION")
            names.push_back(attribute.key());
    std::vector<ktDracoNewAttribute> attributes;
    std::vector<std::uint32_t> all_;
    for (const std::string& name : names) {
        const auto index = ktJsonWhole(json, name.c_str());
        if (!index)
            throw ktFileError(name, "is no accessor");
        const ktGltfAccessor accessor(document, static_cast<std::size_t>(*index));
        if (name == "POSITION") {
            if (!accessor.hasData())
                throw ktFileError(name, "has no data");
            vertices = accessor.count();
            all_.resize(vertices);
            std::iota(all_.begin(), all_.end(), 0u);
        }
        if (accessor.count() != vertices || (name == "POSITION" && accessor.components() != 3))
            throw ktFileError(name, "has another count than the positions");
        ktDracoNewAttribute attribute = {
            name, accessor.componentType(), accessor.components(), accessor.isNormalized(), {}, {}};
        const std::size_t size = ktComponentSize(attribute.component) * static_cast<std::size_t>(attribute.width);
        attribute.values.resize(vertices * size);
        accessor.readBytes(all_.data(), vertices, size, attribute.values.data());
        attribute.quantization = gridFor(target, name, attribute);
        attributes.push_back(std::move(attribute));
    }
    return attributes;
}

std::vector<std::uint32_t> DracoEncoder::indicesOf(const ktJson& primitive, std::size_t vertices) const {
    std::vector<std::uint32_t> indices;
    if (const auto index = ktJsonWhole(primitive, "indices")) {
        const ktGltfAccessor accessor(document, static_cast<std::size_t>(*index));
        if (!accessor.hasData())
            throw ktFileError("indices", "have no data");
        indices = accessor.readIndices();
    } else if (ktJsonMember(primitive, "indices")) {
        throw ktFileError("indices", "are no accessor");
    } else {
        indices.resize(vertices);
        std::iota(indices.begin(), indices.end(), 0u);
    }
    indices.resize(indices.size() / 3 * 3);
    if (indices.empty())
        throw ktFileError("indices", "are empty");
    for (const std::uint32_t index : indices)
        if (index >= vertices)
            throw ktFileError("indices", "are out of range");
    return indices;
}

// A stream without bytes if the primitive cannot be compressed.
ktDracoNewStream DracoEncoder::compress(const Target& target, std::vector<std::string>& names) {
    try {
        std::size_t vertices = 0;
        const ktJson& primitive = primitiveOf(target);
        if (!ktCanHaveExtensions(primitive))
            throw ktFileError("extensions", "are no object");
        const std::vector<ktDracoNewAttribute> attributes = attributesOf(target, vertices);
        const std::vector<std::uint32_t> indices = indicesOf(primitive, vertices);
        for (const ktDracoNewAttribute& attribute : attributes)
            names.push_back(attribute.name);
        return ktWriteDracoStream(attributes, vertices, indices, ktJsonCount(primitive, "targets") > 0);
    } catch (const ktFileError&) {
        return {}; // most were left out when the file was read, with a warning
    }
}

// An accessor without data for a reference, and only for it.
ktJson& DracoEncoder::detach(ktJson& reference, std::size_t count) {
    ktJson& accessors = document.json["accessors"];
    std::size_t index = static_cast<std::size_t>(reference);
    if (useCount[index] > 1) {
        --useCount[index];
        accessors.push_back(ktJson(accessors[index]));
        index = accessors.size() - 1;
        reference = index;
        useCount.push_back(1);
    }
    ktJson& accessor = accessors[index];
    const auto view = ktJsonWhole(accessor, "bufferView");
    if (view && !ktIsOwnData(accessor) && ktIsOwnData(*ktJsonElement(document.json, "bufferViews", *view)))
        ktMarkAsOwn(accessor);
    for (const char* key : {"bufferView", "byteOffset", "sparse"})
        accessor.erase(key);
    accessor["count"] = count;
    return accessor;
}

void DracoEncoder::apply(const Target& target, const ktDracoNewStream& stream, const std::vector<std::string>& names) {
    ktJson& primitive = primitiveOf(target);
    ktJson ids = ktJson::object();
    for (std::size_t i = 0; i < names.size(); ++i) {
        ktJson& accessor = detach(primitive["attributes"][names[i]], stream.vertices);
        for (const char* key : {"min", "max"})
            accessor.erase(key);
        if (names[i] == "POSITION")
            for (std::size_t c = 0; c < 3; ++c) {
                accessor["min"].push_back(static_cast<double>(stream.least[c]));
                accessor["max"].push_back(static_cast<double>(stream.most[c]));
            }
        ids[names[i]] = i;
    }
    if (!ktJsonMember(primitive, "indices")) {
        document.json["accessors"].push_back({{"componentType", 5125}, {"count", 0}, {"type", "SCALAR"}});
        useCount.push_back(1);
        primitive["indices"] = useCount.size() - 1;
    }
    ktJson& indices = detach(primitive["indices"], 3 * stream.triangles);
    indices["componentType"] = stream.vertices <= 0xFFFF ? 5123 : 5125;
    for (const char* key : {"min", "max"})
        indices.erase(key);
    primitive["extensions"][ktDracoExtension] = {{"bufferView", 0}, {"attributes", std::move(ids)}};
    streams.emplace_back(&target, stream.bytes);
}

void DracoEncoder::applyInput(const Target& target) {
    ktJson& primitive = primitiveOf(target);
    ktJson ids = ktJson::object();
    for (const auto& [name, id] : target.input->ids) {
        ktJson& reference = primitive["attributes"][name];
        const ktJson& accessor = document.json["accessors"][static_cast<std::size_t>(reference)];
        detach(reference, static_cast<std::size_t>(accessor["count"]));
        ids[name] = id;
    }
    const ktJson& indices = document.json["accessors"][static_cast<std::size_t>(primitive["indices"])];
    detach(primitive["indices"], static_cast<std::size_t>(indices["count"]));
    primitive["extensions"][ktDracoExtension] = {{"bufferView", 0}, {"attributes", std::move(ids)}};
    streams.emplace_back(&target, target.input->bytes);
}

// Removes views that held what is compressed now, also of primitives that were written anew.
void DracoEncoder::dropUnusedData(ktBufferRebuild& rebuild) {
    ktJson& accessors = document.json["accessors"];
    const std::vector<bool> isUsed = ktFindUsedAccessors(document.json);
    for (std::size_t i = 0; i < accessors.size(); ++i) {
        const auto view = ktJsonWhole(accessors[i], "bufferView");
        if (!isUsed[i] && view && input.decodedViews.count(static_cast<std::size_t>(*view)) > 0)
            for (const char* key : {"bufferView", "byteOffset"})
                accessors[i].erase(key);
    }
    const std::vector<bool> isShown = ktFindUsedViews(document.json);
    for (std::size_t i = 0; i < isShown.size(); ++i)
        if (!isShown[i] && (wasUsed[i] || ktIsOwnData(document.json["bufferViews"][i])))
            rebuild.remove(i);
}

void DracoEncoder::run() {
    findTargets();
    countUses();
    wasUsed = ktFindUsedViews(document.json);
    // Compresses everything before it changes anything: primitives may share accessors.
    std::vector<ktDracoNewStream> made(targets.size());
    std::vector<std::vector<std::string>> names(targets.size());
    for (std::size_t i = 0; i < targets.size(); ++i)
        if (!isUnchanged(targets[i])) {
            made[i] = compress(targets[i], names[i]);
            if (made[i].bytes.empty())
                messages.warn(ktPointer("meshes", targets[i].mesh), "cannot be compressed and is written plain");
        }
    for (std::size_t i = 0; i < targets.size(); ++i) {
        if (!made[i].bytes.empty())
            apply(targets[i], made[i], names[i]);
        else if (names[i].empty() && isUnchanged(targets[i]))
            applyInput(targets[i]);
    }
    if (streams.empty())
        return;
    ktBufferRebuild rebuild(document);
    dropUnusedData(rebuild);
    std::map<ktBytes, std::size_t> viewOfStream; // copies of a mesh share their stream
    for (auto& [target, bytes] : streams) {
        auto known = viewOfStream.find(bytes);
        if (known == viewOfStream.end())
            known = viewOfStream.emplace(bytes, rebuild.add(ktJson::object(), bytes)).first;
        primitiveOf(*target)["extensions"][ktDracoExtension]["bufferView"] = known->second;
    }
    rebuild.finish();
    ktRequireExtension(document.json, ktDracoExtension);
}

} // namespace

void ktEncodeDraco(ktGltfDocument& document, bool all, const ktCompressedInput& input, ktFileMessages& messages) {
    DracoEncoder(document, all, input, messages).run();
}
