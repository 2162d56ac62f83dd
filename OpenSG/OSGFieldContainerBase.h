// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGFIELDCONTAINERBASE_H
#define OSGFIELDCONTAINERBASE_H

#include "OSGBaseTypes.h"

OSG_BEGIN_NAMESPACE

/// Masks over the fields of a container: bit n is the field with id n.
namespace FieldBits {
const BitVector AllFields = ~BitVector(0);
const BitVector NoField = 0;
} // namespace FieldBits

/// Why changed() is called.
namespace ChangedOrigin {
/// The container was edited.
const UInt32 External = 0x0001;
/// The container received another thread's changes.
const UInt32 Sync = 0x0002;
/// A container below this one changed.
const UInt32 Child = 0x0004;
/// Fields were set by their ids.
const UInt32 Abstract = 0x0008;
} // namespace ChangedOrigin

OSG_END_NAMESPACE

#endif
