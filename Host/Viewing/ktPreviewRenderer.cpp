// SPDX-License-Identifier: LGPL-2.1-or-later
// Draws the preview image: traces rays through each pixel, and shades the hits with the baked light.
#include "ktPreviewRenderer.h"

#include "ktEventPump.h"
#include "ktParallel.h"
#include "ktSrgb.h"
#include "ktTracer.h"
#include "ktWorkers.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using Color = std::array<float, 3>;

constexpr int raysPerAxis = 4; // one packet: of a pixel, or one ray for each pixel of a block
static_assert(raysPerAxis * raysPerAxis == ktRayPacket::width);
// Place of a lane in the square that its packet covers.
int xOf(int lane) {
    return lane % raysPerAxis;
}
int yOf(int lane) {
    return lane / raysPerAxis;
}
constexpr int maxLayers = 64; // of transparent surfaces and hidden back faces along a ray

/// The light and the colour of one layer at a hit.
struct Layer {
    Color color = {0, 0, 0};
    float alpha = 1;
};

/// What one ray sees: its colour, and the nearest surface that is not fully transparent.
struct Sample {
    Color color = {0, 0, 0};
    std::uint32_t mesh = ktHitPacket::noMesh;
    float row = 0; ///< of the picture, from the top
};

/// First one ray a pixel, then sixteen rays where pixels differ from their neighbours. Elsewhere the picture is smooth,
/// so one ray sees what sixteen would.
class Renderer {
public:
    Renderer(const ktPreviewScene& scene_, const ktPreviewCamera& camera_, const ktTracer& tracer_, QImage& image_,
             float exposure_, const ktPreviewBackground& background_)
        : scene(scene_), camera(camera_), tracer(tracer_), image(image_), bits(image_.bits()),
          bytesPerLine(image_.bytesPerLine()), exposure(exposure_), background(background_),
          centres(static_cast<std::size_t>(image_.width()) * static_cast<std::size_t>(image_.height())) {}

    /// Blocks of pixels that one packet covers, from the top.
    int blockRows() const { return (image.height() + raysPerAxis - 1) / raysPerAxis; }

    /// Traces a ray through the centre of each pixel in a row of blocks.
    void traceCentres(int blockRow) {
        for (int column = 0; column < image.width(); column += raysPerAxis) {
            ktRayPacket rays;
            Sample samples[ktRayPacket::width];
            for (int lane = 0; lane < raysPerAxis * raysPerAxis; ++lane)
                aim(rays, samples, lane, column + xOf(lane) + 0.5, blockRow * raysPerAxis + yOf(lane) + 0.5);
            see(rays, samples);
            for (int lane = 0; lane < raysPerAxis * raysPerAxis; ++lane) {
                const int x = column + xOf(lane), y = blockRow * raysPerAxis + yOf(lane);
                if (x < image.width() && y < image.height())
                    centre(x, y) = samples[lane];
            }
        }
    }

    /// Draws a row of pixels; after all centres are traced.
    void drawRow(int row) const {
        auto* pixels = reinterpret_cast<QRgb*>(bits + static_cast<std::ptrdiff_t>(row) * bytesPerLine);
        for (int column = 0; column < image.width(); ++column) {
            const Sample& middle = centre(column, row);
            const bool isEven = isSmooth(column, row);
            const Color color = isEven ? middle.color : renderPixel(column, row);
            // Dithering hides the steps of the background. Order 2 of B. E. Bayer, "An Optimum Method for Two-Level
            // Rendition of Continuous-Tone Pictures", 1973.
            static constexpr float bayer[2][2] = {{-0.375f, 0.125f}, {0.375f, -0.125f}};
            const float dither = isEven && middle.mesh == ktHitPacket::noMesh ? bayer[row % 2][column % 2] : 0.0f;
            const auto byte = [dither](float value) {
                return static_cast<int>(std::lround(std::clamp(255 * ktToSrgb(value) + dither, 0.0f, 255.0f)));
            };
            pixels[column] = qRgb(byte(color[0]), byte(color[1]), byte(color[2]));
        }
    }

private:
    const ktPreviewScene& scene;
    const ktPreviewCamera& camera;
    const ktTracer& tracer;
    const QImage& image;
    uchar* const bits; // stored, because QImage::bits() is not thread-safe
    const int bytesPerLine;
    const float exposure;
    const ktPreviewBackground background;
    std::vector<Sample> centres; // of the pixels, row by row

