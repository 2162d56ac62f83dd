// SPDX-License-Identifier: LGPL-2.1-or-later
// The version of the project, which the build takes from CMakeLists.txt.
#include "ktVersion.h"

const char* ktProjectVersion() {
    return KT_VERSION;
}
