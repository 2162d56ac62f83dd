// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGLOG_H
#define OSGLOG_H

#include "OSGConfig.h"

OSG_BEGIN_NAMESPACE

/// Writes "OpenSG warning: ", the message (printf format) and a newline to standard error.
#if defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
void logWarning(const char *format, ...);

OSG_END_NAMESPACE

#endif
