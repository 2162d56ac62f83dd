// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes the scene graph's warnings to standard error.
#include "OSGLog.h"

#include <cstdarg>
#include <cstdio>

OSG_BEGIN_NAMESPACE

void logWarning(const char* format, ...) {
    char message[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof(message), format, arguments);
    va_end(arguments);
    std::fprintf(stderr, "OpenSG warning: %s\n", message);
}

OSG_END_NAMESPACE
