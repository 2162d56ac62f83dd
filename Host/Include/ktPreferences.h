// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <QString>

/// Where the host keeps what belongs to the user.
class KT_HOST_EXPORT ktPreferences {
public:
    /// Absolute directory of the user's preferences, ending in a separator; it is made when it does not exist.
    static QString getPreferencesDir();
};
