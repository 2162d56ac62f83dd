// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFitMesh.h"
#include "ktFitPoints.h"

#include <cstdint>
#include <limits>
#include <vector>

/// Light at the points of a mesh, and then at its fine unknowns.
struct ktFitSamples {
    std::size_t channels;
    std::vector<float> values;         ///< `channels` floats per sample
    std::vector<std::uint8_t> isValid; ///< per sample: 0 where the surface lies inside a solid or hardly sees anything

    ktFitSamples(std::size_t channels_, std::size_t size)
        : channels(channels_), values(size * channels_, 0.0f), isValid(size, 1) {}
};

/// Limits of the values of one channel.
struct ktFitLimits {
    float low = 0.0f;
    float high = std::numeric_limits<float>::infinity();
};

/// Limits of direct light: of w, the last channel, and of the colour of the lights before it.
std::vector<ktFitLimits> ktDirectLimits(std::size_t channels);

/// Weights of the squared kinks at edges. Gathered light is smoother than shadows, so it can be smoothed more.
constexpr double ktDirectKinks = 0.02, ktGatheredKinks = 0.3;

/// Finds the values of the unknowns whose linear interpolation over the faces is nearest to the samples: the least sum
/// of squares, weighted by area, plus a small term for the differences along edges (L. Kavan, A. W. Bargteil, P.-P.
/// Sloan, "Least Squares Vertex Baking", 2011). Values keep to the limits: the nearest of those that do, not the
/// nearest of all cut off.
///
/// Samples that are not valid have next to no weight, so the values around continue there. In a piece where hardly any
/// sample is valid, all have full weight.
/// The same input gives the same bits for any number of threads. Call on a worker thread.
/// @param limits one element per channel
/// @param kinks  weight of the squared kinks at edges, per area
/// @return `channels` floats per unknown; undefined for an unknown without a face
/// @throws ktCanceled, std::bad_alloc
std::vector<float> ktSolveFit(const ktFitMesh& mesh, const ktFitPoints& points, const ktFitSamples& samples,
                              const std::vector<ktFitLimits>& limits, double kinks = ktDirectKinks);
