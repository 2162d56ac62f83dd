// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGeoPropPtrs.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>
#include <vector>

/// Shared by the source files of the plug-in; not for others.
namespace ktAmbientOcclusionInternal {

/// During a run: vertices passed to the host since the last reset. At the end of a run: rays.
extern std::uint64_t numRays;

/// Microseconds since 1970.
std::int64_t readWallClock_us();
/// The clock in use: readWallClock_us(), unless a test replaces it.
extern std::int64_t (*wallClock_us)();
/// Time of the last stateChanged(), or of the first request for one; negative before that.
extern std::int64_t lastStateReport_us;

/// The vertices of one geometry that a pass traces.
struct PassVertices {
    osg::NodePtr node;
    osg::Matrix toWorld; ///< object to world
    bool isIdentity = true;
    osg::UInt32 count = 0;
    const osg::Pnt3f* positions = nullptr; ///< object space, `count` elements
    const osg::Vec3f* normals = nullptr;   ///< object space, `count` elements
    osg::Vec4f* results = nullptr;         ///< channel 7, `count` elements
};

/// Announces a change of a container's fields `mask`: adds an entry to the thread's change list and notifies.
template <class Pointer>
void announce(const Pointer& container, osg::BitVector mask = osg::FieldBits::AllFields) {
    osg::beginEditCP(container, mask);
    osg::endEditCP(container, mask);
}

/// The node's core as a geometry; null if it is something else.
osg::GeometryPtr geometryOf(const osg::NodePtr& node);
/// The geometry's positions if they have the one supported type and are not empty; else null.
osg::GeoPositions3fPtr usablePositions(const osg::GeometryPtr& geometry);
/// The geometry's normals if they have the one supported type and at least `count` elements; else null.
osg::GeoNormals3fPtr usableNormals(const osg::GeometryPtr& geometry, osg::UInt32 count);
/// Zeroes x, y, z of every result: the indirect light. Does not announce the change.
void zeroIndirectLight(const osg::GeoTexCoords4fPtr& results);
/// Whether the first primitive consists of points or lines, which never get results. Geometry without primitives
/// counts as a surface.
bool isLinesOrPoints(const osg::GeometryPtr& geometry);
/// Whether the node itself is hidden.
bool isHidden(const osg::NodePtr& node);
/// Pushes the node's children on `pending`, the first child on top. Not recursive: scenes may be very deep.
void pushChildren(const osg::NodePtr& node, std::vector<osg::NodePtr>& pending);
/// Whether no element differs from the identity by more than 1e-10.
bool isIdentityMatrix(const osg::Matrix& matrix);

} // namespace ktAmbientOcclusionInternal
