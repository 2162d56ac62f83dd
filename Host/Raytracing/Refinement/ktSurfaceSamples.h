// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktConformingRefiner.h"

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

/// Light at a point of a triangle.
struct ktSurfaceSample {
    std::array<float, 3> weights; ///< of the corners of the triangle
    std::array<float, 4> light;   ///< as in ktFitSamples; fewer channels leave the rest unused
    bool isValid = false;         ///< counts: it is neither inside a solid nor hardly sees anything
    float difference = 0;         ///< between this light and the interpolated values
    float error = 0;              ///< its part of the squared error of the surface, without noise; may be below 0
    std::uint32_t next = 0;       ///< of the same triangle
};

/// The samples of triangles that a ktConformingRefiner bisects. A bisection passes them to the parts that they lie in.
class ktSurfaceSamples {
public:
    using Index = ktConformingRefiner::Index;

    /// Makes room for this many triangles.
    void resize(std::size_t triangles) { first.resize(triangles, ktConformingRefiner::none); }
    void add(Index triangle, ktSurfaceSample sample) {
        sample.next = std::exchange(first[triangle], static_cast<Index>(samples.size()));
        samples.push_back(sample);
    }
    std::size_t countOf(Index triangle) const {
        std::size_t count = 0;
        for (Index i = first[triangle]; i != ktConformingRefiner::none; i = samples[i].next)
            ++count;
        return count;
    }
    /// Calls action(sample) for all samples of a triangle, in a fixed order.
    template <class Action>
    void forEach(Index triangle, Action&& action) {
        for (Index i = first[triangle]; i != ktConformingRefiner::none; i = samples[i].next)
            action(samples[i]);
    }

    /// Distributes the samples of a triangle that was bisected.
    void distribute(const ktConformingRefiner::Bisection& bisection) {
        const std::size_t a = static_cast<std::size_t>(bisection.corner), b = (a + 1) % 3, c = (a + 2) % 3;
        Index sample = std::exchange(first[bisection.triangle], ktConformingRefiner::none);
        while (sample != ktConformingRefiner::none) {
            const Index next = samples[sample].next;
            std::array<float, 3>& w = samples[sample].weights;
            const float rest = w[a] - w[b];
            // In the order of the corners: a, midpoint, c or midpoint, b, c.
            if (rest >= 0)
                w = {rest, 2 * w[b], w[c]};
            else
                w = {2 * w[a], -rest, w[c]};
            Index& head = first[rest >= 0 ? bisection.triangle : bisection.newTriangle];
            samples[sample].next = std::exchange(head, sample);
            sample = next;
        }
    }

private:
    std::vector<Index> first; // by triangle
    std::vector<ktSurfaceSample> samples;
};
