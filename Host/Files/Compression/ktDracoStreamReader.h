// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktCompressedInput.h"
#include "ktGltfAccessor.h"

/// An attribute of a stream that is wanted, and its decoded values.
struct ktDracoAttribute {
    unsigned id;
    ktComponent component;
    int width;                             ///< components
    ktBytes values = {};                   ///< of all vertices, `stride()` bytes each
    ktDracoQuantization quantization = {}; ///< of the stream

    /// Bytes from one vertex to the next: a multiple of 4.
    std::size_t stride() const { return (static_cast<std::size_t>(width) * ktComponentSize(component) + 3) / 4 * 4; }
};

/// One stream, and its decoded data.
struct ktDracoMesh {
    std::string object; ///< for errors
    const std::uint8_t* data;
    std::size_t size;
    std::vector<ktDracoAttribute> attributes;
    std::size_t vertices = 0;
    std::vector<std::uint32_t> indices = {}; ///< three per triangle, each below `vertices`
};

/// Decodes streams in a process with limits. Throws ktFileError that names the stream if one is damaged, lacks an
/// attribute or describes far more data than its size justifies.
void ktReadDracoStreams(std::vector<ktDracoMesh>& meshes);
