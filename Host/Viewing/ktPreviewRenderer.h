// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPreviewCamera.h"
#include "ktPreviewScene.h"

#include <atomic>
#include <functional>
#include <QImage>

class ktTracer;
struct ktPreviewOptions;

/// Under the headlight, surfaces show this share of the light, and the rest times the cosine of the angle at which they
/// face the ray.
constexpr float ktHeadlightAmbient = 0.3f;

/// Behind the scene: linear colours, interpolated from the bottom to the top. By default, a grey on which white and
/// dark parts are visible.
struct ktPreviewBackground {
    std::array<float, 3> bottom = {0.12f, 0.12f, 0.12f}, top = {0.28f, 0.28f, 0.28f};

    /// @param height 0 (bottom) to 1 (top)
    std::array<float, 3> at(float height) const;
};

/// Draws several pictures of one scene: the tracer's structure is built once. Use it on worker threads (ktWorkers).
class ktPreviewRenderer {
public:
    /// Both must outlive this.
    ktPreviewRenderer(const ktPreviewScene& scene, ktTracer& tracer);
    /// Empties the tracer.
    ~ktPreviewRenderer();
    ktPreviewRenderer(const ktPreviewRenderer&) = delete;
    ktPreviewRenderer& operator=(const ktPreviewRenderer&) = delete;

    /// Builds the structure. Colours, light and materials of the scene may change afterwards, positions and triangles
    /// may not.
    /// @return false if it could not be built, or if interrupted
    /// @throws std::bad_alloc if memory runs out
    bool build(const std::function<bool()>& isInterrupted);
    /// Draws a picture as ktRenderPreview() does; after build(). Null if interrupted.
    /// @param options the view and `progressed` are ignored
    /// @throws std::bad_alloc if memory runs out
    QImage draw(const ktPreviewCamera& camera, const ktPreviewOptions& options,
                const ktPreviewBackground& background) const;

private:
    friend QImage ktRenderPreview(const ktPreviewScene& scene, const ktPreviewCamera& camera, ktTracer& tracer,
                                  const ktPreviewOptions& options);
    bool buildStructure(const std::function<bool(float)>& goesOn);
    QImage drawPicture(const ktPreviewCamera& camera, const ktPreviewOptions& options,
                       const ktPreviewBackground& background, std::atomic<float>& shareDone) const;

    const ktPreviewScene& scene;
    ktTracer& tracer;
    std::vector<std::vector<std::array<float, 3>>> positions;
};

/// Draws a baked scene: surface colour times interpolated vertex light, over a neutral background. One ray per pixel
/// where the picture is smooth, else sixteen. Needs no display. Meanwhile handles events.
/// @param tracer  its structure is built here; keeps no data of the scene afterwards
/// @param options the view is ignored
/// @return opaque 32-bit image in sRGB; null if the tracer's structure could not be built, or if interrupted
/// @throws std::bad_alloc if memory runs out
QImage ktRenderPreview(const ktPreviewScene& scene, const ktPreviewCamera& camera, ktTracer& tracer,
                       const ktPreviewOptions& options);
