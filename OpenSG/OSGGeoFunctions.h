// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOFUNCTIONS_H
#define OSGGEOFUNCTIONS_H

#include "OSGGeometry.h"

OSG_BEGIN_NAMESPACE

/// Gives the geometry normals per position: the normalised sums of the unit normals of the triangles around. A position
/// without a proper triangle gets a zero normal. Existing normals are overwritten, in the property they are in.
/// Nothing happens to a geometry without positions.
void calcVertexNormals(GeometryPtr geo);

/// Same, but triangles whose normals differ by more than creaseAngle (radians) do not smooth each other: a position may
/// get several normals. The geometry becomes a list of triangles whose normals have an entry of their own in the index
/// mapping; points and lines in it stay and get a zero normal.
void calcVertexNormals(GeometryPtr geo, Real32 creaseAngle);

/// Gives the geometry one normal per triangle. It becomes a list of triangles in the same way.
void calcFaceNormals(GeometryPtr geo);

/// Gives every property of the geometry that has other parents, too, a copy of its own.
void separateProperties(GeometryPtr geo);

/// Makes a geometry with an index mapping single-indexed: each different combination of a vertex' indices becomes one
/// vertex, in the order in which they appear, all mapped properties are rearranged, and the mapping has one entry.
/// Properties that something else references are copied first. Without indices the geometry gets some, 0, 1, 2, ...,
/// and no mapping.
///
/// Returns the number of vertices, 0 when the geometry had no mapping, -1 (and the geometry stays as it was, with a
/// warning) when it is null, has no positions, or an index lies outside of a property.
Int32 createSingleIndex(GeometryPtr geo);

/// Counts triangles (as TriangleIterator finds them, strip connections included), lines and points, and returns their
/// sum.
UInt32 calcPrimitiveCount(GeometryPtr geo, UInt32& triangle, UInt32& line, UInt32& point);

OSG_END_NAMESPACE

#endif
