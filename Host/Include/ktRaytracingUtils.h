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

/// A sample pattern; only the utilities that made it know what is inside.
class ktSampler;

/// The host's ray-tracing utilities. All calls come from the main thread; each returns when its work is done, and may
/// let the event loop run meanwhile. World units are those of the scene's root. No call throws: on an error inside, the
/// run is cancelled and the reason logged.
class ktRaytracingUtils {
public:
    virtual ~ktRaytracingUtils() = default;

    /// Builds, or builds anew, the structure that rays are traced against.
    /// @param geometry occluding geometry nodes, in traversal order
    /// @param lights   light nodes
    virtual void buildAccelerationStructure(const std::vector<osg::NodePtr>& geometry,
                                            const std::vector<osg::NodePtr>& lights) = 0;
    /// Ends a pass: what it kept between two calls is dropped or becomes the next bounce's input.
    virtual void finishPass() = 0;
    /// Announces that geometry is about to be rebuilt.
    virtual void invalidateGeometry() = 0;
    /// How light bounces off surfaces.
    /// @param colorBleeding         bounced light takes the surface's colour; else only its luminance
    /// @param overrideMaterialColor use `materialColor` for every surface
    /// @param materialColor         three floats, red, green, blue; copied
    virtual void setMaterialOverride(bool colorBleeding, bool overrideMaterialColor, const float* materialColor) = 0;
    /// Gives the view its ray-tracing state back; the value comes from ktOSGWidget::getRaytracing().
    virtual void restoreRaytracing(int raytracing) = 0;

    /// Makes a pattern of countU times countV directions over the hemisphere.
    /// @param pattern 0: stratified, low-discrepancy inside the strata
    /// @param lobe    1: cosine-weighted
    /// @param jitterU, jitterV share of a stratum by which samples move, 0 to 1
    /// @return the pattern, to be given back to releaseSampler(); null when a count is below 1 or memory runs out
    virtual ktSampler* createSampler(int countU, int countV, int pattern, int lobe, float jitterU, float jitterV) = 0;
    /// Frees a pattern; null is ignored.
    virtual void releaseSampler(ktSampler* sampler) = 0;
    /// Sets the parameters of the rays to come.
    /// @param sampleCountU, sampleCountV rays a vertex along the two axes
    /// @param minDistance, maxDistance   world units; hits outside do not count
    virtual void configureTracing(int sampleCountU, int sampleCountV, float minDistance, float maxDistance) = 0;

    /// Traces the direct light of `count` vertices into `results`: x, y, z the light that arrives (0 without
    /// `lightMode`), w the share of it that is not shadowed, 0 to 1.
    /// @param toWorld   object to world; used only with `transform`
    /// @param positions, normals `count` object-space elements
    /// @param results   `count` elements, written whole or, after a cancel, not at all
    /// @param option    surfaces occlude from both sides; else from the front only
    /// @param lightMode the scene's lights take part; else the sky alone
    virtual void computeVertexOcclusion(osg::UInt32 count, const osg::Matrix* toWorld, const osg::Pnt3f* positions,
                                        const osg::Vec3f* normals, osg::Vec4f* results, bool transform,
                                        ktSampler* sampler, bool option, bool lightMode) = 0;
    /// Gathers one bounce of indirect light for `count` vertices into x, y, z of `results`, times `surfaceColor`;
    /// w stays. Arguments as above; `bounceOption` is 1.
    virtual void gatherVertexIllumination(osg::UInt32 count, const osg::Matrix* toWorld, const osg::Pnt3f* positions,
                                          const osg::Vec3f* normals, osg::Vec4f* results,
                                          const osg::Color3f* surfaceColor, bool transform, ktSampler* sampler,
                                          int bounceOption, bool lightMode) = 0;
    /// Decides where a geometry needs more vertices and records it.
    /// @param name            the node's name, for messages
    /// @param quality         0 to 2; other values count as the nearest
    /// @param samples         samples an axis of the pass that asks
    /// @param record          filled with the splits
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
