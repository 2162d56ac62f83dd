// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOPROPTEXCOORDS_H
#define OSGGEOPROPTEXCOORDS_H

#include "OSGGeoPropertyBase.h"

OSG_BEGIN_NAMESPACE

// Texture coordinates, or any other values per vertex; generic type Vec2f.

OSG_GEO_PROPERTY_KIND(GeoTexCoords)

OSG_GEO_PROPERTY(GeoTexCoords, GeoTexCoords1f, MFReal32, GL_FLOAT, Real32)
OSG_GEO_PROPERTY(GeoTexCoords, GeoTexCoords2f, MFVec2f, GL_FLOAT, Real32)
OSG_GEO_PROPERTY(GeoTexCoords, GeoTexCoords3f, MFVec3f, GL_FLOAT, Real32)
OSG_GEO_PROPERTY(GeoTexCoords, GeoTexCoords4f, MFVec4f, GL_FLOAT, Real32)
OSG_GEO_PROPERTY(GeoTexCoords, GeoTexCoords1d, MFReal64, GL_DOUBLE, Real64)
OSG_GEO_PROPERTY(GeoTexCoords, GeoTexCoords2d, MFVec2d, GL_DOUBLE, Real64)
OSG_GEO_PROPERTY(GeoTexCoords, GeoTexCoords3d, MFVec3d, GL_DOUBLE, Real64)
OSG_GEO_PROPERTY(GeoTexCoords, GeoTexCoords4d, MFVec4d, GL_DOUBLE, Real64)

OSG_END_NAMESPACE

#endif
