// SPDX-License-Identifier: LGPL-2.1-or-later
// Names the multi-value fields of strings, colours and bit vectors; includes those of numbers.
#ifndef OSGMFBASETYPES_H
#define OSGMFBASETYPES_H

#include "OSGColor.h"
#include "OSGMField.h"
#include "OSGMFSysTypes.h"
#include <string>

OSG_BEGIN_NAMESPACE

using MFString = MField<std::string>;
using MFColor3f = MField<Color3f>;
using MFColor4f = MField<Color4f>;
using MFColor3ub = MField<Color3ub>;
using MFColor4ub = MField<Color4ub>;
using MFBitVector = MField<BitVector>;

OSG_END_NAMESPACE

#endif
