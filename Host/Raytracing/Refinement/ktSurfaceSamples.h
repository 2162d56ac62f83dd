// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktConformingRefiner.h"

#include <algorithm>
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
    template <class Action>
    void forEach(Index triangle, Action&& action) const {
        for (Index i = first[triangle]; i != ktConformingRefiner::none; i = samples[i].next)
            action(samples[i]);
    }

    /// Distributes the samples of a triangle that was bisected.
    void distribute(const ktConformingRefiner::Bisection& bisection) {
        const std::size_t a = static_cast<std::size_t>(bisection.corner), b = (a + 1) % 3, c = (a + 2) % 3;
        const auto toA = static_cast<float>(bisection.at), toB = static_cast<float>(1 - bisection.at);
        Index sample = std::exchange(first[bisection.triangle], ktConformingRefiner::none);
        while (sample != ktConformingRefiner::none) {
            const Index next = samples[sample].next;
            std::array<float, 3>& w = samples[sample].weights;
            const bool isBesideA = w[b] * toB <= w[a] * toA;
            // In the order of the corners: a, new vertex, c or new vertex, b, c.
            if (isBesideA)
                w = {std::max(0.0f, w[a] - w[b] * (toB / toA)), w[b] / toA, w[c]};
            else
                w = {w[a] / toB, std::max(0.0f, w[b] - w[a] * (toA / toB)), w[c]};
            Index& head = first[isBesideA ? bisection.triangle : bisection.newTriangle];
            samples[sample].next = std::exchange(head, sample);
            sample = next;
        }
    }

    /// The weights of a sample in the triangle before a bisection.
    /// @param weights in one of the parts @param isNewTriangle in which one
    static std::array<float, 3> weightsBefore(const ktConformingRefiner::Bisection& bisection, bool isNewTriangle,
                                              const std::array<float, 3>& weights) {
        const std::size_t a = static_cast<std::size_t>(bisection.corner), b = (a + 1) % 3, c = (a + 2) % 3;
        const float middle = weights[isNewTriangle ? 0 : 1];
        const auto toA = static_cast<float>(bisection.at), toB = static_cast<float>(1 - bisection.at);
        std::array<float, 3> before{};
        before[a] = middle * toB + (isNewTriangle ? 0.0f : weights[0]);
        before[b] = middle * toA + (isNewTriangle ? weights[1] : 0.0f);
        before[c] = weights[2];
        return before;
    }
    /// Puts the samples of the two parts together again: the opposite of distribute().
    void collect(const ktConformingRefiner::Bisection& bisection) {
        Index head = ktConformingRefiner::none;
        for (bool isNewTriangle : {false, true}) {
            Index sample = std::exchange(first[isNewTriangle ? bisection.newTriangle : bisection.triangle],
                                         ktConformingRefiner::none);
            while (sample != ktConformingRefiner::none) {
                const Index next = samples[sample].next;
                samples[sample].weights = weightsBefore(bisection, isNewTriangle, samples[sample].weights);
                samples[sample].next = std::exchange(head, sample);
                sample = next;
            }
        }
        first[bisection.triangle] = head;
    }

private:
    std::vector<Index> first; // by triangle
    std::vector<ktSurfaceSample> samples;
};
