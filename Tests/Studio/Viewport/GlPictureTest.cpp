// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the pixels that OpenGL draws: against closed values, and against the preview's ray tracer.
#include "ktFalseColours.h"
#include "ktPreview.h"
#include "ktPreviewCollect.h"
#include "ktPreviewRenderer.h"
#include "ktSceneView.h"
#include "ktTracer.h"
#include "ktTracerFactory.h"
#include "ktViewCamera.h"
#include "ktViewParts.h"

#include <cmath>
#include <gtest/gtest.h>
#include <OSGUShadowMaterial.h>

namespace {

constexpr int width = 200, height = 100;
constexpr int steps = 1; // of 255, for halves and rounding

// Against the preview, in steps of 255 and shares of the pixels. Edges differ: four samples a pixel here, sixteen
// there.
constexpr int previewSteps = 3, edgeSteps = 90;
constexpr double mostEdgePixels = 0.08, mostSpherePixels = 0.04, mostWrongPixels = 0.002;
constexpr int headlightSteps = 6; // the perspective turns the ray a little
constexpr int scaledSteps = 12;   // of a large picture that was scaled down
constexpr double mostScaledPixels = 0.02;

/// The view is 4 wide and 2 high at z = 0, and (0, 0.5) is in the middle.
class GlPicture : public testing::Test {
protected:
    ktViewParts parts;
    ktSceneView view;

    GlPicture() {
        view.resize(width, height);
        ktViewCamera camera;
        camera.setHeightAngle(2 * std::atan(0.1));
        camera.place({0, 0.5, 10}, {0, 0, -1}, {0, 1, 0}, 10);
        view.setCamera(camera);
    }
    ~GlPicture() override { view.setScene(osg::NullFC); }

    void show() {
        const ktViewCamera camera = view.camera();
        view.setScene(parts.root);
        view.setCamera(camera);
    }
    static QPoint at(double x, double y) {
        return {static_cast<int>((x + 2) / 4 * width), static_cast<int>((1.5 - y) / 2 * height)};
    }
    QColor pixel(double x, double y) {
        const QImage image = view.renderPicture({width, height});
        return image.isNull() ? QColor() : image.pixelColor(at(x, y));
    }
    void expectPixel(double x, double y, const QColor& expected, const char* what) {
        const QColor seen = pixel(x, y);
        EXPECT_LE(ktColorDistance(seen, expected), steps)
            << what << ": " << seen.name().toStdString() << " instead of " << expected.name().toStdString();
    }
    void expectMode(ktViewMode mode, const QColor& expected, const char* what) {
        view.setViewMode(mode);
        expectPixel(0, 0.5, expected, what);
    }
    /// A square from (-0.5, 0) to (0.5, 1).
    osg::GeometryPtr addSquare(const osg::MaterialPtr& material = osg::NullFC, float z = 0) {
        const osg::GeometryPtr geometry = ktViewParts::square();
        parts.add(geometry, ktViewParts::moved(-0.5f, 0, z), material);
        return geometry;
    }
    static std::shared_ptr<ktImage> image(int columns, int rows, const std::vector<std::uint8_t>& pixels) {
        auto result = std::make_shared<ktImage>();
        result->width_px = columns, result->height_px = rows, result->pixels = pixels;
        return result;
    }
    static void setTexCoords(const osg::GeometryPtr& geometry) {
        osg::GeoTexCoords2fPtr places = osg::GeoTexCoords2f::create();
        for (const osg::Vec2f& place : {osg::Vec2f(0, 1), osg::Vec2f(1, 1), osg::Vec2f(1, 0), osg::Vec2f(0, 0)})
            places->getFieldPtr()->push_back(place);
        geometry->setTexCoords(places);
    }
    /// The preview's picture of the same view.
    QImage traced(bool hasHeadlight = false) {
        const ktPreviewScene scene = ktCollectPreview(parts.root);
        const std::unique_ptr<ktTracer> tracer = ktMakeTracer();
        ktViewCamera::Box all;
        all.extend(ktViewCamera::Vector{-20, -20, -20});
        all.extend(ktViewCamera::Vector{20, 20, 20});
        ktPreviewOptions options;
        options.width_px = width, options.height_px = height;
        options.hasHeadlight = hasHeadlight;
        return ktRenderPreview(scene, view.camera().previewCamera(static_cast<double>(width) / height, all), *tracer,
                               options);
    }
    /// Share of the pixels that differ by more than `most`.
    static double differing(const QImage& a, const QImage& b, int most) {
        int count = 0;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                count += ktColorDistance(a.pixelColor(x, y), b.pixelColor(x, y)) > most;
        return static_cast<double>(count) / (width * height);
    }
};

} // namespace

