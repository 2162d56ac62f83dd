// SPDX-License-Identifier: LGPL-2.1-or-later
// Calculates root mean square, 95th percentile and share of large errors of baked values.
#include "ktQualityError.h"

#include <algorithm>
#include <cmath>

namespace {

/// An error and the variance of the reference, at one point.
struct Difference {
    double error, variance;
};

/// @param differenceAt gives the Difference of a point by its number
template <class DifferenceAt>
ktQualityError measure(const std::vector<ktQualityEstimate>& reference, const DifferenceAt& differenceAt) {
    constexpr float darkest = 0.02f;
    constexpr double large = 0.1;
    ktQualityError error;
    std::vector<double> errors;
    double squares = 0, noise = 0;
    std::size_t inside = 0, dark = 0, off = 0;
    for (std::size_t i = 0; i < reference.size(); ++i) {
        if (reference[i].isInside) {
            ++inside;
        } else if (reference[i].sky < darkest) {
            ++dark;
        } else {
            const Difference difference = differenceAt(i);
            errors.push_back(difference.error);
            squares += difference.error * difference.error;
            noise += difference.variance;
            off += difference.error > large;
        }
    }
    const auto all = static_cast<double>(std::max<std::size_t>(1, reference.size()));
    error.shareInside = static_cast<double>(inside) / all;
    error.shareDark = static_cast<double>(dark) / all;
    error.points = errors.size();
    if (errors.empty())
        return error;
    const auto counted = static_cast<double>(errors.size());
    error.rms = std::sqrt(std::max(0.0, (squares - noise) / counted));
    error.shareOff = static_cast<double>(off) / counted;
    const auto middle = errors.begin() + static_cast<std::ptrdiff_t>(std::ceil(0.95 * counted)) - 1;
    std::nth_element(errors.begin(), middle, errors.end());
    error.percentile95 = *middle;
    return error;
}

} // namespace

ktQualityError ktMeasureSkyError(const std::vector<float>& baked, const std::vector<ktQualityEstimate>& reference) {
    return measure(reference, [&](std::size_t i) {
        return Difference{std::fabs(static_cast<double>(baked[i]) - reference[i].sky), reference[i].skyVariance};
    });
}

ktQualityError ktMeasureLightError(const std::vector<std::array<float, 3>>& baked,
                                   const std::vector<ktQualityEstimate>& reference) {
    return measure(reference, [&](std::size_t i) {
        double square = 0, variance = 0;
        for (std::size_t c = 0; c < 3; ++c) {
            const double difference = static_cast<double>(baked[i][c]) - std::min(1.0f, reference[i].light[c]);
            square += difference * difference / 3;
            variance += static_cast<double>(reference[i].lightVariance[c]) / 3;
        }
        return Difference{std::sqrt(square), variance};
    });
}