    Sample& centre(int x, int y) {
        return centres[static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width()) +
                       static_cast<std::size_t>(x)];
    }
    const Sample& centre(int x, int y) const { return const_cast<Renderer*>(this)->centre(x, y); }

    // Whether the colour changes evenly around a pixel, on one surface. Then its centre has the mean colour of the
    // pixel.
    bool isSmooth(int x, int y) const {
        const Sample& middle = centre(x, y);
        const auto neighbour = [&](int dx, int dy) -> const Sample& {
            return centre(std::clamp(x + dx, 0, image.width() - 1), std::clamp(y + dy, 0, image.height() - 1));
        };
        for (const auto& step : {std::array<int, 2>{1, 0}, {0, 1}, {1, 1}, {1, -1}}) {
            const Sample &before = neighbour(-step[0], -step[1]), &after = neighbour(step[0], step[1]);
            if (before.mesh != middle.mesh || after.mesh != middle.mesh)
                return false;
            for (std::size_t i = 0; middle.mesh != ktHitPacket::noMesh && i < 3; ++i) {
                // At most about one step of the picture, if the bend goes on like this inside the pixel.
                const float most = 0.004f + 0.04f * middle.color[i];
                if (!(std::fabs(before.color[i] + after.color[i] - 2 * middle.color[i]) <= most))
                    return false;
            }
        }
        return true;
    }

    // Aims a ray through a point of the picture, in pixels from the top left.
    void aim(ktRayPacket& rays, Sample* samples, int lane, double x, double y) const {
        samples[lane].row = static_cast<float>(y);
        const double acrossView = x / image.width() * 2 - 1, upView = 1 - y / image.height() * 2;
        const ktPreviewCamera::Vector origin = camera.origin(acrossView, upView);
        const ktPreviewCamera::Vector direction = camera.direction(acrossView, upView);
        rays.originX[lane] = static_cast<float>(origin[0]);
        rays.originY[lane] = static_cast<float>(origin[1]);
        rays.originZ[lane] = static_cast<float>(origin[2]);
        rays.directionX[lane] = static_cast<float>(direction[0]);
        rays.directionY[lane] = static_cast<float>(direction[1]);
        rays.directionZ[lane] = static_cast<float>(direction[2]);
        rays.minDistance[lane] = 0;
        rays.maxDistance[lane] = static_cast<float>(camera.farDistance);
        rays.active |= 1u << lane;
    }

    Color renderPixel(int column, int row) const {
        ktRayPacket rays;
        Sample samples[ktRayPacket::width];
        for (int lane = 0; lane < raysPerAxis * raysPerAxis; ++lane)
            aim(rays, samples, lane, column + (xOf(lane) + 0.5) / raysPerAxis, row + (yOf(lane) + 0.5) / raysPerAxis);
        see(rays, samples);
        Color sum = {0, 0, 0};
        for (const Sample& sample : samples)
            for (std::size_t i = 0; i < 3; ++i)
                sum[i] += sample.color[i] / ktRayPacket::width;
        return sum;
    }

    // Follows the rays of a packet through transparent surfaces.
    void see(ktRayPacket& rays, Sample* samples) const {
        ktHitPacket hits;
        std::array<float, ktRayPacket::width> through;
        through.fill(1);
        for (int layer = 0; layer < maxLayers && rays.active != 0; ++layer) {
            tracer.nearest(rays, true, hits);
            for (std::uint32_t lane = 0; lane < ktRayPacket::width; ++lane) {
                const std::uint32_t bit = 1u << lane;
                if (!(rays.active & bit))
                    continue;
                if (hits.mesh[lane] == ktHitPacket::noMesh) {
                    rays.active &= ~bit;
                    continue;
                }
                const Layer seen = shade(hits, lane);
                Sample& sample = samples[lane];
                if (seen.alpha > 0 && sample.mesh == ktHitPacket::noMesh)
                    sample.mesh = hits.mesh[lane];
                for (std::size_t i = 0; i < 3; ++i)
                    sample.color[i] += through[lane] * seen.alpha * seen.color[i];
                through[lane] *= 1 - seen.alpha;
                // Continue behind this hit to the next layer.
                rays.minDistance[lane] =
                    std::nextafter(hits.distance[lane] * 1.000001f, std::numeric_limits<float>::max());
                if (through[lane] < 1e-3f)
                    rays.active &= ~bit;
            }
        }
        for (std::uint32_t lane = 0; lane < ktRayPacket::width; ++lane) {
            const Color behind = background.at(1 - samples[lane].row / static_cast<float>(image.height()));
            for (std::size_t i = 0; i < 3; ++i)
                samples[lane].color[i] += through[lane] * behind[i];
        }
    }

    Layer shade(const ktHitPacket& hits, std::uint32_t lane) const {
        const ktPreviewMesh& mesh = scene.meshes[hits.mesh[lane]];
        const ktPreviewMaterial& material = scene.materials[mesh.material];
        if (!material.isDoubleSided && (hits.backSide >> lane & 1u))
            return {{0, 0, 0}, 0};

        const std::uint32_t* corners = &mesh.indices[3 * static_cast<size_t>(hits.triangle[lane])];
        const float u = hits.u[lane], v = hits.v[lane], weights[3] = {1 - u - v, u, v};
        Color light = {0, 0, 0};
        std::array<float, 4> color = {0, 0, 0, 0};
        std::array<float, 2> texCoord = {0, 0};
        for (int corner = 0; corner < 3; ++corner) {
            const std::uint32_t vertex = corners[corner];
            for (size_t i = 0; i < 3; ++i)
                light[i] += weights[corner] * mesh.light[vertex][i];
            for (size_t i = 0; i < 4; ++i)
                color[i] += weights[corner] * mesh.colors[vertex][i];
            if (!mesh.texCoords.empty())
                for (size_t i = 0; i < 2; ++i)
                    texCoord[i] += weights[corner] * mesh.texCoords[vertex][i];
        }
        if (material.texture) {
            const std::array<float, 4> texel = material.texture(texCoord[0], texCoord[1]);
            for (size_t i = 0; i < 4; ++i)
                color[i] *= texel[i];
        }
        Layer layer;
        for (size_t i = 0; i < 3; ++i)
            layer.color[i] = color[i] * light[i] * exposure;
        if (material.alpha == ktPreviewMaterial::Alpha::Mask)
            layer.alpha = color[3] < material.alphaCutoff ? 0.0f : 1.0f;
        else if (material.alpha == ktPreviewMaterial::Alpha::Blend)
            layer.alpha = std::clamp(color[3], 0.0f, 1.0f);
        return layer;
    }
};

} // namespace

