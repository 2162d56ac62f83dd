// SPDX-License-Identifier: LGPL-2.1-or-later
// Names the single-value fields of integers, floating-point numbers and truth values.
#ifndef OSGSFSYSTYPES_H
#define OSGSFSYSTYPES_H

#include "OSGSField.h"

OSG_BEGIN_NAMESPACE

using SFInt8 = SField<Int8>;
using SFUInt8 = SField<UInt8>;
using SFInt16 = SField<Int16>;
using SFUInt16 = SField<UInt16>;
using SFInt32 = SField<Int32>;
using SFUInt32 = SField<UInt32>;
using SFInt64 = SField<Int64>;
using SFUInt64 = SField<UInt64>;
using SFReal32 = SField<Real32>;
using SFReal64 = SField<Real64>;
using SFBool = SField<bool>;

OSG_END_NAMESPACE

#endif
