// SPDX-License-Identifier: LGPL-2.1-or-later
// Relates the vertices of a geometry to those of its primitive in the file.
#include "ktPrimitiveLink.h"

#include <algorithm>
#include <numeric>

std::vector<std::uint32_t> ktPrimitiveLink::firstVertices() const {
    std::vector<std::uint32_t> first(vertexCount);
    std::iota(first.begin(), first.end(), 0u);
    const auto added = source.begin() + static_cast<std::ptrdiff_t>(splitVertices ? vertexCount - splitVertices : 0);
    for (std::size_t i = vertexCount - splitVertices; i < vertexCount; ++i)
        first[i] = static_cast<std::uint32_t>(std::lower_bound(source.begin(), added, source[i]) - source.begin());
    return first;
}
