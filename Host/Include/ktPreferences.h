// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <QString>

/// The user's preferences.
class KT_HOST_EXPORT ktPreferences {
public:
    /// Absolute path of the user's preferences directory, ending in a separator. Creates the directory if needed.
    static QString getPreferencesDir();
};