TEST_F(GlPicture, GivenVirtualDisplay_UsesOpenGL) {
    EXPECT_TRUE(view.usesOpenGL());
}

TEST_F(GlPicture, GivenResults_ShowsEachMode) {
    const osg::GeometryPtr geometry = addSquare(ktViewParts::material(1, 0.5f, 0.25f));
    ktViewParts::setResults(geometry, {0.1f, 0.05f, 0.02f, 0.5f});
    show();
    const float luminance = 0.2126f + 0.7152f * 0.5f + 0.0722f * 0.25f; // by which stored light was multiplied
    const float red = 0.1f / luminance, green = 0.05f / luminance, blue = 0.02f / luminance;
    expectMode(ktViewMode::Baked, ktSrgbBytes(0.5f + red, 0.5f * (0.5f + green), 0.25f * (0.5f + blue)), "baked");
    expectMode(ktViewMode::Occlusion, ktSrgbBytes(0.5f, 0.5f, 0.5f), "occlusion");
    expectMode(ktViewMode::IndirectLight, ktSrgbBytes(red, green, blue), "indirect light");
    expectMode(ktViewMode::BakedLight, ktSrgbBytes(0.5f + red, 0.5f + green, 0.5f + blue), "baked light");
    expectMode(ktViewMode::SurfaceColours, ktSrgbBytes(1, 0.5f, 0.25f), "surface colours");
    for (const float w : {0.0f, 0.03f, 0.2f, 0.51f, 0.77f, 1.0f}) {
        ktViewParts::setResults(geometry, {0, 0, 0, std::max(w, 2e-6f)});
        view.updateResults();
        expectMode(ktViewMode::FalseColours, QColor(ktFalseColours::srgbAt(w)), "false colours");
    }
}

TEST_F(GlPicture, GivenLamps_TheyAreTheDirectLight) {
    const osg::GeometryPtr geometry = addSquare();
    ktViewParts::setResults(geometry, {0.1f, 0.1f, 0.1f, 0.9f});
    ktViewParts::setLamps(geometry, {0.2f, 0.3f, 0.4f, 2.9f});
    show();
    expectMode(ktViewMode::Baked, ktSrgbBytes(0.3f, 0.4f, 0.5f), "baked");
    expectMode(ktViewMode::BakedLight, ktSrgbBytes(0.3f, 0.4f, 0.5f), "baked light");
    expectMode(ktViewMode::Occlusion, ktSrgbBytes(0.9f, 0.9f, 0.9f), "occlusion");
}

TEST_F(GlPicture, GivenExposure_ScalesTheLight) {
    const osg::GeometryPtr geometry = addSquare();
    ktViewParts::setResults(geometry, {0, 0, 0, 0.2f});
    show();
    view.setExposure(2);
    expectMode(ktViewMode::Baked, ktSrgbBytes(0.4f, 0.4f, 0.4f), "baked");
    expectMode(ktViewMode::FalseColours, QColor(ktFalseColours::srgbAt(0.2f)), "false colours do not change");
}

TEST_F(GlPicture, GivenNoResult_ShowsStripesInAllModesButSurfaceColours) {
    addSquare(ktViewParts::material(0.2f, 0.4f, 0.8f));
    show();
    for (const ktViewMode mode : {ktViewMode::Baked, ktViewMode::Occlusion, ktViewMode::IndirectLight,
                                  ktViewMode::BakedLight, ktViewMode::FalseColours, ktViewMode::SurfaceColours}) {
        view.setViewMode(mode);
        const QImage image = view.renderPicture({width, height});
        const bool isColored = mode == ktViewMode::Baked;
        const QColor bright = isColored ? ktSrgbBytes(0.2f, 0.4f, 0.8f) : ktSrgbBytes(0.42f, 0.38f, 0.52f);
        const QColor dark = isColored ? ktSrgbBytes(0.11f, 0.22f, 0.44f) : ktSrgbBytes(0.231f, 0.209f, 0.286f);
        int brightPixels = 0, darkPixels = 0;
        for (int column = 0; column < 45; ++column) {
            const double x = -0.45 + 0.02 * column;
            brightPixels += ktColorDistance(image.pixelColor(at(x, 0.5)), bright) <= 2;
            darkPixels += ktColorDistance(image.pixelColor(at(x, 0.5)), dark) <= 2;
        }
        if (mode == ktViewMode::SurfaceColours) {
            EXPECT_EQ(darkPixels, 0);
            continue;
        }
        EXPECT_GE(brightPixels, 10) << static_cast<int>(mode);
        EXPECT_GE(darkPixels, 10) << static_cast<int>(mode);
    }
}

