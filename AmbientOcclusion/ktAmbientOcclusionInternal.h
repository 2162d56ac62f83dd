// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGeoPropPtrs.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>

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
/// Whether no element differs from the identity's by more than 1e-10.
bool isIdentityMatrix(const osg::Matrix& matrix);

} // namespace ktAmbientOcclusionInternal
