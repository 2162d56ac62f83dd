// SPDX-License-Identifier: LGPL-2.1-or-later
// Replaces ray tracing in the plug-in's tests: records the calls and returns known numbers.
#include "ktRecordingRaytracing.h"

#include "ktRecordingHost.h"

#include <sstream>

class ktSampler {
public:
    int number;
};

namespace {

template <class... Values>
void record(const Values&... values) {
    std::ostringstream entry;
    entry << std::boolalpha;
    (entry << ... << values);
    ktRecordingHost::the().record(entry.str());
}

ktRecordingRaytracing::Pass passOf(osg::UInt32 count, const osg::Matrix* toWorld, const osg::Pnt3f* positions,
                                   const osg::Vec3f* normals, const osg::Vec4f* results, bool transform,
                                   ktSampler* sampler, bool lightMode) {
    ktRecordingRaytracing::Pass pass;
    pass.count = count;
    pass.toWorld = *toWorld;
    pass.positions.assign(positions, positions + count);
    pass.normals.assign(normals, normals + count);
    pass.resultsBefore.assign(results, results + count);
    pass.transform = transform;
    pass.sampler = sampler;
    pass.lightMode = lightMode;
    return pass;
}

} // namespace

ktRecordingRaytracing& ktRecordingRaytracing::the() {
    static auto* const instance = new ktRecordingRaytracing;
    return *instance;
}

void ktRecordingRaytracing::reset() {
    for (ktSampler* sampler : liveSamplers)
        delete sampler;
    *this = ktRecordingRaytracing();
}

std::string ktRecordingRaytracing::samplerLabel(ktSampler* sampler) const {
    return sampler ? "sampler " + std::to_string(sampler->number) : "null";
}

void ktRecordingRaytracing::buildAccelerationStructure(const std::vector<osg::NodePtr>& geometry,
                                                       const std::vector<osg::NodePtr>& lights) {
    const ktRecordingHost& host = ktRecordingHost::the();
    record("buildAccelerationStructure([", host.labels(geometry), "], [", host.labels(lights), "])");
}

void ktRecordingRaytracing::finishPass() {
    record("finishPass()");
}

void ktRecordingRaytracing::invalidateGeometry() {
    record("invalidateGeometry()");
}

void ktRecordingRaytracing::setMaterialOverride(bool colorBleeding, bool overrideMaterialColor,
                                                const float* materialColor) {
    record("setMaterialOverride(", colorBleeding, ", ", overrideMaterialColor, ", [", materialColor[0], " ",
           materialColor[1], " ", materialColor[2], "])");
}

void ktRecordingRaytracing::restoreRaytracing(int raytracing) {
    record("restoreRaytracing(", raytracing, ")");
}

ktSampler* ktRecordingRaytracing::createSampler(int countU, int countV, int pattern, int lobe, float jitterU,
                                                float jitterV) {
    auto* const sampler = new ktSampler{++samplersMade};
    liveSamplers.insert(sampler);
    record("createSampler(", countU, ", ", countV, ", ", pattern, ", ", lobe, ", ", jitterU, ", ", jitterV, ")");
    return sampler;
}

void ktRecordingRaytracing::releaseSampler(ktSampler* sampler) {
    record("releaseSampler(", samplerLabel(sampler), ")");
    liveSamplers.erase(sampler);
    delete sampler;
}

void ktRecordingRaytracing::configureTracing(int sampleCountU, int sampleCountV, float minDistance, float maxDistance) {
    configurations.push_back({float(sampleCountU), float(sampleCountV), minDistance, maxDistance});
    record("configureTracing(", sampleCountU, ", ", sampleCountV, ", ", minDistance, ", ", maxDistance, ")");
}

void ktRecordingRaytracing::computeVertexOcclusion(osg::UInt32 count, const osg::Matrix* toWorld,
                                                   const osg::Pnt3f* positions, const osg::Vec3f* normals,
                                                   osg::Vec4f* results, bool transform, ktSampler* sampler, bool option,
                                                   bool lightMode) {
    directPasses.push_back(passOf(count, toWorld, positions, normals, results, transform, sampler, lightMode));
    directPasses.back().option = option;
    for (osg::UInt32 i = 0; i < count; ++i)
        results[i] = directResult;
    record("computeVertexOcclusion(", count, ", transform ", transform, ", ", samplerLabel(sampler), ", option ",
           option, ", lightMode ", lightMode, ")");
}

void ktRecordingRaytracing::gatherVertexIllumination(osg::UInt32 count, const osg::Matrix* toWorld,
                                                     const osg::Pnt3f* positions, const osg::Vec3f* normals,
                                                     osg::Vec4f* results, const osg::Color3f* surfaceColor,
                                                     bool transform, ktSampler* sampler, int bounceOption,
                                                     bool lightMode) {
    gatherPasses.push_back(passOf(count, toWorld, positions, normals, results, transform, sampler, lightMode));
    gatherPasses.back().surfaceColor = *surfaceColor;
    gatherPasses.back().bounceOption = bounceOption;
    for (osg::UInt32 i = 0; i < count; ++i)
        results[i].setValues(gatheredLight[0], gatheredLight[1], gatheredLight[2], results[i][3]);
    record("gatherVertexIllumination(", count, ", transform ", transform, ", ", samplerLabel(sampler), ", bounce ",
           bounceOption, ", lightMode ", lightMode, ")");
}

void ktRecordingRaytracing::subdivideByIllumination(const std::string* name, osg::Int32 quality, osg::Int32 samples,
                                                    ktGeoSubdivisionList* list, osg::GeometryPtr geometry,
                                                    osg::Real32 threshold, osg::Real32 minEdgeLength,
                                                    const osg::Matrix* toWorld, const osg::Matrix* inverseToWorld,
                                                    const osg::Matrix* normalMatrix, bool indirectEnabled,
                                                    bool indirect, bool lightMode) {
    subdivisions.push_back({*name, quality, samples, list, geometry, threshold, minEdgeLength, *toWorld,
                            *inverseToWorld, *normalMatrix, indirectEnabled, indirect, lightMode});
    record("subdivideByIllumination(", *name, ", samples ", samples, ", indirect ", indirect, ")");
}
