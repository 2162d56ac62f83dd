// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGGEOPROPPTRS_H
#define OSGGEOPROPPTRS_H

// All geometry properties and their pointers.

#include "OSGGeoPropColors.h"
#include "OSGGeoPropIndices.h"
#include "OSGGeoPropNormals.h"
#include "OSGGeoPropPLengths.h"
#include "OSGGeoPropPositions.h"
#include "OSGGeoPropPTypes.h"
#include "OSGGeoPropTexCoords.h"

#endif
