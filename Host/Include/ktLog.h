// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// The host's log. Thread-safe. One call writes one line. Formats are those of printf.
class KT_HOST_EXPORT ktLog {
public:
    static void error(const char* format, ...) __attribute__((format(printf, 1, 2)));
    static void warning(const char* format, ...) __attribute__((format(printf, 1, 2)));
    static void info(const char* format, ...) __attribute__((format(printf, 1, 2)));
};
