// SPDX-License-Identifier: LGPL-2.1-or-later
// Decodes buffer views of EXT_meshopt_compression.
#include "ktBufferRebuild.h"
#include "ktDecompress.h"
#include "ktExtensionNames.h"
#include "ktFileError.h"
#include "ktReadInterrupt.h"
#include "ktReadProgress.h"

#include <meshoptimizer.h>

namespace {

// A block of 256 elements takes at least 4 bytes per byte of an element, so data is at most 64 times its stream.
constexpr std::size_t largestViewRatio = 64, leastSize = 4096;
constexpr unsigned newestVertexCodec = 0, newestIndexCodec = 1;

struct ViewStream {
    std::string object;
    const std::uint8_t* data = nullptr;
    std::size_t size = 0, count = 0, stride = 0;
    std::string mode, filter;
};

ViewStream openStream(const ktGltfDocument& document, std::size_t view, const ktJson& extension, const char* name) {
    ViewStream stream;
    stream.object = ktPointer("bufferViews", view) + "/extensions/" + name;
    const auto fail = [&](const std::string& reason) { throw ktFileError(stream.object, reason); };
    const auto buffer = ktJsonWhole(extension, "buffer"), length = ktJsonWhole(extension, "byteLength"),
               count = ktJsonWhole(extension, "count"), stride = ktJsonWhole(extension, "byteStride");
    const std::uint64_t offset = ktJsonWhole(extension, "byteOffset").value_or(0);
    if (!buffer || *buffer >= document.buffers.size() || !length || !count || !stride)
        fail("has no valid buffer, byteLength, byteStride or count");
    const ktGltfBuffer& source = document.buffers[static_cast<std::size_t>(*buffer)];
    if (!source.problem.empty())
        throw ktFileError(ktPointer("buffers", static_cast<std::size_t>(*buffer)), source.problem);
    if (offset > source.bytes.size() || *length > source.bytes.size() - offset)
        fail("reaches beyond the end of its buffer");
    stream.mode = ktJsonText(extension, "mode");
    stream.filter = ktJsonText(extension, "filter");
    if (stream.filter == "NONE")
        stream.filter.clear();
    const bool isVertices = stream.mode == "ATTRIBUTES";
    if (!isVertices && stream.mode != "TRIANGLES" && stream.mode != "INDICES")
        fail("has the unknown mode '" + stream.mode.substr(0, 20) + "'");
    if (isVertices ? *stride < 4 || *stride > 256 || *stride % 4 != 0 : *stride != 2 && *stride != 4)
        fail("has no valid byteStride");
    if (stream.mode == "TRIANGLES" && *count % 3 != 0)
        fail("has a count that is no number of triangles");
    if (*count < 1 || *count > (*length * largestViewRatio + leastSize) / *stride)
        fail("describes far more data than its size justifies");
    stream.data = source.bytes.data() + offset;
    stream.size = static_cast<std::size_t>(*length);
    stream.count = static_cast<std::size_t>(*count);
    stream.stride = static_cast<std::size_t>(*stride);
    const unsigned codec = stream.size > 0 ? stream.data[0] & 15u : 0;
    if (codec > (isVertices ? newestVertexCodec : newestIndexCodec))
        fail("is compressed with version " + std::to_string(codec) +
             " of the codec, which cannot be read; compress the file with EXT_meshopt_compression, for instance with "
             "gltfpack -c -ce ext");
    return stream;
}

void applyFilter(const ViewStream& stream, std::uint8_t* data) {
    if (stream.filter.empty())
        return;
    const std::size_t stride = stream.stride;
    if (stream.mode != "ATTRIBUTES")
        throw ktFileError(stream.object, "has a filter for what are no attributes");
    if (stream.filter == "OCTAHEDRAL" && (stride == 4 || stride == 8))
        meshopt_decodeFilterOct(data, stream.count, stride);
    else if (stream.filter == "QUATERNION" && stride == 8)
        meshopt_decodeFilterQuat(data, stream.count, stride);
    else if (stream.filter == "EXPONENTIAL")
        meshopt_decodeFilterExp(data, stream.count, stride);
    else
        throw ktFileError(stream.object, "has the unknown filter '" + stream.filter.substr(0, 20) +
                                             "' or one that does not suit its byteStride");
}

ktBytes decodeView(const ViewStream& stream) {
    ktBytes data(stream.count * stream.stride);
    const auto run = [&] {
        if (stream.mode == "ATTRIBUTES")
            return meshopt_decodeVertexBuffer(data.data(), stream.count, stream.stride, stream.data, stream.size);
        if (stream.mode == "TRIANGLES")
            return meshopt_decodeIndexBuffer(data.data(), stream.count, stream.stride, stream.data, stream.size);
        return meshopt_decodeIndexSequence(data.data(), stream.count, stream.stride, stream.data, stream.size);
    };
    if (run() != 0)
        throw ktFileError(stream.object, "is damaged: its data cannot be decoded");
    applyFilter(stream, data.data());
    return data;
}

} // namespace

void ktDecodeMeshopt(ktGltfDocument& document, ktCompressedInput& input) {
    ktBufferRebuild rebuild(document);
    for (const char* name : {ktMeshoptExtension, ktNewMeshoptExtension})
        for (std::size_t i = 0; i < ktJsonCount(document.json, "bufferViews"); ++i) {
            ktJson& view = document.json["bufferViews"][i];
            const ktJson* extension = ktFindExtension(view, name);
            if (!extension)
                continue;
            ktReadInterrupt::check();
            ktReadProgress::tell(i, ktJsonCount(document.json, "bufferViews"));
            const ViewStream stream = openStream(document, i, *extension, name);
            ktBytes data = decodeView(stream);
            const auto length = ktJsonWhole(view, "byteLength");
            if (!length || *length > data.size())
                throw ktFileError(stream.object, "holds less data than its buffer view needs");
            ktMeshoptStream& kept = input.meshopt[i];
            kept.bytes.assign(stream.data, stream.data + stream.size);
            kept.extension = *extension;
            for (const char* place : {"buffer", "byteOffset", "byteLength"})
                kept.extension.erase(place);
            ktRemoveExtension(view, name);
            rebuild.replace(i, std::move(data));
        }
    if (input.meshopt.empty())
        return;
    rebuild.finish();
    ktForgetExtension(document.json, ktMeshoptExtension);
    ktForgetExtension(document.json, ktNewMeshoptExtension);
}
