// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOPROPINDICES_H
#define OSGGEOPROPINDICES_H

#include "OSGGeoPropertyBase.h"

OSG_BEGIN_NAMESPACE

// Indices of vertices into the other properties.

OSG_GEO_PROPERTY_KIND(GeoIndices)

OSG_GEO_PROPERTY(GeoIndices, GeoIndicesUI32, MFUInt32, GL_UNSIGNED_INT, UInt32)
OSG_GEO_PROPERTY(GeoIndices, GeoIndicesUI16, MFUInt16, GL_UNSIGNED_SHORT, UInt16)

OSG_END_NAMESPACE

#endif
