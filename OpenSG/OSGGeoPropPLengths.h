// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOPROPPLENGTHS_H
#define OSGGEOPROPPLENGTHS_H

#include "OSGGeoPropertyBase.h"

OSG_BEGIN_NAMESPACE

// Number of vertices of each primitive.

OSG_GEO_PROPERTY_KIND(GeoPLengths)

OSG_GEO_PROPERTY(GeoPLengths, GeoPLengthsUI32, MFUInt32, GL_UNSIGNED_INT, UInt32)
OSG_GEO_PROPERTY(GeoPLengths, GeoPLengthsUI16, MFUInt16, GL_UNSIGNED_SHORT, UInt16)
OSG_GEO_PROPERTY(GeoPLengths, GeoPLengthsUI8, MFUInt8, GL_UNSIGNED_BYTE, UInt8)

OSG_END_NAMESPACE

#endif
