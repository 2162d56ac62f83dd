// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOFUNCTIONS_H
#define OSGGEOFUNCTIONS_H

#include "OSGGeometry.h"

OSG_BEGIN_NAMESPACE

/// Computes one normal per position: the normalised sum of the unit normals of the adjacent triangles. A position
/// without a non-degenerate triangle gets a zero normal. Overwrites existing normals in their property. Does nothing to
/// a geometry without positions.
void calcVertexNormals(GeometryPtr geo);

/// The same, but triangles whose normals differ by more than creaseAngle (radians) do not smooth each other, so a
/// position may get several normals. The geometry becomes a triangle list with separate normal indices (an entry in the
/// index mapping). Its points and lines are kept and get a zero normal.
void calcVertexNormals(GeometryPtr geo, Real32 creaseAngle);

/// Computes one normal per triangle. The geometry becomes a triangle list in the same way.
void calcFaceNormals(GeometryPtr geo);

/// Replaces every property that is shared with another parent by a copy.
void separateProperties(GeometryPtr geo);

/// Makes a geometry with an index mapping single-indexed. Each different combination of indices becomes one
/// vertex, in order of first appearance. All mapped properties are rearranged, and the mapping gets one entry.
/// Properties that something else references are copied first. A geometry without indices gets 0, 1, 2, ... and no
/// mapping.
///
/// Returns the number of vertices, or 0 if the geometry had no mapping. Returns -1 with a warning, and changes nothing,
/// if the geometry is null, has no positions, or an index lies outside of a property.
Int32 createSingleIndex(GeometryPtr geo);

/// Counts triangles (as TriangleIterator does, including those that connect strips), lines and points. Returns the
/// sum.
UInt32 calcPrimitiveCount(GeometryPtr geo, UInt32& triangle, UInt32& line, UInt32& point);

OSG_END_NAMESPACE

#endif
