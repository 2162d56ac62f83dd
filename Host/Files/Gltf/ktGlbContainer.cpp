// SPDX-License-Identifier: LGPL-2.1-or-later
// Checks the header of a binary glTF file and finds its JSON and binary chunks.
#include "ktGlbContainer.h"

#include "ktFileError.h"
#include "ktFileMessages.h"

namespace {

std::uint32_t wordAt(const ktBytes& file, std::size_t at) {
    return file[at] | file[at + 1] << 8 | file[at + 2] << 16 | static_cast<std::uint32_t>(file[at + 3]) << 24;
}

} // namespace

bool ktIsGlb(const ktBytes& file) {
    return file.size() >= 4 && wordAt(file, 0) == ktGlbMagic;
}

ktGlbParts ktSplitGlb(const ktBytes& file, ktFileMessages& messages) {
    const std::size_t headerSize = 12;
    if (file.size() < headerSize)
        throw ktFileError("file", "is truncated: a .glb file has a header of 12 bytes");
    const std::uint32_t version = wordAt(file, 4);
    const std::string refusal = "is binary glTF version " + std::to_string(version) + "; only version 2 can be read";
    if (version == 1)
        throw ktGltf1Error("file", refusal);
    if (version != 2)
        throw ktFileError("file", refusal);
    const std::size_t size = wordAt(file, 8);
    if (size > file.size())
        throw ktFileError("file", "is truncated: " + std::to_string(file.size()) + " of " + std::to_string(size) +
                                      " bytes are there");
    if (size < file.size())
        messages.warn("file", "has data after its end, which is ignored");

    ktGlbParts parts;
    bool first = true;
    std::size_t at = headerSize;
    while (at < size) {
        if (size - at < 8)
            throw ktFileError("file", "is truncated inside a chunk header");
        const std::size_t chunkSize = wordAt(file, at);
        const std::uint32_t type = wordAt(file, at + 4);
        at += 8;
        if (chunkSize > size - at)
            throw ktFileError("file", "is truncated: a chunk of " + std::to_string(chunkSize) + " bytes has only " +
                                          std::to_string(size - at));
        if (first) {
            if (type != ktGlbJsonChunk)
                throw ktFileError("file", "does not begin with a JSON chunk");
            parts.jsonBegin = at;
            parts.jsonSize = chunkSize;
        } else if (type == ktGlbBinaryChunk && parts.hasBinary) {
            messages.warn("file", "has a second binary chunk, which is left out");
        } else if (type == ktGlbBinaryChunk) {
            if (!parts.others.empty())
                messages.warn("file", "has its binary chunk in a wrong place; it is read all the same");
            parts.hasBinary = true;
            parts.binaryBegin = at;
            parts.binarySize = chunkSize;
        } else {
            const auto begin = file.begin() + static_cast<std::ptrdiff_t>(at);
            parts.others.push_back({type, ktBytes(begin, begin + static_cast<std::ptrdiff_t>(chunkSize))});
        }
        first = false;
        at += chunkSize;
    }
    if (first)
        throw ktFileError("file", "has no JSON chunk");
    return parts;
}
