// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests wrapping, filtering, transform and colour space of texture samples, and broken pictures.
#include "ktTextureSample.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

using testing::ElementsAre;

namespace {

/// Two by two pixels: red, green; below them blue, white with alpha 0.5.
osg::UberMaterialTexture makeTexture(bool isFiltered) {
    auto image = std::make_shared<ktImage>();
    image->width_px = image->height_px = 2;
    image->pixels = {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255, 255, 255, 51};
    osg::UberMaterialTexture texture;
    texture.image = image;
    texture.isFiltered = isFiltered;
    return texture;
}

const auto isRed = ElementsAre(1, 0, 0, 1), isGreen = ElementsAre(0, 1, 0, 1), isBlue = ElementsAre(0, 0, 1, 1);

} // namespace

TEST(TextureSample, GivenNoPicture_IsWhite) {
    EXPECT_THAT(ktSampleTexture(osg::UberMaterialTexture(), 0.3f, 0.7f), ElementsAre(1, 1, 1, 1));
}

TEST(TextureSample, GivenUnfiltered_TakesThePixelWithTheTopRowFirst) {
    const auto texture = makeTexture(false);
    EXPECT_THAT(ktSampleTexture(texture, 0.1f, 0.1f), isRed);
    EXPECT_THAT(ktSampleTexture(texture, 0.9f, 0.1f), isGreen);
    EXPECT_THAT(ktSampleTexture(texture, 0.1f, 0.9f), isBlue);
    EXPECT_THAT(ktSampleTexture(texture, 0.9f, 0.9f), ElementsAre(1, 1, 1, testing::FloatEq(0.2f)));
}

TEST(TextureSample, GivenFiltered_InterpolatesLinearLight) {
    const auto texture = makeTexture(true);
    EXPECT_THAT(ktSampleTexture(texture, 0.25f, 0.25f), isRed);
    EXPECT_THAT(ktSampleTexture(texture, 0.5f, 0.25f), ElementsAre(0.5f, 0.5f, 0, 1));
    // Across the border, the first pixel is adjacent to the last one.
    EXPECT_THAT(ktSampleTexture(texture, 0.0f, 0.25f), ElementsAre(0.5f, 0.5f, 0, 1));
}

TEST(TextureSample, GivenMiddleGrey_IsTakenOutOfSrgb) {
    auto texture = makeTexture(false);
    auto image = std::make_shared<ktImage>(*texture.image);
    image->pixels[0] = 188;
    texture.image = image;
    EXPECT_NEAR(ktSampleTexture(texture, 0.1f, 0.1f)[0], 0.503f, 0.001f);
}

TEST(TextureSample, GivenCoordinatesOutside_WrapsEachWay) {
    auto texture = makeTexture(false);
    EXPECT_THAT(ktSampleTexture(texture, 1.1f, 0.1f), isRed);
    EXPECT_THAT(ktSampleTexture(texture, -0.1f, 0.1f), isGreen);
    texture.wrapU = osg::UberMaterialTexture::ClampToEdge;
    EXPECT_THAT(ktSampleTexture(texture, 1.1f, 0.1f), isGreen);
    EXPECT_THAT(ktSampleTexture(texture, -7.1f, 0.1f), isRed);
    texture.wrapU = osg::UberMaterialTexture::MirroredRepeat;
    EXPECT_THAT(ktSampleTexture(texture, 1.1f, 0.1f), isGreen);
    EXPECT_THAT(ktSampleTexture(texture, 1.9f, 0.1f), isRed);
    EXPECT_THAT(ktSampleTexture(texture, 2.1f, 0.1f), isRed);
    EXPECT_THAT(ktSampleTexture(texture, 1e30f, 0.1f), testing::AnyOf(isRed, isGreen));
    EXPECT_THAT(ktSampleTexture(texture, std::numeric_limits<float>::quiet_NaN(), 0.1f), isRed);
}

TEST(TextureSample, GivenTransform_MovesTheCoordinates) {
    auto texture = makeTexture(false);
    texture.offset = osg::Vec2f(0.5f, 0);
    EXPECT_THAT(ktSampleTexture(texture, 0.1f, 0.1f), isGreen);
    texture.offset = osg::Vec2f(0, 0);
    texture.scale = osg::Vec2f(2, 1);
    EXPECT_THAT(ktSampleTexture(texture, 0.3f, 0.1f), isGreen);
    texture.scale = osg::Vec2f(1, 1);
    texture.rotation_rad = 1.5707964f; // a quarter turn: (u, v) becomes (v, -u)
    EXPECT_THAT(ktSampleTexture(texture, 0.9f, 0.1f), isRed);
    EXPECT_THAT(ktSampleTexture(texture, 0.1f, 0.1f), isBlue);
}

TEST(TextureSample, GivenPictureWithTooFewPixels_IsWhite) {
    auto texture = makeTexture(true);
    auto image = std::make_shared<ktImage>(*texture.image);
    image->pixels.resize(15);
    texture.image = image;
    EXPECT_THAT(ktSampleTexture(texture, 0.9f, 0.9f), ElementsAre(1, 1, 1, 1));
    EXPECT_THAT(ktSampleTexture(texture, 0.1f, 0.1f), ElementsAre(1, 1, 1, 1));
    image->pixels.resize(16);
    image->height_px = 0;
    EXPECT_THAT(ktSampleTexture(texture, 0.1f, 0.1f), ElementsAre(1, 1, 1, 1));
}

TEST(TextureSample, GivenTransformThatIsNoNumber_CountsAsZero) {
    auto texture = makeTexture(false);
    texture.offset = osg::Vec2f(std::numeric_limits<float>::quiet_NaN(), 0.5f);
    EXPECT_THAT(ktSampleTexture(texture, 0.9f, 0.1f), isBlue);
    texture.isFiltered = true;
    texture.wrapU = osg::UberMaterialTexture::ClampToEdge;
    EXPECT_EQ(ktSampleTexture(texture, 0.9f, 0.1f)[3], 1.0f); // only the left column
}
