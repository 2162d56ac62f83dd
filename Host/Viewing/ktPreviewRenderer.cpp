// SPDX-License-Identifier: LGPL-2.1-or-later
// Draws the preview image: traces rays through each pixel, and shades the hits with the baked light.
#include "ktPreviewRenderer.h"

#include "ktEventPump.h"
#include "ktParallel.h"
#include "ktPreview.h"
#include "ktSrgb.h"
#include "ktTracer.h"
#include "ktWorkers.h"

#include <algorithm>
#include <atomic>
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
constexpr int maxLayers = 64;          // of transparent surfaces and hidden back faces along a ray
constexpr float structureShare = 0.2f; // of the progress

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
/// so one ray sees what sixteen would. Draws bands of rows, so that a large picture needs little memory.
class Renderer {
public:
    Renderer(const ktPreviewScene& scene_, const ktPreviewCamera& camera_, const ktTracer& tracer_, QImage& image,
             const ktPreviewOptions& options, const ktPreviewBackground& background_, std::atomic<float>& shareDone_)
        : scene(scene_), camera(camera_), tracer(tracer_), bits(image.bits()), bytesPerLine(image.bytesPerLine()),
          width(image.width()), height(image.height()), exposure(options.exposure), hasHeadlight(options.hasHeadlight),
          background(background_), shareDone(shareDone_) {
        centres.resize(static_cast<std::size_t>(width) *
                       static_cast<std::size_t>(std::min(height, bandHeight + 2 * raysPerAxis)));
    }

    /// Draws the picture, in the arena of the calling thread.
    void draw(const std::function<bool()>& isInterrupted) {
        for (int top = 0; top < height && !isInterrupted(); top += bandHeight) {
            const int bottom = std::min(top + bandHeight, height); // of the band; not in it
            // Pixels are compared with their neighbours.
            firstCentre = std::max(0, top - raysPerAxis);
            const int lastCentre = std::min(bottom + raysPerAxis, height);
            const int blockRows = (lastCentre - firstCentre + raysPerAxis - 1) / raysPerAxis;
            forEachRow(blockRows, isInterrupted, [this, top, bottom](int row) {
                const int y = firstCentre + row * raysPerAxis;
                traceCentres(y);
                noteWork(centreWork * std::max(0, std::min(y + raysPerAxis, bottom) - std::max(y, top)));
            });
            forEachRow(bottom - top, isInterrupted, [this, top](int row) {
                drawRow(top + row);
                noteWork(drawWork);
            });
        }
    }

private:
    static constexpr int bandHeight = 1024;            // a multiple of raysPerAxis
    static constexpr int centreWork = 1, drawWork = 2; // of a row of pixels: about the times that they take

    const ktPreviewScene& scene;
    const ktPreviewCamera& camera;
    const ktTracer& tracer;
    uchar* const bits; // stored, because QImage::bits() is not thread-safe
    const int bytesPerLine, width, height;
    const float exposure;
    const bool hasHeadlight;
    const ktPreviewBackground background;
    std::atomic<float>& shareDone; // of the picture
    std::vector<Sample> centres;   // of the pixels, row by row
    int firstCentre = 0;           // the row of the picture that they begin with
    std::atomic<int> workDone{0};

    void noteWork(int work) {
        workDone += work;
        shareDone = static_cast<float>(workDone) / static_cast<float>(height * (centreWork + drawWork));
    }

    template <class Body>
    static void forEachRow(int count, const std::function<bool()>& isInterrupted, const Body& body) {
        ktParallel::forRange(static_cast<size_t>(count), 1, [&](size_t begin, size_t end) {
            for (size_t row = begin; row < end && !isInterrupted(); ++row)
                body(static_cast<int>(row));
        });
    }

    // Traces a ray through the centre of each pixel in a row of blocks that begins at row y.
    void traceCentres(int y) {
        for (int x = 0; x < width; x += raysPerAxis) {
            ktRayPacket rays;
            Sample samples[ktRayPacket::width];
            for (int lane = 0; lane < raysPerAxis * raysPerAxis; ++lane)
                aim(rays, samples, lane, x + xOf(lane) + 0.5, y + yOf(lane) + 0.5);
            see(rays, samples);
            for (int lane = 0; lane < raysPerAxis * raysPerAxis; ++lane)
                if (x + xOf(lane) < width && y + yOf(lane) < height)
                    centre(x + xOf(lane), y + yOf(lane)) = samples[lane];
        }
    }

    // Draws a row of pixels; after the centres of its neighbours are traced.
    void drawRow(int row) const {
        auto* pixels = reinterpret_cast<QRgb*>(bits + static_cast<std::ptrdiff_t>(row) * bytesPerLine);
        for (int column = 0; column < width; ++column) {
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
            // Grey is frequent, and the power in toSrgb() takes long.
            const int red = byte(color[0]);
            const bool isGrey = color[0] == color[1] && color[0] == color[2];
            pixels[column] = qRgb(red, isGrey ? red : byte(color[1]), isGrey ? red : byte(color[2]));
        }
    }

    Sample& centre(int x, int y) {
        return centres[static_cast<std::size_t>(y - firstCentre) * static_cast<std::size_t>(width) +
                       static_cast<std::size_t>(x)];
    }
    const Sample& centre(int x, int y) const { return const_cast<Renderer*>(this)->centre(x, y); }

