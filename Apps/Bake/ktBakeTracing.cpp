// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktBakeTracing.h"

#include "ktBakeGeometryList.h"
#include "ktGeometryInstances.h"
#include "ktRaytracingManager.h"
#include "ktScenegraph.h"

ktBakeTracing::ktBakeTracing() : host(ktRaytracingManager::getRaytracingUtils()) {
    if (host)
        ktRaytracingManager::setRaytracingUtils(this);
}

ktBakeTracing::~ktBakeTracing() {
    if (host)
        ktRaytracingManager::setRaytracingUtils(host);
}

ktBakeTraced ktBakeTracing::getTraced(const osg::GeometryPtr& geometry) const {
    const auto found = traced.find(geometry.getFieldContainerId());
    return found != traced.end() ? found->second : ktBakeTraced();
}

void ktBakeTracing::findGeometries() {
    geometries.clear();
    ktForEachGeometryInstance(ktScenegraph::getRootNode(), ktInstances::All, [&](const ktGeometryInstance& instance) {
        const auto positions = osg::GeoPositions3fPtr::dcast(instance.geometry->getPositions());
        if (positions != osg::NullFC && positions->size() > 0)
            geometries.emplace(&positions->getField()[0], instance.geometry.getFieldContainerId());
        return true;
    });
}

// Returns the rays of a call.
std::uint64_t ktBakeTracing::count(osg::UInt32 vertices, const osg::Pnt3f* positions, ktSampler* sampler) {
    const auto known = directions.find(sampler);
    const std::uint64_t rays = known != directions.end() ? vertices * known->second : 0;
    if (const auto found = geometries.find(positions); found != geometries.end()) {
        traced[found->second].vertices += vertices;
        traced[found->second].rays += rays;
    }
    return rays;
}

// Geometry is rebuilt before a build only, so from here on its positions stay where they are.
void ktBakeTracing::buildAccelerationStructure(const std::vector<osg::NodePtr>& geometry,
                                               const std::vector<osg::NodePtr>& lights) {
    findGeometries();
    occludingTriangles = 0;
    std::map<osg::UInt32, std::uint64_t> triangles;
    for (const osg::NodePtr& node : geometry) {
        const auto core = osg::GeometryPtr::dcast(node->getCore());
        if (core == osg::NullFC)
            continue;
        const auto [entry, isNew] = triangles.try_emplace(core.getFieldContainerId(), 0);
        if (isNew)
            entry->second = countTriangles(core);
        occludingTriangles += entry->second;
    }
    host->buildAccelerationStructure(geometry, lights);
}

void ktBakeTracing::finishPass() {
    host->finishPass();
}

void ktBakeTracing::invalidateGeometry() {
    host->invalidateGeometry();
}

void ktBakeTracing::setMaterialOverride(bool colorBleeding, bool overrideMaterialColor, const float* materialColor) {
    host->setMaterialOverride(colorBleeding, overrideMaterialColor, materialColor);
}

void ktBakeTracing::restoreRaytracing(int raytracing) {
    host->restoreRaytracing(raytracing);
}

ktSampler* ktBakeTracing::createSampler(int countU, int countV, int pattern, int lobe, float jitterU, float jitterV) {
    ktSampler* const sampler = host->createSampler(countU, countV, pattern, lobe, jitterU, jitterV);
    if (sampler)
        directions[sampler] = static_cast<std::uint64_t>(countU) * static_cast<std::uint64_t>(countV);
    return sampler;
}

void ktBakeTracing::releaseSampler(ktSampler* sampler) {
    directions.erase(sampler);
    host->releaseSampler(sampler);
}

void ktBakeTracing::configureTracing(int sampleCountU, int sampleCountV, float minDistance, float maxDistance) {
    host->configureTracing(sampleCountU, sampleCountV, minDistance, maxDistance);
}

void ktBakeTracing::computeVertexOcclusion(osg::UInt32 vertices, const osg::Matrix* toWorld,
                                           const osg::Pnt3f* positions, const osg::Vec3f* normals, osg::Vec4f* results,
                                           bool transform, ktSampler* sampler, bool option, bool lightMode) {
    directRays += count(vertices, positions, sampler);
    host->computeVertexOcclusion(vertices, toWorld, positions, normals, results, transform, sampler, option, lightMode);
}

void ktBakeTracing::gatherVertexIllumination(osg::UInt32 vertices, const osg::Matrix* toWorld,
                                             const osg::Pnt3f* positions, const osg::Vec3f* normals,
                                             osg::Vec4f* results, const osg::Color3f* surfaceColor, bool transform,
                                             ktSampler* sampler, int bounceOption, bool lightMode) {
    indirectRays += count(vertices, positions, sampler);
    host->gatherVertexIllumination(vertices, toWorld, positions, normals, results, surfaceColor, transform, sampler,
                                   bounceOption, lightMode);
}

void ktBakeTracing::subdivideByIllumination(const std::string* name, osg::Int32 quality, osg::Int32 samples,
                                            ktGeoSubdivisionList* record, osg::GeometryPtr geometry,
                                            osg::Real32 threshold, osg::Real32 minEdgeLength,
                                            const osg::Matrix* toWorld, const osg::Matrix* inverseToWorld,
                                            const osg::Matrix* normalMatrix, bool indirectEnabled, bool indirect,
                                            bool lightMode) {
    host->subdivideByIllumination(name, quality, samples, record, geometry, threshold, minEdgeLength, toWorld,
                                  inverseToWorld, normalMatrix, indirectEnabled, indirect, lightMode);
}
