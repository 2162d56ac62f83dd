// SPDX-License-Identifier: LGPL-2.1-or-later
// Compresses buffer views with EXT_meshopt_compression.
#include "ktBufferRebuild.h"
#include "ktCompress.h"
#include "ktExtensionNames.h"
#include "ktFileError.h"
#include "ktGltfAccessor.h"

#include <algorithm>
#include <cstring>
#include <meshoptimizer.h>
#include <mutex>

namespace {

constexpr std::size_t largestStride = 256;

/// What a view is used for.
struct ViewUse {
    bool isVertices = false, isIndices = false;
    bool isOther = false;        ///< an image, an unknown use, or accessors of other types beside indices
    bool isTriangles = true;     ///< all its indices form triangle lists
    std::size_t elementSize = 0; ///< of its accessors, if all have the same
    bool hasManySizes = false;
    bool isBroken = false; ///< an accessor of it cannot be read
};

bool canBeRead(const ktGltfDocument& document, std::size_t accessor) {
    try {
        return ktGltfAccessor(document, accessor).count() > 0;
    } catch (const ktFileError&) {
        return false;
    }
}

class MeshoptEncoder {
public:
    MeshoptEncoder(ktGltfDocument& document_, bool all_, const ktCompressedInput& input_)
        : document(document_), all(all_), input(input_), rebuild(document_) {}

    void run();

private:
    void findUses();
    void useIndices(const ktJson& primitive);
    void compress(std::size_t view);
    void encodeVertices(std::size_t view, const ktGltfViewRange& range, const ViewUse& use);
    void encodeIndices(std::size_t view, const ktGltfViewRange& range, const ViewUse& use);
    ViewUse* useOf(const ktJson& accessor) {
        const auto view = ktJsonWhole(accessor, "bufferView");
        return view && *view < uses.size() ? &uses[static_cast<std::size_t>(*view)] : nullptr;
    }

