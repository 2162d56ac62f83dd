// SPDX-License-Identifier: LGPL-2.1-or-later
// Names the single-value field of pointers to containers.
#ifndef OSGSFFIELDCONTAINERPTR_H
#define OSGSFFIELDCONTAINERPTR_H

#include "OSGFieldContainerPtr.h"
#include "OSGSField.h"

OSG_BEGIN_NAMESPACE

using SFFieldContainerPtr = SField<FieldContainerPtr>;

OSG_END_NAMESPACE

#endif