TEST_F(GlPicture, GivenHeadlight_TiltedSurfacesAreDarker) {
    osg::Matrix tilt; // 60 degrees around x
    tilt.setRotate(osg::Quaternion(osg::Vec3f(1, 0, 0), 1.0472f));
    tilt.setTranslate(0.8f, 0.5f, 0);
    const osg::GeometryPtr tilted = ktViewParts::square();
    parts.add(tilted, tilt);
    addSquare();
    show();
    view.setViewMode(ktViewMode::SurfaceColours);
    expectPixel(1, 0.6, ktSrgbBytes(1, 1, 1), "off at first");
    view.setHeadlight(true);
    // 0.3 + 0.7 * cos 60 degrees
    EXPECT_LE(ktColorDistance(pixel(1, 0.6), ktSrgbBytes(0.65f, 0.65f, 0.65f)), headlightSteps);
    expectPixel(0, 0.5, ktSrgbBytes(1, 1, 1), "facing");
}

TEST_F(GlPicture, GivenHeadlightOnSmoothNormals_EqualsThePreview) {
    const osg::GeometryPtr geometry = ktViewParts::sphere(1, 20);
    osg::GeoNormals3fPtr normals = osg::GeoNormals3f::create();
    for (osg::UInt32 i = 0; i < geometry->getPositions()->size(); ++i) {
        const osg::Pnt3f p = geometry->getPositions()->getValue(i);
        normals->getFieldPtr()->push_back(osg::Vec3f(p[0], p[1], p[2]));
    }
    geometry->setNormals(normals);
    ktViewParts::setResults(geometry, {0, 0, 0, 0.9f});
    osg::Matrix stretched;
    stretched.setScale(1.5f, 0.8f, 1);
    parts.add(geometry, stretched);
    show();
    view.setHeadlight(true);
    EXPECT_LT(differing(view.renderPicture({width, height}), traced(true), previewSteps), mostSpherePixels);
}

TEST_F(GlPicture, GivenTexture_ShowsItsBytes) {
    const osg::UberMaterialPtr material = ktViewParts::material(1, 1, 1);
    osg::UberMaterialTexture texture;
    // Red, green; blue, grey.
    texture.image = image(2, 2, {200, 10, 20, 255, 30, 180, 40, 255, 50, 60, 220, 255, 128, 128, 128, 255});
    texture.isFiltered = false;
    material->setTexture(texture);
    setTexCoords(addSquare(material));
    show();
    view.setViewMode(ktViewMode::SurfaceColours);
    expectPixel(-0.25, 0.75, QColor(200, 10, 20), "upper left");
    expectPixel(0.25, 0.75, QColor(30, 180, 40), "upper right");
    expectPixel(-0.25, 0.25, QColor(50, 60, 220), "lower left");
    expectPixel(0.25, 0.25, QColor(128, 128, 128), "lower right");
}

TEST_F(GlPicture, GivenTransparency_MixesLinearly) {
    addSquare(ktViewParts::material(0, 0, 0, 0.5f), 1);
    addSquare(ktViewParts::material(1, 1, 1), 0);
    show();
    view.setViewMode(ktViewMode::SurfaceColours);
    expectPixel(0, 0.5, ktSrgbBytes(0.5f, 0.5f, 0.5f), "half of white");
}

TEST_F(GlPicture, GivenGroundPlane_ShowsOnlyItsShadow) {
    const osg::GeometryPtr plane = addSquare(osg::UShadowMaterial::create(), 1);
    ktViewParts::setResults(plane, {0, 0, 0, 0.25f});
    const osg::GeometryPtr behind = addSquare(ktViewParts::material(1, 1, 1), 0);
    ktViewParts::setResults(behind, {0, 0, 0, 1});
    show();
    expectMode(ktViewMode::Baked, ktSrgbBytes(0.25f, 0.25f, 0.25f), "a quarter of white");
    view.setGroundPlaneShown(false);
    expectMode(ktViewMode::Baked, ktSrgbBytes(1, 1, 1), "without the plane");
}

TEST_F(GlPicture, GivenSingleSidedSurface_HidesItsBack) {
    const osg::UberMaterialPtr single = ktViewParts::material(1, 0, 0);
    single->setDoubleSided(false);
    osg::Matrix turned;
    turned.setRotate(osg::Quaternion(osg::Vec3f(0, 1, 0), 3.14159265f));
    turned.setTranslate(0.5f, 0, 0);
    parts.add(ktViewParts::square(), turned, single); // shows its back
    osg::Matrix mirror;
    mirror.setScale(-1, 1, 1);
    mirror.setTranslate(1.8f, 0, 0);
    parts.add(ktViewParts::square(), mirror, single); // mirrored: still shows its front
    show();
    view.setViewMode(ktViewMode::SurfaceColours);
    EXPECT_GT(pixel(0, 0.5).green(), 50); // the background
    expectPixel(1.3, 0.5, QColor(255, 0, 0), "mirrored");
}

