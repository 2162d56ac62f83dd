// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRaytracingUtils.h"

#include <cstdint>
#include <map>

/// What was traced for one geometry, all passes together.
struct ktBakeTraced {
    std::uint64_t vertices = 0; ///< handed over to be traced
    std::uint64_t rays = 0;     ///< those vertices times the directions of their pass
};

/// Stands between the plug-in and the host's ray-tracing utilities as long as it lives, hands every call on and counts.
/// Rays are counted as they are asked for: the host traces vertices of equal place and normal once, and the vertices
/// that refinement adds are traced outside these calls. One object at a time, on the main thread.
class ktBakeTracing : public ktRaytracingUtils {
public:
    ktBakeTracing();
    ~ktBakeTracing() override;
    ktBakeTracing(const ktBakeTracing&) = delete;
    ktBakeTracing& operator=(const ktBakeTracing&) = delete;

    std::uint64_t getDirectRays() const { return directRays; }
    std::uint64_t getIndirectRays() const { return indirectRays; }
    /// Triangles that rays can meet, as they were given at the last build: those of a geometry as often as it is used.
    std::uint64_t getOccludingTriangles() const { return occludingTriangles; }
    /// What was traced for a geometry; zeros when it was not.
    ktBakeTraced getTraced(const osg::GeometryPtr& geometry) const;

    void buildAccelerationStructure(const std::vector<osg::NodePtr>& geometry,
                                    const std::vector<osg::NodePtr>& lights) override;
    void finishPass() override;
    void invalidateGeometry() override;
    void setMaterialOverride(bool colorBleeding, bool overrideMaterialColor, const float* materialColor) override;
    void restoreRaytracing(int raytracing) override;
    ktSampler* createSampler(int countU, int countV, int pattern, int lobe, float jitterU, float jitterV) override;
    void releaseSampler(ktSampler* sampler) override;
    void configureTracing(int sampleCountU, int sampleCountV, float minDistance, float maxDistance) override;
    void computeVertexOcclusion(osg::UInt32 count, const osg::Matrix* toWorld, const osg::Pnt3f* positions,
                                const osg::Vec3f* normals, osg::Vec4f* results, bool transform, ktSampler* sampler,
                                bool option, bool lightMode) override;
    void gatherVertexIllumination(osg::UInt32 count, const osg::Matrix* toWorld, const osg::Pnt3f* positions,
                                  const osg::Vec3f* normals, osg::Vec4f* results, const osg::Color3f* surfaceColor,
                                  bool transform, ktSampler* sampler, int bounceOption, bool lightMode) override;
    void subdivideByIllumination(const std::string* name, osg::Int32 quality, osg::Int32 samples,
                                 ktGeoSubdivisionList* record, osg::GeometryPtr geometry, osg::Real32 threshold,
                                 osg::Real32 minEdgeLength, const osg::Matrix* toWorld,
                                 const osg::Matrix* inverseToWorld, const osg::Matrix* normalMatrix,
                                 bool indirectEnabled, bool indirect, bool lightMode) override;

private:
    void findGeometries();
    std::uint64_t count(osg::UInt32 vertices, const osg::Pnt3f* positions, ktSampler* sampler);

    ktRaytracingUtils* const host; ///< null when the host has no ray tracing; then nobody calls
    std::map<ktSampler*, std::uint64_t> directions;
    std::map<const osg::Pnt3f*, osg::UInt32> geometries; ///< ids of the scene's geometries by their first position
    std::map<osg::UInt32, ktBakeTraced> traced;
    std::uint64_t directRays = 0, indirectRays = 0, occludingTriangles = 0;
};
