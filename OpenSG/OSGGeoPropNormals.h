// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOPROPNORMALS_H
#define OSGGEOPROPNORMALS_H

#include "OSGGeoPropertyBase.h"

OSG_BEGIN_NAMESPACE

// Normals of vertices; generic type Vec3f. Integers represent [-1, 1].

OSG_GEO_PROPERTY_KIND(GeoNormals)

OSG_GEO_PROPERTY(GeoNormals, GeoNormals3f, MFVec3f, GL_FLOAT, Real32)
OSG_GEO_PROPERTY(GeoNormals, GeoNormals3s, MFVec3s, GL_SHORT, Int16)
OSG_GEO_PROPERTY(GeoNormals, GeoNormals3b, MFVec3b, GL_BYTE, Int8)

OSG_END_NAMESPACE

#endif