TEST_F(GlPicture, GivenBackground_FillsTheView) {
    view.setBackground(QColor(10, 200, 30), QColor(10, 200, 30));
    show();
    expectPixel(-1.5, 1.2, QColor(10, 200, 30), "background");
}

TEST_F(GlPicture, GivenVertexColorsAndGradients_EqualsThePreview) {
    const osg::GeometryPtr geometry = ktViewParts::sphere(0.6f, 24);
    osg::GeoColors3fPtr colors = osg::GeoColors3f::create();
    osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4f::create();
    for (osg::UInt32 i = 0; i < geometry->getPositions()->size(); ++i) {
        const osg::Pnt3f p = geometry->getPositions()->getValue(i);
        colors->getFieldPtr()->push_back(osg::Color3f(0.5f + p[0] / 2, 0.5f + p[1] / 2, 0.7f));
        results->getFieldPtr()->push_back(osg::Vec4f(0.1f, 0.1f + p[0] / 10, 0, 0.5f + 0.4f * p[1]));
    }
    geometry->setColors(colors);
    geometry->setTexCoords7(results);
    parts.add(geometry, ktViewParts::moved(-1, 0.5f, 0), ktViewParts::material(0.9f, 0.8f, 0.7f));
    parts.add(geometry, ktViewParts::moved(1, 0.5f, -1), ktViewParts::material(0.5f, 0.5f, 1, 0.6f));
    const osg::UberMaterialPtr textured = ktViewParts::material(1, 1, 1);
    osg::UberMaterialTexture texture;
    std::vector<std::uint8_t> pixels;
    for (int i = 0; i < 64; ++i)
        pixels.insert(pixels.end(), {static_cast<std::uint8_t>(4 * i), static_cast<std::uint8_t>(255 - 3 * i), 90,
                                     static_cast<std::uint8_t>(i % 8 < 4 ? 255 : 0)});
    texture.image = image(8, 8, pixels);
    texture.rotation_rad = 0.4f;
    texture.scale = osg::Vec2f(1.5f, 1);
    texture.offset = osg::Vec2f(0.2f, -0.1f);
    texture.wrapU = osg::UberMaterialTexture::MirroredRepeat;
    textured->setTexture(texture);
    textured->setAlphaMode(osg::UberMaterial::Mask);
    const osg::GeometryPtr square = ktViewParts::square(1.5f);
    setTexCoords(square);
    ktViewParts::setResults(square, {0, 0, 0, 0.8f});
    parts.add(square, ktViewParts::moved(-0.75f, -0.25f, -0.5f), textured);
    for (const bool parallel : {false, true}) {
        view.setParallelProjection(parallel);
        show();
        const QImage drawn = view.renderPicture({width, height}), reference = traced();
        EXPECT_LT(differing(drawn, reference, previewSteps), mostEdgePixels) << parallel;
        EXPECT_LT(differing(drawn, reference, edgeSteps), mostWrongPixels) << parallel;
    }
}

TEST_F(GlPicture, GivenLargePicture_TheTilesFitTogether) {
    const osg::GeometryPtr geometry = ktViewParts::sphere(0.8f, 32);
    ktViewParts::setResults(geometry, {0, 0, 0, 0.5f});
    parts.add(geometry, ktViewParts::moved(0, 0.5f, 0));
    show();
    const QImage large = view.renderPicture({4400, 2200}); // six tiles
    ASSERT_FALSE(large.isNull());
    const QImage small = view.renderPicture({width, height});
    EXPECT_LT(
        differing(large.scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation), small, scaledSteps),
        mostScaledPixels);
}

TEST_F(GlPicture, GivenPlaceFarFromTheOrigin_StaysStill) {
    const osg::GeometryPtr geometry = ktViewParts::square();
    parts.add(geometry, ktViewParts::moved(4000000, 0, 0), ktViewParts::material(1, 0, 0));
    ktViewCamera camera;
    camera.setHeightAngle(2 * std::atan(0.1));
    camera.place({4000000.37, 0.5, 10}, {0, 0, -1}, {0, 1, 0}, 10);
    view.setCamera(camera);
    show();
    view.setViewMode(ktViewMode::SurfaceColours);
    const QImage image = view.renderPicture({width, height});
    EXPECT_EQ(image.pixelColor(at(-0.32, 0.05)), QColor(255, 0, 0)); // just inside
    EXPECT_EQ(image.pixelColor(at(0.58, 0.95)), QColor(255, 0, 0));
    EXPECT_NE(image.pixelColor(at(-0.42, 0.05)), QColor(255, 0, 0)); // just outside
    EXPECT_NE(image.pixelColor(at(0.68, 0.95)), QColor(255, 0, 0));
}