    // Whether the colour changes evenly around a pixel, on one surface. Then its centre has the mean colour of the
    // pixel.
    bool isSmooth(int x, int y) const {
        const Sample& middle = centre(x, y);
        const auto neighbour = [&](int dx, int dy) -> const Sample& {
            return centre(std::clamp(x + dx, 0, width - 1), std::clamp(y + dy, 0, height - 1));
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
        const double acrossView = x / width * 2 - 1, upView = 1 - y / height * 2;
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
                const Layer seen = shade(rays, hits, lane);
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
            const Color behind = background.at(1 - samples[lane].row / static_cast<float>(height));
            for (std::size_t i = 0; i < 3; ++i)
                samples[lane].color[i] += through[lane] * behind[i];
        }
    }

    Layer shade(const ktRayPacket& rays, const ktHitPacket& hits, std::uint32_t lane) const {
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
        const float scale =
            hasHeadlight ? exposure * headlight(mesh, corners, weights,
                                                {rays.directionX[lane], rays.directionY[lane], rays.directionZ[lane]})
                         : exposure;
        for (size_t i = 0; i < 3; ++i)
            layer.color[i] = color[i] * light[i] * scale;
        if (material.alpha == ktPreviewMaterial::Alpha::Mask)
            layer.alpha = color[3] < material.alphaCutoff ? 0.0f : 1.0f;
        else if (material.alpha == ktPreviewMaterial::Alpha::Blend)
            layer.alpha = std::clamp(color[3], 0.0f, 1.0f);
        return layer;
    }

    // The share of the light that a surface shows under the headlight: 1 if it faces the ray.
    static float headlight(const ktPreviewMesh& mesh, const std::uint32_t* corners, const float* weights,
                           const Color& direction) {
        Color normal = {0, 0, 0};
        if (mesh.normals.empty()) {
            const Color &a = mesh.positions[corners[0]], &b = mesh.positions[corners[1]],
                        &c = mesh.positions[corners[2]];
            const Color ab = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, ac = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
            normal = {ab[1] * ac[2] - ab[2] * ac[1], ab[2] * ac[0] - ab[0] * ac[2], ab[0] * ac[1] - ab[1] * ac[0]};
        } else
            for (int corner = 0; corner < 3; ++corner)
                for (size_t i = 0; i < 3; ++i)
                    normal[i] += weights[corner] * mesh.normals[corners[corner]][i];
        const float length = std::hypot(normal[0], normal[1], normal[2]);
        if (!(length > 0))
            return 1;
        const float cosine =
            std::fabs(normal[0] * direction[0] + normal[1] * direction[1] + normal[2] * direction[2]) / length;
        return ktHeadlightAmbient + (1 - ktHeadlightAmbient) * std::min(cosine, 1.0f);
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
    return buildStructure([&isInterrupted](float) { return !isInterrupted(); });
}

bool ktPreviewRenderer::buildStructure(const std::function<bool(float)>& goesOn) {
    // The tracer may read four bytes after the last position, so append a vertex that no triangle uses.
    positions.clear();
    std::vector<ktTracerMesh> meshes;
    for (const ktPreviewMesh& mesh : scene.meshes) {
        positions.emplace_back();
        positions.back().reserve(mesh.positions.size() + 1);
        positions.back() = mesh.positions;
        positions.back().push_back({0, 0, 0});
        ktTracerMesh traced;
        traced.positions = positions.back().front().data();
        traced.indices = mesh.indices.data();
        traced.vertexCount = static_cast<std::uint32_t>(mesh.positions.size());
        traced.triangleCount = static_cast<std::uint32_t>(mesh.indices.size() / 3);
        meshes.push_back(traced);
    }
    return tracer.build(meshes, goesOn);
}

QImage ktPreviewRenderer::draw(const ktPreviewCamera& camera, const ktPreviewOptions& options,
                               const ktPreviewBackground& background) const {
    std::atomic<float> shareDone{0};
    return drawPicture(camera, options, background, shareDone);
}

QImage ktPreviewRenderer::drawPicture(const ktPreviewCamera& camera, const ktPreviewOptions& options,
                                      const ktPreviewBackground& background, std::atomic<float>& shareDone) const {
    QImage image(options.width_px, options.height_px, QImage::Format_RGB32);
    if (image.isNull())
        throw std::bad_alloc();
    const std::function<bool()> isInterrupted = [&options] { return options.isInterrupted && options.isInterrupted(); };
    Renderer(scene, camera, tracer, image, options, background, shareDone).draw(isInterrupted);
    return isInterrupted() ? QImage() : image;
}

QImage ktRenderPreview(const ktPreviewScene& scene, const ktPreviewCamera& camera, ktTracer& tracer,
                       const ktPreviewOptions& options) {
    QImage image;
    std::atomic<float> structureDone{0}, pictureDone{0};
    float reported = 0;
    ktEventPump pump([&] {
        reported = std::max(reported, structureShare * structureDone + (1 - structureShare) * pictureDone);
        if (options.progressed)
            options.progressed(static_cast<double>(reported));
    });
    ktWorkers::run(
        [&] {
            ktPreviewRenderer renderer(scene, tracer);
            if (renderer.buildStructure([&](float share) {
                    structureDone = share;
                    return !(options.isInterrupted && options.isInterrupted());
                }))
                image = renderer.drawPicture(camera, options, {}, pictureDone);
        },
        pump);
    return image;
}
