// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktSceneFile.h"
#include "ktTestGltf.h"

#include <OpenSG/OSGGeometry.h>
#include <vector>

/// A scene that must open; the test fails otherwise.
std::unique_ptr<ktSceneFile> ktOpenTestScene(const QString& path, const ktOpenOptions& options = {});
/// The warnings of opening a file, or its error alone, as lines for a person.
std::vector<std::string> ktOpeningSays(const QString& path, const ktOpenOptions& options = {});
/// Saves; the test fails when that fails. Returns the warnings.
std::vector<std::string> ktSaveTestScene(ktSceneFile& file, const QString& path, const ktSaveOptions& options = {});

/// One place where a geometry is seen. Holds on to it, also when the file is closed.
struct ktSeenGeometry {
    osg::NodeRefPtr node;
    osg::GeometryRefPtr geometry;
    osg::Matrix toWorld;
};
/// All of them in traversal order.
std::vector<ktSeenGeometry> ktGeometriesOf(const ktSceneFile& file);
/// The node of that name; null when there is none.
osg::NodePtr ktNodeNamed(const ktSceneFile& file, const std::string& name);

std::vector<osg::Pnt3f> ktPositionsOf(const osg::GeometryPtr& geometry);
std::vector<osg::Vec3f> ktNormalsOf(const osg::GeometryPtr& geometry);
/// Position indices of all triangles.
std::vector<int> ktTrianglesOf(const osg::GeometryPtr& geometry);
/// Values of a result channel, 5 or 7; empty when there is none.
std::vector<osg::Vec4f> ktChannelOf(const osg::GeometryPtr& geometry, int channel);
void ktSetChannel(const osg::GeometryPtr& geometry, int channel, const std::vector<osg::Vec4f>& values);
/// Puts a result that differs from vertex to vertex into channel 7 of every geometry with normals; with `indirect`
/// light in x, y, z, too.
void ktPretendToBake(const ktSceneFile& file, bool indirect = false);

/// JSON of a .glb or .gltf file.
ktJson ktJsonOfFile(const QString& path);
/// Elements of an accessor of a written file, as floats.
std::vector<float> ktAccessorOf(const QString& path, const ktJson& index);
