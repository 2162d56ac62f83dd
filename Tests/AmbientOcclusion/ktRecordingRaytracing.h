// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRaytracingUtils.h"

#include <set>

/// Ray-tracing utilities that record their calls and return fixed numbers that identify the call.
class ktRecordingRaytracing : public ktRaytracingUtils {
public:
    static ktRecordingRaytracing& the();

    /// Copies of the arguments of one call of a pass.
    struct Pass {
        osg::UInt32 count = 0;
        osg::Matrix toWorld;
        std::vector<osg::Pnt3f> positions;
        std::vector<osg::Vec3f> normals;
        std::vector<osg::Vec4f> resultsBefore;
        osg::Color3f surfaceColor;
        bool transform = false;
        ktSampler* sampler = nullptr;
        bool option = false;
        int bounceOption = 0;
        bool lightMode = false;
    };
    struct Subdivision {
        std::string name;
        int quality = 0;
        int samples = 0;
        ktGeoSubdivisionList* record = nullptr;
        osg::GeometryPtr geometry;
        float threshold = 0;
        float minEdgeLength = 0;
        osg::Matrix toWorld, inverseToWorld, normalMatrix;
        bool indirectEnabled = false, indirect = false, lightMode = false;
    };

    /// Deletes all recorded calls.
    void reset();

    std::vector<Pass> directPasses;
    std::vector<Pass> gatherPasses;
    std::vector<Subdivision> subdivisions;
    std::vector<std::vector<float>> configurations; ///< counts and distances passed to configureTracing()
    std::set<ktSampler*> liveSamplers;
    osg::Vec4f directResult{0.1f, 0.2f, 0.3f, 0.4f}; ///< result of the direct pass for every vertex
    osg::Vec3f gatheredLight{0.25f, 0.5f, 0.75f};    ///< light that each bounce adds

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
    std::string samplerLabel(ktSampler* sampler) const;
    int samplersMade = 0;
};
