// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktSceneFile.h"
#include "ktTestGltf.h"

#include <OpenSG/OSGGeometry.h>
#include <vector>

/// Opens a scene; the test fails if that fails.
std::unique_ptr<ktSceneFile> ktOpenTestScene(const QString& path, const ktOpenOptions& options = {});
/// Opens a file. Returns the warnings or the error, as lines of text.
std::vector<std::string> ktOpeningSays(const QString& path, const ktOpenOptions& options = {});
/// Saves; the test fails if that fails. Returns the warnings.
std::vector<std::string> ktSaveTestScene(ktSceneFile& file, const QString& path, const ktSaveOptions& options = {});

/// One use of a geometry in the scene. Keeps it alive after the file is closed.
struct ktSeenGeometry {
    osg::NodeRefPtr node;
    osg::GeometryRefPtr geometry;
    osg::Matrix toWorld;
};
/// All uses in traversal order.
std::vector<ktSeenGeometry> ktGeometriesOf(const ktSceneFile& file);
/// The node of that name; null if there is none.
osg::NodePtr ktNodeNamed(const ktSceneFile& file, const std::string& name);

std::vector<osg::Pnt3f> ktPositionsOf(const osg::GeometryPtr& geometry);
std::vector<osg::Vec3f> ktNormalsOf(const osg::GeometryPtr& geometry);
/// Position indices of all triangles.
std::vector<int> ktTrianglesOf(const osg::GeometryPtr& geometry);
/// Values of a result channel, 5 or 7; empty without the channel.
std::vector<osg::Vec4f> ktChannelOf(const osg::GeometryPtr& geometry, int channel);
void ktSetChannel(const osg::GeometryPtr& geometry, int channel, const std::vector<osg::Vec4f>& values);
/// Stores a result that differs from vertex to vertex in channel 7 of every geometry with normals. With `indirect`
/// also stores light in x, y, z.
void ktPretendToBake(const ktSceneFile& file, bool indirect = false);

/// JSON of a .glb or .gltf file.
ktJson ktJsonOfFile(const QString& path);
/// Elements of an accessor of a written file, as floats.
std::vector<float> ktAccessorOf(const QString& path, const ktJson& index);
