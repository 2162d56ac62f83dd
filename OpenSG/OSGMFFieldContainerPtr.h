// SPDX-License-Identifier: LGPL-2.1-or-later
// Names the multi-value field of pointers to containers.
#ifndef OSGMFFIELDCONTAINERPTR_H
#define OSGMFFIELDCONTAINERPTR_H

#include "OSGFieldContainerPtr.h"
#include "OSGMField.h"

OSG_BEGIN_NAMESPACE

using MFFieldContainerPtr = MField<FieldContainerPtr>;

OSG_END_NAMESPACE

#endif
