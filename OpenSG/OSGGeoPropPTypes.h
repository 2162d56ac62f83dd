// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOPROPPTYPES_H
#define OSGGEOPROPPTYPES_H

#include "OSGGeoPropertyBase.h"

OSG_BEGIN_NAMESPACE

// Types of primitives: OpenGL codes, GL_POINTS to GL_POLYGON.

OSG_GEO_PROPERTY_KIND(GeoPTypes)

OSG_GEO_PROPERTY(GeoPTypes, GeoPTypesUI8, MFUInt8, GL_UNSIGNED_BYTE, UInt8)

OSG_END_NAMESPACE

#endif
