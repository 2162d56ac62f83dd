// SPDX-License-Identifier: LGPL-2.1-or-later
// Draws the preview image: traces rays through each pixel, and shades the hits with the baked light.
#include "ktParallel.h" // before Qt, whose macro `emit` is a name inside TBB

#include "ktPreviewRenderer.h"

#include "ktEventPump.h"
#include "ktTracer.h"
#include "ktWorkers.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using Color = std::array<float, 3>;

constexpr int raysPerAxis = 4; // per pixel; one pixel is one packet
static_assert(raysPerAxis * raysPerAxis == ktRayPacket::width);
constexpr int maxLayers = 64; // of transparent surfaces and hidden back faces along a ray

float toSrgb(float linear) {
    linear = std::clamp(linear, 0.0f, 1.0f);
    return linear <= 0.0031308f ? 12.92f * linear : 1.055f * std::pow(linear, 1 / 2.4f) - 0.055f;
}

/// A grey on which white and dark parts are visible; lighter towards the top. `height`: 0 (bottom) to 1 (top).
Color background(float height) {
    const float grey = 0.12f + 0.16f * height;
    return {grey, grey, grey};
}

/// The light and the colour of one layer at a hit.
struct Layer {
    Color color = {0, 0, 0};
    float alpha = 1;
};

class Renderer {
public:
    Renderer(const ktPreviewScene& scene_, const ktPreviewCamera& camera_, const ktTracer& tracer_, QImage& image_,
             float exposure_)
        : scene(scene_), camera(camera_), tracer(tracer_), image(image_), bits(image_.bits()),
          bytesPerLine(image_.bytesPerLine()), exposure(exposure_) {}

    void renderRow(int row) const {
        auto* pixels = reinterpret_cast<QRgb*>(bits + static_cast<std::ptrdiff_t>(row) * bytesPerLine);
        for (int column = 0; column < image.width(); ++column) {
            const Color color = renderPixel(column, row);
            const auto byte = [](float value) { return static_cast<int>(std::lround(255 * toSrgb(value))); };
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

    void aim(ktRayPacket& rays, int column, int row) const {
        for (int lane = 0; lane < raysPerAxis * raysPerAxis; ++lane) {
            const double x = (column + (lane % raysPerAxis + 0.5) / raysPerAxis) / image.width() * 2 - 1;
            const double y = 1 - (row + (lane / raysPerAxis + 0.5) / raysPerAxis) / image.height() * 2;
            const ktPreviewCamera::Vector direction = camera.direction(x, y);
            rays.originX[lane] = static_cast<float>(camera.eye[0]);
            rays.originY[lane] = static_cast<float>(camera.eye[1]);
            rays.originZ[lane] = static_cast<float>(camera.eye[2]);
            rays.directionX[lane] = static_cast<float>(direction[0]);
            rays.directionY[lane] = static_cast<float>(direction[1]);
            rays.directionZ[lane] = static_cast<float>(direction[2]);
            rays.minDistance[lane] = 0;
            rays.maxDistance[lane] = static_cast<float>(camera.farDistance);
        }
        rays.active = 0xFFFFu;
    }

    Color renderPixel(int column, int row) const {
        ktRayPacket rays;
        ktHitPacket hits;
        aim(rays, column, row);
        const Color behind = background(1 - (row + 0.5f) / static_cast<float>(image.height()));
        Color sum = {0, 0, 0};
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
                for (size_t i = 0; i < 3; ++i)
                    sum[i] += through[lane] * seen.alpha * seen.color[i];
                through[lane] *= 1 - seen.alpha;
                // Continue behind this hit to the next layer.
                rays.minDistance[lane] =
                    std::nextafter(hits.distance[lane] * 1.000001f, std::numeric_limits<float>::max());
                if (through[lane] < 1e-3f)
                    rays.active &= ~bit;
            }
        }
        for (const float share : through)
            for (size_t i = 0; i < 3; ++i)
                sum[i] += share * behind[i];
        for (float& value : sum)
            value /= ktRayPacket::width;
        return sum;
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

QImage ktRenderPreview(const ktPreviewScene& scene, const ktPreviewCamera& camera, ktTracer& tracer, int width,
                       int height, float exposure, const std::function<bool()>& isInterrupted) {
    // The tracer may read four bytes after the last position, so append a vertex that no triangle uses.
    std::vector<std::vector<std::array<float, 3>>> positions;
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
    QImage image(width, height, QImage::Format_RGB32);
    if (image.isNull())
        throw std::bad_alloc();
    const Renderer renderer(scene, camera, tracer, image, exposure);
    bool isDrawn = false;
    ktEventPump pump;
    ktWorkers::run(
        [&] {
            if (!tracer.build(meshes, [&isInterrupted](float) { return !isInterrupted(); }))
                return;
            ktParallel::forRange(static_cast<size_t>(height), 1, [&](size_t begin, size_t end) {
                for (size_t row = begin; row < end && !isInterrupted(); ++row)
                    renderer.renderRow(static_cast<int>(row));
            });
            tracer.build({}, {});
            isDrawn = !isInterrupted();
        },
        pump);
    return isDrawn ? image : QImage();
}
