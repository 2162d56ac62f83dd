// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"

const std::uint32_t ktGlbMagic = 0x46546C67;       ///< "glTF"
const std::uint32_t ktGlbJsonChunk = 0x4E4F534A;   ///< "JSON"
const std::uint32_t ktGlbBinaryChunk = 0x004E4942; ///< "BIN" and a zero

/// The chunks of a .glb file. Ranges are in bytes of the file.
struct ktGlbParts {
    std::size_t jsonBegin = 0, jsonSize = 0;
    std::size_t binaryBegin = 0, binarySize = 0;
    bool hasBinary = false;
    std::vector<ktGlbChunk> others;
};

/// Whether the bytes begin like a .glb file.
bool ktIsGlb(const ktBytes& file);
/// Finds the chunks of a .glb file. Throws ktFileError (object "file") if the file is truncated, has a version other
/// than 2 (ktGltf1Error for version 1) or does not begin with a JSON chunk.
ktGlbParts ktSplitGlb(const ktBytes& file, ktFileMessages& messages);
