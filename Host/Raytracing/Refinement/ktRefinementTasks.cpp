// SPDX-License-Identifier: LGPL-2.1-or-later
// Converts traced light to the visible fraction and perceived brightness that refinement compares.
#include "ktRefinementTasks.h"

#include "ktLuminance.h"

#include <algorithm>
#include <cmath>

namespace {

// Brightness as the eye compares it: linear up to 1, logarithmic above.
float brightness(const float* color) {
    const float luminance = ktLuminance(color);
    return luminance <= 1.0f ? luminance : 1.0f + std::log(luminance);
}

} // namespace

ktIllumination ktMeasureDirect(const osg::Vec4f& result) {
    return {result[3], brightness(result.getValues())};
}

ktIllumination ktMeasureIndirect(const float* received) {
    return {0.0f, brightness(received)};
}

ktIllumination ktMeasureLight(const float* channels, std::size_t count, bool indirect) {
    if (indirect)
        return ktMeasureIndirect(channels);
    osg::Vec4f result(0, 0, 0, 0);
    std::copy_n(channels, count, result.getValues() + (4 - count));
    return ktMeasureDirect(result);
}
