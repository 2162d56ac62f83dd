// SPDX-License-Identifier: LGPL-2.1-or-later
// Names the multi-value fields of integers, floating-point numbers and truth values.
#ifndef OSGMFSYSTYPES_H
#define OSGMFSYSTYPES_H

#include "OSGMField.h"

OSG_BEGIN_NAMESPACE

using MFInt8 = MField<Int8>;
using MFUInt8 = MField<UInt8>;
using MFInt16 = MField<Int16>;
using MFUInt16 = MField<UInt16>;
using MFInt32 = MField<Int32>;
using MFUInt32 = MField<UInt32>;
using MFInt64 = MField<Int64>;
using MFUInt64 = MField<UInt64>;
using MFReal32 = MField<Real32>;
using MFReal64 = MField<Real64>;
using MFBool = MField<bool>;

OSG_END_NAMESPACE

#endif
