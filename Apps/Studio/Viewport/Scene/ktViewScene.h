// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPreviewScene.h"
#include "ktViewCamera.h"
#include "ktViewShapes.h"
#include "OSGUberMaterial.h"

#include <cstdint>
#include <memory>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>
#include <unordered_map>
#include <vector>

/// How a surface looks, besides its geometry.
struct ktViewMaterial {
    ktPreviewMaterial look;                   ///< its texture is for the ray tracer
    std::array<float, 4> base = {1, 1, 1, 1}; ///< linear colour and alpha
    bool hasVertexColors = true;              ///< those of the geometry multiply `base`
    osg::UberMaterialTexture texture;         ///< `image` is null without a texture
    bool isGroundPlane = false;
};

/// One use of a geometry.
struct ktViewUse {
    osg::NodeRefPtr node;
    std::uint32_t geometry = 0, material = 0; ///< indices into the scene's lists
    osg::Matrix toWorld;
    bool isMirrored = false, isSelected = false;
    std::array<float, 3> perGathered = {1, 1, 1}; ///< stored indirect light times this arrives at the surface
    ktViewCamera::Box bounds;                     ///< world space
};

/// What the viewport shows: a copy of the scene graph's visible geometry. Main thread.
class ktViewScene {
public:
    std::vector<ktShownGeometry> geometries;
    std::vector<ktViewMaterial> materials;
    std::vector<ktViewUse> uses; ///< sorted: uses of one geometry with one material are neighbours
    ktViewCamera::Box bounds;    ///< world space, without ground planes unless there is nothing else
    ktViewCamera::Box allBounds; ///< world space
    std::uint64_t stamp = 0;     ///< another number after each read()

    /// Reads the tree again. Keeps the arrays of geometries that did not change. Null empties the scene.
    /// @param hasTime to look at the results, too; otherwise readDueResults() does
    void read(const osg::NodePtr& root, bool hasTime = true);
    /// Looks at the results that read() had no time for, for about that time. @return whether all are read
    bool readDueResults(double budget_ms);
    bool hasDueResults() const { return !due.empty(); }
    /// Whether coarser triangles of all geometries are there.
    bool hasLevels() const;
    /// Takes copies of geometries that another thread has made, for the next read(), which must follow at once.
    void take(ktViewShapes&& copies) { shapes.take(std::move(copies)); }
    /// Forgets the copies of geometries. read() must follow at once.
    void forgetShapes() { shapes.forgetAll(); }
    /// Reads the same tree again.
    void readAgain() { read(osg::NodePtr(root)); }
    /// Reads which results changed, and by which colours stored light is divided.
    /// @return false if the shape of a geometry changed: call read()
    bool readResults();
    /// Marks the uses at and below these nodes.
    void select(const std::vector<osg::NodePtr>& nodes);

    /// Whether a geometry is shown, or was shown before and still has nodes.
    bool isKnown(osg::UInt32 geometryId) const { return shapes.isKnown(geometryId); }
    bool hasSelection() const { return selectedCount > 0; }
    /// Boxes that the camera frames: of the marked uses, or of all except ground planes.
    std::vector<ktViewCamera::Box> framedBoxes(bool onlySelected) const;
    /// Another number after a geometry with a new shape was read.
    std::uint64_t shapeStamp() const { return shapes.newestShape(); }
    /// Triangles of all uses.
    std::size_t triangleCount() const;

private:
    std::uint32_t materialIndex(const osg::MaterialPtr& material);
    void addUse(const osg::NodePtr& node, const osg::GeometryPtr& geometry, const osg::Matrix& toWorld, bool hasTime);

    osg::NodeRefPtr root;
    std::vector<osg::NodePtr> selected;
    std::size_t selectedCount = 0;
    std::unordered_map<osg::UInt32, std::uint32_t> geometryIndices, materialIndices; // by container id
    ktViewShapes shapes;
    std::vector<std::uint32_t> due; // geometries whose results may have changed
};
