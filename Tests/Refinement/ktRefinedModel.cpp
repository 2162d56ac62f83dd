// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens a model file, and traces and refines it as the plug-in's direct pass does.
#include "ktRefinedModel.h"

#include "ktGeometryInstances.h"
#include "ktSceneState.h"

#include <ctime>
#include <set>
#include <stdexcept>

ktRefinedModel::ktRefinedModel(const std::string& path, bool withGroundPlane, const ktRefinementSettings& settings_)
    : settings(settings_) {
    ktFileReport report;
    file = ktSceneFile::open(QString::fromStdString(path), ktOpenOptions(), report);
    if (!file)
        throw std::runtime_error(report.error);
    ktSceneState::setRootNode(file->getRoot());
    if (withGroundPlane)
        ktForEachGeometryInstance(file->addGroundPlane(report), ktInstances::All,
                                  [&](const ktGeometryInstance& instance) {
                                      groundPlane = instance.node;
                                      return false;
                                  });
    std::vector<osg::NodePtr> occluders;
    std::set<osg::GeometryPtr> known;
    ktForEachGeometryInstance(file->getRoot(), ktInstances::Visible, [&](const ktGeometryInstance& instance) {
        occluders.push_back(instance.node);
        if (known.insert(instance.geometry).second)
            nodes.push_back(instance.node);
        return true;
    });
    sampler = tracing.createSampler(settings.samples, settings.samples, 0, 1, 0.25f, 0.25f);
    tracing.buildAccelerationStructure(occluders, {});
    tracing.configureTracing(settings.samples, settings.samples, settings.minDistance, settings.maxDistance);
}

ktRefinedModel::~ktRefinedModel() {
    tracing.releaseSampler(sampler);
    tracing.restoreRaytracing(0);
    ktSceneState::setRootNode(osg::NullFC);
}

osg::UInt32 ktRefinedModel::vertexCount(const osg::NodePtr& node) {
    return geometryOf(node)->getPositions()->getSize();
}

double ktRefinedModel::trace(const osg::NodePtr& node) {
    const std::clock_t start = std::clock();
    const osg::GeometryPtr geometry = geometryOf(node);
    const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
    const osg::GeoNormals3fPtr normals = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
    osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4fPtr::dcast(geometry->getTexCoords7());
    if (results == osg::NullFC) {
        results = osg::GeoTexCoords4f::create();
        results->resize(positions->getSize());
        geometry->setTexCoords7(results);
    }
    const osg::Matrix toWorld = node->getToWorld();
    tracing.computeVertexOcclusion(positions->getSize(), &toWorld, &positions->getField()[0], &normals->getField()[0],
                                   &results->getField()[0], true, sampler, true, false);
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

std::vector<float> ktRefinedModel::trace(const std::vector<osg::Pnt3f>& positions, const osg::Vec3f& normal) {
    const std::vector<osg::Vec3f> normals(positions.size(), normal);
    std::vector<osg::Vec4f> results(positions.size());
    tracing.computeVertexOcclusion(static_cast<osg::UInt32>(positions.size()), nullptr, positions.data(),
                                   normals.data(), results.data(), false, sampler, true, false);
    std::vector<float> shares;
    for (const osg::Vec4f& result : results)
        shares.push_back(result[3]);
    return shares;
}

double ktRefinedModel::refine(const std::vector<osg::NodePtr>& which, const std::function<void()>& beforeRefinement) {
    std::vector<std::unique_ptr<ktGeoSubdivisionList>> records;
    for (const osg::NodePtr& node : which) {
        const osg::GeometryPtr geometry = geometryOf(node);
        const std::string name;
        const osg::Matrix toWorld = node->getToWorld();
        trace(node);
        records.push_back(std::make_unique<ktGeoSubdivisionList>(geometry));
        tracing.subdivideByIllumination(&name, settings.quality, settings.samples, records.back().get(), geometry,
                                        settings.threshold, settings.minEdgeLength, &toWorld, &toWorld, &toWorld, false,
                                        false, false);
    }
    if (beforeRefinement)
        beforeRefinement();
    const std::clock_t start = std::clock();
    tracing.finishPass();
    tracing.invalidateGeometry();
    for (const auto& record : records)
        record->recreateGeometry();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}
