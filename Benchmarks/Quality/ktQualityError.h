// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktQualityReference.h"

/// The error of baked values at points of the surface.
struct ktQualityError {
    double rms = 0;          ///< root mean square; the noise of the reference is subtracted
    double percentile95 = 0; ///< 95 % of the points have at most this error; includes the noise of the reference
    double shareOff = 0;     ///< share of the points with an error above 0.1; likewise
    double shareInside = 0;  ///< share of all points that was left out, because they are inside a solid
    double shareDark = 0;    ///< share of all points that was left out, because they see less than 2 % of the sky
    std::size_t points = 0;  ///< that count
};

/// Some of the values, chosen by the distance of their points.
template <class Value>
std::vector<Value> ktSelectNear(const std::vector<Value>& values, const std::vector<double>& distances, double limit) {
    std::vector<Value> near;
    for (std::size_t i = 0; i < values.size(); ++i)
        if (distances[i] <= limit)
            near.push_back(values[i]);
    return near;
}

/// Compares values of w with the reference. Leaves out points that the reference finds inside a solid or nearly dark.
/// @param baked one value per element of `reference`
ktQualityError ktMeasureSkyError(const std::vector<float>& baked, const std::vector<ktQualityEstimate>& reference);
/// The same for the light. The error of a point is the root mean square over red, green and blue. True light above 1
/// counts as 1, because vertex colours end there.
ktQualityError ktMeasureLightError(const std::vector<std::array<float, 3>>& baked,
                                   const std::vector<ktQualityEstimate>& reference);