    ktGltfDocument& document;
    const bool all;
    const ktCompressedInput& input;
    ktBufferRebuild rebuild;
    std::vector<ViewUse> uses; ///< by view
    bool isCompressed = false;
};

void MeshoptEncoder::useIndices(const ktJson& primitive) {
    const auto index = ktJsonWhole(primitive, "indices");
    const ktJson* accessor =
        index ? ktJsonElement(document.json, "accessors", static_cast<std::size_t>(*index)) : nullptr;
    ViewUse* const use = accessor ? useOf(*accessor) : nullptr;
    if (!use)
        return;
    use->isIndices = true;
    const std::uint64_t size = use->elementSize;
    if (ktJsonWhole(primitive, "mode").value_or(4) != 4 || ktJsonWhole(*accessor, "count").value_or(1) % 3 != 0 ||
        size == 0 || ktJsonWhole(*accessor, "byteOffset").value_or(0) % (3 * size) != 0)
        use->isTriangles = false;
}

void MeshoptEncoder::findUses() {
    uses.resize(ktJsonCount(document.json, "bufferViews"));
    for (std::size_t i = 0; i < ktJsonCount(document.json, "accessors"); ++i) {
        const ktJson& accessor = *ktJsonElement(document.json, "accessors", i);
        if (ViewUse* const use = useOf(accessor)) {
            const auto component = ktJsonWhole(accessor, "componentType").value_or(0);
            const std::size_t size = ktComponentSize(static_cast<ktComponent>(component)) *
                                     static_cast<std::size_t>(ktComponentCount(ktJsonText(accessor, "type")));
            use->hasManySizes = use->hasManySizes || (use->elementSize != 0 && use->elementSize != size);
            use->elementSize = size;
            use->isVertices = true;
            use->isBroken = use->isBroken || !canBeRead(document, i);
        }
        if (const ktJson* sparse = ktJsonMember(accessor, "sparse"))
            for (const char* part : {"indices", "values"})
                if (const ktJson* holder = ktJsonMember(*sparse, part))
                    if (ViewUse* const use = useOf(*holder))
                        use->isOther = true;
    }
    for (std::size_t i = 0; i < ktJsonCount(document.json, "images"); ++i)
        if (ViewUse* const use = useOf(*ktJsonElement(document.json, "images", i)))
            use->isOther = true;
    for (std::size_t m = 0; m < ktJsonCount(document.json, "meshes"); ++m) {
        const ktJson& mesh = *ktJsonElement(document.json, "meshes", m);
        for (std::size_t p = 0; p < ktJsonCount(mesh, "primitives"); ++p)
            useIndices(*ktJsonElement(mesh, "primitives", p));
    }
}

void MeshoptEncoder::encodeVertices(std::size_t view, const ktGltfViewRange& range, const ViewUse& use) {
    const std::size_t stride = range.stride                                   ? range.stride
                               : use.hasManySizes || use.elementSize % 4 != 0 ? 4
                                                                              : use.elementSize;
    if (stride == 0 || stride % 4 != 0 || stride > largestStride || range.size == 0)
        return;
    if (range.size % stride != 0 && use.isBroken)
        return; // bytes that complete the last element could make it readable
    ktBytes data(range.data, range.data + range.size);
    data.resize((range.size + stride - 1) / stride * stride);
    const std::size_t count = data.size() / stride;
    ktBytes stream(meshopt_encodeVertexBufferBound(count, stride));
    stream.resize(meshopt_encodeVertexBuffer(stream.data(), stream.size(), data.data(), count, stride));
    if (stream.empty())
        return;
    rebuild.compress(view, std::move(stream), {{"byteStride", stride}, {"count", count}, {"mode", "ATTRIBUTES"}});
    isCompressed = true;
}

void MeshoptEncoder::encodeIndices(std::size_t view, const ktGltfViewRange& range, const ViewUse& use) {
    const std::size_t size = use.elementSize;
    if ((size != 2 && size != 4) || range.stride != 0 || range.size < size)
        return;
    const std::size_t count = range.size / size;
    std::vector<std::uint32_t> indices(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint16_t small = 0;
        if (size == 2) {
            std::memcpy(&small, range.data + 2 * i, 2);
            indices[i] = small;
        } else {
            std::memcpy(&indices[i], range.data + 4 * i, 4);
        }
    }
    const bool isTriangles = use.isTriangles && count % 3 == 0;
    const std::size_t vertices = std::size_t(*std::max_element(indices.begin(), indices.end())) + 1;
    ktBytes stream(isTriangles ? meshopt_encodeIndexBufferBound(count, vertices)
                               : meshopt_encodeIndexSequenceBound(count, vertices));
    stream.resize(isTriangles ? meshopt_encodeIndexBuffer(stream.data(), stream.size(), indices.data(), count)
                              : meshopt_encodeIndexSequence(stream.data(), stream.size(), indices.data(), count));
    if (stream.empty())
        return;
    rebuild.compress(view, std::move(stream),
                     {{"byteStride", size}, {"count", count}, {"mode", isTriangles ? "TRIANGLES" : "INDICES"}});
    isCompressed = true;
}

void MeshoptEncoder::compress(std::size_t view) {
    const ktJson& json = *ktJsonElement(document.json, "bufferViews", view);
    const auto known = input.meshopt.find(view);
    const bool isOwn = ktIsOwnData(json);
    if (known != input.meshopt.end() && !isOwn) {
        rebuild.compress(view, known->second.bytes, known->second.extension);
        isCompressed = true;
        return;
    }
    const ViewUse& use = uses[view];
    if (use.isOther || (!use.isVertices && !use.isIndices) || !(all || isOwn))
        return;
    if ((use.isIndices && use.hasManySizes) || !ktCanHaveExtensions(json))
        return;
    ktGltfViewRange range = {};
    try {
        range = ktFindGltfView(document, view);
    } catch (const ktFileError&) {
        return; // what it shows was left out when the file was read, with a warning
    }
    if (use.isIndices)
        encodeIndices(view, range, use);
    else
        encodeVertices(view, range, use);
}

void MeshoptEncoder::run() {
    // The extension needs this version of the indices' code. The library keeps it in a variable of the process.
    static std::once_flag once;
    std::call_once(once, [] { meshopt_encodeIndexVersion(1); });
    findUses();
    for (std::size_t i = 0; i < uses.size(); ++i) {
        const auto buffer = ktJsonWhole(*ktJsonElement(document.json, "bufferViews", i), "buffer");
        if (buffer && *buffer < document.buffers.size() &&
            document.buffers[static_cast<std::size_t>(*buffer)].problem.empty())
            compress(i);
    }
    if (!isCompressed)
        return;
    rebuild.finish();
    ktRequireExtension(document.json, ktMeshoptExtension);
}

} // namespace

void ktEncodeMeshopt(ktGltfDocument& document, bool all, const ktCompressedInput& input) {
    MeshoptEncoder(document, all, input).run();
}