std::array<float, 3> ktPreviewBackground::at(float height) const {
    Color color;
    for (std::size_t i = 0; i < 3; ++i)
        color[i] = bottom[i] + (top[i] - bottom[i]) * height;
    return color;
}

ktPreviewRenderer::ktPreviewRenderer(const ktPreviewScene& scene_, ktTracer& tracer_)
    : scene(scene_), tracer(tracer_) {}

ktPreviewRenderer::~ktPreviewRenderer() {
    tracer.build({}, {});
}

bool ktPreviewRenderer::build(const std::function<bool()>& isInterrupted) {
    // The tracer may read four bytes after the last position, so append a vertex that no triangle uses.
    positions.clear();
    std::vector<ktTracerMesh> meshes;
    for (const ktPreviewMesh& mesh : scene.meshes) {
        positions.push_back(mesh.positions);
        positions.back().push_back({0, 0, 0});
        ktTracerMesh traced;
        traced.positions = positions.back().front().data();
        traced.indices = mesh.indices.data();
        traced.vertexCount = static_cast<std::uint32_t>(mesh.positions.size());
        traced.triangleCount = static_cast<std::uint32_t>(mesh.indices.size() / 3);
        meshes.push_back(traced);
    }
    return tracer.build(meshes, [&isInterrupted](float) { return !isInterrupted(); });
}

QImage ktPreviewRenderer::draw(const ktPreviewCamera& camera, int width, int height, float exposure,
                               const ktPreviewBackground& background,
                               const std::function<bool()>& isInterrupted) const {
    QImage image(width, height, QImage::Format_RGB32);
    if (image.isNull())
        throw std::bad_alloc();
    Renderer renderer(scene, camera, tracer, image, exposure, background);
    ktParallel::forRange(static_cast<size_t>(renderer.blockRows()), 1, [&](size_t begin, size_t end) {
        for (size_t row = begin; row < end && !isInterrupted(); ++row)
            renderer.traceCentres(static_cast<int>(row));
    });
    ktParallel::forRange(static_cast<size_t>(height), 1, [&](size_t begin, size_t end) {
        for (size_t row = begin; row < end && !isInterrupted(); ++row)
            renderer.drawRow(static_cast<int>(row));
    });
    return isInterrupted() ? QImage() : image;
}

QImage ktRenderPreview(const ktPreviewScene& scene, const ktPreviewCamera& camera, ktTracer& tracer, int width,
                       int height, float exposure, const std::function<bool()>& isInterrupted) {
    QImage image;
    ktEventPump pump;
    ktWorkers::run(
        [&] {
            ktPreviewRenderer renderer(scene, tracer);
            if (renderer.build(isInterrupted))
                image = renderer.draw(camera, width, height, exposure, {}, isInterrupted);
        },
        pump);
    return image;
}
