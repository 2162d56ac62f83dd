// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGeoSubdivisionList.h"
#include "ktSceneFile.h"
#include "ktSceneRaytracing.h"

#include <functional>
#include <memory>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>
#include <string>
#include <vector>

/// Settings of a refinement. The defaults are those of the figures in the documents.
struct ktRefinementSettings {
    int samples = 64; ///< rays per axis of the pattern
    int quality = 2;
    float minEdgeLength = 1, threshold = 0.04f;
    float minDistance = 1, maxDistance = 3000;
};

/// A model file as a scene, with the calls that the plug-in makes for a direct pass with refinement.
class ktRefinedModel {
public:
    /// @throws std::runtime_error if the file cannot be read
    ktRefinedModel(const std::string& path, bool withGroundPlane, const ktRefinementSettings& settings);
    ~ktRefinedModel();

    /// Geometry nodes of the whole scene, each core once.
    std::vector<osg::NodePtr> nodes;
    osg::NodePtr groundPlane; ///< null without a ground plane
    ktRefinementSettings settings;

    /// Traces the direct light of a node's vertices into channel 7. @return seconds, summed over all cores
    double trace(const osg::NodePtr& node);
    /// Traces vertices without a geometry, in world space. @return their w
    std::vector<float> trace(const std::vector<osg::Pnt3f>& positions, const osg::Vec3f& normal);
    /// Traces and refines some nodes together.
    /// @param beforeRefinement called after all vertices are traced; may be empty
    /// @return seconds of the refinement alone, summed over all cores
    double refine(const std::vector<osg::NodePtr>& which, const std::function<void()>& beforeRefinement = {});

    static osg::GeometryPtr geometryOf(const osg::NodePtr& node) { return osg::GeometryPtr::dcast(node->getCore()); }
    static osg::UInt32 vertexCount(const osg::NodePtr& node);

private:
    std::unique_ptr<ktSceneFile> file;
    ktSceneRaytracing tracing;
    ktSampler* sampler = nullptr;
};
