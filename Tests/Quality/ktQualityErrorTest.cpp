// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the error figures of the quality report: rms, percentile, share of large errors, points left out.
#include "ktQualityError.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

ktQualityEstimate truth(float sky, bool isInside = false, float variance = 0) {
    ktQualityEstimate estimate;
    estimate.sky = sky;
    estimate.isInside = isInside;
    estimate.skyVariance = variance;
    return estimate;
}

} // namespace

TEST(QualityError, GivenConstantError_GivesIt) {
    const ktQualityError error = ktMeasureSkyError({0.75f, 0.25f}, {truth(0.5f), truth(0.5f)});
    EXPECT_FLOAT_EQ(error.rms, 0.25);
    EXPECT_FLOAT_EQ(error.percentile95, 0.25);
    EXPECT_EQ(error.shareOff, 1);
    EXPECT_EQ(error.points, 2u);
}

TEST(QualityError, GivenOneLargeErrorInTwenty_GivesItsShareAndTheNextPercentile) {
    std::vector<float> baked(20, 0.5f);
    baked[7] = 0.9f;
    const ktQualityError error = ktMeasureSkyError(baked, std::vector<ktQualityEstimate>(20, truth(0.45f)));
    EXPECT_NEAR(error.percentile95, 0.05, 1e-6);
    EXPECT_DOUBLE_EQ(error.shareOff, 0.05);
    EXPECT_NEAR(error.rms, std::sqrt((19 * 0.05 * 0.05 + 0.45 * 0.45) / 20), 1e-6);
}

TEST(QualityError, GivenNoisyReference_SubtractsItsVariance) {
    const ktQualityError error =
        ktMeasureSkyError({0.5f, 0.5f}, {truth(0.6f, false, 0.0064f), truth(0.4f, false, 0.0064f)});
    EXPECT_NEAR(error.rms, 0.06, 1e-6);
}

TEST(QualityError, GivenPointsInsideOrDark_LeavesThemOutAndCountsThem) {
    const ktQualityError error =
        ktMeasureSkyError({1, 1, 0.5f, 0.5f}, {truth(0.5f, true), truth(0.019f), truth(0.5f), truth(0.5f)});
    EXPECT_EQ(error.rms, 0);
    EXPECT_EQ(error.points, 2u);
    EXPECT_DOUBLE_EQ(error.shareInside, 0.25);
    EXPECT_DOUBLE_EQ(error.shareDark, 0.25);
}

TEST(QualityError, GivenNoPointsThatCount_GivesNone) {
    EXPECT_EQ(ktMeasureSkyError({1}, {truth(0, true)}).points, 0u);
    EXPECT_EQ(ktMeasureSkyError({}, {}).points, 0u);
}

TEST(QualityError, GivenLight_TakesTheMeanOverColoursAndTrueLightUpToOne) {
    ktQualityEstimate estimate = truth(0.5f);
    estimate.light = {0.5f, 0.5f, 1.2f};
    EXPECT_FLOAT_EQ(ktMeasureLightError({{0.5f, 0.5f, 1}}, {estimate}).rms, 0);
    EXPECT_NEAR(ktMeasureLightError({{0.8f, 0.5f, 1}}, {estimate}).rms, 0.3 / std::sqrt(3), 1e-6);
    estimate.lightVariance = {0.03f, 0.03f, 0};
    EXPECT_NEAR(ktMeasureLightError({{0.8f, 0.5f, 1}}, {estimate}).rms, 0.1, 1e-6);
}
