// SPDX-License-Identifier: LGPL-2.1-or-later
// Measures rays a second while a geometry is under way.
#include "ktRunRate.h"

void ktRunRate::add(std::uint64_t vertices) {
    if (vertices > known)
        vertexRays += static_cast<double>(vertices - known) * now;
    known = vertices;
}

void ktRunRate::finish(std::uint64_t vertices) {
    add(vertices);
    finished = vertexRays;
}

double ktRunRate::measure(std::uint64_t vertices, double rays, double seconds) {
    add(vertices);
    const double factor = finished > 0 ? rays / finished : isLow() ? 1 : rayFactor;
    return seconds > 0 ? (rays + (vertexRays - finished) * factor) / seconds : 0;
}
