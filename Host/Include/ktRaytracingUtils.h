// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGColor.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGVector.h>
#include <string>
#include <vector>

class ktGeoSubdivisionList;

/// A sample pattern. Only the utilities that created it know its content.
class ktSampler;

/// The host's ray-tracing utilities. Call them on the main thread. Each call returns when its work is done and may run
/// the event loop meanwhile. World units are those of the scene's root. No call throws: an internal error cancels the
/// run and is logged.
class ktRaytracingUtils {
public:
    virtual ~ktRaytracingUtils() = default;

    /// Builds or rebuilds the acceleration structure.
    /// @param geometry occluding geometry nodes, in traversal order
    /// @param lights   light nodes
    virtual void buildAccelerationStructure(const std::vector<osg::NodePtr>& geometry,
                                            const std::vector<osg::NodePtr>& lights) = 0;
    /// Ends a pass: drops its intermediate data or makes it the next bounce's input.
    virtual void finishPass() = 0;
    /// Announces that geometry will be rebuilt.
    virtual void invalidateGeometry() = 0;
    /// Sets how light bounces off surfaces.
    /// @param colorBleeding         bounced light takes the surfaces' colour; else only their luminance
    /// @param overrideMaterialColor use `materialColor` for every surface
    /// @param materialColor         three floats, red, green, blue; copied
    virtual void setMaterialOverride(bool colorBleeding, bool overrideMaterialColor, const float* materialColor) = 0;
    /// Restores the ray-tracing state of the view to a value from ktOSGWidget::getRaytracing().
    virtual void restoreRaytracing(int raytracing) = 0;

    /// Creates a pattern of countU times countV directions over the hemisphere.
    /// @param pattern 0: stratified, low-discrepancy inside the strata
    /// @param lobe    1: cosine-weighted
    /// @param jitterU, jitterV fraction of a stratum by which samples move, 0 to 1
    /// @return the pattern; free it with releaseSampler(). Null if a count is below 1 or memory runs out
    virtual ktSampler* createSampler(int countU, int countV, int pattern, int lobe, float jitterU, float jitterV) = 0;
    /// Frees a pattern. Ignores null.
    virtual void releaseSampler(ktSampler* sampler) = 0;
    /// Sets the parameters of the rays traced from now on.
    /// @param sampleCountU, sampleCountV rays per vertex along the two axes
    /// @param minDistance, maxDistance   world units; hits outside this range do not count
    virtual void configureTracing(int sampleCountU, int sampleCountV, float minDistance, float maxDistance) = 0;

    /// Traces the direct light of `count` vertices into `results`: x, y, z are the incoming light (0 without
    /// `lightMode`), w is the unshadowed fraction of it, 0 to 1.
    /// @param toWorld   object to world; used only with `transform`
    /// @param positions, normals `count` object-space elements
    /// @param results   `count` elements, all written or, after a cancel, none
    /// @param option    surfaces occlude from both sides; else only from the front
    /// @param lightMode use the scene's lights; else only the sky
    virtual void computeVertexOcclusion(osg::UInt32 count, const osg::Matrix* toWorld, const osg::Pnt3f* positions,
                                        const osg::Vec3f* normals, osg::Vec4f* results, bool transform,
                                        ktSampler* sampler, bool option, bool lightMode) = 0;
    /// Gathers one bounce of indirect light, times `surfaceColor`, for `count` vertices into x, y, z of `results`.
    /// Leaves w unchanged. Other arguments as above; `bounceOption` is 1.
    virtual void gatherVertexIllumination(osg::UInt32 count, const osg::Matrix* toWorld, const osg::Pnt3f* positions,
                                          const osg::Vec3f* normals, osg::Vec4f* results,
                                          const osg::Color3f* surfaceColor, bool transform, ktSampler* sampler,
                                          int bounceOption, bool lightMode) = 0;
    /// Decides where a geometry needs more vertices and records the splits.
    /// @param name            the node's name, for messages
    /// @param quality         0 to 2; other values are clamped
    /// @param samples         samples per axis of the calling pass
    /// @param record          receives the splits
    /// @param threshold       difference of illumination above which an edge is split
    /// @param minEdgeLength   world units; shorter edges are never split
    /// @param toWorld, inverseToWorld, normalMatrix object to world, its inverse, the inverse's transpose
    /// @param indirectEnabled indirect light is calculated in this run
    /// @param indirect        refine by the indirect results, else by the direct ones
    /// @param lightMode       as for computeVertexOcclusion()
    virtual void subdivideByIllumination(const std::string* name, osg::Int32 quality, osg::Int32 samples,
                                         ktGeoSubdivisionList* record, osg::GeometryPtr geometry, osg::Real32 threshold,
                                         osg::Real32 minEdgeLength, const osg::Matrix* toWorld,
                                         const osg::Matrix* inverseToWorld, const osg::Matrix* normalMatrix,
                                         bool indirectEnabled, bool indirect, bool lightMode) = 0;
};
