// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGeoPropPtrs.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>
#include <vector>

/// What the units of the plug-in share and nobody else sees.
namespace ktAmbientOcclusionInternal {

/// Vertices handed to the host since the driver last set it to 0; rays at the end of a run.
extern std::uint64_t numRays;

/// Microseconds since 1970.
std::int64_t readWallClock_us();
/// The clock in use: the one above, unless the tests put their own in its place.
extern std::int64_t (*wallClock_us)();
/// When stateChanged() was last emitted, or asked for first; negative before that.
extern std::int64_t lastStateReport_us;

/// The vertices of one geometry as a pass hands them to the host.
struct PassVertices {
    osg::NodePtr node;
    osg::Matrix toWorld; ///< object to world
    bool isIdentity = true;
    osg::UInt32 count = 0;
    const osg::Pnt3f* positions = nullptr; ///< object space, `count` elements
    const osg::Vec3f* normals = nullptr;   ///< likewise
    osg::Vec4f* results = nullptr;         ///< those of channel 7, likewise
};

/// Announces `mask` of a container as changed: an entry in the thread's change list and the container's notification.
template <class Pointer>
void announce(const Pointer& container, osg::BitVector mask = osg::FieldBits::AllFields) {
    osg::beginEditCP(container, mask);
    osg::endEditCP(container, mask);
}

/// The node's core as a geometry; null when it is something else.
osg::GeometryPtr geometryOf(const osg::NodePtr& node);
/// The geometry's positions, if they are of the one type that is calculated and not empty; else null.
osg::GeoPositions3fPtr usablePositions(const osg::GeometryPtr& geometry);
/// The geometry's normals, if they are of the one type that is calculated and at least `count`; else null.
osg::GeoNormals3fPtr usableNormals(const osg::GeometryPtr& geometry, osg::UInt32 count);
/// Zeroes x, y, z of every result: the indirect light. Announces nothing.
void zeroIndirectLight(const osg::GeoTexCoords4fPtr& results);
/// Whether the first primitive is of points or lines, which never receive results. Geometry without primitives counts
/// as surface.
bool isLinesOrPoints(const osg::GeometryPtr& geometry);
/// Whether the node itself is hidden.
bool isHidden(const osg::NodePtr& node);
/// Puts the node's children on top of `pending`, the first uppermost. Scenes may be deeper than the call stack.
void pushChildren(const osg::NodePtr& node, std::vector<osg::NodePtr>& pending);
/// Whether no element differs from the identity's by more than 1e-10.
bool isIdentityMatrix(const osg::Matrix& matrix);

} // namespace ktAmbientOcclusionInternal
