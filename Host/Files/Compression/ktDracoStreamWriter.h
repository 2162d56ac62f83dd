// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktCompressedInput.h"
#include "ktGltfAccessor.h"

/// An attribute to compress.
struct ktDracoNewAttribute {
    std::string name;
    ktComponent component;
    int width; ///< components
    bool isNormalized;
    ktBytes values; ///< tightly packed
    ktDracoQuantization quantization;
};

/// A compressed primitive.
struct ktDracoNewStream {
    ktBytes bytes; ///< empty: Draco cannot compress it
    std::size_t vertices = 0, triangles = 0;
    std::vector<float> least, most; ///< x, y, z of the decoded positions
};

/// Compresses triangles. The identifier of an attribute in the stream is its place in `attributes`; the first one holds
/// the positions. Reads the stream again to make sure that it can be decoded. Triangles with a repeated vertex and
/// vertices without triangles may be left out.
/// @param indices    three per triangle, each below `vertices`
/// @param keepsOrder vertices stay in their order and number, for morph targets; compresses less
ktDracoNewStream ktWriteDracoStream(const std::vector<ktDracoNewAttribute>& attributes, std::size_t vertices,
                                    const std::vector<std::uint32_t>& indices, bool keepsOrder);
