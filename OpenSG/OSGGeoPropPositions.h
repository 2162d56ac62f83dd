// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOPROPPOSITIONS_H
#define OSGGEOPROPPOSITIONS_H

#include "OSGGeoPropertyBase.h"

OSG_BEGIN_NAMESPACE

// Positions of vertices; generic type Pnt3f.

OSG_GEO_PROPERTY_KIND(GeoPositions)

OSG_GEO_PROPERTY(GeoPositions, GeoPositions2s, MFPnt2s, GL_SHORT, Int16)
OSG_GEO_PROPERTY(GeoPositions, GeoPositions3s, MFPnt3s, GL_SHORT, Int16)
OSG_GEO_PROPERTY(GeoPositions, GeoPositions4s, MFPnt4s, GL_SHORT, Int16)
OSG_GEO_PROPERTY(GeoPositions, GeoPositions2f, MFPnt2f, GL_FLOAT, Real32)
OSG_GEO_PROPERTY(GeoPositions, GeoPositions3f, MFPnt3f, GL_FLOAT, Real32)
OSG_GEO_PROPERTY(GeoPositions, GeoPositions4f, MFPnt4f, GL_FLOAT, Real32)
OSG_GEO_PROPERTY(GeoPositions, GeoPositions2d, MFPnt2d, GL_DOUBLE, Real64)
OSG_GEO_PROPERTY(GeoPositions, GeoPositions3d, MFPnt3d, GL_DOUBLE, Real64)
OSG_GEO_PROPERTY(GeoPositions, GeoPositions4d, MFPnt4d, GL_DOUBLE, Real64)

OSG_END_NAMESPACE

#endif
