// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktViewCamera.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>
#include <unordered_map>
#include <vector>

struct ktViewLevel;

/// A geometry as the viewport shows it. The arrays never change, so other threads may read them; a changed geometry
/// gets new ones.
struct ktShownGeometry {
    osg::GeometryRefPtr geometry;
    std::shared_ptr<const std::vector<float>> positions;         ///< object space; three floats each, and one spare
    std::shared_ptr<const std::vector<std::uint32_t>> triangles; ///< three positions each
    std::shared_ptr<const std::vector<ktViewLevel>> levels; ///< coarser triangles for the first picture; null: none
    ktViewCamera::Box bounds;                               ///< object space, of the triangles
    std::uint64_t shape = 0;   ///< another number after the surface, its colours or normals changed
    std::uint64_t results = 0; ///< another number after a result changed; 0 if it holds no result

    std::uint32_t vertexCount() const { return static_cast<std::uint32_t>(positions->size() / 3); }
    std::size_t triangleCount() const { return triangles->size() / 3; }
};

/// The box around a transformed box; empty for an empty one.
ktViewCamera::Box ktTransformedBox(const ktViewCamera::Box& box, const osg::Matrix& matrix);

/// Copies of geometries, which are read again only if a geometry changed. One thread at a time.
class ktViewShapes {
public:
    /// Reads the visible geometries below a node, on some threads. While nothing changes the scene.
    /// @param isInterrupted ends it, with a part of the geometries; may be empty
    void readAll(const osg::NodePtr& root, const std::function<bool()>& isInterrupted = {});
    /// Makes coarser triangles of all copies that readAll() made, on some threads: one level, for a picture of the
    /// whole scene. @param isInterrupted ends it; may be empty
    void makeFirstLevels(const std::function<bool()>& isInterrupted = {});
    /// Triangles of all copies.
    std::size_t triangleCount() const;
    /// The copy of a geometry; reads the geometry if it changed.
    /// @param withResults looks at its results, too; otherwise readResults() must follow
    const ktShownGeometry& read(const osg::GeometryPtr& geometry, bool withResults = true);
    /// Reads which results a geometry has now. @return false if the rest of it changed
    bool readResults(ktShownGeometry& geometry);
    /// Takes the copies that `others` has and this has not.
    void take(ktViewShapes&& others);
    void forgetAll() { known.clear(); }
    /// Forgets geometries without nodes; with null, all.
    void forgetUnused(const osg::NodePtr& root);

    bool isKnown(osg::UInt32 geometryId) const { return known.count(geometryId) > 0; }
    /// Another number after a geometry with a new shape was read.
    std::uint64_t newestShape() const { return lastShape; }

private:
    struct Entry {
        std::vector<osg::UInt32> signature; ///< what must be equal for a geometry to look the same, besides results
        ktShownGeometry shown;
        bool isNew = false; ///< the next read() needs no look at the results
        double scale = 0;   ///< the largest of its uses, object to world, when readAll() saw them
    };

    std::unordered_map<osg::UInt32, Entry> known; ///< by container id
    std::uint64_t lastShape = 0;
    double sceneSize = 0; ///< about the diagonal of what readAll() saw
};
