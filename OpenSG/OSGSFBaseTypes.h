// SPDX-License-Identifier: LGPL-2.1-or-later
// Names the single-value fields of strings, colours and bit vectors; includes those of numbers.
#ifndef OSGSFBASETYPES_H
#define OSGSFBASETYPES_H

#include "OSGColor.h"
#include "OSGSField.h"
#include "OSGSFSysTypes.h"
#include <string>

OSG_BEGIN_NAMESPACE

using SFString = SField<std::string>;
using SFColor3f = SField<Color3f>;
using SFColor4f = SField<Color4f>;
using SFColor3ub = SField<Color3ub>;
using SFColor4ub = SField<Color4ub>;
using SFBitVector = SField<BitVector>;

OSG_END_NAMESPACE

#endif
