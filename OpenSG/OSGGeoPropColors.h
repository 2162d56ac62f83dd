// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOPROPCOLORS_H
#define OSGGEOPROPCOLORS_H

#include "OSGGeoPropertyBase.h"

OSG_BEGIN_NAMESPACE

// Colours of vertices; generic type Color3f. Bytes represent [0, 1].

OSG_GEO_PROPERTY_KIND(GeoColors)

OSG_GEO_PROPERTY(GeoColors, GeoColors3f, MFColor3f, GL_FLOAT, Real32)
OSG_GEO_PROPERTY(GeoColors, GeoColors4f, MFColor4f, GL_FLOAT, Real32)
OSG_GEO_PROPERTY(GeoColors, GeoColors3ub, MFColor3ub, GL_UNSIGNED_BYTE, UInt8)
OSG_GEO_PROPERTY(GeoColors, GeoColors4ub, MFColor4ub, GL_UNSIGNED_BYTE, UInt8)

OSG_END_NAMESPACE

#endif
