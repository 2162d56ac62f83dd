// SPDX-License-Identifier: LGPL-2.1-or-later
// Names the fields of pointers to nodes, with one value and with many.
#ifndef OSGNODEFIELDS_H
#define OSGNODEFIELDS_H

#include "OSGMField.h"
#include "OSGNodePtr.h"
#include "OSGSField.h"

OSG_BEGIN_NAMESPACE

using SFNodePtr = SField<NodePtr>;
using MFNodePtr = MField<NodePtr>;

OSG_END_NAMESPACE

#endif
