// SPDX-License-Identifier: LGPL-2.1-or-later
// Calculates root mean square, 95th percentile and share of large errors of baked values.
#include "ktQualityError.h"

#include <algorithm>
#include <cmath>

ktQualityError ktMeasureError(const std::vector<float>& baked, const std::vector<ktSkyEstimate>& reference) {
    constexpr float darkest = 0.02f, large = 0.1f;
    ktQualityError error;
    std::vector<float> errors;
    double squares = 0, noise = 0;
    std::size_t inside = 0, dark = 0, off = 0;
    for (std::size_t i = 0; i < reference.size(); ++i) {
        const ktSkyEstimate& truth = reference[i];
        if (truth.isInside) {
            ++inside;
        } else if (truth.sky < darkest) {
            ++dark;
        } else {
            const float difference = std::fabs(baked[i] - truth.sky);
            errors.push_back(difference);
            squares += static_cast<double>(difference) * difference;
            noise += truth.variance;
            off += difference > large;
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
