// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRayPacket.h"
#include "ktViewScene.h"

#include <atomic>
#include <functional>
#include <optional>
#include <QObject>

class ktTracer;
class ktWorkers;

/// Finds what is under points of the view, with the host's ray tracer. Its structure is built in the background when it
/// is first needed.
class ktViewPicker : public QObject {
public:
    struct Hit {
        std::uint32_t use = 0;    ///< of the scene
        std::uint32_t vertex = 0; ///< nearest corner of the triangle
        std::uint32_t corners[3] = {0, 0, 0};
        float u = 0, v = 0;           ///< barycentric weights of the second and the third corner
        ktViewCamera::Vector point{}; ///< world space
    };

    /// @param scene must outlive this
    explicit ktViewPicker(const ktViewScene& scene, QObject* parent = nullptr);
    ~ktViewPicker() override;

    /// Whether the structure of the present scene is there.
    bool isReady() const;
    /// Builds the structure if it is not there; whenReady() runs when it is, now or later, on the main thread. A newer
    /// call replaces an older one that still waits, unless its function is empty.
    void prepare(std::function<void()> whenReady);
    /// Why there is no structure; empty if all is well.
    const std::string& failure() const { return error; }

    /// The nearest visible surface at a point of the view, -1 (left, bottom) to 1; empty before isReady().
    /// @param withGroundPlanes false: they are ignored
    std::optional<Hit> pick(const ktViewCamera& camera, double aspect, double x, double y, bool withGroundPlanes) const;
    /// The uses that are visible in a rectangle of the view. -1 (left, bottom) to 1; sends about `rays` rays.
    std::vector<std::uint32_t> pickRectangle(const ktViewCamera& camera, double aspect, double left, double bottom,
                                             double right, double top, bool withGroundPlanes, int rays = 20000) const;

private:
    struct Structure;
    struct Build;

    void start();
    void finish();
    ktViewCamera::Ray rayOf(const ktViewCamera& camera, double aspect, double x, double y) const;
    void trace(ktRayPacket& rays, ktHitPacket& hits, bool withGroundPlanes) const;

    const ktViewScene& scene;
    std::unique_ptr<Structure> structure; // null: none
    std::unique_ptr<Build> build;         // null: none under way
    std::function<void()> waiting;
    std::string error;
};
